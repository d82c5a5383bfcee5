# Fails when an include runs up the layers of the library:
#   - tq/platform knows no subsystem, and each of its rooms includes only
#     itself and the rooms below it;
#   - a subsystem includes the platform, itself and the subsystems below it;
#   - a public header never includes an internal one (internal headers are not
#     installed, so such an include would break every user's build; the list
#     is in cmake/PublicHeaders.cmake);
#   - at tq/ itself sit two headers alone: the whole-library umbrella
#     tq/TQBaseKit.h, above every layer (so nothing in the library includes
#     it), and the generated tq/Version.h, below every layer (it includes
#     nothing). Any other file there, or an include of one, is flagged.
# Run as `cmake -DSOURCE_DIR=<repository> -P cmake/CheckLayering.cmake`.
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/Layers.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/PublicHeaders.cmake)

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "CheckLayering: pass -DSOURCE_DIR=<repository>")
endif()

# The rank of a path's layer: platform rooms first, then the subsystems, each
# later one above the earlier ones, then the whole-library umbrella. Unknown
# folders and files answer -1.
function(tq_layer_rank path out_rank out_name)
  set(rank -1)
  set(name "")
  if(path STREQUAL "tq/TQBaseKit.h")
    list(LENGTH TQ_PLATFORM_ROOMS rooms)
    list(LENGTH TQ_SUBSYSTEMS subsystems)
    math(EXPR rank "${rooms} + ${subsystems}")
    set(name "the whole-library umbrella")
  elseif(path STREQUAL "tq/Version.h")
    set(rank 0)
    set(name "the generated version")
  elseif(path MATCHES "^tq/platform/([a-z]+)/")
    list(FIND TQ_PLATFORM_ROOMS "${CMAKE_MATCH_1}" rank)
    set(name "platform/${CMAKE_MATCH_1}")
  elseif(path MATCHES "^tq/([a-z]+)/")
    list(FIND TQ_SUBSYSTEMS "${CMAKE_MATCH_1}" index)
    if(index GREATER_EQUAL 0)
      list(LENGTH TQ_PLATFORM_ROOMS rooms)
      math(EXPR rank "${rooms} + ${index}")
    endif()
    set(name "${CMAKE_MATCH_1}")
  endif()
  set(${out_rank} ${rank} PARENT_SCOPE)
  set(${out_name} "${name}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE files RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/tq/*.h ${SOURCE_DIR}/tq/*.cpp)
list(LENGTH TQ_PLATFORM_ROOMS platform_rooms)
set(violations "")
foreach(file IN LISTS files)
  tq_layer_rank("${file}" file_rank file_layer)
  if(file STREQUAL "tq/Version.h")
    string(APPEND violations "\n  ${file}: generated into the build tree from cmake/Version.h.in; a copy here would shadow it")
    continue()
  elseif(file_rank LESS 0 AND file MATCHES "^tq/[^/]+$")
    string(APPEND violations "\n  ${file}: only the whole-library umbrella tq/TQBaseKit.h sits at tq/ itself")
    continue()
  elseif(file_rank LESS 0)
    string(APPEND violations "\n  ${file}: not in a known layer (add its folder to cmake/Layers.cmake)")
    continue()
  endif()
  file(STRINGS ${SOURCE_DIR}/${file} includes REGEX "^[ \t]*#[ \t]*include[ \t]+\"tq/")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE ".*\"(tq/[^\"]+)\".*" "\\1" target "${line}")
    tq_layer_rank("${target}" target_rank target_layer)
    if(target_rank LESS 0)
      string(APPEND violations "\n  ${file}: includes ${target}, which is in no known layer")
    elseif(target_rank GREATER file_rank)
      string(APPEND violations "\n  ${file} (${file_layer}) includes ${target} (${target_layer}), a higher layer")
    endif()
    tq_is_internal_header("${target}" target_internal)
    tq_is_internal_header("${file}" file_internal)
    if(target_internal AND file MATCHES "\\.h$" AND NOT file_internal)
      string(APPEND violations "\n  ${file}: a public header includes the internal ${target}")
    endif()
  endforeach()
endforeach()

if(violations)
  message(FATAL_ERROR "Includes that break the layering:${violations}")
endif()
list(LENGTH files count)
message(STATUS "Layering holds across ${count} files")
