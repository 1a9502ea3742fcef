#include "agent/tcam/CommonData.h"

namespace PeloraTcam {

std::optional< U16 > PeloraTcamCommonData::policerFlags( StageType stage ) const
{
    const auto found = policerFlags_.find( stage );
    return found == policerFlags_.end() ? std::nullopt : std::optional( found->second );
}

void PeloraTcamCommonData::policerFlagsIs( StageType stage, U16 flags )
{
    policerFlags_[ stage ] = flags;
}

void PeloraTcamCommonData::policerFlagsDel( StageType stage )
{
    policerFlags_.erase( stage );
}

PeloraTcamCommonData& getPeloraTcamCommonData()
{
    static PeloraTcamCommonData data;
    return data;
}

} // namespace PeloraTcam
