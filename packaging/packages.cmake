# The packages: cpack -G DEB makes morvex-tool and libmorvex-dev, cpack -G ZIP the zip for Windows. scripts/package calls
# cpack.
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME morvex-tool)
set(CPACK_PACKAGE_VENDOR morvex-tool)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})

if(WIN32)
  set(CPACK_COMPONENTS_ALL tool)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
  set(CPACK_PACKAGE_FILE_NAME morvex-tool-${PROJECT_VERSION}-windows-x64)
  set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
  include(CPack)
  return()
endif()

# One package for each group of components.
set(CPACK_COMPONENTS_ALL tool debian-tool library debian-library)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "morvex-tool maintainers <maintainers@example.invalid>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME morvex-tool)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_RECOMMENDS tzdata) # without it only TZ rules work, no names of zones
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION "console client of a network-monitoring server
Lists the tree of domains, nodes and checks of a Morvex Server, exports and
imports the results of checks and the incident logs of nodes as CSV, reads
and changes properties, and watches the metrics of the server.
.
The package also has morvex-sandbox, a small server with sample data to try
it on.")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME libmorvex-dev)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SUGGESTS "cmake, pkgconf")
set(CPACK_DEBIAN_LIBRARIES_DESCRIPTION "client of a network-monitoring server, for C++ programs
Static libraries and headers of the client that morvex-tool is made of: the
wire protocol of a Morvex Server, log-in and requests, and queries on objects,
properties and time series. CMake and pkg-config know them as \"morvex\".")

include(CPack)
cpack_add_component_group(programs)
cpack_add_component_group(libraries)
cpack_add_component(tool GROUP programs)
cpack_add_component(debian-tool GROUP programs)
cpack_add_component(library GROUP libraries)
cpack_add_component(debian-library GROUP libraries)
