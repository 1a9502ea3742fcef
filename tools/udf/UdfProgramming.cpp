#include "tools/udf/UdfProgramming.h"

namespace Tool {

namespace {

using PeloraTcam::UdfDesc;

/// The manager or the helper refused without asking the SDK.
UdfProgramming refusedWithoutACall( const UdfDesc& desc, bool hasFlexParser )
{
    if ( desc.lagHashing() ) {
        return { Outcome::error, {}, "this chip cannot hash over user-defined fields", {} };
    }
    if ( !hasFlexParser ) {
        return { Outcome::error,
                 {},
                 "the library makes no user-defined field without an EtherType",
                 {} };
    }
    return { Outcome::full, {}, "too few free chunks", {} };
}

} // namespace

UdfProgramming programUdf( RunContext& context, const UdfDesc& desc )
{
    const PeloraTcam::QualIdList ids = context.udfs().program( desc );
    if ( ids.qualIds() != 0 ) {
        return { Outcome::ok, ids, {}, {} };
    }
    // The first failure is the reason; the helper's undoing may meet more.
    const std::optional< FailedCall >& failure = context.firstFailure();
    if ( !failure ) {
        return refusedWithoutACall( desc, context.hasFlexParser() );
    }
    const Outcome outcome = failure->isForLackOfRoom() ? Outcome::full : Outcome::error;
    return { outcome, {}, failure->text(), failure };
}

} // namespace Tool
