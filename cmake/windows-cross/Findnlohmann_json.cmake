# The JSON library is headers alone.
include(FindPackageHandleStandardArgs)
include(${CMAKE_CURRENT_LIST_DIR}/HostHeaders.cmake)
parvane_host_headers(nlohmann_json_INCLUDE_DIR nlohmann)
find_package_handle_standard_args(nlohmann_json REASON_FAILURE_MESSAGE "install nlohmann-json3-dev"
                                  REQUIRED_VARS nlohmann_json_INCLUDE_DIR)
if(nlohmann_json_FOUND AND NOT TARGET nlohmann_json::nlohmann_json)
  add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED GLOBAL)
  target_include_directories(nlohmann_json::nlohmann_json SYSTEM INTERFACE ${nlohmann_json_INCLUDE_DIR})
endif()
