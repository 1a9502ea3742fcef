#include "agent/tcam/CompressionHelper.h"

#include "agent/base/Attributes.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, PeloraCompressionTableType type )
{
    switch ( type ) {
    case PeloraCompressionTableType::invalid:
        return stream << "invalid";
    case PeloraCompressionTableType::etherType:
        return stream << "etherType";
    case PeloraCompressionTableType::ipProto:
        return stream << "ipProto";
    case PeloraCompressionTableType::l4SrcPort:
        return stream << "l4SrcPort";
    case PeloraCompressionTableType::l4DstPort:
        return stream << "l4DstPort";
    case PeloraCompressionTableType::srcIp:
        return stream << "srcIp";
    case PeloraCompressionTableType::dstIp:
        return stream << "dstIp";
    }
    return stream << "PeloraCompressionTableType(" << static_cast< unsigned >( type ) << ")";
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
