// The order in which a source file of the library sets itself up when it is loaded, and is taken
// down when it is unloaded.
//
// This program stands before the agent's library in the loader's search, so what it defines under
// the agent's names is what the loaded library calls. Each such function writes down that it was
// called and hands on to the agent's own.

#include "agent/base/Log.h"
#include "agent/base/Trace.h"
#include "agent/base/TypeRegistry.h"
#include "tests/library/LoadedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

/// What happened since the last test began. Never destroyed: handles go late.
std::vector< std::string >& events()
{
    static auto& all = *new std::vector< std::string >;
    return all;
}

void eventIs( const std::string& what, std::string_view whose )
{
    events().push_back( what + std::string( whose ) );
}

/// The agent's own function of that name, which comes next in the search.
template< class Function >
Function* nextOf( const char* name )
{
    return reinterpret_cast< Function* >( dlsym( RTLD_NEXT, name ) );
}

} // namespace

#define MODULE_IS "_ZN5Agent11zavModuleIsERKNS_12ModuleRecordE"
#define MODULE_DEL "_ZN5Agent12zavModuleDelERKNS_12ModuleRecordE"
#define TRACE_HANDLE "_ZN5Agent11TraceHandleC1ESt17basic_string_viewIcSt11char_traitsIcEE"
#define TRACE_HANDLE_END "_ZN5Agent11TraceHandleD1Ev"
#define LOG_HANDLE "_ZN5Agent9LogHandleC1ERKNS_13LogDescriptorEjdjj"
#define LOG_HANDLE_END "_ZN5Agent9LogHandleD1Ev"

#define STANDS_BEFORE( symbol ) __asm__( symbol ) __attribute__( ( visibility( "default" ), used ) )

extern "C" {

void moduleIs( const Agent::ModuleRecord& module ) STANDS_BEFORE( MODULE_IS );
void moduleDel( const Agent::ModuleRecord& module ) STANDS_BEFORE( MODULE_DEL );
void traceHandleMade( Agent::TraceHandle* handle, std::string_view facility )
    STANDS_BEFORE( TRACE_HANDLE );
void traceHandleGone( Agent::TraceHandle* handle ) STANDS_BEFORE( TRACE_HANDLE_END );
void logHandleMade( Agent::LogHandle* handle,
                    const Agent::LogDescriptor& descriptor,
                    Agent::U32 intervalSeconds,
                    double intervalGrowth,
                    Agent::U32 burst,
                    Agent::U32 limit ) STANDS_BEFORE( LOG_HANDLE );
void logHandleGone( Agent::LogHandle* handle ) STANDS_BEFORE( LOG_HANDLE_END );

void moduleIs( const Agent::ModuleRecord& module )
{
    eventIs( "module ", module.source );
    nextOf< decltype( moduleIs ) >( MODULE_IS )( module );
}

void moduleDel( const Agent::ModuleRecord& module )
{
    eventIs( "no module ", module.source );
    nextOf< decltype( moduleDel ) >( MODULE_DEL )( module );
}

void traceHandleMade( Agent::TraceHandle* handle, std::string_view facility )
{
    eventIs( "trace ", facility );
    nextOf< decltype( traceHandleMade ) >( TRACE_HANDLE )( handle, facility );
}

void traceHandleGone( Agent::TraceHandle* handle )
{
    eventIs( "no trace ", handle->facility() );
    nextOf< decltype( traceHandleGone ) >( TRACE_HANDLE_END )( handle );
}

void logHandleMade( Agent::LogHandle* handle,
                    const Agent::LogDescriptor& descriptor,
                    Agent::U32 intervalSeconds,
                    double intervalGrowth,
                    Agent::U32 burst,
                    Agent::U32 limit )
{
    eventIs( "log ", descriptor.name );
    nextOf< decltype( logHandleMade ) >( LOG_HANDLE )( handle, descriptor, intervalSeconds,
                                                       intervalGrowth, burst, limit );
}

void logHandleGone( Agent::LogHandle* handle )
{
    eventIs( "no log ", handle->descriptor().name );
    nextOf< decltype( logHandleGone ) >( LOG_HANDLE_END )( handle );
}
}

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

TEST( LoadOrderTest, Load_OfTheProbe_IsModuleThenTraceThenLogs )
{
    events().clear();
    const LoadedLibrary library( PELORA_PROBE_LIBRARY );
    EXPECT_THAT( events(), ElementsAre( "module tests/library/probe/Probe", "trace ApiPelora",
                                        "log PROBE_LAMP_BROKEN", "log PROBE_LAMP_MENDED" ) );
}

TEST( LoadOrderTest, Unload_OfTheProbe_IsTheReverse )
{
    LoadedLibrary library( PELORA_PROBE_LIBRARY );
    events().clear();
    library.unload();
    EXPECT_THAT( events(),
                 ElementsAre( "no log PROBE_LAMP_MENDED", "no log PROBE_LAMP_BROKEN",
                              "no trace ApiPelora", "no module tests/library/probe/Probe" ) );
}

TEST( LoadOrderTest, Load_OfTheLibrary_EachModuleIsFollowedByItsTraceHandle )
{
    events().clear();
    const LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    EXPECT_THAT( events(), Contains( "module PeloraTcam/PeloraTcamSdk6RangeCheckerHelper" ) );
    for ( std::size_t i = 0; i < events().size(); ++i ) {
        if ( events()[ i ].starts_with( "module " ) ) {
            ASSERT_LT( i + 1, events().size() ) << events()[ i ];
            EXPECT_EQ( events()[ i + 1 ], "trace ApiPelora" ) << events()[ i ];
        }
    }
}

