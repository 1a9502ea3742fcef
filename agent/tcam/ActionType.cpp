#include "agent/tcam/ActionType.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, ActionType type )
{
    return printEnumerator( stream, type );
}

} // namespace PeloraTcam
