#include "agent/tcam/StageType.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, StageType stage )
{
    switch ( stage ) {
    case StageType::invalid:
        return stream << "invalid";
    case StageType::vfp:
        return stream << "vfp";
    case StageType::ifp:
        return stream << "ifp";
    case StageType::efp:
        return stream << "efp";
    }
    return stream << "StageType(" << static_cast< unsigned >( stage ) << ")";
}

} // namespace PeloraTcam
