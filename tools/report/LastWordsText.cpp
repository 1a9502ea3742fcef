#include "tools/report/LastWordsText.h"

#include "tools/text/PrintableText.h"
#include "tools/text/Terminal.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool {

void addLabelled( std::vector< std::string >& lines,
                  const std::string& label,
                  const std::string& text,
                  std::size_t width )
{
    std::string start = label;
    for ( const std::string& line :
          folded( printable( text ), width - std::min( width, label.size() ) ) ) {
        lines.push_back( start + line );
        start.assign( label.size(), ' ' );
    }
}

std::vector< std::string >
lastWordLines( const LastWords& lastWords, const std::string& end, std::size_t width )
{
    std::vector< std::string > lines;
    if ( !lastWords.errorLine.empty() ) {
        addLabelled( lines, "library:   ", lastWords.errorLine, width );
    }
    if ( !lastWords.apiError.empty() ) {
        addLabelled( lines, "SDK call:  ", lastWords.apiError, width );
    }
    if ( !lastWords.assertion.empty() ) {
        addLabelled( lines, "assertion: ", lastWords.assertion, width );
    }
    lines.push_back( "process:   ended by " + end );
    return lines;
}

std::string unexpectedEndText( const UnexpectedEnd& unexpected )
{
    std::string text = "pelora-tcam: the library ended the process";
    if ( unexpected.step ) {
        const StepHeading& step = *unexpected.step;
        text += fmt::format( " in step {}, {}", step.index, step.kind );
        text += step.name.empty() ? "" : " " + printable( step.name );
    } else {
        text += " between steps";
    }
    text += "\n";
    for ( const std::string& line : lastWordLines( unexpected.lastWords, unexpected.end ) ) {
        text += "  " + line + "\n";
    }
    return text;
}

} // namespace Tool
