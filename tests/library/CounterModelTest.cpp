// Counters of both variants come and go at random, are cleared and read while traffic passes and
// the chip's counters wrap: each sum must be what a count of 128 bits says. A million steps in
// all; fewer in a build without optimisation.

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "agent/base/Locks.h"
#include "agent/tcam/CounterEvictionSdk.h"
#include "agent/tcam/InitFuncs.h"
#include "agent/tcam/SdkFlexctrManager.h"
#include "sim/SimulatedSdk.h"
#include "tests/support/ReusingStatSdk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace LibraryTest {
namespace {

using Agent::U32;
using Agent::U64;
using PeloraTcam::CounterInfo;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterType;
using PeloraTcam::stageIfp;
using Sim::TrafficColor;

__extension__ typedef unsigned __int128 U128;

constexpr int unit = 5;
constexpr Agent::U8 pipeId = 2;
constexpr U32 logicalGroup = 5;
constexpr U32 priority = 1;
constexpr unsigned entryCount = 8;

/// Whether a counter of that type counts traffic of that colour.
bool counts( CounterType type, TrafficColor color )
{
    switch ( type ) {
    case CounterType::redBytes:
    case CounterType::redPackets:
        return color == TrafficColor::red;
    case CounterType::greenBytes:
    case CounterType::greenPackets:
        return color == TrafficColor::green;
    case CounterType::yellowBytes:
    case CounterType::yellowPackets:
        return color == TrafficColor::yellow;
    default:
        return true;
    }
}

U64 amountOf( CounterType type, const Sim::Traffic& traffic )
{
    if ( !counts( type, traffic.color ) ) {
        return 0;
    }
    return isByteType( type ) ? traffic.bytes : traffic.packets;
}

// ---- The two chips -----------------------------------------------------------------------------

/// A chip, the agent's services over it, and the counter helper that is tested.
class CounterWorld
{
  public:
    CounterWorld() = default;
    CounterWorld( const CounterWorld& ) = delete;
    CounterWorld& operator=( const CounterWorld& ) = delete;

    virtual ~CounterWorld() { Shim::sdk_ = nullptr; }

    [[nodiscard]] virtual bool hasRoomFor( const CounterSet& set ) = 0;
    virtual void count( const CounterInfo& info, const Sim::Traffic& traffic ) = 0;

    Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > helper;
    std::vector< U32 > entries;
};

/// Statistics, whose ids are handed out again at once.
class Sdk6World final : public CounterWorld
{
  public:
    explicit Sdk6World( unsigned counterBits )
        : chip_( counterBits, Sim::SdkNumbering::shuffled( 3 ) )
        , eviction_( new PeloraTcam::PeloraTcamSdk6CounterEvictionHelper( counterBits ) )
        , sdk_( chip_, eviction_ )
    {
        Shim::sdk_ = &sdk_;
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName,
                                          Agent::Ptr< PeloraTcam::BaseSdk6InitFunc >(
                                              new PeloraTcam::BaseSdk6InitFunc( eviction_ ) ) );
        helper = PeloraTcam::peloraTcamSdk6CounterHelperFactory( pipeId, unit,
                                                                 PeloraCentral::ChipInfo() );
        for ( U32 entry = 1; entry <= entryCount; ++entry ) {
            entries.push_back( entry );
        }
    }

    ~Sdk6World() override
    {
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
    }

    bool hasRoomFor( const CounterSet& ) override { return true; }

    void count( const CounterInfo& info, const Sim::Traffic& traffic ) override
    {
        for ( const auto& [ type, wanted ] : info.counterSet ) {
            ASSERT_EQ( chip_.counted( static_cast< int >( info.statId ),
                                      PeloraTcam::translateStatType( type ),
                                      amountOf( type, traffic ) ),
                       0 );
        }
    }

  private:
    TestSupport::ReusingStatSdk chip_;
    Agent::Ptr< PeloraTcam::PeloraTcamSdk6CounterEvictionHelper > eviction_;
    PeloraTcam::CounterEvictionSdk sdk_;
};

/// Flex counters, fewer than the entries may want.
class HsdkWorld final : public CounterWorld
{
  public:
    explicit HsdkWorld( unsigned counterBits )
        : flexctrs_( objects_, counterBits )
    {
        Sim::ChipProfile profile = Sim::builtInProfile( "hsdk" );
        profile.flexCounters = {
            .objects = 1, .counters = counters + 1, .counterWidth = counterBits };
        chips_.chipIs( unit, profile );
        Shim::sdk_ = &chips_;
        EXPECT_EQ( objects_.counterObjectIs( unit, stageIfp(), pipeId, priority, counters ), 0 );
        PeloraTcam::counterObjectManagerIs( &objects_ );
        PeloraTcam::flexctrManagerIs( &flexctrs_ );
        helper = PeloraTcam::peloraTcamHsdkCounterHelperFactory( pipeId, unit,
                                                                 PeloraCentral::ChipInfo() );
        makeEntries();
    }

