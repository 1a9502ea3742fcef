#pragma once

/// What the tests of the two preselector functions share: an SDK that does nothing under the
/// numbering of the environment, the locks as the agent holds them, the caller's class records,
/// the checks of a qualifier that leads to an SDK call, and what stands where its lines lead.

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "agent/base/Locks.h"
#include "sim/UnavailableSdk.h"
#include "tests/support/EnvironmentNumbering.h"
#include "tests/support/RecordingSdk.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

namespace LibraryTest {

using Agent::U32;

/// An SDK whose functions all give one return code.
class AnsweringSdk : public Sim::UnavailableSdk
{
  public:
    using UnavailableSdk::UnavailableSdk;

    int rc = 0;

  protected:
    [[nodiscard]] int unavailable( int ) const override { return rc; }
};

/// One qualifier that leads to an SDK call, and what must come of it on unit 3, entry 7.
struct CallCase
{
    const char* name;
    U32 data;
    U32 mask;
    const char* trace;    ///< the trace line, without the function's name
    const char* sdkCall;  ///< the call that reaches the SDK
    const char* callText; ///< the call's text in traces and errors
};

inline void PrintTo( const CallCase& callCase, std::ostream* stream )
{
    *stream << callCase.name;
}

/// The helper's source, as traces and error lines name it.
inline const std::string preselectorSource = "PeloraTcam/PeloraTcamSdk6Helper.cpp";

/// What stands on that line of the helper's source, without the blanks before it.
inline std::string sourceLine( U32 number )
{
    std::ifstream source( PELORA_SOURCE_DIR "/" + preselectorSource );
    std::string line;
    for ( U32 i = 0; i < number && std::getline( source, line ); ++i ) {
    }
    return source ? line.substr( std::min( line.find_first_not_of( ' ' ), line.size() ) ) : "";
}

/// What stands on the lines of the helper's source to which these lines of standard error lead.
inline std::vector< std::string > sourceLinesOf( const std::string& errors )
{
    static const std::regex place( preselectorSource + ":(\\d+)" );
    std::vector< std::string > lines;
    for ( std::sregex_iterator it( errors.begin(), errors.end(), place ), end; it != end; ++it ) {
        lines.push_back( sourceLine( static_cast< U32 >( std::stoul( ( *it )[ 1 ] ) ) ) );
    }
    return lines;
}

/// Both functions are one: unit, entry, qualifier, data, mask, and the class records.
using PreselectorFunction =
    void( U32, U32, U32, U32, U32, bcm_field_src_class_t*, bcm_field_src_class_t* );

class PreselectorScene
{
  public:
    static constexpr U32 unit = 3;
    static constexpr U32 entry = 7;
    static constexpr U32 level4 = 1U << 4;
    static constexpr const char* facility = "PeloraTcamSdk6Helper";
    static constexpr const char* apiFacility = "ApiPelora";
    static constexpr const char* unsupported =
        "Assertion `false && \"Trying to configure unsupported preselect qualifier\"' failed.";

    PreselectorScene()
    {
        Shim::sdk_ = &sdk;
        PeloraTcam::initializeBcmPacketTypeMap();
        PeloraTcam::initializeBcmIpTypeMap();
        PeloraTcam::initializeBcmTunnelTypeMap();
        PeloraTcam::initializeL2PktTypeMap();
        PeloraTcam::initializePktFwdTypeMap();
    }

    /// Calls the function for the scene's unit, entry and class records.
    void call( PreselectorFunction& function, U32 qualifier, U32 data, U32 mask )
    {
        function( unit, entry, qualifier, data, mask, &classData, &classMask );
    }

