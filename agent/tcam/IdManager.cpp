#include "agent/tcam/IdManager.h"

#include "agent/base/Assert.h"

namespace PeloraTcam {

void PeloraTcamIdManager::poolIs( FeatureIdType feature, StageType stage, U32 first, U32 size )
{
    AGENT_ASSERT( first != 0 && "0 is never an id" );
    AGENT_ASSERT( size <= 0xFFFFFFFF - first + 1 && "ids have 32 bits" );
    AGENT_ASSERT( allocatedIds( feature, stage ) == 0 && "pool is in use" );
    pools_[ { feature, stage } ] = { first, size, 0, {} };
}

bool PeloraTcamIdManager::canAllocateId( FeatureIdType feature, StageType stage ) const
{
    const auto found = pools_.find( { feature, stage } );
    return found != pools_.end() &&
           ( !found->second.freed.empty() || found->second.everAllocated < found->second.size );
}

U32 PeloraTcamIdManager::allocateId( FeatureIdType feature, StageType stage )
{
    AGENT_ASSERT( canAllocateId( feature, stage ) && "pool has no free id" );
    Pool& pool = pools_.at( { feature, stage } );
    if ( pool.freed.empty() ) {
        return pool.first + pool.everAllocated++;
    }
    return pool.freed.extract( pool.freed.begin() ).value();
}

void PeloraTcamIdManager::freeId( FeatureIdType feature, StageType stage, U32 id )
{
    const auto found = pools_.find( { feature, stage } );
    AGENT_ASSERT( found != pools_.end() && isAllocated( found->second, id ) &&
                  "id is not allocated" );
    found->second.freed.insert( id );
}

bool PeloraTcamIdManager::isAllocated( const Pool& pool, U32 id )
{
    return id >= pool.first && id - pool.first < pool.everAllocated && !pool.freed.contains( id );
}

U32 PeloraTcamIdManager::allocatedIds( FeatureIdType feature, StageType stage ) const
{
    const auto found = pools_.find( { feature, stage } );
    if ( found == pools_.end() ) {
        return 0;
    }
    const Pool& pool = found->second;
    return pool.everAllocated - static_cast< U32 >( pool.freed.size() );
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
