// Real rule sets, each with counters and policers on each of the built-in chips: programmed,
// audited, read and removed. What does not fit is left out whole, and nothing is left behind.

#include "tests/reference/RuleScene.h"
#include "tools/rules/FilterRules.h"

#include "agent/base/AllocationTracker.h"
#include "sim/profiles/BuiltInProfiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <numeric>
#include <string>
#include <tuple>

namespace {

using Reference::RuleScene;
using Reference::RuleSetReport;
using ::testing::ElementsAre;

constexpr const char* ruleSets[] = { "acl1_1k", "acl1_8k", "acl4_1k",
                                     "fw1_1k",  "fw4_1k",  "ipc1_1k" };

/// The folder of the rule sets; empty if there is none.
std::string ruleFolder()
{
    const char* given = std::getenv( "PELORA_TEST_DATA" );
    const std::string data =
        given != nullptr && *given != '\0' ? given : PELORA_SOURCE_DIR "/../shared/data";
    const std::string folder = data + "/classbench";
    return std::filesystem::is_directory( folder ) ? folder : "";
}

Reference::RuleOptions everything()
{
    Reference::RuleOptions options;
    options.counterSet = Reference::packetsAndBytes();
    options.policer = PeloraTcam::Policer{ 10000, 0, 1000, 0 };
    return options;
}

/// All objects of the library's classes that are alive.
std::size_t liveObjects()
{
    std::size_t live = 0;
    for ( const Agent::AllocationReport& report : Agent::allocationReports() ) {
        live += report.count;
    }
    return live;
}

class RealRuleSets : public testing::TestWithParam< std::tuple< const char*, std::string > >
{
  protected:
    void SetUp() override
    {
        if ( ruleFolder().empty() ) {
            GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
        }
        rules_ = Tool::filterRulesOf(
            Tool::readRuleSet( ruleFolder() + "/" + std::get< 0 >( GetParam() ) + ".rules" ) );
        ASSERT_GT( rules_.size(), 800U );
    }

    [[nodiscard]] static bool hasRoomForAll()
    {
        return std::get< 1 >( GetParam() ).ends_with( "-large" );
    }

    void expectNothingLeft( RuleScene& scene, const Sim::ChipSnapshot& before )
    {
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
        EXPECT_EQ( scene.held(), 0U );
    }

    /// Every rule is either programmed or refused, and the managers hold what the report says.
    void expectAddsUp( RuleScene& scene, const RuleSetReport& report )
    {
        const std::size_t refused =
            std::accumulate( report.refused.begin(), report.refused.end(), std::size_t{ 0 },
                             []( std::size_t sum, const auto& row ) { return sum + row.second; } );
        EXPECT_EQ( report.rules, rules_.size() );
        EXPECT_EQ( report.programmed + refused, report.rules );
        EXPECT_EQ( report.refusedRules.size(), refused );
        for ( const auto& [ reason, count ] : report.refused ) {
            EXPECT_FALSE( Reference::isUnmatchable( reason ) ) << reason << ": " << count;
        }
        EXPECT_EQ( scene.managers().entries.size(), report.programmed );
        EXPECT_EQ( scene.managers().counters.size(), report.programmed );
        EXPECT_EQ( scene.managers().policers.size(), report.counts.policers.made );
        EXPECT_EQ( scene.managers().rangeCheckers.size(), report.counts.rangeCheckers.made );
        EXPECT_EQ( scene.managers().compression.size(), report.counts.classes.made );
        EXPECT_EQ( scene.tcam().groups.size(), report.groups );
        EXPECT_EQ( scene.audit(), scene.held() );
    }

    /// Lets every tenth rule see one packet, and gives how many that were.
    std::size_t trafficFor( RuleScene& scene, const RuleSetReport& report )
    {
        std::size_t packets = 0;
        for ( std::size_t rule = 0; rule < rules_.size(); rule += 10 ) {
            if ( const auto entry = scene.programmer().entry( report.id, rule ) ) {
                scene.tcam().count( *entry, 1 );
                ++packets;
            }
        }
        return packets;
    }

