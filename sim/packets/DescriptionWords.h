#pragma once

/// The words of a packet's description, with their places: reads numbers, addresses and bytes of
/// them, and says what is wrong with them.

#include "sim/packets/DescribedPacket.h"
#include "sim/packets/PacketDescription.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// A word, or what follows the last one, which is empty.
struct DescriptionWord
{
    std::string_view text;
    int column = 1; ///< in letters
};

/// Numbers that a word may be.
struct NumberRange
{
    std::uint64_t least = 0;
    std::uint64_t greatest = 0;
};

/// Goes through a description from word to word. Keeps a reference to its text.
///
/// Every fault is an `InputError` at the word.
class DescriptionWords
{
  public:
    DescriptionWords( std::string_view text, DescriptionPlace place );

    /// Whether there are no more words.
    [[nodiscard]] bool atEnd() const { return next_ + 1 == words_.size(); }

    /// The next word, which stays the next one; empty at the end.
    [[nodiscard]] const DescriptionWord& peek() const { return words_[ next_ ]; }

    /// Takes the next word; a fault if there is none. `expected` says what it was to be: "a
    /// number".
    const DescriptionWord& take( std::string_view expected );

    /// Takes the next word if it is that one.
    bool takeIf( std::string_view word );

    /// Takes the next word, which has to be that one.
    void takeExactly( std::string_view word );

    /// Takes a decimal number, or a hexadecimal one with 0x.
    std::uint64_t takeNumber( NumberRange range );

    /// The number that a word, or part of one, is.
    std::uint64_t numberIn( const DescriptionWord& word, NumberRange range ) const;

    /// Takes "192.0.2.1" or "2001:db8::1".
    PacketAddress takeAddress();

    /// Takes an address with a port: "192.0.2.1:80" or "[2001:db8::1]:80".
    PacketAddress takeAddressAndPort( std::uint16_t& port );

    /// Takes "02:00:00:00:00:01".
    PacketMac takeMac();

    /// Takes bytes in hexadecimal: "0011aabb".
    std::vector< std::uint8_t > takeBytes();

    /// Takes all words that are left for bytes in hexadecimal. A byte stands in one word.
    std::vector< std::uint8_t > takeAllBytes();

    /// Whether no word has anything but hexadecimal digits.
    [[nodiscard]] bool areAllHexadecimal() const;

    /// Ends with an `InputError` at a word.
    [[noreturn]] void fail( const DescriptionWord& word, const std::string& message ) const;

  private:
    void appendBytes( std::vector< std::uint8_t >& bytes, const DescriptionWord& word ) const;

    DescriptionPlace place_;
    std::vector< DescriptionWord > words_; ///< and an empty one at the end
    std::size_t next_ = 0;
};

/// "'text'"
[[nodiscard]] std::string quoted( std::string_view text );

/// Part of a word, from that byte on, with its place.
[[nodiscard]] DescriptionWord
partOf( const DescriptionWord& word, std::size_t from, std::size_t size = std::string_view::npos );

} // namespace Sim
