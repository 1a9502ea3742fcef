#pragma once

/// The simulated SDK: an access object over any number of simulated chips.
///
/// Make it, give it its chips, point `Shim::sdk_` to it. Every SDK function with a unit that has
/// no chip answers BCM_E_UNIT; one that the simulation does not have answers BCM_E_UNAVAIL.
/// Several threads may call it: calls are made one after another.
///
///     SimulatedSdk sdk;
///     sdk.chipIs( 0, builtInProfile( "sdk6-udf" ) );
///     Shim::sdk_ = &sdk;
///     ...
///     std::cout << sdk.chip( 0 )->snapshot();

#include "sim/access/UnavailableSdk.h"
#include "sim/chip/SimulatedChip.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>

namespace Sim {

/// The access object of simulated chips; see the top of this header.
class SimulatedSdk : public UnavailableSdk
{
  public:
    using UnavailableSdk::UnavailableSdk;

    /// Gives the unit a new chip, with nothing on it; an earlier chip of the unit is gone. The SDK
    /// owns the chip.
    SimulatedChip& chipIs( int unit, ChipProfile profile );

    /// The unit's chip; null if it has none.
    [[nodiscard]] SimulatedChip* chip( int unit ) const;

    /// Holds off the SDK calls of other threads for as long as it lives.
    [[nodiscard]] std::unique_lock< std::recursive_mutex > guard() const;

    /// Makes a call that has no effect on the unit's chip: if it succeeds, the chip's state is put
    /// back to what it was before. Gives the call's return code.
    int callWithoutEffect( int unit, const std::function< int() >& call );

    // Range checkers.
    int bcm_range_create( int unit, uint32_t flags, bcm_range_config_t* config ) override;
    int bcm_range_destroy( int unit, bcm_range_t rangeId ) override;
    int bcm_range_get( int unit, bcm_range_config_t* config ) override;

    // Policers.
    int
    bcm_policer_create( int unit, bcm_policer_config_t* config, bcm_policer_t* policerId ) override;
    int bcm_policer_destroy( int unit, bcm_policer_t policerId ) override;
    int bcm_policer_get( int unit, bcm_policer_t policerId, bcm_policer_config_t* config ) override;

    // Statistics.
    int bcm_field_stat_create( int unit,
                               bcm_field_group_t group,
                               int statCount,
                               bcm_field_stat_t* stats,
                               int* statId ) override;
    int bcm_field_stat_destroy( int unit, int statId ) override;
    int bcm_field_stat_set( int unit, int statId, bcm_field_stat_t stat, uint64_t value ) override;
    int bcm_field_stat_get( int unit, int statId, bcm_field_stat_t stat, uint64_t* value ) override;
    int bcm_field_entry_stat_attach( int unit, bcm_field_entry_t entry, int statId ) override;
    int bcm_field_entry_stat_detach( int unit, bcm_field_entry_t entry, int statId ) override;
    int bcm_field_entry_stat_get( int unit, bcm_field_entry_t entry, int* statId ) override;
    int korvel_bcm_esw_field_stat_pool_index_get( int unit,
                                                  int statId,
                                                  bcm_field_stat_t stat,
                                                  int* poolId,
                                                  int* poolType,
                                                  int* index0,
                                                  int* index1,
                                                  int* index2,
                                                  int* pipe ) override;
    bool korvel_bcm_field_stat_installed_in_hw( int unit, int statId ) override;

