// One scenario on several chips, without a command line.

#include "tools/run/Comparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using Tool::Outcome;
using Tool::Scenario;

/// A step that gives the name of the chip it runs on.
class NameOfTheChip : public Tool::Step
{
  public:
    explicit NameOfTheChip( std::string chip )
        : chip_( std::move( chip ) )
    {}

    [[nodiscard]] std::string name() const override { return "chip"; }

    [[nodiscard]] Tool::StepResult run( Tool::RunContext& ) const override
    {
        return { Outcome::ok, chip_ };
    }

  private:
    std::string chip_;
};

/// Keeps the texts of the steps.
class TextsOfSteps : public Tool::RunReport
{
  public:
    void runStarts( const Tool::RunHeading& heading ) override
    {
        texts_.push_back( "run on " + heading.profile );
    }

    void stepEnded( const Tool::StepReport& step ) override
    {
        texts_.push_back( step.result.text );
    }

    void runEnded( const Tool::RunSummary& ) override { texts_.push_back( "end" ); }

    void stepProgressed( const Tool::StepHeading&, std::size_t, std::size_t ) override {}

    void standardErrorWritten( std::string_view ) override {}

    std::vector< std::string > texts_;
};

Scenario scenarioOn( const std::string& chip, Outcome expected )
{
    Scenario scenario;
    scenario.file = "none";
    scenario.profile = Sim::builtInProfile( chip );
    scenario.steps.push_back( { "name", expected, std::make_unique< NameOfTheChip >( chip ) } );
    return scenario;
}

TEST( Comparison, RunOnEachChip_TwoChips_KeepsEachAndTellsThemInOrder )
{
    std::vector< Scenario > scenarios;
    scenarios.push_back( scenarioOn( "sdk6-tiny", Outcome::ok ) );
    scenarios.push_back( scenarioOn( "hsdk", Outcome::full ) );
    TextsOfSteps report;
    const auto runs = Tool::runOnEachChip( scenarios, {}, report );
    EXPECT_THAT( report.texts_, ElementsAre( "run on sdk6-tiny", "sdk6-tiny", "end", "run on hsdk",
                                             "hsdk", "end" ) );
    ASSERT_EQ( runs.size(), 2U );
    EXPECT_EQ( runs[ 0 ].chip, "sdk6-tiny" );
    EXPECT_TRUE( runs[ 0 ].record.summary.allAsExpected() );
    EXPECT_EQ( runs[ 1 ].chip, "hsdk" );
    EXPECT_FALSE( runs[ 1 ].record.summary.allAsExpected() );
    ASSERT_EQ( runs[ 1 ].record.steps.size(), 1U );
    EXPECT_EQ( runs[ 1 ].record.steps[ 0 ].result.text, "hsdk" );
}

} // namespace
