#include "agent/tcam/FlexctrCounter.h"

#include "sdk/SdkAccess.h"

namespace PeloraTcam {

int FlexctrCounter::readGuarded( int unit, U64 mask )
{
    bcm_flexctr_counter_value_t value;
    const int rc = Shim::sdk().bcm_flexctr_stat_get( unit, object_, index_, &value );
    if ( rc >= 0 ) {
        packets_.readingIs( value.packets, mask );
        bytes_.readingIs( value.bytes, mask );
    }
    return rc;
}

int FlexctrCounter::read( int unit, U64 mask, U64& packets, U64& bytes )
{
    const std::lock_guard lock( mutex_ );
    const int rc = readGuarded( unit, mask );
    packets = packets_.value();
    bytes = bytes_.value();
    return rc;
}

int FlexctrCounter::clear( int unit )
{
    const std::lock_guard lock( mutex_ );
    bcm_flexctr_counter_value_t zero;
    const int rc = Shim::sdk().bcm_flexctr_stat_set( unit, object_, index_, &zero );
    if ( rc >= 0 ) {
        packets_.clear();
        bytes_.clear();
    }
    return rc;
}

int FlexctrCounter::restart( int unit, U64 mask )
{
    const std::lock_guard lock( mutex_ );
    const int rc = readGuarded( unit, mask );
    packets_.restart();
    bytes_.restart();
    return rc;
}

} // namespace PeloraTcam
