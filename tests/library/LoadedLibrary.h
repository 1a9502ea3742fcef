#pragma once

/// A shared library that a test loads and unloads as an agent does, without being linked to it.
///
///     LoadedLibrary library( PATH );
///     auto* function = library.symbol< int() >( "name" );
///     library.unload();

#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace LibraryTest {

class LoadedLibrary
{
  public:
    /// Loads the library with all its symbols resolved. Throws std::runtime_error if it cannot be.
    explicit LoadedLibrary( const std::string& path )
        : path_( path )
        , handle_( dlopen( path.c_str(), RTLD_NOW | RTLD_LOCAL ) )
    {
        if ( handle_ == nullptr ) {
            throw std::runtime_error( dlerror() );
        }
    }

    LoadedLibrary( const LoadedLibrary& ) = delete;
    LoadedLibrary& operator=( const LoadedLibrary& ) = delete;

    ~LoadedLibrary()
    {
        if ( handle_ != nullptr ) {
            dlclose( handle_ );
        }
    }

    /// Unloads the library before the end of this object. Throws if the loader refuses.
    void unload()
    {
        if ( dlclose( handle_ ) != 0 ) {
            throw std::runtime_error( dlerror() );
        }
        handle_ = nullptr;
    }

    /// The address of a symbol of the library or of what it needs. Throws if there is none.
    template< class Type >
    [[nodiscard]] Type* symbol( const std::string& name ) const
    {
        void* address = dlsym( handle_, name.c_str() );
        if ( address == nullptr ) {
            throw std::runtime_error( path_ + " has no " + name );
        }
        return reinterpret_cast< Type* >( address );
    }

    /// Whether a library is in the process, by whomever it was loaded.
    [[nodiscard]] static bool isLoaded( const std::string& path )
    {
        void* handle = dlopen( path.c_str(), RTLD_NOW | RTLD_NOLOAD );
        if ( handle != nullptr ) {
            dlclose( handle );
        }
        return handle != nullptr;
    }

  private:
    std::string path_;
    void* handle_;
};

} // namespace LibraryTest
