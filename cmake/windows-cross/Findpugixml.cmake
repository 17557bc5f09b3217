# pugixml, one source file, from Debian's source package.
include(FindPackageHandleStandardArgs)
set(script ${parvane_SOURCE_DIR}/tools/debian_source.sh)
execute_process(COMMAND ${script} pugixml OUTPUT_VARIABLE pugixml_SOURCE_DIR
                OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
if(failed OR NOT EXISTS ${pugixml_SOURCE_DIR}/src/pugixml.cpp)
  set(pugixml_SOURCE_DIR pugixml_SOURCE_DIR-NOTFOUND)
endif()
find_package_handle_standard_args(pugixml
  REASON_FAILURE_MESSAGE "${script} could not get Debian's source package"
  REQUIRED_VARS pugixml_SOURCE_DIR)
if(pugixml_FOUND AND NOT TARGET pugixml::pugixml)
  add_library(parvane_pugixml STATIC ${pugixml_SOURCE_DIR}/src/pugixml.cpp)
  target_include_directories(parvane_pugixml SYSTEM PUBLIC ${pugixml_SOURCE_DIR}/src)
  add_library(pugixml::pugixml ALIAS parvane_pugixml)
endif()
