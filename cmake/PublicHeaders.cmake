# Which headers of tq/ are public: installed under <prefix>/include/tq/...,
# reachable from an umbrella header, and usable with nothing but the installed
# include folder. Everything else stays in the repository:
#   - headers under any internal/ folder (the vector loops' headers among
#     them: tq/encodings/internal/);
#   - the headers listed in TQ_INTERNAL_HEADERS (paths from the repository's
#     root), for an internal header that cannot move to an internal/ folder;
#     none today;
#   - source files.
# Used by the install rules (cmake/Packaging.cmake), the layering check and the
# header checks (cmake/CheckLayering.cmake, cmake/CheckUmbrellas.cmake), so
# that all of them see the same list.
set(TQ_INTERNAL_HEADERS)

# Sets `out_var` to the public headers below `source_dir`/tq, as paths
# relative to `source_dir` ("tq/platform/value/String.h"), sorted.
function(tq_public_headers source_dir out_var)
  if(CMAKE_SCRIPT_MODE_FILE)
    file(GLOB_RECURSE headers RELATIVE ${source_dir} ${source_dir}/tq/*.h)
  else()
    # A header added later is installed without an edit here.
    file(GLOB_RECURSE headers RELATIVE ${source_dir} CONFIGURE_DEPENDS ${source_dir}/tq/*.h)
  endif()
  set(public "")
  foreach(header IN LISTS headers)
    if(header MATCHES "/internal/")
      continue()
    endif()
    if(header IN_LIST TQ_INTERNAL_HEADERS)
      continue()
    endif()
    list(APPEND public ${header})
  endforeach()
  list(SORT public)
  set(${out_var} ${public} PARENT_SCOPE)
endfunction()

# True when `header` (relative, "tq/...") is one that is not installed.
function(tq_is_internal_header header out_var)
  if(header MATCHES "/internal/" OR header IN_LIST TQ_INTERNAL_HEADERS)
    set(${out_var} TRUE PARENT_SCOPE)
  else()
    set(${out_var} FALSE PARENT_SCOPE)
  endif()
endfunction()
