# {fmt} in its header-only form.
include(FindPackageHandleStandardArgs)
include(${CMAKE_CURRENT_LIST_DIR}/HostHeaders.cmake)
parvane_host_headers(fmt_INCLUDE_DIR fmt)
find_package_handle_standard_args(fmt REASON_FAILURE_MESSAGE "install libfmt-dev"
                                  REQUIRED_VARS fmt_INCLUDE_DIR)
if(fmt_FOUND AND NOT TARGET fmt::fmt)
  add_library(fmt::fmt INTERFACE IMPORTED GLOBAL)
  target_include_directories(fmt::fmt SYSTEM INTERFACE ${fmt_INCLUDE_DIR})
  target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
endif()
