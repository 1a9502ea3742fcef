#include "tests/layering/StableHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Layering {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST( StableHeadersTest, FileOf_HeaderOfARoomOfTheSimulator_IsTheFile )
{
    const StableHeaders headers( { "sim/access/Sdk.h", "sim/access/Table.def" } );
    EXPECT_EQ( headers.fileOf( "sim/Sdk.h" ), "sim/access/Sdk.h" );
    EXPECT_EQ( headers.fileOf( "sim/Table.def" ), "sim/access/Table.def" );
    EXPECT_THAT( headers.ambiguous(), IsEmpty() );
}

TEST( StableHeadersTest, FileOf_AnyOtherPath_IsEmpty )
{
    const StableHeaders headers(
        { "sim/Sdk.h", "sim/access/Sdk.cpp", "sim/a/b/Deep.h", "tools/run/Run.h" } );
    for ( const std::string path : { "sim/Sdk.h", "sim/Sdk.cpp", "sim/Deep.h", "tools/Run.h" } ) {
        EXPECT_EQ( headers.fileOf( path ), "" ) << path;
    }
}

TEST( StableHeadersTest, Ambiguous_TwoFilesOfOneName_IsTheirPath )
{
    EXPECT_THAT( StableHeaders( { "sim/a/Sdk.h", "sim/b/Sdk.h" } ).ambiguous(),
                 ElementsAre( "sim/Sdk.h" ) );
}

} // namespace
} // namespace Layering
