#include "agent/base/Trace.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <utility>

namespace Agent {

namespace {

constexpr std::string_view everyFacility = "*";
constexpr U32 levelCount = 32;

/// A level has no zero before it: "010" is 8 to some readers and 10 to others.
std::optional< U32 > levelFromText( std::string_view text )
{
    if ( text.size() > 1 && text.front() == '0' ) {
        return std::nullopt;
    }
    U32 level = 0;
    const char* end = text.data() + text.size();
    const auto [ stop, error ] = std::from_chars( text.data(), end, level );
    if ( error != std::errc() || stop != end || level >= levelCount ) {
        return std::nullopt;
    }
    return level;
}

/// A level, or two of them with a dash between.
std::optional< U32 > levelRangeFromText( std::string_view text )
{
    const std::size_t dash = text.find( '-' );
    const auto first = levelFromText( text.substr( 0, dash ) );
    const auto last =
        dash == std::string_view::npos ? first : levelFromText( text.substr( dash + 1 ) );
    if ( !first || !last || *first > *last ) {
        return std::nullopt;
    }
    const U64 upTo = ( U64{ 1 } << ( *last + 1 ) ) - 1;
    const U64 below = ( U64{ 1 } << *first ) - 1;
    return static_cast< U32 >( upTo & ~below );
}

/// Calls `take` with each part of the text between separators, until one is refused.
template< class Take >
bool forEachPart( std::string_view text, char separator, Take take )
{
    while ( true ) {
        const std::size_t end = text.find( separator );
        if ( !take( text.substr( 0, end ) ) ) {
            return false;
        }
        if ( end == std::string_view::npos ) {
            return true;
        }
        text.remove_prefix( end + 1 );
    }
}

void appendLine( TextBuffer& text, const TraceLine& line )
{
    text.append( line.facility );
    text.append( " " );
    text.appendUnsigned( line.level );
    text.append( " " );
    text.append( line.location.file );
    text.append( ":" );
    text.appendUnsigned( line.location.line );
    text.append( " " );
    text.append( line.location.function );
    text.append( ": " );
    text.append( line.text );
}

void writeToStandardError( const TraceLine& line )
{
    TextBuffer text;
    appendLine( text, line );
    text.append( "\n" );
    std::fwrite( text.view().data(), 1, text.view().size(), stderr );
}

} // namespace

/// The settings by facility, the handles, and the sink.
struct TraceSettings
{
    TraceSettings()
    {
        const char* environment = std::getenv( "PELORA_TRACE" );
        if ( environment == nullptr || *environment == '\0' ) {
            return;
        }
        if ( auto settings = traceSettingsFromText( environment ) ) {
            masks.insert( settings->begin(), settings->end() );
        } else {
            std::fprintf( stderr, "PELORA_TRACE: \"%s\" is not of the form FACILITY=LEVELS;...\n",
                          environment );
        }
    }

    /// Never destroyed: handles of other libraries may go late.
    static TraceSettings& instance()
    {
        static TraceSettings& settings = *new TraceSettings;
        return settings;
    }

    [[nodiscard]] U32 mask( std::string_view facility ) const
    {
        const auto found = masks.find( facility );
        if ( found != masks.end() ) {
            return found->second;
        }
        const auto every = masks.find( everyFacility );
        return every == masks.end() ? 0 : every->second;
    }

    void add( TraceHandle& handle )
    {
        const std::lock_guard lock( mutex );
        handles.push_back( &handle );
        handle.mask_ = mask( handle.facility() );
    }

    void remove( TraceHandle& handle )
    {
        const std::lock_guard lock( mutex );
        std::erase( handles, &handle );
    }

    void maskIs( std::string_view facility, U32 mask )
    {
        const std::lock_guard lock( mutex );
        if ( facility == everyFacility ) {
            masks.clear();
        }
        masks.insert_or_assign( std::string( facility ), mask );
        for ( TraceHandle* handle : handles ) {
            if ( facility == everyFacility || handle->facility() == facility ) {
                handle->mask_ = mask;
            }
        }
    }

    mutable std::mutex mutex;
    std::map< std::string, U32, std::less<> > masks;
    std::vector< TraceHandle* > handles;
    std::mutex sinkMutex;
    TraceSink sink = writeToStandardError;
};

TraceHandle::TraceHandle( std::string_view facility )
    : facility_( facility )
{
    TraceSettings::instance().add( *this );
}

TraceHandle::~TraceHandle()
{
    TraceSettings::instance().remove( *this );
}

void traceLevelsIs( std::string_view facility, U32 mask )
{
    TraceSettings::instance().maskIs( facility, mask );
}

U32 traceLevels( std::string_view facility )
{
    const std::lock_guard lock( TraceSettings::instance().mutex );
    return TraceSettings::instance().mask( facility );
}

std::vector< std::string > traceFacilities()
{
    const std::lock_guard lock( TraceSettings::instance().mutex );
    std::set< std::string > names;
    for ( const TraceHandle* handle : TraceSettings::instance().handles ) {
        names.insert( handle->facility() );
    }
    return { names.begin(), names.end() };
}

std::optional< U32 > traceMaskFromText( std::string_view text )
{
    if ( text == "all" ) {
        return ~U32{ 0 };
    }
    if ( text == "none" ) {
        return U32{ 0 };
    }
    U32 mask = 0;
    const auto addLevels = [ &mask ]( std::string_view part ) {
        const auto levels = levelRangeFromText( part );
        mask |= levels.value_or( 0 );
        return levels.has_value();
    };
    return forEachPart( text, ',', addLevels ) ? std::optional( mask ) : std::nullopt;
}

std::optional< std::map< std::string, U32 > > traceSettingsFromText( std::string_view text )
{
    std::map< std::string, U32 > settings;
    const auto addSetting = [ &settings ]( std::string_view part ) {
        const std::size_t equals = part.find( '=' );
        if ( equals == 0 || equals == std::string_view::npos ) {
            return false;
        }
        const auto mask = traceMaskFromText( part.substr( equals + 1 ) );
        settings.insert_or_assign( std::string( part.substr( 0, equals ) ), mask.value_or( 0 ) );
        return mask.has_value();
    };
    return forEachPart( text, ';', addSetting ) ? std::optional( settings ) : std::nullopt;
}

TraceSink traceSinkIs( TraceSink sink )
{
    const std::lock_guard lock( TraceSettings::instance().sinkMutex );
    TraceSink& current = TraceSettings::instance().sink;
    return std::exchange( current, sink ? std::move( sink ) : TraceSink( writeToStandardError ) );
}

std::string traceLineText( const TraceLine& line )
{
    TextBuffer text;
    appendLine( text, line );
    return std::string( text.view() );
}

void writeTraceLine( const TraceHandle& handle,
                     U32 level,
                     const CallLocation& location,
                     std::string_view text )
{
    const std::lock_guard lock( TraceSettings::instance().sinkMutex );
    TraceSettings::instance().sink( { handle.facility(), level, location, text } );
}

} // namespace Agent
