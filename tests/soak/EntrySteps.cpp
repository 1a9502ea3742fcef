#include "tests/soak/EntrySteps.h"

#include <set>

namespace Soak {

using PeloraTcam::ActionType;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterType;
using PeloraTcam::IpAddress;
using Reference::EntryDesc;
using Reference::Hits;
using Reference::IpPrefix;
using Reference::Masked;
using Sim::Traffic;
using Sim::TrafficColor;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

constexpr std::array< const char*, 9 > createRefusable = {
    "bcm_field_entry_create",       "bcm_field_qualify_SrcIp",     "bcm_field_qualify_DstIp",
    "bcm_field_qualify_IpProtocol", "bcm_field_qualify_L4SrcPort", "bcm_field_qualify_L4DstPort",
    "bcm_field_qualify_RangeCheck", "bcm_field_entry_prio_set",    "bcm_field_action_add" };
constexpr std::array< const char*, 1 > installRefusable = { "bcm_field_entry_install" };
constexpr std::array< const char*, 1 > policerRefusable = { "bcm_field_entry_policer_attach" };
constexpr std::array< const char*, 1 > statisticRefusable = { "bcm_field_stat_create" };
constexpr std::array< const char*, 1 > flexctrRefusable = { "bcm_field_entry_flexctr_attach" };
constexpr std::array< const char*, 2 > unreadable = { "bcm_field_stat_get",
                                                      "bcm_flexctr_stat_get" };

constexpr std::size_t mostLive = 160;
/// Counters as narrow as this may wrap soon, so what they count is read at once.
constexpr unsigned narrowCounter = 20;

bool countsEvery( CounterType type )
{
    return type == CounterType::packets || type == CounterType::bytes;
}

TrafficColor colorOf( CounterType type )
{
    switch ( packetTypeOfPair( type ) ) {
    case CounterType::yellowPackets:
        return TrafficColor::yellow;
    case CounterType::redPackets:
        return TrafficColor::red;
    default:
        return TrafficColor::green;
    }
}

/// What the counters of a set count of some traffic, by the meaning of the types.
Hits countedBy( const CounterSet& set, const Traffic& traffic )
{
    Hits hits;
    for ( const auto& [ type, wanted ] : set ) {
        if ( countsEvery( type ) || colorOf( type ) == traffic.color ) {
            hits.packets += isPacketType( type ) ? traffic.packets : 0;
            hits.bytes += isByteType( type ) ? traffic.bytes : 0;
        }
    }
    return hits;
}

/// The hardware counters that a set takes on HSDK: one for each pair of types.
std::size_t pairsOf( const CounterSet& set )
{
    std::set< CounterType > pairs;
    for ( const auto& [ type, wanted ] : set ) {
        pairs.insert( packetTypeOfPair( type ) );
    }
    return pairs.size();
}

} // namespace

// ---- Making and destroying -------------------------------------------------------------------

EntryDesc EntrySteps::anyDesc()
{
    EntryDesc desc;
    desc.priority = static_cast< int >( choices.below( 1000 ) );
    desc.actions = { { ActionType::drop, 0, 0 } };
    const unsigned asked = choices.below( 32 );
    if ( ( asked & 1U ) != 0 ) {
        desc.qualifiers.source =
            IpPrefix{ IpAddress::v4( 0x0A000000U + choices.below( 256 ) ), choices.below( 33 ) };
    }
    if ( ( asked & 2U ) != 0 ) {
        desc.qualifiers.destination = IpPrefix{ IpAddress::v4( 0xC0A80000U ), choices.below( 33 ) };
    }
    if ( ( asked & 4U ) != 0 ) {
        desc.qualifiers.protocol = Masked< Agent::U8 >{ 6, 0xFF };
    }
    if ( ( asked & 8U ) != 0 ) {
        desc.qualifiers.destinationPort = Masked< Agent::U16 >{ 443, 0xFFF0 };
    }
    if ( ( asked & 16U ) != 0 && agent.compression ) {
        desc.qualifiers.classes.emplace( Table::srcIp, choices.below( 0x10000 ) );
    }
    return desc;
}

