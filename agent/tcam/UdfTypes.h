#pragma once

/// User-defined fields as the agent describes them: the request, ids, lists and shared records.
///
/// A user-defined field (UDF) lets an ACL match on bytes of the packet that no fixed qualifier
/// covers. The agent describes one by a `UdfDesc` and gets back a list of ids that serve as
/// qualifiers. All types here are values, except `PktFmtIdToUdfId`, which is shared by `Ptr`. None
/// is guarded against threads: they are used under the activity lock.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"
#include "agent/base/RingPacker.h"
#include "agent/tcam/EnumeratorNames.h"
#include "agent/tcam/SortedIds.h"

#include <map>
#include <ostream>
#include <string_view>
#include <utility>

namespace PeloraTcam {

/// The point of the packet from which a UDF's offset counts.
enum UdfOffsetBase : Agent::U32
{
    UdfBasePacketStart_ = 0,
    UdfBaseL2Header_ = 1,
    UdfBaseL3Header_ = 2,
    UdfBaseL3OuterHeader_ = 3,
    UdfBaseL3OuterPayload_ = 4, ///< behind an outer IP header without options
    UdfBaseL3InnerHeader_ = 5,
    UdfBaseL4InnerHeader_ = 6,
    UdfBaseL4OuterHeader_ = 7,
    UdfBaseL4OuterPayload_ = 8, ///< behind an outer TCP header without options, or UDP header
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< UdfOffsetBase >
{
    static constexpr std::string_view enumeration = "UdfOffsetBase"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "UdfBasePacketStart_", 0 },    { "UdfBaseL2Header_", 1 },
        { "UdfBaseL3Header_", 2 },       { "UdfBaseL3OuterHeader_", 3 },
        { "UdfBaseL3OuterPayload_", 4 }, { "UdfBaseL3InnerHeader_", 5 },
        { "UdfBaseL4InnerHeader_", 6 },  { "UdfBaseL4OuterHeader_", 7 },
        { "UdfBaseL4OuterPayload_", 8 },
    };
};

/// Prints the enumerator, or "UdfOffsetBase(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, UdfOffsetBase base );
/// Packs the enumerator as text.
AGENT_EXPORT void packForRing( Agent::RingPacker& packer, UdfOffsetBase base );

/// What asks for a UDF.
enum class UdfAppType : Agent::U8
{
    ipv4Acl = 0,
    ipv6Acl = 1,
    macAcl = 2,
    ipv4TrafficPolicy = 3,
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< UdfAppType >
{
    static constexpr std::string_view enumeration = "UdfAppType"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "ipv4Acl", 0 },
        { "ipv6Acl", 1 },
        { "macAcl", 2 },
        { "ipv4TrafficPolicy", 3 },
    };
};

/// Prints the enumerator, or "UdfAppType(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, UdfAppType appType );

/// A request for a UDF.
class AGENT_EXPORT UdfDesc
{
  public:
    /// Mask bytes of the LAG hash by byte index; indices 0 to 3 count, a missing one means 0.
    using LagHashingMask = std::map< Agent::U8, Agent::U8 >;

    /// The point from which the offset counts.
    [[nodiscard]] UdfOffsetBase base() const { return base_; }

    /// The outer EtherType of the packets; 0 for none.
    [[nodiscard]] Agent::U16 ethType() const { return ethType_; }

    /// The EtherType of what a GRE packet carries; 0 for packets without a tunnel.
    [[nodiscard]] Agent::U16 innerEtherType() const { return innerEtherType_; }

    /// What asks for the UDF.
    [[nodiscard]] UdfAppType appType() const { return appType_; }

    /// The IP protocol of the packets; 0 for any.
    [[nodiscard]] Agent::U8 ipProto() const { return ipProto_; }

    /// Bytes from the base.
    [[nodiscard]] Agent::U8 offset() const { return offset_; }

    /// Bytes to extract.
    [[nodiscard]] Agent::U8 length() const { return length_; }

    /// The priority of a packet format created for this UDF; 0 for the SDK's default.
    [[nodiscard]] Agent::U8 priority() const { return priority_; }

    /// The mask bytes of the LAG hash as they were set.
    [[nodiscard]] const LagHashingMask& lagHashingMask() const { return lagHashingMask_; }

    /// Whether the UDF also feeds the LAG hash.
    [[nodiscard]] bool lagHashing() const { return lagHashing_; }

    /// The mask byte of an index; 0 if there is none.
    [[nodiscard]] Agent::U8 lagHashingMaskByte( Agent::U8 index ) const;

    /// The mask bytes 0 to 3 as one number, byte 0 the most significant.
    [[nodiscard]] Agent::U32 packedLagHashingMask() const;

