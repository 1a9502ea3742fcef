// Operations on rule sets that overlap. The rule is in reference/Overlap.h.

#include "tests/reference/OverlapWorlds.h"
#include "tests/reference/RuleScene.h"

namespace Reference {
namespace {

using PeloraTcam::IpAddress;

FilterRule ruleTo( Agent::U32 host )
{
    return { { IpAddress::v4( 0x0A000000 ), 8 },
             { IpAddress::v4( 0xC0000200 + host ), 32 },
             { 1024, 65535 },
             { 80, 80 },
             { 6, 0xFF } };
}

class RuleSetWorld : public OverlapWorld
{
  public:
    explicit RuleSetWorld( const std::string& profile )
        : scene( Sim::builtInProfile( profile ) )
    {
        empty = scene.snapshot();
        Shim::sdk_ = &interrupting;
        program( 1 );
    }

    Sim::ChipSnapshot snapshot() override { return scene.snapshot(); }

    InterruptingSdk& sdk() override { return interrupting; }

    void program( Agent::U32 host )
    {
        RuleOptions options;
        options.counterSet = packetsAndBytes();
        options.policer = PeloraTcam::Policer{ 1000, 0, 100, 0 };
        options.policerSharing = PolicerSharing::shared;
        const FilterRule rules[] = { ruleTo( host ) };
        sets.push_back( scene.programmer().program( rules, options ).id );
    }

    void removeFirst()
    {
        const RuleSetId first = sets.empty() ? 0 : sets.front();
        try {
            if ( scene.programmer().remove( first ) ) {
                std::erase( sets, first );
            }
        } catch ( const CallThrew& ) {
            hasRemoveThrown = true;
            throw;
        }
    }

    std::vector< OverlapOperation > operations() override
    {
        return {
            { "program alike", [ & ] { program( 1 ); }, false },
            { "program another", [ & ] { program( 2 ); }, false },
            { "remove", [ & ] { removeFirst(); }, scene.isSdk6() },
            { "hits", [ & ] { static_cast< void >( scene.programmer().hits( 1 ) ); } },
            { "audit", [ & ] { scene.audit(); } },
        };
    }

    void expectRight() override
    {
        EXPECT_EQ( scene.programmer().size(), sets.size() );
        if ( hasRemoveThrown ) {
            return; // A part of the set is left, which can be removed.
        }
        EXPECT_EQ( scene.audit(), scene.held() );
        for ( const RuleSetId set : sets ) {
            EXPECT_TRUE( scene.programmer().entry( set, 0 ) );
        }
        EXPECT_EQ( scene.managers().entries.size(), sets.size() );
        EXPECT_EQ( scene.managers().counters.size(), sets.size() );
    }

    void giveAllBack() override
    {
        while ( !sets.empty() ) {
            removeFirst();
        }
        EXPECT_EQ( scene.held(), 0U );
    }

    RuleScene scene;
    InterruptingSdk interrupting{ *Shim::sdk_ };
    std::vector< RuleSetId > sets;
    bool hasRemoveThrown = false;
};

TEST( OverlapOfRuleSetsTest, RuleSets_AllPairs_AreRight )
{
    for ( const char* profile : { "sdk6-udf", "hsdk" } ) {
        SCOPED_TRACE( profile );
        expectAllPairsRight( [ & ] { return std::make_unique< RuleSetWorld >( profile ); } );
    }
}

} // namespace
} // namespace Reference
