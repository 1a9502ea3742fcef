#pragma once

/// What the tests of the HSDK counter helper share: a helper of pipe 2 and unit 5, and services of
/// the agent that write down how they are called and answer as a test says.

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "agent/base/TextPieces.h"
#include "agent/tcam/FlexctrServices.h"
#include "agent/tcam/GroupIdMap.h"
#include "tests/library/HelperScene.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace LibraryTest {

using PeloraTcam::CounterInfo;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterStatus;
using PeloraTcam::CounterType;
using PeloraTcam::stageIfp;
using PeloraTcam::StageType;

/// The agent's three services behind flex counters, in one.
class RecordingFlexctrs final : public PeloraTcam::FlexctrManager,
                                public PeloraTcam::PeloraTcamCounterObjectManager,
                                public PeloraTcam::FlexctrActionIndexManager
{
  public:
    using ChipInfo = PeloraCentral::ChipInfo;
    using U8 = Agent::U8;
    using U32 = Agent::U32;
    using U64 = Agent::U64;

    std::vector< std::string > calls;
    const ChipInfo* chipInfo = nullptr; ///< of the last call that had one
    U32 object = 77;
    PeloraTcam::FlexctrAttachState state = PeloraTcam::FlexctrAttachState::complete;
    std::function< void() > whileAttaching = [] {};
    std::map< CounterType, std::pair< U64, U64 > > hits; ///< packets and bytes by type
    bool knowsHits = true;                               ///< otherwise it writes none
    bool hasActionIndexManager = true;
    const PeloraTcam::FlexctrAllocPerEntry* allocation = nullptr;

    U32 getCounterObject( U32 unit, StageType stage, U8 pipe, U32 priority ) override
    {
        note( "getCounterObject ", unit, " ", stage, " ", pipe, " ", priority );
        return object;
    }

    PeloraTcam::FlexctrAttachment attachFlexctr( U32 unit,
                                                 StageType stage,
                                                 U8 pipe,
                                                 const ChipInfo& info,
                                                 U32 priority,
                                                 U32 entryId,
                                                 const CounterSet& set,
                                                 Agent::S32 group ) override
    {
        chipInfo = &info;
        whileAttaching();
        note( "attachFlexctr ", unit, " ", stage, " ", pipe, " ", priority, " ", entryId, " ", set,
              " ", group );
        return { state };
    }

    void detachFlexctr( U32 unit,
                        StageType stage,
                        U8 pipe,
                        const ChipInfo& info,
                        U32 priority,
                        U32 entryId ) override
    {
        chipInfo = &info;
        note( "detachFlexctr ", unit, " ", stage, " ", pipe, " ", priority, " ", entryId );
    }

    void getFlexctr( U32 unit,
                     StageType stage,
                     U8 pipe,
                     const ChipInfo& info,
                     U32 entryId,
                     CounterType type,
                     U64& packets,
                     U64& bytes ) override
    {
        chipInfo = &info;
        note( "getFlexctr ", unit, " ", stage, " ", pipe, " ", entryId, " ", type );
        if ( knowsHits ) {
            packets = hits[ type ].first;
            bytes = hits[ type ].second;
        }
    }

    void clearFlexctr( U32 unit,
                       StageType stage,
                       U8 pipe,
                       const ChipInfo& info,
                       U32 entryId,
                       bool inHardware ) override
    {
        chipInfo = &info;
        note( "clearFlexctr ", unit, " ", stage, " ", pipe, " ", entryId, " ", inHardware );
    }

    U8 getPipe( U8 pipeId, StageType stage ) override
    {
        note( "getPipe ", pipeId, " ", stage );
        return static_cast< U8 >( pipeId + 40 );
    }

    PeloraTcam::FlexctrActionIndexManager* actionIndexMgr() override
    {
        return hasActionIndexManager ? this : nullptr;
    }

    const PeloraTcam::FlexctrAllocPerEntry*
    getFlexctrAllocPerEntry( U32 unit, U32 entryId, U8 pipe ) override
    {
        note( "getFlexctrAllocPerEntry ", unit, " ", entryId, " ", pipe );
        return allocation;
    }

  private:
    template< class... Pieces >
    void note( const Pieces&... pieces )
    {
        calls.push_back( Agent::joinPieces( pieces... ) );
    }
};

class HsdkCounterScene : public HelperScene
{
  protected:
    using Helper = PeloraTcam::PeloraTcamHsdkCounterHelper;

    static constexpr const char* source = "PeloraTcam/PeloraTcamHsdkCounterHelper.cpp";
    static constexpr const char* facility = "PeloraTcamHsdkCounterHelper";
    static constexpr Agent::U8 pipeId = 2;
    static constexpr Agent::U32 logicalGroup = 0x01000005;
    static constexpr Agent::U32 entry = 0xAB;
    static constexpr Agent::U32 priority = 1;

    HsdkCounterScene()
        : HelperScene( "hsdk" )
    {
        PeloraTcam::counterObjectManagerIs( &flexctrs );
        PeloraTcam::flexctrManagerIs( &flexctrs );
        PeloraTcam::getGroupIdMap().hardwareGroupIdIs( 0x08000005, 7 );
    }

    ~HsdkCounterScene() override
    {
        PeloraTcam::counterObjectManagerIs( nullptr );
        PeloraTcam::flexctrManagerIs( nullptr );
        PeloraTcam::getGroupIdMap().hardwareGroupIdDel( 0x08000005 );
    }

    static CounterSet setOf( std::initializer_list< int > types )
    {
        CounterSet set;
        for ( const int type : types ) {
            set.emplace( static_cast< CounterType >( type ), true );
        }
        return set;
    }

    /// A record of the entry with counters of these types.
    static CounterInfo recordOf( std::initializer_list< int > types )
    {
        CounterInfo info;
        info.counterId = 0x1F;
        info.stage = stageIfp();
        info.counterSet = setOf( types );
        info.statId = 4711; // Not used: the entry counts.
        info.entryId = entry;
        return info;
    }

    CounterInfo allocate( const CounterSet& set )
    {
        return helper->allocateCounter( stageIfp(), logicalGroup, entry, set, priority );
    }

    static SdkCallSite site( const char* function ) { return { source, function, "" }; }

    RecordingFlexctrs flexctrs;
    Agent::Ptr< Helper > helper =
        Helper::PeloraTcamHsdkCounterHelperIs( pipeId, unit, PeloraCentral::ChipInfo() );
};

} // namespace LibraryTest
