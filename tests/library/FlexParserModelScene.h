#pragma once

/// What the random test of the flexible parser compares: a chip, the UDFs that live, and a helper
/// that comes and goes, against `FlexParserModel.h`. `Parser` is as in `FlexParserScene.h`.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/FlakySdk.h"
#include "tests/library/FlexParserModel.h"
#include "tests/library/FlexParserScene.h"

#include <optional>
#include <random>

namespace LibraryTest {

/// What a descriptor says and which kind of packets this means, by hand.
struct FlexRequestKind
{
    UdfAppType appType;
    Agent::U16 ethType;
    FlexKind kind;
};

constexpr std::array< FlexRequestKind, 9 > flexRequestKinds = { {
    { UdfAppType::ipv4Acl, ip4, FlexKind::ipv4 },
    { UdfAppType::ipv4Acl, arp, FlexKind::ipv4 },
    { UdfAppType::ipv4TrafficPolicy, ip6, FlexKind::ipv4 },
    { UdfAppType::ipv6Acl, ip6, FlexKind::ipv6 },
    { UdfAppType::ipv6Acl, ip4, FlexKind::ipv6 },
    { UdfAppType::macAcl, ip6, FlexKind::ipv6 },
    { UdfAppType::macAcl, arp, FlexKind::arp },
    { UdfAppType::macAcl, 0x88CC, FlexKind::unknownL3 },
    { UdfAppType::macAcl, 0, FlexKind::unknownL3 },
} };

/// A UDF that the library has programmed.
struct FlexLive
{
    UdfDesc desc;
    FlexKind kind;
    QualIdList quals;
};

struct FlexRun
{
    unsigned seed;
    FlexRoom room;
};

/// Plenty; few UDFs; few chunks; kinds of which some have no chunk.
inline std::vector< FlexRun > flexRuns()
{
    const auto allBut = []( std::set< int > left ) {
        std::set< int > all;
        for ( int chunk = 0; chunk < flexChunks; ++chunk ) {
            if ( !left.contains( chunk ) ) {
                all.insert( chunk );
            }
        }
        return all;
    };
    return {
        { 1, { 96, {} } },
        { 2, { 7, { { {}, { 14, 15 }, {}, { 0, 1 }, {} } } } },
        { 3, { 96, { { allBut( { 1, 6, 15 } ), { 0, 2, 4 }, allBut( { 3, 4 } ), {}, {} } } } },
        { 4, { 12, { { allBut( {} ), allBut( { 15 } ), { 0, 1, 2, 3 }, {}, allBut( { 0 } ) } } } },
    };
}

template< class Parser >
class FlexParserModelScene : public FlexParserScene< Parser >
{
  protected:
    using Helper = std::conditional_t< Parser::isHsdk,
                                       PeloraTcam::UdfFlexParserHsdkHelper,
                                       PeloraTcam::UdfFlexParserHelper >;

    // Not through the recorder, which would keep every call.
    FlexParserModelScene() { Shim::sdk_ = &flaky; }

    /// A fresh chip of that room, with nothing on it.
    void start( const FlexRoom& room )
    {
        Sim::ChipProfile profile = Sim::builtInProfile( Parser::profile );
        profile.flexParser.udfs = static_cast< uint32_t >( room.udfs );
        profile.flexParser.unavailableChunks.clear();
        for ( std::size_t kind = 0; kind < flexKinds; ++kind ) {
            uint32_t unavailable = 0;
            for ( const int chunk : room.unavailable[ kind ] ) {
                unavailable |= 1U << chunk;
            }
            profile.flexParser.unavailableChunks[ formatNames[ kind ] ] = unavailable;
            formats[ kind ] = this->format( formatNames[ kind ] );
        }
        this->chips.chipIs( this->unit, profile );
        model.emplace( Parser::isHsdk, room );
        lives.clear();
        helper = newHelper();
    }

    /// A helper has nothing of its own: any of them does for the UDFs of another.
    Agent::Ptr< Helper > newHelper() const
    {
        if constexpr ( Parser::isHsdk ) {
            return PeloraTcam::udfFlexParserHsdkHelperFactory( this->unit, 0, false );
        } else {
            return PeloraTcam::udfFlexParserHelperFactory( this->unit, 0, false );
        }
    }

    [[nodiscard]] Format formatOf( FlexKind kind ) const
    {
        return formats[ static_cast< std::size_t >( kind ) ];
    }

    [[nodiscard]] const Sim::SimFlexParser::State& chip() const
    {
        return this->chips.chip( this->unit )->flexParser()->state();
    }

    /// The chip holds the UDFs of the model, and nothing else.
    void expectChipAsModelled()
    {
        ASSERT_EQ( chip().size(), model->udfs().size() );
        auto expected = model->udfs().begin();
        for ( const auto& [ id, udf ] : chip() ) {
            ASSERT_EQ( id, expected->first );
            ASSERT_EQ( udf.format, formatOf( expected->second.kind ) );
            ASSERT_EQ( udf.offset, expected->second.offset );
            ASSERT_EQ( udf.width, expected->second.width );
            ASSERT_EQ( udf.chunks, bitsOf( expected->second.chunks ) );
            ++expected;
        }
    }

    static uint32_t bitsOf( const std::set< int >& chunks )
    {
        uint32_t bits = 0;
        for ( const int chunk : chunks ) {
            bits |= 1U << chunk;
        }
        return bits;
    }

    /// By `FlexKind`.
    static constexpr std::array< const char*, flexKinds > formatNames = {
        Parser::ipv4Format,
        ip6Format,
        Parser::arpFormat,
        unknownFormat,
        Parser::isHsdk ? Sdk6Parser::ipv4Format : HsdkParser::ipv4Format,
    };

    FlakySdk flaky{ this->chips };
    std::array< Format, flexKinds > formats{};
    std::optional< FlexParserModel > model;
    std::map< int, FlexLive > lives; ///< by the id of the UDF
    Agent::Ptr< Helper > helper;
};

} // namespace LibraryTest
