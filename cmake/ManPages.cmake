# The manual pages, made from the --help of each command, if help2man is there.
if(QUILLON_SANITIZE)
  return()
endif()
find_program(HELP2MAN help2man)
if(NOT HELP2MAN)
  message(STATUS "help2man is missing: there will be no manual pages")
  return()
endif()

set(folder ${PROJECT_BINARY_DIR}/man)
set(common ${PROJECT_SOURCE_DIR}/docs/man/common.h2m)
set(pages "")

# quillon_man_page(PAGE TARGET WORDS DESCRIPTION): a page about a program, or about one of its commands.
macro(quillon_man_page page target words description)
  add_custom_command(OUTPUT ${folder}/${page}.1.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${HELP2MAN} --no-info --section=1 --include=${common} --name=${description}
            --version-string=${PROJECT_VERSION} --output=${folder}/${page}.1 "$<TARGET_FILE:${target}>${words}"
    COMMAND ${CMAKE_COMMAND} -DFILE=${folder}/${page}.1 -DPAGE=${page} -P ${PROJECT_SOURCE_DIR}/cmake/NameManPage.cmake
    COMMAND gzip -9nf ${folder}/${page}.1
    DEPENDS ${target} ${common} ${PROJECT_SOURCE_DIR}/cmake/NameManPage.cmake
    COMMENT "Writing the manual page of ${page}" VERBATIM)
  list(APPEND pages ${folder}/${page}.1.gz)
endmacro()

quillon_man_page(quillon quillon "" "analysis of 2-d and 3-d images with plug-ins")
quillon_man_page(quillon-list quillon " list" "list the plug-ins")
quillon_man_page(quillon-describe quillon " describe" "show the parameters of a plug-in")
quillon_man_page(quillon-run quillon " run" "run a plug-in on an image file")
quillon_man_page(quillon-info quillon " info" "show what is known of an image file")
quillon_man_page(quillon-convert quillon " convert" "change format, pixel type or geometry of an image file")
quillon_man_page(quillon-preview quillon " preview" "make a picture of an image file")
quillon_man_page(quillon-table quillon " table" "write a measurement as a table")
quillon_man_page(quillon-plot quillon " plot" "plot a measurement")
quillon_man_page(quillon-chain quillon " chain" "run several plug-ins, as a JSON file says")
quillon_man_page(quillon-repeat quillon " repeat" "repeat the runs that made a file")
quillon_man_page(quillon-validate quillon " validate" "check that a pack keeps the rules of its contract")
quillon_man_page(quillon-lut quillon-lut "" "look-up tables for the medial axis and the bisector")

add_custom_target(man ALL DEPENDS ${pages})
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
