# Writes the catalogue of a pack: one JSON file with all entries of FOLDER, which front ends read beside the library.
#   cmake -DFOLDER=... -DOUTPUT=... -DPACK=... -DVERSION=... -P JoinCatalogue.cmake
file(GLOB files ${FOLDER}/*.json)
list(SORT files)
set(entries "")
foreach(file IN LISTS files)
  file(READ ${file} entry)
  string(STRIP "${entry}" entry)
  if(NOT entries STREQUAL "")
    string(APPEND entries ",\n")
  endif()
  string(APPEND entries "${entry}")
endforeach()
file(WRITE ${OUTPUT} "{\"pack\": \"${PACK}\", \"version\": \"${VERSION}\", \"plugins\": [\n${entries}\n]}\n")
