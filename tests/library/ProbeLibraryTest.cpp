// The pattern that every source of the product follows, on the probe library: construction by type
// name, attributes, memory, destruction, log messages, trace handles, loading and unloading.

#include "agent/base/AllocationTracker.h"
#include "agent/base/Locks.h"
#include "agent/base/Log.h"
#include "agent/base/SlabAllocator.h"
#include "agent/base/TypeRegistry.h"
#include "tests/library/ElfFile.h"
#include "tests/library/LoadedLibrary.h"
#include "tests/support/RecordingSdk.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace LibraryTest {
namespace {

using Agent::AttributeOperation;
using Agent::U32;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

const std::string probePath = PELORA_PROBE_LIBRARY;
constexpr U32 refusedUnit = 0xFFFFFFFF;

/// What the tracker of a class counts; the class must be loaded.
Agent::AllocationReport reportOf( const std::string& className )
{
    const auto reports = Agent::allocationReports();
    const auto found = std::ranges::find( reports, className, &Agent::AllocationReport::className );
    return found == reports.end() ? Agent::AllocationReport{ "none", 999, 999 } : *found;
}

class ProbeLibraryTest : public ::testing::Test
{
  protected:
    static const Agent::TypeRecord& typeOf( const std::string& name )
    {
        const Agent::TypeRecord* type = Agent::registeredType( name );
        EXPECT_NE( type, nullptr ) << name;
        return *type;
    }

    static Agent::Ptr< Agent::Node > make( const std::string& name, Agent::U8 pipeId, U32 unit )
    {
        const void* const arguments[] = { &pipeId, &unit };
        return Agent::construct( typeOf( name ), arguments );
    }

    static int readU32( Agent::Node& node, const char* attribute, U32& value )
    {
        return Agent::attributeOperation( node, attribute, AttributeOperation::read, &value );
    }

    void handleInitialized( Agent::Node& node )
    {
        library.symbol< void( Agent::Node& ) >( "probeHandleInitialized" )( node );
    }

