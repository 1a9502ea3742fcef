#pragma once

/// What the tests of the range checker helper share: a helper of pipe 3 on a simulated chip of unit
/// 5 with room for two range checkers, everything that it calls written down, and the agent's
/// activity lock held.

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "agent/base/Locks.h"
#include "sdk/SdkAccess.h"
#include "sim/FaultInjectingSdk.h"
#include "tests/support/AssertionText.h"
#include "tests/support/EnvironmentNumbering.h"
#include "tests/support/RecordingSdk.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace LibraryTest {

using PeloraTcam::invalidRangeCheckerId;
using PeloraTcam::RangeCheckerData;
using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;

class RangeCheckerScene : public ::testing::Test
{
  protected:
    static constexpr int unit = 5;
    static constexpr Agent::U8 pipeId = 3;
    static constexpr const char* source = "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.cpp";
    static constexpr const char* facility = "PeloraTcamRangeChecker";
    static constexpr const char* apiFacility = "ApiPelora";
    static constexpr const char* outOfSync =
        "( desc == rangeCheckerData->checkerDesc() ) && "
        "\"RangeCheckerManager::rangeCheckerData sw collection is out of sync\" && "
        "\"with HW rangeChecker table\"";

    RangeCheckerScene()
    {
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-tiny" ) );
        Shim::sdk_ = &sdk;
    }

    ~RangeCheckerScene() override { Shim::sdk_ = nullptr; }

    /// The record of a range checker, as a manager would keep it.
    static Agent::Ptr< const RangeCheckerData > recordOf( const RangeCheckerDesc& desc,
                                                          RangeCheckerId id )
    {
        return Agent::Ptr< const RangeCheckerData >( new RangeCheckerData( desc, id ) );
    }

    /// The names of the operations called, in their order.
    [[nodiscard]] std::vector< std::string > names() const
    {
        std::vector< std::string > all;
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            all.push_back( call.name );
        }
        return all;
    }

    [[nodiscard]] std::string chipText() const { return chips.chip( unit )->snapshot().text(); }

    /// From now on the operations of the access object say on standard error that they were
    /// called, so that a death test sees the order. Traces go to standard error too, by text.
    void operationsSpeak()
    {
        sdk.on.bcm_range_config_t_init = []( bcm_range_config_t* ) { say( "initialiser" ); };
        sdk.on.preApiCall = [] { say( "preApiCall" ); };
        sdk.on.onApiError = [] { say( "onApiError" ); };
        Agent::traceSinkIs(
            []( const Agent::TraceLine& line ) { say( "trace: " + std::string( line.text ) ); } );
    }

    static void say( const std::string& text ) { std::fprintf( stderr, "%s\n", text.c_str() ); }

    Sim::SimulatedSdk chips{ TestSupport::environmentNumbering() };
    Sim::FaultInjectingSdk faulty{ chips };
    TestSupport::RecordingSdk sdk{ faulty };
    Agent::LockAnchor activity{ Agent::activityLock() };
    Agent::Ptr< PeloraTcam::PeloraTcamSdk6RangeCheckerHelper > helper{
        new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper(
            pipeId, PeloraTcam::FapId( unit ), { "model" } ) };
};

/// All return codes of failure, with the SDK's texts.
struct Failure
{
    const char* name;
    int rc;
    const char* text;
};

inline void PrintTo( const Failure& failure, std::ostream* stream )
{
    *stream << failure.name;
}

inline std::vector< Failure > allFailures()
{
    std::vector< Failure > all;
#define SDK_RETURN_CODE( name, value, text ) all.push_back( { #name, value, text } );
#include "sdk/SdkEnumerators.def"
    std::erase_if( all, []( const Failure& failure ) { return failure.rc == 0; } );
    return all;
}

inline std::string nameOfFailure( const ::testing::TestParamInfo< Failure >& info )
{
    return info.param.name;
}

} // namespace LibraryTest
