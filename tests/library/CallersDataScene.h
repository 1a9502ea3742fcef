#pragma once

/// What the tests share that change and free the caller's data while an operation calls the SDK:
/// the operation must do and give what it does undisturbed.

#include "tests/library/DisturbingSdk.h"
#include "tests/library/UdfScene.h"

#include <map>
#include <memory>

namespace LibraryTest {

/// What a caller passes by reference.
struct CallersData
{
    UdfDesc desc{};
    QualIdList quals{};
    UdfHwProgrammingFootprint footprint{};
};

/// One use of an operation.
struct Use
{
    CallersData data{};
    /// Calls the operation, and gives its result as text.
    std::function< std::string( const CallersData& ) > operation{};
    /// Makes what the chip and the map hold before.
    std::function< void() > prepare = [] {};
};

/// What another thread does to the caller's data: each changes every part of it.
inline const std::map< std::string, void ( * )( std::unique_ptr< CallersData >& ) > disturbances = {
    { "changed",
      []( std::unique_ptr< CallersData >& data ) {
          UdfDesc& desc = data->desc;
          desc.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ );
          desc.ethTypeIs( arp );
          desc.innerEtherTypeIs( ip6 );
          desc.appTypeIs( PeloraTcam::UdfAppType::macAcl );
          desc.ipProtoIs( 17 );
          desc.offsetIs( 99 );
          desc.lengthIs( 31 );
          desc.priorityIs( 9 );
          desc.lagHashingMaskIs( { { 0, 1 }, { 3, 2 } } );
          desc.lagHashingIs( !desc.lagHashing() );
          data->quals = qualsOf( { 4711, 4712, 4713 } );
          data->footprint.pktFmtId = PktFmtId( 4714 );
          data->footprint.udfIds = qualsOf( { 4715, 4716 } );
      } },
    { "erased", []( std::unique_ptr< CallersData >& data ) { *data = CallersData(); } },
    { "freed", []( std::unique_ptr< CallersData >& data ) { data.reset(); } },
};

/// `Scene` is that of the operations; it stands on a chip of that profile.
template< class Scene >
class CallersDataScene : public Scene
{
  protected:
    /// Expects that the use comes to the same whatever happens to the caller's data, and during
    /// which SDK call.
    void expectUndisturbed( const char* profile, const Use& use )
    {
        std::size_t calls = 0;
        const std::vector< std::string > undisturbed = outcomeOf( profile, use, calls );
        ASSERT_GE( calls, 1U );
        for ( std::size_t call = 1; call <= calls; ++call ) {
            for ( const auto& [ what, disturbance ] : disturbances ) {
                std::size_t at = call;
                EXPECT_EQ( outcomeOf( profile, use, at, disturbance ), undisturbed )
                    << what << " during call " << call;
            }
        }
    }

  private:
    /// What the use gives, calls and records, and what chip and map hold afterwards. `call` is when
    /// it is disturbed, and then how many calls there were.
    std::vector< std::string >
    outcomeOf( const char* profile,
               const Use& use,
               std::size_t& call,
               void ( *disturbance )( std::unique_ptr< CallersData >& ) = nullptr )
    {
        this->chips.chipIs( this->unit, Sim::builtInProfile( profile ) );
        this->formats = PktFmtIdToUdfId::Ptr( new PktFmtIdToUdfId );
        this->faulty.clearFaults();
        use.prepare();
        this->sdk.clear();
        this->logged.clear();
        auto data = std::make_unique< CallersData >( use.data );
        DisturbingSdk disturbing( this->sdk );
        disturbing.disturbanceIs( call, [ & ] { disturbance( data ); } );
        Shim::sdk_ = &disturbing;
        std::vector< std::string > outcome;
        const auto ring = ringTextsOf( [ & ] { outcome.push_back( use.operation( *data ) ); } );
        Shim::sdk_ = &this->sdk;
        const auto sdkCalls = this->sdk.allCalls();
        outcome.insert( outcome.end(), ring.begin(), ring.end() );
        outcome.insert( outcome.end(), sdkCalls.begin(), sdkCalls.end() );
        outcome.insert( outcome.end(), this->logged.begin(), this->logged.end() );
        outcome.push_back( this->chipText() );
        outcome.push_back( this->mapText() );
        call = disturbing.calls();
        return outcome;
    }
};

/// The members of a list, for lists without a text of their own.
template< class List >
std::string listText( const List& list )
{
    std::string text;
    for ( const auto& member : list ) {
        text += std::to_string( member ) + " ";
    }
    return text;
}

} // namespace LibraryTest
