#pragma once

/// What the tests of the flexible parser share. They run on both variants: `Parser` is
/// `Sdk6Parser` or `HsdkParser`, which say how the functions, SDK calls and texts of a variant are
/// called.

#include "PeloraTcam/PeloraTcamHsdkUdfEntryHelper.h"
#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "tests/library/UdfScene.h"

#include <bitset>
#include <set>

namespace LibraryTest {

using PeloraTcam::UdfAppType;
using PeloraTcam::UdfChunkPosList;

using Format = bcm_udf_abstract_pkt_format_t;

/// The functions of both variants: arguments and results are the same.
struct ParserFunctions
{
    using Create = QualIdList ( * )( Agent::U32, const UdfDesc&, Format );
    using Destroy = void ( * )( Agent::U32, const QualIdList&, Format );
    using CleanUp = QualIdList ( * )( int, const UdfHwProgrammingFootprint&, Format );
    using Verify = void ( * )( Agent::U32, const UdfDesc&, const QualIdList& );
    using List = UdfIdList ( * )( Agent::U32 );
    using Positions = UdfChunkPosList ( * )( Agent::U32, const QualIdList& );
    using Formats = const std::set< Format >& ( * )();
};

struct Sdk6Parser
{
    static constexpr bool isHsdk = false;
    static constexpr const char* profile = "sdk6-flex";
    static constexpr const char* source = "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.cpp";
    static constexpr const char* suffix = ""; ///< of the functions' names
    static constexpr const char* createCall = "bcm_udf_chunk_create";
    static constexpr const char* chunksCall = "bcm_udf_chunk_info_get";
    static constexpr const char* formatCall = "bcm_udf_abstract_pkt_format_info_get";
    static constexpr const char* chunksOutput = "chunk_bmap"; ///< of `chunksCall`
    static constexpr const char* ipv4Format = "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions";
    static constexpr const char* arpFormat = "bcmUdfAbstractPktFormatKnownNonIp";
    static constexpr ParserFunctions::Create create = PeloraTcam::createUdfQualifierFlexParser;
    static constexpr ParserFunctions::Destroy destroy = PeloraTcam::destroyUdfQualifierFlexParser;
    static constexpr ParserFunctions::CleanUp cleanUp = PeloraTcam::cleanupUdfFlexParserFootprint;
    static constexpr ParserFunctions::Verify verify = PeloraTcam::udfQualProgrammedInHwFlex;
    static constexpr ParserFunctions::List list = PeloraTcam::getAllProgrammedUdfIdsUdfFlexParser;
    static constexpr ParserFunctions::Positions positions = PeloraTcam::getUdfChunkPosFlexParser;
    static constexpr ParserFunctions::Formats formats = PeloraTcam::udfAbstractPktFmt;
};

struct HsdkParser
{
    static constexpr bool isHsdk = true;
    static constexpr const char* profile = "hsdk";
    static constexpr const char* source = "PeloraTcam/PeloraTcamHsdkUdfEntryHelper.cpp";
    static constexpr const char* suffix = "Hsdk";
    static constexpr const char* createCall = "bcm_udf_multi_chunk_create";
    static constexpr const char* chunksCall = "bcm_udf_multi_chunk_info_get";
    static constexpr const char* formatCall = "bcm_udf_multi_abstract_pkt_format_info_get";
    static constexpr const char* chunksOutput = "two_byte_chunk_bmap";
    static constexpr const char* ipv4Format = "bcmUdfAbstractPktFormatL3Ipv4";
    static constexpr const char* arpFormat = "bcmUdfAbstractPktFormatArp";
    static constexpr ParserFunctions::Create create = PeloraTcam::createUdfQualifierFlexParserHsdk;
    static constexpr ParserFunctions::Destroy destroy =
        PeloraTcam::destroyUdfQualifierFlexParserHsdk;
    static constexpr ParserFunctions::CleanUp cleanUp =
        PeloraTcam::cleanupUdfFlexParserFootprintHsdk;
    static constexpr ParserFunctions::Verify verify = PeloraTcam::udfQualProgrammedInHwFlexHsdk;
    static constexpr ParserFunctions::List list =
        PeloraTcam::getAllProgrammedUdfIdsUdfFlexParserHsdk;
    static constexpr ParserFunctions::Positions positions =
        PeloraTcam::getUdfChunkPosFlexParserHsdk;
    static constexpr ParserFunctions::Formats formats = PeloraTcam::udfAbstractPktFmtHsdk;
};

using Parsers = ::testing::Types< Sdk6Parser, HsdkParser >;

constexpr const char* ip6Format = "bcmUdfAbstractPktFormatL3Ipv6";
constexpr const char* unknownFormat = "bcmUdfAbstractPktFormatUnknownL3";

/// A set of chunks as traces have it: chunk 15 first.
inline std::string chunksText( Agent::U32 chunks )
{
    return std::bitset< 16 >( chunks ).to_string();
}

template< class Parser >
class FlexParserScene : public UdfScene
{
  protected:
    FlexParserScene()
        : UdfScene( Parser::profile )
    {}

    [[nodiscard]] Format format( std::string_view name = Parser::ipv4Format ) const
    {
        return valueOf< Format >( name );
    }

    /// A function of the variant, by the name that it has on SDK-6.
    static std::string named( const std::string& name ) { return name + Parser::suffix; }

    QualIdList create( const UdfDesc& desc ) { return Parser::create( unit, desc, format() ); }

    /// Makes a UDF of one chunk that must fit, and forgets the SDK calls.
    QualIdList made( const UdfDesc& desc = udfDescOf( 2, 2 ) )
    {
        const QualIdList quals = create( desc );
        EXPECT_EQ( quals.qualIds(), 1U );
        sdk.clear();
        return quals;
    }

