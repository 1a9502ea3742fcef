#pragma once

/// The agent's register of node classes.
///
/// Each source file that defines node classes has one module record and registers it when it is
/// loaded, as a static `RegisteredModule`; the record is taken out again at unload. With it the
/// agent constructs objects by type name and serves their attributes by name.
///
///     const Agent::TypeRecord* type = Agent::registeredType( "PeloraTcam::UdfModuleHelper" );
///     const void* arguments[] = { &moduleId, &pipeId, &lagHashingSupported };
///     Agent::Ptr< Agent::Node > helper = Agent::construct( *type, arguments );
///
/// Registration happens while libraries are loaded and unloaded, under the loader's lock;
/// look-ups may come from any thread.

#include "agent/base/Export.h"
#include "agent/base/Node.h"
#include "agent/base/Ptr.h"

#include <span>
#include <string_view>
#include <tuple>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Agent {

/// Names one attribute of a class.
struct FieldDescriptor
{
    std::string_view name; ///< what it is called

    friend bool operator==( const FieldDescriptor&, const FieldDescriptor& ) = default;
};

/// What is asked of an attribute.
enum class AttributeOperation : U8
{
    read = 0,   ///< store the value into the result
    create = 1, ///< make the value if there is none, and store it
    remove = 2, ///< take the value out, and store what it was
};

/// What became of it.
enum AttributeResult : int
{
    attributeHandled = 0,
    attributeNotSupported = 1,   ///< the attribute has no such operation
    attributeNotHandledHere = 2, ///< the attribute is not one of this class; ask the base
};

/// Serves one operation on an attribute. `result` points to an object of the attribute's type.
using AttributeFunction = int ( * )( Node& node,
                                     const FieldDescriptor& field,
                                     AttributeOperation operation,
                                     void* result );

/// Constructs an object from pointers to the constructor's arguments, in their order.
using ConstructFunction = void ( * )( const void* const* arguments, Ptr< Node >& result );

/// One class of a module.
struct TypeRecord
{
    std::string_view name;                                    ///< with its namespace
    const std::type_info* type = nullptr;                     ///< run-time type of its objects
    std::span< const std::string_view > constructorArguments; ///< type names, in order
    std::span< const FieldDescriptor > attributes;            ///< sorted by name
    ConstructFunction construct = nullptr;                    ///< null: not constructed by name
    AttributeFunction attributeOperation = nullptr;           ///< the class's own attributes
    AttributeFunction baseAttributeOperation = nullptr;       ///< those of its base
};

/// The classes that one source file defines.
struct ModuleRecord
{
    std::string_view source;             ///< path of the source file, without its ending
    std::span< const TypeRecord > types; ///< the classes
};

/// Registers a module record, which must live until `zavModuleDel`. A record that is registered
/// already, or a type name that is taken, is an assertion failure.
AGENT_EXPORT void zavModuleIs( const ModuleRecord& module );

/// Takes a module record out again.
AGENT_EXPORT void zavModuleDel( const ModuleRecord& module );

/// The modules registered, in the order of their registration.
[[nodiscard]] AGENT_EXPORT std::vector< const ModuleRecord* > registeredModules();

/// The record of a class by its name, or null.
[[nodiscard]] AGENT_EXPORT const TypeRecord* registeredType( std::string_view name );

/// The record of a node's class within its module; an assertion fails if the module lacks it.
[[nodiscard]] AGENT_EXPORT const TypeRecord& typeRecord( const Node& node );

/// Constructs an object of a class from pointers to its constructor arguments, in their order.
/// A class that cannot be constructed by name gives null. What the constructor throws passes.
[[nodiscard]] AGENT_EXPORT Ptr< Node > construct( const TypeRecord& type,
                                                  const void* const* arguments );

/// Serves an attribute of a node: first the node's own class is asked, then its base. `result`
/// points to an object of the attribute's type. Gives one of `AttributeResult`;
/// `attributeNotHandledHere` when the class has no attribute of that name.
[[nodiscard]] AGENT_EXPORT int attributeOperation( Node& node,
                                                   std::string_view attribute,
                                                   AttributeOperation operation,
                                                   void* result );

/// Keeps a module record registered while the library that holds it is loaded.
class ModuleRegistration
{
  public:
    /// Registers the record, which must outlive this.
    explicit ModuleRegistration( const ModuleRecord& module )
        : module_( module )
    {
        zavModuleIs( module_ );
    }

    ModuleRegistration( const ModuleRegistration& ) = delete;
    ModuleRegistration& operator=( const ModuleRegistration& ) = delete;

    ~ModuleRegistration() { zavModuleDel( module_ ); }

  private:
    const ModuleRecord& module_;
};

/// A module record that is registered while the library that holds it is loaded.
class RegisteredModule : public ModuleRecord
{
  public:
    /// `path`: of the source file, without its ending; `classes`: those of the file. Both must
    /// outlive this.
    RegisteredModule( std::string_view path, std::span< const TypeRecord > classes )
        : ModuleRecord{ path, classes }
        , registration_( *this )
    {}

  private:
    ModuleRegistration registration_;
};

} // namespace Agent
