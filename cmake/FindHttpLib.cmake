# cpp-httplib, one header, from Debian's source package: its library would bring along TLS and a compression
# that nobody needs on the loopback, and that every start of the program would pay for. Elsewhere, a header
# that is one file: -DHttpLib_INCLUDE_DIR=folder.
include(FindPackageHandleStandardArgs)
if(NOT HttpLib_INCLUDE_DIR)
  set(script ${parvane_SOURCE_DIR}/tools/debian_source.sh)
  execute_process(COMMAND ${script} cpp-httplib OUTPUT_VARIABLE HttpLib_INCLUDE_DIR
                  OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
  if(failed OR NOT EXISTS ${HttpLib_INCLUDE_DIR}/httplib.h)
    set(HttpLib_INCLUDE_DIR HttpLib_INCLUDE_DIR-NOTFOUND)
  endif()
endif()
find_package_handle_standard_args(HttpLib
  REASON_FAILURE_MESSAGE "${script} could not get Debian's source package (-DPARVANE_APP=OFF: without the window)"
  REQUIRED_VARS HttpLib_INCLUDE_DIR)
if(HttpLib_FOUND AND NOT TARGET HttpLib::HttpLib)
  find_package(Threads REQUIRED)
  add_library(HttpLib::HttpLib INTERFACE IMPORTED GLOBAL)
  target_include_directories(HttpLib::HttpLib SYSTEM INTERFACE ${HttpLib_INCLUDE_DIR})
  # select() would end where a process has more than a thousand files open.
  target_compile_definitions(HttpLib::HttpLib INTERFACE CPPHTTPLIB_USE_POLL)
  target_link_libraries(HttpLib::HttpLib INTERFACE Threads::Threads $<$<PLATFORM_ID:Windows>:ws2_32>)
endif()
