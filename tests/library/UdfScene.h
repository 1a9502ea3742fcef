#pragma once

/// What the tests of user-defined fields share: a chip of unit 5, by default with a UDF module of
/// 6 chunks, room for 4 UDFs, 2 packet formats of 2 UDFs each and 1 hash configuration;
/// descriptors; the map of packet formats; the log messages raised; and what the ring-buffer trace
/// holds.

#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "agent/base/Log.h"
#include "agent/base/RingTrace.h"
#include "agent/base/RingTraceDecoder.h"
#include "tests/library/HelperScene.h"

#include <string>
#include <vector>

namespace LibraryTest {

using PeloraTcam::destroyUdfLagHashingModule;
using PeloraTcam::getAllProgrammedLagHashingUdfIdsUdfModule;
using PeloraTcam::getAllProgrammedUdfIdsUdfModule;
using PeloraTcam::PktFmtId;
using PeloraTcam::PktFmtIdToUdfId;
using PeloraTcam::QualIdList;
using PeloraTcam::UdfDesc;
using PeloraTcam::UdfHwProgrammingFootprint;
using PeloraTcam::UdfId;
using PeloraTcam::UdfIdList;

constexpr const char* udfSource = "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.cpp";
constexpr const char* udfFacility = "PeloraTcamUdfProgramHelper";

constexpr Agent::U16 ip4 = 0x0800;
constexpr Agent::U16 ip6 = 0x86DD;
constexpr Agent::U16 arp = 0x0806;

/// A request for `length` bytes at `offset` of the outer IP header of TCP packets over IPv4.
inline UdfDesc udfDescOf( Agent::U8 offset = 2, Agent::U8 length = 4 )
{
    UdfDesc desc;
    desc.baseIs( PeloraTcam::UdfBaseL3Header_ );
    desc.ethTypeIs( ip4 );
    desc.ipProtoIs( 6 );
    desc.offsetIs( offset );
    desc.lengthIs( length );
    return desc;
}

/// The same, which also feeds the LAG hash.
inline UdfDesc lagDescOf( const UdfDesc::LagHashingMask& mask = { { 0, 0xFF }, { 1, 0x0F } } )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    desc.lagHashingIs( true );
    desc.lagHashingMaskIs( mask );
    return desc;
}

inline QualIdList qualsOf( std::initializer_list< Agent::U32 > ids )
{
    QualIdList quals;
    for ( const Agent::U32 id : ids ) {
        quals.qualIdIs( id );
    }
    return quals;
}

inline UdfIdList udfsOf( std::initializer_list< int > ids )
{
    UdfIdList udfs;
    for ( const int id : ids ) {
        udfs.udfIdIs( UdfId( id ) );
    }
    return udfs;
}

/// The texts of the last records of the ring-buffer trace.
inline std::vector< std::string > lastRingTexts( std::size_t count )
{
    const auto image = Agent::ringTrace().image();
    const std::vector< Agent::DecodedRing > rings =
        Agent::decodeRings( { reinterpret_cast< const char* >( image.data() ), image.size() } );
    std::vector< std::string > texts;
    for ( const Agent::DecodedRecord& record : rings.at( 0 ).records ) {
        texts.push_back( record.text );
    }
    texts.erase( texts.begin(), texts.end() - static_cast< std::ptrdiff_t >( count ) );
    return texts;
}

/// The texts that an operation adds to the ring-buffer trace.
template< class Operation >
std::vector< std::string > ringTextsOf( const Operation& operation )
{
    const Agent::U64 before = Agent::ringTrace().count();
    operation();
    return lastRingTexts( static_cast< std::size_t >( Agent::ringTrace().count() - before ) );
}

class UdfScene : public HelperScene
{
  protected:
    explicit UdfScene( std::string_view profile = "sdk6-tiny" )
        : HelperScene( profile )
    {
        previousSink_ = Agent::logSinkIs( [ this ]( const Agent::LogDescriptor& descriptor ) {
            logged.emplace_back( descriptor.name );
        } );
    }

    ~UdfScene() override { Agent::logSinkIs( previousSink_ ); }

    QualIdList create( const UdfDesc& desc )
    {
        return createUdfQualifierUdfModule( unit, desc, formats );
    }

    /// Makes a UDF that must fit, and forgets the SDK calls.
    QualIdList made( const UdfDesc& desc = udfDescOf() )
    {
        const QualIdList quals = create( desc );
        EXPECT_EQ( quals.qualIds(), 1U );
        sdk.clear();
        return quals;
    }

    void destroy( const UdfDesc& desc, const QualIdList& quals )
    {
        destroyUdfQualifierUdfModule( unit, desc, quals, formats );
    }

    void verify( const UdfDesc& desc, const QualIdList& quals )
    {
        udfQualProgrammedInHwUdfModule( unit, desc, quals, formats );
    }

    /// The map as text: "1: 1 2; 2: 3"
    [[nodiscard]] std::string mapText() const
    {
        std::string text;
        for ( const auto& [ format, udfs ] : *formats ) {
            text += ( text.empty() ? "" : "; " ) + std::to_string( format.value() ) + ":";
            for ( const UdfId id : udfs ) {
                text += " " + std::to_string( id.value() );
            }
        }
        return text;
    }

    void mapIs( int format, const UdfIdList& udfs )
    {
        formats->pktFmtIdToUdfIdIs( PktFmtId( format ), udfs );
    }

    /// From now on that output of the function is changed.
    void corrupt( const std::string& function, const std::string& output, uint64_t value )
    {
        faulty.addFromNow(
            { { .function = function, .fromThenOn = true }, Sim::CorruptOutput{ output, value } } );
    }

    /// Makes all following calls of the function fail.
    void fail( const std::string& function, int rc )
    {
        faulty.clearFaults();
        faulty.addFromNow( { { .function = function, .fromThenOn = true }, Sim::FailCall{ rc } } );
    }

    /// Expects that every failure of that checked call ends the process.
    void expectFatal( const std::string& sdkFunction,
                      const SdkCallSite& site,
                      const std::function< void() >& operation )
    {
        expectEveryFailureFatal(
            site, [ & ]( int rc ) { fail( sdkFunction, rc ); }, operation );
        faulty.clearFaults();
    }

    /// Expects that the operation writes that text to both traces.
    template< class Operation >
    void expectBoth( Agent::U32 level, const std::string& text, const Operation& operation )
    {
        {
            const TestSupport::TraceRecorder traces( udfFacility, 1U << level );
            EXPECT_THAT( ringTextsOf( operation ), ::testing::Contains( text ) );
            EXPECT_THAT( traces.texts(), ::testing::Contains( text ) );
        }
        const TestSupport::TraceRecorder without( udfFacility, allTraceLevels & ~( 1U << level ) );
        EXPECT_THAT( ringTextsOf( operation ), ::testing::Contains( text ) );
        EXPECT_THAT( without.texts(), ::testing::Not( ::testing::Contains( text ) ) );
    }

    PktFmtIdToUdfId::Ptr formats{ new PktFmtIdToUdfId };
    std::vector< std::string > logged;

  private:
    Agent::LogSink previousSink_;
};

} // namespace LibraryTest
