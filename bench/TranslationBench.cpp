// Translating one value, building and reading back a qualifier set, and programming one qualifier
// of a preselector, against the same searches and calls written by hand.

#include "bench/Benchmarks.h"
#include "bench/ConstantSdk.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "sdk/ForwardingSdk.h"

namespace Bench {

namespace {

using PeloraTcam::FieldIpType;
using PeloraTcam::QualifierSet;
using PeloraTcam::QualifierType;

/// A constant SDK whose qualifier sets hold what is added to them: one bit for each.
class SetKeepingSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    void BCM_FIELD_QSET_INIT( bcm_field_qset_t* qset ) override { qset->w.fill( 0 ); }

    void BCM_FIELD_QSET_ADD( bcm_field_qset_t* qset, bcm_field_qualify_t qualifier ) override
    {
        qset->w[ qualifier / 32 ] |= 1U << ( qualifier % 32 );
    }

    bool BCM_FIELD_QSET_TEST( const bcm_field_qset_t* qset, bcm_field_qualify_t qualifier ) override
    {
        return ( qset->w[ qualifier / 32 ] >> ( qualifier % 32 ) & 1U ) != 0;
    }
};

/// Puts the set-keeping SDK in the place of the constant one for its own lifetime. Both sides of a
/// pair do so.
class SetsKept
{
  public:
    SetsKept()
        : before_( Shim::sdk_ )
    {
        static ConstantSdk constant;
        static SetKeepingSdk setKeeping( constant );
        Shim::sdk_ = &setKeeping;
    }

    SetsKept( const SetsKept& ) = delete;
    SetsKept& operator=( const SetsKept& ) = delete;

    ~SetsKept() { Shim::sdk_ = before_; }

  private:
    Shim::SdkAccess* before_;
};

/// Forty qualifiers of as many fields, all over the table.
QualifierSet fortyQualifiers()
{
    QualifierSet set;
    unsigned number = 1;
    while ( set.size() < 40 ) {
        const auto type = static_cast< QualifierType >( number );
        if ( type != QualifierType::stage && PeloraTcam::qualifierMap.contains( type ) ) {
            set.insert( type );
        }
        number += 4;
    }
    return set;
}

// ---- By hand ---------------------------------------------------------------------------------

bcm_field_qset_t buildByHand( const QualifierSet& set )
{
    bcm_field_qset_t qset;
    Shim::sdk_->BCM_FIELD_QSET_INIT( &qset );
    for ( const QualifierType type : set ) {
        Shim::sdk_->BCM_FIELD_QSET_ADD( &qset, PeloraTcam::qualifierMap.find( type )->second );
    }
    return qset;
}

QualifierSet readBackByHand( const bcm_field_qset_t& qset )
{
    QualifierSet set;
    for ( uint32_t number = 0; number < Shim::sdk_->BCM_FIELD_QUALIFY_COUNT(); ++number ) {
        const auto qualifier = static_cast< bcm_field_qualify_t >( number );
        if ( Shim::sdk_->BCM_FIELD_QSET_TEST( &qset, qualifier ) ) {
            set.insert( PeloraTcam::qualifierReverseMap.find( qualifier )->second );
        }
    }
    return set;
}

// ---- The pairs -------------------------------------------------------------------------------

constexpr Budget lookupBudget{ .nanoseconds = 20 };
constexpr Budget setBudget{ .ratio = 1.25, .instructions = 1.05 };
/// The floor has no table of qualifiers to search: only the call.
constexpr Budget preselectorBudget{ .nanoseconds = 50 };

/// A value that the compiler does not know.
template< class Value >
Value hidden( Value value )
{
    benchmark::DoNotOptimize( value );
    return value;
}

void registerLookups()
{
    registerPair(
        { "look up an IP type", {}, lookupBudget },
        [] {
            benchmark::DoNotOptimize( PeloraTcam::getBcmIpType( hidden( FieldIpType::arpReply ) ) );
        },
        [] {
            benchmark::DoNotOptimize(
                PeloraTcam::ipTypeMap.find( hidden( FieldIpType::arpReply ) )->second );
        } );
    registerPair(
        { "look up a qualifier", {}, lookupBudget },
        [] {
            benchmark::DoNotOptimize(
                PeloraTcam::getBcmQualifier( hidden( QualifierType::srcIp ) ) );
        },
        [] {
            benchmark::DoNotOptimize(
                PeloraTcam::qualifierMap.find( hidden( QualifierType::srcIp ) )->second );
        } );
    registerPair(
        { "look up a qualifier, back", {}, lookupBudget },
        [] {
            const bcm_field_qualify_t qualifier = Shim::sdk_->bcmFieldQualifySrcIp();
            benchmark::DoNotOptimize( PeloraTcam::getBcmQualifier( hidden( qualifier ) ) );
        },
        [] {
            const bcm_field_qualify_t qualifier = Shim::sdk_->bcmFieldQualifySrcIp();
            benchmark::DoNotOptimize(
                PeloraTcam::qualifierReverseMap.find( hidden( qualifier ) )->second );
        } );
}

void registerSets()
{
    const QualifierSet set = fortyQualifiers();
    registerPair(
        { "qualifier set of 40: build and read back", {}, setBudget },
        [ = ] {
            const SetsKept kept;
            bcm_field_qset_t qset = PeloraTcam::getBcmQualifierSet( set );
            benchmark::DoNotOptimize( PeloraTcam::getBcmQualifierSet( &qset ) );
        },
        [ = ] {
            const SetsKept kept;
            const bcm_field_qset_t qset = buildByHand( set );
            benchmark::DoNotOptimize( readBackByHand( qset ) );
        } );
}

void registerPreselectors()
{
    constexpr PeloraTcam::U32 unit = 0;
    constexpr PeloraTcam::U32 preselector = 7;
    registerPair(
        { "preselector: one qualifier", {}, preselectorBudget },
        [] {
            // The caller's, for all qualifiers of a preselector: not part of one qualifier.
            static bcm_field_src_class_t data;
            static bcm_field_src_class_t mask;
            PeloraTcam::setPeloraTcamPreselectQualifier(
                unit, preselector,
                hidden( static_cast< PeloraTcam::U32 >( QualifierType::ipInfo ) ), 1, 1, &data,
                &mask );
        },
        [] {
            const int rc = withLocksByHand( [] {
                return Shim::sdk_->bcm_field_qualify_IpInfo( static_cast< int >( unit ),
                                                             preselector | 0x40000000, 1, 1 );
            } );
            benchmark::DoNotOptimize( rc );
        } );
}

} // namespace

void registerTranslationBenchmarks()
{
    PeloraTcam::initializeBcmIpTypeMap();
    PeloraTcam::initializeBcmQualifierMap();
    registerLookups();
    registerSets();
    registerPreselectors();
}

} // namespace Bench
