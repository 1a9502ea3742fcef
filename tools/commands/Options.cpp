#include "tools/commands/Options.h"

#include "tools/commands/CommandLineError.h"
#include "tools/scenario/ChipProfiles.h"
#include "tools/traces/RingDump.h"

#include <stdexcept>

namespace Tool {

namespace {

/// What a reader makes of the text; its refusal is the option's.
template< class Refusal, class Reader >
auto readOption( const char* option, const std::string& text, const Reader& reader )
{
    try {
        return reader( text );
    } catch ( const Refusal& refusal ) {
        throw CommandLineError( std::string( option ) + ": " + refusal.what() );
    }
}

} // namespace

Sim::SdkNumbering numberingFromOption( const std::string& text )
{
    return readOption< std::invalid_argument >( "--numbering", text, Sim::SdkNumbering::fromText );
}

Sim::ChipProfile profileFromOption( const std::string& chip )
{
    return readOption< std::invalid_argument >( "--chip", chip, profileNamed );
}

TraceSetting traceSettingFromOption( const std::string& text )
{
    return readOption< std::invalid_argument >( "--trace", text, traceSettingFromText );
}

int ringDumpFromOption( const std::string& path )
{
    return readOption< UnwritableRingDump >( "--ring-dump", path, openRingDump );
}

} // namespace Tool
