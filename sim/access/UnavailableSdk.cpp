#include "sim/access/UnavailableSdk.h"

#include "sim/values/SimSets.h"

namespace Sim {

UnavailableSdk::UnavailableSdk( const SdkNumbering& numbering )
    : numbering_( numbering )
{}

int UnavailableSdk::unavailable( int ) const
{
    return ReturnCode::BCM_E_UNAVAIL;
}

const char* UnavailableSdk::sdkErrorText( int rc )
{
    return ReturnCode::text( rc );
}

void UnavailableSdk::BCM_FIELD_QSET_INIT( bcm_field_qset_t* qset )
{
    initialise( qset );
}

void UnavailableSdk::BCM_FIELD_QSET_ADD( bcm_field_qset_t* qset, bcm_field_qualify_t qualifier )
{
    addToSet( qset->w, qualifier );
}

bool UnavailableSdk::BCM_FIELD_QSET_TEST( const bcm_field_qset_t* qset,
                                          bcm_field_qualify_t qualifier )
{
    return isInSet( qset->w, qualifier );
}

void UnavailableSdk::BCM_FIELD_ASET_INIT( bcm_field_aset_t* aset )
{
    initialise( aset );
}

void UnavailableSdk::BCM_FIELD_ASET_ADD( bcm_field_aset_t* aset, bcm_field_action_t action )
{
    addToSet( aset->w, action );
}

bool UnavailableSdk::BCM_FIELD_ASET_TEST( const bcm_field_aset_t* aset, bcm_field_action_t action )
{
    return isInSet( aset->w, action );
}

void UnavailableSdk::BCM_PBMP_CLEAR( _shr_pbmp* pbmp )
{
    initialise( pbmp );
}

void UnavailableSdk::BCM_PBMP_PORT_ADD( _shr_pbmp* pbmp, int port )
{
    addPort( *pbmp, port );
}

uint32_t UnavailableSdk::SHR_PBMP_FMT_LEN( const _shr_pbmp* )
{
    return portBitmapTextSize;
}

const char* UnavailableSdk::SHR_PBMP_FMT( const _shr_pbmp* pbmp, char* text )
{
    writePortBitmap( *pbmp, text );
    return text;
}

void UnavailableSdk::BCM_UDF_CBMP_CHUNK_ADD( bcm_udf_cbmp_t& chunks, int chunk )
{
    addChunk( chunks, chunk );
}

bool UnavailableSdk::BCM_UDF_CBMP_CHUNK_TEST( const bcm_udf_cbmp_t& chunks, int chunk )
{
    return hasChunk( chunks, chunk );
}

bool UnavailableSdk::korvel_bcm_field_stat_installed_in_hw( int, int )
{
    return false;
}

} // namespace Sim
