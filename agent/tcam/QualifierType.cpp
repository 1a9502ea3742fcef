#include "agent/tcam/QualifierType.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, QualifierType type )
{
    return printEnumerator( stream, type );
}

std::optional< QualifierType > qualifierTypeFromName( std::string_view name )
{
    return enumeratorFromName< QualifierType >( name );
}

std::vector< std::string_view > qualifierTypeNames()
{
    return enumeratorNames< QualifierType >();
}

} // namespace PeloraTcam
