// A registered class as the helpers have them: a base with attributes of its own and a constructor
// that may throw, and a class with one attribute more.

#include "agent/base/RegisteredClass.h"

#include "agent/base/Attributes.h"
#include "agent/base/Bitmap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace Agent {

template<>
struct TypeName< std::string >
{
    static constexpr std::string_view name = "std::string";
};

namespace {

/// What the base's constructor and destructor saw.
struct Seen
{
    std::size_t countInConstructor = 0;
    U32 flagsInDestructor = 0;
    U32 flagsAtEndOfState = 0;
    int lastUsersGone = 0;
};

Seen seen;

constexpr U32 brokenUnit = 13;

/// What a broken unit's constructor throws.
class BrokenUnit : public std::runtime_error
{
  public:
    BrokenUnit()
        : std::runtime_error( "broken unit" )
    {}
};

class ProbeBase : public Node
{
  public:
    ProbeBase( U8 pipeId, U32 unit, const std::string& model );

    ~ProbeBase() override { seen.flagsInDestructor = nodeFlags(); }

    void lastUserGone() override
    {
        ++seen.lastUsersGone;
        Node::lastUserGone();
    }

    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    [[nodiscard]] U32 unit() const { return unit_; }

    [[nodiscard]] const std::string& model() const { return model_; }

    static int attributeOperation( Node& node,
                                   const FieldDescriptor& field,
                                   AttributeOperation operation,
                                   void* result )
    {
        return readableAttributes( node, field, operation, result,
                                   ReadableAttribute{ "pipeId", &ProbeBase::pipeId },
                                   ReadableAttribute{ "unit", &ProbeBase::unit } );
    }

  private:
    U8 pipeId_;
    U32 unit_;
    std::string model_;
};

/// Sees how the node is marked when it goes.
struct ProbeState
{
    ProbeState() = default;
    ProbeState( const ProbeState& ) = delete;
    ProbeState& operator=( const ProbeState& ) = delete;

    ~ProbeState()
    {
        if ( node != nullptr ) {
            seen.flagsAtEndOfState = node->nodeFlags();
        }
    }

    const Node* node = nullptr;
    Ptr< Bitmap > bits{ new Bitmap( 16 ) };
};

/// Has a creator, a factory, and the attribute "bits" of its own.
class Probe : public RegisteredClass< Probe, ProbeBase, ProbeState >
{
  public:
    Probe( U8 pipeId, U32 unit, const std::string& model )
        : RegisteredClass( pipeId, unit, model )
    {
        state().node = this;
    }

    static Ptr< Probe > ProbeIs( U8 pipeId, U32 unit, const std::string& model )
    {
        return make( pipeId, unit, model );
    }

    [[nodiscard]] const ModuleRecord& typeData() const override;

    [[nodiscard]] const Ptr< Bitmap >& bits() const { return state().bits; }

    static int attributeOperation( Node& node,
                                   const FieldDescriptor& field,
                                   AttributeOperation operation,
                                   void* result )
    {
        return readableAttributes( node, field, operation, result,
                                   ReadableAttribute{ "bits", &Probe::bits } );
    }

    static AllocationTracker memAllocationTracker_;
};

/// Has neither creator nor attributes of its own, and is derived from a registered class.
class PlainProbe final : public RegisteredClass< PlainProbe, Probe, U64 >
{
  public:
    PlainProbe( U8 pipeId, U32 unit )
        : RegisteredClass( pipeId, unit, "plain" )
    {}

    [[nodiscard]] const ModuleRecord& typeData() const override;

    static AllocationTracker memAllocationTracker_;
};

AllocationTracker Probe::memAllocationTracker_( "Probe" );
AllocationTracker PlainProbe::memAllocationTracker_( "PlainProbe" );

ProbeBase::ProbeBase( U8 pipeId, U32 unit, const std::string& model )
    : pipeId_( pipeId )
    , unit_( unit )
    , model_( model )
{
    seen.countInConstructor = Probe::memAllocationTracker_.count();
    if ( unit == brokenUnit ) {
        throw BrokenUnit();
    }
}

Ptr< Probe > probeFactory( U8 pipeId, U32 unit, const std::string& model )
{
    return Probe::make( pipeId, unit, model );
}

constexpr FieldDescriptor attributes[] = { { "bits" }, { "model" }, { "pipeId" }, { "unit" } };
const TypeRecord types[] = { createdType< &Probe::ProbeIs >( "Probe", attributes ),
                             constructedType< PlainProbe, U8, U32 >( "PlainProbe", attributes ) };
const RegisteredModule probeModule( "tests/agent/RegisteredClassTest", types );

const ModuleRecord& Probe::typeData() const
{
    return probeModule;
}

const ModuleRecord& PlainProbe::typeData() const
{
    return probeModule;
}

template< class Class >
std::size_t liveInSlab()
{
    return slabUse( typeid( Class ).name() ).live;
}

class RegisteredClassTest : public ::testing::Test
{
  protected:
    RegisteredClassTest() { seen = Seen(); }

