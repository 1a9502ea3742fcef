#include "agent/base/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Agent {

namespace {

AGENT_LOG_MESSAGE const LogDescriptor fanFailed{ "FAN_FAILED", "A fan failed",
                                                 "A fan does not turn.", "Replace the fan.", 3 };
AGENT_LOG_MESSAGE const LogDescriptor doorOpened{ "DOOR_OPENED", "The door was opened", "", "", 6 };

using ::testing::ElementsAre;

/// Keeps the names of the messages raised while it lives.
class RaisedMessages
{
  public:
    RaisedMessages()
        : previous_( logSinkIs( [ this ]( const LogDescriptor& descriptor ) {
            names.emplace_back( descriptor.name );
        } ) )
    {}

    RaisedMessages( const RaisedMessages& ) = delete;
    RaisedMessages& operator=( const RaisedMessages& ) = delete;

    ~RaisedMessages() { logSinkIs( std::move( previous_ ) ); }

    std::vector< std::string > names;

  private:
    LogSink previous_;
};

unsigned raisesOf( const LogHandle& handle, unsigned attempts )
{
    const RaisedMessages raised;
    for ( unsigned i = 0; i < attempts; ++i ) {
        handle.raise();
    }
    return static_cast< unsigned >( raised.names.size() );
}

/// This program's file, in memory.
class ProgramFile
{
  public:
    ProgramFile()
    {
        const int file = open( "/proc/self/exe", O_RDONLY | O_CLOEXEC );
        struct stat status = {};
        fstat( file, &status );
        size_ = static_cast< std::size_t >( status.st_size );
        bytes_ = mmap( nullptr, size_, PROT_READ, MAP_PRIVATE, file, 0 );
        close( file );
    }

    ProgramFile( const ProgramFile& ) = delete;
    ProgramFile& operator=( const ProgramFile& ) = delete;

    ~ProgramFile() { munmap( bytes_, size_ ); }

    [[nodiscard]] std::optional< ElfW( Shdr ) > section( std::string_view name ) const
    {
        const auto& header = *at< ElfW( Ehdr ) >( 0 );
        const std::span sections( at< ElfW( Shdr ) >( header.e_shoff ), header.e_shnum );
        const char* names = at< char >( sections[ header.e_shstrndx ].sh_offset );
        for ( const ElfW( Shdr ) & section : sections ) {
            if ( names + section.sh_name == name ) {
                return section;
            }
        }
        return std::nullopt;
    }

  private:
    template< class Part >
    [[nodiscard]] const Part* at( std::size_t offset ) const
    {
        return reinterpret_cast< const Part* >( static_cast< const char* >( bytes_ ) + offset );
    }

