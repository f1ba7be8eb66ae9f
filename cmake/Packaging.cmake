# SPDX-License-Identifier: MIT
# The Debian packages, one for each component of the installation. In a build of the preset `package`, `cpack`
# writes them to the directory packages/ of the build.
set(LUMENTA_MAINTAINER "The Lumenta authors <lumenta@vestrel.com>" CACHE STRING "Maintainer in the Debian packages")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumenta)
set(CPACK_PACKAGE_CONTACT "${LUMENTA_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL runtime development tools)
if(LUMENTA_APP)
  list(APPEND CPACK_COMPONENTS_ALL lumenta)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianFiles.cmake)
set(CPACK_LUMENTA_SOURCE_DIR ${PROJECT_SOURCE_DIR}) # for DebianFiles.cmake

set(CPACK_DEBIAN_LUMENTA_PACKAGE_NAME lumenta)
set(CPACK_DEBIAN_LUMENTA_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_LUMENTA_PACKAGE_DEPENDS hicolor-icon-theme)
set(CPACK_DEBIAN_LUMENTA_PACKAGE_RECOMMENDS qt6-wayland)
set(CPACK_DEBIAN_LUMENTA_DESCRIPTION "viewer for the page bitmaps of a print production line
Lumenta shows a page bitmap at one page pixel to one screen pixel. It opens
page files (Squeeze, CCITT Group 4, JBIG or plain rows) and TIFF files with
1 or 8 bits per pixel, and decodes only the rows that it must show.
.
It shows an overview of the whole page, measures distances, checks pages for
damage, shows the ink coverage, and prints without loss.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kesterlib-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "tools that check and convert page bitmaps
page-info shows the header of page files, page-to-pbm writes a page as a raw
PBM file, and page-check decodes every row of every page and says which pages
are damaged. They read page files with a raster in Squeeze, CCITT Group 4,
JBIG or plain rows.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkesterlib1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "codec library for bilevel page bitmaps
kesterlib reads the headers of page files and decodes their rasters row by
row: Squeeze, CCITT Group 4 and JBIG. It also reduces pages to grey pictures.
It needs only the C library.
.
This package has the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkesterlib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "codec library for bilevel page bitmaps - development files
kesterlib reads the headers of page files and decodes their rasters row by
row: Squeeze, CCITT Group 4 and JBIG. It also reduces pages to grey pictures.
It needs only the C library.
.
This package has the headers, the static library, and the files for
pkg-config and CMake.")

# CPack would call ldconfig in scripts of the library's package. Debian wants a trigger instead. So CPack does
# not learn that this package has a library, and DebianFiles.cmake finds out what it depends on.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS OFF)
file(WRITE ${PROJECT_BINARY_DIR}/debian/shlibs "libkesterlib 1 libkesterlib1 (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/debian/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib/kesterlib)
include(CPack)

# Everything that is installed, without tests and other programs.
add_custom_target(packaged)
foreach(target lumenta lumenta_icons kesterlib_static kesterlib_shared page-info page-to-pbm page-check)
  if(TARGET ${target})
    add_dependencies(packaged ${target})
  endif()
endforeach()
