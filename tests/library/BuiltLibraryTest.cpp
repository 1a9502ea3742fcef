// The product as it is delivered: the built file, and what happens when an agent loads and unloads
// it. This test is not linked to the library.

#include "agent/base/AllocationTracker.h"
#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/RangeCheckerHelper.h"
#include "tests/library/ElfFile.h"
#include "tests/library/LoadedLibrary.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <set>

#include <malloc.h>
#include <unistd.h>

namespace LibraryTest {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

const std::string libraryPath = PELORA_HELPERS_LIBRARY;

constexpr const char* rangeCheckerClass = "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper";

#ifdef PELORA_SANITIZED
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

// ---- The file --------------------------------------------------------------------------------

std::set< std::string > listedSymbols()
{
    std::ifstream file( PELORA_SOURCE_DIR "/tests/library/exported-symbols.txt" );
    std::set< std::string > names;
    for ( std::string line; std::getline( file, line ); ) {
        if ( !line.empty() && !line.starts_with( '#' ) ) {
            EXPECT_TRUE( names.insert( line ).second ) << "listed twice: " << line;
        }
    }
    return names;
}

/// The groups of the list: what their comments say, and the names below each.
std::map< std::string, std::vector< std::string > > listedGroups()
{
    std::ifstream file( PELORA_SOURCE_DIR "/tests/library/exported-symbols.txt" );
    std::map< std::string, std::vector< std::string > > groups;
    std::string group;
    for ( std::string line; std::getline( file, line ); ) {
        if ( line.starts_with( "# ---- " ) ) {
            group = line.substr( 7 );
            EXPECT_TRUE( groups.try_emplace( group ).second ) << "a group twice: " << group;
        } else if ( !line.empty() && !line.starts_with( '#' ) ) {
            groups[ group ].push_back( line );
        }
    }
    return groups;
}

std::vector< std::string > missingFrom( const std::set< std::string >& all,
                                        const std::set< std::string >& wanted )
{
    std::vector< std::string > missing;
    std::ranges::set_difference( wanted, all, std::back_inserter( missing ) );
    return missing;
}

TEST( BuiltLibraryTest, Exports_OfTheFile_AreTheListedOnes )
{
    std::set< std::string > exported;
    for ( const ElfFile::Symbol& symbol : ElfFile( libraryPath ).exportedSymbols() ) {
        exported.insert( symbol.demangled );
    }
    const std::set< std::string > listed = listedSymbols();
    EXPECT_FALSE( listed.empty() );
    EXPECT_THAT( missingFrom( exported, listed ), ElementsAre() ) << "listed but not exported";
    EXPECT_THAT( missingFrom( listed, exported ), ElementsAre() ) << "exported but not listed";
}

TEST( BuiltLibraryTest, ListOfExports_InGroups_SaysOfEachWhichFileAndWhat )
{
    std::set< std::string > files;
    for ( const auto& [ group, names ] : listedGroups() ) {
        const std::size_t colon = group.find( ": " );
        files.insert( group.substr( 0, colon ) );
        EXPECT_NE( colon, std::string::npos ) << "says not what it is: " << group;
        EXPECT_THAT( names, Not( IsEmpty() ) ) << group;
    }
    EXPECT_THAT( files,
                 ElementsAre( "PeloraTcamHsdkCounterHelper", "PeloraTcamHsdkPolicerHelper",
                              "PeloraTcamHsdkUdfEntryHelper", "PeloraTcamSdk6CompressionHelper",
                              "PeloraTcamSdk6CounterHelper", "PeloraTcamSdk6Helper",
                              "PeloraTcamSdk6PolicerHelper", "PeloraTcamSdk6RangeCheckerHelper",
                              "PeloraTcamSdk6UdfEntryHelper", "PeloraTcamUdfHsdkHelper",
                              "PeloraTcamUdfSdk6Helper" ) );
}

// A new creation has made nothing yet, so that this cannot be made to fail.
TEST( BuiltLibraryTest, AssertionText_OfWhatCannotHappen_StandsInTheFile )
{
    std::ifstream file( libraryPath, std::ios::binary );
    const std::string content( std::istreambuf_iterator< char >( file ), {} );
    const std::string text = "!hwFootprint.udfIds.qualIds()";
    EXPECT_NE( content.find( text + '\0' ), std::string::npos );
}

// One such symbol, and the loader never lets the library go.
TEST( BuiltLibraryTest, Exports_OfTheFile_AreNotUniqueInTheProcess )
{
    const auto symbols = ElfFile( libraryPath ).exportedSymbols();
    ASSERT_FALSE( symbols.empty() );
    for ( const ElfFile::Symbol& symbol : symbols ) {
        EXPECT_NE( symbol.binding, static_cast< unsigned >( STB_GNU_UNIQUE ) ) << symbol.name;
    }
}

// Sanitizers add their own run-time libraries.
TEST( BuiltLibraryTest, Needs_OfTheFile_AreTheAgentAndTheRunTimeOnly )
{
    std::vector< std::string > needed = ElfFile( libraryPath ).neededLibraries();
    if ( sanitized ) {
        std::erase_if( needed, []( const std::string& name ) {
            return name.find( "san.so" ) != std::string::npos;
        } );
    }
    EXPECT_THAT( needed, Contains( StartsWith( "libPeloraAgent.so" ) ) );
    EXPECT_THAT( needed, Each( AnyOf( StartsWith( "libPeloraAgent.so" ), Eq( "libstdc++.so.6" ),
                                      Eq( "libm.so.6" ), Eq( "libgcc_s.so.1" ), Eq( "libc.so.6" ),
                                      Eq( "ld-linux-x86-64.so.2" ) ) ) );
}

// ---- The slots -------------------------------------------------------------------------------

/// The mangled names of the functions in the slots of the range checker helper's table.
constexpr std::array< const char*, 9 > rangeCheckerSlots = {
    // ~PeloraTcamSdk6RangeCheckerHelper(), then the one that deletes
    "_ZN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelperD1Ev",
    "_ZN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelperD0Ev",
    // Agent::Node::lastUserGone(), Agent::Node::publisher()
    "_ZN5Agent4Node12lastUserGoneEv",
    "_ZN5Agent4Node9publisherEv",
    // typeData() const
    "_ZNK10PeloraTcam32PeloraTcamSdk6RangeCheckerHelper8typeDataEv",
    // getRangeChecker( RangeCheckerDesc const& )
    "_ZN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelper15getRangeCheckerERKNS_16RangeCheckerDescE",
    // releaseRangeChecker( RangeCheckerId )
    "_ZN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelper19releaseRangeCheckerEj",
    // verifyTcamSanity( Ptr< RangeCheckerData const > const& ) const
    "_ZNK10PeloraTcam32PeloraTcamSdk6RangeCheckerHelper16verifyTcamSanityERKN5Agent3PtrIKNS_"
    "16RangeCheckerDataEEE",
    // handleInitialized()
    "_ZN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelper17handleInitializedEv",
};

constexpr const char* rangeCheckerTable = "_ZTVN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelperE";

/// Before the slots stand the offset to the top and the type information.
constexpr std::size_t wordsBeforeSlots = 2;

TEST( BuiltLibraryTest, VirtualTable_OfTheRangeCheckerHelper_HasItsFunctionsInTheirSlots )
{
    const LoadedLibrary library( libraryPath );
    void* const* table = library.symbol< void* >( rangeCheckerTable );
    for ( std::size_t slot = 0; slot < rangeCheckerSlots.size(); ++slot ) {
        EXPECT_EQ( table[ wordsBeforeSlots + slot ],
                   library.symbol< void >( rangeCheckerSlots.at( slot ) ) )
            << "slot " << slot << ": " << rangeCheckerSlots.at( slot );
    }
}

TEST( BuiltLibraryTest, VirtualTable_OfTheRangeCheckerHelper_HasNoOtherSlots )
{
    const std::vector< ElfFile::Symbol > symbols = ElfFile( libraryPath ).exportedSymbols();
    const auto table = std::ranges::find( symbols, rangeCheckerTable, &ElfFile::Symbol::name );
    ASSERT_NE( table, symbols.end() );
    EXPECT_EQ( table->size, ( wordsBeforeSlots + rangeCheckerSlots.size() ) * sizeof( void* ) );
}

// ---- Loading and unloading -------------------------------------------------------------------

/// What is to be seen of libraries in the agent.
struct Footprint
{
    std::size_t modules = Agent::registeredModules().size();
    std::size_t trackers = Agent::allocationReports().size();
    std::vector< std::string > facilities = Agent::traceFacilities();

