#include "reference/Overlap.h"

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "reference/CompressionManager.h"
#include "reference/PolicerManager.h"
#include "reference/RangeCheckerManager.h"
#include "reference/UdfManager.h"
#include "tests/reference/OverlapWorlds.h"

namespace Reference {
namespace {

using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using PeloraTcam::Policer;
using PeloraTcam::PolicerId;
using PeloraTcam::PolicerMode;
using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;
using PeloraTcam::stageIfp;

// ---- Turns -----------------------------------------------------------------------------------

/// Two operations on the record of one id: the first has its turn, the second waits for it.
class TurnTest : public ::testing::Test
{
  protected:
    struct Record : TakesTurns
    {};

    using Records = std::unordered_map< int, Record >;

    static constexpr int id = 5;

    TurnTest()
        : first( records, id )
        , second( [ this ] {
            const Agent::LockAnchor locked( Agent::activityLock() );
            const Turn later( records, id );
            secondHasARecord = static_cast< bool >( later );
        } )
    {
        const Agent::UnlockAnchor released( Agent::activityLock() );
        while ( waitingThreads() == 0 ) {
            std::this_thread::yield();
        }
    }

    void finishTheSecond()
    {
        const Agent::UnlockAnchor released( Agent::activityLock() );
        second.join();
    }

    const Agent::LockAnchor activity{ Agent::activityLock() };
    Records records{ { id, {} } };
    bool secondHasARecord = false;
    Turn< Records > first;
    std::thread second;
};

TEST_F( TurnTest, TakeOut_SecondWaits_FindsNoRecord )
{
    static_cast< void >( first.takeOut() );
    finishTheSecond();
    EXPECT_FALSE( secondHasARecord );
}

TEST_F( TurnTest, TakeOut_IdIsGivenToAnotherMeanwhile_SecondFindsNoRecord )
{
    static_cast< void >( first.takeOut() );
    records.try_emplace( id );
    finishTheSecond();
    EXPECT_FALSE( secondHasARecord );
}

TEST_F( TurnTest, TakeOut_RecordIsPutBack_SecondFindsIt )
{
    records.insert( first.takeOut() );
    finishTheSecond();
    EXPECT_TRUE( secondHasARecord );
}

// ---- Range checkers --------------------------------------------------------------------------

constexpr RangeCheckerDesc web{ 80, 88, RangeType::l4DstPort };
constexpr RangeCheckerDesc high{ 1024, 65535, RangeType::l4SrcPort };
constexpr RangeCheckerDesc jumbo{ 1519, 9216, RangeType::packetLength };

class RangeWorld : public SceneWorld
{
  public:
    RangeWorld()
        : SceneWorld( "sdk6-udf" )
    {
        for ( const RangeCheckerDesc& desc : { web, high, high } ) {
            held.add( desc, manager.acquire( desc ) );
        }
    }

    std::vector< OverlapOperation > operations() override
    {
        return {
            { "acquire the one with one user", [ & ] { held.add( web, manager.acquire( web ) ); } },
            { "acquire a new one", [ & ] { held.add( jumbo, manager.acquire( jumbo ) ); } },
            { "release the last user", [ & ] { release( web ); } },
            { "release another user", [ & ] { release( high ); } },
            { "audit", [ & ] { manager.audit(); } },
        };
    }

    void release( const RangeCheckerDesc& desc )
    {
        held.letGo( desc,
                    [ & ]( const auto& holding ) { return manager.release( holding.second ); } );
    }

    void expectRight() override
    {
        // Before the audit: that would give back what has been left without a user.
        EXPECT_EQ( manager.size(), held.distinct().size() );
        EXPECT_EQ( scene.chip().ranges().used(), held.distinct().size() );
        EXPECT_THAT( held.refused, ::testing::IsEmpty() ) << "there is room for all of them";
        EXPECT_EQ( manager.audit(), held.distinct().size() );
        for ( const auto& [ desc, id ] : held.all ) {
            EXPECT_EQ( manager.users( id ), held.usersOf( id ) );
            const auto& ranges = scene.chip().ranges().state();
            ASSERT_TRUE( ranges.contains( id ) ) << "handed out dead";
            EXPECT_EQ( ranges.at( id ).min, desc.low );
            EXPECT_EQ( ranges.at( id ).max, desc.high );
        }
        EXPECT_EQ( manager.users( 4711 ), 0U );
    }