    ~RegisteredClassTest() override
    {
        EXPECT_EQ( Probe::memAllocationTracker_.count(), 0U );
        EXPECT_EQ( Probe::memAllocationTracker_.bytes(), 0U );
        EXPECT_EQ( PlainProbe::memAllocationTracker_.count(), 0U );
        EXPECT_EQ( liveInSlab< Probe >(), 0U );
        EXPECT_EQ( liveInSlab< PlainProbe >(), 0U );
    }
};

void expectCountedUntilDropped( Ptr< Probe > probe )
{
    EXPECT_EQ( probe->references(), 1U );
    EXPECT_EQ( Probe::memAllocationTracker_.count(), 1U );
    EXPECT_EQ( Probe::memAllocationTracker_.bytes(), sizeof( Probe ) );
    EXPECT_EQ( *Probe::memAllocationTracker_.type(), typeid( Probe ) );
    EXPECT_EQ( liveInSlab< Probe >(), 1U );

    probe = nullptr;
    EXPECT_EQ( Probe::memAllocationTracker_.count(), 0U );
    EXPECT_EQ( Probe::memAllocationTracker_.bytes(), 0U );
    EXPECT_EQ( liveInSlab< Probe >(), 0U );
}

TEST_F( RegisteredClassTest, Factory_LastPtrDropped_LeavesTheCountAsItWas )
{
    Ptr< Probe > probe = probeFactory( 2, 5, "model" );
    EXPECT_EQ( probe->pipeId(), 2 );
    EXPECT_EQ( probe->unit(), 5U );
    EXPECT_EQ( probe->model(), "model" );
    expectCountedUntilDropped( std::move( probe ) );
}

TEST_F( RegisteredClassTest, Creator_LastPtrDropped_LeavesTheCountAsItWas )
{
    expectCountedUntilDropped( Probe::ProbeIs( 2, 5, "model" ) );
}

TEST_F( RegisteredClassTest, Constructor_CalledDirectly_IsCountedToo )
{
    expectCountedUntilDropped( Ptr< Probe >( new Probe( 2, 5, "model" ) ) );
}

TEST_F( RegisteredClassTest, Allocation_BeforeTheBaseIsConstructed_IsCounted )
{
    const Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );

    EXPECT_EQ( seen.countInConstructor, 1U );
}

TEST_F( RegisteredClassTest, Creator_BaseConstructorThrows_UndoesTheAllocation )
{
    const Ptr< Probe > other = Probe::ProbeIs( 0, 0, "" );
    const std::size_t total = Probe::memAllocationTracker_.total();

    EXPECT_THROW( Probe::ProbeIs( 0, brokenUnit, "" ), BrokenUnit );

    // It had been counted, and no longer is.
    EXPECT_EQ( seen.countInConstructor, 2U );
    EXPECT_EQ( Probe::memAllocationTracker_.total(), total + 1 );
    EXPECT_EQ( Probe::memAllocationTracker_.count(), 1U );
    EXPECT_EQ( Probe::memAllocationTracker_.bytes(), sizeof( Probe ) );
    EXPECT_EQ( liveInSlab< Probe >(), 1U );
}

TEST_F( RegisteredClassTest, Factory_BaseConstructorThrows_UndoesTheAllocation )
{
    EXPECT_THROW( probeFactory( 0, brokenUnit, "" ), BrokenUnit );

    EXPECT_EQ( Probe::memAllocationTracker_.count(), 0U );
    EXPECT_EQ( liveInSlab< Probe >(), 0U );
}

TEST_F( RegisteredClassTest, Destructor_BeforeThatOfTheBase_MarksTheNode )
{
    Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );
    probe->initializedIs( true );
    EXPECT_EQ( probe->nodeFlags(), 0x00000001U );

    probe = nullptr;

    EXPECT_EQ( seen.flagsInDestructor, 0x20000001U );
}

