# cpack -G DEB: one Debian package per component of the installation.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL "")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Brantel <brantel@localhost>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Where the programs' own libraries are found, which are in no installed package yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

# What the README says first is what every package is about.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/README.md)
file(READ ${PROJECT_SOURCE_DIR}/README.md about)
string(REGEX REPLACE "^# [^\n]*\n+" "" about "${about}")
string(FIND "${about}" "\n\n" end)
string(SUBSTRING "${about}" 0 ${end} about)
string(REPLACE "\n" " " about "${about}")

# debian_package(COMPONENT NAME SECTION HOLDS [BINARIES] [EVERY_MACHINE] [NEEDS package...] [SCRIPTS script...]): with BINARIES
# it needs what these were linked with, too.
macro(debian_package component name section holds)
  cmake_parse_arguments(arg "BINARIES;EVERY_MACHINE" "" "NEEDS;SCRIPTS" ${ARGN})
  string(TOUPPER CPACK_DEBIAN_${component} prefix)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  list(JOIN arg_NEEDS ", " ${prefix}_PACKAGE_DEPENDS)
  list(TRANSFORM arg_SCRIPTS PREPEND ${PROJECT_SOURCE_DIR}/packaging/debian/${name}/
    OUTPUT_VARIABLE ${prefix}_PACKAGE_CONTROL_EXTRA)
  set(${prefix}_PACKAGE_NAME ${name})
  set(${prefix}_PACKAGE_SECTION ${section})
  set(${prefix}_DESCRIPTION "${about}\n\nThis package holds ${holds}.")
  set(${prefix}_PACKAGE_SHLIBDEPS ${arg_BINARIES})
  if(arg_EVERY_MACHINE)
    set(${prefix}_PACKAGE_ARCHITECTURE all)
  endif()
endmacro()

set(library "libbrantel (= ${PROJECT_VERSION})")
debian_package(runtime libbrantel libs "the libraries" BINARIES SCRIPTS postinst postrm)
debian_package(development libbrantel-dev libdevel
  "what is needed to build hosts: headers, CMake package, pkg-config files, examples and documentation"
  NEEDS ${library} libopencv-dev)
debian_package(python python3-brantel python "the module for Python 3" EVERY_MACHINE
  NEEDS ${library} "python3 (>= 3.9)" python3-numpy SCRIPTS prerm)
if(BRANTEL_PROGRAMS)
  debian_package(tools brantel-tools graphics
    "the programs brantel-stitch, which makes mosaics, brantel-render, which renders a scan at full depth, and brantel-scan, which makes camera scans with known truth"
    BINARIES NEEDS ${library})
endif()
