# What `cmake --install` and the Debian package hold beside the program: the whole library as one
# archive, its public headers, and the ways to find it (find_package(Parvane), pkg-config).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(library_rooms platform archives mapi pstfile mapi_builtin mime mime_facade tnef engine properties convert sources
    stores pst factory)
add_library(parvane_library STATIC)
set_target_properties(parvane_library PROPERTIES OUTPUT_NAME parvane EXPORT_NAME parvane
                      LINKER_LANGUAGE CXX)
foreach(room ${library_rooms})
  get_target_property(kind parvane_${room} TYPE)
  if(kind STREQUAL "STATIC_LIBRARY")
    target_sources(parvane_library PRIVATE $<TARGET_OBJECTS:parvane_${room}>)
  endif()
endforeach()
target_compile_features(parvane_library INTERFACE cxx_std_20)
target_link_libraries(parvane_library INTERFACE
  $<INSTALL_INTERFACE:ICU::i18n> $<INSTALL_INTERFACE:ICU::uc> $<INSTALL_INTERFACE:ICU::data>
  $<INSTALL_INTERFACE:pugixml::pugixml> $<INSTALL_INTERFACE:LibArchive::LibArchive>
  $<INSTALL_INTERFACE:PkgConfig::NETTLE>)

# The asset model, the store factory, the MAPI declarations with entry points and diagnostics, the
# integrity checker, the mail facade, and what these include.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/engine ${CMAKE_SOURCE_DIR}/factory ${CMAKE_SOURCE_DIR}/mapi
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane
        FILES_MATCHING PATTERN "*.h" PATTERN "builtin" EXCLUDE PATTERN "provider" EXCLUDE
        PATTERN "*_recorder.h" EXCLUDE)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/mime/facade
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane/mime
        FILES_MATCHING PATTERN "ts_*.h")
install(DIRECTORY ${CMAKE_SOURCE_DIR}/pstfile/check
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane/pstfile
        FILES_MATCHING PATTERN "integrity_checker.h")
install(FILES ${CMAKE_SOURCE_DIR}/platform/abi.h ${CMAKE_SOURCE_DIR}/platform/status.h
        ${CMAKE_SOURCE_DIR}/platform/time.h ${CMAKE_SOURCE_DIR}/platform/text.h
        ${CMAKE_SOURCE_DIR}/platform/file.h ${CMAKE_SOURCE_DIR}/platform/path.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane/platform)
install(FILES ${CMAKE_SOURCE_DIR}/pst/disk_utilities.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane/pst)

install(TARGETS parvane_library EXPORT ParvaneTargets
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Parvane)
install(EXPORT ParvaneTargets NAMESPACE Parvane:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_SOURCE_DIR}/packaging/ParvaneConfig.cmake.in
  ${CMAKE_BINARY_DIR}/ParvaneConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ParvaneConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ParvaneConfig.cmake ${CMAKE_BINARY_DIR}/ParvaneConfigVersion.cmake
        DESTINATION ${package_dir})
# Found from where it lies: the package's prefix is not the build's.
file(RELATIVE_PATH PARVANE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_SOURCE_DIR}/packaging/parvane.pc.in ${CMAKE_BINARY_DIR}/parvane.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/parvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# `cpack` in the build folder writes the Debian package, from what has been built: the tests need
# not be.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME parvane)
set(CPACK_PACKAGE_VENDOR "the Parvane maintainers")
set(CPACK_PACKAGE_CONTACT "${PARVANE_SUPPORT_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${PARVANE_SUPPORT_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libicu-dev, libpugixml-dev, libarchive-dev, nettle-dev")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
include(CPack)
