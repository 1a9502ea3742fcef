#pragma once

/// How the managers stay right while their SDK calls are under way.
///
/// The rule: the agent's locks are free during each SDK call, so while a call is under way any
/// other thread may begin, and finish, any operation of any manager, also on the same thing.
/// Therefore:
///
/// 1. Nothing seen before a call is trusted behind it. Records are looked up again by their id; no
///    iterator, reference or pointer into the records is used across a call.
/// 2. What is made is recorded when the SDK has made it. If another thread has had an equal thing
///    made meanwhile, one of the two is given back, and both threads share the other. Who has no
///    room for his own waits for an equal one that is being made.
/// 3. What is given back leaves the records before the call, so nobody is handed it any more. It is
///    put back when the call throws. Room in the chip counts as taken from before the call that
///    makes a thing until behind the one that gives it back. The counters of an entry stay in the
///    records until behind the calls instead: their turn keeps others away from them.
/// 4. An audit is a user of the shared thing that it reads: when its last other user lets go of it
///    meanwhile, the audit gives it back, also when a call of the audit throws. It leaves out what
///    has gone, what is under way, and what has changed while it was read. Audits of counters and
///    of user-defined fields take turns with the operations instead: they wait for what is under
///    way, and nothing changes while they read.
/// 5. Operations that change one and the same thing that is not shared take turns (`Turn`): the
///    later one waits, with the locks free as in a call, and then looks again, for the same record:
///    another one under the same id is none of its business. The operations on user-defined fields
///    that reach the chip take turns with each other, because their helper keeps what they share.
/// 6. Arguments are copied before the first call: whoever passed a reference to something of his
///    own may find it changed behind the call. What is passed as an rvalue or a span (an entry to
///    take over, the rules of a set) is read behind calls and left alone by the caller.
///
/// All of this is used with the activity lock held.

#include "agent/base/BaseTypes.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Reference {

// ---- Turns -----------------------------------------------------------------------------------

/// How many threads wait for a turn. May be asked without a lock.
[[nodiscard]] std::size_t waitingThreads() noexcept;

/// Waits, with the agent's locks free, until a turn of any manager has ended, or something has been
/// made (`SharedRecords::Making`). Look again then.
void waitForTheEndOfATurn();

/// Lets all that wait look again.
void tellTheEndOfATurn();

/// Waits in the place of `waitForTheEndOfATurn`, for tests that decide which thread goes on.
class TurnWaiter
{
  public:
    virtual ~TurnWaiter();
    /// Called with the agent's locks free. May return at any time: whoever waits looks again, and
    /// waits again if there is nothing new.
    virtual void wait() = 0;
};

/// Sets who waits, or the usual way (null). Gives who did before. Must not change while a thread
/// waits; the waiter must outlive its time as one.
TurnWaiter* turnWaiterIs( TurnWaiter* waiter ) noexcept;

/// A number that has not been given before.
[[nodiscard]] inline Agent::U64 newStamp() noexcept
{
    static Agent::U64 last = 0;
    return ++last;
}

/// What a record has whose operations take turns; derive the record from it.
struct TakesTurns
{
    bool underWay = false;         ///< an operation has its turn
    Agent::U64 stamp = newStamp(); ///< another one with each record, and with each turn
    Agent::U64 birth = newStamp(); ///< another one with each record; turns leave it as it is
};

/// The turn of one operation on a record, if there is the record: nobody else changes it until the
/// turn ends, with this or with `takeOut`. Waits until others have had theirs. When the record has
/// gone by then, there is none, also if the SDK has given its id to another one. A thread has one
/// turn of a kind of records at a time.
template< class Records >
class Turn
{
  public:
    using Id = typename Records::key_type;

    Turn( Records& records, const Id& id )
        : records_( records )
        , id_( id )
    {
        auto found = records_.find( id_ );
        const Agent::U64 birth = found == records_.end() ? 0 : found->second.birth;
        for ( ; found != records_.end() && found->second.birth == birth;
              found = records_.find( id_ ) ) {
            if ( !found->second.underWay ) {
                record_ = &found->second;
                record_->underWay = true;
                record_->stamp = newStamp();
                return;
            }
            waitForTheEndOfATurn();
        }
    }

    Turn( const Turn& ) = delete;
    Turn& operator=( const Turn& ) = delete;

    ~Turn()
    {
        if ( record_ != nullptr ) {
            record_->underWay = false;
            tellTheEndOfATurn();
        }
    }

    /// Whether there is the record.
    explicit operator bool() const { return record_ != nullptr; }

    [[nodiscard]] const Id& id() const { return id_; }

    /// The record, of which there must be one. It stays where it is: nobody else takes it out.
    [[nodiscard]] auto& record() const { return *record_; }

    /// Takes the record out, which ends the turn: the SDK may hand out its id again.
    [[nodiscard]] auto takeOut()
    {
        record_->underWay = false;
        record_ = nullptr;
        tellTheEndOfATurn();
        return records_.extract( id_ );
    }