    // Flex counters.
    int bcm_flexctr_action_create( int unit,
                                   int options,
                                   bcm_flexctr_action_t* action,
                                   uint32_t* counterId ) override;
    int bcm_flexctr_action_destroy( int unit, uint32_t counterId ) override;
    int bcm_field_entry_flexctr_attach( int unit,
                                        bcm_field_entry_t entry,
                                        bcm_field_flexctr_config_t* config ) override;
    int bcm_field_entry_flexctr_detach( int unit,
                                        bcm_field_entry_t entry,
                                        bcm_field_flexctr_config_t* config ) override;
    int bcm_field_entry_flexctr_get( int unit,
                                     bcm_field_entry_t entry,
                                     bcm_flexctr_color_t color,
                                     uint32_t* counterId,
                                     uint32_t* counterIndex ) override;
    int bcm_flexctr_stat_get( int unit,
                              uint32_t counterId,
                              uint32_t index,
                              bcm_flexctr_counter_value_t* value ) override;
    int bcm_flexctr_stat_set( int unit,
                              uint32_t counterId,
                              uint32_t index,
                              bcm_flexctr_counter_value_t* value ) override;

    // Field groups, entries and preselectors.
    int bcm_field_group_config_create( int unit, bcm_field_group_config_t* config ) override;
    int bcm_field_group_config_get( int unit,
                                    bcm_field_group_t group,
                                    bcm_field_group_config_t* config ) override;
    int bcm_field_group_get( int unit, bcm_field_group_t group, bcm_field_qset_t* qset ) override;
    int bcm_field_group_destroy( int unit, bcm_field_group_t group ) override;
    int
    bcm_field_entry_create( int unit, bcm_field_group_t group, bcm_field_entry_t* entry ) override;
    int bcm_field_entry_destroy( int unit, bcm_field_entry_t entry ) override;
    int bcm_field_entry_install( int unit, bcm_field_entry_t entry ) override;
    int bcm_field_entry_remove( int unit, bcm_field_entry_t entry ) override;
    int bcm_field_entry_prio_set( int unit, bcm_field_entry_t entry, int priority ) override;
    int bcm_field_entry_policer_attach( int unit,
                                        bcm_field_entry_t entry,
                                        int level,
                                        bcm_policer_t policerId ) override;
    int bcm_field_entry_policer_detach( int unit, bcm_field_entry_t entry, int level ) override;
    int bcm_field_action_add( int unit,
                              bcm_field_entry_t entry,
                              bcm_field_action_t action,
                              uint32_t param0,
                              uint32_t param1 ) override;
    int bcm_field_action_class_add( int unit,
                                    bcm_field_entry_t entry,
                                    const bcm_field_class_info_t* classInfo ) override;
    int bcm_field_entry_installed_get( int unit, bcm_field_entry_t entry, int* installed ) override;
    int bcm_field_entry_prio_get( int unit, bcm_field_entry_t entry, int* priority ) override;
    int bcm_field_entry_policer_get( int unit,
                                     bcm_field_entry_t entry,
                                     int level,
                                     bcm_policer_t* policerId ) override;
    int bcm_field_action_get( int unit,
                              bcm_field_entry_t entry,
                              bcm_field_action_t action,
                              uint32_t* param0,
                              uint32_t* param1 ) override;
    int bcm_field_presel_create( int unit, bcm_field_presel_t* presel ) override;
    int bcm_field_presel_destroy( int unit, bcm_field_presel_t presel ) override;

    // The qualifiers of entries and preselectors.
#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    int bcm_field_qualify_##name( int unit, bcm_field_entry_t entry, type data, type mask )        \
        override;
#define FIELD_QUALIFIER_NAMED( name, type, users )                                                 \
    int bcm_field_qualify_##name( int unit, bcm_field_entry_t entry, type value ) override;
#define FIELD_QUALIFIER_BYTES( name, type, users )                                                 \
    int bcm_field_qualify_##name( int unit, bcm_field_entry_t entry, const type data,              \
                                  const type mask ) override;
#define FIELD_QUALIFIER_PORTS( name, users )                                                       \
    int bcm_field_qualify_##name( int unit, bcm_field_entry_t entry, const _shr_pbmp* data,        \
                                  const _shr_pbmp* mask ) override;
#define FIELD_NUMBER_READ( name, type )                                                            \
    int bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry, type* data,             \
                                        type* mask ) override;
