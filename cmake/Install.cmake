# Where an installation puts things. All paths are relative to the prefix, so that an installed tree can be moved.
if(NOT CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Libraries, relative to the prefix")
endif()
set(CMAKE_INSTALL_DOCDIR share/doc/quillon CACHE PATH "Documentation, relative to the prefix")
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(QUILLON_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/quillon)
set(QUILLON_INSTALL_CONFIG ${CMAKE_INSTALL_LIBDIR}/cmake/Quillon)
set(QUILLON_INSTALL_PACKS ${CMAKE_INSTALL_LIBDIR}/quillon/packs)

# Programs, libraries and packs find each other by their place in the tree.
file(RELATIVE_PATH from_programs /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set(QUILLON_RPATH_OF_PROGRAMS $ORIGIN/${from_programs})
set(QUILLON_RPATH_OF_LIBRARIES $ORIGIN)
set(QUILLON_RPATH_OF_PACKS $ORIGIN/../..)

# quillon_install_library(NAME FOLDER): a library that others can link, and the headers below the folder NAME or, for
# a library of a whole folder, FOLDER of its source folder.
function(quillon_install_library name)
  get_target_property(type ${name} TYPE)
  if(type STREQUAL SHARED_LIBRARY)
    set_target_properties(${name} PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "${QUILLON_RPATH_OF_LIBRARIES}")
    set_property(GLOBAL APPEND PROPERTY QUILLON_LIBRARIES ${name})
  endif()
  target_include_directories(${name} PUBLIC $<INSTALL_INTERFACE:${QUILLON_INSTALL_HEADERS}>)
  install(TARGETS ${name} EXPORT QuillonTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endfunction()

# quillon_install_headers(FOLDER NAME): the headers below FOLDER, which is included as NAME.
function(quillon_install_headers folder name)
  install(DIRECTORY ${folder}/ DESTINATION ${QUILLON_INSTALL_HEADERS}/${name} COMPONENT development
    FILES_MATCHING PATTERN *.h)
endfunction()

# quillon_install_pack(NAME): a pack and its catalogue.
function(quillon_install_pack name)
  get_target_property(catalogue ${name} QUILLON_CATALOGUE)
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "${QUILLON_RPATH_OF_PACKS}")
  install(TARGETS ${name} LIBRARY DESTINATION ${QUILLON_INSTALL_PACKS} COMPONENT programs)
  install(FILES ${catalogue} DESTINATION ${QUILLON_INSTALL_PACKS} COMPONENT programs)
endfunction()

# quillon_install_program(NAME)
function(quillon_install_program name)
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "${QUILLON_RPATH_OF_PROGRAMS}")
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)
endfunction()

# quillon_install_notices(): licence and notices.
function(quillon_install_notices)
  install(FILES LICENSE NOTICE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT libraries)
endfunction()

# quillon_install_sdk(): what find_package and pkg-config need, once all libraries are known.
function(quillon_install_sdk)
  install(EXPORT QuillonTargets NAMESPACE Quillon:: DESTINATION ${QUILLON_INSTALL_CONFIG} COMPONENT development)
  configure_package_config_file(cmake/QuillonConfig.cmake.in ${PROJECT_BINARY_DIR}/cmake/QuillonConfig.cmake
    INSTALL_DESTINATION ${QUILLON_INSTALL_CONFIG} PATH_VARS QUILLON_INSTALL_PACKS)
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/QuillonConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES
      ${PROJECT_BINARY_DIR}/cmake/QuillonConfig.cmake
      ${PROJECT_BINARY_DIR}/cmake/QuillonConfigVersion.cmake
      cmake/QuillonPack.cmake cmake/PluginPack.map cmake/JoinCatalogue.cmake
    DESTINATION ${QUILLON_INSTALL_CONFIG} COMPONENT development)

  get_property(libraries GLOBAL PROPERTY QUILLON_LIBRARIES)
  list(TRANSFORM libraries PREPEND -l)
  list(JOIN libraries " " QUILLON_PKGCONFIG_LIBRARIES)
  file(RELATIVE_PATH from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  configure_file(cmake/quillon.pc.in ${PROJECT_BINARY_DIR}/cmake/quillon.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/cmake/quillon.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
