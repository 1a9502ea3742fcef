#pragma once

/// What the tests of the translation share: an SDK with the numbering that the test command asks
/// for, behind an access object that writes down what it is asked; and how a lookup ends the
/// process.

#include "sim/UnavailableSdk.h"
#include "tests/library/ChildRun.h"
#include "tests/library/FieldRecordingSdk.h"
#include "tests/support/AssertionText.h"
#include "tests/support/EnvironmentNumbering.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <string>
#include <string_view>

namespace LibraryTest {

class FieldScene
{
  public:
    FieldScene() { Shim::sdk_ = &sdk; }

    FieldScene( const FieldScene& ) = delete;
    FieldScene& operator=( const FieldScene& ) = delete;

    ~FieldScene() { Shim::sdk_ = nullptr; }

    /// The SDK's value of an enumerator, by the accessor's name.
    [[nodiscard]] uint32_t valueOf( std::string_view accessor ) const
    {
        return chip.numbering().valueOf( accessor ).value();
    }

    Sim::UnavailableSdk chip{ TestSupport::environmentNumbering() };
    FieldRecordingSdk sdk{ chip };
};

/// Leaves the standard error stream as the agent may have left it: printing numbers in hexadecimal,
/// and with an error flag set. For a child process.
inline void spoilStandardError()
{
    std::cerr << std::hex;
    std::cerr.setstate( std::ios_base::badbit );
}

/// Expects that the function ends the process with these lines on standard error: `message`, then
/// the failed assertion, in that source file and that function of the library.
inline void expectDeath( const std::function< void() >& function,
                         std::string_view message,
                         std::string_view file,
                         std::string_view name,
                         std::string_view assertion )
{
    const ChildRun run = runInChild( function );
    EXPECT_TRUE( run.aborted );
    const std::string prettyName =
        ".*PeloraTcam::" + TestSupport::literally( name ) + "\\([A-Za-z0-9_:*& ]+\\)";
    EXPECT_THAT( run.errors, ::testing::MatchesRegex(
                                 TestSupport::literally( message ) +
                                 TestSupport::assertionLine( file, prettyName, assertion ) ) );
}

} // namespace LibraryTest
