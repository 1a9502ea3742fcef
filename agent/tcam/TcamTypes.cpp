#include "agent/tcam/TcamTypes.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, FapId fapId )
{
    return stream << fapId.value();
}

} // namespace PeloraTcam
