#pragma once

/// What the random test of packet-format sharing compares: a chip with little room, owners of maps
/// of packet formats, and the UDFs that live, against `UdfSharingModel.h`.

#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/FlakySdk.h"
#include "tests/library/UdfScene.h"
#include "tests/library/UdfSharingModel.h"

#include <array>

namespace LibraryTest {

using PeloraTcam::UdfModuleHelper;
using PeloraTcam::UdfOffsetBase;

inline const std::vector< PacketKind > kinds = {
    { ip4, 6, 0 }, { ip4, 17, 0 }, { ip6, 6, 0 }, { arp, 0, 0 }, { ip4, 47, ip4 }, { ip4, 47, ip6 },
};

/// A UDF that is programmed.
struct Live
{
    UdfRequest request;
    QualIdList quals;
};

/// Somebody with a map of packet formats. The helper is gone when only its map was kept.
struct Owner
{
    Agent::Ptr< UdfModuleHelper > helper;
    PktFmtIdToUdfId::Ptr map;
};

struct ModelRun
{
    unsigned seed;
    UdfRoom room;

    friend void PrintTo( const ModelRun& run, std::ostream* stream )
    {
        *stream << "seed " << run.seed;
    }
};

inline const std::array< ModelRun, 4 > modelRuns = { {
    { 1, { .udfs = 16, .chunks = 16, .formats = 16, .usersOfFormat = 8, .hashes = 2 } },
    { 2, { .udfs = 16, .chunks = 16, .formats = 4, .usersOfFormat = 3, .hashes = 1 } },
    { 3, { .udfs = 5, .chunks = 16, .formats = 16, .usersOfFormat = 8, .hashes = 5 } },
    { 4, { .udfs = 16, .chunks = 9, .formats = 7, .usersOfFormat = 2, .hashes = 0 } },
} };

class UdfSharingScene : public UdfScene, public ::testing::WithParamInterface< ModelRun >
{
  protected:
    // Not through the recorder, which would keep every call.
    UdfSharingScene() { Shim::sdk_ = &flaky; }

    // ---- Comparison
    // ------------------------------------------------------------------------------

    [[nodiscard]] const Sim::SimUdfModule::State& chip() const
    {
        return chips.chip( unit )->udfModule()->state();
    }

    static std::set< int > idsOf( const UdfIdList& udfs )
    {
        std::set< int > ids;
        for ( const UdfId id : udfs ) {
            ids.insert( id.value() );
        }
        return ids;
    }

    /// The format of one kind of an owner: in its map, on the chip.
    void expectFormatAsModelled( const UdfRequest& request )
    {
        const auto id = formatIds.find( { request.owner, request.kind } );
        if ( id == formatIds.end() ) {
            return;
        }
        const auto* const expected = model.format( request.owner, request.kind );
        const std::set< int > users = expected == nullptr ? std::set< int >() : expected->users;
        const PktFmtIdToUdfId& map = *owners.at( request.owner ).map;
        ASSERT_EQ( map.pktFmtIdToUdfIdHas( id->second ), expected != nullptr );
        ASSERT_EQ( idsOf( map.pktFmtIdToUdfId( id->second ) ), users );
        const auto onChip = chip().pktFormats.find( id->second.value() );
        ASSERT_EQ( onChip != chip().pktFormats.end(), expected != nullptr );
        ASSERT_TRUE( expected == nullptr || onChip->second.udfs == users );
    }

    /// How many of everything there are.
    void expectCountsAsModelled()
    {
        std::size_t mapped = 0;
        for ( const auto& [ number, owner ] : owners ) {
            mapped += owner.map->pktFmtIds();
        }
        ASSERT_EQ( mapped, model.formats().size() );
        ASSERT_EQ( chip().pktFormats.size(), model.formats().size() );
        ASSERT_EQ( chip().udfs.size(), model.udfs().size() );
        ASSERT_EQ( chip().hashConfigs.size(), model.hashes().size() );
        ASSERT_EQ( chips.chip( unit )->udfModule()->chunksUsed(), model.chunks() );
    }

