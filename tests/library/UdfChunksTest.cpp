// What the two flexible-parser paths share: counts and texts of chunks, and the kind of packet that
// a descriptor asks for.

#include "PeloraTcam/UdfChunks.h"

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

TEST( UdfChunksTest, ChunksNeeded_ByTheByte_IsOneForTwoRoundedUp )
{
    const Agent::U32 expected[] = { 0, 1, 1, 2, 2, 3, 3, 4, 4 };
    for ( Agent::U32 bytes = 0; bytes < 9; ++bytes ) {
        EXPECT_EQ( PeloraTcam::chunksNeeded( bytes ), expected[ bytes ] ) << bytes;
    }
    EXPECT_EQ( PeloraTcam::chunksNeeded( 255 ), 128U );
}

/// A helper class, and the names of its formats.
struct Sdk6Class
{
    using Parser = Sdk6Parser;
    static constexpr const char* source = "PeloraTcam/PeloraTcamUdfSdk6Helper.cpp";
    static constexpr auto make = PeloraTcam::udfFlexParserHelperFactory;
};

struct HsdkClass
{
    using Parser = HsdkParser;
    static constexpr const char* source = "PeloraTcam/PeloraTcamUdfHsdkHelper.cpp";
    static constexpr auto make = PeloraTcam::udfFlexParserHsdkHelperFactory;
};

template< class Class >
class GetPktFmtTest : public FlexParserScene< typename Class::Parser >
{
  protected:
    using Parser = typename Class::Parser;

    /// What becomes of a descriptor: the format that is used, or how the process ends.
    std::string outcomeOf( unsigned appType, Agent::U16 ethType )
    {
        UdfDesc desc = udfDescOf( 2, 2 );
        desc.appTypeIs( static_cast< UdfAppType >( appType ) );
        desc.ethTypeIs( ethType );
        if ( const std::string dies = expectedEnd( appType, ethType ); !dies.empty() ) {
            return endOf( desc );
        }
        const auto helper = Class::make( this->unit, 0, false );
        this->sdk.clear();
        const QualIdList quals = helper->programUdfInHw( desc );
        const std::string format = this->formatAsked();
        helper->removeUdfFromHw( desc, quals );
        return format;
    }

    /// The assertion that ends programming, or "an SDK call" if one is made before.
    std::string endOf( const UdfDesc& desc )
    {
        const auto say = []( auto&&... ) {
            std::fprintf( stderr, "an SDK call" );
            return 0;
        };
        this->sdk.on.bcm_udf_abstract_pkt_format_info_get = say;
        this->sdk.on.bcm_udf_multi_abstract_pkt_format_info_get = say;
        const ChildRun run =
            runInChild( [ & ] { Class::make( this->unit, 0, false )->programUdfInHw( desc ); } );
        this->sdk.on.bcm_udf_abstract_pkt_format_info_get = nullptr;
        this->sdk.on.bcm_udf_multi_abstract_pkt_format_info_get = nullptr;
        EXPECT_TRUE( run.aborted );
        const std::size_t first = run.errors.find( '`' );
        return run.errors.starts_with( "an SDK call" )
                   ? "an SDK call"
                   : run.errors.substr( first + 1, run.errors.rfind( '\'' ) - first - 1 );
    }

    static std::string expectedEnd( unsigned appType, Agent::U16 ethType )
    {
        if ( appType > 3 ) {
            return "Specified invalid appType";
        }
        return appType == 2 && ethType == 0x0800 ? "Cannot specify ethertype ip with mac ACL" : "";
    }

    static std::string expected( unsigned appType, Agent::U16 ethType )
    {
        if ( const std::string end = expectedEnd( appType, ethType ); !end.empty() ) {
            return end;
        }
        if ( appType == 0 || appType == 3 ) {
            return Parser::ipv4Format;
        }
        if ( appType == 1 || ethType == 0x86DD ) {
            return "bcmUdfAbstractPktFormatL3Ipv6";
        }
        return ethType == 0x0806 ? Parser::arpFormat : "bcmUdfAbstractPktFormatUnknownL3";
    }
};

using Classes = ::testing::Types< Sdk6Class, HsdkClass >;
TYPED_TEST_SUITE( GetPktFmtTest, Classes );

// 0x88B5 is one for local experiments.
TYPED_TEST( GetPktFmtTest, GetPktFmt_EveryPair_ChoosesOneOfTheLibrarysFormatsOrDies )
{
    for ( unsigned appType = 0; appType <= 5; ++appType ) {
        for ( const Agent::U16 ethType : std::initializer_list< Agent::U16 >{
                  0, 0x0800, 0x0806, 0x86DD, 0x8847, 0x8100, 0x88B5, 0xFFFF } ) {
            SCOPED_TRACE( std::to_string( appType ) + " with " + std::to_string( ethType ) );
            EXPECT_EQ( this->outcomeOf( appType, ethType ), this->expected( appType, ethType ) );
        }
    }
}

TYPED_TEST( GetPktFmtTest, GetPktFmt_BadDescriptor_DiesInTheSourceOfTheHelper )
{
    const auto helper = TypeParam::make( this->unit, 0, false );
    const SdkCallSite getPktFmt{ TypeParam::source, "getPktFmt", "" };
    UdfDesc desc = udfDescOf( 2, 2 );
    desc.appTypeIs( UdfAppType::macAcl );
    this->expectAssertion( getPktFmt, "Cannot specify ethertype ip with mac ACL",
                           [ & ] { helper->programUdfInHw( desc ); } );
    desc.appTypeIs( static_cast< UdfAppType >( 4 ) );
    this->expectAssertion( getPktFmt, "Specified invalid appType",
                           [ & ] { helper->removeUdfFromHw( desc, qualsOf( { 1 } ) ); } );
}

} // namespace
} // namespace LibraryTest