TEST_F( RegisteredClassTest, Destructor_OfAnObjectWithoutSlab_MarksTheNodeAndCountsNothing )
{
    {
        const Probe probe( 0, 0, "" );
        EXPECT_EQ( Probe::memAllocationTracker_.count(), 0U );
    }

    EXPECT_EQ( seen.flagsInDestructor, 0x20000000U );
}

TEST_F( RegisteredClassTest, Ptr_LastOneDropped_CallsLastUserGoneOnce )
{
    Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );
    Ptr< const Node > node = probe;

    probe = nullptr;
    EXPECT_EQ( seen.lastUsersGone, 0 );
    EXPECT_EQ( Probe::memAllocationTracker_.count(), 1U );

    node = nullptr;
    EXPECT_EQ( seen.lastUsersGone, 1 );
    EXPECT_EQ( Probe::memAllocationTracker_.count(), 0U );
}

TEST_F( RegisteredClassTest, DerivedClass_CreatedAndDropped_IsCountedByItsOwnTracker )
{
    static_assert( sizeof( PlainProbe ) > sizeof( Probe ) );
    {
        const Ptr< Node > probe = PlainProbe::make( U8{ 1 }, U32{ 2 } );

        EXPECT_EQ( PlainProbe::memAllocationTracker_.count(), 1U );
        EXPECT_EQ( PlainProbe::memAllocationTracker_.bytes(), sizeof( PlainProbe ) );
        EXPECT_EQ( *PlainProbe::memAllocationTracker_.type(), typeid( PlainProbe ) );
        EXPECT_EQ( Probe::memAllocationTracker_.count(), 0U );
        EXPECT_EQ( liveInSlab< PlainProbe >(), 1U );
        EXPECT_EQ( liveInSlab< Probe >(), 0U );
    }

    EXPECT_EQ( PlainProbe::memAllocationTracker_.count(), 0U );
    EXPECT_EQ( liveInSlab< PlainProbe >(), 0U );
    EXPECT_EQ( seen.flagsInDestructor, 0x20000000U );
}

TEST_F( RegisteredClassTest, GenericConstruction_FromArgumentPointersInOrder_StoresThePtr )
{
    const TypeRecord* type = registeredType( "Probe" );
    ASSERT_NE( type, nullptr );
    const U8 pipeId = 3;
    const U32 unit = 70000;
    const std::string model = "wide";
    const void* pointers[] = { &pipeId, &unit, &model };

    const Ptr< Node > node = construct( *type, pointers );

    ASSERT_TRUE( node );
    EXPECT_EQ( node->references(), 1U );
    EXPECT_EQ( Probe::memAllocationTracker_.count(), 1U );
    const auto& probe = dynamic_cast< const Probe& >( *node );
    EXPECT_EQ( probe.pipeId(), 3 );
    EXPECT_EQ( probe.unit(), 70000U );
    EXPECT_EQ( probe.model(), "wide" );
    EXPECT_EQ( &typeRecord( *node ), type );
}

TEST_F( RegisteredClassTest, GenericConstruction_BaseConstructorThrows_LeavesTheResultNull )
{
    const U8 pipeId = 0;
    const std::string model;
    const void* pointers[] = { &pipeId, &brokenUnit, &model };
    Ptr< Node > result;

    EXPECT_THROW( genericConstruct< &Probe::ProbeIs >( pointers, result ), BrokenUnit );
    EXPECT_FALSE( result );
}

TEST_F( RegisteredClassTest, GenericConstruction_OfAClassWithoutIt_GivesNull )
{
    const TypeRecord* type = registeredType( "PlainProbe" );
    ASSERT_NE( type, nullptr );

    EXPECT_FALSE( construct( *type, nullptr ) );
    EXPECT_EQ( PlainProbe::memAllocationTracker_.count(), 0U );
}

TEST_F( RegisteredClassTest, AttributeOperation_ReadingItsOwn_GivesTheSameObject )
{
    const Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );
    Ptr< Bitmap > bits;

    EXPECT_EQ( attributeOperation( *probe, "bits", AttributeOperation::read, &bits ), 0 );
    EXPECT_EQ( bits.get(), probe->bits().get() );
}

