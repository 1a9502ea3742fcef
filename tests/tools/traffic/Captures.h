#pragma once

/// Where the tests find captures, and how they write some.

#include "sim/packets/Packet.h"

#include <filesystem>
#include <string>
#include <vector>

namespace TrafficTest {

/// The folder of the captures; empty if there is none: see README.md.
[[nodiscard]] std::filesystem::path capturesFolder();

/// The captures that are of Ethernet, by name.
[[nodiscard]] std::vector< std::filesystem::path > ethernetCaptures();

/// Writes a capture with the bytes, lengths and times of packets.
void writeCapture( const std::filesystem::path& file, const std::vector< Sim::Packet >& packets );

/// A file of the bytes, which goes when this goes.
class TemporaryFile
{
  public:
    explicit TemporaryFile( const std::string& bytes );
    ~TemporaryFile();
    TemporaryFile( const TemporaryFile& ) = delete;
    TemporaryFile& operator=( const TemporaryFile& ) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    std::string path_;
};

} // namespace TrafficTest
