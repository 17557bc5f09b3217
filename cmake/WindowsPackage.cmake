# The target windows-package: what people download, a zip and an installer, in the build folder.
include(SourceDate)
foreach(package cpp-httplib pugixml libarchive)
  execute_process(COMMAND ${parvane_SOURCE_DIR}/tools/debian_source.sh ${package} OUTPUT_VARIABLE ${package}
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endforeach()
set(name parvane-${PROJECT_VERSION}-windows-x86_64)
set(PARVANE_NOTICES
  "CLI11|/usr/share/doc/libcli11-dev/copyright"
  "{fmt}|/usr/share/doc/libfmt-dev/copyright"
  "JSON for Modern C++|/usr/share/doc/nlohmann-json3-dev/copyright"
  "cpp-httplib|${cpp-httplib}/LICENSE"
  "pugixml|${pugixml}/LICENSE.md"
  "libarchive|${libarchive}/COPYING"
  "zlib|/usr/share/doc/libz-mingw-w64-dev/copyright"
  "The run-time libraries of GCC|/usr/share/doc/gcc-mingw-w64-base/copyright"
  "The run-time libraries of MinGW-w64|/usr/share/doc/mingw-w64-x86-64-dev/copyright")
add_custom_target(windows-package VERBATIM USES_TERMINAL
  COMMAND ${CMAKE_COMMAND} -DNAME=${name} -DVERSION=${PROJECT_VERSION} -DBUILD=${parvane_BINARY_DIR}
          -DSOURCE=${parvane_SOURCE_DIR} -DEPOCH=${PARVANE_SOURCE_EPOCH} -DSTRIP=${CMAKE_STRIP}
          "-DNOTICES=${PARVANE_NOTICES}" -P ${parvane_SOURCE_DIR}/packaging/windows/make_package.cmake)
add_dependencies(windows-package parvane parvanemapi)
