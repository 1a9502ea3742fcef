# Where things are installed, and how. Installation components:
#
#   runtime      the shared libraries
#   development  headers, CMake package, pkg-config file
#   sim          the simulated chip for a consumer's tests: library, headers, pkg-config file
#   tool         pelora-tcam

include( GNUInstallDirs )

set( PELORA_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/PeloraTcamSdk6Helpers )
set( PELORA_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/PeloraTcamSdk6Helpers )

# A shared library with what is needed to link it. The two libraries find each other where they
# stand together.
function( pelora_install_shared_library target )
   set_target_properties( ${target} PROPERTIES INSTALL_RPATH "\$ORIGIN" )
   add_library( PeloraTcamSdk6Helpers::${target} ALIAS ${target} )
   install( TARGETS ${target} EXPORT PeloraTcamSdk6HelpersTargets
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
         COMPONENT runtime NAMELINK_COMPONENT development
      FILE_SET HEADERS DESTINATION ${PELORA_INSTALL_HEADERS} COMPONENT development
      INCLUDES DESTINATION ${PELORA_INSTALL_HEADERS} )
endfunction()

# A static library, known to consumers as PeloraTcamSdk6Helpers::NAME, in the export set given. It
# has a second set of headers, `stable_headers`.
function( pelora_install_static_library target name exports component )
   set_target_properties( ${target} PROPERTIES EXPORT_NAME ${name} )
   add_library( PeloraTcamSdk6Helpers::${name} ALIAS ${target} )
   install( TARGETS ${target} EXPORT ${exports}
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}
      FILE_SET HEADERS DESTINATION ${PELORA_INSTALL_HEADERS} COMPONENT ${component}
      FILE_SET stable_headers DESTINATION ${PELORA_INSTALL_HEADERS} COMPONENT ${component}
      INCLUDES DESTINATION ${PELORA_INSTALL_HEADERS} )
endfunction()

# Packs a file as Debian wants documentation to be packed, always to the same bytes.
function( pelora_gzip input output )
   execute_process( COMMAND gzip -9nc ${input}
      OUTPUT_FILE ${output} COMMAND_ERROR_IS_FATAL ANY )
endfunction()