    void destroy( const QualIdList& quals ) { Parser::destroy( unit, quals, format() ); }

    static void verify( const UdfDesc& desc, const QualIdList& quals )
    {
        Parser::verify( unit, desc, quals );
    }

    /// From now on the SDK says that these chunks of every format are free, and no others.
    void freeChunksAre( Agent::U32 free )
    {
        sdk.on.bcm_udf_abstract_pkt_format_info_get =
            [ free ]( int, Format, bcm_udf_abstract_pkt_format_info_t* info ) {
                info->num_chunks_maxIs( 16 );
                info->chunk_bmap_usedIs( ~free & 0xFFFF );
                return 0;
            };
        sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
            [ free ]( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* info ) {
                info->num_chunks_availableIs(
                    static_cast< Agent::U32 >( std::bitset< 16 >( free ).count() ) );
                info->chunk_2b_bmap_avail().w[ 0 ] = free;
                return 0;
            };
    }

    /// From now on the SDK reads a UDF back with these chunks: the last ones for all that follow.
    void readChunksAre( std::vector< Agent::U32 > chunks )
    {
        auto next = [ chunks, i = std::size_t{ 0 } ]() mutable {
            return chunks[ i + 1 < chunks.size() ? i++ : i ];
        };
        sdk.on.bcm_udf_chunk_info_get = [ next, this ]( int, int,
                                                        bcm_udf_chunk_info_t* info ) mutable {
            info->offsetIs( 2 );
            info->widthIs( 2 );
            info->chunk_bmapIs( next() );
            info->abstract_pkt_formatIs( format() );
            return 0;
        };
        sdk.on.bcm_udf_multi_chunk_info_get =
            [ next, this ]( int, int, bcm_udf_multi_chunk_info_t* info ) mutable {
                info->offsetIs( 16 );
                info->widthIs( 2 );
                info->two_byte_chunk_bmap().w[ 0 ] = next();
                info->abstract_pkt_formatIs( format() );
                return 0;
            };
    }

    /// Every creation succeeds, with that id.
    void createdUdfIs( bcm_udf_id_t id )
    {
        const auto give = [ id ]( auto, auto*, auto*, bcm_udf_id_t* udfId ) {
            *udfId = id;
            return 0;
        };
        sdk.on.bcm_udf_chunk_create = give;
        sdk.on.bcm_udf_multi_chunk_create = give;
    }

    /// The first abstract packet format that the SDK was asked about, by name.
    [[nodiscard]] std::string formatAsked() const
    {
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            if ( call.name.ends_with( "abstract_pkt_format_info_get" ) ) {
                return call.arguments.at( 1 );
            }
        }
        return "none";
    }

    /// The SDK functions that an operation calls, by name.
    template< class Operation >
    std::vector< std::string > functionsOf( const Operation& operation )
    {
        sdk.clear();
        operation();
        std::vector< std::string > all;
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            if ( call.isFunction ) {
                all.push_back( call.name );
            }
        }
        return all;
    }

    /// The `nth` following call of the function fails, and no other.
    void failNth( const std::string& function, std::uint64_t nth, int rc )
    {
        faulty.clearFaults();
        faulty.addFromNow( { { .function = function, .call = nth }, Sim::FailCall{ rc } } );
    }

    /// Expects that every failure of the `nth` call of a checked SDK function ends the process.
    void expectNthFatal( const SdkCallSite& site,
                         const std::string& function,
                         std::uint64_t nth,
                         const std::function< void() >& operation )
    {
        SCOPED_TRACE( function + " " + std::to_string( nth ) );
        expectEveryFailureFatal(
            site, [ & ]( int rc ) { failNth( function, nth, rc ); }, operation );
        faulty.clearFaults();
    }

    /// The site where one of the variant's functions reads a format.
    SdkCallSite formatGetOf( const std::string& function ) { return siteIn( function, formatGet ); }

    /// The site where one of the variant's functions reads the chunks of a UDF.
    SdkCallSite chunksGetOf( const std::string& function ) { return siteIn( function, chunksGet ); }

    /// The site where one of the variant's functions destroys a UDF.
    SdkCallSite destroyOf( const std::string& function )
    {
        return siteIn( function, "bcm_udf_destroy( unit, udfId )" );
    }

    const std::string createName = named( "createUdfQualifierFlexParser" );
    const std::string programName =
        Parser::isHsdk ? "program_abstract_pkt_type_hsdk" : "program_abstract_pkt_type";
    const std::string destroyName = named( "destroyUdfQualifierFlexParser" );
    const std::string cleanUpName = named( "cleanupUdfFlexParserFootprint" );
    const std::string verifyName = named( "udfQualProgrammedInHwFlex" );
    const std::string positionsName = named( "getUdfChunkPosFlexParser" );
    const std::string listName = named( "getAllProgrammedUdfIdsUdfFlexParser" );

    static constexpr const char* formatGet =
        Parser::isHsdk ? "bcm_udf_multi_abstract_pkt_format_info_get( unit, apf, &pfi )"
                       : "bcm_udf_abstract_pkt_format_info_get( unit, apf, &pfi )";
    static constexpr const char* chunksGet =
        Parser::isHsdk ? "bcm_udf_multi_chunk_info_get( unit, udfId, &chunkInfo )"
                       : "bcm_udf_chunk_info_get( unit, udfId, &chunkInfo )";

  private:
    SdkCallSite siteIn( const std::string& function, const char* text )
    {
        const auto name = functions_.insert( "PeloraTcam::" + function ).first;
        return { Parser::source, name->c_str(), text };
    }

    std::set< std::string > functions_; // What the sites point to.
};

} // namespace LibraryTest
