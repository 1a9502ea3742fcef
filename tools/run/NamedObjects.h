#pragma once

/// The objects of one kind that a scenario has made, by the names it gave them.

#include "input/NameHints.h"
#include "tools/scenario/Step.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool {

template< class Object >
class NamedObjects
{
  public:
    /// `kind` is what messages call such an object: "range checker".
    explicit NamedObjects( std::string kind )
        : kind_( std::move( kind ) )
    {}

    /// Throws a `StepError` if there is one of that name.
    void requireFree( const std::string& name ) const
    {
        if ( objects_.contains( name ) ) {
            const bool isVowel =
                std::string_view( "aeio" ).find( kind_.front() ) != std::string_view::npos;
            throw StepError( ( isVowel ? "there is an " : "there is a " ) + kind_ + " '" + name +
                             "' already" );
        }
    }

    void add( const std::string& name, Object object )
    {
        requireFree( name );
        objects_.emplace( name, std::move( object ) );
    }

    /// Throws a `StepError` if there is none of that name.
    [[nodiscard]] const Object& at( const std::string& name ) const
    {
        const auto found = objects_.find( name );
        if ( found == objects_.end() ) {
            throw StepError( "there is no " + kind_ + " '" + name + "'" +
                             Input::nameHint( name, names() ) );
        }
        return found->second;
    }

    void remove( const std::string& name ) { objects_.erase( name ); }

    /// All of them, sorted by name.
    [[nodiscard]] const std::map< std::string, Object >& all() const { return objects_; }

  private:
    [[nodiscard]] std::vector< std::string > names() const
    {
        std::vector< std::string > all;
        for ( const auto& [ name, object ] : objects_ ) {
            all.push_back( name );
        }
        return all;
    }

    std::string kind_;
    std::map< std::string, Object > objects_;
};

} // namespace Tool
