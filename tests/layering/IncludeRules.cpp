#include "tests/layering/IncludeRules.h"

#include "tests/layering/SourceText.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace Layering {

namespace {

/// A folder, and what the files in and below it may include of the project. What `sim/` offers can
/// be included as "sim/NAME.h" by whoever may include all of `sim/`.
struct Floor
{
    std::string_view folder;
    std::vector< std::string_view > mayInclude;
    bool onlyStandardLibrary; // Of what is not the project's.
};

/// What the rooms of the tool, except the lowest, may include outside of the tool.
const std::vector< std::string_view > belowTheTool{ "reference/", "PeloraTcam/", "sim/",
                                                    "input/",     "agent/",      "sdk/" };

/// A room of the tool, which may include itself and the rooms given.
Floor toolRoom( std::string_view room, std::vector< std::string_view > rooms )
{
    rooms.push_back( room );
    rooms.insert( rooms.end(), belowTheTool.begin(), belowTheTool.end() );
    return { room, rooms, false };
}

const std::vector< Floor > floors{
    { "agent/base/", { "agent/base/" }, true },
    { "sdk/", { "sdk/", "agent/base/" }, true },
    { "agent/tcam/", { "agent/tcam/", "sdk/", "agent/base/" }, true },
    { "PeloraTcam/", { "PeloraTcam/", "agent/", "sdk/" }, true },
    { "input/", { "input/" }, false },
    { "sim/values/", { "sim/values/", "sdk/", "input/" }, false },
    { "sim/profiles/", { "sim/profiles/", "sim/values/", "sdk/", "input/" }, false },
    { "sim/chip/", { "sim/chip/", "sim/profiles/", "sim/values/", "sdk/", "input/" }, false },
    { "sim/packets/",
      { "sim/packets/", "sim/chip/", "sim/profiles/", "sim/values/", "sdk/", "input/" },
      false },
    { "sim/access/",
      { "sim/access/", "sim/chip/", "sim/profiles/", "sim/values/", "sdk/", "input/" },
      false },
    { "sim/faults/",
      { "sim/faults/", "sim/access/", "sim/chip/", "sim/profiles/", "sim/values/", "sdk/",
        "input/" },
      false },
    { "reference/", { "reference/", "PeloraTcam/", "agent/", "sdk/" }, false },
    { "tools/text/", { "tools/text/", "input/" }, false },
    toolRoom( "tools/traces/", { "tools/text/" } ),
    toolRoom( "tools/translation/", { "tools/text/" } ),
    toolRoom( "tools/rules/", { "tools/text/" } ),
    toolRoom( "tools/traffic/", { "tools/text/" } ),
    toolRoom( "tools/scenario/", { "tools/text/" } ),
    toolRoom( "tools/run/", { "tools/scenario/", "tools/traces/", "tools/text/" } ),
    toolRoom( "tools/udf/", { "tools/run/", "tools/scenario/", "tools/text/" } ),
    toolRoom( "tools/lookup/",
              { "tools/run/", "tools/scenario/", "tools/traffic/", "tools/rules/",
                "tools/translation/", "tools/text/" } ),
    toolRoom( "tools/steps/",
              { "tools/lookup/", "tools/udf/", "tools/run/", "tools/scenario/", "tools/rules/",
                "tools/translation/", "tools/text/" } ),
    toolRoom( "tools/report/",
              { "tools/lookup/", "tools/udf/", "tools/run/", "tools/scenario/",
                "tools/translation/", "tools/traces/", "tools/text/" } ),
    toolRoom( "tools/commands/",
              { "tools/report/", "tools/steps/", "tools/lookup/", "tools/udf/", "tools/run/",
                "tools/scenario/", "tools/rules/", "tools/translation/", "tools/traces/",
                "tools/text/" } ),
    toolRoom( "tools/cli/", { "tools/commands/", "tools/traces/", "tools/text/" } ),
    { "examples/", { "examples/", "PeloraTcam/", "sim/", "agent/", "sdk/" }, false },
    { "bench/", { "" }, false },
    { "tests/", { "" }, false },
};

/// Single headers that a floor must not include although it may include their folder.
/// A floor stands for all of its rooms.
constexpr std::array< std::pair< std::string_view, std::string_view >, 1 > exceptions{ {
    // The call wrappers are for those who call an SDK, not for those who are one.
    { "sim/", "sdk/SdkCall.h" },
} };

/// What the library may include besides the project: the C++ standard library ...
// clang-format off
constexpr std::string_view standardHeaders[] = {
    "algorithm",        "any",              "array",            "atomic",           "barrier",
    "bit",              "bitset",           "cassert",          "cctype",           "cerrno",
    "cfenv",            "cfloat",           "charconv",         "chrono",           "cinttypes",
    "climits",          "clocale",          "cmath",            "codecvt",          "compare",
    "complex",          "concepts",         "condition_variable", "coroutine",        "csetjmp",
    "csignal",          "cstdarg",          "cstddef",          "cstdint",          "cstdio",
    "cstdlib",          "cstring",          "ctime",            "cuchar",           "cwchar",
    "cwctype",          "deque",            "exception",        "execution",        "filesystem",
    "format",           "forward_list",     "fstream",          "functional",       "future",
    "initializer_list", "iomanip",          "ios",              "iosfwd",           "iostream",
    "istream",          "iterator",         "latch",            "limits",           "list",
    "locale",           "map",              "memory",           "memory_resource",  "mutex",
    "new",              "numbers",          "numeric",          "optional",         "ostream",
    "queue",            "random",           "ranges",           "ratio",            "regex",
    "scoped_allocator", "semaphore",        "set",              "shared_mutex",     "source_location",
    "span",             "sstream",          "stack",            "stdexcept",        "stop_token",
    "streambuf",        "string",           "string_view",      "syncstream",       "system_error",
    "thread",           "tuple",            "type_traits",      "typeindex",        "typeinfo",
    "unordered_map",    "unordered_set",    "utility",          "valarray",         "variant",
    "vector",           "version",
};
// clang-format on

/// ... and what the C library and the C++ runtime offer beyond it.
constexpr std::string_view systemHeaders[] = {
    "cxxabi.h",   "dlfcn.h",     "errno.h",    "execinfo.h", "fcntl.h",    "link.h",
    "pthread.h",  "sched.h",     "signal.h",   "sys/mman.h", "sys/stat.h", "sys/syscall.h",
    "sys/time.h", "sys/types.h", "sys/wait.h", "time.h",     "unistd.h",
};

const Floor* floorOf( std::string_view file )
{
    const auto found = std::ranges::find_if(
        floors, [ file ]( const Floor& floor ) { return file.starts_with( floor.folder ); } );
    return found == floors.end() ? nullptr : &*found;
}

bool isOfTheSystem( std::string_view header )
{
    return std::ranges::count( standardHeaders, header ) != 0 ||
           std::ranges::count( systemHeaders, header ) != 0;
}

bool mayInclude( const Floor& floor, std::string_view path )
{
    const bool excepted = std::ranges::any_of( exceptions, [ & ]( const auto& exception ) {
        return floor.folder.starts_with( exception.first ) && exception.second == path;
    } );
    return !excepted && std::ranges::any_of( floor.mayInclude, [ path ]( std::string_view folder ) {
        return path.starts_with( folder );
    } );
}

} // namespace

