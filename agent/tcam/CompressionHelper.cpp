#include "agent/tcam/CompressionHelper.h"

#include "agent/base/Attributes.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, PeloraCompressionTableType type )
{
    return printEnumerator( stream, type );
}

CompressionKey::CompressionKey( U32 value )
    : isPrefix_( false )
    , value_( value )
{}

CompressionKey::CompressionKey( const IpAddress& address, U32 prefixLength )
    : isPrefix_( true )
    , address_( address )
    , prefixLength_( prefixLength )
{}

std::ostream& operator<<( std::ostream& stream, const CompressionKey& key )
{
    if ( key.isPrefix_ ) {
        return stream << key.address_ << '/' << key.prefixLength_;
    }
    return stream << key.value_;
}

std::ostream& operator<<( std::ostream& stream, const CompressionData& data )
{
    return stream << data.key();
}

PeloraTcamCompressionHelperBase::PeloraTcamCompressionHelperBase( U8 pipeId, FapId fapId )
    : pipeId_( pipeId )
    , fapId_( fapId )
{}

PeloraTcamCompressionHelperBase::~PeloraTcamCompressionHelperBase() = default;

int PeloraTcamCompressionHelperBase::attributeOperation( Agent::Node& node,
                                                         const Agent::FieldDescriptor& field,
                                                         Agent::AttributeOperation operation,
                                                         void* result )
{
    using Helper = PeloraTcamCompressionHelperBase;
    using Agent::ReadableAttribute;
    return Agent::readableAttributes( node, field, operation, result,
                                      ReadableAttribute{ "fapId", &Helper::fapId },
                                      ReadableAttribute{ "pipeId", &Helper::pipeId } );
}

} // namespace PeloraTcam
