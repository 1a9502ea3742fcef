#include "tests/soak/CompressionSteps.h"

namespace Soak {

using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using Reference::CompressionRoom;

namespace {

constexpr std::size_t mostUsers = 160;

} // namespace

CompressionSteps::User CompressionSteps::anyValue()
{
    constexpr std::array< Table, 6 > tables = { Table::etherType, Table::ipProto, Table::l4SrcPort,
                                                Table::l4DstPort, Table::srcIp,   Table::dstIp };
    const Table table = choices.oneOf( tables );
    if ( table != Table::srcIp && table != Table::dstIp ) {
        return { table, CompressionKey( choices.below( 24 ) * 11 ) };
    }
    const auto network = static_cast< Agent::U8 >( choices.below( 4 ) );
    if ( choices.below( 2 ) == 0 ) {
        const Agent::U32 address = 0x0A000000U | Agent::U32{ network } << 16;
        return { table, CompressionKey( IpAddress::v4( address ), choices.below( 33 ) ) };
    }
    return { table, CompressionKey( IpAddress::v6( { 0x20, network } ), choices.below( 129 ) ) };
}

void CompressionSteps::acquire()
{
    const User value = anyValue();
    std::optional< Agent::U32 > wanted;
    if ( choices.oneIn( 8 ) ) {
        wanted = 1 + choices.below( 300 );
    }
    Reference::CompressionManager& manager = *agent.compression;
    const std::optional< Agent::U32 > earlier = manager.classId( value.table, value.key );
    const bool hasRoom = manager.room( value.table ) == CompressionRoom::free;
    std::optional< Agent::U32 > id;
    const Outcome outcome = trouble.run( { .throwing = 1 }, [ & ] {
        id = manager.acquire( value.table, value.key, wanted );
        return id.has_value();
    } );
    if ( outcome == Outcome::refused ) {
        require( wanted.has_value() || ( !earlier && !hasRoom ),
                 "there is one while there is room" );
    }
    if ( outcome == Outcome::done ) {
        require( !earlier || *id == *earlier, "equal values share a class" );
        require( !wanted || *id == *wanted, "a class that is asked for is given" );
        users_.push_back( value );
    }
}

void CompressionSteps::release( const User& user )
{
    trouble.finish( { .throwing = 2, .undone = false },
                    [ & ] { return agent.compression->release( user.table, user.key ); } );
}

void CompressionSteps::step()
{
    const bool mayHaveMore = users_.size() < mostUsers;
    if ( users_.empty() || ( mayHaveMore && choices.below( 2 ) == 0 ) ) {
        return acquire();
    }
    release( taken( users_, choices.positionIn( users_ ) ) );
}

void CompressionSteps::audit()
{
    agent.compression->audit();
}

void CompressionSteps::releaseAll()
{
    while ( !users_.empty() ) {
        release( taken( users_, users_.size() - 1 ) );
    }
}

} // namespace Soak
