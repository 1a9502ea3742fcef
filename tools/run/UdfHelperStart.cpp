#include "tools/run/UdfHelperStart.h"

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/TypeRegistry.h"
#include "tools/scenario/Step.h"

#include <array>
#include <fmt/format.h>
#include <limits>
#include <string_view>

namespace Tool {

namespace {

using Agent::U16;
using Agent::U8;
using PeloraTcam::UdfHelperBase;
using HelperPtr = Agent::Ptr< UdfHelperBase >;

/// A function of the library that makes a helper of one class.
using Make = HelperPtr ( * )( U16 moduleId, U8 pipeId, bool lagHashingSupported );

/// `makeHelper` for a table that wants the base class.
template< auto makeHelper >
HelperPtr asBase( U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return makeHelper( moduleId, pipeId, lagHashingSupported );
}

/// The helper for one kind of chip.
struct UdfHelperKind
{
    Sim::ChipKind chip;
    Reference::UdfPath path;
    std::string_view typeName;
    Make factory;
    Make creator;
};

constexpr std::array< UdfHelperKind, 3 > helperKinds{ {
    { Sim::ChipKind::sdk6UdfModule, Reference::UdfPath::udfModule, "PeloraTcam::UdfModuleHelper",
      asBase< PeloraTcam::udfModuleHelperFactory >,
      asBase< PeloraTcam::UdfModuleHelper::UdfModuleHelperIs > },
    { Sim::ChipKind::sdk6FlexParser, Reference::UdfPath::flexParser,
      "PeloraTcam::UdfFlexParserHelper", asBase< PeloraTcam::udfFlexParserHelperFactory >,
      asBase< PeloraTcam::UdfFlexParserHelper::UdfFlexParserHelperIs > },
    { Sim::ChipKind::hsdk, Reference::UdfPath::flexParserHsdk,
      "PeloraTcam::UdfFlexParserHsdkHelper", asBase< PeloraTcam::udfFlexParserHsdkHelperFactory >,
      asBase< PeloraTcam::UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelperIs > },
} };

const UdfHelperKind& helperKindFor( Sim::ChipKind chip )
{
    for ( const UdfHelperKind& kind : helperKinds ) {
        if ( kind.chip == chip ) {
            return kind;
        }
    }
    throw StepError( fmt::format( "there is no helper for the user-defined fields of a chip of "
                                  "the kind '{}'",
                                  Sim::nameOf( chip ) ) );
}

U16 moduleIdOf( int unit )
{
    constexpr int greatest = std::numeric_limits< U16 >::max();
    if ( unit < 0 || unit > greatest ) {
        throw StepError( fmt::format(
            "a helper of user-defined fields has a unit of 0 to {}, not {}", greatest, unit ) );
    }
    return static_cast< U16 >( unit );
}

HelperPtr fromRegistry( std::string_view typeName, U16 moduleId, U8 pipeId, bool lagHashing )
{
    const Agent::TypeRecord* type = Agent::registeredType( typeName );
    if ( type == nullptr ) {
        throw StepError( fmt::format( "the type registry has no class '{}'", typeName ) );
    }
    const void* const arguments[] = { &moduleId, &pipeId, &lagHashing };
    const Agent::Ptr< Agent::Node > node = Agent::construct( *type, arguments );
    return HelperPtr( dynamic_cast< UdfHelperBase* >( node.get() ) );
}

} // namespace

Reference::UdfPath udfPathOf( Sim::ChipKind chip )
{
    return helperKindFor( chip ).path;
}

HelperPtr makeUdfHelper( const UdfHelperRequest& request )
{
    const UdfHelperKind& kind = helperKindFor( request.chip );
    const U16 moduleId = moduleIdOf( request.unit );
    switch ( request.origin ) {
    case UdfHelperOrigin::factory:
        return kind.factory( moduleId, request.pipe, request.lagHashingSupported );
    case UdfHelperOrigin::creator:
        return kind.creator( moduleId, request.pipe, request.lagHashingSupported );
    case UdfHelperOrigin::registry:
        break;
    }
    return fromRegistry( kind.typeName, moduleId, request.pipe, request.lagHashingSupported );
}

} // namespace Tool
