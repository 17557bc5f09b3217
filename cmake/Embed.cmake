# parvane_embed(TARGET FUNCTION space::Name HEADER room/header.h BASE folder FILES file...): files as bytes
# inside the program.
#
# Adds to TARGET a source file, made anew when a file changes, that defines the function as the header
# declares it:
#
#   std::span<const platform::EmbeddedFile> Name();      (platform/embedded_file.h)
#
# A file's name is its path below BASE, with "/".
set(PARVANE_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

function(parvane_embed TARGET)
  cmake_parse_arguments(E "" "FUNCTION;HEADER;BASE" "FILES" ${ARGN})
  string(REGEX MATCH "^(.*)::([^:]+)$" whole "${E_FUNCTION}")
  set(space ${CMAKE_MATCH_1})
  set(name ${CMAKE_MATCH_2})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  set(names ${E_FILES})
  list(TRANSFORM names REPLACE "^${E_BASE}/" "")
  list(JOIN names "|" joined)
  add_custom_command(OUTPUT ${out}
    COMMAND ${CMAKE_COMMAND} -DSPACE=${space} -DNAME=${name} -DHEADER=${E_HEADER}
            -DBASE=${E_BASE} "-DFILES=${joined}" -DOUT=${out} -P ${PARVANE_EMBED_SCRIPT}
    DEPENDS ${E_FILES} ${PARVANE_EMBED_SCRIPT} VERBATIM)
  target_sources(${TARGET} PRIVATE ${out})
endfunction()

# The step of the build: FILES is a list separated by "|".
if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  string(REPLACE "|" ";" files "${FILES}")
  set(arrays "")
  set(rows "")
  set(number 0)
  foreach(file ${files})
    file(READ ${BASE}/${file} bytes HEX)
    string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
    # The zero that ends it makes an array of an empty file too.
    string(APPEND arrays "constexpr char kFile${number}[] = {\n${bytes}0};\n")
    string(APPEND rows "    {\"${file}\", {kFile${number}, sizeof kFile${number} - 1}},\n")
    math(EXPR number "${number} + 1")
  endforeach()
  file(WRITE ${OUT} "#include \"${HEADER}\"

namespace ${SPACE} {
namespace {

${arrays}
constexpr parvane::platform::EmbeddedFile kFiles[] = {
${rows}};

}  // namespace

std::span<const parvane::platform::EmbeddedFile> ${NAME}() { return kFiles; }

}  // namespace ${SPACE}
")
endif()
