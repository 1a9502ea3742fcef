#pragma once

/// What the tests of the range checker helper share: a helper of pipe 3 on a simulated chip of unit
/// 5 with room for two range checkers, everything that it calls written down, and the agent's
/// activity lock held.

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "tests/library/HelperScene.h"

#include <string>

namespace LibraryTest {

using PeloraTcam::invalidRangeCheckerId;
using PeloraTcam::RangeCheckerData;
using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;

class RangeCheckerScene : public HelperScene
{
  protected:
    static constexpr Agent::U8 pipeId = 3;
    static constexpr const char* source = "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.cpp";
    static constexpr const char* facility = "PeloraTcamRangeChecker";
    static constexpr const char* outOfSync =
        "( desc == rangeCheckerData->checkerDesc() ) && "
        "\"RangeCheckerManager::rangeCheckerData sw collection is out of sync\" && "
        "\"with HW rangeChecker table\"";

    /// The record of a range checker, as a manager would keep it.
    static Agent::Ptr< const RangeCheckerData > recordOf( const RangeCheckerDesc& desc,
                                                          RangeCheckerId id )
    {
        return Agent::Ptr< const RangeCheckerData >( new RangeCheckerData( desc, id ) );
    }

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

    Agent::Ptr< PeloraTcam::PeloraTcamSdk6RangeCheckerHelper > helper{
        new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper(
            pipeId, PeloraTcam::FapId( unit ), { "model" } ) };
};

inline std::string nameOfFailure( const ::testing::TestParamInfo< SdkFailure >& info )
{
    return info.param.name;
}

} // namespace LibraryTest
