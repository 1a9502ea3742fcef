// Operations on groups, entries, counters and preselectors that overlap. The rule is in
// reference/Overlap.h.

#include "reference/CounterManager.h"
#include "reference/EntryManager.h"
#include "reference/PreselectorManager.h"
#include "sim/UnavailableSdk.h"
#include "tests/reference/OverlapWorlds.h"

namespace Reference {
namespace {

using PeloraTcam::ActionType;
using PeloraTcam::IpAddress;
using PeloraTcam::QualifierType;
using EntryId = EntryManager::EntryId;

// ---- Entries and groups ----------------------------------------------------------------------

/// A group with an entry that is installed and has a policer, and one that is not; and an empty
/// group.
class EntryWorld : public SceneWorld
{
  public:
    EntryWorld()
        : SceneWorld( "sdk6-udf" )
    {
        bcm_policer_config_t config;
        config.mode = scene.chips.bcmPolicerModeCommitted();
        EXPECT_EQ( scene.chips.bcm_policer_create( TcamScene::unit, &config, &policer ), 0 );
        group = scene.madeGroup( { QualifierType::srcIp, QualifierType::l4DstPort } );
        bcm_field_stat_t type = scene.chips.bcmFieldStatPackets();
        EXPECT_EQ(
            scene.chips.bcm_field_stat_create( TcamScene::unit, group, 1, &type, &statistic ), 0 );
        GroupDesc other;
        other.qualifiers = { QualifierType::srcIp };
        emptyGroup = scene.groups.create( other ).value();
        EntryDesc policed = desc( group );
        policed.policer = static_cast< PeloraTcam::PolicerId >( policer );
        installed = manager.create( policed ).value();
        EXPECT_TRUE( manager.install( installed ) );
        entries.push_back( installed );
        plain = manager.create( desc( group ) ).value();
        entries.push_back( plain );
    }

    static EntryDesc desc( bcm_field_group_t group )
    {
        EntryDesc wanted;
        wanted.group = group;
        wanted.priority = 7;
        wanted.qualifiers.source = IpPrefix{ IpAddress::v4( 0x0A000000 ), 8 };
        wanted.actions = { { ActionType::drop, 0, 0 } };
        return wanted;
    }

    void create( bcm_field_group_t where )
    {
        EntryDesc wanted = desc( where );
        wanted.policer = static_cast< PeloraTcam::PolicerId >( policer );
        if ( const auto entry = manager.create( wanted ) ) {
            entries.push_back( *entry );
        }
    }

    void attachPolicer( EntryId entry )
    {
        const EntryDesc* const known = manager.find( entry );
        if ( known == nullptr || !known->policer ) {
            static_cast< void >( manager.attachPolicer( entry, Agent::U32( policer ) ) );
        }
    }

    void destroy( EntryId entry )
    {
        if ( manager.destroy( entry ) ) {
            std::erase( entries, entry );
        }
    }

    void destroyGroup( bcm_field_group_t which )
    {
        static_cast< void >( scene.groups.destroy( which ) );
    }

    std::vector< OverlapOperation > operations() override
    {
        std::vector< OverlapOperation > all = entryOperations();
        for ( const OverlapOperation& operation : groupOperations() ) {
            all.push_back( operation );
        }
        return all;
    }

    std::vector< OverlapOperation > entryOperations()
    {
        return {
            { "create", [ & ] { create( group ); } },
            { "create in the empty group", [ & ] { create( emptyGroup ); } },
            { "install", [ & ] { static_cast< void >( manager.install( plain ) ); } },
            { "remove", [ & ] { manager.remove( installed ); } },
            { "destroy the installed", [ & ] { destroy( installed ); } },
            { "destroy the other", [ & ] { destroy( plain ); } },
            { "attach a policer", [ & ] { attachPolicer( plain ); } },
            { "detach the policer", [ & ] { manager.detachPolicer( installed ); } },
            { "attach the statistic",
              [ & ] { static_cast< void >( manager.attachStatistic( installed, statistic ) ); } },
            { "detach the statistic", [ & ] { manager.detachStatistic( installed ); } },
            { "audit", [ & ] { manager.audit(); } },
        };
    }

    std::vector< OverlapOperation > groupOperations()
    {
        return {
            { "create a group",
              [ & ] {
                  GroupDesc wanted;
                  wanted.qualifiers = { QualifierType::dstIp };
                  if ( const auto made = scene.groups.create( wanted ) ) {
                      groups.push_back( *made );
                  }
              } },
            { "destroy the group", [ & ] { destroyGroup( group ); } },
            { "destroy the empty group", [ & ] { destroyGroup( emptyGroup ); } },
            { "audit the groups", [ & ] { scene.groups.audit(); } },
        };
    }