    void giveAllBack() override
    {
        while ( !held.all.empty() ) {
            release( held.all.front().first );
        }
        EXPECT_EQ( manager.size(), 0U );
    }

    RangeCheckerManager manager{ scene.rangeCheckerHelper() };
    Holdings< RangeCheckerDesc, RangeCheckerId > held;
};

TEST( OverlapTest, RangeCheckers_AllPairs_AreRight )
{
    expectAllPairsRight( [] { return std::make_unique< RangeWorld >(); } );
}

TEST( OverlapTest, RangeCheckers_TwoThreadsWantTheSame_ShareOne )
{
    RangeWorld world;
    world.sdk().interruptionIs( 1, Interruption::beforeTheChip,
                                world.operations().at( 1 ).run ); // a new one
    world.operations().at( 1 ).run();
    world.sdk().finish();
    EXPECT_EQ( world.held.all.at( 3 ), world.held.all.at( 4 ) );
    world.expectRight();
}

// ---- Policers --------------------------------------------------------------------------------

constexpr Policer committed{ 1000, 0, 100, 0, PolicerMode::committed, false };
constexpr Policer twoRates{ 1000, 2000, 100, 200, PolicerMode::trTcm, true };

class PolicerWorld : public SceneWorld
{
  public:
    explicit PolicerWorld( const std::string& profile )
        : SceneWorld( profile )
    {
        acquire( "shared", committed, PolicerSharing::shared );
        acquire( "own", twoRates, PolicerSharing::own );
    }

    std::vector< OverlapOperation > operations() override
    {
        return {
            { "acquire the shared one",
              [ & ] { acquire( "shared", committed, PolicerSharing::shared ); } },
            { "acquire a new one", [ & ] { acquire( "new", twoRates, PolicerSharing::shared ); } },
            { "acquire an own one",
              [ & ] {
                  const std::string name = "own " + std::to_string( ++ownOnes );
                  acquire( name, committed, PolicerSharing::own );
              } },
            { "release the shared one", [ & ] { release( "shared" ); } },
            { "release an own one", [ & ] { release( "own" ); } },
            { "audit", [ & ] { manager.audit(); } },
        };
    }

    void acquire( const std::string& name, const Policer& policer, PolicerSharing sharing )
    {
        held.add( name, manager.acquire( policer, stageIfp(), sharing ) );
    }

    void release( const std::string& name )
    {
        held.letGo( name,
                    [ & ]( const auto& holding ) { return manager.release( holding.second ); } );
    }

    void expectRight() override
    {
        // Before the audit, as above.
        EXPECT_EQ( manager.size(), held.distinct().size() );
        EXPECT_EQ( scene.chip().policers().used(), held.distinct().size() );
        EXPECT_FALSE( held.isRefusedAndHeld() );
        EXPECT_TRUE( held.refused.empty() || hasThrown || held.distinct().size() == capacity );
        EXPECT_EQ( manager.audit(), held.distinct().size() );
        for ( const auto& [ name, id ] : held.all ) {
            EXPECT_EQ( manager.users( id ), held.usersOf( id ) );
            EXPECT_THAT( scene.text(),
                         ::testing::HasSubstr( "policer " + std::to_string( id ) + ":" ) );
        }
    }

    void giveAllBack() override
    {
        while ( !held.all.empty() ) {
            release( std::string( held.all.front().first ) );
        }
        EXPECT_EQ( manager.size(), 0U );
    }

