#pragma once

/// What the two functions that program preselectors share; private to the library.
///
/// Each has a table with a row for a qualifier: how the qualifier is named, the label of its trace
/// line, and the step that is taken for it. There are three kinds of step: the SDK is called, the
/// caller's class records are updated, the qualifier is refused. The tables hold what differs
/// between the two functions; tracing, class records and the way to the SDK are here, once.
///
/// A row knows the line on which it begins. That is the line that the row's traces, error lines
/// and failed assertions give; their file is that of the table, their function the one that is
/// programming.
///
///     constexpr PreselectorSteps::Row< QualifierType > rows[] = {
///         callRow< &Shim::SdkAccess::bcm_field_qualify_Drop >( QualifierType::drop, ... ),
///         classRow( QualifierType::dstClassField, ... ),
///     };

#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "agent/tcam/TcamTypes.h"
#include "sdk/SdkCall.h"

#include <cstddef>
#include <variant>

namespace PeloraTcam::PreselectorSteps {

/// In an entry id that is passed to a qualify function: the entry is a preselector.
inline constexpr U32 BCM_FIELD_QUALIFY_PRESEL = 0x40000000;

/// One qualifier of a preselector, as the agent asks for it, and where its traces go.
struct Request
{
    const char* operation;
    /// The place of the operation; from when its row is found, that of the row.
    Agent::CallLocation location;
    const Agent::TraceHandle& traceHandle;
    const Agent::TraceHandle& apiTraceHandle;
    U32 unit;
    U32 entry;
    U32 data;
    U32 mask;
    bcm_field_src_class_t* classData;
    bcm_field_src_class_t* classMask;

    [[nodiscard]] int sdkUnit() const { return static_cast< int >( unit ); }

    [[nodiscard]] bcm_field_entry_t preselector() const
    {
        return static_cast< bcm_field_entry_t >( entry | BCM_FIELD_QUALIFY_PRESEL );
    }

    template< class... Pieces >
    void trace( const Pieces&... pieces ) const
    {
        const Agent::TraceLevel level( 4, location.file, static_cast< int >( location.line ),
                                       location.function );
        Agent::trace( traceHandle, level, operation, pieces... );
    }

    [[noreturn]] void fail( const char* assertion ) const
    {
        Agent::assertionFailed( assertion, location.file, location.line, location.function );
    }
};

// ---- The SDK is called -----------------------------------------------------------------------

/// A qualify function that takes the data alone, and one that takes data and mask.
template< class Value >
using QualifyFunction = int ( Shim::SdkAccess::* )( int, bcm_field_entry_t, Value );
template< class Value >
using MaskedQualifyFunction = int ( Shim::SdkAccess::* )( int, bcm_field_entry_t, Value, Value );

/// What becomes of the caller's mask.
enum class MaskUse
{
    none,
    onlyTraced,
    passed,
};

template< class Value >
constexpr MaskUse maskUseOf( QualifyFunction< Value > )
{
    return MaskUse::none;
}

template< class Value >
constexpr MaskUse maskUseOf( MaskedQualifyFunction< Value > )
{
    return MaskUse::passed;
}

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

/// Calls a qualify function, checked, with the data and, if it takes one, the mask, each cut to
/// its width.
template< class Value >
[[gnu::always_inline]] inline void
qualify( QualifyFunction< Value > function, const Request& request, const char* callText, U32 data )
{
    Shim::checkedCall( request.apiTraceHandle, { callText, request.location }, function,
                       request.sdkUnit(), request.preselector(), static_cast< Value >( data ) );
}

template< class Value >
[[gnu::always_inline]] inline void qualify( MaskedQualifyFunction< Value > function,
                                            const Request& request,
                                            const char* callText,
                                            U32 data )
{
    Shim::checkedCall( request.apiTraceHandle, { callText, request.location }, function,
                       request.sdkUnit(), request.preselector(), static_cast< Value >( data ),
                       static_cast< Value >( request.mask ) );
}

template< auto function >
void qualifyWith( const Request& request, const char* callText, U32 data )
{
    qualify( function, request, callText, data );
}

struct CallStep
{
    void ( *call )( const Request& request, const char* callText, U32 data );
    const char* callText;
    U32 ( *translate )( U32 data );
    MaskUse maskUse;

    void run( const Request& request, const char* label ) const
    {
        const U32 data = translate( request.data );
        traceRequest( request, label );
        call( request, callText, data );
    }

    void traceRequest( const Request& request, const char* label ) const
    {
        const Agent::Hex data = Agent::hex( request.data );
        if ( maskUse == MaskUse::none ) {
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
    U32 line; ///< on which it begins
    const char* label;
    std::variant< CallStep, ClassStep, RefusalStep > step;
};

// The last argument of each is the row's line, which is never given.

/// A qualifier of which the SDK is told with that function. `label`: of the request's trace;
/// `callText`: the call's; `translate`: what the data goes through first.
template< auto function, class Name >
constexpr Row< Name > callRow( Name qualifier,
                               const char* label,
                               const char* callText,
                               U32 ( *translate )( U32 data ) = asGiven,
                               MaskUse maskUse = maskUseOf( function ),
                               U32 line = __builtin_LINE() )
{
    return { qualifier, line, label,
             CallStep{ qualifyWith< function >, callText, translate, maskUse } };
}

/// A qualifier that goes into a field of the class records, of which `storedBits` are kept. Data
/// that is wider fails the assertion `tooWide`, or is cut silently where there is none.
template< class Name >
constexpr Row< Name > classRow( Name qualifier,
                                const char* label,
                                U32 bcm_field_src_class_t::*field,
                                ClassUpdate update,
                                U32 storedBits,
                                const char* tooWide = nullptr,
                                U32 line = __builtin_LINE() )
{
    return { qualifier, line, label, ClassStep{ field, update, storedBits, tooWide } };
}

/// A qualifier that always fails that assertion.
template< class Name >
constexpr Row< Name >
refusalRow( Name qualifier, const char* assertion, U32 line = __builtin_LINE() )
{
    return { qualifier, line, "", RefusalStep{ assertion } };
}

/// Whether the rows that are not refused are those of the names, in their order.
template< class Name, std::size_t rowCount, std::size_t nameCount >
consteval bool namesAccepted( const Row< Name > ( &rows )[ rowCount ],
                              const Name ( &names )[ nameCount ] )
{
    std::size_t accepted = 0;
    for ( const Row< Name >& row : rows ) {
        if ( std::holds_alternative< RefusalStep >( row.step ) ) {
            continue;
        }
        if ( accepted == nameCount || row.qualifier != names[ accepted ] ) {
            return false;
        }
        ++accepted;
    }
    return accepted == nameCount;
}

/// Takes the step of the first row whose name `isAsked`, with the place of the row; it is a failed
/// assertion if none is.
template< class Name, std::size_t count, class IsAsked >
void programAskedQualifier( const Row< Name > ( &rows )[ count ],
                            IsAsked isAsked,
                            Request& request )
{
    for ( const Row< Name >& row : rows ) {
        if ( isAsked( row.qualifier ) ) {
            request.location.line = row.line;
            std::visit( [ & ]( const auto& step ) { step.run( request, row.label ); }, row.step );
            return;
        }
    }
    request.fail( "false && \"Trying to configure unsupported preselect qualifier\"" );
}

} // namespace PeloraTcam::PreselectorSteps
