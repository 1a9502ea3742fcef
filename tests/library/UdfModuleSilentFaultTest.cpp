// What the SDK says it did and did not, and what it reads back and is not so: which of these the
// library notices, at the latest in an audit, and which it does not and is not meant to.

#include "tests/library/UdfScene.h"

namespace LibraryTest {
namespace {

constexpr SdkCallSite verifySite{ udfSource, "PeloraTcam::udfQualProgrammedInHwUdfModule", "" };
constexpr SdkCallSite verifyHashSite{
    udfSource,
    "PeloraTcam::udfLagHashingProgrammedInModule",
    "bcm_udf_hash_config_get( unit, &hash_config )",
};
constexpr SdkCallSite removeSite{ udfSource, "PeloraTcam::destroyUdfQualifierUdfModule", "" };

constexpr SdkCallSite cleanupSite( const char* text )
{
    return { udfSource, "PeloraTcam::cleanupUdfModuleFootprint", text };
}

constexpr const char* notFound = "Entry not found";
constexpr const char* busy = "Operation still running or object in use";

class UdfModuleSilentFaultTest : public UdfScene
{
  protected:
    void drop( const std::string& function )
    {
        faulty.addFromNow( { { .function = function }, Sim::DropCall{} } );
    }

    /// Only the next call's output is changed.
    void corruptOnce( const std::string& function, const std::string& output, uint64_t value )
    {
        faulty.addFromNow( { { .function = function }, Sim::CorruptOutput{ output, value } } );
    }

    void verifyHash( const UdfDesc& desc, const QualIdList& quals )
    {
        udfLagHashingProgrammedInModule( unit, quals, desc );
    }

    [[nodiscard]] const Sim::SimUdfModule::State& chip() const
    {
        return chips.chip( unit )->udfModule()->state();
    }

    void expectMismatch( const std::string& assertion, const QualIdList& quals )
    {
        expectAssertion( verifySite, assertion, [ & ] { verify( udfDescOf( 2, 2 ), quals ); } );
    }
};

// ---- Dropped writes of a creation --------------------------------------------------------------

TEST_F( UdfModuleSilentFaultTest, UdfDropped_EndsInTheCleanupOfTheAttachment )
{
    drop( "bcm_udf_create" );
    expectFatalCall( cleanupSite( "bcm_udf_destroy( unit, udfIdToCleanup )" ), -7, notFound,
                     [ & ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleSilentFaultTest, FormatDropped_EndsInTheCleanupOfTheAttachment )
{
    drop( "bcm_udf_pkt_format_create" );
    expectFatalCall( cleanupSite( "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup )" ), -7,
                     notFound, [ & ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleSilentFaultTest, AttachmentDropped_IsFoundByTheAudit )
{
    drop( "bcm_udf_pkt_format_add" );
    expectMismatch( "actual == 1", made( udfDescOf( 2, 2 ) ) );
}

TEST_F( UdfModuleSilentFaultTest, AttachmentToASharedFormatDropped_IsFoundByTheAudit )
{
    const QualIdList first = made( udfDescOf( 2, 2 ) );
    drop( "bcm_udf_pkt_format_add" );
    expectMismatch( "actual == 1", made( udfDescOf( 2, 2 ) ) );
    verify( udfDescOf( 2, 2 ), first );
}

TEST_F( UdfModuleSilentFaultTest, HashDropped_IsFoundByItsAuditAndItsInventory )
{
    drop( "bcm_udf_hash_config_add" );
    const QualIdList quals = made( lagDescOf() );
    expectFatalCall( verifyHashSite, -7, notFound, [ & ] { verifyHash( lagDescOf(), quals ); } );
    EXPECT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ), UdfIdList() );
    verify( lagDescOf(), quals ); // The audit of the UDF does not look at hash configurations.
}

// ---- Dropped writes of a removal ---------------------------------------------------------------

TEST_F( UdfModuleSilentFaultTest, HashRemovalDropped_EndsAtTheUdf )
{
    const QualIdList quals = made( lagDescOf() );
    drop( "bcm_udf_hash_config_delete" );
    expectFatalCall( { udfSource, removeSite.function, "bcm_udf_destroy( unit, udfId )" }, -10,
                     busy, [ & ] { destroy( lagDescOf(), quals ); } );
}

TEST_F( UdfModuleSilentFaultTest, DetachmentDropped_EndsAtTheFormatOrElseAtTheUdf )
{
    const QualIdList first = made( udfDescOf( 2, 2 ) );
    drop( "bcm_udf_pkt_format_delete" );
    expectFatalCall(
        { udfSource, removeSite.function, "bcm_udf_pkt_format_destroy( unit, pktFmtId )" }, -10,
        busy, [ & ] { destroy( udfDescOf( 2, 2 ), first ); } );
    faulty.clearFaults();
    const QualIdList second = made( udfDescOf( 4, 2 ) );
    drop( "bcm_udf_pkt_format_delete" );
    expectFatalCall( { udfSource, removeSite.function, "bcm_udf_destroy( unit, udfId )" }, -10,
                     busy, [ & ] { destroy( udfDescOf( 4, 2 ), second ); } );
}

TEST_F( UdfModuleSilentFaultTest, UdfDestructionDropped_IsFoundInTheInventory )
{
    const QualIdList quals = made();
    drop( "bcm_udf_destroy" );
    destroy( udfDescOf(), quals );
    EXPECT_EQ( mapText(), "" );
    EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), udfsOf( { 1 } ) );
}

// Formats have no inventory: one that stays is lost until the chip is reset, and costs room.
TEST_F( UdfModuleSilentFaultTest, FormatDestructionDropped_IsNotNoticed )
{
    const QualIdList quals = made();
    drop( "bcm_udf_pkt_format_destroy" );
    destroy( udfDescOf(), quals );
    EXPECT_EQ( mapText(), "" );
    EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), UdfIdList() );
    EXPECT_EQ( chip().pktFormats.size(), 1U );
    const QualIdList again = made();
    verify( udfDescOf(), again );
    EXPECT_EQ( chip().pktFormats.size(), 2U ) << "the lost one is not shared";
}

