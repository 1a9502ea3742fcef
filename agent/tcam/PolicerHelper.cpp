#include "agent/tcam/PolicerHelper.h"

#include "agent/base/Attributes.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, PolicerMode mode )
{
    return printEnumerator( stream, mode );
}

std::ostream& operator<<( std::ostream& stream, const Policer& policer )
{
    return stream << policer.mode << " cir:" << policer.committedRate
                  << " cbs:" << policer.committedBurst << " pir:" << policer.peakRate
                  << " pbs:" << policer.peakBurst << " colorAware:" << policer.colorAware;
}

PeloraTcamPolicerHelper::PeloraTcamPolicerHelper( U8 pipeId, FapId fapId )
    : pipeId_( pipeId )
    , fapId_( fapId )
{}

PeloraTcamPolicerHelper::~PeloraTcamPolicerHelper() = default;

int PeloraTcamPolicerHelper::attributeOperation( Agent::Node& node,
                                                 const Agent::FieldDescriptor& field,
                                                 Agent::AttributeOperation operation,
                                                 void* result )
{
    using Helper = PeloraTcamPolicerHelper;
    using Agent::ReadableAttribute;
    return Agent::readableAttributes( node, field, operation, result,
                                      ReadableAttribute{ "fapId", &Helper::fapId },
                                      ReadableAttribute{ "pipeId", &Helper::pipeId } );
}

} // namespace PeloraTcam
