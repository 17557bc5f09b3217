# The library for other programs: all rooms that it takes in one archive, with BUILD_SHARED_LIBS in a shared
# library as well. Parvane::parvane is the one that was asked for, here and from the installed package.
set(PARVANE_LIBRARY_ROOMS platform archives mapi pstfile mapi_builtin mime mime_facade tnef engine properties convert
    sources stores pst factory carry moves desk parvane)

# What its users include: the conversion as one call, the asset model, the store factory, the MAPI declarations with entry points and
# diagnostics, the integrity checker, the mail facade, and what these include.
file(GLOB_RECURSE PARVANE_PUBLIC_HEADERS RELATIVE ${parvane_SOURCE_DIR} CONFIGURE_DEPENDS
  ${parvane_SOURCE_DIR}/engine/*.h ${parvane_SOURCE_DIR}/factory/*.h ${parvane_SOURCE_DIR}/mapi/*.h
  ${parvane_SOURCE_DIR}/mime/facade/ts_*.h)
list(FILTER PARVANE_PUBLIC_HEADERS EXCLUDE REGEX "^mapi/(builtin|provider)/|_recorder\\.h$")
list(APPEND PARVANE_PUBLIC_HEADERS parvane/convert.h parvane/options.h parvane/c_api.h pstfile/check/integrity_checker.h pst/disk_utilities.h
     platform/abi.h platform/file.h platform/path.h platform/status.h platform/text.h platform/time.h)

configure_file(${parvane_SOURCE_DIR}/packaging/version.h.in ${parvane_BINARY_DIR}/generated/parvane/version.h @ONLY)

# parvane_add_library(TARGET KIND NAME)
function(parvane_add_library TARGET KIND)
  add_library(${TARGET} ${KIND})
  set_target_properties(${TARGET} PROPERTIES OUTPUT_NAME parvane LINKER_LANGUAGE CXX)
  target_compile_features(${TARGET} PUBLIC cxx_std_20)
  target_include_directories(${TARGET} PUBLIC $<BUILD_INTERFACE:${parvane_BINARY_DIR}/generated>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/parvane>)
  foreach(room ${PARVANE_LIBRARY_ROOMS})
    get_target_property(kind parvane_${room} TYPE)
    if(kind STREQUAL "STATIC_LIBRARY")
      target_sources(${TARGET} PRIVATE $<TARGET_OBJECTS:parvane_${room}>)
    endif()
  endforeach()
  # The headers of the rooms with public ones, and of nobody else.
  foreach(room parvane engine factory mapi mime_facade pstfile platform pst)
    target_include_directories(${TARGET} PUBLIC $<BUILD_INTERFACE:${parvane_BINARY_DIR}/view/${room}>)
  endforeach()
  target_link_libraries(${TARGET} PRIVATE fmt::fmt)
  if(WIN32)
    target_link_libraries(${TARGET} PRIVATE pugixml::pugixml LibArchive::LibArchive advapi32 shell32 ole32 uuid bcrypt)
  else()
    target_link_libraries(${TARGET} PRIVATE ICU::i18n ICU::uc ICU::data pugixml::pugixml LibArchive::LibArchive
                          PkgConfig::NETTLE)
  endif()
endfunction()

parvane_add_library(parvane_static STATIC)
set_target_properties(parvane_static PROPERTIES EXPORT_NAME static)
set(PARVANE_LIBRARIES parvane_static)
if(BUILD_SHARED_LIBS AND NOT WIN32)
  parvane_add_library(parvane_shared SHARED)
  set_target_properties(parvane_shared PROPERTIES EXPORT_NAME shared VERSION ${PROJECT_VERSION}
                        SOVERSION ${PROJECT_VERSION_MAJOR})
  list(APPEND PARVANE_LIBRARIES parvane_shared)
  # Nothing is seen of it but what those headers declare.
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(map ${parvane_BINARY_DIR}/libparvane.map)
  set(headers ${PARVANE_PUBLIC_HEADERS})
  list(TRANSFORM headers PREPEND ${parvane_SOURCE_DIR}/)
  add_custom_command(OUTPUT ${map} VERBATIM
    COMMAND Python3::Interpreter ${parvane_SOURCE_DIR}/packaging/public_symbols.py ${map} ${headers}
    DEPENDS ${parvane_SOURCE_DIR}/packaging/public_symbols.py ${headers})
  add_custom_target(parvane_symbols DEPENDS ${map})
  add_dependencies(parvane_shared parvane_symbols)
  target_link_options(parvane_shared PRIVATE -Wl,--version-script=${map} -Wl,-z,defs)
  set_target_properties(parvane_shared PROPERTIES LINK_DEPENDS ${map})
  add_library(Parvane::parvane ALIAS parvane_shared)
else()
  add_library(Parvane::parvane ALIAS parvane_static)
endif()
if(NOT PARVANE_PACKAGE)
  set_target_properties(${PARVANE_LIBRARIES} PROPERTIES EXCLUDE_FROM_ALL ON)
endif()
