#include "sim/values/ReturnCode.h"

namespace Sim {

namespace {

struct Row
{
    const char* name;
    int value;
    const char* text;
};

constexpr Row rows[] = {
#define SDK_RETURN_CODE( name, value, text ) { #name, value, text },
#include "sdk/SdkEnumerators.def"
};

const Row* rowOf( int rc )
{
    for ( const Row& row : rows ) {
        if ( row.value == rc ) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

const char* ReturnCode::text( int rc )
{
    const Row* row = rowOf( rc );
    return row == nullptr ? "Unknown error" : row->text;
}

std::string ReturnCode::name( int rc )
{
    const Row* row = rowOf( rc );
    return row == nullptr ? std::to_string( rc ) : row->name;
}

std::optional< int > ReturnCode::fromName( std::string_view wanted )
{
    for ( const Row& row : rows ) {
        if ( row.name == wanted ) {
            return row.value;
        }
    }
    return std::nullopt;
}

std::vector< std::string > ReturnCode::names()
{
    std::vector< std::string > all;
    for ( const Row& row : rows ) {
        all.emplace_back( row.name );
    }
    return all;
}

} // namespace Sim
