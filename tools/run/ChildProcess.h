#pragma once

/// Runs a part of the tool in a child process, so that the end of that process is an observation
/// and not the end of the tool.
///
/// The child reports events, JSON values, one after the other; each report waits until the parent
/// has dealt with it. Before the parent sees an event it has seen everything that the child wrote
/// to its standard error before it, so what the parent prints is in the order in which it happened.
/// The tool has one thread when it calls this.
///
///     const ChildEnd end = runInChild( []( EventSender& events ) { events.send( { 1, 2 } ); },
///                                      onEvent, onStandardError );
///     if ( end.bySignal ) ...

#include "tools/text/Json.h"

#include <functional>
#include <string>
#include <string_view>

namespace Tool {

/// The child's end of the events.
class EventSender
{
  public:
    /// `channel` stays the caller's.
    explicit EventSender( int channel )
        : channel_( channel )
    {}

    /// Reports an event and waits until it has been dealt with. When the parent is gone the process
    /// ends.
    void send( const Json& event );

  private:
    int channel_;
};

/// How a child process ended.
struct ChildEnd
{
    bool bySignal = false;
    int number = 0; ///< the signal, or the exit code

    [[nodiscard]] bool succeeded() const { return !bySignal && number == 0; }
};

/// "SIGABRT (Aborted)", or "exit code 3".
[[nodiscard]] std::string childEndText( const ChildEnd& end );

using ChildBody = std::function< void( EventSender& ) >;
using EventHandler = std::function< void( const Json& ) >;
using TextHandler = std::function< void( std::string_view ) >;

/// Runs `body` in a child process and gives how that ended: with code 0 when `body` returns.
/// `onEvent` and `onStandardError` are called in this process.
ChildEnd runInChild( const ChildBody& body,
                     const EventHandler& onEvent,
                     const TextHandler& onStandardError );

/// Runs `body` in a child process that shares this one's standard error, and puts what it gives
/// into `result`. That stays empty when the process ended otherwise than by returning from `body`,
/// as it is expected to: no core file is written.
ChildEnd tryInChild( const std::function< Json() >& body, Json& result );

/// Ends this process as that child ended.
[[noreturn]] void endLike( const ChildEnd& end );

} // namespace Tool
