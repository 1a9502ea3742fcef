#include "sim/packets/PacketPath.h"

#include "sim/packets/PacketExplanation.h"
#include "sim/values/SimSets.h"

#include <algorithm>
#include <array>

namespace Sim {

namespace {

using N = SdkNumbering;

/// Whose classes stand in each class field, by the qualifier of its compression group's keys.
constexpr bcm_field_qualify_t N::*classQualifiers[ classFieldCount ] = {
    &N::bcmFieldQualifyDstIp,      &N::bcmFieldQualifySrcIp,     &N::bcmFieldQualifyEtherType,
    &N::bcmFieldQualifyIpProtocol, &N::bcmFieldQualifyL4SrcPort, &N::bcmFieldQualifyL4DstPort };

/// The class field of a compression group.
std::optional< std::size_t > classFieldOf( const SdkNumbering& numbering,
                                           const bcm_field_group_config_t& config )
{
    for ( std::size_t field = 0; field < classFieldCount; ++field ) {
        if ( isInSet( config.qset.w, numbering.*classQualifiers[ field ] ) ) {
            return field;
        }
    }
    return std::nullopt;
}

/// A buffer for the keys of a thread's packets.
std::span< uint8_t > keyBuffer( std::size_t width )
{
    thread_local std::vector< uint8_t > buffer;
    if ( buffer.size() < width ) {
        buffer.resize( width );
    }
    return { buffer.data(), width };
}

uint32_t indexId( bcm_field_entry_t entry )
{
    return static_cast< uint32_t >( entry );
}

bcm_field_entry_t entryOf( uint32_t id )
{
    return static_cast< bcm_field_entry_t >( id );
}

} // namespace

PacketPath::PacketPath( SimulatedChip& chip, const SdkNumbering& numbering )
    : chip_( chip )
    , numbering_( numbering )
    , layout_( chip, numbering )
{
    loadAll();
    chip_.field().entries().listenerIs( *this );
}

PacketPath::~PacketPath()
{
    chip_.field().entries().listenerDel( *this );
}

// ---- What the hardware holds -----------------------------------------------------------------

void PacketPath::loadAll()
{
    for ( const auto& [ id, entry ] : chip_.field().entries().state().entries ) {
        if ( entry.hardware != FieldEntry::Hardware::none ) {
            add( id, entry.inHardware() );
        }
    }
}

void PacketPath::installed( bcm_field_entry_t entry, const FieldEntry& what )
{
    take( entry );
    add( entry, what );
}

void PacketPath::removed( bcm_field_entry_t entry )
{
    take( entry );
}

void PacketPath::replaced()
{
    while ( !held_.empty() ) {
        take( held_.begin()->first );
    }
    loadAll();
}

void PacketPath::add( bcm_field_entry_t entry, const FieldEntry& what )
{
    const TernaryKey key = layout_.added( what.criteria );
    const TernaryOrder order{ .priority = what.priority, .sequence = indexId( entry ) };
    groupFor( what.group ).index.insert( indexId( entry ), order, key.data, key.mask );
    held_.emplace( entry, what );
}

void PacketPath::take( bcm_field_entry_t entry )
{
    const auto found = held_.find( entry );
    if ( found == held_.end() ) {
        return;
    }
    const auto group = groups_.find( found->second.group );
    group->second.index.remove( indexId( entry ) );
    if ( group->second.index.size() == 0 ) {
        groups_.erase( group );
        sortGroups();
    }
    layout_.removed( found->second.criteria );
    held_.erase( found );
}

PacketPath::Group& PacketPath::groupFor( bcm_field_group_t group )
{
    const auto [ found, isNew ] = groups_.try_emplace( group, layout_.width() );
    if ( isNew ) {
        const bcm_field_group_config_t& config = *chip_.field().groups().find( group );
        if ( chip_.field().groups().isCompression( group ) ) {
            found->second.classField = classFieldOf( numbering_, config );
        }
        found->second.stage = stageOf( config );
        found->second.priority = config.priority;
        found->second.packetType = config.packet_type;
        sortGroups();
    }
    return found->second;
}

void PacketPath::sortGroups()
{
    order_.clear();
    compression_.clear();
    for ( const auto& group : groups_ ) {
        if ( group.second.classField ) {
            compression_.push_back( &group.second );
        } else {
            order_.push_back( &group );
        }
    }
    std::ranges::stable_sort( order_, []( const auto* left, const auto* right ) {
        return left->second.stage != right->second.stage
                   ? left->second.stage < right->second.stage
                   : left->second.priority > right->second.priority;
    } );
}

unsigned PacketPath::stageOf( const bcm_field_group_config_t& config ) const
{
    const std::array stages = { numbering_.bcmFieldQualifyStageLookup,
                                numbering_.bcmFieldQualifyStageIngress,
                                numbering_.bcmFieldQualifyStageEgress };
    for ( unsigned stage = 0; stage < stages.size(); ++stage ) {
        if ( isInSet( config.qset.w, stages[ stage ] ) ) {
            return stage;
        }
    }
    return 1; // An assumption: a group that names no stage is of the ingress stage.
}

// ---- Looking up ------------------------------------------------------------------------------

bool PacketPath::looksAt( const Group& group, const PacketHeaders& headers ) const
{
    const bcm_field_group_packet_type_t type = group.packetType;
    const LayerHeaders& outer = headers.outer;
    return type == numbering_.bcmFieldGroupPacketTypeIpv4    ? outer.l3Kind == L3Kind::ip4
           : type == numbering_.bcmFieldGroupPacketTypeIpv6  ? outer.l3Kind == L3Kind::ip6
           : type == numbering_.bcmFieldGroupPacketTypeNonIp ? !outer.isIp()
           : type == numbering_.bcmFieldGroupPacketTypeMpls  ? outer.mpls != absentOffset
                                                             : true;
}

void PacketPath::classify( PacketFindings& findings,
                           const PacketView& view,
                           std::span< uint8_t > key ) const
{
    for ( const Group* group : compression_ ) {
        if ( const std::optional< uint32_t > best = group->index.find( key ) ) {
            const auto& actions = held_.at( entryOf( *best ) ).actions;
            const auto assigned = actions.find( numbering_.bcmFieldActionClassSet );
            findings.classes[ *group->classField ] =
                assigned == actions.end() ? 0 : assigned->second.param0;
        }
    }
    layout_.writeFindings( view, key );
}

/// Shows the visitor each group that looks at the packet, with the entry that it finds, and tells
/// it when a stage ends and another one follows.
template< class Visitor >
void PacketPath::visitGroups( const Packet& packet,
                              PacketFindings& findings,
                              Visitor& visitor ) const
{
    const PacketHeaders headers = readHeaders( packet.bytes );
    const PacketView view{ numbering_, packet, headers, findings };
    const std::span< uint8_t > key = keyBuffer( layout_.width() );
    layout_.write( view, key );
    classify( findings, view, key );
    unsigned stage = order_.empty() ? 0 : order_.front()->second.stage;
    for ( const auto* group : order_ ) {
        if ( group->second.stage != stage ) {
            stage = group->second.stage;
            visitor.stageEnds();
            layout_.writeFindings( view, key );
        }
        if ( looksAt( group->second, headers ) ) {
            const std::optional< uint32_t > best = group->second.index.find( key );
            visitor.looked( group->first, best ? std::optional( entryOf( *best ) ) : std::nullopt );
        }
    }
}

/// Notes what a packet hits. Policers have no say, so later stages see a packet as dropped if it
/// is with the colour that it came with.
class PacketPath::Finder
{
  public:
    Finder( const PacketPath& path,
            const Packet& packet,
            PacketFindings& findings,
            std::vector< GroupVerdict >& hits )
        : path_( path )
        , incoming_( path.incomingColor( packet ) )
        , findings_( findings )
        , hits_( hits )
    {}

