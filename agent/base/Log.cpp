#include "agent/base/Log.h"

#include "agent/base/TextPieces.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

namespace Agent {

namespace {

void writeToStandardError( const LogDescriptor& descriptor )
{
    const std::string text = logText( descriptor ) + "\n";
    std::fwrite( text.data(), 1, text.size(), stderr );
}

struct LogFacility
{
    std::mutex mutex;
    std::vector< const LogHandle* > handles;
    LogSink sink = writeToStandardError;
};

/// Never destroyed: handles of other libraries may go late.
LogFacility& facility()
{
    static LogFacility& instance = *new LogFacility;
    return instance;
}

} // namespace

LogHandle::LogHandle( const LogDescriptor& descriptor,
                      U32 intervalSeconds,
                      double intervalGrowth,
                      U32 burst,
                      U32 limit )
    : descriptor_( descriptor )
    , intervalSeconds_( intervalSeconds )
    , intervalGrowth_( intervalGrowth )
    , burst_( burst )
    , limit_( limit )
    , interval_( intervalSeconds )
{
    const std::lock_guard lock( facility().mutex );
    facility().handles.push_back( this );
}

LogHandle::~LogHandle()
{
    const std::lock_guard lock( facility().mutex );
    std::erase( facility().handles, this );
}

void LogHandle::raise() const
{
    if ( mayRaise() ) {
        const std::lock_guard lock( facility().mutex );
        facility().sink( descriptor_ );
    }
}

bool LogHandle::mayRaise() const
{
    const std::lock_guard lock( mutex_ );
    const auto now = std::chrono::steady_clock::now();
    const bool limitReached = limit_ != 0 && raised_ >= limit_;
    const bool burstOver = raised_ >= std::max( burst_, U32{ 1 } );
    const bool tooSoon = intervalSeconds_ != 0 && burstOver && now - last_ < interval_;
    if ( limitReached || tooSoon ) {
        return false;
    }
    if ( burstOver ) {
        interval_ *= intervalGrowth_;
    }
    ++raised_;
    last_ = now;
    return true;
}

U32 logHandleCount( std::string_view name )
{
    const std::lock_guard lock( facility().mutex );
    const auto isOnMessage = [ name ]( const LogHandle* handle ) {
        return handle->descriptor().name == name;
    };
    return static_cast< U32 >( std::ranges::count_if( facility().handles, isOnMessage ) );
}

LogSink logSinkIs( LogSink sink )
{
    const std::lock_guard lock( facility().mutex );
    return std::exchange( facility().sink,
                          sink ? std::move( sink ) : LogSink( writeToStandardError ) );
}

std::string logText( const LogDescriptor& descriptor )
{
    return joinPieces( "%", descriptor.level, "-", descriptor.name, ": ", descriptor.message );
}

} // namespace Agent