  private:
    Records& records_;
    const Id id_;
    typename Records::mapped_type* record_ = nullptr;
};

/// The ids of all records, in order.
template< class Records >
[[nodiscard]] auto idsOf( const Records& records )
{
    std::vector< typename Records::key_type > ids;
    ids.reserve( records.size() );
    for ( const auto& [ id, record ] : records ) {
        ids.push_back( id );
    }
    std::ranges::sort( ids );
    return ids;
}

// ---- Reading back ----------------------------------------------------------------------------

/// Whether what an audit reads is still as the audit has seen it. An empty one always says so.
using StillSeen = std::function< bool() >;

/// A call whose negative return code ends the process if `mustSucceed( rc )`, which is asked with
/// the locks held again, and is a result otherwise.
template< class MustSucceed, class... Parameters >
int judgedCall( const Agent::TraceHandle& handle,
                const Shim::CallSite& site,
                const MustSucceed& mustSucceed,
                int ( Shim::SdkAccess::*function )( Parameters... ),
                std::type_identity_t< Parameters >... arguments )
{
    Shim::SdkAccess& access = Shim::sdkFor( site );
    access.preApiCall();
    const int rc =
        Shim::callWithLocksReleased( [ & ] { return ( access.*function )( arguments... ); } );
    if ( rc >= 0 || !mustSucceed( rc ) ) {
        Shim::maybeTraceCall( handle, site, rc );
    } else {
        Shim::checkReturnCode( handle, site, rc );
    }
    return rc;
}

/// The checked call of an audit. False when what it reads has changed meanwhile: then neither the
/// return code nor what was read says anything.
template< class... Parameters >
bool auditCall( const Agent::TraceHandle& handle,
                const Shim::CallSite& site,
                const StillSeen& stillSeen,
                int ( Shim::SdkAccess::*function )( Parameters... ),
                std::type_identity_t< Parameters >... arguments )
{
    const auto isStillSeen = [ & ] { return !stillSeen || stillSeen(); };
    const auto mustSucceed = [ & ]( int ) { return isStillSeen(); };
    judgedCall( handle, site, mustSucceed, function, arguments... );
    return isStillSeen();
}

// ---- Sharing ---------------------------------------------------------------------------------

/// The records of things that users share, found by id, and by what they are.
template< class Key, class Id, class Value, class Hash >
class SharedRecords
{
  public:
    struct Record
    {
        Id id;
        Key key;
        Value value;
        bool isShared = true; ///< handed out to whoever wants the key
        std::size_t users = 1;
        std::size_t readers = 0; ///< audits that compare it
    };

    /// Room in the chip that a thing takes from before it is made.
    class Room
    {
      public:
        explicit Room( std::size_t& outside )
            : outside_( outside )
        {
            ++outside_;
        }

        Room( const Room& ) = delete;
        Room& operator=( const Room& ) = delete;

        ~Room() { --outside_; }

      private:
        std::size_t& outside_;
    };

    /// A thing that is being made, for as long as this lives, which ends before it is recorded. It
    /// takes room in the chip; whoever wants an equal one and has no room waits for it.
    class Making
    {
      public:
        /// What is not to be shared is nobody's to wait for. `key` must outlive this.
        Making( SharedRecords& records, const Key& key, bool isShared = true )
            : records_( records )
            , key_( key )
            , room_( records.outside_ )
        {
            if ( isShared ) {
                records_.beingMade_.push_back( &key_ );
            }
        }

        Making( const Making& ) = delete;
        Making& operator=( const Making& ) = delete;

        ~Making()
        {
            std::erase( records_.beingMade_, &key_ );
            tellTheEndOfATurn();
        }

      private:
        SharedRecords& records_;
        const Key& key_;
        const Room room_;
    };

    /// How many records there are.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// How many things are in the chip, or on their way into it or out of it.
    [[nodiscard]] std::size_t inChip() const { return records_.size() + outside_; }

    /// The record of an id; null if there is none. Valid until the next call of the SDK.
    [[nodiscard]] Record* find( const Id& id )
    {
        const auto found = records_.find( id );
        return found == records_.end() ? nullptr : &found->second;
    }

    [[nodiscard]] const Record* find( const Id& id ) const
    {
        return const_cast< SharedRecords* >( this )->find( id );
    }

    /// The record that is handed out for a key, likewise.
    [[nodiscard]] Record* shared( const Key& key ) const
    {
        const auto found = byKey_.find( key );
        return found == byKey_.end() ? nullptr : found->second;
    }

    /// For who wants the key and has no room: waits while another thread makes an equal thing. True
    /// when there was one, or is one to be shared: look again.
    [[nodiscard]] bool waitForAnEqual( const Key& key ) const
    {
        if ( std::ranges::any_of( beingMade_,
                                  [ & ]( const Key* made ) { return *made == key; } ) ) {
            waitForTheEndOfATurn();
            return true;
        }
        return shared( key ) != nullptr;
    }

