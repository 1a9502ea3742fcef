#include "tools/text/Json.h"

#include "input/InputText.h"

namespace Tool {

namespace {

/// Escapes the control characters that JSON may have as they are. Outside of texts there are none.
std::string withoutControls( const std::string& json )
{
    std::string text;
    text.reserve( json.size() );
    for ( std::size_t at = 0; at < json.size(); ) {
        const std::size_t size = Input::letterSize( json, at );
        const std::string_view letter = std::string_view( json ).substr( at, size );
        if ( const std::optional< unsigned > control = Input::controlCharacter( letter ) ) {
            text += "\\u00" + Input::hexadecimalByte( *control ).substr( 2 );
        } else {
            text += letter;
        }
        at += size;
    }
    return text;
}

} // namespace

std::string jsonText( const Json& value, int indent )
{
    return withoutControls( value.dump( indent, ' ', false, Json::error_handler_t::replace ) );
}

std::string jsonDocument( const Json& members )
{
    Json document = { { "formatVersion", jsonFormatVersion } };
    document.update( members );
    return jsonText( document, 2 );
}

} // namespace Tool
