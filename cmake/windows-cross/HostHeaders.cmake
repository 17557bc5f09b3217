# parvane_host_headers(OUT NAME...): copies headers or folders of headers out of the host's include
# folder into the build tree, and sets OUT to the folder that holds them; empty when one is missing.
#
# The host's include folder as a whole must not reach the cross compiler: it would find the host's C
# library there.
function(parvane_host_headers OUT)
  set(${OUT} "" PARENT_SCOPE)
  set(folder ${parvane_BINARY_DIR}/host-headers)
  foreach(name ${ARGN})
    unset(where)
    find_path(where ${name} PATHS /usr/local/include /usr/include NO_CACHE
              NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT where)
      return()
    endif()
    file(COPY ${where}/${name} DESTINATION ${folder})
  endforeach()
  set(${OUT} ${folder} PARENT_SCOPE)
endfunction()
