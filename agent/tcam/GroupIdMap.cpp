#include "agent/tcam/GroupIdMap.h"

namespace PeloraTcam {

Agent::S32 GroupIdMap::getHardwareGroupId( Agent::U32 key ) const
{
    const auto found = groups_.find( key );
    return found == groups_.end() ? static_cast< Agent::S32 >( key ) : found->second;
}

void GroupIdMap::hardwareGroupIdIs( Agent::U32 key, Agent::S32 hardwareGroupId )
{
    groups_[ key ] = hardwareGroupId;
}

void GroupIdMap::hardwareGroupIdDel( Agent::U32 key )
{
    groups_.erase( key );
}

GroupIdMap& getGroupIdMap()
{
    static GroupIdMap map;
    return map;
}

} // namespace PeloraTcam
