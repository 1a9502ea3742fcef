#include "agent/base/TypeRegistry.h"

#include "agent/base/Assert.h"

#include <algorithm>
#include <mutex>

namespace Agent {

namespace {

struct Modules
{
    std::mutex mutex;
    std::vector< const ModuleRecord* > all;
};

Modules& modules()
{
    static Modules& instance = *new Modules;
    return instance;
}

const TypeRecord* findType( const std::vector< const ModuleRecord* >& all, std::string_view name )
{
    for ( const ModuleRecord* module : all ) {
        const auto found = std::ranges::find( module->types, name, &TypeRecord::name );
        if ( found != module->types.end() ) {
            return &*found;
        }
    }
    return nullptr;
}

} // namespace

void zavModuleIs( const ModuleRecord& module )
{
    const std::lock_guard lock( modules().mutex );
    auto& all = modules().all;
    AGENT_ASSERT( std::ranges::find( all, &module ) == all.end() &&
                  "module record is registered already" );
    for ( const TypeRecord& type : module.types ) {
        AGENT_ASSERT( findType( all, type.name ) == nullptr && "type name is taken" );
    }
    all.push_back( &module );
}

void zavModuleDel( const ModuleRecord& module )
{
    const std::lock_guard lock( modules().mutex );
    std::erase( modules().all, &module );
}

std::vector< const ModuleRecord* > registeredModules()
{
    const std::lock_guard lock( modules().mutex );
    return modules().all;
}

const TypeRecord* registeredType( std::string_view name )
{
    const std::lock_guard lock( modules().mutex );
    return findType( modules().all, name );
}

const TypeRecord& typeRecord( const Node& node )
{
    const std::span< const TypeRecord > types = node.typeData().types;
    const auto isOfNode = [ &node ]( const TypeRecord& type ) {
        return *type.type == typeid( node );
    };
    const auto found = std::ranges::find_if( types, isOfNode );
    AGENT_ASSERT( found != types.end() && "module record lacks the node's class" );
    return *found;
}

Ptr< Node > construct( const TypeRecord& type, const void* const* arguments )
{
    Ptr< Node > result;
    if ( type.construct != nullptr ) {
        type.construct( arguments, result );
    }
    return result;
}

int attributeOperation( Node& node,
                        std::string_view attribute,
                        AttributeOperation operation,
                        void* result )
{
    const TypeRecord& type = typeRecord( node );
    const auto field = std::ranges::find( type.attributes, attribute, &FieldDescriptor::name );
    if ( field == type.attributes.end() ) {
        return attributeNotHandledHere;
    }
    const int own = type.attributeOperation( node, *field, operation, result );
    if ( own != attributeNotHandledHere ) {
        return own;
    }
    return type.baseAttributeOperation( node, *field, operation, result );
}

} // namespace Agent
