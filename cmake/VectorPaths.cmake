# The vector loops of the encoders and decoders: every file in
# tq/encodings/vector/ is compiled for the instruction set its name ends with,
#   *SSE2.cpp    the x86-64 baseline, no flag;
#   *AVX2.cpp    -mavx2;
#   *AVX512.cpp  AVX-512 F and BW with the byte permutes (VBMI, VBMI2), and BMI,
#                BMI2 and POPCNT, which every processor with those has;
# and the operations choose among them at run time (VectorSupport). Those
# files include only what has nothing of external linkage but their entry
# points (tq/encodings/internal/VectorLoops.h says why).
#
# With TQ_VECTOR_PATHS off (always off on processors other than x86-64) the
# folder is left out, the operations run their portable loops, and the build
# compiles no intrinsic and no target attribute. TQ_VECTOR_PATHS (1 or 0) is
# defined for the sources of tq/encodings, which choose by it.
#
# Included from tq/CMakeLists.txt, after TQ_SOURCES is globbed.
option(TQ_VECTOR_PATHS "Build the vector (SSE2, AVX2, AVX-512) loops of the encoders" ON)
set(TQ_VECTOR_PATHS_BUILT OFF)
if(TQ_VECTOR_PATHS AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(TQ_VECTOR_PATHS_BUILT ON)
endif()

set(tq_vector_dir ${CMAKE_CURRENT_SOURCE_DIR}/encodings/vector)
file(GLOB tq_vector_sources CONFIGURE_DEPENDS ${tq_vector_dir}/*.cpp)
if(TQ_VECTOR_PATHS_BUILT)
  foreach(source IN LISTS tq_vector_sources)
    get_filename_component(name ${source} NAME_WE)
    if(name MATCHES "AVX512$")
      set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS
        "-mavx512f;-mavx512bw;-mavx512vbmi;-mavx512vbmi2;-mbmi;-mbmi2;-mpopcnt")
    elseif(name MATCHES "AVX2$")
      set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "-mavx2")
    elseif(NOT name MATCHES "SSE2$")
      message(FATAL_ERROR "${source}: a vector file's name ends with its instruction set (SSE2, AVX2, AVX512)")
    endif()
  endforeach()
else()
  if(tq_vector_sources)
    list(REMOVE_ITEM TQ_SOURCES ${tq_vector_sources})
  endif()
  if(TQ_VECTOR_PATHS)
    message(STATUS "TQBaseKit: no vector loops for ${CMAKE_SYSTEM_PROCESSOR}; the encoders use their portable loops")
  endif()
endif()

file(GLOB tq_encodings_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/encodings/*.cpp)
if(TQ_VECTOR_PATHS_BUILT)
  set_property(SOURCE ${tq_encodings_sources} APPEND PROPERTY COMPILE_DEFINITIONS TQ_VECTOR_PATHS=1)
else()
  set_property(SOURCE ${tq_encodings_sources} APPEND PROPERTY COMPILE_DEFINITIONS TQ_VECTOR_PATHS=0)
endif()
