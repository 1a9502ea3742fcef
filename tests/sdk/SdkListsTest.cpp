#include "sdk/SdkAccess.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace Shim {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The names that stand in a list more than once.
std::vector< std::string > repeated( const std::vector< std::string >& names )
{
    std::set< std::string > seen;
    std::vector< std::string > again;
    for ( const std::string& name : names ) {
        if ( !seen.insert( name ).second ) {
            again.push_back( name );
        }
    }
    return again;
}

TEST( SdkFunctionsTest, Rows_OfTheList_AreUnique )
{
    const std::vector< std::string > names = {
#define SDK_FUNCTION( family, name, parameters, arguments ) #name,
#define SDK_OPERATION( family, result, name, parameters, arguments ) #name,
#include "sdk/SdkFunctions.def"
    };

    EXPECT_THAT( repeated( names ), IsEmpty() );
    EXPECT_GT( names.size(), 100U );
}

TEST( SdkFunctionsTest, Initialisers_WhereOperationsAreAskedFor_AreAmongThem )
{
    const std::set< std::string > operations = {
#define SDK_OPERATION( family, result, name, parameters, arguments ) #name,
#include "sdk/SdkFunctions.def"
    };
    const std::vector< std::string > initialisers = {
#define SDK_INITIALISER( family, name, structure ) #name,
#include "sdk/SdkFunctions.def"
    };

    EXPECT_FALSE( initialisers.empty() );
    for ( const std::string& initialiser : initialisers ) {
        EXPECT_TRUE( operations.contains( initialiser ) ) << initialiser;
    }
}

TEST( SdkFunctionsTest, Initialisers_AskedForThemselves_AreNotOperations )
{
    const std::vector< std::string > operations = {
#define SDK_INITIALISER( family, name, structure )
#define SDK_OPERATION( family, result, name, parameters, arguments ) #name,
#include "sdk/SdkFunctions.def"
    };

    for ( const std::string& operation : operations ) {
        EXPECT_FALSE( operation.ends_with( "_init" ) ) << operation;
    }
}

TEST( SdkFunctionsTest, WrapperSupport_InTheList_IsWhatTheCallWrappersNeed )
{
    std::vector< std::string > names;
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    if ( std::string( #family ) == "wrapperSupport" ) {                                            \
        names.push_back( #name );                                                                  \
    }
#include "sdk/SdkFunctions.def"

    EXPECT_THAT( names, ElementsAre( "preApiCall", "sdkErrorText", "onApiError" ) );
}

TEST( SdkEnumeratorsTest, Rows_OfTheList_AreUnique )
{
    const std::vector< std::string > names = {
#define SDK_RETURN_CODE( name, value, text ) #name,
#define SDK_ENUMERATOR( type, name, value ) #name,
#include "sdk/SdkEnumerators.def"
    };

    EXPECT_THAT( repeated( names ), IsEmpty() );
}

TEST( SdkEnumeratorsTest, DefaultValues_WithinAnEnumeration_AreUnique )
{
    std::vector< std::string > values;
    const auto add = [ &values ]( const char* type, auto value ) {
        if constexpr ( std::is_enum_v< decltype( value ) > ) {
            values.push_back( std::string( type ) + " " +
                              std::to_string( static_cast< uint32_t >( value ) ) );
        }
    };
#define SDK_ENUMERATOR( type, name, value ) add( #type, static_cast< type >( value ) );
#include "sdk/SdkEnumerators.def"

    EXPECT_THAT( repeated( values ), IsEmpty() );
    EXPECT_FALSE( values.empty() );
}

TEST( SdkEnumeratorsTest, ReturnCodes_OfTheList_HaveTheirStatedValues )
{
    const TestSupport::RecordingSdk sdk;

    EXPECT_EQ( sdk.BCM_E_NONE(), 0 );
    EXPECT_EQ( sdk.BCM_E_INTERNAL(), -1 );
    EXPECT_EQ( sdk.BCM_E_MEMORY(), -2 );
    EXPECT_EQ( sdk.BCM_E_UNIT(), -3 );
    EXPECT_EQ( sdk.BCM_E_PARAM(), -4 );
    EXPECT_EQ( sdk.BCM_E_EMPTY(), -5 );
    EXPECT_EQ( sdk.BCM_E_FULL(), -6 );
    EXPECT_EQ( sdk.BCM_E_NOT_FOUND(), -7 );
    EXPECT_EQ( sdk.BCM_E_EXISTS(), -8 );
    EXPECT_EQ( sdk.BCM_E_TIMEOUT(), -9 );
    EXPECT_EQ( sdk.BCM_E_BUSY(), -10 );
    EXPECT_EQ( sdk.BCM_E_FAIL(), -11 );
    EXPECT_EQ( sdk.BCM_E_DISABLED(), -12 );
    EXPECT_EQ( sdk.BCM_E_BADID(), -13 );
    EXPECT_EQ( sdk.BCM_E_RESOURCE(), -14 );
    EXPECT_EQ( sdk.BCM_E_CONFIG(), -15 );
    EXPECT_EQ( sdk.BCM_E_UNAVAIL(), -16 );
    EXPECT_EQ( sdk.BCM_E_INIT(), -17 );
    EXPECT_EQ( sdk.BCM_E_PORT(), -18 );
}

TEST( SdkEnumeratorsTest, ReturnCodes_ButSuccess_AreNegativeAndHaveATextOfTheirOwn )
{
    std::vector< std::string > texts;
    std::vector< std::string > values;
#define SDK_RETURN_CODE( name, value, text )                                                       \
    texts.push_back( text );                                                                       \
    values.push_back( std::to_string( value ) );                                                   \
    EXPECT_TRUE( ( value ) < 0 || std::string( #name ) == "BCM_E_NONE" ) << #name;
#include "sdk/SdkEnumerators.def"

    EXPECT_GT( texts.size(), 10U );
    EXPECT_THAT( repeated( texts ), IsEmpty() );
    EXPECT_THAT( repeated( values ), IsEmpty() );
    EXPECT_THAT( texts, ::testing::Each( ::testing::Not( IsEmpty() ) ) );
}

} // namespace

} // namespace Shim
