#pragma once

/// An access object that writes down every call, for tests of exact sequences of SDK calls.
///
/// It stands alone, where every function succeeds and does nothing, or in front of another access
/// object, for example a simulated chip, which then does the work. In both cases a test may put
/// its own answer in the place of any operation. It is made from the lists of the SDK's functions
/// and enumerators, so it has every one of them. May be used from several threads.
///
///     TestSupport::RecordingSdk sdk;
///     sdk.on.bcm_range_create = TestSupport::returns( sdk.BCM_E_FULL() );
///     sdk.on.bcm_range_get = [ & ]( int, bcm_range_config_t* config ) {
///         config->min = 80;
///         return 0;
///     };
///     Shim::sdk_ = &sdk;
///     ...
///     EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_range_destroy( 0, 7 )" ) );

#include "sdk/SdkAccess.h"
#include "tests/support/SdkText.h"

#include <functional>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace TestSupport {

/// One call. `SdkText.h` says how the arguments are written.
struct RecordedCall
{
    std::string name;
    std::vector< std::string > arguments;
    bool isFunction = false; ///< an SDK function, which gives a return code

    /// "bcm_range_destroy( 0, 7 )"
    [[nodiscard]] std::string text() const
    {
        std::string list;
        for ( const std::string& argument : arguments ) {
            list += ( list.empty() ? " " : ", " ) + argument;
        }
        return name + "(" + list + ( list.empty() ? ")" : " )" );
    }
};

/// An answer that gives that return code whatever the arguments.
inline auto returns( int rc )
{
    return [ rc ]( const auto&... ) { return rc; };
}

/// An answer that gives the return codes in turn, and the last of them from then on.
inline auto returnsInTurn( std::vector< int > codes )
{
    return [ codes = std::move( codes ), next = std::size_t{ 0 } ]( const auto&... ) mutable {
        return codes.at( next + 1 < codes.size() ? next++ : next );
    };
}

class RecordingSdk final : public Shim::SdkAccess
{
  public:
    /// Stands alone.
    RecordingSdk()
        : text_( *this )
    {
        on.sdkErrorText = returnCodeText;
    }

    /// Stands in front of `next`, which must outlive it.
    explicit RecordingSdk( Shim::SdkAccess& next )
        : next_( &next )
        , text_( next )
    {}

    /// The test's own answers, one for each operation; an empty one is not used.
    struct Answers
    {
#define SDK_FUNCTION( family, name, parameters, arguments ) std::function< int parameters > name;
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    std::function< result parameters > name;
#include "sdk/SdkFunctions.def"
    };

    Answers on;

    /// The calls of SDK functions, as texts: what gives a return code.
    [[nodiscard]] std::vector< std::string > calls() const
    {
        return texts( false );
    }

    /// All calls, as texts: also initialisers, set operations and what the call wrappers call.
    [[nodiscard]] std::vector< std::string > allCalls() const
    {
        return texts( true );
    }

    /// All calls.
    [[nodiscard]] std::vector< RecordedCall > records() const
    {
        const std::lock_guard lock( mutex_ );
        return records_;
    }

    /// How often an operation was called.
    [[nodiscard]] std::size_t countOf( const std::string& name ) const
    {
        std::size_t count = 0;
        for ( const RecordedCall& call : records() ) {
            count += call.name == name ? 1 : 0;
        }
        return count;
    }

    /// Forgets the calls so far.
    void clear()
    {
        const std::lock_guard lock( mutex_ );
        records_.clear();
    }

    // A call is written down as it comes in, before anything is answered.
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        recordIs( { #name, argumentTexts arguments, true } );                                      \
        if ( on.name ) {                                                                           \
            return on.name arguments;                                                              \
        }                                                                                          \
        return next_ != nullptr ? next_->name arguments : 0;                                       \
    }
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    result name parameters override                                                                \
    {                                                                                              \
        recordIs( { #name, argumentTexts arguments, false } );                                     \
        if ( on.name ) {                                                                           \
            return on.name arguments;                                                              \
        }                                                                                          \
        return next_ != nullptr ? next_->name arguments : nothing< result >();                     \
    }
#include "sdk/SdkFunctions.def"

    // Standing alone it has the values of the lists.
#define SDK_RETURN_CODE( name, value, text )                                                       \
    [[nodiscard]] int name() const override                                                        \
    {                                                                                              \
        return value;                                                                              \
    }
#define SDK_ENUMERATOR( type, name, value )                                                        \
    [[nodiscard]] type name() const override                                                       \
    {                                                                                              \
        return next_ != nullptr ? next_->name() : static_cast< type >( value );                    \
    }
#include "sdk/SdkEnumerators.def"

    /// The SDK's text for a return code; "?" for one that is not in the list.
    [[nodiscard]] static const char* returnCodeText( int rc )
    {
        switch ( rc ) {
#define SDK_RETURN_CODE( name, value, text )                                                       \
    case value:                                                                                    \
        return text;
#include "sdk/SdkEnumerators.def"
        }
        return "?";
    }

  private:
    template< class Result >
    static Result nothing()
    {
        return Result();
    }

    template< class... Arguments >
    [[nodiscard]] std::vector< std::string > argumentTexts( const Arguments&... arguments ) const
    {
        return { text_( arguments )... };
    }

    void recordIs( RecordedCall call )
    {
        const std::lock_guard lock( mutex_ );
        records_.push_back( std::move( call ) );
    }

    [[nodiscard]] std::vector< std::string > texts( bool all ) const
    {
        std::vector< std::string > texts;
        for ( const RecordedCall& call : records() ) {
            if ( all || call.isFunction ) {
                texts.push_back( call.text() );
            }
        }
        return texts;
    }

    Shim::SdkAccess* next_ = nullptr;
    SdkText text_;
    mutable std::mutex mutex_;
    std::vector< RecordedCall > records_;
};

} // namespace TestSupport
