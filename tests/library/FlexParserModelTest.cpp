// UDFs of the flexible parser come and go at random, some when there is no room, some while the SDK
// refuses, some that the agent knows nothing of; helpers are replaced, the chip is reset. After
// every step the answer and the whole chip are what a model says (`FlexParserModel.h`).
//
// PELORA_UDF_MODEL_STEPS asks for another number of steps than a million.

#include "tests/library/FlexParserModelScene.h"
#include "tests/library/UdfModelSteps.h"

namespace LibraryTest {
namespace {

template< class Parser >
class FlexParserModelTest : public FlexParserModelScene< Parser >
{
  protected:
    using Scene = FlexParserModelScene< Parser >;
    using Scene::flaky, Scene::helper, Scene::lives, Scene::logged, Scene::model, Scene::unit;

    unsigned random( std::size_t count ) { return static_cast< unsigned >( random_() % count ); }

    template< class Map >
    typename Map::iterator anyOf( Map& map )
    {
        return std::next( map.begin(), random( map.size() ) );
    }

    // ---- Programming ---------------------------------------------------------------------------

    /// Mostly short, so that there are many.
    unsigned anyLength()
    {
        const unsigned what = random( 64 );
        return what == 0 ? 0 : what < 6 ? random( 256 ) : what < 16 ? random( 33 ) : 1 + what % 4;
    }

    UdfDesc anyDesc( const FlexRequestKind& kind )
    {
        UdfDesc desc = udfDescOf( static_cast< Agent::U8 >( random( 256 ) ),
                                  static_cast< Agent::U8 >( anyLength() ) );
        desc.appTypeIs( kind.appType );
        desc.ethTypeIs( kind.ethType );
        return desc;
    }

    /// Lets the SDK refuse the next creation, sometimes; gives its code, or 0.
    int maybeRefuse()
    {
        if ( random( 8 ) != 0 ) {
            return 0;
        }
        flaky.rc = random( 2 ) == 0 ? flexOutOfResources : -1 - static_cast< int >( random( 13 ) );
        flaky.failing = { Parser::createCall };
        return flaky.rc;
    }

    void programOne()
    {
        const FlexRequestKind& requested = flexRequestKinds[ random( flexRequestKinds.size() ) ];
        const UdfDesc desc = anyDesc( requested );
        const int rc = maybeRefuse();
        const FlexOutcome expected = model->outcomeOf( requested.kind, desc.length(), rc );
        logged.clear();
        const QualIdList quals =
            random( 4 ) == 0 ? Parser::create( unit, desc, this->formatOf( requested.kind ) )
                             : helper->programUdfInHw( desc );
        flaky.failing = {};
        ++outcomes[ expected ];
        ASSERT_EQ( quals.qualIds(), expected == FlexOutcome::made ? 1U : 0U );
        const bool isLogged = Parser::isHsdk && expected == FlexOutcome::outOfResources;
        ASSERT_EQ( logged.size(), isLogged ? 1U : 0U );
        if ( expected == FlexOutcome::made ) {
            const int id = static_cast< int >( *quals.begin() );
            ASSERT_FALSE( model->udfs().contains( id ) );
            model->add( id, model->udfOf( requested.kind, desc.offset(), desc.length() ) );
            lives[ id ] = { desc, requested.kind, quals };
        }
    }

    // ---- UDFs that the agent knows nothing of --------------------------------------------------

    /// Any free chunks of any kind, taken past the library.
    void strangerComes()
    {
        const auto kind = static_cast< FlexKind >( random( flexKinds ) );
        FlexUdf udf{ kind, random( 32 ) * 8, 0, {} };
        for ( const int chunk : model->freeChunks( kind ) ) {
            if ( random( 4 ) == 0 ) {
                udf.chunks.insert( chunk );
            }
        }
        udf.width = static_cast< unsigned >( udf.chunks.size() ) * 16;
        bcm_udf_id_t id = 0;
        if ( createPastTheLibrary( udf, id ) == 0 ) {
            model->add( id, udf );
            strangers.insert( id );
        }
    }

    int createPastTheLibrary( const FlexUdf& udf, bcm_udf_id_t& id )
    {
        if constexpr ( Parser::isHsdk ) {
            bcm_udf_multi_chunk_info_t info{};
            info.offsetIs( udf.offset );
            info.two_byte_chunk_bmap().w[ 0 ] = this->bitsOf( udf.chunks );
            info.abstract_pkt_formatIs( this->formatOf( udf.kind ) );
            return flaky.bcm_udf_multi_chunk_create( unit, nullptr, &info, &id );
        } else {
            bcm_udf_chunk_info_t info{};
            info.offsetIs( udf.offset );
            info.widthIs( udf.width );
            info.chunk_bmapIs( this->bitsOf( udf.chunks ) );
            info.abstract_pkt_formatIs( this->formatOf( udf.kind ) );
            return flaky.bcm_udf_chunk_create( unit, nullptr, &info, &id );
        }
    }

