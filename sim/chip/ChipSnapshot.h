#pragma once

/// Everything that a chip holds at one moment: compares for equality, prints as text.
///
/// One line an object, sorted by name, numbers in names in the order of their values:
///
///     range checker 2: type=bcmRangeTypeL4SrcPort min=1 max=7 instance=0
///     range checker 10: type=bcmRangeTypeL4DstPort min=80 max=80 instance=0
///
/// Values are given by name where they have one, so that the text is the same under every
/// numbering. A snapshot is a plain value with no tie to the chip.

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Sim {

/// Orders texts like a reader: "entry 2" before "entry 10".
struct NaturalOrder
{
    /// Whether the left text stands before the right one.
    [[nodiscard]] bool operator()( std::string_view left, std::string_view right ) const;
};

/// The state of a chip as a text that compares line by line; see the top of this header.
class ChipSnapshot
{
  public:
    /// What is known of an object: names and values, in the order in which they are printed.
    using Fields = std::vector< std::pair< std::string, std::string > >;
    /// Objects by what they are called.
    using Objects = std::map< std::string, Fields, NaturalOrder >;

    /// Adds an object, for example "range checker 3", with its fields in the order in which they
    /// shall be read. The name must be new: throws std::logic_error if it is not.
    void add( const std::string& object, Fields fields );

    /// All that the chip holds.
    [[nodiscard]] const Objects& objects() const { return objects_; }

    /// All lines, each ended by a line feed; empty for a chip that holds nothing.
    [[nodiscard]] std::string text() const;

    [[nodiscard]] bool operator==( const ChipSnapshot& ) const = default;

  private:
    Objects objects_;
};

/// Prints one line an object, sorted.
std::ostream& operator<<( std::ostream& stream, const ChipSnapshot& snapshot );

/// What has changed: a line "- ..." for each object as it was, a line "+ ..." for each as it is
/// now; a changed object has both, one after the other. Empty if the snapshots are equal.
[[nodiscard]] std::vector< std::string > difference( const ChipSnapshot& before,
                                                     const ChipSnapshot& after );

} // namespace Sim
