// UDFs come and go at random, some for the hash, some when there is no room, some while the SDK
// fails; after every step the library's map, its answer and the chip are what a model says that
// knows nothing of the library. The model follows from these rules: a UDF needs chunks; packets of
// one kind share one format; a format lives as long as its users.

#include "sdk/ForwardingSdk.h"
#include "tests/library/UdfScene.h"

#include <map>
#include <random>
#include <set>

namespace LibraryTest {
namespace {

/// Lets one function fail, with that code, for as long as a test wants.
class FlakySdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    int createFails = 0;
    int attachFails = 0;

    int bcm_udf_create( int unit,
                        bcm_udf_alloc_hints_t* hints,
                        bcm_udf_t* udf,
                        bcm_udf_id_t* udfId ) override
    {
        return createFails != 0 ? createFails : next().bcm_udf_create( unit, hints, udf, udfId );
    }

    int bcm_udf_pkt_format_add( int unit,
                                bcm_udf_id_t udfId,
                                bcm_udf_pkt_format_id_t formatId ) override
    {
        return attachFails != 0 ? attachFails
                                : next().bcm_udf_pkt_format_add( unit, udfId, formatId );
    }
};

/// The packets that a format describes, as numbers of its own.
struct Kind
{
    Agent::U16 ethType;
    Agent::U8 ipProto;
    Agent::U16 inner;

    friend auto operator<=>( const Kind&, const Kind& ) = default;
};

const std::vector< Kind > kinds = {
    { ip4, 6, 0 },
    { ip4, 17, 0 },
    { ip6, 6, 0 },
    { arp, 0, 0 },
    { ip4, 47, ip4 },
    { ip4, 47, ip6 },
};

/// What the chip can hold: that of the profile "sdk6-udf".
constexpr unsigned chunksOfChip = 16;
constexpr unsigned usersOfFormat = 8;
constexpr unsigned hashesOfChip = 2;

struct Live
{
    UdfDesc desc;
    Kind kind;
    QualIdList quals;
};

class Model
{
  public:
    /// Whether a UDF fits, and no call of the SDK goes wrong.
    [[nodiscard]] bool fits( const UdfDesc& desc, const Kind& kind ) const
    {
        const auto format = users_.find( kind );
        return chunksFor( desc ) <= chunksOfChip - chunks_ &&
               ( format == users_.end() || format->second.size() < usersOfFormat );
    }

    [[nodiscard]] bool hasRoomForHash() const { return hashes_.size() < hashesOfChip; }

    void add( const Live& live, int udf )
    {
        chunks_ += chunksFor( live.desc );
        users_[ live.kind ].insert( udf );
        if ( live.desc.lagHashing() ) {
            hashes_.insert( udf );
        }
    }

    void remove( const Live& live, int udf )
    {
        chunks_ -= chunksFor( live.desc );
        users_[ live.kind ].erase( udf );
        if ( users_[ live.kind ].empty() ) {
            users_.erase( live.kind );
        }
        hashes_.erase( udf );
    }

    /// The users of each format, whatever the formats' ids.
    [[nodiscard]] std::multiset< std::set< int > > formats() const
    {
        std::multiset< std::set< int > > all;
        for ( const auto& [ kind, udfs ] : users_ ) {
            all.insert( udfs );
        }
        return all;
    }

    [[nodiscard]] const std::set< int >& hashes() const { return hashes_; }

    [[nodiscard]] unsigned chunks() const { return chunks_; }

  private:
    static unsigned chunksFor( const UdfDesc& desc ) { return ( desc.length() + 1U ) / 2; }

    unsigned chunks_ = 0;
    std::map< Kind, std::set< int > > users_;
    std::set< int > hashes_;
};

class UdfSharingModelTest : public UdfScene, public ::testing::WithParamInterface< unsigned >
{
  protected:
    UdfSharingModelTest()
    {
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-udf" ) );
        // Not the recorder, which would keep every call.
        Shim::sdk_ = &flaky;
    }

    unsigned random( unsigned count ) { return static_cast< unsigned >( random_() % count ); }