    friend bool operator==( const Footprint&, const Footprint& ) = default;
};

TEST( BuiltLibraryTest, Test_AtStart_IsNotLinkedToTheLibrary )
{
    EXPECT_FALSE( LoadedLibrary::isLoaded( libraryPath ) );
    EXPECT_EQ( Agent::registeredType( rangeCheckerClass ), nullptr );
}

TEST( BuiltLibraryTest, Load_ByTheLoader_RegistersModuleTrackerAndTraceHandle )
{
    const LoadedLibrary library( libraryPath );
    const Agent::TypeRecord* type = Agent::registeredType( rangeCheckerClass );
    ASSERT_NE( type, nullptr );
    EXPECT_THAT( type->constructorArguments,
                 ElementsAre( "U8", "FapId", "PeloraCentral::PeloraModel" ) );
    EXPECT_THAT( Agent::traceFacilities(), Contains( "ApiPelora" ) );
    // Made when it is first used.
    EXPECT_THAT( Agent::traceFacilities(), Not( Contains( "PeloraTcamRangeChecker" ) ) );
    const auto reports = Agent::allocationReports();
    EXPECT_NE( std::ranges::find( reports, rangeCheckerClass, &Agent::AllocationReport::className ),
               reports.end() );
}

TEST( BuiltLibraryTest, Trackers_OfTheLoadedLibrary_AreNamedAfterTheirClasses )
{
    const LoadedLibrary library( libraryPath );
    std::vector< std::string > names;
    for ( const Agent::AllocationReport& report : Agent::allocationReports() ) {
        if ( report.className.find( "PeloraTcam" ) != std::string::npos ) {
            names.push_back( report.className );
        }
    }
    EXPECT_THAT(
        names,
        ElementsAre(
            "PeloraTcam::PeloraTcamHsdkCounterHelper", "PeloraTcam::PeloraTcamHsdkPolicerHelper",
            "PeloraTcam::PeloraTcamSdk6CompressionHelper",
            "PeloraTcam::PeloraTcamSdk6CounterHelper", "PeloraTcam::PeloraTcamSdk6PolicerHelper",
            "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper", "PeloraTcam::UdfFlexParserHelper",
            "PeloraTcam::UdfFlexParserHsdkHelper", "PeloraTcam::UdfModuleHelper" ) );
}

TEST( BuiltLibraryTest, Unload_ByTheLoader_LeavesNothingBehind )
{
    const Footprint before;
    LoadedLibrary library( libraryPath );
    EXPECT_NE( Footprint(), before );
    library.unload();
    EXPECT_EQ( Footprint(), before );
    EXPECT_EQ( Agent::registeredType( rangeCheckerClass ), nullptr );
    EXPECT_FALSE( LoadedLibrary::isLoaded( libraryPath ) );
}

/// A helper made by the library's own constructor, in memory of the test's, as an agent would make
/// it that was compiled without the library.
class ForeignHelper
{
  public:
    explicit ForeignHelper( const LoadedLibrary& library )
    {
        using Constructor =
            void( void*, Agent::U8, PeloraTcam::FapId, const PeloraCentral::PeloraModel& );
        auto* constructor = library.symbol< Constructor >(
            "_ZN10PeloraTcam32PeloraTcamSdk6RangeCheckerHelperC1EhNS_5FapIdERKN13PeloraCentral11"
            "PeloraModelE" );
        constructor( memory_.data(), 3, PeloraTcam::FapId( 5 ), { "model" } );
    }