    LoadedLibrary library{ probePath };
};

// ---- The module record -----------------------------------------------------------------------

TEST_F( ProbeLibraryTest, Load_TwoClasses_StandInOneModuleRecord )
{
    const Agent::Ptr< Agent::Node > lamp = make( "Probe::Lamp", 1, 2 );
    const Agent::Ptr< Agent::Node > bell = make( "Probe::Bell", 1, 2 );
    ASSERT_TRUE( lamp && bell );
    EXPECT_EQ( &lamp->typeData(), &bell->typeData() );
    EXPECT_EQ( lamp->typeData().source, "tests/library/probe/Probe" );
    EXPECT_EQ( lamp->typeData().types.size(), 2U );
    EXPECT_EQ( Agent::typeRecord( *lamp ).name, "Probe::Lamp" );
    EXPECT_EQ( Agent::typeRecord( *bell ).name, "Probe::Bell" );
}

TEST_F( ProbeLibraryTest, Construct_ByName_TakesTheArgumentsInOrder )
{
    const Agent::Ptr< Agent::Node > bell = make( "Probe::Bell", 7, 300 );
    ASSERT_TRUE( bell );
    Agent::U8 pipeId = 0;
    U32 unit = 0;
    EXPECT_EQ( Agent::attributeOperation( *bell, "pipeId", AttributeOperation::read, &pipeId ), 0 );
    EXPECT_EQ( readU32( *bell, "unit", unit ), 0 );
    EXPECT_EQ( pipeId, 7 );
    EXPECT_EQ( unit, 300U );
    EXPECT_EQ( bell->references(), 1U );
}

// ---- Attributes ------------------------------------------------------------------------------

TEST_F( ProbeLibraryTest, Attribute_OfTheClassItself_IsReadableOnly )
{
    const Agent::Ptr< Agent::Node > lamp = make( "Probe::Lamp", 1, 2 );
    U32 value = 0;
    EXPECT_EQ( readU32( *lamp, "brightness", value ), 0 );
    EXPECT_EQ( value, 1002U );
    EXPECT_EQ( Agent::attributeOperation( *lamp, "brightness", AttributeOperation::create, &value ),
               1 );
    EXPECT_EQ( Agent::attributeOperation( *lamp, "brightness", AttributeOperation::remove, &value ),
               1 );
}

TEST_F( ProbeLibraryTest, AttributeOperation_OfTheClassItself_PassesTheBasesOn )
{
    const Agent::Ptr< Agent::Node > lamp = make( "Probe::Lamp", 1, 2 );
    U32 value = 0;
    const Agent::AttributeFunction own = typeOf( "Probe::Lamp" ).attributeOperation;
    EXPECT_EQ( own( *lamp, { "unit" }, AttributeOperation::read, &value ), 2 );
    EXPECT_EQ( readU32( *lamp, "unit", value ), 0 );
    EXPECT_EQ( value, 2U );
}

TEST_F( ProbeLibraryTest, Attribute_OfTheOtherClassOfTheModule_IsNotHandled )
{
    const Agent::Ptr< Agent::Node > bell = make( "Probe::Bell", 1, 2 );
    U32 value = 0;
    EXPECT_EQ( readU32( *bell, "brightness", value ), 2 );
}

// ---- Memory and destruction ------------------------------------------------------------------

TEST_F( ProbeLibraryTest, Construct_LastPtrGone_CountsAreAsBefore )
{
    const Agent::AllocationReport before = reportOf( "Probe::Lamp" );
    const char* typeName = typeOf( "Probe::Lamp" ).type->name();
    const std::size_t live = Agent::slabUse( typeName ).live;
    {
        const Agent::Ptr< Agent::Node > lamp = make( "Probe::Lamp", 1, 2 );
        EXPECT_EQ( reportOf( "Probe::Lamp" ).count, before.count + 1 );
        EXPECT_GT( reportOf( "Probe::Lamp" ).bytes, before.bytes );
        EXPECT_EQ( Agent::slabUse( typeName ).live, live + 1 );
    }
    EXPECT_EQ( reportOf( "Probe::Lamp" ).count, before.count );
    EXPECT_EQ( reportOf( "Probe::Lamp" ).bytes, before.bytes );
    EXPECT_EQ( Agent::slabUse( typeName ).live, live );
}

TEST_F( ProbeLibraryTest, Construct_EachClass_HasATrackerOfItsOwn )
{
    const Agent::Ptr< Agent::Node > lamp = make( "Probe::Lamp", 1, 2 );
    EXPECT_EQ( reportOf( "Probe::Lamp" ).count, 1U );
    EXPECT_EQ( reportOf( "Probe::Bell" ).count, 0U );
}

TEST_F( ProbeLibraryTest, Construct_BaseThrows_ExceptionPassesAndNothingIsLeft )
{
    const char* typeName = typeOf( "Probe::Lamp" ).type->name();
    EXPECT_THROW( make( "Probe::Lamp", 1, refusedUnit ), std::invalid_argument );
    EXPECT_EQ( reportOf( "Probe::Lamp" ).count, 0U );
    EXPECT_EQ( reportOf( "Probe::Lamp" ).bytes, 0U );
    EXPECT_EQ( Agent::slabUse( typeName ).live, 0U );
    EXPECT_TRUE( make( "Probe::Lamp", 1, 2 ) );
}

TEST_F( ProbeLibraryTest, Destroy_LastPtrGone_BaseSeesTheNodeMarked )
{
    auto* flags = library.symbol< U32() >( "probeFlagsAtBaseDestruction" );
    EXPECT_EQ( flags(), 0U );
    Agent::Ptr< Agent::Node > lamp = make( "Probe::Lamp", 1, 2 );
    EXPECT_EQ( lamp->nodeFlags(), 0U );
    lamp = nullptr;
    EXPECT_EQ( flags(), 0x20000000U );
}

// ---- Trace and log ---------------------------------------------------------------------------

TEST_F( ProbeLibraryTest, DefaultTraceHandle_FirstUse_IsMadeWithTheFacilitysLevels )
{
    TestSupport::TraceRecorder traces;
    EXPECT_THAT( Agent::traceFacilities(), Not( Contains( "ProbeModule" ) ) );
    traces.levelsIs( "ProbeModule", 1U << 8 );
    handleInitialized( *make( "Probe::Lamp", 1, 2 ) );
    EXPECT_THAT( Agent::traceFacilities(), Contains( "ProbeModule" ) );
    EXPECT_THAT( traces.texts(), ElementsAre( "handleInitialized" ) );
}

TEST_F( ProbeLibraryTest, ApiTraceHandle_MadeAtLoad_TracesTheCall )
{
    TestSupport::RecordingSdk sdk;
    Shim::sdk_ = &sdk;
    const Agent::LockAnchor activity( Agent::activityLock() );
    const Agent::LogSink previous = Agent::logSinkIs( []( const Agent::LogDescriptor& ) {} );
    const TestSupport::TraceRecorder traces( "ApiPelora", 1U << 4 );
    handleInitialized( *make( "Probe::Bell", 1, 2 ) );
    Agent::logSinkIs( previous );
    Shim::sdk_ = nullptr;
    ASSERT_EQ( traces.lines().size(), 1U );
    const TestSupport::RecordedLine line = traces.lines()[ 0 ];
    EXPECT_EQ( line.text, "tests/library/probe/Probe.cpp:" + std::to_string( line.line ) +
                              " bcm_range_destroy( 0, 1 ) (rc:0)" );
}

TEST_F( ProbeLibraryTest, LogHandles_MadeAtLoad_RaiseTheirMessages )
{
    TestSupport::RecordingSdk sdk;
    Shim::sdk_ = &sdk;
    const Agent::LockAnchor activity( Agent::activityLock() );
    std::vector< std::string > raised;
    const Agent::LogSink previous =
        Agent::logSinkIs( [ & ]( const Agent::LogDescriptor& descriptor ) {
            raised.push_back( logText( descriptor ) );
        } );
    handleInitialized( *make( "Probe::Bell", 1, 2 ) );
    Agent::logSinkIs( previous );
    Shim::sdk_ = nullptr;
    EXPECT_THAT( raised, ElementsAre( "%4-PROBE_LAMP_BROKEN: A lamp is broken",
                                      "%6-PROBE_LAMP_MENDED: A lamp is mended" ) );
}

// ---- The section of log messages, in the file ------------------------------------------------

/// A descriptor as it stands in the file.
struct Message
{
    std::optional< std::string > name;
    std::optional< std::string > message;
    std::optional< std::string > explanation;
    std::optional< std::string > recommendedAction;
    U32 level = 0;
};

std::vector< Message > messagesOf( const ElfFile& file )
{
    const std::string section = ".korvel_logmsg";
    const std::size_t size = file.sectionSize( section ).value_or( 0 );
    EXPECT_EQ( size % sizeof( Agent::LogDescriptor ), 0U );
    std::vector< Message > messages;
    for ( std::size_t at = 0; at < size; at += sizeof( Agent::LogDescriptor ) ) {
        messages.push_back(
            { file.textBehindPointerIn( section, at ), file.textBehindPointerIn( section, at + 8 ),
              file.textBehindPointerIn( section, at + 16 ),
              file.textBehindPointerIn( section, at + 24 ), file.numberIn( section, at + 32 ) } );
    }
    return messages;
}

TEST( ProbeFileTest, LogSection_OfTheFile_HoldsBothDescriptors )
{
    const std::vector< Message > messages = messagesOf( ElfFile( probePath ) );
    ASSERT_EQ( messages.size(), 2U );
    const auto broken = std::ranges::find( messages, "PROBE_LAMP_BROKEN", &Message::name );
    ASSERT_NE( broken, messages.end() );
    EXPECT_EQ( broken->message, "A lamp is broken" );
    EXPECT_EQ( broken->explanation, "A lamp gives no light." );
    EXPECT_EQ( broken->recommendedAction, "Replace the lamp." );
    EXPECT_EQ( broken->level, 4U );
    const auto mended = std::ranges::find( messages, "PROBE_LAMP_MENDED", &Message::name );
    ASSERT_NE( mended, messages.end() );
    EXPECT_EQ( mended->message, "A lamp is mended" );
    EXPECT_EQ( mended->explanation, "A lamp gives light again." );
    EXPECT_EQ( mended->recommendedAction, "" );
    EXPECT_EQ( mended->level, 6U );
}

// ---- Unloading -------------------------------------------------------------------------------

TEST( ProbeFileTest, Unload_AfterUse_LeavesNothingBehind )
{
    const std::size_t modules = Agent::registeredModules().size();
    const std::vector< std::string > facilities = Agent::traceFacilities();
    for ( int round = 0; round < 100; ++round ) {
        LoadedLibrary library( probePath );
        EXPECT_EQ( Agent::logHandleCount( "PROBE_LAMP_BROKEN" ), 1U );
        EXPECT_EQ( Agent::logHandleCount( "PROBE_LAMP_MENDED" ), 1U );
        {
            const Agent::Ptr< Agent::Node > lamp = [] {
                const Agent::U8 pipeId = 1;
                const U32 unit = 2;
                const void* const arguments[] = { &pipeId, &unit };
                return Agent::construct( *Agent::registeredType( "Probe::Lamp" ), arguments );
            }();
            library.symbol< void( Agent::Node& ) >( "probeHandleInitialized" )( *lamp );
        }
        EXPECT_THAT( Agent::traceFacilities(),
                     AllOf( Contains( "ApiPelora" ), Contains( "ProbeModule" ) ) );
        library.unload();
        EXPECT_FALSE( LoadedLibrary::isLoaded( probePath ) );
        EXPECT_EQ( Agent::registeredModules().size(), modules );
        EXPECT_EQ( Agent::registeredType( "Probe::Lamp" ), nullptr );
        EXPECT_EQ( Agent::logHandleCount( "PROBE_LAMP_BROKEN" ), 0U );
        EXPECT_EQ( Agent::logHandleCount( "PROBE_LAMP_MENDED" ), 0U );
        EXPECT_EQ( Agent::traceFacilities(), facilities );
        EXPECT_EQ( reportOf( "Probe::Lamp" ).className, "none" );
    }
}

} // namespace
} // namespace LibraryTest