void EntrySteps::create()
{
    EntryDesc desc = anyDesc();
    Live entry;
    entry.group = choices.below( 2 );
    desc.group = agent.entryGroups[ entry.group ].id;
    if ( choices.below( 3 ) == 1 ) {
        entry.range = rangeCheckers_.acquireAny();
    }
    if ( choices.below( 4 ) == 1 ) {
        entry.policer = policers_.acquireAny();
    }
    if ( entry.range ) {
        desc.qualifiers.ranges = { { *entry.range, choices.below( 2 ) != 0 } };
    }
    desc.policer = entry.policer;
    const bool hasRoom = agent.entries.size( desc.group ) < agent.profile.field.entriesPerGroup;
    const Outcome outcome = trouble.run( { .refusable = createRefusable, .throwing = 8 }, [ & ] {
        const auto id = agent.entries.create( desc );
        entry.id = id.value_or( 0 );
        return id.has_value();
    } );
    if ( outcome != Outcome::done ) {
        require( trouble.fired() || !hasRoom, "there is one while there is room" );
        return giveBackParts( entry );
    }
    require( agent.entries.find( entry.id ) != nullptr && *agent.entries.find( entry.id ) == desc,
             "the entry is what was asked for" );
    live_.push_back( entry );
    install( live_.back() );
}

void EntrySteps::giveBackParts( const Live& entry )
{
    if ( entry.policer ) {
        policers_.release( *entry.policer );
    }
    if ( entry.range ) {
        rangeCheckers_.release( *entry.range );
    }
}

void EntrySteps::destroy( Live entry )
{
    if ( !entry.counterSet.empty() ) {
        freeCounters( entry );
    }
    trouble.finish( { .throwing = 4, .undone = false },
                    [ & ] { return agent.entries.destroy( entry.id ); } );
    giveBackParts( entry );
}

// ---- In and out of the hardware --------------------------------------------------------------

void EntrySteps::install( Live& entry )
{
    const bool wasInstalled = agent.entries.isInstalled( entry.id );
    const Outcome outcome = trouble.run( { .refusable = installRefusable, .throwing = 1 },
                                         [ & ] { return agent.entries.install( entry.id ); } );
    require( outcome == Outcome::done || trouble.fired(), "an entry can be installed" );
    require( agent.entries.isInstalled( entry.id ) == ( wasInstalled || outcome == Outcome::done ),
             "an entry is where it was put" );
}

void EntrySteps::takeOut( Live& entry )
{
    if ( agent.entries.isInstalled( entry.id ) ) {
        trouble.finish( { .throwing = 1 }, [ & ] { return agent.entries.remove( entry.id ); } );
    } else {
        install( entry );
    }
}

void EntrySteps::changePolicer( Live& entry )
{
    if ( entry.policer ) {
        trouble.finish( { .throwing = 1 },
                        [ & ] { return agent.entries.detachPolicer( entry.id ); } );
        policers_.release( *entry.policer );
        entry.policer.reset();
        return;
    }
    const auto policer = policers_.acquireAny();
    if ( !policer ) {
        return;
    }
    const Outcome outcome = trouble.run( { .refusable = policerRefusable, .throwing = 1 }, [ & ] {
        return agent.entries.attachPolicer( entry.id, *policer );
    } );
    if ( outcome == Outcome::done ) {
        entry.policer = policer;
    } else {
        require( trouble.fired(), "a policer can be attached" );
        policers_.release( *policer );
    }
}

// ---- Counters --------------------------------------------------------------------------------

CounterSet EntrySteps::anyCounterSet()
{
    if ( choices.below( 2 ) == 0 ) {
        return Reference::packetsAndBytes();
    }
    CounterSet set;
    const unsigned types = choices.below( 256 );
    for ( unsigned bit = 0; bit < 8; ++bit ) {
        if ( ( types >> bit & 1U ) != 0 ) {
            set.emplace( static_cast< CounterType >( bit + 1 ), true );
        }
    }
    return set;
}

bool EntrySteps::hasRoomForCounters( const CounterSet& set ) const
{
    if ( !agent.isHsdk() ) {
        return agent.chip().statistics()->used() < agent.profile.statistics.capacity;
    }
    // All counters of the object but the first, whose index stands for none. Rule sets have some
    // too, for which one has to look: where it is close, either answer is right.
    std::size_t used = 0;
    for ( const Live& entry : live_ ) {
        used += pairsOf( entry.counterSet );
    }
    return used + pairsOf( set ) < agent.profile.flexCounters.counters;
}

void EntrySteps::allocateCounters( Live& entry )
{
    const CounterSet set = anyCounterSet();
    const Reference::CounterRequest request{
        PeloraTcam::stageIfp(), agent.entryGroups[ entry.group ].logicalId, entry.id, set, 0 };
    Trouble possible;
    possible.refusable = agent.isHsdk() ? flexctrRefusable : statisticRefusable;
    // An exception on HSDK leaves the counters taken that were to be attached.
    possible.throwing = agent.isHsdk() ? 0 : 1;
    const bool mustFit = !set.empty() && hasRoomForCounters( set );
    const bool ruleSetsMayHaveSome = agent.isHsdk() && agent.ruleSets.size() != 0;
    const Outcome outcome =
        trouble.run( possible, [ & ] { return agent.counters.allocate( request ); } );
    if ( outcome == Outcome::done ) {
        entry.counterSet = set;
        entry.counted = {};
    } else {
        require( trouble.fired() || !mustFit || ruleSetsMayHaveSome,
                 "there are counters while there is room" );
    }
}