    /// Bits from the layer's start, by hand: bases 4 and 8 count from behind a header.
    static int expectedStart( const UdfRequest& request )
    {
        int bytes = request.desc.offset();
        if ( request.desc.base() == 4 ) {
            bytes += request.kind.ethType == ip4 ? 20 : request.kind.ethType == ip6 ? 40 : 0;
        }
        if ( request.desc.base() == 8 ) {
            bytes += request.kind.ipProto == 6 ? 20 : request.kind.ipProto == 17 ? 8 : 0;
        }
        return bytes * 8;
    }

    void expectUdfAsRequested( int udf, const UdfRequest& request )
    {
        constexpr std::array< const char*, 9 > layers = {
            "",
            "bcmUdfLayerL2Header",
            "bcmUdfLayerL3OuterHeader",
            "bcmUdfLayerL3OuterHeader",
            "bcmUdfLayerL3OuterHeader",
            "bcmUdfLayerL3InnerHeader",
            "bcmUdfLayerL4InnerHeader",
            "bcmUdfLayerL4OuterHeader",
            "bcmUdfLayerL4OuterHeader",
        };
        const Sim::SimUdfModule::Udf& onChip = chip().udfs.at( udf );
        ASSERT_EQ( onChip.udf.start(), expectedStart( request ) );
        ASSERT_EQ( onChip.udf.width(), request.desc.length() * 8 );
        ASSERT_EQ( onChip.udf.layer(),
                   valueOf< bcm_udf_layer_t >( layers[ request.desc.base() ] ) );
        ASSERT_EQ( onChip.forHash, request.desc.lagHashing() );
        ASSERT_EQ( chip().hashConfigs.contains( udf ), request.desc.lagHashing() );
        if ( request.desc.lagHashing() ) {
            const bcm_udf_hash_config_t& hash = chip().hashConfigs.at( udf );
            ASSERT_EQ( hash.mask_length(), request.desc.length() );
            ASSERT_EQ( hash.hash_mask( 0 ), request.desc.lagHashingMask().at( 0 ) );
            ASSERT_EQ( hash.hash_mask( 1 ), 0 );
        }
    }

    void expectPacketsAsRequested( const bcm_udf_pkt_format_info_t& info, const PacketKind& kind )
    {
        const auto ipOf = [ this ]( Agent::U16 ethType ) {
            return ethType == ip4   ? valueOf< bcm_udf_pkt_format_ip_t >( "bcmUdfPktFormatIp4" )
                   : ethType == ip6 ? valueOf< bcm_udf_pkt_format_ip_t >( "bcmUdfPktFormatIp6" )
                                    : bcm_udf_pkt_format_ip_t{};
        };
        const char* const tunnel =
            kind.inner == 0 ? "bcmUdfPktFormatTunnelNone" : "bcmUdfPktFormatTunnelGre";
        ASSERT_EQ( info.ethertype(), kind.ethType );
        ASSERT_EQ( info.outer_ip(), ipOf( kind.ethType ) );
        ASSERT_EQ( info.inner_ip(), ipOf( kind.inner ) );
        ASSERT_EQ( info.tunnel(), valueOf< bcm_udf_pkt_format_tunnel_t >( tunnel ) );
        ASSERT_EQ( info.ip_protocol(), kind.ipProto );
        ASSERT_EQ( info.ip_protocol_mask(), kind.ipProto == 0 ? 0 : 0xFF );
    }

    /// Everything.
    void expectAllAsModelled()
    {
        for ( const auto& [ udf, live ] : lives ) {
            expectUdfAsRequested( udf, live.request );
        }
        for ( const auto& [ key, format ] : model.formats() ) {
            expectFormatAsModelled( { key.first, key.second, {} } );
            const auto& onChip = chip().pktFormats.at( formatIds.at( key ).value() );
            expectPacketsAsRequested( onChip.info, key.second );
            ASSERT_EQ( onChip.info.prio(), format.priority );
        }
    }

    FlakySdk flaky{ chips };
    UdfSharingModel model{ GetParam().room };
    std::map< unsigned, Owner > owners;
    std::map< int, Live > lives;
    std::map< UdfSharingModel::FormatKey, PktFmtId > formatIds;
};

} // namespace LibraryTest