    void expectRight() override
    {
        EXPECT_EQ( manager.audit(), manager.size() );
        EXPECT_EQ( scene.groups.audit(), scene.groups.size() );
        EXPECT_EQ( manager.size(), entries.size() );
        EXPECT_EQ( manager.size( group ) + manager.size( emptyGroup ), entries.size() );
        EXPECT_EQ( scene.chip().field().groups().used(), scene.groups.size() );
        EXPECT_EQ( entriesOnChip(), entries.size() );
    }

    std::size_t entriesOnChip()
    {
        const std::string text = scene.text();
        std::size_t count = 0;
        for ( std::size_t at = text.find( "field entry " ); at != std::string::npos;
              at = text.find( "field entry ", at + 1 ) ) {
            ++count;
        }
        return count;
    }

    void giveAllBack() override
    {
        for ( const EntryId entry : entries ) {
            EXPECT_TRUE( manager.destroy( entry ) );
        }
        EXPECT_EQ( scene.chips.bcm_field_stat_destroy( TcamScene::unit, statistic ), 0 );
        EXPECT_EQ( scene.chips.bcm_policer_destroy( TcamScene::unit, policer ), 0 );
        scene.groups.destroy( group );
        scene.groups.destroy( emptyGroup );
        for ( const bcm_field_group_t made : groups ) {
            EXPECT_TRUE( scene.groups.destroy( made ) );
        }
        EXPECT_EQ( scene.groups.size(), 0U );
    }

    EntryManager manager{ TcamScene::unit };
    bcm_policer_t policer = 0;
    int statistic = 0;
    bcm_field_group_t group = 0;
    bcm_field_group_t emptyGroup = 0;
    EntryId installed = 0;
    EntryId plain = 0;
    std::vector< EntryId > entries;
    std::vector< bcm_field_group_t > groups;
};

TEST( OverlapOfEntriesTest, EntriesAndGroups_AllPairs_AreRight )
{
    expectAllPairsRight( [] { return std::make_unique< EntryWorld >(); } );
}

TEST( OverlapOfEntriesTest, AnyAttempt_DuringAnyCallOfADestroy_IsRefusedAlike )
{
    using Attempt = std::function< bool( EntryWorld& ) >;
    const Attempt attempts[] = {
        []( EntryWorld& world ) { return world.manager.install( world.plain ); },
        []( EntryWorld& world ) {
            return world.manager.attachPolicer( world.plain, Agent::U32( world.policer ) );
        },
        []( EntryWorld& world ) {
            return world.manager.attachStatistic( world.plain, world.statistic );
        },
    };
    for ( const Attempt& attempt : attempts ) {
        for ( std::size_t call = 1; call <= 3; ++call ) { // Remove, detach, destroy.
            EntryWorld world;
            EXPECT_TRUE( world.manager.install( world.plain ) );
            EXPECT_TRUE( world.manager.attachStatistic( world.plain, world.statistic ) );
            bool isDone = true;
            int rc = 0;
            world.sdk().interruptionIs( call, Interruption::beforeTheChip, [ & ] {
                isDone = attempt( world );
                rc = world.manager.lastRefusal().rc;
            } );
            world.destroy( world.plain );
            EXPECT_TRUE( world.sdk().hasInterrupted() ) << call;
            world.sdk().finish();
            EXPECT_FALSE( isDone ) << call;
            EXPECT_EQ( rc, Shim::sdk().BCM_E_NOT_FOUND() ) << call;
            world.expectRight();
            world.giveAllBack();
        }
    }
}

/// An SDK with one entry id, which it hands out again before the call that destroys it throws.
class OneEntrySdk final : public Sim::UnavailableSdk
{
  public:
    OneEntrySdk()
        : UnavailableSdk( TestSupport::environmentNumbering() )
    {}

    int bcm_field_entry_create( int, bcm_field_group_t, bcm_field_entry_t* entry ) override
    {
        *entry = 5;
        return 0;
    }

    int bcm_field_entry_prio_set( int, bcm_field_entry_t, int ) override { return 0; }

    int bcm_field_entry_destroy( int, bcm_field_entry_t ) override
    {
        const Agent::LockAnchor activity( Agent::activityLock() );
        EXPECT_EQ( manager.create( wanted ), 5U );
        throw CallThrew();
    }