void EntrySteps::freeCounters( Live& entry )
{
    const PeloraTcam::CounterInfo* info = agent.counters.find( entry.id );
    require( info != nullptr && info->counterSet == entry.counterSet, "the counters are known" );
    const auto statistic = static_cast< int >( info->statId );
    // On HSDK a counter is cleared first and then detached.
    Trouble possible;
    possible.throwing = agent.isHsdk() ? 2 : 1;
    possible.droppable = agent.isHsdk() ? nullptr : "bcm_field_stat_destroy";
    trouble.finish( possible, [ & ] { return agent.counters.free( entry.id ); } );
    if ( trouble.dropped() ) {
        stranded_.push_back( statistic );
    }
    entry.counterSet.clear();
    entry.counted = {};
}

void EntrySteps::changeCounters( Live& entry )
{
    if ( entry.counterSet.empty() ) {
        allocateCounters( entry );
    } else {
        freeCounters( entry );
    }
}

void EntrySteps::seePackets( Live& entry )
{
    constexpr std::array< TrafficColor, 3 > colors = { TrafficColor::green, TrafficColor::yellow,
                                                       TrafficColor::red };
    Traffic traffic;
    traffic.packets = 1 + choices.below( 100 );
    traffic.bytes = traffic.packets * ( 64 + choices.below( 64 ) );
    traffic.color = choices.oneOf( colors );
    if ( !agent.entries.isInstalled( entry.id ) ) {
        traffic = {};
    }
    agent.chip().count( static_cast< bcm_field_entry_t >( entry.id ), traffic );
    const Hits more = countedBy( entry.counterSet, traffic );
    entry.counted.packets += more.packets;
    entry.counted.bytes += more.bytes;
    const unsigned width = agent.isHsdk() ? agent.profile.flexCounters.counterWidth
                                          : agent.profile.statistics.counterWidth;
    if ( width <= narrowCounter && !entry.counterSet.empty() ) {
        require( agent.counters.hits( entry.id ) == entry.counted, "counters count" );
    }
}

void EntrySteps::readCounters( const Live& entry )
{
    std::optional< Hits > hits;
    const Outcome outcome =
        trouble.run( { .refusable = unreadable, .throwing = 4, .failureRefuses = false }, [ & ] {
            hits = agent.counters.hits( entry.id );
            return hits.has_value();
        } );
    if ( outcome == Outcome::refused ) {
        require( entry.counterSet.empty(), "counters can be read" );
    } else if ( outcome == Outcome::done && !trouble.fired() ) {
        require( *hits == entry.counted, "counters count" );
    }
}

void EntrySteps::clearCounters( Live& entry )
{
    if ( entry.counterSet.empty() ) {
        return readCounters( entry );
    }
    trouble.finish( { .throwing = 1 }, [ & ] { return agent.counters.clear( entry.id ); } );
    entry.counted = {};
}

void EntrySteps::cleanUp()
{
    for ( const int statistic : stranded_ ) {
        require( agent.chips.bcm_field_stat_destroy( AgentOnChip::unit, statistic ) == 0,
                 "it was left behind" );
    }
    stranded_.clear();
}

// ---- The run ---------------------------------------------------------------------------------

void EntrySteps::operateOn( Live& entry )
{
    switch ( choices.below( 8 ) ) {
    case 0:
        return takeOut( entry );
    case 1:
        return changePolicer( entry );
    case 2:
    case 3:
        return changeCounters( entry );
    case 4:
    case 5:
        return seePackets( entry );
    case 6:
        return readCounters( entry );
    default:
        return clearCounters( entry );
    }
}

void EntrySteps::step()
{
    const unsigned what = choices.below( 4 );
    const bool mayHaveMore = live_.size() < mostLive;
    if ( live_.empty() || ( mayHaveMore && what == 0 ) ) {
        create();
    } else if ( what == 1 ) {
        destroy( taken( live_, choices.positionIn( live_ ) ) );
    } else {
        operateOn( live_[ choices.positionIn( live_ ) ] );
    }
    if ( choices.oneIn( 64 ) ) {
        cleanUp();
    }
}

void EntrySteps::audit()
{
    require( agent.entries.audit() >= live_.size(), "all are compared" );
    agent.counters.audit();
}

void EntrySteps::releaseAll()
{
    while ( !live_.empty() ) {
        destroy( taken( live_, live_.size() - 1 ) );
    }
    cleanUp();
}

} // namespace Soak
