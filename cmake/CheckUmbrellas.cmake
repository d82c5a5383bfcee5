# The checks of the installed headers, run by CTest (tests/package/):
#
#   MODE=stage  copies the public headers (cmake/PublicHeaders.cmake) and the
#               generated tq/Version.h into STAGE_DIR, as `cmake --install`
#               lays them out, so that the umbrellas can be compiled against
#               the installed headers alone;
#   MODE=reach  fails unless every staged header is reached, through includes,
#               from its umbrella: a header of a platform room or a subsystem
#               from that folder's All.h, each All.h and tq/Version.h from the
#               whole-library tq/TQBaseKit.h. So a header added to a folder
#               without a line in its umbrella fails the suite, and so does an
#               include of a header that is not installed.
#
# cmake -DMODE=stage -DSOURCE_DIR=<repository> -DGENERATED_DIR=<build>/include -DSTAGE_DIR=<dir> -P cmake/CheckUmbrellas.cmake
# cmake -DMODE=reach -DSTAGE_DIR=<dir> -P cmake/CheckUmbrellas.cmake
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/PublicHeaders.cmake)

set(TQ_LIBRARY_UMBRELLA tq/TQBaseKit.h)

if(MODE STREQUAL "stage")
  foreach(variable IN ITEMS SOURCE_DIR GENERATED_DIR STAGE_DIR)
    if(NOT ${variable})
      message(FATAL_ERROR "CheckUmbrellas: pass -D${variable}=...")
    endif()
  endforeach()
  file(REMOVE_RECURSE ${STAGE_DIR})
  tq_public_headers(${SOURCE_DIR} headers)
  foreach(header IN LISTS headers)
    get_filename_component(folder ${header} DIRECTORY)
    file(COPY ${SOURCE_DIR}/${header} DESTINATION ${STAGE_DIR}/${folder})
  endforeach()
  file(COPY ${GENERATED_DIR}/tq/Version.h DESTINATION ${STAGE_DIR}/tq)
  list(LENGTH headers count)
  math(EXPR count "${count} + 1")
  message(STATUS "Staged ${count} public headers in ${STAGE_DIR}")
  return()
endif()

if(NOT MODE STREQUAL "reach")
  message(FATAL_ERROR "CheckUmbrellas: MODE is stage or reach")
endif()
if(NOT STAGE_DIR)
  message(FATAL_ERROR "CheckUmbrellas: pass -DSTAGE_DIR=<dir>")
endif()

file(GLOB_RECURSE headers RELATIVE ${STAGE_DIR} ${STAGE_DIR}/tq/*.h)
list(SORT headers)
set(violations "")

# The umbrella that must reach `header`.
function(tq_umbrella_of header out_var)
  if(header STREQUAL TQ_LIBRARY_UMBRELLA)
    set(umbrella "")
  elseif(header MATCHES "^tq/platform/[a-z]+/All\\.h$" OR header MATCHES "^tq/[a-z]+/All\\.h$")
    set(umbrella ${TQ_LIBRARY_UMBRELLA})
  elseif(header MATCHES "^(tq/platform/[a-z]+)/")
    set(umbrella ${CMAKE_MATCH_1}/All.h)
  elseif(header MATCHES "^tq/platform/")
    set(umbrella ${TQ_LIBRARY_UMBRELLA})
  elseif(header MATCHES "^(tq/[a-z]+)/")
    set(umbrella ${CMAKE_MATCH_1}/All.h)
  else()
    set(umbrella ${TQ_LIBRARY_UMBRELLA})
  endif()
  set(${out_var} "${umbrella}" PARENT_SCOPE)
endfunction()

# The library's headers that `start` reaches through its includes, itself
# among them. Includes of headers that are not staged become violations.
function(tq_reached start out_var)
  set(reached ${start})
  set(queue ${start})
  set(missing "")
  while(queue)
    list(POP_FRONT queue current)
    file(STRINGS ${STAGE_DIR}/${current} lines REGEX "^[ \t]*#[ \t]*include[ \t]+\"tq/")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE ".*\"(tq/[^\"]+)\".*" "\\1" target "${line}")
      if(NOT EXISTS ${STAGE_DIR}/${target})
        list(APPEND missing "${current} includes ${target}, which is not installed")
      elseif(NOT target IN_LIST reached)
        list(APPEND reached ${target})
        list(APPEND queue ${target})
      endif()
    endforeach()
  endwhile()
  set(${out_var} ${reached} PARENT_SCOPE)
  set(tq_missing_includes "${missing}" PARENT_SCOPE)
endfunction()

set(checked_umbrellas "")
foreach(header IN LISTS headers)
  tq_umbrella_of(${header} umbrella)
  if(NOT umbrella)
    continue()
  endif()
  if(NOT EXISTS ${STAGE_DIR}/${umbrella})
    get_filename_component(folder ${header} DIRECTORY)
    list(APPEND violations "${header}: ${folder}/ has no umbrella header ${umbrella}")
    continue()
  endif()
  string(MAKE_C_IDENTIFIER ${umbrella} key)
  if(NOT umbrella IN_LIST checked_umbrellas)
    tq_reached(${umbrella} reached_${key})
    list(APPEND violations ${tq_missing_includes})
    list(APPEND checked_umbrellas ${umbrella})
  endif()
  if(NOT header IN_LIST reached_${key})
    list(APPEND violations "${header}: not reached from its umbrella ${umbrella}")
  endif()
endforeach()

if(violations)
  list(REMOVE_DUPLICATES violations)
  list(JOIN violations "\n  " violations)
  message(FATAL_ERROR "Umbrella headers out of step with the installed headers:\n  ${violations}")
endif()
list(LENGTH headers count)
list(LENGTH checked_umbrellas umbrellas)
message(STATUS "${umbrellas} umbrellas reach all ${count} installed headers")
