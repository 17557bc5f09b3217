# One target a room, and an include path that shows a room only the rooms below it.
#
# A room's headers are reached as "room/header.h" through a view: a directory in the build tree
# that holds nothing but a link to that room. A target inherits the views of the rooms it links,
# so including a header from any other room fails to compile.

# Errors only where CMAKE_COMPILE_WARNING_AS_ERROR says so: in the developers' presets and .ci/run. A
# compiler that is newer than these sources may warn of what nobody has seen yet, and still builds them.
set(PARVANE_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wformat=2
    -Wimplicit-fallthrough -Wmissing-declarations)

function(parvane_common TARGET)
  target_compile_options(${TARGET} PRIVATE
    $<$<CXX_COMPILER_ID:GNU,Clang>:${PARVANE_WARNINGS}>
    # GCC 12 sees overlapping copies in its own std::string once it optimises (its bug 105651).
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:MSVC>:/W4 /utf-8>)
  if(PARVANE_FUZZERS)
    # The fuzzer steers by which branches of the rooms its inputs reach.
    target_compile_options(${TARGET} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(PARVANE_SANITIZE)
    target_compile_options(${TARGET} PRIVATE -fsanitize=${PARVANE_SANITIZE}
      -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${TARGET} PRIVATE -fsanitize=${PARVANE_SANITIZE})
  endif()
endfunction()

# parvane_room(NAME [DIR path] [HEADERS h...] [SOURCES s...] [LINKS room...] [LIBS target...])
#
#   DIR      the room's folder, relative to the source root (default: NAME)
#   HEADERS  show only these headers of the folder (a folder that holds two rooms)
#   SOURCES  default: every .cpp of the current folder
#   LINKS    rooms this one may include
#   LIBS     libraries it links privately
function(parvane_room NAME)
  cmake_parse_arguments(R "" "DIR" "HEADERS;SOURCES;LINKS;LIBS" ${ARGN})
  if(NOT R_DIR)
    set(R_DIR ${NAME})
  endif()
  if(NOT R_SOURCES)
    file(GLOB_RECURSE R_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  set(view ${parvane_BINARY_DIR}/view/${NAME})
  file(REMOVE_RECURSE ${view})
  if(R_HEADERS)
    foreach(header ${R_HEADERS})
      get_filename_component(folder ${view}/${R_DIR}/${header} DIRECTORY)
      file(MAKE_DIRECTORY ${folder})
      file(CREATE_LINK ${parvane_SOURCE_DIR}/${R_DIR}/${header} ${view}/${R_DIR}/${header} SYMBOLIC)
    endforeach()
  else()
    get_filename_component(folder ${view}/${R_DIR} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    file(CREATE_LINK ${parvane_SOURCE_DIR}/${R_DIR} ${view}/${R_DIR} SYMBOLIC)
  endif()
  set(links ${R_LINKS})
  list(TRANSFORM links PREPEND parvane_)
  if(R_SOURCES)
    add_library(parvane_${NAME} STATIC ${R_SOURCES})
    target_include_directories(parvane_${NAME} PUBLIC ${view})
    target_link_libraries(parvane_${NAME} PUBLIC ${links} PRIVATE ${R_LIBS})
    parvane_common(parvane_${NAME})
  else()
    add_library(parvane_${NAME} INTERFACE)
    target_include_directories(parvane_${NAME} INTERFACE ${view})
    target_link_libraries(parvane_${NAME} INTERFACE ${links} ${R_LIBS})
  endif()
endfunction()

# parvane_runnable(OUT TARGET): a file that runs the program on this machine, for tests that start it
# themselves: the program, or a script that runs it under Wine.
function(parvane_runnable OUT TARGET)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
    set(script ${parvane_BINARY_DIR}/runnable/${TARGET})
    file(GENERATE OUTPUT ${script}
      CONTENT "#!/bin/sh\nexec '${emulator}' '$<TARGET_FILE:${TARGET}>' \"$@\"\n"
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    set(${OUT} ${script} PARENT_SCOPE)
  else()
    set(${OUT} $<TARGET_FILE:${TARGET}> PARENT_SCOPE)
  endif()
endfunction()

# parvane_test(NAME LINKS room...): every *_test.cpp of the current folder as one program.
# The program may also include "tests/..." headers shared by all tests.
function(parvane_test NAME)
  cmake_parse_arguments(T "" "" "LINKS;LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  list(TRANSFORM T_LINKS PREPEND parvane_)
  add_executable(${NAME}_test ${sources})
  target_include_directories(${NAME}_test PRIVATE ${parvane_BINARY_DIR}/view/tests)
  target_link_libraries(${NAME}_test PRIVATE ${T_LINKS} ${T_LIBS} GTest::gmock GTest::gtest_main)
  parvane_common(${NAME}_test)
  # What optimises as little compiles in two thirds of the time, and the rooms tested are as always.
  target_compile_options(${NAME}_test PRIVATE $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU,Clang>>:-O1>)
  add_test(NAME ${NAME} COMMAND ${NAME}_test)
  set_tests_properties(${NAME} PROPERTIES TIMEOUT 900 FIXTURES_REQUIRED "${PARVANE_FIXTURE}")
endfunction()
