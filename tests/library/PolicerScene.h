#pragma once

/// What the tests of the policer helpers share: both helpers, on one chip with room for two
/// policers, and an id manager whose pools are as a test sets them up.

#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "agent/tcam/CommonData.h"
#include "agent/tcam/IdManager.h"
#include "tests/library/HelperScene.h"

#include <string>

namespace LibraryTest {

using PeloraTcam::FeatureIdType;
using PeloraTcam::Policer;
using PeloraTcam::PolicerData;
using PeloraTcam::PolicerId;
using PeloraTcam::PolicerMode;
using PeloraTcam::stageIfp;
using PeloraTcam::StageType;
using PeloraTcam::stageVfp;

constexpr const char* sdk6PolicerSource = "PeloraTcam/PeloraTcamSdk6PolicerHelper.cpp";
constexpr const char* hsdkPolicerSource = "PeloraTcam/PeloraTcamHsdkPolicerHelper.cpp";

/// The facility of both.
constexpr const char* policerFacility = "PeloraTcamPolicer";

constexpr Policer policerOf( PolicerMode mode, bool colorAware = false )
{
    return { .committedRate = 1000,
             .peakRate = 2000,
             .committedBurst = 64,
             .peakBurst = 128,
             .mode = mode,
             .colorAware = colorAware };
}

class PolicerScene : public HelperScene
{
  protected:
    static constexpr Agent::U8 pipeId = 2;
    static constexpr PolicerId firstIfpId = 100;
    static constexpr PolicerId firstVfpId = 200;
    static constexpr Agent::U32 poolSize = 3;

    static constexpr SdkCallSite sdk6Create{
        sdk6PolicerSource,
        "PeloraTcamSdk6PolicerHelper::getPolicer",
        "bcm_policer_create( unit, &conf, ( bcm_policer_t * )&policerId )",
    };
    static constexpr SdkCallSite sdk6Destroy{
        sdk6PolicerSource,
        "PeloraTcamSdk6PolicerHelper::releasePolicer",
        "bcm_policer_destroy( unit, ( bcm_policer_t )policerId )",
    };
    static constexpr SdkCallSite sdk6Get{
        sdk6PolicerSource,
        "PeloraTcamSdk6PolicerHelper::verifyTcamSanity",
        "bcm_policer_get( unit, policerData->policerId(), &conf )",
    };
    static constexpr SdkCallSite hsdkCreate{
        hsdkPolicerSource,
        "PeloraTcamHsdkPolicerHelper::getPolicer",
        "rc",
    };
    static constexpr SdkCallSite hsdkDestroy{
        hsdkPolicerSource,
        "PeloraTcamHsdkPolicerHelper::releasePolicer",
        "bcm_policer_destroy( unit, ( bcm_policer_t )policerId )",
    };
    static constexpr const char* outOfSync =
        "( policerCfg == policerData->policerCfg() ) && "
        "\"PolicerManager::policerData sw collection is out of sync\" && "
        "\"with HW policer table\"";

    PolicerScene()
    {
        ids.poolIs( FeatureIdType::policer, stageIfp(), firstIfpId, poolSize );
        ids.poolIs( FeatureIdType::policer, stageVfp(), firstVfpId, poolSize );
    }

    ~PolicerScene() override
    {
        ids.clear();
        PeloraTcam::getPeloraTcamCommonData().policerFlagsDel( stageIfp() );
    }

    /// The record of a policer, as a manager would keep it.
    static Agent::Ptr< const PolicerData > recordOf( const Policer& policer, PolicerId id )
    {
        return Agent::Ptr< const PolicerData >( new PolicerData( policer, id ) );
    }

    /// What the chip's policer reads back from now on: with that output changed.
    void corruptReadBack( const std::string& output, uint64_t value )
    {
        faulty.addFromNow( { { .function = "bcm_policer_get", .fromThenOn = true },
                             Sim::CorruptOutput{ output, value } } );
    }

    void expectOutOfSync( const Policer& policer, PolicerId id )
    {
        expectAssertion( sdk6Get, outOfSync,
                         [ & ] { sdk6->verifyTcamSanity( recordOf( policer, id ) ); } );
    }

    PeloraTcam::PeloraTcamIdManager& ids = PeloraTcam::getGeneralIdManager();
    Agent::Ptr< PeloraTcam::PeloraTcamSdk6PolicerHelper > sdk6{
        new PeloraTcam::PeloraTcamSdk6PolicerHelper( pipeId, PeloraTcam::FapId( unit ) ) };
    Agent::Ptr< PeloraTcam::PeloraTcamHsdkPolicerHelper > hsdk{
        new PeloraTcam::PeloraTcamHsdkPolicerHelper( pipeId, PeloraTcam::FapId( unit ) ) };
};

} // namespace LibraryTest
