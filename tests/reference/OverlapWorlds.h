#pragma once

/// What the worlds of overlapping operations share: a chip with the agent's services, and what
/// users of a manager hold.

#include "tests/reference/OverlapPairs.h"
#include "tests/reference/TcamScene.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Reference {

inline Sim::ChipProfile smallProfile( const std::string& name )
{
    Sim::ChipProfile profile = Sim::builtInProfile( name );
    profile.rangeCheckers.capacity = 3;
    profile.policers.capacity = 3;
    return profile;
}

/// A world on a chip with the agent's services.
class SceneWorld : public OverlapWorld
{
  public:
    explicit SceneWorld( const std::string& profile )
        : scene( smallProfile( profile ) )
    {
        Shim::sdk_ = &interrupting;
        empty = scene.snapshot();
    }

    Sim::ChipSnapshot snapshot() override { return scene.snapshot(); }

    InterruptingSdk& sdk() override { return interrupting; }

    TcamScene scene;
    InterruptingSdk interrupting{ scene.evictionSdk };
};

/// What users of a manager hold: what they asked for, and what they got.
template< class Wanted, class Got >
class Holdings
{
  public:
    using Holding = std::pair< Wanted, Got >;

    void add( const Wanted& wanted, const std::optional< Got >& got )
    {
        if ( got ) {
            all.emplace_back( wanted, *got );
        } else {
            refused.push_back( wanted );
        }
    }

    /// Whether somebody was refused what another one, who has not let go of it since, was given.
    [[nodiscard]] bool isRefusedAndHeld() const
    {
        return std::ranges::any_of( refused, [ this ]( const Wanted& wanted ) {
            return std::ranges::find( all, wanted, &Holding::first ) != all.end();
        } );
    }

    /// Lets one user of it let go, if it has one; after an exception he holds it still.
    template< class Release >
    void letGo( const Wanted& wanted, const Release& release )
    {
        const auto found = std::ranges::find( all, wanted, &Holding::first );
        if ( found == all.end() ) {
            return;
        }
        const Holding holding = *found;
        all.erase( found );
        try {
            EXPECT_TRUE( release( holding ) );
        } catch ( const CallThrew& ) {
            all.push_back( holding );
            throw;
        }
    }

    [[nodiscard]] std::set< Got > distinct() const
    {
        std::set< Got > ids;
        for ( const Holding& holding : all ) {
            ids.insert( holding.second );
        }
        return ids;
    }

    [[nodiscard]] std::size_t usersOf( const Got& got ) const
    {
        return static_cast< std::size_t >( std::ranges::count( all, got, &Holding::second ) );
    }

    std::vector< Holding > all;
    std::vector< Wanted > refused;
};

} // namespace Reference
