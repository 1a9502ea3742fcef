// compress: { table: srcIp, key: 192.0.2.0/24, class: 7 }
// release-compression: { table: srcIp, key: 192.0.2.0/24 }

#include "agent/base/TextPieces.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/CompressionReader.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <optional>
#include <utility>

namespace Tool {

namespace {

using Input::YamlNode;
using PeloraTcam::CompressionKey;
using Reference::CompressionManager;
using Reference::CompressionRoom;
using Table = PeloraTcam::PeloraCompressionTableType;

/// A value of a table.
struct Value
{
    Table table;
    CompressionKey key;

    /// "srcIp 192.0.2.0/24"
    [[nodiscard]] std::string text() const { return Agent::joinPieces( table ) + " " + keyText(); }

    [[nodiscard]] std::string keyText() const
    {
        return Agent::joinPieces( PeloraTcam::CompressionData( key ) );
    }
};

void readValue( Input::YamlMembers& members, std::optional< Value >& value )
{
    Table table = Table::invalid;
    members.required( "table", table, compressionTableNames() );
    members.required( "key", [ & ]( const YamlNode& key ) {
        value = Value{ table, readCompressionKey( table, key ) };
    } );
}

CompressionManager& compressionOf( RunContext& context )
{
    CompressionManager* compression = context.tcam().compression();
    if ( compression == nullptr ) {
        throw StepError( "an HSDK chip has no field compression" );
    }
    return *compression;
}

class Compress : public Step
{
  public:
    Compress( Value value, std::optional< Agent::U32 > wanted )
        : value_( std::move( value ) )
        , wanted_( wanted )
    {}

    [[nodiscard]] std::string name() const override { return value_.text(); }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        CompressionManager& compression = compressionOf( context );
        if ( compression.overlapsAnother( value_.table, value_.key ) ) {
            throw StepError( fmt::format( "the table {} has a prefix that overlaps {}",
                                          Agent::joinPieces( value_.table ), value_.keyText() ) );
        }
        const std::optional< Agent::U32 > classId =
            compression.acquire( value_.table, value_.key, wanted_ );
        if ( !classId ) {
            requireWantedIsToBeHad( compression );
            return full( compression );
        }
        return given( *classId, compression.users( value_.table, value_.key ) );
    }

  private:
    /// A table that has room, or the value already, did not give the class that was wanted.
    void requireWantedIsToBeHad( const CompressionManager& compression ) const
    {
        const std::optional< Agent::U32 > present = compression.classId( value_.table, value_.key );
        if ( present ) {
            throw StepError( fmt::format( "{} has class {}", value_.text(), *present ) );
        }
        if ( wanted_ && compression.room( value_.table ) == CompressionRoom::free ) {
            throw StepError( fmt::format( "the table {} has no free class id {}",
                                          Agent::joinPieces( value_.table ), *wanted_ ) );
        }
    }

    [[nodiscard]] StepResult full( const CompressionManager& compression ) const
    {
        const bool noEntry = compression.room( value_.table ) == CompressionRoom::noEntry;
        return { Outcome::full,
                 fmt::format( "the table {} has no free {}", Agent::joinPieces( value_.table ),
                              noEntry ? "entry" : "class id" ),
                 Json::object() };
    }

    [[nodiscard]] StepResult given( Agent::U32 classId, std::size_t users ) const
    {
        std::string text = fmt::format( "class {}", classId );
        if ( users > 1 ) {
            text += fmt::format( ", shared by {}", users );
        }
        return { Outcome::ok,
                 text,
                 { { "table", Agent::joinPieces( value_.table ) },
                   { "key", value_.keyText() },
                   { "class", classId },
                   { "users", users } } };
    }

    Value value_;
    std::optional< Agent::U32 > wanted_;
};

class ReleaseCompression : public Step
{
  public:
    explicit ReleaseCompression( Value value )
        : value_( std::move( value ) )
    {}

    [[nodiscard]] std::string name() const override { return value_.text(); }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        CompressionManager& compression = compressionOf( context );
        const std::optional< Agent::U32 > classId = compression.classId( value_.table, value_.key );
        if ( !compression.release( value_.table, value_.key ) ) {
            throw StepError( fmt::format( "the table {} has no {}",
                                          Agent::joinPieces( value_.table ), value_.keyText() ) );
        }
        const std::size_t users = compression.users( value_.table, value_.key );
        const std::string left =
            users == 0 ? "back to the chip" : fmt::format( "{} left that share it", users );
        return { Outcome::ok,
                 fmt::format( "class {}, {}", classId.value_or( 0 ), left ),
                 { { "class", classId.value_or( 0 ) }, { "users", users } } };
    }

  private:
    Value value_;
};

} // namespace

std::unique_ptr< const Step > readCompress( const YamlNode& node, const ReadContext& )
{
    std::optional< Value > value;
    std::optional< Agent::U32 > wanted;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        readValue( members, value );
        members.optional( "class",
                          [ & ]( const YamlNode& classId ) { classId.read( wanted.emplace() ); } );
    } );
    return std::make_unique< Compress >( *value, wanted );
}

std::unique_ptr< const Step > readReleaseCompression( const YamlNode& node, const ReadContext& )
{
    std::optional< Value > value;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { readValue( members, value ); } );
    return std::make_unique< ReleaseCompression >( *value );
}

} // namespace Tool
