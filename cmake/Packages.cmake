# The Debian packages, which cpack makes of this build; scripts/packages configures, builds and calls it. Each component
# of the installation is a package. docs/packages.md has what is in which.
if(NOT ZOL_PACKAGE_CONTACT MATCHES "^[^<>]+ <[^<>@ ]+@[^<>@ ]+>$")
  message(FATAL_ERROR "ZOL_PACKAGE_CONTACT has to be of the form Name <address>; it is: ${ZOL_PACKAGE_CONTACT}")
endif()
if(NOT BUILD_SHARED_LIBS OR NOT ZOL_STATIC_TOO OR NOT ZOL_BUILD_TOOLS)
  message(FATAL_ERROR "The packages need BUILD_SHARED_LIBS, ZOL_STATIC_TOO and ZOL_BUILD_TOOLS.")
endif()

# The number of libzol_http.so is a part of the package's name. The four libraries are versioned together, so one package
# holds them all.
set(runtime_package libzol-http${PROJECT_VERSION_MAJOR})
set(development_package libzol-http-dev)
set(documentation_package libzol-http-doc)
set(tools_package zolget)
# Debug information is split off by packaging/finish.cmake, into the component that has the name of the other and "_debug".
set(runtime_debug_package ${runtime_package}-dbgsym)
set(tools_debug_package ${tools_package}-dbgsym)
set(package_components runtime development documentation tools runtime_debug tools_debug)

# The reference pages, which no other build makes.
find_program(DOXYGEN doxygen REQUIRED)
set(reference ${PROJECT_BINARY_DIR}/reference)
configure_file(${PROJECT_SOURCE_DIR}/packaging/Doxyfile.in ${PROJECT_BINARY_DIR}/packaging/Doxyfile @ONLY)
file(GLOB_RECURSE documented CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/* ${PROJECT_SOURCE_DIR}/examples/*.cpp ${PROJECT_SOURCE_DIR}/src/*.hpp)
add_custom_command(
  OUTPUT ${reference}/html/index.html
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${reference}
  COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/packaging/Doxyfile
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  DEPENDS ${documented} ${PROJECT_BINARY_DIR}/packaging/Doxyfile
  COMMENT "Reference pages"
  VERBATIM)
add_custom_target(package_reference ALL DEPENDS ${reference}/html/index.html)
install(DIRECTORY ${reference}/html DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${documentation_package}
  COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${documentation_package}
  COMPONENT documentation FILES_MATCHING PATTERN "*.cpp")
install(FILES ${PROJECT_SOURCE_DIR}/packaging/doc-base DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base
  COMPONENT documentation RENAME ${documentation_package}.reference)

# What every package has: whose it is, and what has changed in the library and in its packages.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP package_year "%Y" UTC)
configure_file(${PROJECT_SOURCE_DIR}/packaging/copyright.in ${PROJECT_BINARY_DIR}/packaging/copyright @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.Debian.in ${PROJECT_BINARY_DIR}/packaging/changelog.Debian @ONLY)
foreach(component IN LISTS package_components)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${${component}_package})
  install(FILES ${PROJECT_BINARY_DIR}/packaging/copyright ${PROJECT_BINARY_DIR}/packaging/changelog.Debian
    DESTINATION ${documents} COMPONENT ${component})
  install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${documents} COMPONENT ${component} RENAME changelog)
endforeach()

# A program may use what its version of the libraries has, so it needs that version or a later one.
set(shlibs "")
foreach(library zol_http zol_common zol_openwbem zol_blocxx)
  get_target_property(stem ${library} OUTPUT_NAME)
  get_target_property(number ${library} SOVERSION)
  string(APPEND shlibs "lib${stem} ${number} ${runtime_package} (>= ${PROJECT_VERSION})\n")
endforeach()
file(WRITE ${PROJECT_BINARY_DIR}/packaging/shlibs "${shlibs}")
# The dynamic linker learns of new libraries once, when all packages of an installation are there.
file(WRITE ${PROJECT_BINARY_DIR}/packaging/triggers "activate-noawait ldconfig\n")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libzol-http)
set(CPACK_PACKAGE_CONTACT "${ZOL_PACKAGE_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/deb)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${package_components})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE libzol-http)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each description begins with its own
set(CPACK_ZOL_SHLIBS ${PROJECT_BINARY_DIR}/packaging/shlibs) # for packaging/finish.cmake, as the dependencies below are

set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS ca-certificates)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/packaging/shlibs ${PROJECT_BINARY_DIR}/packaging/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} ${same_version}, libssl-dev (>= 3.0), zlib1g-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS ${documentation_package})
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION web)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS ca-certificates)
foreach(component runtime tools)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_DEBUG_PACKAGE_SECTION debug)
  set(CPACK_DEBIAN_${upper}_DEBUG_PACKAGE_DEPENDS "${${component}_package} ${same_version}")
  set(CPACK_DEBIAN_${upper}_DEBUG_DESCRIPTION
    "debug symbols for ${${component}_package}\nA debugger finds the lines and variables of the package's code in these.")
endforeach()

foreach(component IN LISTS package_components)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${${component}_package})
  if(NOT DEFINED CPACK_DEBIAN_${upper}_DESCRIPTION)
    file(READ ${PROJECT_SOURCE_DIR}/packaging/${component}.description description)
    string(STRIP "${description}" CPACK_DEBIAN_${upper}_DESCRIPTION) # an empty line would end the record
  endif()
endforeach()

include(CPack)
