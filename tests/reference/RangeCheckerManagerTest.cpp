#include "reference/RangeCheckerManager.h"

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "agent/base/Locks.h"
#include "sim/FaultInjectingSdk.h"
#include "tests/support/AssertionText.h"
#include "tests/support/EnvironmentNumbering.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace Reference {
namespace {

using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr int unit = 2;
constexpr PeloraTcam::U8 pipeId = 1;
constexpr RangeCheckerDesc web{ 80, 80, RangeType::l4DstPort };
constexpr RangeCheckerDesc high{ 1024, 65535, RangeType::l4SrcPort };
constexpr RangeCheckerDesc jumbo{ 1519, 9216, RangeType::packetLength };
constexpr const char* source = "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.cpp";

/// A manager on a chip with as many range checkers as the test wants.
class ManagedChip
{
  public:
    explicit ManagedChip( uint32_t capacity )
    {
        Sim::ChipProfile profile = Sim::builtInProfile( "sdk6-udf" );
        profile.rangeCheckers.capacity = capacity;
        chips.chipIs( unit, profile );
        Shim::sdk_ = &faulty;
    }

    ~ManagedChip() { Shim::sdk_ = nullptr; }

    [[nodiscard]] const Sim::SimulatedChip& chip() const { return *chips.chip( unit ); }

    [[nodiscard]] std::string chipText() const { return chip().snapshot().text(); }

    Sim::SimulatedSdk chips{ TestSupport::environmentNumbering() };
    Sim::FaultInjectingSdk faulty{ chips };
    Agent::LockAnchor activity{ Agent::activityLock() };
    RangeCheckerManager manager{ Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper >(
        new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper(
            pipeId, PeloraTcam::FapId( unit ), { "model" } ) ) };
};

class RangeCheckerManagerTest : public ::testing::Test
{
  protected:
    RangeCheckerId acquired( const RangeCheckerDesc& desc )
    {
        const auto id = managed.manager.acquire( desc );
        EXPECT_TRUE( id );
        return id.value_or( PeloraTcam::invalidRangeCheckerId );
    }