    void looked( bcm_field_group_t group, std::optional< bcm_field_entry_t > entry )
    {
        hits_.push_back( { group, entry, incoming_ } );
    }

    void stageEnds()
    {
        for ( ; done_ < hits_.size(); ++done_ ) {
            if ( const auto entry = hits_[ done_ ].entry ) {
                addActions( fate_, decidedBefore_, path_.numbering_, *entry,
                            path_.held_.at( *entry ), incoming_ );
            }
        }
        decidedBefore_ = fate_.actions.size();
        conclude( fate_ );
        findings_.drop = fate_.dropped;
    }

  private:
    const PacketPath& path_;
    TrafficColor incoming_;
    PacketFindings& findings_;
    std::vector< GroupVerdict >& hits_;
    std::size_t done_ = 0;
    std::size_t decidedBefore_ = 0;
    PacketFate fate_;
};

void PacketPath::find( const Packet& packet, std::vector< GroupVerdict >& hits ) const
{
    hits.clear();
    PacketFindings findings;
    Finder finder( *this, packet, findings, hits );
    visitGroups( packet, findings, finder );
}

std::vector< GroupVerdict > PacketPath::find( const Packet& packet ) const
{
    std::vector< GroupVerdict > hits;
    find( packet, hits );
    return hits;
}

PacketFindings PacketPath::findingsOf( const Packet& packet, const PacketHeaders& headers ) const
{
    PacketFindings findings;
    const PacketView view{ numbering_, packet, headers, findings };
    const std::span< uint8_t > key = keyBuffer( layout_.width() );
    layout_.write( view, key );
    classify( findings, view, key );
    return findings;
}

/// Notes what each group sees.
class PacketPath::FindingsNoter
{
  public:
    FindingsNoter( Finder& finder, const PacketFindings& findings )
        : finder_( finder )
        , findings_( findings )
    {}

    void looked( bcm_field_group_t group, std::optional< bcm_field_entry_t > entry )
    {
        finder_.looked( group, entry );
        seen_.push_back( findings_ );
    }

    void stageEnds() { finder_.stageEnds(); }

    [[nodiscard]] std::vector< PacketFindings > seen() && { return std::move( seen_ ); }

