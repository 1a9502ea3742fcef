#pragma once

/// Serving attributes that can only be read, as a table.

#include "agent/base/TypeRegistry.h"

#include <string_view>

namespace Agent {

/// One readable attribute of a node class: its name and the accessor that gives its value.
template< class Owner, class Value >
struct ReadableAttribute
{
    std::string_view name;              ///< as it is asked for
    Value ( Owner::*accessor )() const; ///< gives the value; never null
};

/// Takes the types from the accessor.
template< class Owner, class Value >
ReadableAttribute( std::string_view, Value ( Owner::* )() const )
    -> ReadableAttribute< Owner, Value >;

namespace Detail {

template< class Owner, class Value >
int readAttribute( const Owner& owner,
                   const ReadableAttribute< Owner, Value >& attribute,
                   AttributeOperation operation,
                   void* result )
{
    if ( operation != AttributeOperation::read ) {
        return attributeNotSupported;
    }
    *static_cast< std::remove_cvref_t< Value >* >( result ) = ( owner.*attribute.accessor )();
    return attributeHandled;
}

} // namespace Detail

/// Serves an operation on a node of class `Owner` from its readable attributes: reading stores
/// the value, any other operation is not supported, any other attribute is not handled here.
///
///     return Agent::readableAttributes< Helper >(
///         node, field, operation, result,
///         Agent::ReadableAttribute{ "pipeId", &Helper::pipeId } );
template< class Owner, class... Values >
int readableAttributes( const Node& node,
                        const FieldDescriptor& field,
                        AttributeOperation operation,
                        void* result,
                        const ReadableAttribute< Owner, Values >&... attributes )
{
    const auto& owner = static_cast< const Owner& >( node );
    int outcome = attributeNotHandledHere;
    const auto serve = [ & ]( const auto& attribute ) {
        if ( attribute.name != field.name ) {
            return false;
        }
        outcome = Detail::readAttribute( owner, attribute, operation, result );
        return true;
    };
    static_cast< void >( ( serve( attributes ) || ... ) );
    return outcome;
}

} // namespace Agent
