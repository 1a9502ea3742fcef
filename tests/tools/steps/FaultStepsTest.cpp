// The steps inject-fault and clear-faults.

#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>

namespace {

using ToolTest::ToolFolder;
using ToolTest::ToolResult;

std::string allocate( const std::string& low )
{
    return "  - allocate-range-checker: { name: r" + low + ", type: l4SrcPort, low: " + low +
           ", high: 99 }\n";
}

ToolResult runSteps( const std::string& steps )
{
    return ToolFolder().runScenario( "chip: hsdk\nsteps:\n" + steps, { "--json" } );
}

TEST( InjectFault, Run_CallOne_IsTheNextCallAndOnlyThat )
{
    const ToolResult result =
        runSteps( allocate( "1" ) +
                  "  - inject-fault: { function: bcm_range_create, call: 1, fail: BCM_E_FULL }\n" +
                  allocate( "2" ) + "    expect: full\n" + allocate( "3" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "text" ), "call 1: fail with BCM_E_FULL" );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "name" ), "bcm_range_create" );
}

TEST( InjectFault, Run_FromACallOn_HappensUntilTheFaultsAreCleared )
{
    const ToolResult result =
        runSteps( "  - inject-fault: { function: all, from-call: 2, fail: BCM_E_RESOURCE }\n" +
                  allocate( "1" ) + allocate( "2" ) + "    expect: full\n" + allocate( "3" ) +
                  "    expect: full\n  - clear-faults: all\n" + allocate( "3" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "text" ),
               "from call 2 on: fail with BCM_E_RESOURCE" );
}

TEST( InjectFault, Run_DroppedDestroy_LeavesTheRangeCheckerOnTheChip )
{
    const ToolResult result = runSteps(
        allocate( "1" ) + "  - inject-fault: { function: bcm_range_destroy, call: 1, drop: true }\n"
                          "  - release-range-checker: { name: r1 }\n" );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 1 );
}

TEST( InjectFault, Run_CorruptedByOne_IsCaughtByTheAudit )
{
    for ( const char* corruption : { "{ field: max, value: 98 }", "{ field: max, value: 100 }",
                                     "{ field: min, value: 0 }", "{ field: min, value: 2 }" } ) {
        const ToolResult result = runSteps(
            allocate( "1" ) + "  - inject-fault: { function: bcm_range_get, call: 1, corrupt: " +
            corruption + " }\n" + "  - audit: all\n    expect: aborted\n" );
        EXPECT_EQ( result.exitCode, 0 ) << corruption << result.output;
    }
}

/// A bit that changes in what the chip holds, and the steps that put it there.
struct SoftErrorCase
{
    std::string steps; ///< with "FLIP" where the fault is injected
    std::string function;
    std::string flip;
};

TEST( InjectFault, Run_FlippedBit_IsCaughtByTheAudit )
{
    const std::string group = "  - create-group: { name: acl, stage: ifp, key-size: 320, "
                              "qualifiers: [ dstIp ], actions: [ drop ] }\n";
    const SoftErrorCase cases[] = {
        { "FLIP" + allocate( "1" ), "bcm_range_create",
          "{ object: range checker 1, field: max, bit: 3 }" },
        { "FLIP  - allocate-policer: { name: p, cir: 1000, cbs: 100 }\n", "bcm_policer_create",
          "{ object: policer 1, field: ckbits_sec, bit: 20 }" },
        { group + "FLIP  - create-entry: { name: e, group: acl, dst: 10.0.0.0/8 }\n",
          "bcm_field_entry_install", "{ object: field entry 1, field: DstIp, bit: 24 }" },
        { group + "FLIP  - create-entry: { name: e, group: acl, dst: 10.0.0.0/8 }\n",
          "bcm_field_entry_install", "{ object: field entry 1, field: DstIp.mask, bit: 31 }" },
        { "FLIP  - compress: { table: l4DstPort, key: 80 }\n", "bcm_field_entry_install",
          "{ object: field entry 1, field: L4DstPort, bit: 0 }" },
    };
    for ( const SoftErrorCase& softError : cases ) {
        std::string steps = softError.steps;
        steps.replace( steps.find( "FLIP" ), 4,
                       "  - inject-fault: { function: " + softError.function +
                           ", call: 1, flip: " + softError.flip + " }\n" );
        const ToolResult result = ToolFolder().runScenario(
            "chip: sdk6-udf\nsteps:\n" + steps + "  - audit: all\n    expect: aborted\n",
            { "--json" } );
        EXPECT_EQ( result.exitCode, 0 ) << softError.flip << result.output;
    }
}

TEST( InjectFault, Run_FlipOfWhatCannotChange_IsRefusedAtItsPlace )
{
    const ToolResult result = runSteps( "  - inject-fault: { function: all, call: 1, flip: { "
                                        "object: policer 1, field: mode, bit: 1 } }\n" );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_NE( result.errors.find( "a policer has no field 'mode' that a bit can change of" ),
               std::string::npos )
        << result.errors;
}

TEST( InjectFault, Run_EveryEffect_SaysWhatWillHappen )
{
    const auto steps =
        runSteps( "  - inject-fault: { function: all, call: 90, throw: true }\n"
                  "  - inject-fault: { function: all, call: 90, delay-ms: 5 }\n"
                  "  - inject-fault: { function: all, call: 90, drop: true }\n"
                  "  - inject-fault: { function: bcm_range_get, call: 90, corrupt: { field: max, "
                  "value: 0x10 } }\n"
                  "  - inject-fault: { function: all, call: 90, fail: -99 }\n"
                  "  - clear-faults: all\n" )
            .json()
            .at( "steps" );
    EXPECT_EQ( steps.at( 0 ).at( "text" ), "call 90: throw" );
    EXPECT_EQ( steps.at( 1 ).at( "text" ), "call 90: wait 5 ms" );
    EXPECT_EQ( steps.at( 2 ).at( "text" ), "call 90: drop" );
    EXPECT_EQ( steps.at( 3 ).at( "text" ), "call 90: set max to 16" );
    EXPECT_EQ( steps.at( 4 ).at( "text" ), "call 90: fail with -99" );
    EXPECT_EQ( steps.at( 5 ).at( "text" ), "no call goes wrong from here" );
}

} // namespace
