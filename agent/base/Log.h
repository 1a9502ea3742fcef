#pragma once

/// The agent's log: messages for the operator of the switch.
///
/// A message is described once, by a static descriptor in the linker section `.korvel_logmsg`,
/// from which tools read a binary's messages without running it. Code raises a message through a
/// handle on the descriptor; the handle holds the rate at which it may be repeated. Handles are
/// made at load and destroyed at unload; the descriptor outlives its handles.
///
///     AGENT_LOG_MESSAGE const Agent::LogDescriptor fanFailed{
///        "FAN_FAILED", "A fan failed", "A fan does not turn.", "Replace the fan.", 3 };
///     const Agent::LogHandle fanFailedLog( fanFailed, 0, 1.0, 0, 0 );
///     fanFailedLog.raise();

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

/// Puts a descriptor into the section of log messages. The alignment is stated because compilers
/// give larger objects more of it, which would leave gaps between the descriptors.
#define AGENT_LOG_MESSAGE                                                                          \
    __attribute__( ( section( ".korvel_logmsg" ), used, aligned( alignof( void* ) ) ) )

namespace Agent {

/// A log message: what it is called, says and means. Its texts are literals.
struct LogDescriptor
{
    const char* name;              ///< what it is known by
    const char* message;           ///< the text that is logged
    const char* explanation;       ///< for the reader of the manual
    const char* recommendedAction; ///< empty: none
    U32 level;                     ///< severity, 0 (emergency) to 7 (debug), as in RFC 5424
};

/// Raises a message, as often as its limits let it; see the top of this header.
class AGENT_EXPORT LogHandle
{
  public:
    /// A handle on a message that may be repeated at a limited rate: after `burst` raises at
    /// will (at least the first), a raise within `intervalSeconds` of the last one is suppressed,
    /// and with each one that is not, the interval grows by the factor `intervalGrowth`. An
    /// interval of 0 suppresses nothing. `limit` is the most raises there may be in all; 0 means
    /// no limit.
    LogHandle( const LogDescriptor& descriptor,
               U32 intervalSeconds,
               double intervalGrowth,
               U32 burst,
               U32 limit );
    LogHandle( const LogHandle& ) = delete;
    LogHandle& operator=( const LogHandle& ) = delete;
    ~LogHandle();

    /// Raises the message, with no arguments. May be called by any thread.
    void raise() const;

    /// The message.
    [[nodiscard]] const LogDescriptor& descriptor() const noexcept { return descriptor_; }

    /// How long a repetition is suppressed at first, in seconds; 0 suppresses none.
    [[nodiscard]] U32 intervalSeconds() const noexcept { return intervalSeconds_; }

    /// The factor by which the interval grows with each raise that is not suppressed.
    [[nodiscard]] double intervalGrowth() const noexcept { return intervalGrowth_; }

    /// How many raises are not suppressed at first.
    [[nodiscard]] U32 burst() const noexcept { return burst_; }

    /// The most raises in all; 0 means no limit.
    [[nodiscard]] U32 limit() const noexcept { return limit_; }

  private:
    [[nodiscard]] bool mayRaise() const;

    const LogDescriptor& descriptor_;
    const U32 intervalSeconds_;
    const double intervalGrowth_;
    const U32 burst_;
    const U32 limit_;
    mutable std::mutex mutex_;
    mutable U32 raised_ = 0;
    mutable std::chrono::duration< double > interval_;
    mutable std::chrono::steady_clock::time_point last_{};
};

/// How many handles on the message of that name there are.
[[nodiscard]] AGENT_EXPORT U32 logHandleCount( std::string_view name );

/// Where raised messages go.
using LogSink = std::function< void( const LogDescriptor& ) >;

/// Sets where raised messages go; an empty function means standard error. Gives back what it was.
AGENT_EXPORT LogSink logSinkIs( LogSink sink );

/// The form in which a message stands on standard error: "%3-NAME: message".
[[nodiscard]] AGENT_EXPORT std::string logText( const LogDescriptor& descriptor );

} // namespace Agent
