# Writes the source OUTPUT that holds the texts of the catalogue files in FOLDER:
#   cmake -DFOLDER=... -DOUTPUT=... -P Embed.cmake
file(GLOB files ${FOLDER}/*.json)
list(SORT files)
set(texts "")
foreach(file IN LISTS files)
  file(READ ${file} text)
  string(APPEND texts "    R\"json(${text})json\",\n")
endforeach()
file(WRITE ${OUTPUT}
"#include \"EmbeddedCatalogue.h\"

namespace app {

std::span<const std::string_view> EmbeddedCatalogue() {
    static constexpr std::string_view texts[] = {
${texts}    };
    return texts;
}

} // namespace app
")
