// One line of the text trace, against the same text through spdlog with its default pattern. What
// both write is dropped: before the line is put together, or as a whole line.

#include "agent/base/Trace.h"
#include "agent/tcam/RangeCheckerHelper.h"
#include "bench/Benchmarks.h"
#include "bench/PairTable.h"

#include <spdlog/fmt/ostr.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <memory>
#include <mutex>
#include <string>

namespace Bench {

namespace {

using PeloraTcam::RangeType;

/// Puts each line together, and drops it.
class WholeLineSink final : public spdlog::sinks::base_sink< std::mutex >
{
  protected:
    void sink_it_( const spdlog::details::log_msg& message ) override
    {
        spdlog::memory_buf_t line;
        formatter_->format( message, line );
        benchmark::DoNotOptimize( line.data() );
    }

    void flush_() override {}
};

void dropWholeLine( const Agent::TraceLine& line )
{
    const std::string text = Agent::traceLineText( line );
    benchmark::DoNotOptimize( text.data() );
}

const Agent::TraceHandle& traceHandle()
{
    static const Agent::TraceHandle handle( "Bench" );
    return handle;
}

/// A logger that has everything on.
template< class Sink >
spdlog::logger& logger()
{
    static spdlog::logger& instance = []() -> spdlog::logger& {
        auto& made = *new spdlog::logger( "Bench", std::make_shared< Sink >() );
        made.set_level( spdlog::level::trace );
        return made;
    }();
    return instance;
}

/// Logs with the place of the statement, which a line of ours has as well.
template< class Sink, class... Arguments >
void log( spdlog::format_string_t< Arguments... > text, Arguments&&... arguments )
{
    logger< Sink >().log( spdlog::source_loc{ __FILE__, __LINE__, __func__ }, spdlog::level::trace,
                          text, std::forward< Arguments >( arguments )... );
}

// What the lines say: known to the compiler no more than in a helper.
int unit = 0;
unsigned udf = 7;
int width = 16;
int base = 2;
unsigned format = 0xBEEF;
RangeType type = RangeType::l4DstPort;

constexpr Budget lineBudget{ .ratio = 1.0 };

/// The lines, each against spdlog's with that sink.
template< class Sink >
void registerLines( const std::string& circumstances, const Scene& scene )
{
    registerPair(
        { "trace line, no argument" + circumstances, scene, lineBudget },
        [] { Agent::trace( traceHandle(), 4, "flushed" ); }, [] { log< Sink >( "flushed" ); } );
    registerPair(
        { "trace line, four integers" + circumstances, scene, lineBudget },
        [] {
            Agent::trace( traceHandle(), 4, "created", " mod:", unit, " udf:", udf,
                          " width:", width, " base:", base );
        },
        [] { log< Sink >( "created mod:{} udf:{} width:{} base:{}", unit, udf, width, base ); } );
    registerPair(
        { "trace line, integer and text" + circumstances, scene, lineBudget },
        [] {
            const std::string_view chunks = "0000000000110000";
            Agent::trace( traceHandle(), 4, "created", " mod:", unit, " chunks:", chunks );
        },
        [] {
            const std::string_view chunks = "0000000000110000";
            log< Sink >( "created mod:{} chunks:{}", unit, chunks );
        } );
    registerPair(
        { "trace line, enumerator, hexadecimal" + circumstances, scene, lineBudget },
        [] {
            Agent::trace( traceHandle(), 4, "created", " type:", type, " format:0x",
                          Agent::hex( format ) );
        },
        [] { log< Sink >( "created type:{} format:0x{:x}", fmt::streamed( type ), format ); } );
}

} // namespace

void registerTraceLineBenchmarks()
{
    registerLines< spdlog::sinks::null_sink_mt >( "", { .tracing = true } );
    registerLines< WholeLineSink >( ", whole line",
                                    { .tracing = true, .traceSink = dropWholeLine } );
}

} // namespace Bench
