// UDFs come and go at random, some for the hash, some when there is no room, some while the SDK
// fails; helpers lose their maps, new helpers take over, the chip is reset. After every step the
// library's map, its answer and the chip are what a model says (`UdfSharingModel.h`).
//
// PELORA_UDF_MODEL_STEPS asks for another number of steps than a million.

#include "tests/library/UdfModelSteps.h"
#include "tests/library/UdfSharingScene.h"

#include <random>

namespace LibraryTest {
namespace {

class UdfSharingModelTest : public UdfSharingScene
{
  protected:
    UdfSharingModelTest() { resetChip(); }

    unsigned random( std::size_t count ) { return static_cast< unsigned >( random_() % count ); }

    template< class Map >
    typename Map::iterator anyOf( Map& map )
    {
        return std::next( map.begin(), random( map.size() ) );
    }

    // ---- Owners --------------------------------------------------------------------------------

    void resetChip()
    {
        Sim::ChipProfile profile = Sim::builtInProfile( "sdk6-udf" );
        const UdfRoom& room = GetParam().room;
        profile.udfModule = { .udfs = static_cast< uint32_t >( room.udfs ),
                              .chunks = static_cast< uint32_t >( room.chunks ),
                              .pktFormats = static_cast< uint32_t >( room.formats ),
                              .udfsPerPktFormat = static_cast< uint32_t >( room.usersOfFormat ),
                              .hashConfigurations = static_cast< uint32_t >( room.hashes ) };
        chips.chipIs( unit, profile );
        model.reset();
        lives.clear();
        formatIds.clear();
        owners.clear();
        newOwner( PeloraTcam::udfModuleHelperFactory( unit, 0, true ) );
    }

    void newOwner( const Agent::Ptr< UdfModuleHelper >& helper )
    {
        owners[ ++lastOwner ] = { helper, helper->pktFmtIdToUdfIdIs() };
    }

    /// Somebody's helper loses its map, or goes; the map is kept, as long as it lists something.
    void resetHelper()
    {
        const auto chosen = anyOf( owners );
        if ( chosen->second.helper && random( 2 ) == 0 ) {
            const Agent::Ptr< UdfModuleHelper > helper = chosen->second.helper;
            ASSERT_EQ( helper->pktFmtIdToUdfIdDel(), chosen->second.map );
            newOwner( helper );
        } else {
            newOwner( PeloraTcam::udfModuleHelperFactory( unit, 0, true ) );
        }
        chosen->second.helper = nullptr;
        std::erase_if( owners, [ this ]( const auto& owner ) {
            return !owner.second.helper && model.formatsOf( owner.first ) == 0;
        } );
    }

    // ---- Steps ---------------------------------------------------------------------------------

    UdfRequest anyRequest()
    {
        UdfRequest request;
        request.owner = anyOf( owners )->first;
        request.kind = kinds[ random( kinds.size() ) ];
        request.desc = udfDescOf( static_cast< Agent::U8 >( random( 256 ) ),
                                  static_cast< Agent::U8 >( 1 + random( 6 ) ) );
        request.desc.baseIs( static_cast< UdfOffsetBase >( 1 + random( 8 ) ) );
        request.desc.ethTypeIs( request.kind.ethType );
        request.desc.ipProtoIs( request.kind.ipProto );
        request.desc.innerEtherTypeIs( request.kind.inner );
        request.desc.priorityIs( static_cast< Agent::U8 >( random( 3 ) ) );
        request.desc.lagHashingIs( model.hasRoomForHash() && random( 4 ) == 0 );
        request.desc.lagHashingMaskIs( { { 0, static_cast< Agent::U8 >( random( 256 ) ) } } );
        return request;
    }

    /// Lets one of the calls of the next creation go wrong, sometimes.
    CreationFault maybeFail()
    {
        if ( random( 6 ) != 0 ) {
            return {};
        }
        const CreationFault fault{
            static_cast< CreationFault::Where >( CreationFault::atUdf + random( 3 ) ),
            random( 2 ) == 0 };
        constexpr std::array< std::string_view, 4 > calls = {
            "", "bcm_udf_create", "bcm_udf_pkt_format_create", "bcm_udf_pkt_format_add" };
        flaky.failing = { calls[ fault.where ] };
        flaky.rc = fault.outOfResources ? -14 : -1 - static_cast< int >( random( 13 ) );
        return fault;
    }

