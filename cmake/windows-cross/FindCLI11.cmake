# CLI11 is headers alone.
include(FindPackageHandleStandardArgs)
include(${CMAKE_CURRENT_LIST_DIR}/HostHeaders.cmake)
parvane_host_headers(CLI11_INCLUDE_DIR CLI)
find_package_handle_standard_args(CLI11 REASON_FAILURE_MESSAGE "install libcli11-dev"
                                  REQUIRED_VARS CLI11_INCLUDE_DIR)
if(CLI11_FOUND AND NOT TARGET CLI11::CLI11)
  add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
  target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${CLI11_INCLUDE_DIR})
endif()
