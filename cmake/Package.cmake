# The CMake package and the pkg-config files that are installed, and the Debian packages (CPack).

include( CMakePackageConfigHelpers )

# ---- CMake package ---------------------------------------------------------------------------

configure_package_config_file( ${PROJECT_SOURCE_DIR}/cmake/PeloraTcamSdk6HelpersConfig.cmake.in
   ${PROJECT_BINARY_DIR}/PeloraTcamSdk6HelpersConfig.cmake
   INSTALL_DESTINATION ${PELORA_INSTALL_CMAKE} )
write_basic_package_version_file(
   ${PROJECT_BINARY_DIR}/PeloraTcamSdk6HelpersConfigVersion.cmake
   COMPATIBILITY SameMajorVersion )
install( FILES
   ${PROJECT_BINARY_DIR}/PeloraTcamSdk6HelpersConfig.cmake
   ${PROJECT_BINARY_DIR}/PeloraTcamSdk6HelpersConfigVersion.cmake
   DESTINATION ${PELORA_INSTALL_CMAKE} COMPONENT development )
install( EXPORT PeloraTcamSdk6HelpersTargets NAMESPACE PeloraTcamSdk6Helpers::
   DESTINATION ${PELORA_INSTALL_CMAKE} COMPONENT development )
install( EXPORT PeloraTcamSdk6HelpersSimTargets NAMESPACE PeloraTcamSdk6Helpers::
   DESTINATION ${PELORA_INSTALL_CMAKE} COMPONENT sim )

# ---- pkg-config files ------------------------------------------------------------------------

# From the pkg-config files to the prefix, so that an installation can be moved.
file( RELATIVE_PATH PELORA_PKGCONFIG_TO_PREFIX
   ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX} )
foreach( name_and_component PeloraTcamSdk6Helpers:development PeloraTcamSdk6Helpers-sim:sim )
   string( REGEX MATCH "(.*):(.*)" matched ${name_and_component} )
   configure_file( ${PROJECT_SOURCE_DIR}/cmake/${CMAKE_MATCH_1}.pc.in
      ${PROJECT_BINARY_DIR}/${CMAKE_MATCH_1}.pc @ONLY )
   install( FILES ${PROJECT_BINARY_DIR}/${CMAKE_MATCH_1}.pc
      DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${CMAKE_MATCH_2} )
endforeach()

# ---- Debian packages -------------------------------------------------------------------------

set( PELORA_PACKAGE_MAINTAINER "PeloraTcamSdk6Helpers maintainers <maintainers@localhost>"
   CACHE STRING "Who answers for the Debian packages" )

set( CPACK_GENERATOR DEB )
set( CPACK_PACKAGE_NAME peloratcamsdk6helpers )
# Each package has a summary of its own.
set( CPACK_PACKAGE_DESCRIPTION_SUMMARY "" )
set( CPACK_PACKAGE_CONTACT ${PELORA_PACKAGE_MAINTAINER} )
set( CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages )
set( CPACK_PACKAGING_INSTALL_PREFIX /usr )
set( CPACK_STRIP_FILES ON )
set( CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
   OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE )
set( CPACK_COMPONENTS_ALL runtime development sim )
set( CPACK_COMPONENTS_GROUPING ONE_PER_GROUP )

set( CPACK_DEB_COMPONENT_INSTALL ON )
set( CPACK_DEBIAN_FILE_NAME DEB-DEFAULT )
set( CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON )
set( CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON )
set( CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON )
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON )
# The tool's libraries are in the packages that are made together with it.
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY} )

string( TIMESTAMP PELORA_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC )
set( PELORA_CHANGELOG ${PROJECT_BINARY_DIR}/changelog.gz )
configure_file( ${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in
   ${PROJECT_BINARY_DIR}/changelog @ONLY )
pelora_gzip( ${PROJECT_BINARY_DIR}/changelog ${PELORA_CHANGELOG} )

# The files that Debian wants of each package; an installation of everything does without.
function( pelora_debian_documents package component )
   install( FILES ${PELORA_CHANGELOG} ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}
      COMPONENT ${component} EXCLUDE_FROM_ALL )
endfunction()

set( CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libpeloratcamsdk6helpers1 )
set( CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs )
set( CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers )
set( CPACK_DEBIAN_RUNTIME_DESCRIPTION
"TCAM helpers of a switch's hardware agent
Turns the agent's abstract TCAM model into calls of a switch chip's SDK:
range checkers, policers, counters, compression entries, user-defined
fields, and the translation of qualifiers and actions." )
pelora_debian_documents( libpeloratcamsdk6helpers1 runtime )

# The simulated chip belongs to this package, too.
set( CPACK_DEBIAN_HEADERS_PACKAGE_NAME libpeloratcamsdk6helpers-dev )
set( CPACK_DEBIAN_HEADERS_PACKAGE_SECTION libdevel )
set( CPACK_DEBIAN_HEADERS_PACKAGE_DEPENDS
   "libpeloratcamsdk6helpers1 (= ${PROJECT_VERSION})" )
set( CPACK_DEBIAN_HEADERS_PACKAGE_RECOMMENDS libyaml-cpp-dev )
set( CPACK_DEBIAN_HEADERS_DESCRIPTION
"TCAM helpers of a switch's hardware agent: development files
Headers, CMake package and pkg-config files to build an agent with, and the
simulated chip, a static library that needs libyaml-cpp-dev to link." )
pelora_debian_documents( libpeloratcamsdk6helpers-dev development )

set( CPACK_DEBIAN_TOOL_PACKAGE_NAME pelora-tcam )
set( CPACK_DEBIAN_TOOL_PACKAGE_SECTION net )
set( CPACK_DEBIAN_TOOL_DESCRIPTION
"Runs TCAM helpers on a simulated switch chip
Drives the TCAM helpers from scenario files written by hand, without a
switch, and shows what they do and what the chip then holds." )
if( PELORA_BUILD_TOOLS )
   list( APPEND CPACK_COMPONENTS_ALL tool )
   pelora_debian_documents( pelora-tcam tool )
endif()

include( CPack )
cpack_add_component( runtime )
cpack_add_component_group( headers )
# The dependency of a group is the one stated above.
cpack_add_component( development GROUP headers )
cpack_add_component( sim GROUP headers )
if( PELORA_BUILD_TOOLS )
   cpack_add_component( tool DEPENDS runtime )
endif()
