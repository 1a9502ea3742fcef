/// An agent in one file: it loads the library and programs one of everything into a simulated chip,
/// compares it with the chip where the library can, and takes it all back. In a switch, a class
/// that forwards to the chip vendor's SDK stands in the place of `Sim::SimulatedSdk`.

#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "agent/tcam/CounterEvictionSdk.h"
#include "agent/tcam/InitFuncs.h"
#include "sdk/SdkCall.h"
#include "sim/SimulatedSdk.h"

#include <iostream>

namespace {

using namespace PeloraTcam;

constexpr int unit = 0;
constexpr Agent::U8 pipe = 0;
constexpr FapId chip( unit );
constexpr LogicalGroupId logicalGroup = 7;
constexpr unsigned counterBits = 36; // of the simulated chip

// Every file that calls the SDK has one; the calls below are traced through it.
const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

void useRangeChecker()
{
    const Agent::Ptr< PeloraTcamSdk6RangeCheckerHelper > helper(
        new PeloraTcamSdk6RangeCheckerHelper( pipe, chip, { "simulated" } ) );
    const RangeCheckerDesc ephemeralPorts{ 1024, 65535, RangeType::l4SrcPort };
    const RangeCheckerId id = helper->getRangeChecker( ephemeralPorts );
    if ( id == invalidRangeCheckerId ) {
        std::cout << "no range checker is left\n";
        return;
    }
    helper->verifyTcamSanity(
        Agent::Ptr< const RangeCheckerData >( new RangeCheckerData( ephemeralPorts, id ) ) );
    std::cout << "range checker " << id << ": " << ephemeralPorts << '\n';
    helper->releaseRangeChecker( id );
}

void usePolicer()
{
    const Agent::Ptr< PeloraTcamSdk6PolicerHelper > helper(
        new PeloraTcamSdk6PolicerHelper( pipe, chip ) );
    const Policer policer{ .committedRate = 10'000, .committedBurst = 64 };
    const PolicerId id = helper->getPolicer( policer, stageIfp() );
    helper->verifyTcamSanity( Agent::Ptr< const PolicerData >( new PolicerData( policer, id ) ) );
    std::cout << "policer " << id << ": " << policer.committedRate << " kbit/s\n";
    helper->releasePolicer( id, stageIfp() );
}

void useCompressionEntry()
{
    const auto helper = peloraTcamSdk6CompressionHelperFactory( pipe, chip );
    const CompressionData customers( CompressionKey( IpAddress::v4( 0xC6336400 ), 24 ) );
    const U64 id =
        helper->getFieldCompressionEntry( customers, 3, PeloraCompressionTableType::srcIp );
    std::cout << "compression entry " << id << ": " << customers << " is class 3\n";
    helper->releaseFieldCompressionEntry( id, PeloraCompressionTableType::srcIp );
}

void useUserDefinedField()
{
    const auto helper = udfModuleHelperFactory( unit, pipe, true );
    UdfDesc tcpWindow;
    tcpWindow.baseIs( UdfBaseL4OuterHeader_ );
    tcpWindow.ethTypeIs( 0x0800 );
    tcpWindow.ipProtoIs( 6 );
    tcpWindow.offsetIs( 14 );
    tcpWindow.lengthIs( 2 );
    const QualIdList quals = helper->programUdfInHw( tcpWindow );
    helper->verifyProgrammedUdf( tcpWindow, quals );
    std::cout << "user-defined field " << quals << ": the TCP window\n";
    helper->removeUdfFromHw( tcpWindow, quals );
}

/// The library translates what the group matches and does; the agent makes the SDK call.
bcm_field_group_t createGroup()
{
    bcm_field_group_config_t config;
    Shim::sdk().bcm_field_group_config_t_init( &config );
    config.group =
        static_cast< bcm_field_group_t >( generateSdk6GroupIdFormat( logicalGroup, pipe ) );
    config.qset = getBcmQualifierSet( { QualifierType::srcIp, QualifierType::dstIp } );
    Shim::sdk().BCM_FIELD_QSET_ADD( &config.qset, Shim::sdk().bcmFieldQualifyStageIngress() );
    config.aset = getBcmActionSet( { ActionType::drop } );
    config.mode = getBcmTcamKeySize( TcamKeySize::doubleWide, stageIfp(), false );
    SDK_CHECKED_CALL( bcm_field_group_config_create, unit, &config );
    return config.group;
}

void useCounter( TcamEntryId entry )
{
    const auto helper = peloraTcamSdk6CounterHelperFactory( pipe, unit, PeloraCentral::ChipInfo() );
    const CounterSet wanted{ { CounterType::packets, true } };
    const CounterInfo counter =
        helper->allocateCounter( stageIfp(), logicalGroup, entry, wanted, 0 );
    if ( counter.counterId == 0 ) {
        std::cout << "no counter is left\n";
        return;
    }
    std::cout << "statistic " << counter.statId << ": " << helper->getPacketHits( counter )
              << " packets\n";
    helper->freeCounter( counter.stage, counter.logicalGroupId, counter.entryId, counter, 0 );
}

void useGroup()
{
    initializeBcmQualifierMap();
    initializeBcmActionMap();
    const bcm_field_group_t group = createGroup();
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL( bcm_field_entry_create, unit, group, &entry );
    std::cout << "group " << group << ", entry " << entry << '\n';
    useCounter( static_cast< TcamEntryId >( entry ) );
    SDK_CHECKED_CALL( bcm_field_entry_destroy, unit, entry );
    SDK_CHECKED_CALL( bcm_field_group_destroy, unit, group );
}

} // namespace

int main()
{
    Sim::SimulatedSdk simulated;
    simulated.chipIs( unit, Sim::builtInProfile( "sdk6-udf" ) );

    // Counters that are narrower than 64 bits are accumulated by a service of the agent.
    const Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction(
        new PeloraTcamSdk6CounterEvictionHelper( counterBits ) );
    registeredInitFuncIs( baseSdk6InitFuncName,
                          Agent::Ptr< BaseSdk6InitFunc >( new BaseSdk6InitFunc( eviction ) ) );
    CounterEvictionSdk sdk( simulated, eviction );
    Shim::sdk_ = &sdk;

    const Agent::LockAnchor working( Agent::activityLock() );
    useRangeChecker();
    usePolicer();
    useCompressionEntry();
    useUserDefinedField();
    useGroup();
}
