#include "reference/RuleFlags.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"

namespace Reference {

using PeloraTcam::FieldIpType;
using PeloraTcam::QualifierType;

namespace {

// Protocol numbers of the registry of the Internet.
constexpr Agent::U8 icmp = 1;
constexpr Agent::U8 tcp = 6;
constexpr Agent::U8 icmp6 = 58;

constexpr unsigned bitsOfByte = 8;
constexpr Agent::U16 lowByte = 0x00FF;

} // namespace

bool isUnmatchable( std::string_view refusal )
{
    return refusal == noTcpFlags || refusal == flagsOfSeveralProtocols ||
           refusal == flagsOfNoPacket;
}

FlagsMatch flagsMatch( Masked< Agent::U8 > protocol, Masked< Agent::U16 > flags, bool isV6 )
{
    if ( flags.mask == 0 ) {
        return {};
    }
    if ( protocol.mask != 0xFF ) {
        return { flagsOfSeveralProtocols, std::nullopt };
    }
    const Masked< Agent::U32 > all{ Agent::U32{ flags.value } & flags.mask, flags.mask };
    if ( protocol.value == tcp ) {
        if ( ( flags.mask & lowByte ) != 0 ) {
            return { noTcpFlags, std::nullopt };
        }
        const Masked< Agent::U32 > high{ all.value >> bitsOfByte, all.mask >> bitsOfByte };
        return { {}, QualifierMatch{ QualifierType::tcpControl, high } };
    }
    if ( protocol.value == ( isV6 ? icmp6 : icmp ) ) {
        return { {}, QualifierMatch{ QualifierType::icmpTypeCode, all } };
    }
    const bool areZero = all.value == 0;
    return { areZero ? std::string_view() : flagsOfNoPacket, std::nullopt };
}

QualifierMatch everyPacketOfIp( bool isV6 )
{
    const FieldIpType type = isV6 ? FieldIpType::ipv6Any : FieldIpType::ipv4Any;
    const auto value = static_cast< Agent::U32 >( PeloraTcam::getBcmIpType( type ) );
    return { QualifierType::ipType, SdkEnumerator{ value } };
}

} // namespace Reference
