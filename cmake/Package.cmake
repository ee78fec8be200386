# Debian packages of an installation, made by script/package: the libraries, the programs with their packs, and what
# developers need.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillon)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Quillon developers <developers@quillon.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL libraries programs development)
if(TARGET quillon_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_COMPONENT_PROGRAMS_DEPENDS libraries)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS libraries)
set(CPACK_COMPONENT_PYTHON_DEPENDS libraries programs) # the packs are installed with the programs

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Dependencies on other packages are read from the binaries.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# Other packages that are linked with the libraries find out from the file shlibs which package they need.
get_property(libraries GLOBAL PROPERTY QUILLON_LIBRARIES)
set(shlibs "")
foreach(library IN LISTS libraries)
  string(APPEND shlibs "lib${library} ${PROJECT_VERSION_MAJOR} libquillon${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})\n")
endforeach()
file(WRITE ${PROJECT_BINARY_DIR}/package/shlibs "${shlibs}")
file(WRITE ${PROJECT_BINARY_DIR}/package/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/package/shlibs ${PROJECT_BINARY_DIR}/package/triggers)

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME libquillon${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_DEPENDS "fonts-dejavu-core") # the text in figures
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "algorithms for 2-d and 3-d images
Shared libraries with distance maps, morphology, granulometry, skeletons,
fibre directions and other measurements for CT and microscopy volumes, and
the engine that runs plug-ins on image files.")

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME quillon)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION science)
set(CPACK_COMPONENT_PROGRAMS_DESCRIPTION "analysis of CT and microscopy volumes on the command line
Segments, measures and filters 2-d and 3-d images with the plug-ins of two
packs, and writes tables and figures. Reads NRRD, MetaImage, NIfTI, TIFF, PNG
and DICOM.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquillon-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "algorithms for 2-d and 3-d images, development files
Headers, and files for CMake and pkg-config, to build programs and packs of
plug-ins with the libraries.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-quillon)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
# The extension module fits one minor version of Python.
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "python3 (>= ${QUILLON_PYTHON_VERSION}), python3 (<< ${QUILLON_NEXT_PYTHON_VERSION}), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-matplotlib, python3-pandas, python3-tqdm")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-dask, python3-distributed, python3-zarr") # volumes beyond memory
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "analysis of CT and microscopy volumes in Python
The plug-ins of two packs as functions on NumPy arrays: distance maps,
morphology, granulometry, skeletons, fibre directions, segmentation and
measurements.")
# Modules are compiled once, as an ordinary user cannot store what the interpreter compiles at an import.
file(WRITE ${PROJECT_BINARY_DIR}/package/postinst
"#!/bin/sh
set -e
if [ \"$1\" = configure ]; then
    py3compile -p python3-quillon
fi
")
file(WRITE ${PROJECT_BINARY_DIR}/package/prerm
"#!/bin/sh
set -e
py3clean -p python3-quillon
")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/package/postinst ${PROJECT_BINARY_DIR}/package/prerm)

# Each package has its licence and the changes in the places where Debian looks for them.
file(WRITE ${PROJECT_BINARY_DIR}/package/copyright
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: quillon

Files: *
Copyright: 2026 the Quillon developers
License: Apache-2.0
 On Debian systems, the full text of the Apache License 2.0 is in the file
 /usr/share/common-licenses/Apache-2.0.
")
string(TIMESTAMP today "%a, %d %b %Y 00:00:00 +0000" UTC)
file(WRITE ${PROJECT_BINARY_DIR}/package/changelog
"quillon (${PROJECT_VERSION}) unstable; urgency=medium

  * See the file CHANGELOG.md of the project.

 -- ${CPACK_PACKAGE_CONTACT}  ${today}
")
execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/package)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES ${PROJECT_BINARY_DIR}/package/copyright ${PROJECT_BINARY_DIR}/package/changelog.gz
    DESTINATION share/doc/${package} COMPONENT ${component})
endforeach()
include(CPack)
