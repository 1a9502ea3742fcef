#include "agent/tcam/GroupIdMap.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

TEST( GroupIdMapTest, Get_NotSet_IsTheKeyItself )
{
    const GroupIdMap map;
    EXPECT_EQ( map.getHardwareGroupId( 0x0A000005 ), 0x0A000005 );
}

TEST( GroupIdMapTest, Get_Set_IsTheGroupUntilTakenOut )
{
    GroupIdMap map;
    map.hardwareGroupIdIs( 5, 77 );
    map.hardwareGroupIdIs( 6, -3 );
    EXPECT_EQ( map.getHardwareGroupId( 5 ), 77 );
    EXPECT_EQ( map.getHardwareGroupId( 6 ), -3 );
    map.hardwareGroupIdIs( 5, 78 );
    EXPECT_EQ( map.getHardwareGroupId( 5 ), 78 );
    map.hardwareGroupIdDel( 5 );
    map.hardwareGroupIdDel( 7 );
    EXPECT_EQ( map.getHardwareGroupId( 5 ), 5 );
    EXPECT_EQ( map.getHardwareGroupId( 6 ), -3 );
}

TEST( GroupIdMapTest, GetMap_AnyTime_IsTheSame )
{
    EXPECT_EQ( &getGroupIdMap(), &getGroupIdMap() );
}

} // namespace
} // namespace PeloraTcam
