#include "agent/base/TypeRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

namespace Agent {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::array< FieldDescriptor, 2 > fanAttributes = { { { "slot" }, { "speed" } } };
constexpr std::array< std::string_view, 1 > fanArguments = { "unsigned int" };

/// A node whose module record is given to it.
class Fan : public Node
{
  public:
    explicit Fan( U32 slot, const ModuleRecord& module )
        : slot_( slot )
        , module_( module )
    {}

    [[nodiscard]] const ModuleRecord& typeData() const override { return module_; }

    [[nodiscard]] U32 slot() const { return slot_; }

  private:
    U32 slot_;
    const ModuleRecord& module_;
};

class OtherFan final : public Fan
{
  public:
    using Fan::Fan;
};

extern const ModuleRecord fanModule;

void constructFan( const void* const* arguments, Ptr< Node >& result )
{
    const U32 slot = *static_cast< const U32* >( arguments[ 0 ] );
    if ( slot > 9 ) {
        throw std::out_of_range( "no such slot" );
    }
    result = Ptr< Node >( new Fan( slot, fanModule ) );
}

/// Serves the reading of "speed"; the operation asked for comes back as the speed.
int ownAttribute( Node&, const FieldDescriptor& field, AttributeOperation operation, void* result )
{
    if ( field.name != "speed" ) {
        return attributeNotHandledHere;
    }
    *static_cast< U32* >( result ) = 100 + static_cast< U32 >( operation );
    return attributeHandled;
}

/// Serves the reading of "slot".
int baseAttribute( Node& node, const FieldDescriptor& field, AttributeOperation, void* result )
{
    if ( field.name != "slot" ) {
        return attributeNotHandledHere;
    }
    *static_cast< U32* >( result ) = dynamic_cast< Fan& >( node ).slot();
    return attributeHandled;
}

const std::array< TypeRecord, 2 > fanTypes = {
    TypeRecord{ "Cooling::Fan", &typeid( Fan ), fanArguments, fanAttributes, constructFan,
                ownAttribute, baseAttribute },
    TypeRecord{
        "Cooling::Abstract", &typeid( Node ), {}, {}, nullptr, ownAttribute, baseAttribute } };
const ModuleRecord fanModule = { "Cooling/Fan", fanTypes };
const ModuleRecord emptyModule = { "Cooling/Empty", {} };
/// Has a type of a name that the other module has too.
const ModuleRecord rivalModule = { "Cooling/Rival", std::span( fanTypes ).first( 1 ) };

TEST( TypeRegistryTest, ZavModuleIs_Module_MakesItsTypesKnownUntilItGoes )
{
    EXPECT_EQ( registeredType( "Cooling::Fan" ), nullptr );

    zavModuleIs( fanModule );
    EXPECT_EQ( registeredType( "Cooling::Fan" ), fanTypes.data() );
    EXPECT_EQ( registeredType( "Cooling::Abstract" ), &fanTypes[ 1 ] );
    EXPECT_EQ( registeredType( "Cooling::Pump" ), nullptr );

    zavModuleDel( fanModule );
    EXPECT_EQ( registeredType( "Cooling::Fan" ), nullptr );
}

TEST( TypeRegistryTest, RegisteredModules_OfSeveral_StandInTheirOrder )
{
    EXPECT_THAT( registeredModules(), IsEmpty() );
    {
        const ModuleRegistration fan( fanModule );
        const ModuleRegistration empty( emptyModule );
        EXPECT_THAT( registeredModules(), ElementsAre( &fanModule, &emptyModule ) );
    }

    EXPECT_THAT( registeredModules(), IsEmpty() );
}

TEST( TypeRegistryTest, RegisteredModule_WhileItLives_IsRegistered )
{
    {
        const RegisteredModule fan( "Cooling/Fan", fanTypes );
        EXPECT_THAT( registeredModules(), ElementsAre( &fan ) );
        EXPECT_EQ( fan.source, "Cooling/Fan" );
        EXPECT_EQ( registeredType( "Cooling::Fan" ), fanTypes.data() );
    }

    EXPECT_THAT( registeredModules(), IsEmpty() );
}

TEST( TypeRegistryTest, ZavModuleIs_Twice_IsAnAssertionFailure )
{
    const ModuleRegistration fan( fanModule );

    EXPECT_DEATH( zavModuleIs( fanModule ), "\"module record is registered already\"' failed" );
}

TEST( TypeRegistryTest, ZavModuleIs_TypeNameThatIsTaken_IsAnAssertionFailure )
{
    const ModuleRegistration fan( fanModule );

    EXPECT_DEATH( zavModuleIs( rivalModule ), "\"type name is taken\"' failed" );
}

TEST( TypeRegistryTest, TypeRecord_OfANode_IsThatOfItsRunTimeType )
{
    const Fan fan( 1, fanModule );
    const OtherFan other( 1, fanModule );

    EXPECT_EQ( &typeRecord( fan ), fanTypes.data() );
    EXPECT_DEATH( static_cast< void >( typeRecord( other ) ),
                  "\"module record lacks the node's class\"' failed" );
}

TEST( TypeRegistryTest, Construct_FromArguments_GivesTheObject )
{
    const U32 slot = 4;
    const void* arguments[] = { &slot };

    const Ptr< Node > node = construct( fanTypes[ 0 ], arguments );

    ASSERT_TRUE( node );
    EXPECT_EQ( node->references(), 1U );
    EXPECT_EQ( dynamic_cast< const Fan& >( *node ).slot(), 4U );
}

TEST( TypeRegistryTest, Construct_ConstructorThrows_LetsItPass )
{
    const U32 slot = 10;
    const void* arguments[] = { &slot };

    EXPECT_THROW( static_cast< void >( construct( fanTypes[ 0 ], arguments ) ), std::out_of_range );
}

TEST( TypeRegistryTest, Construct_ClassNotConstructedByName_GivesNull )
{
    EXPECT_FALSE( construct( fanTypes[ 1 ], nullptr ) );
}

TEST( TypeRegistryTest, AttributeOperation_OfTheClassAndOfItsBase_AreServedInThatOrder )
{
    Fan fan( 7, fanModule );
    U32 value = 0;

    EXPECT_EQ( attributeOperation( fan, "speed", AttributeOperation::read, &value ), 0 );
    EXPECT_EQ( value, 100U );
    EXPECT_EQ( attributeOperation( fan, "speed", AttributeOperation::remove, &value ), 0 );
    EXPECT_EQ( value, 102U );
    EXPECT_EQ( attributeOperation( fan, "slot", AttributeOperation::read, &value ), 0 );
    EXPECT_EQ( value, 7U );
    EXPECT_EQ( attributeOperation( fan, "colour", AttributeOperation::read, &value ), 2 );
}

} // namespace

} // namespace Agent