    /// The call is made once, as a checked call, and traced before and after.
    void expectCall( PreselectorFunction& function,
                     const std::string& functionName,
                     U32 qualifier,
                     const CallCase& expected )
    {
        TestSupport::TraceRecorder traces( facility, level4 );
        traces.levelsIs( apiFacility, level4 );
        call( function, qualifier, expected.data, expected.mask );

        EXPECT_THAT( sdk.allCalls(), ::testing::ElementsAre( "preApiCall()", expected.sdkCall ) );
        ASSERT_EQ( traces.lines().size(), 2U );
        const TestSupport::RecordedLine request = traces.lines()[ 0 ];
        EXPECT_EQ( request.facility, facility );
        EXPECT_EQ( request.level, 4U );
        EXPECT_EQ( request.text, functionName + expected.trace );
        const TestSupport::RecordedLine api = traces.lines()[ 1 ];
        EXPECT_EQ( api.facility, apiFacility );
        EXPECT_EQ( api.level, 4U );
        EXPECT_EQ( api.file, preselectorSource );
        EXPECT_THAT( sourceLine( api.line ), isRowOf( functionName, expected ) );
        EXPECT_THAT( api.function, ::testing::StartsWith( "void PeloraTcam::" + functionName ) );
        EXPECT_EQ( request.file, api.file );
        EXPECT_EQ( request.line, api.line );
        EXPECT_EQ( request.function, api.function );
        EXPECT_EQ( api.text, api.file + ":" + std::to_string( api.line ) + " " + expected.callText +
                                 " (rc:0)" );
    }

    /// With every level off the call is made and nothing is written.
    void expectSilentCall( PreselectorFunction& function, U32 qualifier, const CallCase& expected )
    {
        const TestSupport::TraceRecorder traces;
        call( function, qualifier, expected.data, expected.mask );
        EXPECT_THAT( sdk.calls(), ::testing::ElementsAre( expected.sdkCall ) );
        EXPECT_TRUE( traces.lines().empty() );
    }

    /// When the SDK fails, the process ends with the call's text.
    void expectFatalFailure( PreselectorFunction& function,
                             const std::string& functionName,
                             U32 qualifier,
                             const CallCase& expected )
    {
        chip.rc = sdk.BCM_E_FULL();
        EXPECT_DEATH(
            call( function, qualifier, expected.data, expected.mask ),
            ::testing::AllOf( ::testing::StartsWith( preselectorSource + ":" ),
                              ::testing::HasSubstr( std::string( " " ) + expected.callText +
                                                    " API ERROR:Table full (-6)\n" ),
                              ::testing::HasSubstr( "void PeloraTcam::" + functionName + "(" ),
                              ::testing::HasSubstr( ": Assertion `0' failed." ),
                              ::testing::ResultOf(
                                  sourceLinesOf,
                                  ::testing::ElementsAre( isRowOf( functionName, expected ),
                                                          isRowOf( functionName, expected ) ) ) ) );
    }

    AnsweringSdk chip{ TestSupport::environmentNumbering() };
    TestSupport::RecordingSdk sdk{ chip };
    bcm_field_src_class_t classData;
    bcm_field_src_class_t classMask;

  private:
    /// The beginning of the qualifier's row in the function's own table.
    static ::testing::Matcher< std::string > isRowOf( const std::string& functionName,
                                                      const CallCase& expected )
    {
        const std::string text = expected.callText;
        const bool isOlder = functionName == "setPreselectQualifier";
        return ::testing::StartsWith( "callRow< &Sdk::" + text.substr( 0, text.find( '(' ) ) +
                                      " >( " + ( isOlder ? "&Sdk::" : "QualifierType::" ) );
    }

    Agent::LockAnchor activity_{ Agent::activityLock() };
};

/// All fields of a class record, to compare it as a whole: destination class, source class, and
/// the interface classes of layer 2, layer 3, port and virtual port.
inline std::vector< U32 > fieldsOf( const bcm_field_src_class_t& record )
{
    return { record.dst_class_field, record.src_class_field, record.intf_class_l2,
             record.intf_class_l3,   record.intf_class_port, record.intf_class_vport };
}

} // namespace LibraryTest