    void strangerGoes()
    {
        const int id = *anyOf( strangers );
        ASSERT_EQ( flaky.bcm_udf_destroy( unit, id ), 0 );
        model->remove( id );
        strangers.erase( id );
    }

    // ---- Removal, audit, lists -----------------------------------------------------------------

    void removeOne()
    {
        const auto chosen = anyOf( lives );
        const FlexLive& live = chosen->second;
        if ( random( 4 ) == 0 ) {
            Parser::destroy( unit, live.quals, this->formatOf( live.kind ) );
        } else {
            helper->removeUdfFromHw( live.desc, live.quals );
        }
        model->remove( chosen->first );
        lives.erase( chosen );
    }

    /// The descriptor has changed: the chunk is checked against that of another kind.
    void removeAsAnotherKind()
    {
        const auto chosen = anyOf( lives );
        const FlexRequestKind& other = flexRequestKinds[ random( flexRequestKinds.size() ) ];
        UdfDesc desc = chosen->second.desc;
        desc.appTypeIs( other.appType );
        desc.ethTypeIs( other.ethType );
        const int chunk = *model->udfs().at( chosen->first ).chunks.begin();
        const auto remove = [ & ] { helper->removeUdfFromHw( desc, chosen->second.quals ); };
        if ( model->isFree( other.kind, chunk ) ) {
            expectEnds( Parser::isHsdk
                            ? "`!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )' failed"
                            : "`udfBmap->isBitSet( i )' failed",
                        remove );
            return;
        }
        remove();
        model->remove( chosen->first );
        lives.erase( chosen );
    }

    void auditAll()
    {
        for ( const auto& [ id, live ] : lives ) {
            if ( model->passesAudit( live.desc.length() ) ) {
                helper->verifyProgrammedUdf( live.desc, live.quals );
                ++audits;
            }
        }
    }

    void listAll()
    {
        UdfIdList expected;
        for ( const auto& [ id, udf ] : model->udfs() ) {
            if ( udf.kind != FlexKind::other ) {
                expected.udfIdIs( UdfId( id ) );
            }
        }
        ASSERT_EQ( helper->getAllProgrammedUdfIds( unit ), expected );
    }

    /// The chunks of all UDFs of one kind, strangers too.
    void positionsOfOneKind()
    {
        const auto kind = static_cast< FlexKind >( random( flexKinds ) );
        QualIdList quals;
        UdfChunkPosList expected;
        for ( const auto& [ id, udf ] : model->udfs() ) {
            if ( udf.kind == kind ) {
                quals.qualIdIs( static_cast< Agent::U32 >( id ) );
                for ( const int chunk : udf.chunks ) {
                    expected.udfChunkPosIs( static_cast< PeloraTcam::UdfChunkPos >( chunk ) );
                }
            }
        }
        ASSERT_EQ( helper->getUdfChunkPosList( unit, quals ), expected );
    }

    // ---- Steps that must end the process, tried in a child -------------------------------------

    void expectEnds( const std::string& lastWords, const std::function< void() >& operation )
    {
        const ChildRun run = runInChild( operation );
        flaky.failing = {};
        ASSERT_TRUE( run.aborted ) << lastWords;
        ASSERT_THAT( run.errors, ::testing::HasSubstr( lastWords ) );
        ++ends;
    }

    /// Lets all calls of a function fail.
    void failAt( std::string_view call )
    {
        flaky.failing = { call };
        flaky.rc = -1 - static_cast< int >( random( 18 ) );
    }

    void endInCreation()
    {
        UdfDesc desc = anyDesc( flexRequestKinds[ random( flexRequestKinds.size() ) ] );
        if ( random( 2 ) == 0 ) {
            desc.appTypeIs( UdfAppType::macAcl );
            desc.ethTypeIs( ip4 );
            expectEnds( "`Cannot specify ethertype ip with mac ACL' failed",
                        [ & ] { helper->programUdfInHw( desc ); } );
        } else {
            failAt( Parser::formatCall );
            expectEnds( std::string( this->formatGet ) + " API ERROR",
                        [ & ] { helper->programUdfInHw( desc ); } );
        }
    }

    void endInRemoval( const FlexLive& live )
    {
        const std::array< std::pair< const char*, const char* >, 3 > calls = { {
            { Parser::formatCall, this->formatGet },
            { Parser::chunksCall, this->chunksGet },
            { "bcm_udf_destroy", "bcm_udf_destroy( unit, udfId )" },
        } };
        const auto& [ function, text ] = calls[ random( calls.size() ) ];
        failAt( function );
        expectEnds( std::string( text ) + " API ERROR",
                    [ & ] { helper->removeUdfFromHw( live.desc, live.quals ); } );
    }

