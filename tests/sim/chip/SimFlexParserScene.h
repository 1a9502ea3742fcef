#pragma once

/// What the tests of the simulated flexible parser share: a parser of 18 fields in three formats,
/// records for it, and what it holds.

#include "sim/ReturnCode.h"
#include "sim/SimFlexParser.h"
#include "sim/values/SimSets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {

/// Room for 18 fields, in three formats: the first has all chunks, the second chunks 2 and 4 to 15,
/// the third none.
inline const ChipProfile::FlexParser flexParserCapacities{
    .udfs = 18,
    .unavailableChunks = { { "bcmUdfAbstractPktFormatL3Ipv6", 0 },
                           { "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions", 0b1011 },
                           { "bcmUdfAbstractPktFormatArp", 0xFFFF } } };

class SimFlexParserScene : public testing::TestWithParam< const char* >
{
  protected:
    /// A record of the IPv6 format, offset 14 bytes, width 2 bytes.
    bcm_udf_chunk_info_t recordOf( uint32_t chunks ) const
    {
        bcm_udf_chunk_info_t info;
        info.offsetIs( 112 );
        info.widthIs( 16 );
        info.chunk_bmapIs( chunks );
        info.abstract_pkt_formatIs( ipv6 );
        return info;
    }

    bcm_udf_multi_chunk_info_t multiRecordOf( const std::vector< int >& chunks ) const
    {
        bcm_udf_multi_chunk_info_t info;
        info.offsetIs( 112 );
        for ( const int chunk : chunks ) {
            addChunk( info.two_byte_chunk_bmap(), chunk );
        }
        info.abstract_pkt_formatIs( ipv6 );
        return info;
    }

    bcm_udf_id_t made( uint32_t chunks ) { return made( chunks, ipv6 ); }

    bcm_udf_id_t made( uint32_t chunks, bcm_udf_abstract_pkt_format_t format )
    {
        bcm_udf_chunk_info_t info = recordOf( chunks );
        info.abstract_pkt_formatIs( format );
        bcm_udf_id_t id = 0;
        EXPECT_EQ( parser.createChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    bcm_udf_abstract_pkt_format_info_t infoOf( bcm_udf_abstract_pkt_format_t format ) const
    {
        bcm_udf_abstract_pkt_format_info_t info;
        EXPECT_EQ( parser.getFormat( format, &info ), ReturnCode::BCM_E_NONE );
        return info;
    }

    /// The free chunks of a format, as HSDK gives them.
    std::vector< int > freeIn( bcm_udf_abstract_pkt_format_t format ) const
    {
        bcm_udf_multi_abstract_pkt_format_info_t info;
        EXPECT_EQ( parser.getMultiFormat( format, &info ), ReturnCode::BCM_E_NONE );
        std::vector< int > chunks;
        for ( int chunk = 0; chunk < 32; ++chunk ) {
            if ( hasChunk( info.chunk_2b_bmap_avail(), chunk ) ) {
                chunks.push_back( chunk );
            }
        }
        EXPECT_EQ( info.num_chunks_available(), chunks.size() );
        return chunks;
    }

    std::string text() const
    {
        ChipSnapshot now;
        parser.addTo( now );
        return now.text();
    }

    void expectCreateRefused( int rc,
                              const bcm_udf_chunk_info_t& info,
                              const bcm_udf_chunk_hints_t* hints = nullptr )
    {
        const std::string before = text();
        bcm_udf_id_t id = 4711;
        EXPECT_EQ( parser.createChunk( hints, &info, &id ), rc );
        EXPECT_EQ( id, 4711 );
        EXPECT_EQ( text(), before );
    }

    void expectMultiCreateRefused( int rc,
                                   const bcm_udf_multi_chunk_info_t& info,
                                   const bcm_udf_chunk_hints_t* hints = nullptr )
    {
        const std::string before = text();
        bcm_udf_id_t id = 4711;
        EXPECT_EQ( parser.createMultiChunk( hints, &info, &id ), rc );
        EXPECT_EQ( id, 4711 );
        EXPECT_EQ( text(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    const bcm_udf_abstract_pkt_format_t ipv6 = numbering.bcmUdfAbstractPktFormatL3Ipv6;
    const bcm_udf_abstract_pkt_format_t ipv4 =
        numbering.bcmUdfAbstractPktFormatL3Ipv4WithoutOptions;
    const bcm_udf_abstract_pkt_format_t arp = numbering.bcmUdfAbstractPktFormatArp;
    const bcm_udf_abstract_pkt_format_t absent = numbering.bcmUdfAbstractPktFormatKnownNonIp;
    const bcm_udf_abstract_pkt_format_t unknown{ 4711 };
    SimFlexParser parser{ numbering, flexParserCapacities };
};

} // namespace Sim
