# Writes a source file with the strings tables of a resources folder. To be run with `cmake -P`.
#   RESOURCES  the folder; each folder in it is a language and holds a Localizable.strings
#   OUTPUT     the source file to write
file(GLOB tables RELATIVE ${RESOURCES} ${RESOURCES}/*/Localizable.strings)
list(SORT tables)
set(arrays "")
set(entries "")
foreach(table IN LISTS tables)
  get_filename_component(language ${table} DIRECTORY)
  string(MAKE_C_IDENTIFIER ${language} name)
  file(READ ${RESOURCES}/${table} bytes HEX)
  string(REGEX REPLACE "(..)" "'\\\\x\\1', " bytes "${bytes}")
  string(APPEND arrays "constexpr char ${name}[] = {${bytes}};\n")
  string(APPEND entries "    {\"${language}\", {${name}, sizeof ${name}}},\n")
endforeach()
file(
  WRITE ${OUTPUT}.new
  "// Made from the strings tables in resources/ when they change.
#include <vexil/texts/EmbeddedStrings.h>

#include <array>

namespace {
${arrays}
constexpr std::array tables = std::to_array<vexil::platform::EmbeddedStrings>({
${entries}});
}  // namespace

std::span<const vexil::platform::EmbeddedStrings> vexil::detail::embeddedStrings() { return tables; }
")
file(COPY_FILE ${OUTPUT}.new ${OUTPUT} ONLY_IF_DIFFERENT)
