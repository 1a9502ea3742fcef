#include "agent/tcam/CounterHelper.h"

#include "agent/base/Attributes.h"

namespace PeloraTcam {

PeloraTcamCounterHelper::PeloraTcamCounterHelper( U8 pipeId,
                                                  U32 unit,
                                                  const PeloraCentral::ChipInfo& chipInfo )
    : pipeId_( pipeId )
    , unit_( unit )
    , chipInfo_( chipInfo )
{}

PeloraTcamCounterHelper::~PeloraTcamCounterHelper() = default;

int PeloraTcamCounterHelper::attributeOperation( Agent::Node& node,
                                                 const Agent::FieldDescriptor& field,
                                                 Agent::AttributeOperation operation,
                                                 void* result )
{
    using Helper = PeloraTcamCounterHelper;
    using Agent::ReadableAttribute;
    return Agent::readableAttributes( node, field, operation, result,
                                      ReadableAttribute{ "chipInfo", &Helper::chipInfo },
                                      ReadableAttribute{ "pipeId", &Helper::pipeId },
                                      ReadableAttribute{ "unit", &Helper::unit } );
}

} // namespace PeloraTcam