// ---- Ids read back that are not so -------------------------------------------------------------

TEST_F( UdfModuleSilentFaultTest, WrongUdfIdFromCreate_EndsInTheCleanup )
{
    corruptOnce( "bcm_udf_create", "udfId", 77 );
    expectFatalCall( cleanupSite( "bcm_udf_destroy( unit, udfIdToCleanup )" ), -7, notFound,
                     [ & ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleSilentFaultTest, WrongFormatIdFromCreate_EndsInTheCleanup )
{
    corruptOnce( "bcm_udf_pkt_format_create", "formatId", 77 );
    expectFatalCall( cleanupSite( "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup )" ), -7,
                     notFound, [ & ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleSilentFaultTest, WrongFormatInARemoval_EndsAtTheDetachment )
{
    const QualIdList quals = made();
    corruptOnce( "bcm_udf_pkt_format_get_all", "formatIds", 77 );
    expectFatalCall(
        { udfSource, removeSite.function, "bcm_udf_pkt_format_delete( unit, udfId, pktFmtId )" },
        -7, notFound, [ & ] { destroy( udfDescOf(), quals ); } );
}

// ---- What an audit reads back ------------------------------------------------------------------

/// One output of a call that the audit of a UDF makes.
struct ReadBack
{
    const char* function;
    const char* output;
    uint64_t value;
    const char* assertion;
};

// A layer that there is not makes the longest assertion of all; it stands in UdfModuleVerifyTest.
TEST_F( UdfModuleSilentFaultTest, Audit_EachOutputItLooksAt_IsFound )
{
    const QualIdList quals = made( udfDescOf( 2, 2 ) );
    UdfDesc other = udfDescOf( 2, 2 );
    other.ipProtoIs( 17 );
    made( other );
    constexpr const char* read = "bcm_udf_get";
    constexpr const char* readFormats = "bcm_udf_pkt_format_get_all";
    const std::vector< ReadBack > cases = {
        { read, "width", 0, "udf.width() == ( length * 8 )" },
        { read, "width", 15, "udf.width() == ( length * 8 )" },
        { read, "width", 17, "udf.width() == ( length * 8 )" },
        { read, "start", 0, "udf.start() == ( offset * 8 )" },
        { read, "start", 15, "udf.start() == ( offset * 8 )" },
        { read, "start", 17, "udf.start() == ( offset * 8 )" },
        { readFormats, "actual", 0, "actual == 1" },
        { readFormats, "actual", 2, "actual == 1" },
        { readFormats, "formatIds", 0, "pktFmtId[ 0 ]" },
        { readFormats, "formatIds", 3, "pktFmtIdToUdfId->pktFmtIdToUdfIdHas( fmtId )" },
        { readFormats, "formatIds", 2, "udfs.udfIdHas( id )" },
    };
    for ( const ReadBack& wrong : cases ) {
        SCOPED_TRACE( std::string( wrong.output ) + " " + std::to_string( wrong.value ) );
        faulty.clearFaults();
        corruptOnce( wrong.function, wrong.output, wrong.value );
        expectMismatch( wrong.assertion, quals );
    }
}

// The chunks are the SDK's own business, and any layer will do that a base could have meant.
TEST_F( UdfModuleSilentFaultTest, Audit_OutputsItDoesNotLookAt_Pass )
{
    const QualIdList quals = made( udfDescOf( 2, 2 ) );
    corruptOnce( "bcm_udf_get", "hw_bmap", 0 );
    verify( udfDescOf( 2, 2 ), quals );
    corruptOnce( "bcm_udf_get", "layer", sdk.bcmUdfLayerL4InnerHeader() );
    verify( udfDescOf( 2, 2 ), quals );
    EXPECT_EQ( sdk.countOf( "bcm_udf_get" ), 2U );
}

TEST_F( UdfModuleSilentFaultTest, HashAudit_EachOutputItLooksAt_IsFound )
{
    const QualIdList quals = made( lagDescOf() );
    const auto audit = [ & ] { verifyHash( lagDescOf(), quals ); };
    corruptOnce( "bcm_udf_hash_config_get", "hash_mask", 0xFE );
    expectAssertion( verifyHashSite, "lagHashingMask == hash_mask", audit );
    faulty.clearFaults();
    corruptOnce( "bcm_udf_hash_config_get", "mask_length", 4 );
    expectAssertion( verifyHashSite, "udfDesc.length() == hash_config.mask_length()", audit );
}

// It asked for the configuration of that UDF; whose the answer says it is does not matter.
TEST_F( UdfModuleSilentFaultTest, HashAudit_IdThatItDoesNotLookAt_Passes )
{
    const QualIdList quals = made( lagDescOf() );
    corruptOnce( "bcm_udf_hash_config_get", "udf_id", 77 );
    verifyHash( lagDescOf(), quals );
    EXPECT_EQ( sdk.countOf( "bcm_udf_hash_config_get" ), 1U );
}

// ---- Packet formats ----------------------------------------------------------------------------

TEST_F( UdfModuleSilentFaultTest, FormatReadsBackChanged_EachMemberThatCounts_IsNotShared )
{
    for ( const char* member : { "ethertype", "ethertype_mask", "l2", "vlan_tag", "outer_ip",
                                 "tunnel", "ip_protocol", "ip_protocol_mask", "inner_ip" } ) {
        SCOPED_TRACE( member );
        const QualIdList first = made( udfDescOf( 2, 2 ) );
        corruptOnce( "bcm_udf_pkt_format_info_get", member, 99 );
        const QualIdList second = made( udfDescOf( 2, 2 ) );
        EXPECT_EQ( formats->pktFmtIds(), 2U );
        faulty.clearFaults();
        destroy( udfDescOf( 2, 2 ), first );
        destroy( udfDescOf( 2, 2 ), second );
    }
    corruptOnce( "bcm_udf_pkt_format_info_get", "prio", 99 );
    made( udfDescOf( 2, 2 ) );
    made( udfDescOf( 2, 2 ) );
    EXPECT_EQ( formats->pktFmtIds(), 1U ) << "the priority does not count";
}

// No audit reads a format back. A changed one is found when the next UDF looks for one to share.
TEST_F( UdfModuleSilentFaultTest, FormatChangedOnTheChip_PassesTheAuditAndIsNotShared )
{
    const QualIdList quals = made( udfDescOf( 2, 2 ) );
    Sim::SimUdfModule::State state = chip();
    state.pktFormats.at( 1 ).info.ip_protocolIs( 17 );
    chips.chip( unit )->udfModule()->stateIs( state );
    verify( udfDescOf( 2, 2 ), quals );
    made( udfDescOf( 2, 2 ) );
    EXPECT_EQ( mapText(), "1: 1; 2: 2" );
}

TEST_F( UdfModuleSilentFaultTest, UdfChangedOnTheChip_IsFoundByTheAudit )
{
    const QualIdList quals = made( udfDescOf( 2, 2 ) );
    Sim::SimUdfModule::State state = chip();
    state.udfs.at( 1 ).udf.startIs( 24 );
    chips.chip( unit )->udfModule()->stateIs( state );
    expectMismatch( "udf.start() == ( offset * 8 )", quals );
}

} // namespace
} // namespace LibraryTest