IncludeRules::IncludeRules( Exists exists )
    : exists_( std::move( exists ) )
{}

Offences IncludeRules::check( const std::string& file, std::string_view text ) const
{
    if ( floorOf( file ) == nullptr ) {
        return { { file, 0, "stands in no folder that the layering knows" } };
    }
    Offences offences;
    for ( const Line& line : logicalLines( text ) ) {
        const Directive directive = directiveOf( line.text );
        if ( directive.name != "include" && directive.name != "include_next" ) {
            continue;
        }
        const std::string objection = objectionTo( file, directive.argument );
        if ( !objection.empty() ) {
            offences.push_back( { file, line.number, objection } );
        }
    }
    return offences;
}

std::string IncludeRules::objectionTo( std::string_view file, std::string_view argument ) const
{
    const char first = argument.empty() ? '\0' : argument.front();
    if ( first != '"' && first != '<' ) {
        return "includes by a macro, so nobody can tell what";
    }
    const char closing = first == '"' ? '"' : '>';
    const std::string name( argument.substr( 1, argument.find( closing, 1 ) - 1 ) );
    return first == '"' ? objectionToProject( file, name ) : objectionToSystem( file, name );
}

std::string IncludeRules::objectionToProject( std::string_view file, const std::string& path ) const
{
    if ( path.find( "../" ) != std::string::npos || !exists_( path ) ) {
        return "\"" + path + "\" is no path from the root to a file of this tree";
    }
    const Floor& floor = *floorOf( file );
    if ( !mayInclude( floor, path ) ) {
        return std::string( floor.folder ) + " must not include \"" + path + "\"";
    }
    return {};
}

std::string IncludeRules::objectionToSystem( std::string_view file, const std::string& name ) const
{
    if ( exists_( name ) ) {
        return "<" + name + "> is a file of this tree and goes between double quotes";
    }
    const Floor& floor = *floorOf( file );
    if ( floor.onlyStandardLibrary && !isOfTheSystem( name ) ) {
        return std::string( floor.folder ) + " must not include <" + name +
               ">: the library depends on nothing but the standard library";
    }
    return {};
}

} // namespace Layering
