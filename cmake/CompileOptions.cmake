# What every target of this project is compiled with: link `pelora_options`.

add_library( pelora_options INTERFACE )

target_include_directories( pelora_options INTERFACE ${PROJECT_SOURCE_DIR} )

target_compile_options( pelora_options INTERFACE
   -Wall -Wextra -Wpedantic -Wconversion -Wshadow
   $<$<BOOL:${PELORA_WARNINGS_ARE_ERRORS}>:-Werror>
   # Source paths in texts are relative to the repository's root, so that they are the
   # same on every build machine.
   -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
   -fstack-protector-strong
   # Nobody interposes what these libraries export, and calls between them need no stub of the
   # dynamic linker's, which the release build has bound beforehand anyway.
   -fno-semantic-interposition
   -fno-plt )

if( CMAKE_CXX_COMPILER_ID STREQUAL "GNU" )
   # A GNU-unique symbol would keep the library from ever being unloaded.
   target_compile_options( pelora_options INTERFACE -fno-gnu-unique )
   if( CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13 )
      # g++ 12 at -O3 sees overlapping copies inside the standard library wherever text is put
      # in front of a temporary string (its bug 105651). Clang and later g++ do not.
      target_compile_options( pelora_options INTERFACE -Wno-restrict )
   endif()
endif()

if( CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT PELORA_SANITIZE )
   # Its checks are made by the optimiser, so a target that is not optimised has none.
   target_compile_options( pelora_options INTERFACE -U_FORTIFY_SOURCE
      $<$<NOT:$<BOOL:$<TARGET_PROPERTY:PELORA_UNOPTIMISED>>>:-D_FORTIFY_SOURCE=2> )
   target_link_options( pelora_options INTERFACE -Wl,-z,relro,-z,now )
endif()

if( PELORA_SANITIZE )
   target_compile_options( pelora_options INTERFACE
      -fsanitize=${PELORA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer )
   target_link_options( pelora_options INTERFACE -fsanitize=${PELORA_SANITIZE} )
   # The memory checks that clang and g++ build in need the undefined symbols left open.
   target_compile_definitions( pelora_options INTERFACE PELORA_SANITIZED=1 )
endif()

if( PELORA_COVERAGE )
   target_compile_options( pelora_options INTERFACE --coverage -fprofile-abs-path )
   # Each library writes its own counters, and must not be given another's function for it.
   target_link_options( pelora_options INTERFACE --coverage -Wl,--exclude-libs,libgcov.a )
   target_sources( pelora_options INTERFACE ${PROJECT_SOURCE_DIR}/tests/support/CoverageOnAbort.cpp )
endif()
