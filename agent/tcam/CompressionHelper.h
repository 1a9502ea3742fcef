#pragma once

/// Field compression as the agent sees it, and the helper that programs it.
///
/// A compression table maps a wide match field to a small class id, which the main TCAM groups
/// then match in its place. Each table has a group of its own in the chip, created by the agent
/// under a fixed id. The agent's compression manager owns the keys and class ids and calls a
/// helper.

#include "agent/base/Export.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/EnumeratorNames.h"
#include "agent/tcam/IpAddress.h"
#include "agent/tcam/TcamTypes.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// The field that a table compresses.
enum class PeloraCompressionTableType : U8
{
    invalid = 0,
    etherType = 1,
    ipProto = 2,
    l4SrcPort = 3,
    l4DstPort = 4,
    srcIp = 5,
    dstIp = 6,
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< PeloraCompressionTableType >
{
    /// The name of the type.
    static constexpr std::string_view enumeration = "PeloraCompressionTableType";
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "invalid", 0 },   { "etherType", 1 }, { "ipProto", 2 }, { "l4SrcPort", 3 },
        { "l4DstPort", 4 }, { "srcIp", 5 },     { "dstIp", 6 },
    };
};

/// Prints the name, or "PeloraCompressionTableType(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, PeloraCompressionTableType type );

// The ids of the compression groups.

/// The SDK's id of the group that compresses source ports.
constexpr bcm_field_group_t compressionGroupL4SrcPort()
{
    return 241;
}

/// The SDK's id of the group that compresses destination ports.
constexpr bcm_field_group_t compressionGroupL4DstPort()
{
    return 242;
}

/// The SDK's id of the group that compresses source addresses.
constexpr bcm_field_group_t compressionGroupSrcIp()
{
    return 243;
}

/// The SDK's id of the group that compresses destination addresses.
constexpr bcm_field_group_t compressionGroupDstIp()
{
    return 244;
}

/// The SDK's id of the group that compresses IP protocols.
constexpr bcm_field_group_t compressionGroupIpProto()
{
    return 245;
}

/// The SDK's id of the group that compresses EtherTypes.
constexpr bcm_field_group_t compressionGroupEtherType()
{
    return 246;
}

/// A value to compress: a number, or an IP prefix.
class AGENT_EXPORT CompressionKey
{
  public:
    /// A key of one of the four scalar tables.
    explicit CompressionKey( U32 value );
    /// A key of one of the two IP tables: an address and the length of its prefix in bits.
    CompressionKey( const IpAddress& address, U32 prefixLength );

    /// The number; 0 for a prefix.
    [[nodiscard]] U32 getU32Key() const { return value_; }

    /// The address of a prefix.
    [[nodiscard]] const IpAddress& getIpAddress() const { return address_; }

    /// The length of the prefix in bits.
    [[nodiscard]] U32 prefixLength() const { return prefixLength_; }

    friend bool operator==( const CompressionKey&, const CompressionKey& ) = default;
    friend auto operator<=>( const CompressionKey&, const CompressionKey& ) = default;

  private:
    bool isPrefix_;
    U32 value_ = 0;
    IpAddress address_;
    U32 prefixLength_ = 0;

    friend AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const CompressionKey& key );
};

/// The agent's description of one value to compress.
class AGENT_EXPORT CompressionData
{
  public:
    /// A value; the key says for which table.
    explicit CompressionData( const CompressionKey& key )
        : key_( key )
    {}

    /// The value.
    [[nodiscard]] const CompressionKey& key() const { return key_; }

    friend bool operator==( const CompressionData&, const CompressionData& ) = default;

  private:
    CompressionKey key_;
};

/// Prints the key: a number, or "192.0.2.0/24".
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const CompressionData& data );

/// The interface of the compression helpers. Its operations are called with the agent's activity
/// lock held, and release it while they call the SDK. Attributes: "fapId", "pipeId".
class AGENT_EXPORT PeloraTcamCompressionHelperBase : public Agent::Node
{
  public:
    ~PeloraTcamCompressionHelperBase() override;

    /// Slot 5: creates an entry that gives packets with that value the class id, 32 bits, and
    /// gives the entry's SDK id, sign-extended. A failure of the SDK is fatal.
    virtual U64 getFieldCompressionEntry( const CompressionData& compressionData,
                                          U64 classId,
                                          PeloraCompressionTableType tableType ) = 0;
    /// Slot 6: takes an entry out of the hardware; `id` is what `getFieldCompressionEntry` gave. A
    /// failure of the SDK is fatal.
    virtual void releaseFieldCompressionEntry( U64 id, PeloraCompressionTableType tableType ) = 0;
    /// Slot 7: called once the helper's attributes are set.
    virtual void handleInitialized() = 0;

    /// The pipe.
    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    /// The chip.
    [[nodiscard]] FapId fapId() const { return fapId_; }

    /// Serves the reading of "fapId" and "pipeId".
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

  protected:
    /// `pipeId`: the chip's pipe; `fapId`: the chip.
    PeloraTcamCompressionHelperBase( U8 pipeId, FapId fapId );

  private:
    U8 pipeId_;
    FapId fapId_;
};

} // namespace PeloraTcam
