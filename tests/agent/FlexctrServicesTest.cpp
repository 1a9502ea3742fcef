#include "agent/tcam/FlexctrServices.h"

#include "agent/tcam/SdkFlexctrManager.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

TEST( FlexctrServicesTest, Managers_NotSet_AreNull )
{
    EXPECT_EQ( getCounterObjectManager(), nullptr );
    EXPECT_EQ( getFlexctrManager(), nullptr );
}

TEST( FlexctrServicesTest, Managers_Set_AreTheseUntilTakenAway )
{
    SdkCounterObjectManager objects;
    SdkFlexctrManager flexctrs( objects, 8 );
    counterObjectManagerIs( &objects );
    flexctrManagerIs( &flexctrs );
    EXPECT_EQ( getCounterObjectManager(), &objects );
    EXPECT_EQ( getFlexctrManager(), &flexctrs );
    counterObjectManagerIs( nullptr );
    flexctrManagerIs( nullptr );
    EXPECT_EQ( getCounterObjectManager(), nullptr );
    EXPECT_EQ( getFlexctrManager(), nullptr );
}

TEST( FlexctrServicesTest, Attachment_EachState_IsCompleteOrNot )
{
    EXPECT_FALSE( FlexctrAttachment().complete() );
    EXPECT_TRUE( FlexctrAttachment{ FlexctrAttachState::complete }.complete() );
    EXPECT_FALSE( FlexctrAttachment{ FlexctrAttachState::noFreeIndex }.complete() );
    EXPECT_FALSE( FlexctrAttachment{ FlexctrAttachState::refused }.complete() );
}

} // namespace
} // namespace PeloraTcam
