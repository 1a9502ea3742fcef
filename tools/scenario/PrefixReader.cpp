#include "tools/scenario/PrefixReader.h"

#include "input/IpPrefixReader.h"

namespace Tool {

Reference::IpPrefix readPrefix( const Input::YamlNode& node )
{
    const Input::IpPrefix prefix = Input::readIpPrefix( node );
    if ( prefix.isV6 ) {
        return { PeloraTcam::IpAddress::v6( prefix.bytes ), prefix.length };
    }
    Agent::U32 address = 0;
    for ( std::size_t index = 0; index < 4; ++index ) {
        address = address << 8 | prefix.bytes[ index ];
    }
    return { PeloraTcam::IpAddress::v4( address ), prefix.length };
}

} // namespace Tool