    static constexpr std::size_t capacity = 3;
    int ownOnes = 0;
    PolicerManager manager{ scene.policerHelper(), capacity };
    Holdings< std::string, PolicerId > held;
};

TEST( OverlapTest, Policers_AllPairs_AreRight )
{
    for ( const char* profile : { "sdk6-udf", "hsdk" } ) {
        expectAllPairsRight( [ & ] { return std::make_unique< PolicerWorld >( profile ); } );
    }
}

// ---- Compression -----------------------------------------------------------------------------

using Table = CompressionManager::Table;
using Value = std::pair< Table, CompressionKey >;

const Value tcp{ Table::ipProto, CompressionKey( 6 ) };
const Value udp{ Table::ipProto, CompressionKey( 17 ) };
const Value icmp{ Table::ipProto, CompressionKey( 1 ) };
const Value prefix{ Table::srcIp, { IpAddress::v4( 0x0A000000 ), 8 } };

class CompressionWorld : public SceneWorld
{
  public:
    CompressionWorld()
        : SceneWorld( "sdk6-udf" )
    {
        for ( const Value& value : { tcp, udp, udp, prefix } ) {
            acquire( value );
        }
    }

    std::vector< OverlapOperation > operations() override
    {
        return {
            { "acquire one with one user", [ & ] { acquire( tcp ); }, false },
            { "acquire a new one", [ & ] { acquire( icmp ); }, false },
            { "acquire an address", [ & ] { acquire( prefix ); }, false },
            { "release the last user", [ & ] { release( tcp ); } },
            { "release another user", [ & ] { release( udp ); } },
            { "release an address", [ & ] { release( prefix ); } },
            { "audit", [ & ] { audit(); } },
        };
    }

    void acquire( const Value& value )
    {
        held.add( value, manager.acquire( value.first, value.second ) );
    }

    void release( const Value& value )
    {
        held.letGo( value, [ & ]( const auto& holding ) {
            return manager.release( holding.first.first, holding.first.second );
        } );
    }

    void expectRight() override
    {
        // Before the audit, as above.
        EXPECT_EQ( scene.chip().field().entries().compressionUsed(), manager.size() );
        EXPECT_THAT( held.refused, ::testing::IsEmpty() ) << "there is room for all of them";
        EXPECT_EQ( manager.size( Table::ipProto ) + manager.size( Table::srcIp ), manager.size() );
        std::set< Value > values;
        for ( const auto& [ value, classId ] : held.all ) {
            values.insert( value );
            // What could not be given back is still held, and may be no value's class.
            EXPECT_TRUE( isHalfReleased() ||
                         manager.classId( value.first, value.second ) == classId );
        }
        // And somebody else may have had the value compressed again meanwhile.
        EXPECT_TRUE( isHalfReleased() || manager.size() == values.size() );
        manager.audit();
        EXPECT_EQ( scene.chip().field().entries().compressionUsed(), manager.size() );
    }

    [[nodiscard]] bool isHalfReleased() const { return hasThrown && !hasAuditThrown; }

    void audit()
    {
        hasAuditThrown = true; // Unless it returns.
        manager.audit();
        hasAuditThrown = false;
    }

    void giveAllBack() override
    {
        while ( !held.all.empty() ) {
            release( Value( held.all.front().first ) );
        }
        EXPECT_EQ( manager.size(), 0U );
        EXPECT_EQ( manager.size( Table::ipProto ), 0U );
        EXPECT_FALSE( manager.overlapsAnother( Table::srcIp, { IpAddress::v4( 0 ), 0 } ) );
    }

    bool hasAuditThrown = false;
    CompressionManager manager{ scene.compressionHelper(), sameLimits( { 3, 1, 3 } ) };
    Holdings< Value, Agent::U32 > held;
};

TEST( OverlapTest, Compression_AllPairs_AreRight )
{
    expectAllPairsRight( [] { return std::make_unique< CompressionWorld >(); } );
}

TEST( OverlapTest, Compression_ValueOnItsWay_CountsForRoomAndOverlaps )
{
    CompressionWorld world;
    bool overlaps = false;
    std::size_t used = 0;
    world.sdk().interruptionIs( 1, Interruption::beforeTheChip, [ & ] {
        overlaps =
            world.manager.overlapsAnother( Table::dstIp, { IpAddress::v4( 0x0B010000 ), 16 } );
        used = world.manager.size( Table::dstIp );
    } );
    world.acquire( { Table::dstIp, { IpAddress::v4( 0x0B000000 ), 8 } } );
    world.sdk().finish();
    EXPECT_TRUE( overlaps );
    EXPECT_EQ( used, 1U );
}

// ---- User-defined fields ---------------------------------------------------------------------

struct UdfKind
{
    const char* profile;
    UdfPath path;
};

PeloraTcam::UdfDesc fieldAt( Agent::U8 offset )
{
    PeloraTcam::UdfDesc desc;
    desc.baseIs( PeloraTcam::UdfBaseL3Header_ );
    desc.ethTypeIs( 0x0800 );
    desc.ipProtoIs( 6 );
    desc.offsetIs( offset );
    desc.lengthIs( 2 );
    return desc;
}

class UdfWorld : public SceneWorld
{
  public:
    explicit UdfWorld( const UdfKind& kind )
        : SceneWorld( kind.profile )
        , manager( helperOf( kind.path ), kind.path )
    {
        program( 2 );
        program( 8 );
        program( 8 );
    }