    ~HsdkWorld() override
    {
        PeloraTcam::counterObjectManagerIs( nullptr );
        PeloraTcam::flexctrManagerIs( nullptr );
    }

    bool hasRoomFor( const CounterSet& set ) override
    {
        std::set< CounterType > pairs;
        for ( const auto& [ type, wanted ] : set ) {
            pairs.insert( packetTypeOfPair( type ) );
        }
        const U32 object = objects_.getCounterObject( unit, stageIfp(), pipeId, priority );
        return pairs.size() <= counters - objects_.indices( unit, object ).allocated();
    }

    void count( const CounterInfo& info, const Sim::Traffic& traffic ) override
    {
        chips_.chip( unit )->count( static_cast< bcm_field_entry_t >( info.entryId ), traffic );
    }

  private:
    static constexpr U32 counters = 11;

    void makeEntries()
    {
        bcm_field_group_config_t group;
        group.group = 7;
        group.mode = chips_.bcmFieldGroupModeAuto();
        EXPECT_EQ( chips_.bcm_field_group_config_create( unit, &group ), 0 );
        for ( unsigned i = 0; i < entryCount; ++i ) {
            bcm_field_entry_t entry = 0;
            EXPECT_EQ( chips_.bcm_field_entry_create( unit, group.group, &entry ), 0 );
            EXPECT_EQ( chips_.bcm_field_entry_install( unit, entry ), 0 );
            entries.push_back( static_cast< U32 >( entry ) );
        }
    }

    Sim::SimulatedSdk chips_{ Sim::SdkNumbering::shuffled( 3 ) };
    PeloraTcam::SdkCounterObjectManager objects_;
    PeloraTcam::SdkFlexctrManager flexctrs_;
};

// ---- The model ---------------------------------------------------------------------------------

/// What a counter has truly counted since it was made or cleared.
struct TrueCount
{
    U128 total = 0;
    U128 unread = 0; ///< since its last reading: less than one wrap
};

/// The counters of an entry.
struct Counted
{
    CounterInfo info;
    std::map< CounterType, TrueCount > types;
};

struct Run
{
    const char* name;
    bool isHsdk;
    unsigned counterBits;
};

class CounterModelTest : public ::testing::TestWithParam< Run >
{
  protected:
    CounterModelTest()
    {
        if ( GetParam().isHsdk ) {
            world = std::make_unique< HsdkWorld >( GetParam().counterBits );
        } else {
            world = std::make_unique< Sdk6World >( GetParam().counterBits );
        }
    }

    void step()
    {
        const U32 entry = world->entries.at( random_() % entryCount );
        const auto found = live_.find( entry );
        if ( found == live_.end() ) {
            allocate( entry );
            return;
        }
        const unsigned choice = static_cast< unsigned >( random_() % 100 );
        if ( choice < 3 ) {
            release( entry );
        } else if ( choice < 7 ) {
            clear( found->second );
        } else if ( choice < 60 ) {
            count( found->second );
        } else {
            read( found->second );
        }
    }

    std::unique_ptr< CounterWorld > world;
    unsigned allocations = 0;
    unsigned shortages = 0;
    unsigned wraps = 0;

  private:
    void allocate( U32 entry )
    {
        CounterSet set;
        for ( int type = 1; type <= 8; ++type ) {
            if ( random_() % 3 == 0 ) {
                set.emplace( static_cast< CounterType >( type ), true );
            }
        }
        if ( set.empty() ) {
            return;
        }
        const bool hasRoom = world->hasRoomFor( set );
        const CounterInfo info =
            world->helper->allocateCounter( stageIfp(), logicalGroup, entry, set, priority );
        if ( !hasRoom ) {
            ASSERT_EQ( info, CounterInfo() );
            ++shortages;
            return;
        }
        ASSERT_EQ( info.counterId, ++allocations );
        ASSERT_EQ( info.counterSet, set );
        Counted& counted = live_[ entry ];
        counted.info = info;
        for ( const auto& [ type, wanted ] : set ) {
            counted.types[ type ] = {};
        }
    }