    /// A record of the key that is not handed out and has users; null if there is none.
    [[nodiscard]] const Record* withheld( const Key& key ) const
    {
        if ( records_.size() == byKey_.size() ) {
            return nullptr;
        }
        const auto found = std::ranges::find_if( records_, [ & ]( const auto& row ) {
            const Record& record = row.second;
            return record.key == key && record.users != 0 && shared( key ) != &record;
        } );
        return found == records_.end() ? nullptr : &found->second;
    }

    /// Records what the SDK has made, under an id that no record has. If another thread has had an
    /// equal one made meanwhile, this one is given back, and the result is false: look again. When
    /// `giveBack` throws, it stays without a user; the next audit tries again to give it back.
    template< class GiveBack >
    [[nodiscard]] bool add( Record record, const GiveBack& giveBack )
    {
        const Id id = record.id;
        const bool isWanted = !record.isShared || shared( record.key ) == nullptr;
        Record& added = records_.emplace( id, std::move( record ) ).first->second;
        if ( isWanted ) {
            offer( added );
        } else {
            giveBackRecord( id, 0, giveBack );
        }
        return isWanted;
    }

    /// Takes one user away. The last one has `giveBack( record )` called, unless an audit reads the
    /// record: then that does it. False when the id is unknown.
    template< class GiveBack >
    bool release( const Id& id, const GiveBack& giveBack )
    {
        Record* record = find( id );
        if ( record == nullptr || record->users == 0 ) {
            return false;
        }
        if ( --record->users == 0 && record->readers == 0 ) {
            giveBackRecord( id, 1, giveBack );
        }
        return true;
    }

    /// Has `verify( record )` called for each record. Gives the number of those that it said true
    /// of. What has no user is given back, also when `verify` throws.
    template< class Verify, class GiveBack >
    std::size_t audit( const Verify& verify, const GiveBack& giveBack )
    {
        std::size_t compared = 0;
        for ( const Id& id : idsOf( records_ ) ) {
            Record* record = find( id );
            if ( record == nullptr ) {
                continue;
            }
            ++record->readers;
            try {
                if ( record->users != 0 && verify( Record( *record ) ) ) {
                    ++compared;
                }
            } catch ( ... ) {
                endReading( id, giveBack );
                throw;
            }
            endReading( id, giveBack );
        }
        return compared;
    }

  private:
    /// Nobody takes out what is read: whoever reads last gives it back if it has no user any more.
    template< class GiveBack >
    void endReading( const Id& id, const GiveBack& giveBack )
    {
        Record& record = records_.at( id );
        if ( --record.readers == 0 && record.users == 0 ) {
            giveBackRecord( id, 0, giveBack );
        }
    }

    /// Hands the record out from now on.
    void offer( Record& record )
    {
        if ( record.isShared ) {
            byKey_.emplace( record.key, &record );
        }
    }

    template< class GiveBack >
    void giveBackRecord( const Id& id, std::size_t usersAsBefore, const GiveBack& giveBack )
    {
        auto taken = records_.extract( id );
        const auto offered = byKey_.find( taken.mapped().key );
        if ( offered != byKey_.end() && offered->second == &taken.mapped() ) {
            byKey_.erase( offered );
        }
        const Room stillThere( outside_ );
        try {
            giveBack( taken.mapped() );
        } catch ( ... ) {
            taken.mapped().users = usersAsBefore;
            const auto putBack = records_.insert( std::move( taken ) );
            if ( putBack.inserted ) { // Or the SDK, which has it back, has given its id away.
                offer( putBack.position->second );
            }
            throw;
        }
    }

    std::unordered_map< Id, Record > records_;
    /// Those that are handed out. `Hash` does not say that it throws nothing: GNU's standard
    /// library then keeps each hash beside its key, and need not make it again.
    std::unordered_map< Key, Record*, Hash > byKey_;
    std::vector< const Key* > beingMade_;
    std::size_t outside_ = 0;
};

/// Mixes one more number into a hash.
[[nodiscard]] inline std::size_t mixed( std::size_t hash, std::size_t number ) noexcept
{
    constexpr std::size_t multiplier = 0x9E3779B97F4A7C15;
    return ( ( hash << 5 | hash >> 59 ) ^ number ) * multiplier;
}

} // namespace Reference

/// The checked call of an audit (`Reference::auditCall`), as `SDK_CHECKED_CALL` is written.
#define SDK_AUDIT_CALL( stillSeen, function, ... )                                                 \
    ::Reference::auditCall( apiTraceHandle_, SDK_CALL_SITE( #function "( " #__VA_ARGS__ " )" ),    \
                            stillSeen, &::Shim::SdkAccess::function, __VA_ARGS__ )
