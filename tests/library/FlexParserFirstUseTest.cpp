// The formats that the library programs are read from the SDK once, on first use, and stay. In a
// binary of their own, in which nothing else uses them first.

#include "sdk/ForwardingSdk.h"
#include "tests/library/FlexParserScene.h"

#include <cstdio>

namespace LibraryTest {
namespace {

void say( const std::string& text )
{
    std::fprintf( stderr, "%s\n", text.c_str() );
}

/// Says which format is asked for, and numbers them downwards: the first one is 69.
class TellingFormatsSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    Format bcmUdfAbstractPktFormatL3Ipv4WithoutOptions() const override
    {
        return asked( "L3Ipv4WithoutOptions" );
    }

    Format bcmUdfAbstractPktFormatL3Ipv4() const override { return asked( "L3Ipv4" ); }

    Format bcmUdfAbstractPktFormatL3Ipv6() const override { return asked( "L3Ipv6" ); }

    Format bcmUdfAbstractPktFormatUnknownL3() const override { return asked( "UnknownL3" ); }

    Format bcmUdfAbstractPktFormatKnownNonIp() const override { return asked( "KnownNonIp" ); }

    Format bcmUdfAbstractPktFormatArp() const override { return asked( "Arp" ); }

  private:
    Format asked( const char* name ) const
    {
        say( name );
        return static_cast< Format >( --last_ );
    }

    mutable Agent::U32 last_ = 70;
};

template< class Parser >
class FlexParserFirstUseTest : public FlexParserScene< Parser >
{
  protected:
    /// In a process of its own, so that it is the first use each time.
    std::string wordsOf( const std::function< void() >& operation )
    {
        return runInChild( [ & ] {
                   TellingFormatsSdk telling( this->sdk );
                   Shim::sdk_ = &telling;
                   operation();
               } )
            .errors;
    }

    static constexpr const char* formatsInOrder =
        Parser::isHsdk ? "L3Ipv4\nL3Ipv6\nUnknownL3\nArp\n"
                       : "L3Ipv4WithoutOptions\nL3Ipv6\nUnknownL3\nKnownNonIp\n";
};

TYPED_TEST_SUITE( FlexParserFirstUseTest, Parsers );

TYPED_TEST( FlexParserFirstUseTest, Formats_FirstUse_AsksForFourInOrderAndNeverAgain )
{
    const std::string words = this->wordsOf( [] {
        static_cast< void >( TypeParam::formats() );
        say( "again" );
        say( std::to_string( TypeParam::formats().size() ) );
    } );
    EXPECT_EQ( words, std::string( this->formatsInOrder ) + "again\n4\n" );
}

TYPED_TEST( FlexParserFirstUseTest, List_FirstUse_ReadsTheFormatsInAscendingOrderOfTheirValues )
{
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = []( int, Format asked, int,
                                                                   bcm_udf_id_t*, int* ) {
        say( "listed " + std::to_string( asked ) );
        return 0;
    };
    const std::string words = this->wordsOf( [] { static_cast< void >( TypeParam::list( 5 ) ); } );
    EXPECT_EQ( words, std::string( this->formatsInOrder ) +
                          "listed 66\nlisted 67\nlisted 68\nlisted 69\n" );
}

} // namespace
} // namespace LibraryTest
