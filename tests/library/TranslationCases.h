#pragma once

/// What the small translation maps have to hold: for each, its builder, lookups and assertions, and
/// its pairs in the order in which the builder asks the access object.

#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace LibraryTest {

using PeloraTcam::U32;

/// An agent value, and the accessor of the SDK value that it stands for.
struct ExpectedPair
{
    U32 agentValue;
    const char* accessor;
};

/// A concept that is translated. Numbers stand for the values of all types.
struct TranslationCase
{
    const char* name;
    void ( *build )();
    std::map< U32, U32 > ( *forward )();
    std::map< U32, U32 > ( *reverse )(); ///< null if there is no way back
    void ( *clear )();
    void ( *preset )( U32 agentValue, U32 sdkValue ); ///< puts a pair into the forward map
    U32 ( *lookUp )( U32 agentValue );
    U32 ( *lookUpBack )( U32 sdkValue ); ///< null if there is no way back
    const char* lookUpName;
    const char* lookUpBackName;
    const char* assertion;
    const char* assertionBack;
    std::vector< ExpectedPair > pairs;

    friend std::ostream& operator<<( std::ostream& stream, const TranslationCase& translation )
    {
        return stream << translation.name;
    }
};

template< class Key, class Value >
std::map< U32, U32 > numbersOf( const std::map< Key, Value >& map )
{
    std::map< U32, U32 > numbers;
    for ( const auto& [ key, value ] : map ) {
        numbers.emplace( static_cast< U32 >( key ), static_cast< U32 >( value ) );
    }
    return numbers;
}

/// The operations on a concept that is translated from agent to SDK. The template's parameters
/// pin the types of map and lookup.
template< class AgentType,
          class SdkType,
          std::map< AgentType, SdkType >& map,
          SdkType ( *lookUp )( AgentType ) >
TranslationCase oneWay( const char* name,
                        void ( *build )(),
                        const char* lookUpName,
                        const char* assertion,
                        std::vector< ExpectedPair > pairs )
{
    TranslationCase translation{};
    translation.name = name;
    translation.build = build;
    translation.forward = [] { return numbersOf( map ); };
    translation.clear = [] { map.clear(); };
    translation.preset = []( U32 agentValue, U32 sdkValue ) {
        map.emplace( static_cast< AgentType >( agentValue ), static_cast< SdkType >( sdkValue ) );
    };
    translation.lookUp = []( U32 value ) {
        return static_cast< U32 >( lookUp( static_cast< AgentType >( value ) ) );
    };
    translation.lookUpName = lookUpName;
    translation.assertion = assertion;
    translation.pairs = std::move( pairs );
    return translation;
}

/// The same with the way back.
template< class AgentType,
          class SdkType,
          std::map< AgentType, SdkType >& map,
          std::map< SdkType, AgentType >& reverseMap,
          SdkType ( *lookUp )( AgentType ),
          AgentType ( *lookUpBack )( SdkType ) >
TranslationCase bothWays( const char* name,
                          void ( *build )(),
                          const char* lookUpName,
                          const char* lookUpBackName,
                          const char* assertion,
                          const char* assertionBack,
                          std::vector< ExpectedPair > pairs )
{
    auto translation = oneWay< AgentType, SdkType, map, lookUp >( name, build, lookUpName,
                                                                  assertion, std::move( pairs ) );
    translation.reverse = [] { return numbersOf( reverseMap ); };
    translation.clear = [] {
        map.clear();
        reverseMap.clear();
    };
    translation.lookUpBack = []( U32 value ) {
        return static_cast< U32 >( lookUpBack( static_cast< SdkType >( value ) ) );
    };
    translation.lookUpBackName = lookUpBackName;
    translation.assertionBack = assertionBack;
    return translation;
}

/// All of them.
std::vector< TranslationCase > translationCases();

} // namespace LibraryTest
