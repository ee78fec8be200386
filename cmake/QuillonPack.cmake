# quillon_pack(NAME [SOURCES ...] [LINK ...] [CATALOGUE FOLDER] [VERSION VERSION]): one pack, a shared library with one
# exported symbol. LINK names libraries and object libraries, whose symbols the pack hides. The JSON files in FOLDER, by
# default catalogue/, one per plug-in, are joined to NAME.catalogue.json beside the library, where front ends read it.
function(quillon_pack name)
  cmake_parse_arguments(ARG "" "CATALOGUE;VERSION" "SOURCES;LINK" ${ARGN})
  set(folder ${CMAKE_CURRENT_SOURCE_DIR}/catalogue)
  if(ARG_CATALOGUE)
    cmake_path(ABSOLUTE_PATH ARG_CATALOGUE NORMALIZE OUTPUT_VARIABLE folder)
  endif()
  if(NOT ARG_VERSION)
    set(ARG_VERSION ${PROJECT_VERSION})
  endif()
  set(symbols ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/PluginPack.map)
  set(join ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/JoinCatalogue.cmake)

  add_library(${name} SHARED ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${symbols} -Wl,--no-undefined -Wl,--require-defined=CreatePluginInstanceEx)
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON LINK_DEPENDS ${symbols})

  set(output_folder ${CMAKE_CURRENT_BINARY_DIR})
  if(CMAKE_LIBRARY_OUTPUT_DIRECTORY)
    set(output_folder ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  endif()
  set(catalogue ${output_folder}/${name}.catalogue.json)
  file(GLOB entries CONFIGURE_DEPENDS ${folder}/*.json)
  add_custom_command(OUTPUT ${catalogue}
    COMMAND ${CMAKE_COMMAND} -DFOLDER=${folder} -DOUTPUT=${catalogue} -DPACK=${name} -DVERSION=${ARG_VERSION} -P ${join}
    DEPENDS ${entries} ${join}
    COMMENT "Joining the catalogue of ${name}" VERBATIM)
  add_custom_target(${name}Catalogue DEPENDS ${catalogue})
  add_dependencies(${name} ${name}Catalogue)
  set_target_properties(${name} PROPERTIES QUILLON_CATALOGUE ${catalogue})
endfunction()