    QualIdList program( const UdfRequest& request )
    {
        const Owner& owner = owners.at( request.owner );
        return owner.helper ? owner.helper->programUdfInHw( request.desc )
                            : createUdfQualifierUdfModule( unit, request.desc, owner.map );
    }

    void remove( const Live& live )
    {
        const Owner& owner = owners.at( live.request.owner );
        if ( owner.helper ) {
            owner.helper->removeUdfFromHw( live.request.desc, live.quals );
        } else {
            destroyUdfQualifierUdfModule( unit, live.request.desc, live.quals, owner.map );
        }
    }

    void programOne()
    {
        const UdfRequest request = anyRequest();
        const CreationFault fault = maybeFail();
        const Outcome expected = model.outcomeOf( request, fault );
        logged.clear();
        const QualIdList quals = program( request );
        flaky.failing = {};
        ASSERT_EQ( quals.qualIds(), expected == Outcome::made ? 1U : 0U );
        ASSERT_EQ( logged.size(), expected == Outcome::refusedAndLogged ? 1U : 0U );
        ++outcomes[ expected ];
        if ( expected == Outcome::made ) {
            const int udf = static_cast< int >( *quals.begin() );
            model.add( request, udf );
            lives[ udf ] = { request, quals };
            formatIds.try_emplace( { request.owner, request.kind }, newestFormat( request ) );
        }
        expectFormatAsModelled( request );
    }

    /// The id of the format that a UDF which was programmed just now is in: that of its kind, or
    /// else the one that is not known yet.
    PktFmtId newestFormat( const UdfRequest& request )
    {
        std::set< PktFmtId > known;
        for ( const auto& [ key, id ] : formatIds ) {
            known.insert( id );
        }
        PktFmtId newest;
        for ( const auto& [ id, udfs ] : *owners.at( request.owner ).map ) {
            newest = known.contains( id ) ? newest : id;
        }
        return newest;
    }

    void removeOne()
    {
        const auto chosen = anyOf( lives );
        remove( chosen->second );
        const UdfRequest request = chosen->second.request;
        model.remove( request, chosen->first );
        expectFormatAsModelled( request );
        if ( model.format( request.owner, request.kind ) == nullptr ) {
            formatIds.erase( { request.owner, request.kind } );
        }
        lives.erase( chosen );
    }

    /// Whether a UDF starts where its offset says, so that an audit finds it as described.
    static bool isAuditable( const UdfRequest& request )
    {
        return expectedStart( request ) == request.desc.offset() * 8;
    }

    void audit( const Live& live )
    {
        const Owner& owner = owners.at( live.request.owner );
        udfQualProgrammedInHwUdfModule( unit, live.request.desc, live.quals, owner.map );
    }

