#pragma once

/// The access object of all benchmarks: a `ConstantSdk` that gives the answers without which a
/// helper would end the process. Each is one or two constants.

#include "bench/ConstantSdk.h"

namespace Bench {

class AnsweringSdk final : public ConstantSdk
{
  public:
    static constexpr bcm_udf_id_t udfId = 7;
    /// None of the packet formats that a benchmark says are present.
    static constexpr bcm_udf_pkt_format_id_t newFormatId = 100000;

    int bcm_policer_create( int, bcm_policer_config_t*, bcm_policer_t* policerId ) override
    {
        *policerId = 1;
        return 0;
    }

    int bcm_udf_create( int, bcm_udf_alloc_hints_t*, bcm_udf_t*, bcm_udf_id_t* id ) override
    {
        *id = udfId;
        return 0;
    }

    int bcm_udf_pkt_format_create( int,
                                   uint32_t,
                                   bcm_udf_pkt_format_info_t*,
                                   bcm_udf_pkt_format_id_t* formatId ) override
    {
        *formatId = newFormatId;
        return 0;
    }

    int bcm_udf_pkt_format_get_all(
        int, bcm_udf_id_t, int, bcm_udf_pkt_format_id_t* formatIds, int* actual ) override
    {
        *formatIds = newFormatId;
        *actual = 1;
        return 0;
    }
};

} // namespace Bench
