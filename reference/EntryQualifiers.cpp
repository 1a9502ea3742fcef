#include "reference/EntryQualifiers.h"

#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>

namespace Reference {

using PeloraTcam::QualifierType;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

constexpr Agent::U32 classMask = 0xFFFF;

/// Which class field of the key holds the class that a table gives.
struct ClassField
{
    Table table;
    QualifierType qualifier;
    uint32_t bcm_field_src_class_t::*field;
};

constexpr std::array< ClassField, 6 > classFields{ {
    { Table::srcIp, QualifierType::srcClassField, &bcm_field_src_class_t::src_class_field },
    { Table::dstIp, QualifierType::dstClassField, &bcm_field_src_class_t::dst_class_field },
    { Table::etherType, QualifierType::interfaceClassL2, &bcm_field_src_class_t::intf_class_l2 },
    { Table::ipProto, QualifierType::interfaceClassL3, &bcm_field_src_class_t::intf_class_l3 },
    { Table::l4SrcPort, QualifierType::interfaceClassPort,
      &bcm_field_src_class_t::intf_class_port },
    { Table::l4DstPort, QualifierType::interfaceClassVPort,
      &bcm_field_src_class_t::intf_class_vport },
} };

const ClassField& classFieldOf( Table table )
{
    const auto* found = std::ranges::find( classFields, table, &ClassField::table );
    AGENT_ASSERT( found != classFields.end() && "there is no such table" );
    return *found;
}

/// All classes of an entry as the SDK takes them: in one call.
struct ClassRecords
{
    explicit ClassRecords( const TableClasses& classes )
    {
        for ( const auto& [ table, classId ] : classes ) {
            const ClassField& place = classFieldOf( table );
            data.*place.field = classId;
            mask.*place.field = classMask;
        }
    }

    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;
};

bool isSame( const bcm_field_src_class_t& left, const bcm_field_src_class_t& right )
{
    return std::ranges::all_of( classFields, [ & ]( const ClassField& place ) {
        return left.*place.field == right.*place.field;
    } );
}

/// Writes qualifiers one after the other until one is refused.
class QualifierWriter
{
  public:
    QualifierWriter( int unit, bcm_field_entry_t entry )
        : unit_( unit )
        , entry_( entry )
    {}

    [[nodiscard]] const SdkRefusal& refusal() const { return refusal_; }

    void source( const IpPrefix& prefix )
    {
        if ( prefix.address.isV6() ) {
            const Ip6Value ip6( prefix );
            const int rc =
                SDK_TRACED_CALL( bcm_field_qualify_SrcIp6, unit_, entry_, ip6.data, ip6.mask );
            return note( "bcm_field_qualify_SrcIp6", rc );
        }
        const Masked< bcm_ip_t > ip = ip4Value( prefix );
        const int rc = SDK_TRACED_CALL( bcm_field_qualify_SrcIp, unit_, entry_, ip.value, ip.mask );
        note( "bcm_field_qualify_SrcIp", rc );
    }

    void destination( const IpPrefix& prefix )
    {
        if ( prefix.address.isV6() ) {
            const Ip6Value ip6( prefix );
            const int rc =
                SDK_TRACED_CALL( bcm_field_qualify_DstIp6, unit_, entry_, ip6.data, ip6.mask );
            return note( "bcm_field_qualify_DstIp6", rc );
        }
        const Masked< bcm_ip_t > ip = ip4Value( prefix );
        const int rc = SDK_TRACED_CALL( bcm_field_qualify_DstIp, unit_, entry_, ip.value, ip.mask );
        note( "bcm_field_qualify_DstIp", rc );
    }

    void etherType( Masked< Agent::U16 > type )
    {
        const int rc =
            SDK_TRACED_CALL( bcm_field_qualify_EtherType, unit_, entry_, type.value, type.mask );
        note( "bcm_field_qualify_EtherType", rc );
    }

    void protocol( Masked< Agent::U8 > protocol )
    {
        const int rc = SDK_TRACED_CALL( bcm_field_qualify_IpProtocol, unit_, entry_, protocol.value,
                                        protocol.mask );
        note( "bcm_field_qualify_IpProtocol", rc );
    }

    void sourcePort( Masked< Agent::U16 > port )
    {
        const int rc =
            SDK_TRACED_CALL( bcm_field_qualify_L4SrcPort, unit_, entry_, port.value, port.mask );
        note( "bcm_field_qualify_L4SrcPort", rc );
    }

    void destinationPort( Masked< Agent::U16 > port )
    {
        const int rc =
            SDK_TRACED_CALL( bcm_field_qualify_L4DstPort, unit_, entry_, port.value, port.mask );
        note( "bcm_field_qualify_L4DstPort", rc );
    }

    void range( const EntryRange& range )
    {
        const int rc = SDK_TRACED_CALL( bcm_field_qualify_RangeCheck, unit_, entry_, range.id,
                                        range.outside ? 1 : 0 );
        note( "bcm_field_qualify_RangeCheck", rc );
    }

