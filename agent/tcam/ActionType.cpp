#include "agent/tcam/ActionType.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, ActionType type )
{
    return printEnumerator( stream, type );
}

std::optional< ActionType > actionTypeFromName( std::string_view name )
{
    return enumeratorFromName< ActionType >( name );
}

std::vector< std::string_view > actionTypeNames()
{
    return enumeratorNames< ActionType >();
}

} // namespace PeloraTcam
