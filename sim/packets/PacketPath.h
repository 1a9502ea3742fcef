#pragma once

/// The way of packets through a chip's field processor.
///
/// A packet's headers are read. The compression tables give it its classes: in each table the best
/// entry that matches. Then come the stages: lookup, ingress, egress. In a stage all groups look at
/// the packet, each finds the best entry that matches, and what all of these do is merged; an
/// entry's policers give the packet a colour for its actions and counters.
///
/// - The best entry of a group is that of the greatest priority, of equal ones the one that was
///   made first.
/// - The better of two groups of a stage is that of the greater priority, of equal ones that of the
///   smaller id.
/// - Of several policers of an entry the worst colour counts.
/// - A group looks at packets of its packet type only.
///
/// These rules are assumptions of this model, and so is that a compression table's class stands in
/// the class field of the key that the reference agent uses for it.
///
/// What a packet meets is what the hardware holds: an entry that was changed and not installed
/// again matches as it was. The answer is that of comparing the entries one after the other; it is
/// found with an index, which follows each change of an entry.
///
/// `send` is for one thread at a time, with no SDK call going on. The others change nothing: any
/// number of threads may look up at once while no SDK call goes on.
///
///     Sim::PacketPath path( *sdk.chip( 0 ), sdk.numbering() );
///     const Sim::PacketVerdict verdict = path.send( packet );

#include "sim/chip/SimulatedChip.h"
#include "sim/packets/KeyLayout.h"
#include "sim/packets/Meter.h"
#include "sim/packets/PacketActions.h"
#include "sim/packets/TernaryIndex.h"

#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Sim {

/// What a group did with a packet.
struct GroupVerdict
{
    bcm_field_group_t group = 0;
    std::optional< bcm_field_entry_t > entry; ///< the best that matched
    TrafficColor color = TrafficColor::green; ///< what its policers made of the packet

    [[nodiscard]] bool operator==( const GroupVerdict& ) const = default;
};

/// What a chip did with a packet.
struct PacketVerdict
{
    std::vector< GroupVerdict > groups;       ///< that looked at the packet, in their order
    PacketFindings findings;                  ///< at the end
    TrafficColor color = TrafficColor::green; ///< the worst that a policer gave
    PacketFate fate;
};

/// The data path of a chip; see the top of this header.
class PacketPath : private HardwareListener
{
  public:
    /// The chip and its numbering must outlive this.
    PacketPath( SimulatedChip& chip, const SdkNumbering& numbering );
    ~PacketPath() override;
    PacketPath( const PacketPath& ) = delete;
    PacketPath& operator=( const PacketPath& ) = delete;

    /// Sends a packet through the chip: policers meter it and counters count it.
    PacketVerdict send( const Packet& packet );

    /// The entries that a packet hits, in the order of `PacketVerdict::groups`. Nothing is metered
    /// or counted.
    [[nodiscard]] std::vector< GroupVerdict > find( const Packet& packet ) const;

    /// The same, for those who send many: writes to `hits`, whose memory is used again.
    void find( const Packet& packet, std::vector< GroupVerdict >& hits ) const;

    /// The groups that have entries in the hardware, by stage and, within it, the best first,
    /// without the compression groups.
    [[nodiscard]] std::vector< bcm_field_group_t > groups() const;

    /// Whether a preselector selects the packet. Nothing if there is no such preselector.
    [[nodiscard]] std::optional< bool > selects( bcm_field_presel_t preselector,
                                                 const Packet& packet ) const;

    /// The classes that the compression tables give a packet, by class field.
    [[nodiscard]] PacketFindings findingsOf( const Packet& packet,
                                             const PacketHeaders& headers ) const;

    /// The same as each group of `find( packet )` sees it: with what earlier stages have decided.
    [[nodiscard]] std::vector< PacketFindings > findingsByGroup( const Packet& packet ) const;

    /// The key that groups look up for a packet; and the best entry of a group for a key.
    [[nodiscard]] std::vector< uint8_t > keyOf( const Packet& packet ) const;
    [[nodiscard]] std::optional< bcm_field_entry_t >
    findKey( bcm_field_group_t group, std::span< const uint8_t > key ) const;

    /// Bytes of memory that the indexes take.
    [[nodiscard]] std::size_t memory() const;

    [[nodiscard]] const SimulatedChip& chip() const { return chip_; }

    [[nodiscard]] const SdkNumbering& numbering() const { return numbering_; }

  private:
    /// A group's entries in the hardware.
    struct Group
    {
        explicit Group( std::size_t keyWidth )
            : index( keyWidth )
        {}

        /// The class field that its classes stand in, of a compression group.
        std::optional< std::size_t > classField;
        unsigned stage = 0; ///< their order
        int priority = 0;
        bcm_field_group_packet_type_t packetType{};
        TernaryIndex index;
    };

    /// A meter, and what it was made for.
    struct RunningMeter
    {
        uint64_t serial = 0; ///< of the policer
        MeterConfig config;
        MeterState state;
    };

    void installed( bcm_field_entry_t entry, const FieldEntry& what ) override;
    void removed( bcm_field_entry_t entry ) override;
    void replaced() override;
    void add( bcm_field_entry_t entry, const FieldEntry& what );
    void take( bcm_field_entry_t entry );
    void loadAll();
    [[nodiscard]] Group& groupFor( bcm_field_group_t group );
    void sortGroups();
    [[nodiscard]] unsigned stageOf( const bcm_field_group_config_t& config ) const;
    [[nodiscard]] bool looksAt( const Group& group, const PacketHeaders& headers ) const;
    void
    classify( PacketFindings& findings, const PacketView& view, std::span< uint8_t > key ) const;
    template< class Visitor >
    void visitGroups( const Packet& packet, PacketFindings& findings, Visitor& visitor ) const;
    [[nodiscard]] TrafficColor
    meter( const FieldEntry& entry, const Packet& packet, TrafficColor incoming );
    [[nodiscard]] TrafficColor incomingColor( const Packet& packet ) const;
    class Finder;
    class FindingsNoter;
    class Sender;

    SimulatedChip& chip_;
    const SdkNumbering& numbering_;
    KeyLayout layout_;
    std::map< bcm_field_group_t, Group > groups_; ///< that have entries in the hardware
    std::vector< const std::pair< const bcm_field_group_t, Group >* > order_; ///< they sorted
    std::vector< const Group* > compression_;                  ///< those of them that give classes
    std::unordered_map< bcm_field_entry_t, FieldEntry > held_; ///< what the indexes hold
    std::map< bcm_policer_t, RunningMeter > meters_;
};

} // namespace Sim
