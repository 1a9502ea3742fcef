#include "reference/RuleProgrammer.h"

#include "tests/reference/RuleScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::IpAddress;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Table = CompressionManager::Table;

class RuleProgrammerTest : public ::testing::Test
{
  protected:
    /// A rule that needs something of everything.
    static FilterRule rule()
    {
        return { { IpAddress::v4( 0x0A000000 ), 8 },
                 { IpAddress::v4( 0x0B000000 ), 8 },
                 { 1, 9 },
                 { 80, 80 },
                 { 6, 0xFF } };
    }

    std::string_view acquire( RuleProgrammer& programmer )
    {
        RuleOptions options;
        options.policer = PeloraTcam::Policer{ 1000, 0, 100, 0 };
        return programmer.acquire( rule(), options, parts, counts, qualifiers );
    }

    [[nodiscard]] RuleManagers managersOf( RuleScene& scene )
    {
        SceneManagers& all = scene.managers();
        return { all.rangeCheckers, scene.tcam().groups,
                 all.entries,       all.counters,
                 all.policers,      scene.isSdk6() ? &all.compression : nullptr };
    }

    RuleParts parts;
    RuleCounts counts;
    EntryQualifiers qualifiers;
};

TEST_F( RuleProgrammerTest, AcquireAndRelease_WithCompression_TakesClassesAndGivesAllBack )
{
    RuleScene scene( Sim::builtInProfile( "sdk6-udf" ) );
    const Sim::ChipSnapshot before = scene.snapshot();
    RuleProgrammer programmer( managersOf( scene ) );
    EXPECT_EQ( acquire( programmer ), "" );
    EXPECT_THAT( parts.rangeCheckers, SizeIs( 1 ) );
    EXPECT_THAT( parts.classes, SizeIs( 4 ) );
    EXPECT_TRUE( parts.policer );
    EXPECT_THAT( qualifiers.ranges, ElementsAre( EntryRange{ parts.rangeCheckers[ 0 ], false } ) );
    EXPECT_EQ( qualifiers.classes, ( TableClasses{ { Table::srcIp, 1 },
                                                   { Table::dstIp, 1 },
                                                   { Table::ipProto, 1 },
                                                   { Table::l4DstPort, 1 } } ) );
    EXPECT_FALSE( qualifiers.source || qualifiers.destination || qualifiers.protocol ||
                  qualifiers.destinationPort );
    programmer.release( parts );
    EXPECT_THAT( Sim::difference( before, scene.snapshot() ), IsEmpty() );
    EXPECT_EQ( scene.held(), 0U );
    programmer.release( parts ); // There is nothing left to give back.
}

TEST_F( RuleProgrammerTest, Acquire_WithoutCompression_MatchesValues )
{
    RuleScene scene( Sim::builtInProfile( "hsdk" ) );
    RuleProgrammer programmer( managersOf( scene ) );
    EXPECT_EQ( acquire( programmer ), "" );
    EXPECT_THAT( parts.classes, IsEmpty() );
    EXPECT_EQ( qualifiers.source, rule().source );
    EXPECT_EQ( qualifiers.destination, rule().destination );
    EXPECT_EQ( qualifiers.protocol, rule().protocol );
    EXPECT_EQ( qualifiers.destinationPort, ( Masked< Agent::U16 >{ 80, 0xFFFF } ) );
    EXPECT_FALSE( qualifiers.sourcePort );
    programmer.release( parts );
    EXPECT_EQ( scene.held(), 0U );
}

TEST_F( RuleProgrammerTest, Acquire_Refused_LeavesWhatWasTakenInTheParts )
{
    Sim::ChipProfile profile = Sim::builtInProfile( "sdk6-udf" );
    profile.policers.capacity = 0;
    RuleScene scene( profile );
    RuleProgrammer programmer( managersOf( scene ) );
    EXPECT_EQ( acquire( programmer ), noPolicer );
    EXPECT_THAT( parts.classes, SizeIs( 4 ) );
    EXPECT_FALSE( parts.policer );
    programmer.release( parts );
    EXPECT_EQ( scene.held(), 0U );
}

TEST_F( RuleProgrammerTest, Counts_Added_AreSums )
{
    RuleCounts sum;
    sum += { { 1, 2 }, { 3, 4 }, { 5, 6 }, 7, 8 };
    sum += { { 10, 20 }, { 30, 40 }, { 50, 60 }, 70, 80 };
    EXPECT_EQ( sum.rangeCheckers, ( ResourceCounts{ 11, 22 } ) );
    EXPECT_EQ( sum.classes, ( ResourceCounts{ 33, 44 } ) );
    EXPECT_EQ( sum.policers, ( ResourceCounts{ 55, 66 } ) );
    EXPECT_EQ( sum.overlaps, 77U );
    EXPECT_EQ( sum.counters, 88U );
}

} // namespace
} // namespace Reference
