#pragma once

/// A model of who shares which packet format, which knows nothing of the library and nothing of the
/// chip but its room. It follows from these rules: a UDF takes one chunk for two bytes, or part of
/// them; an owner's packets of one kind share one format, whatever their priority, and different
/// owners share nothing; a format lives as long as it has users; the first user of a format gives
/// it its priority.
///
///     const Outcome outcome = model.outcomeOf( request, fault );
///     if ( outcome == Outcome::made ) {
///         model.add( request, udf );
///     }

#include "agent/tcam/UdfTypes.h"

#include <compare>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

namespace LibraryTest {

/// The packets that a format describes.
struct PacketKind
{
    Agent::U16 ethType;
    Agent::U8 ipProto;
    Agent::U16 inner;

    friend auto operator<=>( const PacketKind&, const PacketKind& ) = default;
};

/// What an owner asks for. An owner is whoever has one map of packet formats.
struct UdfRequest
{
    unsigned owner = 0;
    PacketKind kind{};
    PeloraTcam::UdfDesc desc;
};

/// What a chip has room for.
struct UdfRoom
{
    std::size_t udfs;
    std::size_t chunks;
    std::size_t formats;
    std::size_t usersOfFormat;
    std::size_t hashes;
};

/// Which call of a creation the SDK refuses, and whether it says that it is out of resources.
struct CreationFault
{
    enum Where
    {
        nowhere,
        atUdf,
        atFormat,
        atAttachment
    };

    Where where = nowhere;
    bool outOfResources = false;
};

/// How a creation ends.
enum class Outcome
{
    made,
    refused,
    refusedAndLogged,
};

class UdfSharingModel
{
  public:
    struct Format
    {
        std::set< int > users;
        Agent::U8 priority = 0;
    };

    using FormatKey = std::pair< unsigned, PacketKind >;

    explicit UdfSharingModel( const UdfRoom& room )
        : room_( room )
    {}

    [[nodiscard]] Outcome outcomeOf( const UdfRequest& request, const CreationFault& fault ) const
    {
        if ( fault.where == CreationFault::atUdf ) {
            return refusedBy( fault );
        }
        if ( udfs_.size() == room_.udfs || chunksFor( request.desc ) > room_.chunks - chunks_ ) {
            return Outcome::refusedAndLogged;
        }
        const Format* const shared = format( request.owner, request.kind );
        if ( shared == nullptr && fault.where == CreationFault::atFormat ) {
            return refusedBy( fault );
        }
        if ( shared == nullptr && formats_.size() == room_.formats ) {
            return Outcome::refusedAndLogged;
        }
        const bool isFull = shared != nullptr && shared->users.size() == room_.usersOfFormat;
        return isFull || fault.where == CreationFault::atAttachment ? Outcome::refused
                                                                    : Outcome::made;
    }

    [[nodiscard]] bool hasRoomForHash() const { return hashes_.size() < room_.hashes; }

    void add( const UdfRequest& request, int udf )
    {
        udfs_.insert( udf );
        chunks_ += chunksFor( request.desc );
        Format& used = formats_[ { request.owner, request.kind } ];
        if ( used.users.empty() ) {
            used.priority = request.desc.priority();
        }
        used.users.insert( udf );
        if ( request.desc.lagHashing() ) {
            hashes_.insert( udf );
        }
    }

    void remove( const UdfRequest& request, int udf )
    {
        udfs_.erase( udf );
        chunks_ -= chunksFor( request.desc );
        const auto used = formats_.find( { request.owner, request.kind } );
        used->second.users.erase( udf );
        if ( used->second.users.empty() ) {
            formats_.erase( used );
        }
        hashes_.erase( udf );
    }

    /// The chip has lost everything.
    void reset() { *this = UdfSharingModel( room_ ); }

    /// An owner's format for these packets; null if there is none.
    [[nodiscard]] const Format* format( unsigned owner, const PacketKind& kind ) const
    {
        const auto found = formats_.find( { owner, kind } );
        return found == formats_.end() ? nullptr : &found->second;
    }

    [[nodiscard]] std::size_t formatsOf( unsigned owner ) const
    {
        std::size_t count = 0;
        for ( const auto& [ key, format ] : formats_ ) {
            count += key.first == owner ? 1 : 0;
        }
        return count;
    }

    [[nodiscard]] const std::set< int >& udfs() const { return udfs_; }

    [[nodiscard]] const std::map< FormatKey, Format >& formats() const { return formats_; }

    [[nodiscard]] const std::set< int >& hashes() const { return hashes_; }

    [[nodiscard]] std::size_t chunks() const { return chunks_; }

  private:
    static std::size_t chunksFor( const PeloraTcam::UdfDesc& desc )
    {
        return ( desc.length() + std::size_t{ 1 } ) / 2;
    }

    static Outcome refusedBy( const CreationFault& fault )
    {
        return fault.outOfResources ? Outcome::refusedAndLogged : Outcome::refused;
    }

    UdfRoom room_;
    std::size_t chunks_ = 0;
    std::set< int > udfs_;
    std::map< FormatKey, Format > formats_;
    std::set< int > hashes_;
};

} // namespace LibraryTest
