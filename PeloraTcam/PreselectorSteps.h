#pragma once

/// What the two functions that program preselectors share; private to the library.
///
/// Each has a table with a row for a qualifier, made from a `.def` file: how the qualifier is
/// named, the label of its trace line, and the step that is taken for it. There are three kinds of
/// step: the SDK is called, the caller's class records are updated, the qualifier is refused. The
/// tables hold what differs between the two functions; tracing, class records and the way to the
/// SDK are here, once.

#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "agent/tcam/TcamTypes.h"
#include "sdk/SdkCall.h"

#include <span>
#include <variant>

namespace PeloraTcam::PreselectorSteps {

/// In an entry id that is passed to a qualify function: the entry is a preselector.
inline constexpr U32 BCM_FIELD_QUALIFY_PRESEL = 0x40000000;

/// One qualifier of a preselector, as the agent asks for it, and where its traces go.
struct Request
{
    const char* operation;
    /// Of the operation, for all its calls and assertions: their texts tell the rows apart.
    Agent::CallLocation location;
    const Agent::TraceHandle& traceHandle;
    const Agent::TraceHandle& apiTraceHandle;
    U32 unit;
    U32 entry;
    U32 data;
    U32 mask;
    bcm_field_src_class_t* classData;
    bcm_field_src_class_t* classMask;

    [[nodiscard]] bcm_field_entry_t preselector() const
    {
        return static_cast< bcm_field_entry_t >( entry | BCM_FIELD_QUALIFY_PRESEL );
    }

    template< class... Pieces >
    void trace( const Pieces&... pieces ) const
    {
        const Agent::TraceLevel level(
            4, location.file, static_cast< int >( location.line ), location.function );
        Agent::trace( traceHandle, level, operation, pieces... );
    }

    [[noreturn]] void fail( const char* assertion ) const
    {
        Agent::assertionFailed( assertion, location.file, location.line, location.function );
    }
};

// ---- The SDK is called -----------------------------------------------------------------------

/// What becomes of the caller's mask.
enum class MaskUse
{
    noMask,
    maskOnlyTraced,
    masked,
};

/// The translation of data that is the SDK's already.
inline U32 asGiven( U32 data )
{
    return data;
}

template< class SdkValue, class AgentValue >
U32 lookUp( SdkValue ( *lookup )( AgentValue ), U32 data )
{
    return lookup( static_cast< AgentValue >( static_cast< U8 >( data ) ) );
}

/// The translation of the agent's value in the low byte of the data.
template< auto lookup >
U32 translated( U32 data )
{
    return lookUp( lookup, data );
}

template< class Value >
int qualify( int ( Shim::SdkAccess::*function )( int, bcm_field_entry_t, Value ),
             const Request& request,
             U32 data )
{
    return ( Shim::sdk().*function )(
        static_cast< int >( request.unit ), request.preselector(), static_cast< Value >( data ) );
}

template< class Value >
int qualify( int ( Shim::SdkAccess::*function )( int, bcm_field_entry_t, Value, Value ),
             const Request& request,
             U32 data )
{
    return ( Shim::sdk().*function )( static_cast< int >( request.unit ),
                                      request.preselector(),
                                      static_cast< Value >( data ),
                                      static_cast< Value >( request.mask ) );
}

/// Calls a qualify function with the data and, if it takes one, the mask, cut to its width.
template< auto function >
int qualifyWith( const Request& request, U32 data )
{
    return qualify( function, request, data );
}

struct CallStep
{
    MaskUse maskUse;
    U32 ( *translate )( U32 data );
    int ( *call )( const Request& request, U32 data );
    const char* callText;

    void run( const Request& request, const char* label ) const
    {
        const U32 data = translate( request.data );
        traceRequest( request, label );
        Shim::checkedCall( request.apiTraceHandle, { callText, request.location }, [ & ] {
            return call( request, data );
        } );
    }

    void traceRequest( const Request& request, const char* label ) const
    {
        const Agent::Hex data = Agent::hex( request.data );
        if ( maskUse == MaskUse::noMask ) {
            request.trace( label, data );
        } else {
            request.trace( label, data, " mask: 0x", Agent::hex( request.mask ) );
        }
    }
};

// ---- The caller's class records are updated --------------------------------------------------

/// How a field takes a new value.
enum class ClassUpdate
{
    accumulate,
    replace,
};

struct ClassStep
{
    U32 bcm_field_src_class_t::*field;
    ClassUpdate update;
    U32 storedBits;
    /// The assertion that wider data fails; null where it is cut.
    const char* tooWide;

    void run( const Request& request, const char* label ) const
    {
        const U32 data = newValue( *request.classData, request.data );
        const U32 mask = newValue( *request.classMask, request.mask );
        request.trace( label, Agent::hex( data ), "  mask: 0x", Agent::hex( mask ) );
        if ( tooWide != nullptr && ( data & ~storedBits ) != 0 ) {
            request.fail( tooWide );
        }
        request.classData->*field = data & storedBits;
        request.classMask->*field = mask & storedBits;
    }

    [[nodiscard]] U32 newValue( const bcm_field_src_class_t& record, U32 value ) const
    {
        return update == ClassUpdate::accumulate ? ( record.*field & storedBits ) | value : value;
    }
};

// ---- The qualifier is refused ----------------------------------------------------------------

struct RefusalStep
{
    const char* assertion;

    void run( const Request& request, const char* ) const { request.fail( assertion ); }
};

// ---- Rows ------------------------------------------------------------------------------------

/// `Name`: how the table names qualifiers.
template< class Name >
struct Row
{
    Name qualifier;
    const char* label;
    std::variant< CallStep, ClassStep, RefusalStep > step;
};

/// Takes the step of the first row whose name `matches`; it is a failed assertion if none does.
template< class Name, class Matches >
void runFirstStep( std::span< const Row< Name > > rows, Matches matches, const Request& request )
{
    for ( const Row< Name >& row : rows ) {
        if ( matches( row.qualifier ) ) {
            std::visit( [ & ]( const auto& step ) { step.run( request, row.label ); }, row.step );
            return;
        }
    }
    request.fail( "false && \"Trying to configure unsupported preselect qualifier\"" );
}

} // namespace PeloraTcam::PreselectorSteps

// What follows the qualifier's name in a row, from the columns of the tables.

#define PRESELECTOR_CALL_STEP( label, mask, translation, function, text )                          \
    label, ::PeloraTcam::PreselectorSteps::CallStep                                                \
    {                                                                                              \
        ::PeloraTcam::PreselectorSteps::MaskUse::mask, &translation,                               \
            &::PeloraTcam::PreselectorSteps::qualifyWith< &::Shim::SdkAccess::function >, text     \
    }
#define PRESELECTOR_CLASS_STEP( label, field, update, storedBits, tooWide )                        \
    label, ::PeloraTcam::PreselectorSteps::ClassStep                                               \
    {                                                                                              \
        &bcm_field_src_class_t::field, ::PeloraTcam::PreselectorSteps::ClassUpdate::update,        \
            storedBits, tooWide                                                                    \
    }
#define PRESELECTOR_REFUSAL_STEP( assertion )                                                      \
    "", ::PeloraTcam::PreselectorSteps::RefusalStep                                                \
    {                                                                                              \
        assertion                                                                                  \
    }
