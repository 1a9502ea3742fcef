#include "tools/translation/TranslationTables.h"

#include "sim/SimulatedSdk.h"
#include "tools/translation/TranslatedNames.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>

namespace Tool {

namespace {

class TranslationTablesTest : public testing::Test
{
  protected:
    TranslationTablesTest()
    {
        Shim::sdk_ = &sdk;
        tables = readTranslationTables();
    }

    ~TranslationTablesTest() override { Shim::sdk_ = nullptr; }

    [[nodiscard]] const TranslationTable& table( const std::string& name ) const
    {
        const auto found = std::ranges::find( tables, name, &TranslationTable::name );
        if ( found == tables.end() ) {
            throw std::out_of_range( "no table " + name );
        }
        return *found;
    }

    Sim::SimulatedSdk sdk{ Sim::SdkNumbering::shuffled( 5 ) };
    std::vector< TranslationTable > tables;
};

TEST_F( TranslationTablesTest, Rows_OfEveryMap_HaveNamesAndTheSdksValues )
{
    EXPECT_EQ( tables.size(), 33U );
    for ( const TranslationTable& each : tables ) {
        EXPECT_FALSE( each.rows.empty() ) << each.name;
        for ( const TranslationRow& row : each.rows ) {
            EXPECT_NE( row.agentName, "" ) << each.name << " " << row.number;
            EXPECT_EQ( sdk.numbering().valueOf( row.sdkName ), row.sdkValue )
                << each.name << " " << row.number;
            EXPECT_EQ( row.backToAgent.has_value(), each.hasReverse ) << each.name;
        }
    }
}

TEST_F( TranslationTablesTest, Rows_AnyMap_StandByRisingNumber )
{
    ASSERT_FALSE( tables.empty() );
    for ( const TranslationTable& each : tables ) {
        EXPECT_FALSE( each.rows.empty() ) << each.name;
        EXPECT_TRUE( std::ranges::is_sorted( each.rows, {}, &TranslationRow::number ) )
            << each.name;
    }
}

TEST_F( TranslationTablesTest, ManyToOne_OfActions_IsTheOneGroup )
{
    const auto& rows = table( "actionMap" ).rows;
    EXPECT_EQ( std::ranges::count( rows, true, &TranslationRow::manyToOne ), 2 );
    for ( const TranslationRow& row : rows ) {
        EXPECT_EQ( row.manyToOne, row.number == 70 || row.number == 71 ) << row.number;
    }
}

TEST_F( TranslationTablesTest, WithoutValue_OfPktFwdTypes_IsTheFirst )
{
    const auto& missing = table( "pktFwdTypeMap" ).withoutValue;
    ASSERT_EQ( missing.size(), 1U );
    EXPECT_EQ( missing[ 0 ].number, 0U );
}

TEST_F( TranslationTablesTest, SdkNameOf_EachAction_IsWhatTheLibraryTranslatesItTo )
{
    for ( const TranslationRow& row : table( "actionMap" ).rows ) {
        EXPECT_EQ( sdkNameOf( static_cast< PeloraTcam::ActionType >( row.number ) ), row.sdkName );
        EXPECT_EQ( agentActionName( row.sdkName ), row.backToAgent.value_or( "none" ) );
    }
    EXPECT_EQ( sdkNameOf( PeloraTcam::ActionType::noAction ), "" );
    EXPECT_EQ( agentActionName( "bcmFieldActionNew" ), "bcmFieldActionNew" );
}

TEST_F( TranslationTablesTest, SdkNameOf_EachQualifier_IsWhatTheLibraryTranslatesItTo )
{
    for ( const TranslationRow& row : table( "qualifierMap" ).rows ) {
        EXPECT_EQ( sdkNameOf( static_cast< PeloraTcam::QualifierType >( row.number ) ),
                   row.sdkName );
    }
    EXPECT_EQ( sdkNameOf( static_cast< PeloraTcam::QualifierType >( 255 ) ), "" );
}

} // namespace

} // namespace Tool