#define FIELD_NAMED_READ( name, type )                                                             \
    int bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry, type* value ) override;
#define FIELD_BYTES_READ( name, type )                                                             \
    int bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry, uint8_t* data,          \
                                        uint8_t* mask ) override;
#define FIELD_PORTS_READ( name )                                                                   \
    int bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry, _shr_pbmp* data,        \
                                        _shr_pbmp* mask ) override;
#include "sim/access/FieldQualifiers.def"
    int bcm_field_qualify_RangeCheck_get( int unit,
                                          bcm_field_entry_t entry,
                                          int maxRanges,
                                          uint32_t* rangeIds,
                                          int* inverts,
                                          int* actualRanges ) override;
    int bcm_field_qualify_SrcClass_get( int unit,
                                        bcm_field_entry_t entry,
                                        bcm_field_src_class_t* data,
                                        bcm_field_src_class_t* mask ) override;
    int bcm_field_qualify_RangeCheck( int unit,
                                      bcm_field_entry_t entry,
                                      uint32_t rangeId,
                                      int invert ) override;
    int bcm_field_qualify_SrcClass( int unit,
                                    bcm_field_entry_t entry,
                                    bcm_field_src_class_t* data,
                                    bcm_field_src_class_t* mask ) override;
    int bcm_field_qualify_udf( int unit,
                               bcm_field_entry_t entry,
                               bcm_udf_id_t udfId,
                               int length,
                               uint8_t* data,
                               uint8_t* mask ) override;
    int bcm_field_qualify_udf_get( int unit,
                                   bcm_field_entry_t entry,
                                   bcm_udf_id_t udfId,
                                   int maxLength,
                                   uint8_t* data,
                                   uint8_t* mask,
                                   int* actualLength ) override;

    // The UDF module.
    int bcm_udf_create( int unit,
                        bcm_udf_alloc_hints_t* hints,
                        bcm_udf_t* udf,
                        bcm_udf_id_t* udfId ) override;
    int bcm_udf_destroy( int unit, bcm_udf_id_t udfId ) override;
    int bcm_udf_get( int unit, bcm_udf_id_t udfId, bcm_udf_t* udf ) override;
    int bcm_udf_get_all( int unit, int max, bcm_udf_id_t* udfIds, int* actual ) override;
    int bcm_udf_pkt_format_create( int unit,
                                   uint32_t options,
                                   bcm_udf_pkt_format_info_t* format,
                                   bcm_udf_pkt_format_id_t* formatId ) override;
    int bcm_udf_pkt_format_destroy( int unit, bcm_udf_pkt_format_id_t formatId ) override;
    int bcm_udf_pkt_format_info_get( int unit,
                                     bcm_udf_pkt_format_id_t formatId,
                                     bcm_udf_pkt_format_info_t* format ) override;
    int bcm_udf_pkt_format_add( int unit,
                                bcm_udf_id_t udfId,
                                bcm_udf_pkt_format_id_t formatId ) override;
    int bcm_udf_pkt_format_delete( int unit,
                                   bcm_udf_id_t udfId,
                                   bcm_udf_pkt_format_id_t formatId ) override;
    int bcm_udf_pkt_format_get_all( int unit,
                                    bcm_udf_id_t udfId,
                                    int max,
                                    bcm_udf_pkt_format_id_t* formatIds,
                                    int* actual ) override;
    int
    bcm_udf_hash_config_add( int unit, uint32_t options, bcm_udf_hash_config_t* config ) override;
    int bcm_udf_hash_config_delete( int unit, bcm_udf_hash_config_t* config ) override;
    int bcm_udf_hash_config_get( int unit, bcm_udf_hash_config_t* config ) override;
    int bcm_udf_hash_config_get_all( int unit,
                                     int max,
                                     bcm_udf_hash_config_t* configs,
                                     int* actual ) override;

    // The flexible parser; bcm_udf_destroy() is of it, too.
    int bcm_udf_chunk_create( int unit,
                              bcm_udf_chunk_hints_t* hints,
                              bcm_udf_chunk_info_t* chunkInfo,
                              bcm_udf_id_t* udfId ) override;
    int bcm_udf_chunk_info_get( int unit,
                                bcm_udf_id_t udfId,
                                bcm_udf_chunk_info_t* chunkInfo ) override;
    int bcm_udf_multi_chunk_create( int unit,
                                    bcm_udf_chunk_hints_t* hints,
                                    bcm_udf_multi_chunk_info_t* chunkInfo,
                                    bcm_udf_id_t* udfId ) override;
    int bcm_udf_multi_chunk_info_get( int unit,
                                      bcm_udf_id_t udfId,
                                      bcm_udf_multi_chunk_info_t* chunkInfo ) override;
    int bcm_udf_abstract_pkt_format_info_get( int unit,
                                              bcm_udf_abstract_pkt_format_t format,
                                              bcm_udf_abstract_pkt_format_info_t* info ) override;
    int bcm_udf_multi_abstract_pkt_format_info_get(
        int unit,
        bcm_udf_abstract_pkt_format_t format,
        bcm_udf_multi_abstract_pkt_format_info_t* info ) override;
    int bcm_udf_abstract_pkt_format_object_list_get( int unit,
                                                     bcm_udf_abstract_pkt_format_t format,
                                                     int max,
                                                     bcm_udf_id_t* udfIds,
                                                     int* actual ) override;

  protected:
    [[nodiscard]] int unavailable( int unit ) const override;

  private:
    /// Hands a call on to the unit's chip, guarded.
    template< class Operation >
    int onChip( int unit, const Operation& operation ) const
    {
        const auto guarded = guard();
        SimulatedChip* found = chip( unit );
        return found == nullptr ? ReturnCode::BCM_E_UNIT : operation( *found );
    }

    /// Hands a call on to the UDF module of the unit's chip, guarded.
    template< class Operation >
    int onUdfModule( int unit, const Operation& operation ) const
    {
        return onChip( unit, [ & ]( SimulatedChip& found ) {
            SimUdfModule* module = found.udfModule();
            return module == nullptr ? ReturnCode::BCM_E_UNAVAIL : operation( *module );
        } );
    }

    /// Hands a call on to the flexible parser of the unit's chip, guarded, if the chip is of one of
    /// the kinds that have the function.
    template< class Operation >
    int onFlexParser( int unit,
                      std::initializer_list< ChipKind > kinds,
                      const Operation& operation ) const
    {
        return onChip( unit, [ & ]( SimulatedChip& found ) {
            SimFlexParser* parser = found.flexParser();
            const bool hasIt = std::ranges::find( kinds, found.profile().chip ) != kinds.end();
            return parser == nullptr || !hasIt ? ReturnCode::BCM_E_UNAVAIL : operation( *parser );
        } );
    }

    /// Hands a call on to the statistics of the unit's chip, if it is one that has them.
    template< class Operation >
    int onStatistics( int unit, const Operation& operation ) const
    {
        return onChip( unit, [ & ]( SimulatedChip& found ) {
            SimStat* statistics = found.statistics();
            return statistics == nullptr ? ReturnCode::BCM_E_UNAVAIL : operation( *statistics );
        } );
    }

    /// Hands a call on to the flex counters of the unit's chip, if it is one that has them.
    template< class Operation >
    int onFlexCounters( int unit, const Operation& operation ) const
    {
        return onChip( unit, [ & ]( SimulatedChip& found ) {
            SimFlexctr* counters = found.flexCounters();
            return counters == nullptr ? ReturnCode::BCM_E_UNAVAIL : operation( *counters );
        } );
    }

    mutable std::recursive_mutex mutex_; // callWithoutEffect() makes a guarded call, guarded.
    std::map< int, std::unique_ptr< SimulatedChip > > chips_;
};

} // namespace Sim
