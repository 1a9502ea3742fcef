#pragma once

/// Entries: made with range checkers and policers, installed, given counters, seen by packets,
/// read, and destroyed. What their counters count is known, so each reading is checked.

#include "tests/soak/PolicerSteps.h"
#include "tests/soak/RangeCheckerSteps.h"
#include "tests/soak/Steps.h"

namespace Soak {

class EntrySteps : public Steps
{
  public:
    EntrySteps( const Run& run, RangeCheckerSteps& rangeCheckers, PolicerSteps& policers )
        : Steps( run )
        , rangeCheckers_( rangeCheckers )
        , policers_( policers )
    {}

    void step() override;
    void audit() override;
    void releaseAll() override;

  private:
    struct Live
    {
        Reference::EntryManager::EntryId id = 0;
        std::size_t group = 0;
        std::optional< PeloraTcam::RangeCheckerId > range;
        std::optional< PeloraTcam::PolicerId > policer;
        PeloraTcam::CounterSet counterSet; ///< empty for an entry without counters
        Reference::Hits counted;           ///< what its counters must give
    };

    [[nodiscard]] Reference::EntryDesc anyDesc();
    void create();
    void destroy( Live entry );
    void giveBackParts( const Live& entry );
    void operateOn( Live& entry );
    void install( Live& entry );
    void takeOut( Live& entry );
    void changePolicer( Live& entry );
    void changeCounters( Live& entry );
    [[nodiscard]] PeloraTcam::CounterSet anyCounterSet();
    void allocateCounters( Live& entry );
    void freeCounters( Live& entry );
    void seePackets( Live& entry );
    void readCounters( const Live& entry );
    void clearCounters( Live& entry );
    void cleanUp();
    [[nodiscard]] bool hasRoomForCounters( const PeloraTcam::CounterSet& set ) const;

    RangeCheckerSteps& rangeCheckers_;
    PolicerSteps& policers_;
    std::vector< Live > live_;
    std::vector< int > stranded_; // Statistics in the chip, and nobody's.
};

} // namespace Soak