    void release( U32 entry )
    {
        ASSERT_TRUE( world->helper->freeCounter( stageIfp(), logicalGroup, entry,
                                                 live_.at( entry ).info, priority ) );
        live_.erase( entry );
    }

    void clear( Counted& counted )
    {
        world->helper->clearHitsForEntry( counted.info );
        for ( auto& [ type, truth ] : counted.types ) {
            truth = {};
        }
    }

    /// The most that may be counted before any counter of that kind and colour wraps once more
    /// than its readings can tell.
    U128 roomOf( const Counted& counted, bool ( *isKind )( CounterType ), TrafficColor color )
    {
        U128 room = wrap_ - 1;
        for ( const auto& [ type, truth ] : counted.types ) {
            if ( isKind( type ) && counts( type, color ) ) {
                room = std::min( room, wrap_ - 1 - truth.unread );
            }
        }
        return room;
    }

    /// An amount up to what there is room for, often all of it.
    U64 amountUpTo( U128 room )
    {
        return static_cast< U64 >( random_() % 4 == 0 ? room : U128{ random_() } % ( room + 1 ) );
    }

    void count( Counted& counted )
    {
        const auto color = static_cast< TrafficColor >( random_() % 3 );
        Sim::Traffic traffic;
        traffic.packets = amountUpTo( roomOf( counted, PeloraTcam::isPacketType, color ) );
        traffic.bytes = amountUpTo( roomOf( counted, PeloraTcam::isByteType, color ) );
        traffic.color = color;
        world->count( counted.info, traffic );
        for ( auto& [ type, truth ] : counted.types ) {
            const U64 amount = amountOf( type, traffic );
            wraps += truth.total / wrap_ != ( truth.total + amount ) / wrap_ ? 1 : 0;
            truth.total += amount;
            truth.unread += amount;
        }
    }

    void read( Counted& counted )
    {
        switch ( random_() % 3 ) {
        case 0:
            ASSERT_EQ( world->helper->getPacketHits( counted.info ),
                       sumOf( counted, PeloraTcam::isPacketType ) );
            break;
        case 1:
            ASSERT_EQ( world->helper->getByteHits( counted.info ),
                       sumOf( counted, PeloraTcam::isByteType ) );
            break;
        default:
            readOne( counted );
        }
    }

    static U64 sumOf( Counted& counted, bool ( *isKind )( CounterType ) )
    {
        U128 sum = 0;
        for ( auto& [ type, truth ] : counted.types ) {
            if ( isKind( type ) ) {
                sum += truth.total;
                truth.unread = 0;
            }
        }
        return static_cast< U64 >( sum );
    }

    void readOne( Counted& counted )
    {
        auto& [ type, truth ] = *std::next(
            counted.types.begin(), static_cast< long >( random_() % counted.types.size() ) );
        ASSERT_EQ( world->helper->getStatHits( counted.info.statId, type, stageIfp() ),
                   static_cast< U64 >( truth.total ) );
        truth.unread = 0;
    }

    const U128 wrap_ = U128{ 1 } << GetParam().counterBits;
    std::mt19937_64 random_{ 20240229 };
    std::map< U32, Counted > live_;
    Agent::LockAnchor activity_{ Agent::activityLock() };
};

constexpr Run runs[] = {
    { "Sdk6With1Bit", false, 1 },    { "Sdk6With8Bits", false, 8 },
    { "Sdk6With36Bits", false, 36 }, { "Sdk6With64Bits", false, 64 },
    { "HsdkWith1Bit", true, 1 },     { "HsdkWith8Bits", true, 8 },
    { "HsdkWith36Bits", true, 36 },  { "HsdkWith64Bits", true, 64 },
};

#ifdef __OPTIMIZE__
constexpr unsigned steps = 1'000'000 / std::size( runs );
#else
constexpr unsigned steps = 160'000 / std::size( runs );
#endif

TEST_P( CounterModelTest, Operations_AtRandom_SumUpWhatWasCounted )
{
    for ( unsigned i = 0; i < steps; ++i ) {
        step();
        ASSERT_FALSE( HasFatalFailure() ) << "step " << i;
    }
    EXPECT_GT( allocations, steps / 100 );
    EXPECT_GT( wraps, steps / 50 );
    EXPECT_EQ( shortages > 0, GetParam().isHsdk );
}

INSTANTIATE_TEST_SUITE_P( CounterBits,
                          CounterModelTest,
                          ::testing::ValuesIn( runs ),
                          []( const auto& run ) { return std::string( run.param.name ); } );

} // namespace
} // namespace LibraryTest