    EntryManager manager{ TcamScene::unit };
    EntryDesc wanted;
};

TEST( OverlapOfEntriesTest, Destroy_ThrowsWhenTheIdIsGivenAway_CountsTheOtherOneAlone )
{
    const TcamScene scene( "sdk6-udf" ); // The lock and the maps.
    OneEntrySdk sdk;
    Shim::sdk_ = &sdk;
    sdk.wanted.group = 7;
    ASSERT_EQ( sdk.manager.create( sdk.wanted ), 5U );
    EXPECT_THROW( sdk.manager.destroy( 5 ), CallThrew );
    EXPECT_EQ( sdk.manager.size(), 1U );
    EXPECT_EQ( sdk.manager.size( 7 ), 1U );
}

// ---- Counters --------------------------------------------------------------------------------

/// Two installed entries, one of them with counters.
class CounterWorld : public SceneWorld
{
  public:
    explicit CounterWorld( const std::string& profile )
        : SceneWorld( profile )
    {
        empty = scene.snapshot();
        EntryDesc desc;
        desc.group = group;
        for ( EntryId& entry : entries ) {
            entry = entryManager.create( desc ).value();
            EXPECT_TRUE( entryManager.install( entry ) );
        }
        allocate( entries[ 0 ] );
    }

    void allocate( EntryId entry )
    {
        if ( manager.find( entry ) == nullptr ) {
            static_cast< void >(
                manager.allocate( { PeloraTcam::stageIfp(), TcamScene::logicalGroup, entry,
                                    packetsAndBytes(), 0 } ) );
        }
    }

    std::vector< OverlapOperation > operations() override
    {
        return {
            { "allocate", [ & ] { allocate( entries[ 1 ] ); }, false },
            { "allocate again", [ & ] { allocate( entries[ 0 ] ); }, false },
            { "free", [ & ] { free( entries[ 0 ] ); }, scene.variant == SdkVariant::sdk6 },
            { "free the other", [ & ] { free( entries[ 1 ] ); } },
            { "hits", [ & ] { static_cast< void >( manager.hits( entries[ 0 ] ) ); } },
            { "clear", [ & ] { manager.clear( entries[ 0 ] ); } },
            { "audit", [ & ] { manager.audit(); } },
        };
    }

    void free( EntryId entry )
    {
        try {
            if ( manager.free( entry ) ) {
                partlyFreed = 0;
            }
        } catch ( const CallThrew& ) {
            partlyFreed = 1;
            throw;
        }
    }

    void expectRight() override
    {
        EXPECT_EQ( manager.audit() + partlyFreed, manager.size() );
        std::size_t counted = 0;
        for ( const EntryId entry : entries ) {
            const bool hasCounters = manager.find( entry ) != nullptr;
            counted += hasCounters ? 1 : 0;
            if ( hasCounters && partlyFreed == 0 ) {
                scene.count( entry, 3 );
                EXPECT_EQ( manager.hits( entry ), ( Hits{ 3, 300 } ) );
            }
        }
        EXPECT_EQ( manager.size(), counted );
        EXPECT_EQ( usedOnChip(), counted );
    }

    std::size_t usedOnChip()
    {
        const bool isSdk6 = scene.variant == SdkVariant::sdk6;
        return isSdk6 ? scene.chip().statistics()->used()
                      : scene.chip().flexCounters()->state().attachments.size();
    }

    void giveAllBack() override
    {
        for ( const EntryId entry : entries ) {
            manager.free( entry );
            EXPECT_TRUE( entryManager.destroy( entry ) );
        }
        EXPECT_EQ( manager.size(), 0U );
    }

