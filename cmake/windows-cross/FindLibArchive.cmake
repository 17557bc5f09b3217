# libarchive from Debian's source package, as far as zip, tar and gzip take; zlib from its own package.
include(FindPackageHandleStandardArgs)
set(script ${parvane_SOURCE_DIR}/tools/debian_source.sh)
execute_process(COMMAND ${script} libarchive OUTPUT_VARIABLE LibArchive_SOURCE_DIR
                OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
if(failed OR NOT EXISTS ${LibArchive_SOURCE_DIR}/libarchive/archive_read.c)
  set(LibArchive_SOURCE_DIR LibArchive_SOURCE_DIR-NOTFOUND)
endif()
find_path(ZLIB_INCLUDE_DIR zlib.h)
find_library(ZLIB_LIBRARY NAMES libz.a)
find_package_handle_standard_args(LibArchive
  REASON_FAILURE_MESSAGE "install libz-mingw-w64-dev, or ${script} cannot get sources"
  REQUIRED_VARS LibArchive_SOURCE_DIR ZLIB_INCLUDE_DIR ZLIB_LIBRARY)
if(LibArchive_FOUND AND NOT TARGET LibArchive::LibArchive)
  enable_language(C)
  set(config ${parvane_BINARY_DIR}/libarchive)
  file(CONFIGURE OUTPUT ${config}/config.h CONTENT [[
#include "contrib/android/config/windows_host.h"
#define __LIBARCHIVE_CONFIG_H_INCLUDED 1
#define HAVE_LIBZ 1
#define HAVE_ZLIB_H 1
]])
  set(sources)
  foreach(name acl check_magic cryptor entry entry_sparse entry_xattr hmac options ppmd8 rb read
          read_add_passphrase read_set_options read_support_filter_gzip read_support_format_empty
          read_support_format_raw read_support_format_tar read_support_format_zip string
          string_sprintf util version_details virtual windows)
    list(APPEND sources ${LibArchive_SOURCE_DIR}/libarchive/archive_${name}.c)
  endforeach()
  add_library(parvane_libarchive STATIC ${sources})
  target_compile_definitions(parvane_libarchive PRIVATE HAVE_CONFIG_H PUBLIC LIBARCHIVE_STATIC)
  target_compile_options(parvane_libarchive PRIVATE -w)
  target_include_directories(parvane_libarchive
    PRIVATE ${config} ${LibArchive_SOURCE_DIR} ${ZLIB_INCLUDE_DIR}
    SYSTEM PUBLIC ${LibArchive_SOURCE_DIR}/libarchive)
  target_link_libraries(parvane_libarchive PUBLIC ${ZLIB_LIBRARY} bcrypt)
  add_library(LibArchive::LibArchive ALIAS parvane_libarchive)
endif()
