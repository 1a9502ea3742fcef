#pragma once

/// Writes down the SDK calls that an operation makes, to make the same calls again by hand: the
/// floor of an operation that makes thousands.
///
///     Bench::CallTape tape( *Shim::sdk_ );
///     Shim::sdk_ = &tape;
///     ... the operation ...
///     Shim::sdk_ = &tape.next();
///     ... a chip that is as the first one was ...
///     tape.playByHand();
///
/// A pointer among the arguments is taken for one to a single record, which is copied as it was
/// before the call; the list of types of `bcm_field_stat_create` is copied whole. Functions that
/// take other lists must not be called.

#include "bench/LocksByHand.h"

#include "sdk/ForwardingSdk.h"

#include <cstddef>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Bench {

/// An argument of a recorded call.
template< class Argument >
class KeptArgument
{
  public:
    explicit KeptArgument( Argument argument )
        : value_( argument )
    {}

    [[nodiscard]] Argument use() { return value_; }

  private:
    Argument value_;
};

/// A record that an argument points to.
template< class Record >
class KeptArgument< Record* >
{
  public:
    explicit KeptArgument( Record* record )
        : isNull_( record == nullptr )
    {
        if ( !isNull_ ) {
            copy_ = *record;
        }
    }

    [[nodiscard]] Record* use() { return isNull_ ? nullptr : &copy_; }

  private:
    bool isNull_;
    std::remove_const_t< Record > copy_{};
};

/// A record that an argument refers to.
template< class Record >
class KeptArgument< Record& >
{
  public:
    explicit KeptArgument( Record& record )
        : copy_( record )
    {}

    [[nodiscard]] Record& use() { return copy_; }

  private:
    std::remove_const_t< Record > copy_;
};

class CallTape final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    /// How many SDK functions were called, each with the locks released.
    [[nodiscard]] std::size_t functions() const { return calls_.size(); }

    /// How many of them failed.
    [[nodiscard]] std::size_t failed() const { return failed_; }

    /// Makes all calls again, in their order, through `Shim::sdk_`, as one would by hand. Gives how
    /// many failed. Once only: what a call has written into its records stays there.
    std::size_t playByHand()
    {
        std::size_t failed = 0;
        for ( auto& call : calls_ ) {
            const int rc = withLocksByHand( [ & ] { return call( *Shim::sdk_ ); } );
            failed += rc < 0 ? 1 : 0;
        }
        return failed;
    }

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        record( &Shim::SdkAccess::name, std::tie arguments );                                      \
        const int rc = next().name arguments;                                                      \
        failed_ += rc < 0 ? 1U : 0U;                                                               \
        return rc;                                                                                 \
    }
#include "sdk/SdkFunctions.def"

  private:
    template< class... Parameters, class... Arguments >
    void record( int ( Shim::SdkAccess::*function )( Parameters... ),
                 const std::tuple< Arguments&... >& arguments )
    {
        auto kept = std::apply(
            []( auto&... argument ) {
                return std::tuple< KeptArgument< Parameters >... >(
                    KeptArgument< Parameters >( argument )... );
            },
            arguments );
        calls_.emplace_back( [ = ]( Shim::SdkAccess& sdk ) mutable {
            return std::apply(
                [ & ]( auto&... argument ) { return ( sdk.*function )( argument.use()... ); },
                kept );
        } );
    }

    // The one list among the arguments: not the first of it alone.
    void record(
        int ( Shim::SdkAccess::* )( int, bcm_field_group_t, int, bcm_field_stat_t*, int* ),
        const std::tuple< int&, bcm_field_group_t&, int&, bcm_field_stat_t*&, int*& >& arguments )
    {
        const auto& [ unit, group, statCount, stats, statId ] = arguments;
        calls_.emplace_back( [ unit = unit, group = group,
                               list = std::vector( stats, stats + statCount ),
                               made = *statId ]( Shim::SdkAccess& sdk ) mutable {
            return sdk.bcm_field_stat_create( unit, group, static_cast< int >( list.size() ),
                                              list.data(), &made );
        } );
    }

    std::vector< std::function< int( Shim::SdkAccess& ) > > calls_;
    std::size_t failed_ = 0;
};

} // namespace Bench