    ManagedChip managed{ 2 };
    RangeCheckerManager& manager = managed.manager;
};

// ---- Sharing ---------------------------------------------------------------------------------

TEST_F( RangeCheckerManagerTest, Acquire_First_StandsInTheChip )
{
    const RangeCheckerId id = acquired( web );
    EXPECT_EQ( managed.chipText(), "range checker " + std::to_string( id ) +
                                       ": type=bcmRangeTypeL4DstPort min=80 max=80 instance=1\n" );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_EQ( manager.users( id ), 1U );
}

TEST_F( RangeCheckerManagerTest, Acquire_EqualDescriptor_SharesAndTheChipHearsNothing )
{
    TestSupport::RecordingSdk recording( managed.faulty );
    Shim::sdk_ = &recording;
    const RangeCheckerId first = acquired( web );
    const RangeCheckerId second = acquired( web );
    EXPECT_EQ( second, first );
    EXPECT_EQ( manager.users( first ), 2U );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_EQ( recording.countOf( "bcm_range_create" ), 1U );
}

TEST( RangeCheckerManagerLifeTest, Acquire_AnyFieldDiffers_IsAnotherRangeChecker )
{
    ManagedChip large( 8 );
    const RangeCheckerDesc others[] = {
        { 80, 80, RangeType::l4DstPort },    { 79, 80, RangeType::l4DstPort },
        { 80, 81, RangeType::l4DstPort },    { 80, 80, RangeType::l4SrcPort },
        { 80, 80, RangeType::packetLength },
    };
    std::vector< RangeCheckerId > ids;
    for ( const RangeCheckerDesc& desc : others ) {
        ids.push_back( large.manager.acquire( desc ).value() );
    }
    std::ranges::sort( ids );
    EXPECT_EQ( std::ranges::adjacent_find( ids ), ids.end() );
    EXPECT_EQ( large.manager.size(), 5U );
}

TEST_F( RangeCheckerManagerTest, Release_NotTheLastUser_LeavesItInTheChip )
{
    const RangeCheckerId id = acquired( web );
    acquired( web );
    const std::string before = managed.chipText();
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_EQ( managed.chipText(), before );
    EXPECT_EQ( manager.users( id ), 1U );
}

TEST_F( RangeCheckerManagerTest, Release_LastUser_FreesItInTheChip )
{
    const RangeCheckerId id = acquired( web );
    acquired( web );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_EQ( managed.chipText(), "" );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_EQ( manager.users( id ), 0U );
}

TEST_F( RangeCheckerManagerTest, Acquire_AfterTheLastRelease_ProgramsTheChipAgain )
{
    manager.release( acquired( web ) );
    const RangeCheckerId id = acquired( web );
    EXPECT_EQ( manager.users( id ), 1U );
    EXPECT_EQ( managed.chip().ranges().used(), 1U );
}

TEST_F( RangeCheckerManagerTest, Release_UnknownId_IsRefusedAndChangesNothing )
{
    const RangeCheckerId id = acquired( web );
    const std::string before = managed.chipText();
    EXPECT_FALSE( manager.release( id + 1 ) );
    EXPECT_FALSE( manager.release( PeloraTcam::invalidRangeCheckerId ) );
    EXPECT_EQ( managed.chipText(), before );
    EXPECT_EQ( manager.users( id ), 1U );
}

TEST_F( RangeCheckerManagerTest, Release_OnceTooOften_IsRefused )
{
    const RangeCheckerId id = acquired( web );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_FALSE( manager.release( id ) );
}

TEST_F( RangeCheckerManagerTest, Release_SdkThrows_LeavesTheRecordAsItWas )
{
    const RangeCheckerId id = acquired( web );
    managed.faulty.add( { { .function = "bcm_range_destroy" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( manager.release( id ), std::runtime_error );
    EXPECT_EQ( manager.users( id ), 1U );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_EQ( managed.chipText(), "" );
}

// ---- Running out -----------------------------------------------------------------------------

TEST_F( RangeCheckerManagerTest, Acquire_ChipFull_GivesNothingAndRecordsNothing )
{
    acquired( web );
    acquired( high );
    const std::string before = managed.chipText();
    EXPECT_EQ( manager.acquire( jumbo ), std::nullopt );
    EXPECT_EQ( manager.size(), 2U );
    EXPECT_EQ( managed.chipText(), before );
}

TEST_F( RangeCheckerManagerTest, Acquire_ChipFull_StillSharesWhatThereIs )
{
    const RangeCheckerId id = acquired( web );
    acquired( high );
    EXPECT_EQ( acquired( web ), id );
}

TEST_F( RangeCheckerManagerTest, Acquire_FullThenOneReleased_HasRoomAgain )
{
    const RangeCheckerId id = acquired( web );
    acquired( high );
    EXPECT_EQ( manager.acquire( jumbo ), std::nullopt );
    manager.release( id );
    EXPECT_EQ( manager.users( acquired( jumbo ) ), 1U );
}

TEST_F( RangeCheckerManagerTest, Acquire_ChipRefuses_CanBeTriedAgain )
{
    managed.faulty.add(
        { { .function = "bcm_range_create" }, Sim::FailCall{ Sim::ReturnCode::BCM_E_BUSY } } );
    EXPECT_EQ( manager.acquire( web ), std::nullopt );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_EQ( manager.users( acquired( web ) ), 1U );
}

// ---- Audit -----------------------------------------------------------------------------------

TEST_F( RangeCheckerManagerTest, Audit_NothingHeld_ReadsNothing )
{
    EXPECT_EQ( manager.audit(), 0U );
    EXPECT_EQ( managed.faulty.calls(), 0U );
}

TEST_F( RangeCheckerManagerTest, Audit_SharedRecords_AreEachReadOnce )
{
    acquired( web );
    acquired( web );
    acquired( high );
    const std::string before = managed.chipText();
    EXPECT_EQ( manager.audit(), 2U );
    EXPECT_EQ( managed.faulty.calls( "bcm_range_get" ), 2U );
    EXPECT_EQ( managed.chipText(), before );
}

TEST_F( RangeCheckerManagerTest, Audit_ReadBackCorrupted_Dies )
{
    acquired( web );
    acquired( high );
    managed.faulty.add(
        { { .function = "bcm_range_get", .call = 2 }, Sim::CorruptOutput{ "max", 65534 } } );
    EXPECT_DEATH( manager.audit(),
                  MatchesRegex( TestSupport::assertionLine(
                      source, ".*verifyTcamSanity.*",
                      "( desc == rangeCheckerData->checkerDesc() ) && "
                      "\"RangeCheckerManager::rangeCheckerData sw collection is out of sync\" && "
                      "\"with HW rangeChecker table\"" ) ) );
}

TEST_F( RangeCheckerManagerTest, Audit_WriteWasDropped_Dies )
{
    managed.faulty.add( { { .function = "bcm_range_create" }, Sim::DropCall{} } );
    acquired( web );
    EXPECT_DEATH( manager.audit(),
                  MatchesRegex( TestSupport::apiErrorLine( source, "bcm_range_get( unit, &conf )",
                                                           "Entry not found", -7 ) +
                                TestSupport::assertionLine( source, ".*", "0" ) ) );
}

TEST_F( RangeCheckerManagerTest, Acquire_SdkGivesAnIdInUse_Dies )
{
    managed.faulty.add( { { .function = "bcm_range_create", .call = 2 },
                          Sim::CorruptOutput{ "rid", acquired( web ) } } );
    EXPECT_DEATH( static_cast< void >( manager.acquire( { 1024, 65535, RangeType::l4SrcPort } ) ),
                  MatchesRegex( TestSupport::assertionLine(
                      "reference/RangeCheckerManager.cpp", ".*",
                      "isNewId && \"the SDK gave an id that is in use\"" ) ) );
}

// ---- A long life -----------------------------------------------------------------------------

/// What a manager must look like from outside, in the plainest form: who uses which range.
class Model
{
  public:
    struct Entry
    {
        RangeCheckerDesc desc;
        RangeCheckerId id;
        std::size_t users;
    };

    explicit Model( std::size_t capacity )
        : capacity_( capacity )
    {}

    [[nodiscard]] Entry* find( const RangeCheckerDesc& desc )
    {
        const auto found = std::ranges::find( entries_, desc, &Entry::desc );
        return found == entries_.end() ? nullptr : &*found;
    }

    [[nodiscard]] bool full() const { return entries_.size() == capacity_; }

    [[nodiscard]] bool holds( RangeCheckerId id ) const
    {
        return std::ranges::find( entries_, id, &Entry::id ) != entries_.end();
    }

    void add( const RangeCheckerDesc& desc, RangeCheckerId id )
    {
        entries_.push_back( { desc, id, 1 } );
    }

    void dropUser( std::size_t index )
    {
        if ( --entries_.at( index ).users == 0 ) {
            entries_.erase( entries_.begin() + static_cast< std::ptrdiff_t >( index ) );
        }
    }

    [[nodiscard]] const std::vector< Entry >& entries() const { return entries_; }

  private:
    std::size_t capacity_;
    std::vector< Entry > entries_;
};

/// Drives a manager and the model with the same random steps.
class RandomLife
{
  public:
    static constexpr uint32_t capacity = 24;

    void step()
    {
        const uint32_t kind = below( 100 );
        if ( kind < 55 ) {
            acquire();
        } else if ( kind < 98 ) {
            release();
        } else {
            audit();
        }
        ASSERT_EQ( managed_.manager.size(), model_.entries().size() );
        ASSERT_EQ( managed_.chip().ranges().used(), model_.entries().size() );
    }

    void releaseAll()
    {
        while ( !model_.entries().empty() ) {
            ASSERT_TRUE( managed_.manager.release( model_.entries().front().id ) );
            model_.dropUser( 0 );
        }
    }

    [[nodiscard]] const ManagedChip& managed() const { return managed_; }

    int refusals = 0;
    int shared = 0;
    int audits = 0;

  private:
    uint32_t below( uint32_t bound ) { return static_cast< uint32_t >( random_() % bound ); }

    /// One of some sixty descriptors: so that some are shared, and more are wanted than there
    /// is room for.
    RangeCheckerDesc anyDesc()
    {
        const uint32_t low = below( 5 ) * 1000;
        return { low, low + below( 4 ), static_cast< RangeType >( 1 + below( 3 ) ) };
    }

    void acquire()
    {
        const RangeCheckerDesc desc = anyDesc();
        const auto id = managed_.manager.acquire( desc );
        if ( Model::Entry* entry = model_.find( desc ) ) {
            ASSERT_EQ( id, entry->id );
            ++entry->users;
            ++shared;
        } else if ( model_.full() ) {
            ASSERT_EQ( id, std::nullopt );
            ++refusals;
        } else {
            ASSERT_TRUE( id );
            ASSERT_FALSE( model_.holds( *id ) ) << "an id in use was handed out again";
            model_.add( desc, *id );
        }
    }

    void release()
    {
        if ( model_.entries().empty() ) {
            ASSERT_FALSE( managed_.manager.release( below( 1000 ) ) );
            return;
        }
        const uint32_t index = below( static_cast< uint32_t >( model_.entries().size() ) );
        const Model::Entry entry = model_.entries().at( index );
        ASSERT_EQ( managed_.manager.users( entry.id ), entry.users );
        ASSERT_TRUE( managed_.manager.release( entry.id ) );
        model_.dropUser( index );
        ASSERT_EQ( managed_.manager.users( entry.id ), entry.users - 1 );
    }

    /// The manager finds the chip in order, and so does the model, entry by entry.
    void audit()
    {
        ASSERT_EQ( managed_.manager.audit(), model_.entries().size() );
        ++audits;
        const Sim::SimRange::State& ranges = managed_.chip().ranges().state();
        for ( const Model::Entry& entry : model_.entries() ) {
            const auto found = ranges.find( entry.id );
            ASSERT_NE( found, ranges.end() );
            ASSERT_EQ( found->second.min, entry.desc.low );
            ASSERT_EQ( found->second.max, entry.desc.high );
            ASSERT_EQ( found->second.instance, pipeId );
        }
    }

    ManagedChip managed_{ capacity };
    Model model_{ capacity };
    std::mt19937 random_{ 20240229 };
};

TEST( RangeCheckerManagerLifeTest, Anything_HundredThousandRandomSteps_AgreesWithTheModel )
{
    RandomLife life;
    for ( int step = 0; step < 100000; ++step ) {
        life.step();
        ASSERT_FALSE( ::testing::Test::HasFailure() ) << "at step " << step;
    }
    EXPECT_GT( life.refusals, 100 ) << "the sequence must run out of range checkers often";
    EXPECT_GT( life.shared, 1000 );
    EXPECT_GT( life.audits, 1000 );
    life.releaseAll();
    EXPECT_EQ( life.managed().chipText(), "" );
    EXPECT_EQ( life.managed().manager.size(), 0U );
}

} // namespace
} // namespace Reference