    ForeignHelper( const ForeignHelper& ) = delete;
    ForeignHelper& operator=( const ForeignHelper& ) = delete;

    ~ForeignHelper() { ( *this )->~PeloraTcamRangeCheckerHelper(); }

    PeloraTcam::PeloraTcamRangeCheckerHelper* operator->()
    {
        return reinterpret_cast< PeloraTcam::PeloraTcamRangeCheckerHelper* >( memory_.data() );
    }

  private:
    alignas( std::max_align_t )
        std::array< std::byte, sizeof( PeloraTcam::PeloraTcamRangeCheckerHelper ) > memory_{};
};

TEST( BuiltLibraryTest, Unload_AfterUse_LeavesNothingBehind )
{
    const Footprint before;
    LoadedLibrary library( libraryPath );
    {
        const TestSupport::TraceRecorder traces( "PeloraTcamRangeChecker", 1U << 9 );
        ForeignHelper helper( library );
        EXPECT_EQ( helper->pipeId(), 3 );
        helper->handleInitialized();
        EXPECT_THAT(
            traces.texts(),
            ElementsAre( "virtual void "
                         "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::handleInitialized()" ) );
        EXPECT_THAT( Agent::traceFacilities(), Contains( "PeloraTcamRangeChecker" ) );
    }
    library.unload();
    EXPECT_EQ( Footprint(), before );
    EXPECT_FALSE( LoadedLibrary::isLoaded( libraryPath ) );
}

void loadUseAndUnload()
{
    LoadedLibrary library( libraryPath );
    {
        ForeignHelper helper( library );
        helper->handleInitialized();
    }
    library.unload();
}

std::size_t residentBytes()
{
    std::ifstream file( "/proc/self/statm" );
    std::size_t size = 0;
    std::size_t resident = 0;
    file >> size >> resident;
    return resident * static_cast< std::size_t >( sysconf( _SC_PAGESIZE ) );
}

// Under a sanitizer only what the agent holds is compared: its allocator keeps what was freed.
TEST( BuiltLibraryTest, LoadAndUnload_AThousandTimes_GrowsNothing )
{
    for ( int warmUp = 0; warmUp < 50; ++warmUp ) {
        loadUseAndUnload();
    }
    const Footprint footprint;
    const std::size_t heap = mallinfo2().uordblks;
    const std::size_t resident = residentBytes();
    for ( int round = 0; round < 1000; ++round ) {
        loadUseAndUnload();
    }
    EXPECT_EQ( Footprint(), footprint );
    EXPECT_FALSE( LoadedLibrary::isLoaded( libraryPath ) );
    if ( !sanitized ) {
        // Less than a byte a round.
        EXPECT_LT( mallinfo2().uordblks, heap + 1000 );
        EXPECT_LT( residentBytes(), resident + 256 * 1024 );
    }
}

} // namespace
} // namespace LibraryTest
