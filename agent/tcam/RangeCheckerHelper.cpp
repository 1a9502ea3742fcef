#include "agent/tcam/RangeCheckerHelper.h"

#include "agent/base/Attributes.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, RangeType type )
{
    return printEnumerator( stream, type );
}

std::ostream& operator<<( std::ostream& stream, const RangeCheckerDesc& desc )
{
    return stream << desc.type << ' ' << desc.low << ".." << desc.high;
}

PeloraTcamRangeCheckerHelper::PeloraTcamRangeCheckerHelper(
    U8 pipeId, FapId fapId, const PeloraCentral::PeloraModel& model )
    : pipeId_( pipeId )
    , fapId_( fapId )
    , model_( model )
{}

PeloraTcamRangeCheckerHelper::~PeloraTcamRangeCheckerHelper() = default;

int PeloraTcamRangeCheckerHelper::attributeOperation( Agent::Node& node,
                                                      const Agent::FieldDescriptor& field,
                                                      Agent::AttributeOperation operation,
                                                      void* result )
{
    using Helper = PeloraTcamRangeCheckerHelper;
    using Agent::ReadableAttribute;
    return Agent::readableAttributes( node, field, operation, result,
                                      ReadableAttribute{ "fapId", &Helper::fapId },
                                      ReadableAttribute{ "model", &Helper::model },
                                      ReadableAttribute{ "pipeId", &Helper::pipeId } );
}

} // namespace PeloraTcam
