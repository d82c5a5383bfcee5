# Fails when an include runs up the layers of the library:
#   - tq/platform knows no subsystem, and each of its rooms includes only
#     itself and the rooms below it;
#   - a subsystem includes the platform, itself and the subsystems below it;
#   - a public header never includes an internal one (internal headers are not
#     installed, so such an include would break every user's build).
# Run as `cmake -DSOURCE_DIR=<repository> -P cmake/CheckLayering.cmake`.
include(${CMAKE_CURRENT_LIST_DIR}/Layers.cmake)

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "CheckLayering: pass -DSOURCE_DIR=<repository>")
endif()

# The rank of a path's layer: platform rooms first, then the subsystems, each
# later one above the earlier ones. Unknown folders answer -1.
function(tq_layer_rank path out_rank out_name)
  set(rank -1)
  set(name "")
  if(path MATCHES "^tq/platform/([a-z]+)/")
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
  if(file_rank LESS 0)
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
    if(target MATCHES "/internal/" AND file MATCHES "\\.h$" AND NOT file MATCHES "/internal/")
      string(APPEND violations "\n  ${file}: a public header includes the internal ${target}")
    endif()
  endforeach()
endforeach()

if(violations)
  message(FATAL_ERROR "Includes that break the layering:${violations}")
endif()
list(LENGTH files count)
message(STATUS "Layering holds across ${count} files")