  private:
    Finder& finder_;
    const PacketFindings& findings_;
    std::vector< PacketFindings > seen_;
};

std::vector< PacketFindings > PacketPath::findingsByGroup( const Packet& packet ) const
{
    std::vector< GroupVerdict > hits;
    PacketFindings findings;
    Finder finder( *this, packet, findings, hits );
    FindingsNoter noter( finder, findings );
    visitGroups( packet, findings, noter );
    return std::move( noter ).seen();
}

std::vector< uint8_t > PacketPath::keyOf( const Packet& packet ) const
{
    const PacketHeaders headers = readHeaders( packet.bytes );
    PacketFindings findings;
    std::vector< uint8_t > key( layout_.width() );
    const PacketView view{ numbering_, packet, headers, findings };
    layout_.write( view, key );
    classify( findings, view, key );
    return key;
}

std::optional< bcm_field_entry_t > PacketPath::findKey( bcm_field_group_t group,
                                                        std::span< const uint8_t > key ) const
{
    const auto found = groups_.find( group );
    const std::optional< uint32_t > best =
        found == groups_.end() ? std::nullopt : found->second.index.find( key );
    return best ? std::optional( entryOf( *best ) ) : std::nullopt;
}

std::vector< bcm_field_group_t > PacketPath::groups() const
{
    std::vector< bcm_field_group_t > all;
    for ( const auto* group : order_ ) {
        all.push_back( group->first );
    }
    return all;
}

std::optional< bool > PacketPath::selects( bcm_field_presel_t preselector,
                                           const Packet& packet ) const
{
    const auto found = chip_.field().preselectors().state().find( preselector );
    if ( found == chip_.field().preselectors().state().end() ) {
        return std::nullopt;
    }
    const PacketHeaders headers = readHeaders( packet.bytes );
    const PacketFindings findings = findingsOf( packet, headers );
    return mismatchesOf( found->second, chip_, { numbering_, packet, headers, findings } ).empty();
}

std::size_t PacketPath::memory() const
{
    std::size_t bytes = 0;
    for ( const auto& [ id, group ] : groups_ ) {
        bytes += group.index.memory();
    }
    return bytes;
}

// ---- Sending ---------------------------------------------------------------------------------

/// Does with a packet what the entries that it hits want.
class PacketPath::Sender
{
  public:
    Sender( PacketPath& path, const Packet& packet, PacketVerdict& verdict )
        : path_( path )
        , packet_( packet )
        , incoming_( path.incomingColor( packet ) )
        , verdict_( verdict )
    {
        verdict_.color = incoming_;
    }

    void looked( bcm_field_group_t group, std::optional< bcm_field_entry_t > entry )
    {
        GroupVerdict hit{ group, entry, incoming_ };
        if ( entry ) {
            const FieldEntry& held = path_.held_.at( *entry );
            hit.color = path_.meter( held, packet_, incoming_ );
            addActions( verdict_.fate, decidedBefore_, path_.numbering_, *entry, held, hit.color );
            path_.chip_.count( *entry, { 1, packet_.wireLength, hit.color } );
        }
        verdict_.color = std::max( verdict_.color, hit.color );
        verdict_.groups.push_back( hit );
    }

    void stageEnds()
    {
        decidedBefore_ = verdict_.fate.actions.size();
        conclude( verdict_.fate );
        verdict_.findings.drop = verdict_.fate.dropped;
    }

  private:
    PacketPath& path_;
    const Packet& packet_;
    TrafficColor incoming_;
    PacketVerdict& verdict_;
    std::size_t decidedBefore_ = 0;
};

PacketVerdict PacketPath::send( const Packet& packet )
{
    PacketVerdict verdict;
    Sender sender( *this, packet, verdict );
    visitGroups( packet, verdict.findings, sender );
    sender.stageEnds();
    return verdict;
}

TrafficColor PacketPath::incomingColor( const Packet& packet ) const
{
    const auto given = packet.given.find( numbering_.bcmFieldQualifyColor );
    return given == packet.given.end() || given->second > 2
               ? TrafficColor::green
               : static_cast< TrafficColor >( given->second );
}

TrafficColor
PacketPath::meter( const FieldEntry& entry, const Packet& packet, TrafficColor incoming )
{
    if ( entry.policers.empty() ) {
        return incoming;
    }
    TrafficColor color = TrafficColor::green;
    for ( const auto& [ level, policerId ] : entry.policers ) {
        const auto policer = chip_.policers().state().find( policerId );
        if ( policer == chip_.policers().state().end() ) {
            continue;
        }
        const MeterConfig config = meterConfigOf( policer->second, numbering_ );
        RunningMeter& running = meters_[ policerId ];
        const uint64_t serial = chip_.policers().serialOf( policerId );
        if ( running.serial != serial || running.config != config ) {
            running = { serial, config, {} };
        }
        color = std::max( color, Sim::meter( config, running.state, packet.timestamp,
                                             packet.wireLength, incoming ) );
    }
    return color;
}

} // namespace Sim
