#include "reference/QualifierMatch.h"

#include "tests/reference/TcamScene.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>

namespace Reference {
namespace {

using Agent::U32;
using Agent::U8;
using PeloraTcam::QualifierType;

constexpr int unit = TcamScene::unit;

std::string nameOf( QualifierType qualifier )
{
    return std::string( PeloraTcam::nameOfEnumerator( qualifier ) );
}

/// An SDK enumerator for each qualifier that has them.
std::string enumeratorFor( QualifierType qualifier )
{
    static const std::map< QualifierType, std::string > names = {
        { QualifierType::dropReason, "bcmFieldDropReasonUnknownVlan" },
        { QualifierType::forwardingType, "bcmFieldForwardingTypeMpls" },
        { QualifierType::fragType, "bcmFieldIpFragFirst" },
        { QualifierType::innerIpType, "bcmFieldIpTypeIpv6" },
        { QualifierType::ipType, "bcmFieldIpTypeIpv4Any" },
        { QualifierType::l2Format, "bcmFieldL2FormatSnap" },
        { QualifierType::l2PktType, "bcmFieldL2PktTypeMulticast" },
        { QualifierType::overlayL2PktType, "bcmFieldL2PktTypeUnicast" },
        { QualifierType::overlayPktType, "bcmFieldPktTypeBpdu" },
        { QualifierType::pktFwdType, "bcmFieldPktFwdTypeL2" },
        { QualifierType::pktType, "bcmFieldPktTypeControl" },
        { QualifierType::tnlType, "bcmFieldTunnelTypeGre" },
    };
    return names.at( qualifier );
}

/// A chip with a group of one qualifier, and an entry that asks for it.
class QualifierMatchTest : public ::testing::TestWithParam< QualifierForm >
{
  protected:
    QualifierMatchTest()
        : group( scene.madeGroup( { GetParam().qualifier } ) )
    {
        EXPECT_EQ( scene.chips.bcm_field_entry_create( unit, group, &entry ), 0 );
    }

    [[nodiscard]] const Sim::SdkNumbering& numbering() const { return scene.chips.numbering(); }

    [[nodiscard]] U32 number() const { return 0x5A5A5A5A & ones(); }

    [[nodiscard]] static U32 ones() { return 0xFFFFFFFF >> ( 32 - GetParam().bits ); }

    [[nodiscard]] U32 enumerator() const
    {
        return numbering().valueOf( enumeratorFor( GetParam().qualifier ) ).value();
    }

    [[nodiscard]] QualifierMatch sample() const
    {
        const QualifierType qualifier = GetParam().qualifier;
        switch ( GetParam().kind ) {
        case QualifierKind::number:
            return { qualifier, Masked< U32 >{ number(), ones() } };
        case QualifierKind::enumerator:
            return { qualifier, SdkEnumerator{ enumerator() } };
        case QualifierKind::bytes:
            break;
        }
        MaskedBytes bytes;
        bytes.length = static_cast< U8 >( GetParam().bits / 8 );
        for ( U8 index = 0; index < bytes.length; ++index ) {
            bytes.value[ index ] = static_cast< U8 >( 0x10 + index );
            bytes.mask[ index ] = 0xF7;
        }
        return { qualifier, bytes };
    }

    /// The sample as the chip must hold it, for the SDK's qualifier of the library's translation.
    [[nodiscard]] Sim::FieldMatch expectedOnChip() const
    {
        switch ( GetParam().kind ) {
        case QualifierKind::number:
            return Sim::MaskedNumber{ number(), ones() };
        case QualifierKind::enumerator:
            return Sim::NamedValue{ enumerator(), enumeratorFor( GetParam().qualifier ) };
        case QualifierKind::bytes:
            break;
        }
        Sim::MaskedBytes bytes;
        for ( unsigned index = 0; index < GetParam().bits / 8; ++index ) {
            bytes.data.push_back( static_cast< uint8_t >( 0x10 + index ) );
            bytes.mask.push_back( 0xF7 );
        }
        return bytes;
    }