TEST_F( RegisteredClassTest, AttributeOperation_OtherOnItsOwn_IsRefused )
{
    const Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );
    Ptr< Bitmap > bits;

    EXPECT_EQ( attributeOperation( *probe, "bits", AttributeOperation::create, &bits ), 1 );
    EXPECT_EQ( attributeOperation( *probe, "bits", AttributeOperation::remove, &bits ), 1 );
    EXPECT_FALSE( bits );
}

TEST_F( RegisteredClassTest, AttributeOperation_OnAnotherAttribute_IsPassedOnToTheBase )
{
    const Ptr< Probe > probe = Probe::ProbeIs( 4, 9, "" );
    U32 unit = 0;

    EXPECT_EQ( Probe::attributeOperation( *probe, { "unit" }, AttributeOperation::read, &unit ),
               2 );
    EXPECT_EQ( unit, 0U );
    EXPECT_EQ( attributeOperation( *probe, "unit", AttributeOperation::read, &unit ), 0 );
    EXPECT_EQ( unit, 9U );
    EXPECT_EQ( attributeOperation( *probe, "unit", AttributeOperation::remove, &unit ), 1 );
}

TEST_F( RegisteredClassTest, AttributeOperation_ThatNobodyServes_IsNotHandled )
{
    const Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );
    std::string text;

    // The record names it, but neither the class nor its base serves it.
    EXPECT_EQ( attributeOperation( *probe, "model", AttributeOperation::read, &text ), 2 );
    EXPECT_EQ( attributeOperation( *probe, "colour", AttributeOperation::read, &text ), 2 );
}

TEST_F( RegisteredClassTest, AttributeOperation_OfAClassWithoutItsOwn_IsPassedOn )
{
    const Ptr< PlainProbe > probe = PlainProbe::make( U8{ 6 }, U32{ 0 } );
    U8 pipeId = 0;

    EXPECT_EQ(
        PlainProbe::attributeOperation( *probe, { "pipeId" }, AttributeOperation::read, &pipeId ),
        2 );
    EXPECT_EQ( attributeOperation( *probe, "pipeId", AttributeOperation::read, &pipeId ), 0 );
    EXPECT_EQ( pipeId, 6 );
}

TEST_F( RegisteredClassTest, AttributeOperation_OfARegisteredBase_IsServedByIt )
{
    const Ptr< PlainProbe > probe = PlainProbe::make( U8{ 6 }, U32{ 0 } );
    Ptr< Bitmap > bits;

    EXPECT_EQ( attributeOperation( *probe, "bits", AttributeOperation::read, &bits ), 0 );
    EXPECT_EQ( bits.get(), probe->bits().get() );
}

// ---- State -----------------------------------------------------------------------------------

TEST_F( RegisteredClassTest, State_InEachWayOfDestruction_GoesWhenTheNodeIsMarked )
{
    Ptr< Probe > probe = Probe::ProbeIs( 0, 0, "" );
    probe = nullptr;
    EXPECT_EQ( seen.flagsAtEndOfState, 0x20000000U );

    seen = Seen();
    delete new Probe( 0, 0, "" );
    EXPECT_EQ( seen.flagsAtEndOfState, 0x20000000U );

    seen = Seen();
    {
        const Probe onTheStack( 0, 0, "" );
    }
    EXPECT_EQ( seen.flagsAtEndOfState, 0x20000000U );

    seen = Seen();
    {
        const PlainProbe derived( 0, 0 );
    }
    EXPECT_EQ( seen.flagsAtEndOfState, 0x20000000U );
}

// ---- Records ---------------------------------------------------------------------------------

using ::testing::ElementsAre;

TEST( TypeRecordTest, OfACreator_NamesWhatItsConstructorTakes )
{
    const TypeRecord& type = types[ 0 ];
    EXPECT_EQ( type.name, "Probe" );
    EXPECT_EQ( *type.type, typeid( Probe ) );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U8", "U32", "std::string" ) );
    EXPECT_EQ( type.attributes.data(), attributes );
    EXPECT_EQ( type.attributes.size(), 4U );
    EXPECT_NE( type.construct, nullptr );
}

TEST( TypeRecordTest, OfAClassWithoutACreator_CannotBeConstructedByName )
{
    const TypeRecord& type = types[ 1 ];
    EXPECT_EQ( type.name, "PlainProbe" );
    EXPECT_EQ( *type.type, typeid( PlainProbe ) );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U8", "U32" ) );
    EXPECT_EQ( type.construct, nullptr );
}

} // namespace

} // namespace Agent
