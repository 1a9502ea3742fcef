#pragma once

/// Where the library calls the SDK, read from its sources; and the list of these places with the
/// tests that make each of them fail, read from `call-sites.txt`.
///
/// A call site is a call macro of `sdk/SdkCall.h`, a row of a table of preselector calls
/// (`callRow`), or a bare call of an SDK function that is no initialiser. It is known by its source
/// file and its text: what it writes on standard error or into the trace, or, for a bare call,
/// which writes nothing, the function's name.
///
///     SDK_CHECKED_CALL( bcm_range_get, unit, &conf );      // "bcm_range_get( unit, &conf )"
///     SDK_CALL_SITE( getBytesText )                          // what that constant holds
///     return Shim::sdk().bcm_field_qualify_udf( unit, ... ); // "bcm_field_qualify_udf"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace LibraryTest {

/// The texts of the call sites in a source, in their order of macros, then bare calls.
[[nodiscard]] std::vector< std::string > callSitesOf( std::string_view source );

/// The SDK function that a call's text names; the text itself if it names none.
[[nodiscard]] std::string functionOfCall( const std::string& text );

/// A source as it is when string literals that stand behind each other are joined and without what
/// stands before quotes: what can be searched for a call's text.
[[nodiscard]] std::string withLiteralsJoined( std::string_view source );

/// The names "Suite.Name" of the tests that a source defines.
[[nodiscard]] std::vector< std::string > testsOf( std::string_view source );

/// A source file below PeloraTcam/, and a call's text.
using CallSiteKey = std::pair< std::string, std::string >;

struct ListedSite
{
    std::size_t count = 0;            ///< how many sites there are
    std::vector< std::string > tests; ///< "Suite.Name", one for each
};

/// Reads the list: a line without indentation names a source; below it, indented, stand the number
/// of sites and their text; below that, indented further, the tests. Throws std::runtime_error with
/// the line's number if a line is none of these.
[[nodiscard]] std::map< CallSiteKey, ListedSite > readCallSiteList( const std::string& text );

} // namespace LibraryTest
