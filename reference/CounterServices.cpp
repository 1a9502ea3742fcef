#include "reference/CounterServices.h"

#include "agent/tcam/InitFuncs.h"

namespace Reference {

using PeloraTcam::BaseSdk6InitFunc;
using PeloraTcam::PeloraTcamSdk6CounterEvictionHelper;

CounterServices::CounterServices( SdkVariant variant, unsigned counterBits )
    : variant_( variant )
    , eviction_( new PeloraTcamSdk6CounterEvictionHelper( counterBits ) )
    , flexctrs_( objects_, counterBits )
{
    if ( variant_ == SdkVariant::sdk6 ) {
        const Agent::Ptr< BaseSdk6InitFunc > initFunc( new BaseSdk6InitFunc( eviction_ ) );
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, initFunc );
    } else {
        PeloraTcam::counterObjectManagerIs( &objects_ );
        PeloraTcam::flexctrManagerIs( &flexctrs_ );
    }
}

CounterServices::~CounterServices()
{
    if ( variant_ == SdkVariant::sdk6 ) {
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
    } else {
        PeloraTcam::flexctrManagerIs( nullptr );
        PeloraTcam::counterObjectManagerIs( nullptr );
    }
}

bool CounterServices::counterObjectIs( const CounterObjectPlace& place, Agent::U32 counters )
{
    return objects_.counterObjectIs( place.unit, place.stage, place.pipe, place.priority,
                                     counters ) >= 0;
}

void CounterServices::counterObjectDel( const CounterObjectPlace& place )
{
    objects_.counterObjectDel( place.unit, place.stage, place.pipe, place.priority );
}

} // namespace Reference
