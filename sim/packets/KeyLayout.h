#pragma once

/// Where each qualifier stands in the keys that a chip's groups look up, and how an entry and a
/// packet are written in that layout.
///
/// One layout serves all groups of a chip; what no entry asks for costs nothing. Numbers and runs
/// of bytes stand in the order of the packet's bytes, ports as one bit a port of which a packet has
/// the one it came in by. What is no ternary match by itself is one bit: whether the packet's value
/// is in a range, is one of an enumerator's, or is there at all. Bits of ranges and enumerators,
/// and the places of user-defined fields, are given out as entries ask for them.
///
/// Entries are added and removed by one thread at a time; packets are written by any thread while
/// none is.

#include "sim/chip/SimulatedChip.h"
#include "sim/packets/PacketFields.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Sim {

/// Gives out places 0, 1, 2 ... to what is used, each for as long as it is.
template< class What >
class UsedPlaces
{
  public:
    /// What is used, with its place.
    struct Use
    {
        unsigned place = 0;
        unsigned count = 0; ///< how many times
    };

    /// At most so many.
    explicit UsedPlaces( unsigned capacity )
        : capacity_( capacity )
    {}

    /// The place of what is used once more now; nothing if all places are taken.
    std::optional< unsigned > take( const What& what )
    {
        const auto found = uses_.find( what );
        if ( found != uses_.end() ) {
            ++found->second.count;
            return found->second.place;
        }
        if ( free_.empty() && uses_.size() == capacity_ ) {
            return std::nullopt;
        }
        auto place = static_cast< unsigned >( uses_.size() );
        if ( !free_.empty() ) {
            place = free_.back();
            free_.pop_back();
        }
        uses_.emplace( what, Use{ place, 1 } );
        return place;
    }

    /// Ends one use.
    void giveBack( const What& what )
    {
        const auto found = uses_.find( what );
        if ( --found->second.count == 0 ) {
            free_.push_back( found->second.place );
            uses_.erase( found );
        }
    }

    [[nodiscard]] const std::map< What, Use >& uses() const { return uses_; }

  private:
    unsigned capacity_;
    std::map< What, Use > uses_;
    std::vector< unsigned > free_;
};

/// A ternary entry in the layout: data and mask of the key's width.
struct TernaryKey
{
    std::vector< uint8_t > data; ///< bits that the mask has not are 0
    std::vector< uint8_t > mask;
};

/// The layout of a chip's keys; see the top of this header.
class KeyLayout
{
  public:
    /// The most enumerators that entries of a chip can ask for at a time: more than the SDK has for
    /// the named qualifiers.
    static constexpr unsigned mostNames = 256;

    /// The chip and its numbering must outlive this.
    KeyLayout( const SimulatedChip& chip, const SdkNumbering& numbering );

    /// Bytes of a key.
    [[nodiscard]] std::size_t width() const { return width_; }

    /// What an entry asks for, in the layout; places of its own are taken for it.
    [[nodiscard]] TernaryKey added( const FieldCriteria& criteria );

    /// Gives back what was taken for an entry. `criteria` is what it was added with.
    void removed( const FieldCriteria& criteria );

    /// Writes anew what depends on what was found out about the packet since.
    void writeFindings( const PacketView& view, std::span< uint8_t > key ) const;

    /// Writes the key of a packet. `key` has the layout's width; what no entry asks for is not
    /// written.
    void write( const PacketView& view, std::span< uint8_t > key ) const;

  private:
    /// A field of a fixed place, and how many entries ask for it.
    struct Fixed
    {
        bcm_field_qualify_t qualifier{};
        const NumberField* number = nullptr; ///< one of the two
        const BytesField* bytes = nullptr;
        std::size_t offset = 0;
        unsigned entries = 0;
    };

    /// An enumerator that an entry asks for.
    struct Name
    {
        bcm_field_qualify_t qualifier{};
        NamedValue value;

        friend bool operator<( const Name& left, const Name& right )
        {
            return left.qualifier != right.qualifier ? left.qualifier < right.qualifier
                                                     : left.value.number < right.value.number;
        }
    };

    /// A range that entries ask for.
    struct UsedRange
    {
        unsigned place = 0;
        bcm_range_config_t range;
    };

    [[nodiscard]] Fixed* findFixed( bcm_field_qualify_t qualifier );
    void addMatch( bcm_field_qualify_t qualifier, const FieldMatch& match, TernaryKey& key );
    void addNumber( Fixed& field, const MaskedNumber& match, TernaryKey& key ) const;
    void addBytes( const Fixed& field, const MaskedBytes& match, TernaryKey& key ) const;
    void addPresence( FieldPresence presence, TernaryKey& key ) const;
    void addPorts( const MaskedPorts& match, TernaryKey& key ) const;
    void addUdf( unsigned place, const MaskedBytes& match, TernaryKey& key ) const;
    void listUsed();
    void writeUdf( bcm_udf_id_t udfId,
                   unsigned place,
                   const PacketView& view,
                   std::span< uint8_t > key ) const;

    const SimulatedChip& chip_;
    const SdkNumbering& numbering_;
    std::vector< Fixed > fixed_;
    std::vector< const Fixed* > used_;     ///< those of fixed_ that entries ask for
    std::vector< const Fixed* > findings_; ///< those of them that are of findings
    UsedPlaces< uint32_t > ranges_;
    std::vector< UsedRange > usedRanges_; ///< they as the chip has them
    UsedPlaces< Name > names_;
    UsedPlaces< bcm_udf_id_t > udfs_;
    unsigned entriesWithPorts_ = 0;
    std::size_t portsAt_ = 0;
    std::size_t presenceAt_ = 0;
    std::size_t rangesAt_ = 0;
    std::size_t namesAt_ = 0;
    std::size_t udfPresenceAt_ = 0;
    std::size_t udfsAt_ = 0;
    std::size_t width_ = 0;
};

} // namespace Sim