/// What loading the library does, file by file in the order in which they are linked.
const std::vector< std::string > eventsOfTheLibrary = {
    "module PeloraTcam/PeloraTcamHsdkCounterHelper",
    "trace ApiPelora",
    "module PeloraTcam/PeloraTcamHsdkPolicerHelper",
    "trace ApiPelora",
    // PeloraTcamHsdkUdfEntryHelper
    "trace ApiPelora",
    "log PELORA_TCAM_UDF_HW_RESOURCE_FULL",
    "log PELORA_TCAM_UDF_HW_RESOURCE_NORMAL",
    "module PeloraTcam/PeloraTcamSdk6CompressionHelper",
    "trace ApiPelora",
    "module PeloraTcam/PeloraTcamSdk6CounterHelper",
    "trace ApiPelora",
    // PeloraTcamSdk6Helper
    "trace ApiPelora",
    "module PeloraTcam/PeloraTcamSdk6PolicerHelper",
    "trace ApiPelora",
    "module PeloraTcam/PeloraTcamSdk6RangeCheckerHelper",
    "trace ApiPelora",
    // PeloraTcamSdk6UdfEntryHelper
    "trace ApiPelora",
    "log PELORA_TCAM_UDF_HW_RESOURCE_FULL",
    "log PELORA_TCAM_UDF_HW_RESOURCE_NORMAL",
    "module PeloraTcam/PeloraTcamUdfHsdkHelper",
    "trace ApiPelora",
    "log PELORA_TCAM_UDF_HW_RESOURCE_FULL",
    "log PELORA_TCAM_UDF_HW_RESOURCE_NORMAL",
    "module PeloraTcam/PeloraTcamUdfSdk6Helper",
    "trace ApiPelora",
    "log PELORA_TCAM_UDF_HW_RESOURCE_FULL",
    "log PELORA_TCAM_UDF_HW_RESOURCE_NORMAL",
};

TEST( LoadOrderTest, Load_OfTheLibrary_SetsUpFileByFile )
{
    events().clear();
    const LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    EXPECT_EQ( events(), eventsOfTheLibrary );
}

// Module trace handles are made when they are first used.
TEST( LoadOrderTest, Load_OfTheLibrary_MakesNoOtherTraceHandles )
{
    events().clear();
    const LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    std::vector< std::string > traces;
    std::ranges::copy_if( events(), std::back_inserter( traces ), []( const std::string& event ) {
        return event.starts_with( "trace " );
    } );
    EXPECT_THAT( traces, ::testing::Each( "trace ApiPelora" ) );
}

/// The log messages that each file with UDFs has handles on, in the order in which it makes them.
std::vector< std::string > logsOfUdfFiles( std::size_t files )
{
    std::vector< std::string > logs;
    for ( std::size_t file = 0; file < files; ++file ) {
        logs.push_back( "log PELORA_TCAM_UDF_HW_RESOURCE_FULL" );
        logs.push_back( "log PELORA_TCAM_UDF_HW_RESOURCE_NORMAL" );
    }
    return logs;
}

TEST( LoadOrderTest, Load_OfTheLibrary_EachUdfFileMakesTwoLogHandlesAfterItsTraceHandle )
{
    events().clear();
    const LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    std::vector< std::string > logs;
    for ( std::size_t i = 0; i < events().size(); ++i ) {
        if ( events()[ i ].starts_with( "log " ) ) {
            logs.push_back( events()[ i ] );
        }
        if ( events()[ i ].ends_with( "UDF_HW_RESOURCE_FULL" ) ) {
            ASSERT_GT( i, 0U );
            EXPECT_EQ( events()[ i - 1 ], "trace ApiPelora" );
        }
    }
    EXPECT_EQ( logs, logsOfUdfFiles( logs.size() / 2 ) );
    EXPECT_EQ( logs.size(), 8U ) << "four files";
}

TEST( LoadOrderTest, Load_OfTheUdfHelpers_IsModuleThenTraceThenLogs )
{
    events().clear();
    const LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    for ( const std::string record : { "module PeloraTcam/PeloraTcamUdfSdk6Helper",
                                       "module PeloraTcam/PeloraTcamUdfHsdkHelper" } ) {
        const auto module = std::ranges::find( events(), record );
        ASSERT_GE( std::distance( module, events().end() ), 4 ) << record;
        EXPECT_THAT( std::vector< std::string >( module, module + 4 ),
                     ElementsAre( record, "trace ApiPelora", "log PELORA_TCAM_UDF_HW_RESOURCE_FULL",
                                  "log PELORA_TCAM_UDF_HW_RESOURCE_NORMAL" ) );
    }
}

TEST( LoadOrderTest, Unload_OfTheLibrary_TakesBackAllThatLoadingMade )
{
    events().clear();
    LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    std::vector< std::string > expected;
    for ( const std::string& event : events() ) {
        expected.insert( expected.begin(), "no " + event );
    }
    events().clear();
    library.unload();
    EXPECT_EQ( events(), expected );
}

} // namespace
} // namespace LibraryTest
