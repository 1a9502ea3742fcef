#include "tools/lookup/Lookup.h"

#include "tools/lookup/LookupChild.h"
#include "tools/run/ChildProcess.h"
#include "tools/run/StandardErrorWatch.h"

namespace Tool {

namespace {

/// Makes the child's events into calls of the listener.
class LookupWatcher
{
  public:
    LookupWatcher( std::size_t packets, LookupListener& listener )
        : packets_( packets )
        , listener_( listener )
        , standardError_(
              [ this ]( std::string_view text ) { listener_.standardErrorWritten( text ); } )
    {}

    void eventHappened( const Json& event )
    {
        const std::string kind = event.at( "event" );
        if ( kind == LookupEvent::step ) {
            standardError_.passOnLastWords();
            running_ = StepHeading{ event.at( "index" ), event.at( "kind" ), event.at( "name" ),
                                    Outcome::ok };
        } else if ( kind == LookupEvent::failed ) {
            end_.isSetUp = false;
            listener_.setUpFailed( event.at( "message" ) );
        } else if ( kind == LookupEvent::packets ) {
            running_.reset();
        } else if ( kind == LookupEvent::winners ) {
            listener_.winners( event.at( "lines" ).get_ref< const std::string& >() );
        } else {
            for ( const Json& answer : event.at( "answers" ) ) {
                listener_.answered( answer );
            }
        }
        if ( event.contains( "done" ) ) {
            listener_.progressed( event.at( "done" ), packets_ );
        }
    }

    void standardErrorWritten( std::string_view bytes ) { standardError_.take( bytes ); }

    LookupEnd childEnded( const ChildEnd& end )
    {
        if ( !end.succeeded() ) {
            end_.unexpectedEnd =
                UnexpectedEnd{ running_, childEndText( end ), standardError_.lastWords() };
        } else {
            static_cast< void >( standardError_.lastWords() );
        }
        listener_.ended( end_ );
        return end_;
    }

  private:
    std::size_t packets_;
    LookupListener& listener_;
    StandardErrorWatch standardError_;
    std::optional< StepHeading > running_;
    LookupEnd end_;
};

} // namespace

LookupEnd lookUp( const LookupQuestion& question, LookupListener& listener )
{
    LookupWatcher watcher( question.packets->size(), listener );
    const ChildEnd end =
        runInChild( [ & ]( EventSender& events ) { lookUpInChild( question, events ); },
                    [ & ]( const Json& event ) { watcher.eventHappened( event ); },
                    [ & ]( std::string_view bytes ) { watcher.standardErrorWritten( bytes ); } );
    return watcher.childEnded( end );
}

} // namespace Tool
