# What `cmake --install` puts where, beside the program: the library, its headers, the ways to find it, and
# what the desktop shows.
include(CMakePackageConfigHelpers)
include(SourceDate)

foreach(header ${PARVANE_PUBLIC_HEADERS})
  cmake_path(GET header PARENT_PATH folder)
  # <parvane/convert.h> and, of the rooms below, "engine/stores.h".
  if(NOT folder STREQUAL "parvane")
    set(folder parvane/${folder})
  endif()
  install(FILES ${parvane_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()
install(FILES ${parvane_BINARY_DIR}/generated/parvane/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parvane)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Parvane)
install(TARGETS ${PARVANE_LIBRARIES} EXPORT ParvaneTargets
        ARCHIVE LIBRARY)
install(EXPORT ParvaneTargets NAMESPACE Parvane:: DESTINATION ${package_dir})
configure_package_config_file(${parvane_SOURCE_DIR}/packaging/ParvaneConfig.cmake.in
  ${parvane_BINARY_DIR}/ParvaneConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${parvane_BINARY_DIR}/ParvaneConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${parvane_BINARY_DIR}/ParvaneConfig.cmake ${parvane_BINARY_DIR}/ParvaneConfigVersion.cmake
        DESTINATION ${package_dir})

# Found from where it lies: the package's prefix is not the build's. The shared library brings its own
# libraries; a static one leaves them to who links it.
file(RELATIVE_PATH PARVANE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
if(TARGET parvane_shared)
  set(PARVANE_PC_REQUIRES Requires.private)
else()
  set(PARVANE_PC_REQUIRES Requires)
endif()
configure_file(${parvane_SOURCE_DIR}/packaging/parvane.pc.in ${parvane_BINARY_DIR}/parvane.pc @ONLY)
install(FILES ${parvane_BINARY_DIR}/parvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# What the desktop shows.
install(FILES ${parvane_SOURCE_DIR}/packaging/parvane.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${parvane_SOURCE_DIR}/packaging/parvane.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
configure_file(${parvane_SOURCE_DIR}/packaging/parvane.metainfo.xml.in ${parvane_BINARY_DIR}/parvane.metainfo.xml @ONLY)
install(FILES ${parvane_BINARY_DIR}/parvane.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo
        RENAME org.example.packages.parvane.metainfo.xml)