    std::vector< Reference::FilterRule > rules_;
};

TEST_P( RealRuleSets, ProgramAuditReadRemove_AnyChip_LeavesNothingBehind )
{
    const std::size_t liveBefore = liveObjects();
    {
        RuleScene scene( Sim::builtInProfile( std::get< 1 >( GetParam() ) ) );
        const Sim::ChipSnapshot before = scene.snapshot();
        const std::size_t liveWithHelpers = liveObjects();
        const RuleSetReport report = scene.programmer().program( rules_, everything() );
        if ( hasRoomForAll() ) {
            EXPECT_EQ( report.programmed, report.rules );
        }
        expectAddsUp( scene, report );
        const std::size_t packets = trafficFor( scene, report );
        EXPECT_EQ( scene.programmer().hits( report.id ),
                   ( Reference::Hits{ packets, packets * 100 } ) );
        EXPECT_TRUE( scene.programmer().remove( report.id ) );
        expectNothingLeft( scene, before );
        EXPECT_EQ( liveObjects(), liveWithHelpers );
    }
    EXPECT_EQ( liveObjects(), liveBefore );
}

TEST_P( RealRuleSets, Program_Twice_GivesTheSameAgain )
{
    RuleScene scene( Sim::builtInProfile( std::get< 1 >( GetParam() ) ) );
    const RuleSetReport first = scene.programmer().program( rules_, {} );
    const RuleSetReport second = scene.programmer().program( rules_, {} );
    EXPECT_EQ( second.counts.classes.made, 0U ) << "all classes are shared with the first";
    EXPECT_TRUE( scene.programmer().remove( first.id ) );
    scene.audit();
    EXPECT_TRUE( scene.programmer().remove( second.id ) );
    const RuleSetReport third = scene.programmer().program( rules_, {} );
    EXPECT_EQ( third.programmed, first.programmed );
    EXPECT_EQ( third.refused, first.refused );
}

INSTANTIATE_TEST_SUITE_P( ClassBench,
                          RealRuleSets,
                          testing::Combine( testing::ValuesIn( ruleSets ),
                                            testing::ValuesIn( Sim::builtInProfileNames() ) ),
                          []( const auto& test ) {
                              std::string name = std::string( std::get< 0 >( test.param ) ) +
                                                 "_on_" + std::get< 1 >( test.param );
                              std::ranges::replace( name, '-', '_' );
                              return name;
                          } );

/// The processor time that programming and removing so many rules takes.
double secondsFor( std::size_t count )
{
    std::vector< Reference::FilterRule > rules( count );
    for ( std::size_t i = 0; i < count; ++i ) {
        const auto address = static_cast< Agent::U32 >( i * 2654435761U );
        rules[ i ].source = { PeloraTcam::IpAddress::v4( address ), 32 };
        rules[ i ].destinationPorts = { 80, 80 };
    }
    RuleScene scene( Sim::builtInProfile( "sdk6-large" ) );
    const std::clock_t start = std::clock();
    const RuleSetReport report = scene.programmer().program( rules, everything() );
    scene.programmer().remove( report.id );
    const std::clock_t end = std::clock();
    EXPECT_EQ( report.programmed, count );
    return static_cast< double >( end - start ) / CLOCKS_PER_SEC;
}

/// A rule of a large set costs about what one of a small set does. The bound is wide, but far below
/// the hundred times that anything quadratic takes.
TEST( RuleSetSpeed, Program_TenTimesTheRules_TakesAboutTenTimes )
{
    const double small = std::min( secondsFor( 800 ), secondsFor( 800 ) );
    const double large = secondsFor( 8000 );
    EXPECT_LT( large, small * 30 );
    RecordProperty( "rulesPerSecond", std::to_string( 8000 / large ) );
}

} // namespace