    static Agent::Ptr< PeloraTcam::UdfHelperBase > helperOf( UdfPath path )
    {
        switch ( path ) {
        case UdfPath::udfModule:
            break;
        case UdfPath::flexParser:
            return PeloraTcam::udfFlexParserHelperFactory( TcamScene::unit, 0, false );
        case UdfPath::flexParserHsdk:
            return PeloraTcam::udfFlexParserHsdkHelperFactory( TcamScene::unit, 0, false );
        }
        return PeloraTcam::udfModuleHelperFactory( TcamScene::unit, 1, true );
    }

    std::vector< OverlapOperation > operations() override
    {
        return {
            { "program one with one user", [ & ] { program( 2 ); }, false },
            { "program a new one", [ & ] { program( 4 ); }, false },
            { "remove the last user", [ & ] { remove( 2 ); }, false },
            { "remove another user", [ & ] { remove( 8 ); }, false },
            { "audit", [ & ] { EXPECT_EQ( manager.audit().foreign.udfIds(), 0U ); } },
            { "foreign", [ & ] { EXPECT_EQ( manager.foreign().udfIds(), 0U ); } },
            { "positions",
              [ & ] { static_cast< void >( manager.chunkPositions( fieldAt( 2 ) ) ); } },
        };
    }

    void program( Agent::U8 offset )
    {
        const PeloraTcam::QualIdList quals = manager.program( fieldAt( offset ) );
        EXPECT_EQ( quals.qualIds(), 1U );
        held.add( offset, quals.qualIds() == 1 ? std::optional( *quals.begin() ) : std::nullopt );
    }

    void remove( Agent::U8 offset )
    {
        held.letGo( offset, [ & ]( const auto& holding ) {
            return manager.remove( fieldAt( holding.first ) );
        } );
    }

    void expectRight() override
    {
        const UdfManager::Audit audit = manager.audit();
        EXPECT_EQ( audit.compared, held.distinct().size() );
        EXPECT_EQ( audit.foreign.udfIds(), 0U );
        EXPECT_EQ( manager.size(), held.distinct().size() );
        for ( const auto& [ offset, id ] : held.all ) {
            EXPECT_EQ( manager.users( fieldAt( offset ) ), held.usersOf( id ) );
            EXPECT_TRUE(
                manager.list().udfIdHas( PeloraTcam::UdfId( static_cast< Agent::S32 >( id ) ) ) );
        }
    }

    void giveAllBack() override
    {
        while ( !held.all.empty() ) {
            remove( held.all.front().first );
        }
    }

    UdfManager manager;
    Holdings< Agent::U8, Agent::U32 > held;
};

TEST( OverlapTest, UserDefinedFields_AllPairs_AreRight )
{
    for ( const UdfKind kind :
          { UdfKind{ "sdk6-udf", UdfPath::udfModule }, UdfKind{ "sdk6-flex", UdfPath::flexParser },
            UdfKind{ "hsdk", UdfPath::flexParserHsdk } } ) {
        SCOPED_TRACE( kind.profile );
        expectAllPairsRight( [ & ] { return std::make_unique< UdfWorld >( kind ); } );
    }
}

} // namespace
} // namespace Reference