    void classes( const TableClasses& classes )
    {
        ClassRecords records( classes );
        const int rc = SDK_TRACED_CALL( bcm_field_qualify_SrcClass, unit_, entry_, &records.data,
                                        &records.mask );
        note( "bcm_field_qualify_SrcClass", rc );
    }

    void other( const QualifierMatch& match ) { refusal_ = writeMatch( unit_, entry_, match ); }

    [[nodiscard]] bool goesOn() const { return refusal_.rc >= 0; }

  private:
    void note( std::string_view function, int rc )
    {
        if ( rc < 0 ) {
            refusal_ = { function, rc };
        }
    }

    const int unit_;
    const bcm_field_entry_t entry_;
    SdkRefusal refusal_;
};

} // namespace

TableClasses::TableClasses( std::initializer_list< Row > rows )
{
    for ( const auto& [ table, classId ] : rows ) {
        emplace( table, classId );
    }
}

void TableClasses::emplace( Table table, Agent::U32 classId )
{
    Row* const last = rows_.data() + count_;
    Row* place = last; // Mostly it belongs behind the others.
    while ( place != rows_.data() && std::prev( place )->first >= table ) {
        --place;
    }
    if ( place != last && place->first == table ) {
        return;
    }
    AGENT_ASSERT( count_ < rows_.size() && "there are no more tables" );
    std::move_backward( place, last, last + 1 );
    *place = { table, classId };
    ++count_;
}

void TableClasses::erase( Table table )
{
    Row* const last = rows_.data() + count_;
    Row* const place = std::ranges::find( rows_.data(), last, table, &Row::first );
    if ( place != last ) {
        std::move( place + 1, last, place );
        --count_;
    }
}

QualifierType classQualifier( Table table )
{
    return classFieldOf( table ).qualifier;
}

SdkRefusal qualifyEntry( int unit, bcm_field_entry_t entry, const EntryQualifiers& qualifiers )
{
    QualifierWriter writer( unit, entry );
    const auto write = [ & ]( const auto& wanted, auto operation ) {
        if ( wanted && writer.goesOn() ) {
            ( writer.*operation )( *wanted );
        }
    };
    write( qualifiers.source, &QualifierWriter::source );
    write( qualifiers.destination, &QualifierWriter::destination );
    write( qualifiers.etherType, &QualifierWriter::etherType );
    write( qualifiers.protocol, &QualifierWriter::protocol );
    write( qualifiers.sourcePort, &QualifierWriter::sourcePort );
    write( qualifiers.destinationPort, &QualifierWriter::destinationPort );
    for ( const EntryRange& range : qualifiers.ranges ) {
        if ( writer.goesOn() ) {
            writer.range( range );
        }
    }
    if ( !qualifiers.classes.empty() && writer.goesOn() ) {
        writer.classes( qualifiers.classes );
    }
    for ( const QualifierMatch& match : qualifiers.others ) {
        if ( writer.goesOn() ) {
            writer.other( match );
        }
    }
    return writer.refusal();
}

namespace {

void verifyRanges( int unit,
                   bcm_field_entry_t entry,
                   const std::vector< EntryRange >& expected,
                   const StillSeen& stillSeen )
{
    constexpr int most = 8;
    std::array< Agent::U32, most > ids{};
    std::array< int, most > inverts{};
    int actual = 0;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_RangeCheck_get, unit, entry, most,
                          ids.data(), inverts.data(), &actual ) ) {
        return;
    }
    std::set< EntryRange > inHardware;
    for ( int i = 0; i < std::min( actual, most ); ++i ) {
        const auto position = static_cast< std::size_t >( i );
        inHardware.insert( { ids[ position ], inverts[ position ] != 0 } );
    }
    const std::set< EntryRange > wanted( expected.begin(), expected.end() );
    AGENT_ASSERT( inHardware == wanted && "ranges of the entry differ" );
}

void verifyClasses( int unit,
                    bcm_field_entry_t entry,
                    const TableClasses& expected,
                    const StillSeen& stillSeen )
{
    const ClassRecords wanted( expected );
    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_SrcClass_get, unit, entry, &data, &mask ) ) {
        return;
    }
    AGENT_ASSERT( isSame( data, wanted.data ) && isSame( mask, wanted.mask ) );
}

} // namespace

void verifyQualifiers( int unit,
                       bcm_field_entry_t entry,
                       const EntryQualifiers& qualifiers,
                       const StillSeen& stillSeen )
{
    const auto verify = [ & ]( const auto& wanted, auto operation ) {
        if ( wanted ) {
            operation( unit, entry, *wanted, stillSeen );
        }
    };
    verify( qualifiers.source, &verifySource );
    verify( qualifiers.destination, &verifyDestination );
    verify( qualifiers.etherType, &verifyEtherType );
    verify( qualifiers.protocol, &verifyProtocol );
    verify( qualifiers.sourcePort, &verifySourcePort );
    verify( qualifiers.destinationPort, &verifyDestinationPort );
    verifyRanges( unit, entry, qualifiers.ranges, stillSeen );
    verifyClasses( unit, entry, qualifiers.classes, stillSeen );
    for ( const QualifierMatch& match : qualifiers.others ) {
        verifyMatch( unit, entry, match, stillSeen );
    }
}

} // namespace Reference