    void endInAudit( const FlexLive& live )
    {
        const auto audit = [ & ] { helper->verifyProgrammedUdf( live.desc, live.quals ); };
        if ( model->passesAudit( live.desc.length() ) ) {
            failAt( Parser::chunksCall );
            expectEnds( std::string( this->chunksGet ) + " API ERROR", audit );
        } else {
            expectEnds( Parser::isHsdk ? "`chunkInfo.width() == length' failed"
                                       : "`chunks == setChunks' failed",
                        audit );
        }
    }

    /// Two UDFs as if they were one's: they share a chunk, or else they do not.
    void endOfTwo( const FlexLive& first, const FlexLive& second )
    {
        if ( first.quals == second.quals ) {
            return;
        }
        QualIdList both = first.quals;
        both.qualIdIs( *second.quals.begin() );
        const auto& chunks = model->udfs();
        const bool isSameChunk = chunks.at( static_cast< int >( *first.quals.begin() ) ).chunks ==
                                 chunks.at( static_cast< int >( *second.quals.begin() ) ).chunks;
        if ( isSameChunk ) {
            expectEnds( "`!udfChunkPosList.udfChunkPosHas( i )' failed", [ & ] {
                static_cast< void >( helper->getUdfChunkPosList( unit, both ) );
            } );
        } else {
            expectEnds( Parser::isHsdk ? "`areBitmapEqual( progChunkBmap, chunkBmap )' failed"
                                       : "`progChunkBmap == chunkBmap' failed",
                        [ & ] { helper->removeUdfFromHw( first.desc, both ); } );
        }
    }

    void endOne()
    {
        const unsigned what = random( 4 );
        if ( lives.empty() || what == 0 ) {
            endInCreation();
        } else if ( what == 1 ) {
            endInRemoval( anyOf( lives )->second );
        } else if ( what == 2 ) {
            endInAudit( anyOf( lives )->second );
        } else {
            endOfTwo( anyOf( lives )->second, anyOf( lives )->second );
        }
    }

    // ---- The run -------------------------------------------------------------------------------

    void reset( const FlexRoom& room )
    {
        this->start( room );
        strangers.clear();
    }

    void step( const FlexRoom& room )
    {
        const unsigned what = random( 4096 );
        if ( what < 8 ) {
            endOne();
        } else if ( what < 9 ) {
            reset( room );
        } else if ( what < 40 ) {
            helper = this->newHelper();
        } else if ( what < 100 ) {
            strangerComes();
        } else if ( what < 160 && !strangers.empty() ) {
            strangerGoes();
        } else if ( what < 260 ) {
            auditAll();
        } else if ( what < 360 ) {
            listAll();
        } else if ( what < 460 ) {
            positionsOfOneKind();
        } else if ( what < 468 && !lives.empty() ) {
            removeAsAnotherKind();
        } else if ( what < 2600 || lives.empty() ) {
            programOne();
        } else {
            removeOne();
        }
    }

    void run( const FlexRun& how, unsigned long steps )
    {
        random_.seed( how.seed );
        reset( how.room );
        for ( unsigned long made = 0; made < steps; ++made ) {
            step( how.room );
            this->expectChipAsModelled();
            ASSERT_FALSE( this->HasFatalFailure() ) << "step " << made;
        }
        while ( !lives.empty() ) {
            removeOne();
        }
        while ( !strangers.empty() ) {
            strangerGoes();
        }
        EXPECT_EQ( this->chipText(), "" );
    }

    std::mt19937 random_;
    std::set< int > strangers;
    std::map< FlexOutcome, unsigned > outcomes;
    unsigned audits = 0;
    unsigned ends = 0;
};

TYPED_TEST_SUITE( FlexParserModelTest, Parsers );

TYPED_TEST( FlexParserModelTest, RandomSteps_AfterEach_AllIsAsTheModelSays )
{
    const std::vector< FlexRun > runs = flexRuns();
    const unsigned long steps = stepsOfAllRuns() / 2; // The other half is the other variant's.
    for ( const FlexRun& run : runs ) {
        SCOPED_TRACE( "seed " + std::to_string( run.seed ) );
        this->run( run, steps / runs.size() );
    }
    EXPECT_GT( this->outcomes[ FlexOutcome::made ], steps / 8 );
    EXPECT_GT( this->outcomes[ FlexOutcome::tooFewChunks ], steps / 100 );
    EXPECT_GT( this->outcomes[ FlexOutcome::refused ], steps / 100 );
    EXPECT_GT( this->outcomes[ FlexOutcome::outOfResources ], steps / 100 );
    EXPECT_GT( this->audits, steps / 100 );
    EXPECT_GT( this->ends, steps / 10000 );
}

} // namespace
} // namespace LibraryTest
