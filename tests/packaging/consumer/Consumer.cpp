// A user of version 1.0.0: includes every header and table of the simulated chip by the path that
// it had then. Prints what `expected-output.txt` has.

#include "sim/ChipProfile.h"
#include "sim/ChipSnapshot.h"
#include "sim/FaultInjectingSdk.h"
#include "sim/FaultPlan.h"
#include "sim/FieldCriteria.h"
#include "sim/IdSequence.h"
#include "sim/InputError.h"
#include "sim/ReturnCode.h"
#include "sim/SdkNumbering.h"
#include "sim/SdkOutputs.h"
#include "sim/SimField.h"
#include "sim/SimFieldEntries.h"
#include "sim/SimFieldGroups.h"
#include "sim/SimFlexParser.h"
#include "sim/SimFlexctr.h"
#include "sim/SimPolicer.h"
#include "sim/SimPreselectors.h"
#include "sim/SimRange.h"
#include "sim/SimStat.h"
#include "sim/SimUdfModule.h"
#include "sim/SimulatedChip.h"
#include "sim/SimulatedSdk.h"
#include "sim/Traffic.h"
#include "sim/UnavailableSdk.h"
#include "sim/UseChecks.h"

#include <cstdio>
#include <string_view>

namespace {

constexpr std::string_view addressQualifiers[] = {
#define FIELD_QUALIFIER_BYTES( name, type, users ) #name,
#include "sim/FieldQualifiers.def"
};

constexpr std::string_view outputs[] = {
#define SDK_OUTPUT_FIELD( structure, name, type, assignment ) #name,
#include "sim/SdkOutputFields.def"
};

} // namespace

int main()
{
    Sim::SimulatedSdk sdk;
    const Sim::SimulatedChip& chip = sdk.chipIs( 0, Sim::builtInProfile( "hsdk" ) );
    std::printf( "a chip %s\n", chip.occupancy().empty() ? "of nothing" : "with resources" );
    std::printf( "a table %s\n", addressQualifiers[ 0 ].empty() ? "of nothing" : "of qualifiers" );
    std::printf( "a table %s\n", outputs[ 0 ].empty() ? "of nothing" : "of outputs" );
    try {
        static_cast< void >( Sim::loadChipProfile( "no-such-profile" ) );
    } catch ( const Sim::InputError& error ) {
        std::printf( "an error in line %d\n", error.line() );
    }
    return 0;
}
