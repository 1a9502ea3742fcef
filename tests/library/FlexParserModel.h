#pragma once

/// A model of who holds which chunk of a flexible parser, which knows nothing of the library and
/// nothing of the chip but its room. It follows from these rules: a UDF lies in one kind of packet
/// and asks for one chunk for two bytes, or part of them; it is refused when its kind has fewer
/// free chunks than it asks for; it is given the lowest free chunk, and no other, whatever it asks
/// for; a UDF of no bytes is given none, and the SDK refuses it, as it refuses any when all UDFs
/// are in use.
///
///     if ( model.outcomeOf( kind, length, 0 ) == FlexOutcome::made ) {
///         model.add( id, model.udfOf( kind, offset, length ) );
///     }

#include <array>
#include <cstddef>
#include <map>
#include <set>

namespace LibraryTest {

/// The kinds of packets. `other` is one that the chip knows and the library does not use.
enum class FlexKind
{
    ipv4,
    ipv6,
    arp,
    unknownL3,
    other,
};

constexpr std::size_t flexKinds = 5;
constexpr int flexChunks = 16;

/// What a chip has room for.
struct FlexRoom
{
    std::size_t udfs;
    /// The chunks of each kind that there are not.
    std::array< std::set< int >, flexKinds > unavailable;
};

struct FlexUdf
{
    FlexKind kind;
    unsigned offset; ///< in bits
    unsigned width;  ///< in bits
    std::set< int > chunks;

    friend bool operator==( const FlexUdf&, const FlexUdf& ) = default;
};

/// How a creation ends.
enum class FlexOutcome
{
    made,
    tooFewChunks,
    refused,        ///< by the SDK
    outOfResources, ///< refused by the SDK, which says so
};

/// A return code of the SDK, by hand.
constexpr int flexOutOfResources = -14;

class FlexParserModel
{
  public:
    /// With HSDK the width is that of the chunks, with SDK-6 that of the request.
    FlexParserModel( bool isHsdk, const FlexRoom& room )
        : isHsdk_( isHsdk )
        , room_( room )
    {}

    /// How a creation ends; `rc`: what the SDK answers instead of creating, 0 if it is in order.
    [[nodiscard]] FlexOutcome outcomeOf( FlexKind kind, unsigned length, int rc ) const
    {
        if ( chunksFor( length ) > freeChunks( kind ).size() ) {
            return FlexOutcome::tooFewChunks;
        }
        if ( rc != 0 ) {
            return rc == flexOutOfResources ? FlexOutcome::outOfResources : FlexOutcome::refused;
        }
        if ( length == 0 ) {
            return FlexOutcome::refused;
        }
        return udfs_.size() == room_.udfs ? FlexOutcome::outOfResources : FlexOutcome::made;
    }

    /// What a creation that succeeds puts on the chip.
    [[nodiscard]] FlexUdf udfOf( FlexKind kind, unsigned offset, unsigned length ) const
    {
        const unsigned bytes = isHsdk_ ? 2 : length;
        return { kind, offset * 8, bytes * 8, { *freeChunks( kind ).begin() } };
    }

    void add( int id, const FlexUdf& udf ) { udfs_.emplace( id, udf ); }

    void remove( int id ) { udfs_.erase( id ); }

    [[nodiscard]] std::set< int > freeChunks( FlexKind kind ) const
    {
        std::array< bool, flexChunks > isTaken{};
        const auto take = [ & ]( const std::set< int >& chunks ) {
            for ( const int chunk : chunks ) {
                isTaken[ static_cast< std::size_t >( chunk ) ] = true;
            }
        };
        take( room_.unavailable[ static_cast< std::size_t >( kind ) ] );
        for ( const auto& [ id, udf ] : udfs_ ) {
            if ( udf.kind == kind ) {
                take( udf.chunks );
            }
        }
        std::set< int > free;
        for ( int chunk = 0; chunk < flexChunks; ++chunk ) {
            if ( !isTaken[ static_cast< std::size_t >( chunk ) ] ) {
                free.insert( free.end(), chunk );
            }
        }
        return free;
    }

    [[nodiscard]] bool isFree( FlexKind kind, int chunk ) const
    {
        return freeChunks( kind ).contains( chunk );
    }

    /// All UDFs by their ids.
    [[nodiscard]] const std::map< int, FlexUdf >& udfs() const { return udfs_; }

    /// Whether an audit finds a UDF as its request says: one of a whole chunk. On SDK-6 the width
    /// is that of the request, so half a chunk passes too.
    [[nodiscard]] bool passesAudit( unsigned length ) const
    {
        return length == 2 || ( length == 1 && !isHsdk_ );
    }

    static unsigned chunksFor( unsigned length ) { return ( length + 1 ) / 2; }

  private:
    bool isHsdk_;
    FlexRoom room_;
    std::map< int, FlexUdf > udfs_;
};

} // namespace LibraryTest
