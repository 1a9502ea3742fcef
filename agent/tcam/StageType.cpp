#include "agent/tcam/StageType.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, StageType stage )
{
    return printEnumerator( stream, stage );
}

} // namespace PeloraTcam