    Live anyRequest()
    {
        Live live;
        live.kind = kinds[ random( static_cast< unsigned >( kinds.size() ) ) ];
        live.desc = udfDescOf( static_cast< Agent::U8 >( random( 100 ) ),
                               static_cast< Agent::U8 >( 1 + random( 6 ) ) );
        live.desc.ethTypeIs( live.kind.ethType );
        live.desc.ipProtoIs( live.kind.ipProto );
        live.desc.innerEtherTypeIs( live.kind.inner );
        live.desc.priorityIs( static_cast< Agent::U8 >( random( 3 ) ) );
        live.desc.lagHashingIs( model.hasRoomForHash() && random( 4 ) == 0 );
        live.desc.lagHashingMaskIs( { { 0, static_cast< Agent::U8 >( random( 256 ) ) } } );
        return live;
    }

    /// Lets one of the calls of the next creation go wrong; gives whether one will.
    bool maybeFail()
    {
        if ( random( 8 ) != 0 ) {
            return false;
        }
        ( random( 2 ) == 0 ? flaky.createFails : flaky.attachFails ) = random( 2 ) == 0 ? -14 : -4;
        return true;
    }

    void programOne()
    {
        Live live = anyRequest();
        const bool fails = maybeFail();
        const bool expected = !fails && model.fits( live.desc, live.kind );
        live.quals = create( live.desc );
        flaky.createFails = flaky.attachFails = 0;
        ASSERT_EQ( live.quals.qualIds(), expected ? 1U : 0U );
        if ( expected ) {
            const int udf = static_cast< int >( *live.quals.begin() );
            model.add( live, udf );
            lives[ udf ] = live;
            ++programmed;
        }
    }

    void removeOne()
    {
        const auto chosen =
            std::next( lives.begin(), random( static_cast< unsigned >( lives.size() ) ) );
        destroy( chosen->second.desc, chosen->second.quals );
        model.remove( chosen->second, chosen->first );
        lives.erase( chosen );
    }

    void auditOne()
    {
        for ( const auto& [ udf, live ] : lives ) {
            verify( live.desc, live.quals );
            if ( live.desc.lagHashing() ) {
                udfLagHashingProgrammedInModule( unit, live.quals, live.desc );
            }
        }
        QualIdList all;
        for ( const auto& [ udf, live ] : lives ) {
            all.qualIdIs( static_cast< Agent::U32 >( udf ) );
        }
        EXPECT_EQ( getUdfChunkPosModule( unit, all ).udfChunkPositions(), model.chunks() );
    }

    void expectAsModelled()
    {
        std::multiset< std::set< int > > mapped;
        for ( const auto& [ format, udfs ] : *formats ) {
            std::set< int > users;
            for ( const UdfId id : udfs ) {
                users.insert( id.value() );
            }
            mapped.insert( users );
        }
        ASSERT_EQ( mapped, model.formats() );
        const Sim::SimUdfModule::State& chip = chips.chip( unit )->udfModule()->state();
        ASSERT_EQ( chip.udfs.size(), lives.size() );
        ASSERT_EQ( chip.pktFormats.size(), mapped.size() );
        for ( const auto& [ format, users ] : chip.pktFormats ) {
            ASSERT_TRUE( formats->pktFmtIdToUdfIdHas( PktFmtId( format ) ) );
            ASSERT_EQ( users.udfs.size(), formats->pktFmtIdToUdfId( PktFmtId( format ) ).udfIds() );
        }
        ASSERT_EQ( chip.hashConfigs.size(), model.hashes().size() );
        ASSERT_EQ( chips.chip( unit )->udfModule()->chunksUsed(), model.chunks() );
    }

    FlakySdk flaky{ chips };
    std::mt19937 random_{ GetParam() };
    Model model;
    std::map< int, Live > lives;
    unsigned programmed = 0;
};

TEST_P( UdfSharingModelTest, RandomSteps_AfterEach_AllIsAsTheModelSays )
{
    constexpr unsigned steps = 25000;
    for ( unsigned step = 0; step < steps; ++step ) {
        const unsigned what = random( 16 );
        if ( what == 0 ) {
            auditOne();
        } else if ( what < 9 || lives.empty() ) {
            programOne();
        } else {
            removeOne();
        }
        expectAsModelled();
        ASSERT_FALSE( HasFatalFailure() ) << "step " << step;
    }
    EXPECT_GT( programmed, steps / 8 );
    while ( !lives.empty() ) {
        removeOne();
    }
    EXPECT_EQ( chipText(), "" );
    EXPECT_EQ( mapText(), "" );
}

INSTANTIATE_TEST_SUITE_P( Seeds, UdfSharingModelTest, ::testing::Values( 1U, 2U, 3U, 4U ) );

} // namespace
} // namespace LibraryTest
