#include "agent/tcam/FieldEnumerations.h"

namespace PeloraTcam {

#define FIELD_ENUMERATION( type, underlyingType, ... )                                             \
    std::ostream& operator<<( std::ostream& stream, type value )                                   \
    {                                                                                              \
        return printEnumerator( stream, value );                                                   \
    }
#include "agent/tcam/FieldEnumerations.def"

} // namespace PeloraTcam
