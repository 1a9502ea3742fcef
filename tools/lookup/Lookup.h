#pragma once

/// What packets meet on a chip that has been set up, asked in a child process, because the library
/// may end it during the set-up.
///
///     LookupQuestion question;
///     question.scenario = ...;
///     question.packets = describedPackets( { "tcp 10.0.0.1:1024 > 192.0.2.1:80" } );
///     const LookupEnd end = lookUp( question, listener );

#include "agent/tcam/ActionType.h"
#include "sim/SdkNumbering.h"
#include "tools/lookup/PacketSource.h"
#include "tools/rules/ClassBench.h"
#include "tools/run/RunReport.h"
#include "tools/scenario/Scenario.h"
#include "tools/text/Json.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Tool {

/// A rule set that the reference agent programs after the scenario.
struct LookupRules
{
    RuleSet ruleSet;
    PeloraTcam::ActionType action = PeloraTcam::ActionType::drop; ///< of all rules
};

struct LookupQuestion
{
    /// What sets the chip up; it may have no steps. Those that are expected to end the process are
    /// left out.
    Scenario scenario;
    std::optional< LookupRules > rules;
    Sim::SdkNumbering numbering;
    std::unique_ptr< const PacketSource > packets;
    bool onlyWinners = false; ///< nothing is metered, counted or explained
    unsigned jobs = 1;        ///< threads that look for winners
};

/// How a lookup ended.
struct LookupEnd
{
    bool isSetUp = true; ///< whether the chip holds all that it was to hold
    std::optional< UnexpectedEnd > unexpectedEnd;
};

/// Is told the answers, in the order of the packets, in the process that asks.
class LookupListener
{
  public:
    LookupListener() = default;
    LookupListener( const LookupListener& ) = delete;
    LookupListener& operator=( const LookupListener& ) = delete;
    virtual ~LookupListener() = default;

    /// The chip does not hold what it was to hold: a rule that was refused, as "file:line:1: ...",
    /// or a step that had another outcome than expected.
    virtual void setUpFailed( const std::string& message ) = 0;

    /// An answer, if not only the winners are wanted: `packet`, and the members that `Answer.h` has
    /// for a verdict and its explanation.
    virtual void answered( const Json& answer ) = 0;

    /// The lines of the next winners' rules, each with a line feed; 0 for none.
    virtual void winners( std::string_view lines ) = 0;

    /// So many packets have been looked up.
    virtual void progressed( std::size_t done, std::size_t total ) = 0;

    /// What the library writes besides.
    virtual void standardErrorWritten( std::string_view text ) = 0;

    /// It is over.
    virtual void ended( const LookupEnd& end ) = 0;
};

/// Sets the chip up and looks all packets up.
[[nodiscard]] LookupEnd lookUp( const LookupQuestion& question, LookupListener& listener );

} // namespace Tool
