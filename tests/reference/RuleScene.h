#pragma once

/// What the tests of rule sets share: a chip with all the managers that rules take.

#include "reference/RuleSetProgrammer.h"
#include "tests/reference/TcamScene.h"

#include <memory>

namespace Reference {

/// The managers of one chip.
struct SceneManagers
{
    SceneManagers( TcamScene& scene, const Sim::ChipProfile& profile, Agent::U32 classIds )
        : rangeCheckers( scene.rangeCheckerHelper() )
        , entries( TcamScene::unit )
        , counters( scene.counterHelper(), scene.variant )
        , policers( scene.policerHelper(), profile.policers.capacity )
        , compression( scene.compressionHelper(),
                       sameLimits( { profile.field.compressionEntries, 1, classIds } ) )
        , programmer( { rangeCheckers, scene.groups, entries, counters, policers,
                        scene.variant == SdkVariant::sdk6 ? &compression : nullptr },
                      { scene.variant, TcamScene::pipe } )
    {}

    RangeCheckerManager rangeCheckers;
    EntryManager entries;
    CounterManager counters;
    PolicerManager policers;
    CompressionManager compression;
    RuleSetProgrammer programmer;
};

class RuleScene
{
  public:
    explicit RuleScene( const Sim::ChipProfile& profile ) { chipIs( profile ); }

    /// Another chip, with new managers.
    void chipIs( const Sim::ChipProfile& profile )
    {
        managers_.reset();
        tcam_.reset();
        profile_ = profile;
        tcam_ = std::make_unique< TcamScene >( profile );
        managersAre( 0xFFFF );
    }

    /// New managers, with so many class ids for each compression table.
    void managersAre( Agent::U32 classIds )
    {
        managers_ = std::make_unique< SceneManagers >( *tcam_, profile_, classIds );
    }

    [[nodiscard]] TcamScene& tcam() { return *tcam_; }

    [[nodiscard]] SceneManagers& managers() { return *managers_; }

    [[nodiscard]] RuleSetProgrammer& programmer() { return managers_->programmer; }

    [[nodiscard]] bool isSdk6() const { return tcam_->variant == SdkVariant::sdk6; }

    [[nodiscard]] Sim::ChipSnapshot snapshot() { return tcam_->snapshot(); }

    /// Compares everything with the chip; gives the number of comparisons.
    std::size_t audit()
    {
        return managers_->rangeCheckers.audit() + managers_->entries.audit() +
               managers_->counters.audit() + managers_->policers.audit() +
               managers_->compression.audit() + tcam_->groups.audit();
    }

    /// How many records all the managers hold together.
    [[nodiscard]] std::size_t held()
    {
        return managers_->rangeCheckers.size() + managers_->entries.size() +
               managers_->counters.size() + managers_->policers.size() +
               managers_->compression.size() + tcam_->groups.size();
    }

  private:
    Sim::ChipProfile profile_;
    std::unique_ptr< TcamScene > tcam_;
    std::unique_ptr< SceneManagers > managers_;
};

} // namespace Reference