    void auditAll()
    {
        QualIdList all;
        UdfIdList listed;
        UdfIdList hashing;
        for ( const auto& [ udf, live ] : lives ) {
            if ( isAuditable( live.request ) ) {
                audit( live );
            }
            if ( live.request.desc.lagHashing() ) {
                udfLagHashingProgrammedInModule( unit, live.quals, live.request.desc );
                hashing.udfIdIs( UdfId( udf ) );
            }
            all.qualIdIs( static_cast< Agent::U32 >( udf ) );
            listed.udfIdIs( UdfId( udf ) );
        }
        ASSERT_EQ( getUdfChunkPosModule( unit, all ).udfChunkPositions(), model.chunks() );
        ASSERT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), listed );
        ASSERT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ), hashing );
    }

    // ---- Steps that must end the process, tried in a child
    // ---------------------------------------

    void expectEnds( const std::string& lastWords, const std::function< void() >& operation )
    {
        const ChildRun run = runInChild( operation );
        flaky.failing = {};
        ASSERT_TRUE( run.aborted ) << lastWords;
        ASSERT_THAT( run.errors, ::testing::HasSubstr( lastWords ) );
        ++ends;
    }

    void failAt( std::string_view call, std::string_view other = "" )
    {
        flaky.failing = { call, other };
        flaky.rc = -1 - static_cast< int >( random( 18 ) );
    }

    /// A creation in which a call fails that must not.
    void endInCreation()
    {
        UdfRequest request = anyRequest();
        if ( model.outcomeOf( request, {} ) != Outcome::made ) {
            return;
        }
        if ( model.formatsOf( request.owner ) != 0 && random( 2 ) == 0 ) {
            failAt( "bcm_udf_pkt_format_info_get" );
            expectEnds( "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt ) API",
                        [ & ] { program( request ); } );
        } else if ( random( 2 ) == 0 ) {
            failAt( "bcm_udf_pkt_format_add", "bcm_udf_destroy" );
            expectEnds( "bcm_udf_destroy( unit, udfIdToCleanup ) API",
                        [ & ] { program( request ); } );
        } else {
            // Also where there is no room for another hash configuration.
            request.desc.lagHashingIs( true );
            failAt( model.hasRoomForHash() ? "bcm_udf_hash_config_add" : "" );
            expectEnds(
                "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config ) API",
                [ & ] { program( request ); } );
        }
    }

    void endInRemovalOrAudit()
    {
        const Live& live = anyOf( lives )->second;
        const PktFmtIdToUdfId::Ptr stranger( new PktFmtIdToUdfId );
        if ( !isAuditable( live.request ) && random( 2 ) == 0 ) {
            expectEnds( "Assertion `udf.start() == ( offset * 8 )'", [ & ] { audit( live ); } );
        } else if ( random( 4 ) == 0 ) {
            expectEnds( "Assertion `udfs.udfIdHas( id )'", [ & ] {
                destroyUdfQualifierUdfModule( unit, live.request.desc, live.quals, stranger );
            } );
        } else {
            constexpr std::array< std::string_view, 3 > calls = {
                "bcm_udf_pkt_format_get_all", "bcm_udf_pkt_format_delete", "bcm_udf_destroy" };
            const std::string_view call = calls[ random( calls.size() ) ];
            failAt( call );
            expectEnds( std::string( call ) + "( unit, udfId", [ & ] { remove( live ); } );
        }
    }

    void endOne()
    {
        if ( lives.empty() || random( 2 ) == 0 ) {
            endInCreation();
        } else {
            endInRemovalOrAudit();
        }
    }

    // ---- The run
    // ---------------------------------------------------------------------------------

    void step()
    {
        const unsigned what = random( 4096 );
        if ( what < 8 ) {
            endOne();
        } else if ( what < 9 ) {
            resetChip();
        } else if ( what < 16 && owners.size() < 5 ) {
            resetHelper();
        } else if ( what < 100 ) {
            auditAll();
        } else if ( what < 2200 || lives.empty() ) {
            programOne();
        } else {
            removeOne();
        }
    }

    std::mt19937 random_{ GetParam().seed };
    unsigned lastOwner = 0;
    std::map< Outcome, unsigned > outcomes;
    unsigned ends = 0;
};

TEST_P( UdfSharingModelTest, RandomSteps_AfterEach_AllIsAsTheModelSays )
{
    const unsigned long steps = stepsOfAllRuns() / modelRuns.size();
    constexpr unsigned long stepsBetweenFullComparisons = 32;
    for ( unsigned long made = 0; made < steps; ++made ) {
        step();
        expectCountsAsModelled();
        if ( made % stepsBetweenFullComparisons == 0 ) {
            expectAllAsModelled();
        }
        ASSERT_FALSE( HasFatalFailure() ) << "step " << made;
    }
    EXPECT_GT( outcomes[ Outcome::made ], steps / 8 );
    EXPECT_GT( outcomes[ Outcome::refused ], steps / 100 );
    EXPECT_GT( outcomes[ Outcome::refusedAndLogged ], steps / 100 );
    EXPECT_GT( ends, steps / 10000 );
    while ( !lives.empty() ) {
        removeOne();
    }
    EXPECT_EQ( chipText(), "" );
}

INSTANTIATE_TEST_SUITE_P( Seeds, UdfSharingModelTest, ::testing::ValuesIn( modelRuns ) );

} // namespace
} // namespace LibraryTest