    // Each sets what the accessor of its name gives. Nothing is judged here: what a value out of
    // place does, the functions say that program the UDF.

    void baseIs( UdfOffsetBase base ) { base_ = base; }

    void ethTypeIs( Agent::U16 ethType ) { ethType_ = ethType; }

    void innerEtherTypeIs( Agent::U16 ethType ) { innerEtherType_ = ethType; }

    void appTypeIs( UdfAppType appType ) { appType_ = appType; }

    void ipProtoIs( Agent::U8 protocol ) { ipProto_ = protocol; }

    void offsetIs( Agent::U8 bytes ) { offset_ = bytes; }

    void lengthIs( Agent::U8 bytes ) { length_ = bytes; }

    void priorityIs( Agent::U8 priority ) { priority_ = priority; }

    void lagHashingMaskIs( const LagHashingMask& mask ) { lagHashingMask_ = mask; }

    void lagHashingIs( bool lagHashing ) { lagHashing_ = lagHashing; }

    friend bool operator==( const UdfDesc&, const UdfDesc& ) = default;
    friend auto operator<=>( const UdfDesc&, const UdfDesc& ) = default;

  private:
    UdfOffsetBase base_ = UdfBasePacketStart_;
    Agent::U16 ethType_ = 0;
    Agent::U16 innerEtherType_ = 0;
    UdfAppType appType_ = UdfAppType::ipv4Acl;
    Agent::U8 ipProto_ = 0;
    Agent::U8 offset_ = 0;
    Agent::U8 length_ = 0;
    Agent::U8 priority_ = 0;
    LagHashingMask lagHashingMask_;
    bool lagHashing_ = false;
};

/// Prints all fields.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const UdfDesc& desc );
/// Packs all fields: appType, ethType, base, ipProto, innerEtherType, offset, length, the packed
/// LAG-hashing mask, priority.
AGENT_EXPORT void packForRing( Agent::RingPacker& packer, const UdfDesc& desc );

/// A signed 32-bit id of an SDK object, as the agent hands it around. -1 means none.
template< class Tag >
class SdkObjectId
{
  public:
    constexpr SdkObjectId() = default;

    /// The id of that number.
    constexpr explicit SdkObjectId( Agent::S32 value )
        : value_( value )
    {}

    /// The number.
    [[nodiscard]] constexpr Agent::S32 value() const { return value_; }

    friend constexpr bool operator==( SdkObjectId, SdkObjectId ) = default;
    friend constexpr auto operator<=>( SdkObjectId, SdkObjectId ) = default;

    friend constexpr bool operator==( SdkObjectId id, Agent::S32 value )
    {
        return id.value_ == value;
    }

    /// Prints the number.
    friend std::ostream& operator<<( std::ostream& stream, SdkObjectId id )
    {
        return stream << id.value_;
    }

    /// Packs the number.
    friend void packForRing( Agent::RingPacker& packer, SdkObjectId id )
    {
        Agent::packForRing( packer, id.value_ );
    }

  private:
    Agent::S32 value_ = -1;
};

/// The id of an SDK UDF.
using UdfId = SdkObjectId< struct UdfIdTag >;
/// The id of an SDK UDF packet format.
using PktFmtId = SdkObjectId< struct PktFmtIdTag >;

/// The ids that stand for one UDF qualifier; iterated in ascending order. Empty: not programmed.
class AGENT_EXPORT QualIdList
{
  public:
    using value_type = Agent::U32;
    using const_iterator = SortedIds< Agent::U32 >::const_iterator;

    /// Adds an id; one that is there already stays once.
    void qualIdIs( Agent::U32 id ) { ids_.insert( id ); }

    /// Whether the id is in the list.
    [[nodiscard]] bool qualIdHas( Agent::U32 id ) const { return ids_.contains( id ); }

    /// How many ids there are.
    [[nodiscard]] std::size_t qualIds() const { return ids_.size(); }

    /// Takes all ids out.
    void clear() { ids_.clear(); }

    [[nodiscard]] const_iterator begin() const { return ids_.begin(); }

    [[nodiscard]] const_iterator end() const { return ids_.end(); }

    friend bool operator==( const QualIdList&, const QualIdList& ) = default;

  private:
    SortedIds< Agent::U32 > ids_;
};

/// Prints "{1, 2}".
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const QualIdList& quals );
/// Packs the ids.
AGENT_EXPORT void packForRing( Agent::RingPacker& packer, const QualIdList& quals );

/// A set of UDFs; iterated in ascending order.
class AGENT_EXPORT UdfIdList
{
  public:
    using value_type = UdfId;
    using const_iterator = SortedIds< UdfId >::const_iterator;

