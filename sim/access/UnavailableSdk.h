#pragma once

/// An SDK of a chip that can do nothing: every function answers "unavailable".
///
/// What needs no chip works: the initialisers give a structure its initial values, the set
/// operations keep sets, the enumerators have the values of the numbering, return codes have
/// their texts. `preApiCall()` and `onApiError()` do nothing.
///
/// The base of the simulated SDK and of whatever stands in for an SDK in a test: override the
/// functions that the chip has. It keeps no state but the numbering, so any thread may call it.
///
///     class RangeSdk : public Sim::UnavailableSdk
///     {
///       public:
///         int bcm_range_destroy( int, bcm_range_t ) override { return ReturnCode::BCM_E_NONE; }
///     };

#include "sdk/SdkAccess.h"
#include "sim/values/ReturnCode.h"
#include "sim/values/SdkNumbering.h"

namespace Sim {

/// An access object whose functions all answer "unavailable"; see the top of this header.
class UnavailableSdk : public Shim::SdkAccess
{
  public:
    /// `numbering` says what its enumerators stand for.
    explicit UnavailableSdk( const SdkNumbering& numbering = SdkNumbering::defaults() );

    /// What its enumerators stand for.
    [[nodiscard]] const SdkNumbering& numbering() const { return numbering_; }

    void preApiCall() override {}

    void onApiError() override {}

    const char* sdkErrorText( int rc ) override;

    void BCM_FIELD_QSET_INIT( bcm_field_qset_t* qset ) override;
    void BCM_FIELD_QSET_ADD( bcm_field_qset_t* qset, bcm_field_qualify_t qualifier ) override;
    bool BCM_FIELD_QSET_TEST( const bcm_field_qset_t* qset,
                              bcm_field_qualify_t qualifier ) override;
    void BCM_FIELD_ASET_INIT( bcm_field_aset_t* aset ) override;
    void BCM_FIELD_ASET_ADD( bcm_field_aset_t* aset, bcm_field_action_t action ) override;
    bool BCM_FIELD_ASET_TEST( const bcm_field_aset_t* aset, bcm_field_action_t action ) override;

    void BCM_PBMP_CLEAR( _shr_pbmp* pbmp ) override;
    void BCM_PBMP_PORT_ADD( _shr_pbmp* pbmp, int port ) override;
    uint32_t SHR_PBMP_FMT_LEN( const _shr_pbmp* pbmp ) override;
    const char* SHR_PBMP_FMT( const _shr_pbmp* pbmp, char* text ) override;

    void BCM_UDF_CBMP_CHUNK_ADD( bcm_udf_cbmp_t& chunks, int chunk ) override;
    bool BCM_UDF_CBMP_CHUNK_TEST( const bcm_udf_cbmp_t& chunks, int chunk ) override;

    bool korvel_bcm_field_stat_installed_in_hw( int unit, int statId ) override;

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        useNone arguments;                                                                         \
        return unavailable( unit );                                                                \
    }
#define SDK_INITIALISER( family, name, structure )                                                 \
    void name( structure* record ) override                                                        \
    {                                                                                              \
        initialise( record );                                                                      \
    }
#include "sdk/SdkFunctions.def"

#define SDK_RETURN_CODE( name, value, text )                                                       \
    [[nodiscard]] int name() const override                                                        \
    {                                                                                              \
        return ReturnCode::name;                                                                   \
    }
#define SDK_ENUMERATOR( type, name, value )                                                        \
    [[nodiscard]] type name() const override                                                       \
    {                                                                                              \
        return numbering_.name;                                                                    \
    }
#include "sdk/SdkEnumerators.def"

  protected:
    /// What a function answers that the chip does not have.
    [[nodiscard]] virtual int unavailable( int unit ) const;

  private:
    template< class... Arguments >
    static void useNone( const Arguments&... )
    {}

    template< class Structure >
    static void initialise( Structure* record )
    {
        if ( record != nullptr ) {
            *record = Structure{};
        }
    }

    const SdkNumbering numbering_;
};

} // namespace Sim
