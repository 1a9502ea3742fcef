// What the names in an entry's match stand for, when its step is run.

#include "agent/base/TextPieces.h"
#include "input/NameHints.h"
#include "tools/steps/EntryMatch.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool {

using Agent::U8;
using PeloraTcam::QualifierSet;
using PeloraTcam::QualifierType;
using Reference::EntryQualifiers;
using Reference::MaskedBytes;
using Reference::QualifierMatch;

namespace {

constexpr QualifierType udfQualifiers[] = {
    QualifierType::udf,       QualifierType::udfChunk0, QualifierType::udfChunk1,
    QualifierType::udfChunk2, QualifierType::udfChunk3, QualifierType::udfChunk4,
    QualifierType::udfChunk5, QualifierType::udfChunk6, QualifierType::udfChunk7,
};

/// Whether a group with those qualifiers takes one: it need not be called the same.
bool has( const QualifierSet& group, QualifierType qualifier )
{
    if ( group.contains( qualifier ) ) {
        return true;
    }
    const Reference::QualifierForm* wanted = Reference::findQualifierForm( qualifier );
    return wanted != nullptr && std::ranges::any_of( group, [ & ]( QualifierType other ) {
               const Reference::QualifierForm* form = Reference::findQualifierForm( other );
               return form != nullptr && form->function == wanted->function;
           } );
}

/// Finds what the names of one entry stand for.
class MatchResolver
{
  public:
    MatchResolver( RunContext& context, const std::string& group, EntryQualifiers& qualifiers )
        : context_( context )
        , group_( group )
        , groupHas_( context.groupNames().at( group ).desc.qualifiers )
        , qualifiers_( qualifiers )
    {}

    void add( const EntryMatch::Qualifier& wanted )
    {
        require( wanted.key, wanted.match.qualifier );
        qualifiers_.others.push_back( wanted.match );
    }

    void add( const EntryMatch::Range& wanted )
    {
        require( "match.range", QualifierType::rangeCheck );
        qualifiers_.ranges.push_back(
            { context_.rangeCheckerNames().at( wanted.name ), wanted.outside } );
    }

    void add( const EntryMatch::Class& wanted )
    {
        require( fmt::format( "match.class.{}", Agent::joinPieces( wanted.table ) ),
                 Reference::classQualifier( wanted.table ) );
        const auto* classId = std::get_if< Agent::U32 >( &wanted.value );
        qualifiers_.classes.emplace( wanted.table,
                                     classId != nullptr ? *classId : classOf( wanted ) );
    }

    void add( const EntryMatch::Udf& wanted )
    {
        if ( std::ranges::none_of( udfQualifiers, [ this ]( QualifierType qualifier ) {
                 return groupHas_.contains( qualifier );
             } ) ) {
            throw StepError( fmt::format( "match.udf: the group '{}' has no qualifier udfChunk0 to "
                                          "udfChunk7",
                                          group_ ) );
        }
        const NamedUdf& udf = context_.udfNames().at( wanted.name );
        MaskedBytes bytes;
        bytes.length = lengthOf( wanted.name, udf );
        bytes.value = bytesOf( wanted, wanted.data, bytes.length );
        if ( wanted.mask ) {
            bytes.mask = bytesOf( wanted, *wanted.mask, bytes.length );
        } else {
            std::fill_n( bytes.mask.begin(), bytes.length, U8{ 0xFF } );
        }
        const auto id = static_cast< bcm_udf_id_t >( *udf.ids.begin() );
        qualifiers_.others.push_back( { QualifierType::udf, Reference::UdfBytes{ id, bytes } } );
    }

  private:
    void require( const std::string& key, QualifierType qualifier ) const
    {
        if ( has( groupHas_, qualifier ) ) {
            return;
        }
        std::vector< std::string > names;
        for ( const QualifierType one : groupHas_ ) {
            names.push_back( Agent::joinPieces( one ) );
        }
        const std::string name = Agent::joinPieces( qualifier );
        const std::optional< std::string > near = Input::nearestName( name, names );
        throw StepError( fmt::format( "{}: the group '{}' has no qualifier '{}'{}", key, group_,
                                      name, near ? ", did you mean '" + *near + "'?" : "" ) );
    }

    [[nodiscard]] Agent::U32 classOf( const EntryMatch::Class& wanted ) const
    {
        const auto& key = std::get< PeloraTcam::CompressionKey >( wanted.value );
        const Reference::CompressionManager* compression = context_.tcam().compression();
        if ( compression == nullptr ) {
            throw StepError( "an HSDK chip has no field compression" );
        }
        const std::optional< Agent::U32 > classId = compression->classId( wanted.table, key );
        if ( !classId ) {
            throw StepError(
                fmt::format( "the table {} has no {}", Agent::joinPieces( wanted.table ),
                             Agent::joinPieces( PeloraTcam::CompressionData( key ) ) ) );
        }
        return *classId;
    }

    [[nodiscard]] static U8 lengthOf( const std::string& name, const NamedUdf& udf )
    {
        if ( udf.desc.length() > MaskedBytes::most ) {
            throw StepError( fmt::format( "match.udf.{}: an entry matches {} bytes at most, the "
                                          "field has {}",
                                          name, MaskedBytes::most, udf.desc.length() ) );
        }
        return udf.desc.length();
    }

    /// The bytes as the field has them: those of a number stand at its end.
    [[nodiscard]] static MaskedBytes::Bytes
    bytesOf( const EntryMatch::Udf& wanted, const UdfValue& value, std::size_t length )
    {
        const std::size_t size = value.bytes.size();
        if ( value.isNumber ? size > length : size != length ) {
            throw StepError( fmt::format( "match.udf.{}: {} {} for a field of {}", wanted.name,
                                          size, size == 1 ? "byte" : "bytes", length ) );
        }
        MaskedBytes::Bytes bytes{};
        std::copy_n( value.bytes.begin(), size,
                     bytes.begin() + static_cast< std::ptrdiff_t >( length - size ) );
        return bytes;
    }

    RunContext& context_;
    const std::string& group_;
    const QualifierSet& groupHas_;
    EntryQualifiers& qualifiers_;
};

} // namespace

void addMatch( const EntryMatch& match,
               RunContext& context,
               const std::string& group,
               EntryQualifiers& qualifiers )
{
    MatchResolver resolver( context, group, qualifiers );
    const auto addAll = [ & ]( const auto& list ) {
        for ( const auto& wanted : list ) {
            resolver.add( wanted );
        }
    };
    addAll( match.qualifiers );
    addAll( match.ranges );
    addAll( match.classes );
    addAll( match.udfs );
}

} // namespace Tool
