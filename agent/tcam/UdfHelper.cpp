#include "agent/tcam/UdfHelper.h"

#include "agent/base/Attributes.h"

namespace PeloraTcam {

UdfHelperBase::UdfHelperBase( U16 moduleId, U8 pipeId, bool lagHashingSupported )
    : moduleId_( moduleId )
    , pipeId_( pipeId )
    , lagHashingSupported_( lagHashingSupported )
{}

UdfHelperBase::~UdfHelperBase() = default;

int UdfHelperBase::attributeOperation( Agent::Node& node,
                                       const Agent::FieldDescriptor& field,
                                       Agent::AttributeOperation operation,
                                       void* result )
{
    using Helper = UdfHelperBase;
    using Agent::ReadableAttribute;
    return Agent::readableAttributes(
        node, field, operation, result,
        ReadableAttribute{ "lagHashingSupported", &Helper::lagHashingSupported },
        ReadableAttribute{ "moduleId", &Helper::moduleId },
        ReadableAttribute{ "pipeId", &Helper::pipeId } );
}

} // namespace PeloraTcam
