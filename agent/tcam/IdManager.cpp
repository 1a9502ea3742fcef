#include "agent/tcam/IdManager.h"

#include "agent/base/Assert.h"

namespace PeloraTcam {

void PeloraTcamIdManager::poolIs( FeatureIdType feature, StageType stage, U32 first, U32 size )
{
    AGENT_ASSERT( first != 0 && "0 is never an id" );
    AGENT_ASSERT( allocatedIds( feature, stage ) == 0 && "pool is in use" );
    pools_[ { feature, stage } ] = IdPool( first, size );
}

bool PeloraTcamIdManager::canAllocateId( FeatureIdType feature, StageType stage ) const
{
    const auto found = pools_.find( { feature, stage } );
    return found != pools_.end() && found->second.canAllocate();
}

U32 PeloraTcamIdManager::allocateId( FeatureIdType feature, StageType stage )
{
    AGENT_ASSERT( canAllocateId( feature, stage ) && "pool has no free id" );
    return pools_.at( { feature, stage } ).allocate();
}

void PeloraTcamIdManager::freeId( FeatureIdType feature, StageType stage, U32 id )
{
    const auto found = pools_.find( { feature, stage } );
    AGENT_ASSERT( found != pools_.end() && found->second.isAllocated( id ) &&
                  "id is not allocated" );
    found->second.free( id );
}

U32 PeloraTcamIdManager::allocatedIds( FeatureIdType feature, StageType stage ) const
{
    const auto found = pools_.find( { feature, stage } );
    return found == pools_.end() ? 0 : found->second.allocated();
}

void PeloraTcamIdManager::clear()
{
    pools_.clear();
}

PeloraTcamIdManager& getGeneralIdManager()
{
    static PeloraTcamIdManager manager;
    return manager;
}

} // namespace PeloraTcam
