# The Debian packages of what has been built, in the build folder: `make deb`, or the target "deb". The
# folder debian/ has all they need, and works by itself too (dpkg-buildpackage).
set(work ${parvane_BINARY_DIR}/deb)
add_custom_target(deb VERBATIM USES_TERMINAL DEPENDS parvane parvane_manual ${PARVANE_LIBRARIES}
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${work}
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${parvane_SOURCE_DIR}/debian ${work}/debian
  COMMAND ${CMAKE_COMMAND} -E chdir ${work} ${CMAKE_COMMAND} -E env PARVANE_BUILD=${parvane_BINARY_DIR}
          DEB_RULES_REQUIRES_ROOT=no DEB_BUILD_OPTIONS=noautodbgsym
          debian/rules binary)
