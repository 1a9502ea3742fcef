// The SDK's names of the agent's enumerators are those that the built library translates to.

#include "tools/translation/TranslatedNames.h"

#include "tools/translation/TranslationTables.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace Tool {

namespace {

std::vector< TranslationRow > rowsOf( const std::string& map )
{
    const auto tables = translationTablesOn( Sim::SdkNumbering::defaults() );
    return std::ranges::find( tables, map, &TranslationTable::name )->rows;
}

TEST( TranslatedNamesTest, SdkNameOf_EachAction_IsWhatTheLibraryTranslatesItTo )
{
    for ( const TranslationRow& row : rowsOf( "actionMap" ) ) {
        EXPECT_EQ( sdkNameOf( static_cast< PeloraTcam::ActionType >( row.number ) ), row.sdkName );
        EXPECT_EQ( agentActionName( row.sdkName ), row.backToAgent.value_or( "none" ) );
    }
    EXPECT_EQ( sdkNameOf( PeloraTcam::ActionType::noAction ), "" );
    EXPECT_EQ( agentActionName( "bcmFieldActionNew" ), "bcmFieldActionNew" );
}

TEST( TranslatedNamesTest, SdkNameOf_EachQualifier_IsWhatTheLibraryTranslatesItTo )
{
    for ( const TranslationRow& row : rowsOf( "qualifierMap" ) ) {
        EXPECT_EQ( sdkNameOf( static_cast< PeloraTcam::QualifierType >( row.number ) ),
                   row.sdkName );
    }
    EXPECT_EQ( sdkNameOf( static_cast< PeloraTcam::QualifierType >( 255 ) ), "" );
}

} // namespace

} // namespace Tool