    /// Adds an id; one that is there already stays once.
    void udfIdIs( UdfId id ) { ids_.insert( id ); }

    /// Takes an id out, if it is there.
    void udfIdDel( UdfId id ) { ids_.erase( id ); }

    /// Whether the id is in the list.
    [[nodiscard]] bool udfIdHas( UdfId id ) const { return ids_.contains( id ); }

    /// How many UDFs there are.
    [[nodiscard]] std::size_t udfIds() const { return ids_.size(); }

    [[nodiscard]] const_iterator begin() const { return ids_.begin(); }

    [[nodiscard]] const_iterator end() const { return ids_.end(); }

    friend bool operator==( const UdfIdList&, const UdfIdList& ) = default;

  private:
    SortedIds< UdfId > ids_;
};

/// The index of a hardware UDF chunk, 0 to 15.
using UdfChunkPos = Agent::U8;

/// A set of chunks; iterated in ascending order.
class AGENT_EXPORT UdfChunkPosList
{
  public:
    using value_type = UdfChunkPos;
    using const_iterator = SortedIds< UdfChunkPos >::const_iterator;

    /// Adds a position; one that is there already stays once.
    void udfChunkPosIs( UdfChunkPos pos ) { positions_.insert( pos ); }

    /// Whether the position is in the list.
    [[nodiscard]] bool udfChunkPosHas( UdfChunkPos pos ) const
    {
        return positions_.contains( pos );
    }

    /// How many chunks there are.
    [[nodiscard]] std::size_t udfChunkPositions() const { return positions_.size(); }

    [[nodiscard]] const_iterator begin() const { return positions_.begin(); }

    [[nodiscard]] const_iterator end() const { return positions_.end(); }

    friend bool operator==( const UdfChunkPosList&, const UdfChunkPosList& ) = default;

  private:
    SortedIds< UdfChunkPos > positions_;
};

/// What the creation of one UDF has made so far: what is undone when it fails.
struct UdfHwProgrammingFootprint
{
    /// The packet format created or chosen; none until then.
    PktFmtId pktFmtId;
    /// The UDFs created.
    QualIdList udfIds;
};

/// Which UDFs are attached to which packet format: the only record of which packet formats this
/// agent made and shares. Iterated in ascending order of the packet formats.
class AGENT_EXPORT PktFmtIdToUdfId : public Agent::SharedValue< PktFmtIdToUdfId >
{
  public:
    /// References that keep the map alive, the second one to read only.
    using Ptr = Agent::Ptr< PktFmtIdToUdfId >;
    using PtrConst = Agent::Ptr< const PktFmtIdToUdfId >;

    /// Sets or replaces the UDFs of a packet format.
    void pktFmtIdToUdfIdIs( PktFmtId pktFmtId, const UdfIdList& udfs )
    {
        udfs_.insert_or_assign( pktFmtId, udfs );
    }

    /// The same, for a list that is not needed any more.
    void pktFmtIdToUdfIdIs( PktFmtId pktFmtId, UdfIdList&& udfs )
    {
        udfs_.insert_or_assign( pktFmtId, std::move( udfs ) );
    }

    /// Removes the entry of a packet format; nothing if it has none.
    void pktFmtIdToUdfIdDel( PktFmtId pktFmtId ) { udfs_.erase( pktFmtId ); }

    /// Whether a packet format has an entry, be it an empty one.
    [[nodiscard]] bool pktFmtIdToUdfIdHas( PktFmtId pktFmtId ) const
    {
        return udfs_.contains( pktFmtId );
    }

    /// The UDFs of a packet format; none if it is unknown. Valid until its entry is changed.
    [[nodiscard]] const UdfIdList& pktFmtIdToUdfId( PktFmtId pktFmtId ) const
    {
        const auto found = udfs_.find( pktFmtId );
        return found == udfs_.end() ? none_ : found->second;
    }

    /// How many packet formats there are.
    [[nodiscard]] std::size_t pktFmtIds() const { return udfs_.size(); }

    [[nodiscard]] auto begin() const { return udfs_.begin(); }

    [[nodiscard]] auto end() const { return udfs_.end(); }

    /// The first entry behind that packet format, which need not be there itself: so entries may
    /// come and go while one iterates.
    [[nodiscard]] auto after( PktFmtId pktFmtId ) const { return udfs_.upper_bound( pktFmtId ); }

  private:
    std::map< PktFmtId, UdfIdList > udfs_;
    UdfIdList none_; // What an unknown packet format has.
};

} // namespace PeloraTcam