    TcamScene scene{ "sdk6-udf" };
    bcm_field_group_t group;
    bcm_field_entry_t entry = 0;
};

INSTANTIATE_TEST_SUITE_P( All,
                          QualifierMatchTest,
                          ::testing::ValuesIn( qualifierForms().begin(), qualifierForms().end() ),
                          []( const auto& test ) { return nameOf( test.param.qualifier ); } );

TEST_P( QualifierMatchTest, Write_Value_IsOnTheChipForTheSdksQualifier )
{
    EXPECT_EQ( writeMatch( unit, entry, sample() ), SdkRefusal() );
    const auto& criteria = scene.chip().field().entries().find( entry )->criteria;
    ASSERT_EQ( criteria.matches().size(), 1U );
    const auto* match = criteria.match( PeloraTcam::getBcmQualifier( GetParam().qualifier ) );
    ASSERT_NE( match, nullptr );
    EXPECT_EQ( *match, expectedOnChip() );
    verifyMatch( unit, entry, sample() );
}

TEST_P( QualifierMatchTest, Write_InAGroupWithoutTheQualifier_IsRefused )
{
    GroupDesc desc;
    desc.qualifiers = { GetParam().qualifier == QualifierType::vrf ? QualifierType::ecn
                                                                   : QualifierType::vrf };
    bcm_field_entry_t other = 0;
    ASSERT_EQ(
        scene.chips.bcm_field_entry_create( unit, scene.groups.create( desc ).value(), &other ),
        0 );
    EXPECT_EQ( writeMatch( unit, other, sample() ),
               ( SdkRefusal{ GetParam().function, Sim::ReturnCode::BCM_E_PARAM } ) );
}

TEST_P( QualifierMatchTest, Verify_AnyOutputOfTheReadBackIsCorrupted_EndsTheProcess )
{
    ASSERT_EQ( writeMatch( unit, entry, sample() ), SdkRefusal() );
    const std::string function = std::string( GetParam().function ) + "_get";
    const Sim::SdkFunction* sdkFunction = Sim::findSdkFunction( function );
    ASSERT_NE( sdkFunction, nullptr );
    ASSERT_FALSE( sdkFunction->outputs.empty() );
    const U32 other = GetParam().kind == QualifierKind::enumerator ? enumerator() + 1 : 4;
    for ( const Sim::SdkOutput& output : sdkFunction->outputs ) {
        EXPECT_DEATH(
            {
                scene.nextCallIs( function, Sim::CorruptOutput{ output.name, other } );
                verifyMatch( unit, entry, sample() );
            },
            "Assertion .* failed" )
            << output.name;
    }
}

TEST_P( QualifierMatchTest, Verify_ReadBackFails_IsAFatalCall )
{
    ASSERT_EQ( writeMatch( unit, entry, sample() ), SdkRefusal() );
    const std::string function = std::string( GetParam().function ) + "_get";
    EXPECT_DEATH(
        {
            scene.nextCallIs( function, Sim::FailCall{ Sim::ReturnCode::BCM_E_INTERNAL } );
            verifyMatch( unit, entry, sample() );
        },
        function + "\\( unit, entry, .* \\) API ERROR:" );
}

TEST_P( QualifierMatchTest, Write_ValueOfAnotherKind_EndsTheProcess )
{
    const QualifierMatch wrong{ GetParam().qualifier, UdfBytes{} };
    EXPECT_DEATH( static_cast< void >( writeMatch( unit, entry, wrong ) ),
                  "the value is none of the qualifier's kind" );
}

// ---- The table -------------------------------------------------------------------------------

TEST( QualifierFormsTest, Rows_AreOneForEachQualifier )
{
    std::set< QualifierType > qualifiers;
    for ( const QualifierForm& form : qualifierForms() ) {
        EXPECT_TRUE( qualifiers.insert( form.qualifier ).second ) << nameOf( form.qualifier );
        EXPECT_EQ( findQualifierForm( form.qualifier ), &form );
    }
    EXPECT_EQ( findQualifierForm( QualifierType::stage ), nullptr );
}

/// The SDK functions that ask for one value, but for those that have no translated qualifier.
TEST( QualifierFormsTest, Rows_AreAllSdkFunctionsWhoseQualifierTheLibraryTranslates )
{
    const std::set< std::string > others = {
        // Several values, or of another kind.
        "bcm_field_qualify_RangeCheck", "bcm_field_qualify_SrcClass", "bcm_field_qualify_udf",
        "bcm_field_qualify_InPorts",
        // Not translated.
        "bcm_field_qualify_InnerTtl", "bcm_field_qualify_PacketLength" };
    std::set< std::string > expected;
    for ( const std::string& name : Sim::sdkFunctionNames() ) {
        if ( name.starts_with( "bcm_field_qualify_" ) && !name.ends_with( "_get" ) &&
             !others.contains( name ) ) {
            expected.insert( name );
        }
    }
    std::set< std::string > functions;
    for ( const QualifierForm& form : qualifierForms() ) {
        functions.emplace( form.function );
    }
    EXPECT_EQ( functions, expected );
}

/// RFC 2474, RFC 3168, RFC 791, RFC 8200, RFC 3032, RFC 7348, IEEE 802.1Q.
TEST( QualifierFormsTest, Bits_OfFieldsThatAreNoWholeBytes_AreThoseOfTheirStandards )
{
    const std::pair< QualifierType, unsigned > widths[] = {
        { QualifierType::dscp, 6 },          { QualifierType::innerDscp, 6 },
        { QualifierType::ecn, 2 },           { QualifierType::ipFlags, 3 },
        { QualifierType::ip6FlowLabel, 20 }, { QualifierType::mplsLabel, 20 },
        { QualifierType::outerVlanId, 12 },  { QualifierType::innerVlanId, 12 },
        { QualifierType::srcMac, 48 },       { QualifierType::srcIp6, 128 },
        { QualifierType::tcpControl, 8 },    { QualifierType::vxlanNetworkId, 24 },
    };
    for ( const auto& [ qualifier, bits ] : widths ) {
        EXPECT_EQ( findQualifierForm( qualifier )->bits, bits ) << nameOf( qualifier );
    }
}

TEST( QualifierFormsTest, Write_QualifierThatIsNotInTheTable_EndsTheProcess )
{
    EXPECT_DEATH( static_cast< void >( writeMatch( 0, 1, { QualifierType::stage, {} } ) ),
                  "no SDK function asks for the qualifier" );
}

} // namespace
} // namespace Reference