    std::size_t size_ = 0;
    void* bytes_ = nullptr;
};

/// Where the program was loaded, relative to the addresses in its file.
std::uintptr_t loadOffset()
{
    std::uintptr_t offset = 0;
    // The first object is the program itself.
    dl_iterate_phdr(
        []( dl_phdr_info* info, std::size_t, void* result ) {
            *static_cast< std::uintptr_t* >( result ) = info->dlpi_addr;
            return 1;
        },
        &offset );
    return offset;
}

TEST( LogTest, Descriptors_OfThisProgram_FillTheSectionOfLogMessages )
{
    const auto section = ProgramFile().section( ".korvel_logmsg" );

    ASSERT_TRUE( section.has_value() );
    EXPECT_EQ( section->sh_size, 2 * sizeof( LogDescriptor ) );
    const std::uintptr_t start = loadOffset() + section->sh_addr;
    for ( const LogDescriptor* descriptor : { &fanFailed, &doorOpened } ) {
        const auto address = reinterpret_cast< std::uintptr_t >( descriptor );
        EXPECT_GE( address, start );
        EXPECT_LT( address, start + section->sh_size );
    }
}

TEST( LogTest, Handle_MadeWithRateParameters_KeepsThem )
{
    const LogHandle handle( fanFailed, 60, 1.5, 2, 10 );

    EXPECT_EQ( &handle.descriptor(), &fanFailed );
    EXPECT_EQ( handle.intervalSeconds(), 60U );
    EXPECT_DOUBLE_EQ( handle.intervalGrowth(), 1.5 );
    EXPECT_EQ( handle.burst(), 2U );
    EXPECT_EQ( handle.limit(), 10U );
}

TEST( LogTest, Raise_ThroughAHandle_GivesTheMessageToTheSink )
{
    const LogHandle fan( fanFailed, 0, 1.0, 0, 0 );
    const LogHandle door( doorOpened, 0, 1.0, 0, 0 );
    const RaisedMessages raised;

    fan.raise();
    door.raise();

    EXPECT_THAT( raised.names, ElementsAre( "FAN_FAILED", "DOOR_OPENED" ) );
}

TEST( LogTest, Raise_WithoutAnInterval_IsNeverSuppressed )
{
    EXPECT_EQ( raisesOf( LogHandle( fanFailed, 0, 1.0, 0, 0 ), 100 ), 100U );
    EXPECT_EQ( raisesOf( LogHandle( fanFailed, 0, 1.0, 5, 0 ), 100 ), 100U );
}

TEST( LogTest, Raise_WithinTheInterval_IsSuppressedAfterTheBurst )
{
    EXPECT_EQ( raisesOf( LogHandle( fanFailed, 3600, 1.0, 0, 0 ), 10 ), 1U );
    EXPECT_EQ( raisesOf( LogHandle( fanFailed, 3600, 1.0, 1, 0 ), 10 ), 1U );
    EXPECT_EQ( raisesOf( LogHandle( fanFailed, 3600, 1.0, 4, 0 ), 10 ), 4U );
}

TEST( LogTest, Raise_AfterTheInterval_IsNotSuppressedAndTheIntervalGrows )
{
    const LogHandle handle( fanFailed, 1, 3600.0, 0, 0 );
    EXPECT_EQ( raisesOf( handle, 2 ), 1U );

    std::this_thread::sleep_for( std::chrono::milliseconds( 1100 ) );
    EXPECT_EQ( raisesOf( handle, 2 ), 1U );

    // The interval is an hour now.
    std::this_thread::sleep_for( std::chrono::milliseconds( 1100 ) );
    EXPECT_EQ( raisesOf( handle, 2 ), 0U );
}

TEST( LogTest, Raise_AtTheLimit_IsSuppressedForGood )
{
    const LogHandle handle( fanFailed, 0, 1.0, 0, 3 );

    EXPECT_EQ( raisesOf( handle, 3 ), 3U );
    EXPECT_EQ( raisesOf( handle, 10 ), 0U );
}

TEST( LogTest, LogHandleCount_OfAMessage_CountsTheHandlesThatLive )
{
    EXPECT_EQ( logHandleCount( "FAN_FAILED" ), 0U );
    {
        const LogHandle first( fanFailed, 0, 1.0, 0, 0 );
        const LogHandle second( fanFailed, 0, 1.0, 0, 0 );
        const LogHandle other( doorOpened, 0, 1.0, 0, 0 );
        EXPECT_EQ( logHandleCount( "FAN_FAILED" ), 2U );
        EXPECT_EQ( logHandleCount( "DOOR_OPENED" ), 1U );
    }

    EXPECT_EQ( logHandleCount( "FAN_FAILED" ), 0U );
}

TEST( LogTest, LogText_OfAMessage_HasLevelNameAndMessage )
{
    EXPECT_EQ( logText( fanFailed ), "%3-FAN_FAILED: A fan failed" );
    EXPECT_EQ( logText( doorOpened ), "%6-DOOR_OPENED: The door was opened" );
}

TEST( LogTest, Raise_WithoutASink_WritesTheMessageToStandardError )
{
    const LogHandle handle( fanFailed, 0, 1.0, 0, 0 );
    logSinkIs( {} );
    ::testing::internal::CaptureStderr();

    handle.raise();

    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "%3-FAN_FAILED: A fan failed\n" );
}

} // namespace

} // namespace Agent
