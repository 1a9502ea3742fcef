// The types of the UDF module's functions, operations and values. The exported names hold the
// arguments; results, widths and what is const stand in none of them.

#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace LibraryTest {
namespace {

using namespace PeloraTcam; // NOLINT: everything here is of there.

template< class Wanted, class Given >
constexpr bool is( Given )
{
    return std::is_same_v< Wanted, Given >;
}

TEST( UdfSignaturesTest, CommonFunctions_Types_AreAsRequired )
{
    using Format = bcm_udf_pkt_format_info_s;
    EXPECT_TRUE( is< bcm_udf_layer_t ( * )( UdfOffsetBase ) >( &getUdfLayer ) );
    EXPECT_TRUE(
        ( is< uint32_t ( * )( UdfOffsetBase, unsigned int, unsigned char ) >( &getUdfStart ) ) );
    bool ( *const equal )( const Format&, const Format& ) = &PeloraTcam::operator==;
    EXPECT_NE( equal, nullptr );
    using SetData = int ( * )( int, int, int, unsigned char*, unsigned char*, unsigned short );
    using GetData =
        int ( * )( int, int, int, unsigned short, unsigned char*, unsigned char*, unsigned short* );
    EXPECT_TRUE( is< SetData >( &setUdfDataAndMask ) );
    EXPECT_TRUE( is< GetData >( &getUdfDataAndMask ) );
    EXPECT_TRUE( is< int32_t >( getBcmUdfId( UdfId( 1 ) ) ) );
    EXPECT_TRUE( is< int32_t >( getBcmUdfId( 1 ) ) );
    EXPECT_TRUE( is< int32_t >( getBcmUdfPktFmtId( PktFmtId( 1 ) ) ) );
    EXPECT_TRUE( is< int32_t >( getBcmUdfPktFmtId( 1 ) ) );
}

TEST( UdfSignaturesTest, ModuleFunctions_Types_AreAsRequired )
{
    using Map = PktFmtIdToUdfId::Ptr;
    using Create = QualIdList ( * )( uint32_t, const UdfDesc&, Map );
    using Destroy = void ( * )( uint32_t, const UdfDesc&, const QualIdList&, Map );
    using Cleanup = QualIdList ( * )( int, const UdfHwProgrammingFootprint&, Map );
    using Verify =
        void ( * )( uint32_t, const UdfDesc&, const QualIdList&, PktFmtIdToUdfId::PtrConst );
    EXPECT_TRUE( is< Create >( &createUdfQualifierUdfModule ) );
    EXPECT_TRUE( is< Destroy >( &destroyUdfQualifierUdfModule ) );
    EXPECT_TRUE( is< Cleanup >( &cleanupUdfModuleFootprint ) );
    EXPECT_TRUE( is< Verify >( &udfQualProgrammedInHwUdfModule ) );
    using Chunks = UdfChunkPosList ( * )( uint32_t, const QualIdList& );
    EXPECT_TRUE( is< UdfIdList ( * )( uint32_t ) >( &getAllProgrammedUdfIdsUdfModule ) );
    EXPECT_TRUE( is< Chunks >( &getUdfChunkPosModule ) );
}

TEST( UdfSignaturesTest, LagHashingFunctions_Types_AreAsRequired )
{
    using Create = void ( * )( uint32_t, bcm_udf_id_t, const UdfDesc& );
    using Destroy = void ( * )( uint32_t, bcm_udf_id_t );
    using Verify = void ( * )( uint32_t, const QualIdList&, const UdfDesc& );
    EXPECT_TRUE( is< Create >( &createUdfLagHashingModule ) );
    EXPECT_TRUE( is< Destroy >( &destroyUdfLagHashingModule ) );
    EXPECT_TRUE( is< UdfIdList ( * )( uint32_t ) >( &getAllProgrammedLagHashingUdfIdsUdfModule ) );
    EXPECT_TRUE( is< Verify >( &udfLagHashingProgrammedInModule ) );
}

TEST( UdfSignaturesTest, Helper_Types_AreAsRequired )
{
    using Base = UdfHelperBase;
    using Module = UdfModuleHelper;
    using Verify = void ( Base::* )( const UdfDesc&, const QualIdList& ) const;
    using GetAll = UdfIdList ( Base::* )( uint32_t ) const;
    using Chunks = UdfChunkPosList ( Base::* )( uint32_t, const QualIdList& );
    using Map = PktFmtIdToUdfId::Ptr ( Module::* )();
    EXPECT_TRUE( is< Chunks >( &Base::getUdfChunkPosList ) );
    EXPECT_TRUE( is< QualIdList ( Base::* )( const UdfDesc& ) >( &Base::programUdfInHw ) );
    EXPECT_TRUE(
        ( is< void ( Base::* )( const UdfDesc&, const QualIdList& ) >( &Base::removeUdfFromHw ) ) );
    EXPECT_TRUE( is< Verify >( &Base::verifyProgrammedUdf ) );
    EXPECT_TRUE( is< Verify >( &Base::verifyLagHashingUdf ) );
    EXPECT_TRUE( is< GetAll >( &Base::getAllProgrammedUdfIds ) );
    EXPECT_TRUE( is< GetAll >( &Base::getAllProgrammedLagHashingUdfIds ) );
    EXPECT_TRUE( is< void ( Base::* )() >( &Base::handleInitialized ) );
    EXPECT_TRUE( is< Map >( &Module::pktFmtIdToUdfIdIs ) );
    EXPECT_TRUE( is< Map >( &Module::pktFmtIdToUdfIdDel ) );
    using Factory = Agent::Ptr< Module > ( * )( uint16_t, uint8_t, bool );
    EXPECT_TRUE( is< Factory >( &udfModuleHelperFactory ) );
    EXPECT_TRUE( is< Factory >( &Module::UdfModuleHelperIs ) );
}

TEST( UdfSignaturesTest, Values_Widths_AreAsRequired )
{
    const UdfDesc desc;
    EXPECT_TRUE( is< UdfOffsetBase >( desc.base() ) );
    EXPECT_TRUE( ( std::is_same_v< std::underlying_type_t< UdfOffsetBase >, uint32_t > ));
    EXPECT_TRUE( is< uint16_t >( desc.ethType() ) );
    EXPECT_TRUE( is< uint16_t >( desc.innerEtherType() ) );
    EXPECT_TRUE( is< UdfAppType >( desc.appType() ) );
    EXPECT_TRUE( ( std::is_same_v< std::underlying_type_t< UdfAppType >, uint8_t > ));
    EXPECT_TRUE( is< uint8_t >( desc.ipProto() ) );
    EXPECT_TRUE( is< uint8_t >( desc.offset() ) );
    EXPECT_TRUE( is< uint8_t >( desc.length() ) );
    EXPECT_TRUE( is< uint8_t >( desc.priority() ) );
    EXPECT_TRUE( is< bool >( desc.lagHashing() ) );
    EXPECT_TRUE( ( std::is_same_v< UdfDesc::LagHashingMask::key_type, uint8_t > ));
    EXPECT_TRUE( ( std::is_same_v< UdfDesc::LagHashingMask::mapped_type, uint8_t > ));
    EXPECT_TRUE( is< int32_t >( UdfId().value() ) );
    EXPECT_TRUE( is< int32_t >( PktFmtId().value() ) );
    EXPECT_FALSE( ( std::is_same_v< UdfId, PktFmtId > )) << "one cannot stand for the other";
    EXPECT_TRUE( ( std::is_same_v< QualIdList::value_type, uint32_t > ));
    EXPECT_TRUE( ( std::is_same_v< UdfIdList::value_type, UdfId > ));
    EXPECT_TRUE( ( std::is_same_v< UdfChunkPosList::value_type, uint8_t > ));
    EXPECT_TRUE( is< PktFmtId >( UdfHwProgrammingFootprint().pktFmtId ) );
    EXPECT_TRUE( is< QualIdList >( UdfHwProgrammingFootprint().udfIds ) );
}

} // namespace
} // namespace LibraryTest
