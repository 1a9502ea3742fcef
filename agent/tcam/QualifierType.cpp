#include "agent/tcam/QualifierType.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, QualifierType type )
{
    return printEnumerator( stream, type );
}

} // namespace PeloraTcam