    EntryManager entryManager{ TcamScene::unit };
    bcm_field_group_t group = scene.madeGroup( { QualifierType::srcIp } );
    EntryId entries[ 2 ] = {};
    CounterManager manager{ scene.counterHelper(), scene.variant };
    std::size_t partlyFreed = 0; ///< how many entries' counters an exception left so
};

TEST( OverlapOfEntriesTest, Counters_AllPairs_AreRight )
{
    for ( const char* profile : { "sdk6-udf", "hsdk" } ) {
        SCOPED_TRACE( profile );
        expectAllPairsRight( [ & ] { return std::make_unique< CounterWorld >( profile ); } );
    }
}

/// What somebody else asks of the first entry's counters while they are being freed, before the
/// entry gets other ones.
template< class Operation >
void expectNothingFor( const Operation& operation )
{
    CounterWorld world( "sdk6-udf" );
    const EntryId entry = world.entries[ 0 ];
    bool isDone = true;
    world.sdk().interruptionIs( 1, Interruption::beforeTheChip,
                                [ & ] { isDone = operation( world.manager, entry ); } );
    EXPECT_TRUE( world.manager.free( entry ) );
    world.allocate( entry );
    world.sdk().finish();
    EXPECT_FALSE( isDone );
    EXPECT_NE( world.manager.find( entry ), nullptr );
    world.expectRight();
}

TEST( OverlapOfEntriesTest, CounterFree_EntryGetsOtherCountersMeanwhile_LeavesThem )
{
    expectNothingFor(
        []( CounterManager& manager, EntryId entry ) { return manager.free( entry ); } );
}

TEST( OverlapOfEntriesTest, CounterClear_EntryGetsOtherCountersMeanwhile_LeavesThem )
{
    expectNothingFor(
        []( CounterManager& manager, EntryId entry ) { return manager.clear( entry ); } );
}

// ---- Preselectors ----------------------------------------------------------------------------

class PreselectorWorld : public SceneWorld
{
  public:
    PreselectorWorld()
        : SceneWorld( "sdk6-udf" )
    {
        create();
    }

    void create()
    {
        const auto made = manager.create(
            { { QualifierType::drop, 0, 1 }, { QualifierType::srcClassField, 5, 255 } },
            PreselectorFunction::current );
        if ( made ) {
            held.push_back( *made );
        }
    }

    void destroyFirst()
    {
        const bcm_field_presel_t first = held.empty() ? 0 : held.front();
        if ( manager.destroy( first ) ) {
            std::erase( held, first );
        }
    }

    std::vector< OverlapOperation > operations() override
    {
        return { { "create", [ & ] { create(); } }, { "destroy", [ & ] { destroyFirst(); } } };
    }

    void expectRight() override
    {
        EXPECT_EQ( manager.size(), held.size() );
        EXPECT_EQ( scene.chip().field().preselectors().used(), held.size() );
    }

    void giveAllBack() override
    {
        for ( const bcm_field_presel_t presel : held ) {
            EXPECT_TRUE( manager.destroy( presel ) );
        }
    }

    PreselectorManager manager{ TcamScene::unit };
    std::vector< bcm_field_presel_t > held;
};

TEST( OverlapOfEntriesTest, Preselectors_AllPairs_AreRight )
{
    expectAllPairsRight( [] { return std::make_unique< PreselectorWorld >(); } );
}

// ---- Arguments -------------------------------------------------------------------------------

TEST( OverlapOfEntriesTest, Create_DescriptorChangesMeanwhile_TakesItAsItWas )
{
    EntryWorld world;
    const EntryDesc original = EntryWorld::desc( world.group );
    EntryDesc wanted = original;
    world.sdk().interruptionIs( 1, Interruption::beforeTheChip, [ & ] { wanted = EntryDesc(); } );
    const auto entry = world.manager.create( wanted );
    world.sdk().finish();
    ASSERT_TRUE( entry );
    EXPECT_EQ( *world.manager.find( *entry ), original );
    EXPECT_EQ( world.manager.audit(), world.manager.size() );
}

TEST( OverlapOfEntriesTest, CreateGroup_DescriptorChangesMeanwhile_TakesItAsItWas )
{
    EntryWorld world;
    GroupDesc wanted;
    wanted.qualifiers = { QualifierType::dstIp };
    world.sdk().interruptionIs( 1, Interruption::beforeTheChip,
                                [ & ] { wanted.qualifiers = { QualifierType::srcIp }; } );
    const auto group = world.scene.groups.create( wanted );
    world.sdk().finish();
    ASSERT_TRUE( group );
    EXPECT_EQ( *world.scene.groups.qualifiers( *group ),
               PeloraTcam::QualifierSet( { QualifierType::dstIp } ) );
}

TEST( OverlapOfEntriesTest, CreatePreselector_QualifiersChangeMeanwhile_TakesThemAsTheyWere )
{
    const std::vector< PreselectorQualifier > original = { { QualifierType::drop, 0, 1 } };
    const auto expected = [ & ] {
        PreselectorWorld world;
        EXPECT_TRUE( world.manager.create( original, PreselectorFunction::current ) );
        return world.scene.text();
    }();
    PreselectorWorld world;
    std::vector< PreselectorQualifier > wanted = original;
    world.sdk().interruptionIs( 1, Interruption::beforeTheChip, [ & ] { wanted.clear(); } );
    ASSERT_TRUE( world.manager.create( wanted, PreselectorFunction::current ) );
    world.sdk().finish();
    EXPECT_EQ( world.scene.text(), expected );
}

} // namespace
} // namespace Reference
