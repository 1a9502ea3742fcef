#include "agent/tcam/ChipInfo.h"

#include "agent/base/Assert.h"

namespace PeloraCentral {

using Agent::Ptr;
using Agent::U32;
using Agent::U8;

U32 CosQueueMap::classifierId( ClassifierKind kind, U8 trafficClass ) const
{
    const auto found = ids_.find( { kind, trafficClass } );
    return found == ids_.end() ? 0 : found->second;
}

void CosQueueMap::classifierIdIs( ClassifierKind kind, U8 trafficClass, U32 id )
{
    ids_.insert_or_assign( { kind, trafficClass }, id );
}

ChipProfile::ChipProfile( std::optional< TcamFeatureAttributes > attributes )
    : tcamFeatureAttributes_( attributes )
{}

ChipInfo::ChipInfo()
    : ChipInfo( Ptr< const CosQueueMap >( new CosQueueMap ) )
{}

ChipInfo::ChipInfo( Ptr< const CosQueueMap > cosQueueMap )
    : cosQueueMap_( std::move( cosQueueMap ) )
{
    AGENT_ASSERT( cosQueueMap_ );
}

void ChipInfo::activeChipProfileIs( Ptr< const ChipProfile > profile )
{
    activeChipProfile_ = std::move( profile );
}

} // namespace PeloraCentral
