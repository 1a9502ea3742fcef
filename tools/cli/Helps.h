#pragma once

/// The texts of `--help`: of each command what it does, and behind its options examples and exit
/// codes.

namespace Tool {

inline constexpr const char* toolHelp =
    "Runs the TCAM helper library libPeloraTcamSdk6Helpers against a simulated chip.\n";

inline constexpr const char* toolFooter = R"(Examples:
  pelora-tcam run examples/range-checkers.yaml
  pelora-tcam run --json --chip sdk6-tiny examples/range-checkers.yaml
  pelora-tcam compare examples/three-chips.yaml
  pelora-tcam profiles
  pelora-tcam maps qualifierMap
  pelora-tcam decode-trace run.ring
  pelora-tcam explain-udf --help
  pelora-tcam lookup --help

Exit codes:
  0  everything went as expected
  1  a step of a scenario did not have the outcome that was expected
  2  bad input: a file, with file:line:column, or the command line
  3  the library ended the process although no step expected that
  4  the tool itself failed: no process, no memory, no room for the output

'pelora-tcam COMMAND --help' tells about a command.)";

inline constexpr const char* runHelp =
    R"(Runs a scenario against the library and the simulated chip.

Reads and checks the scenario with all that it names, builds the chip, runs the steps
against the shared library as an agent does, and prints what became of each step and
what the chip holds in the end. The steps run in a child process, so that an end of the
process, by a failed assertion or a fatal SDK call, is reported like anything else.
)";

inline constexpr const char* runFooter = R"(A scenario:
  chip: sdk6-tiny
  steps:
    - allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }
    - allocate-range-checker: { name: dns, type: l4SrcPort, low: 50, high: 59 }
    - allocate-range-checker: { name: one-too-many, type: l4DstPort, low: 1, high: 9 }
      expect: full
    - audit: all
    - release-range-checker: { name: web }

Examples:
  pelora-tcam run scenario.yaml
  pelora-tcam run --trace ApiPelora=4 --trace PeloraTcamRangeChecker=0,8-9 scenario.yaml
  pelora-tcam run --json --numbering shuffled:7 scenario.yaml
  pelora-tcam run --ring-dump run.ring scenario.yaml
  pelora-tcam run --snapshot scenario.yaml

Exit codes:
  0  every step had the outcome that was expected ('ok' unless the step says otherwise)
  1  a step did not
  2  bad input: nothing has been run
  3  the library ended the process although the step did not expect that
  4  the tool itself failed: no process, no memory, no room for the output

docs/scenarios.md has all steps, faults and outcomes.)";

inline constexpr const char* profilesHelp =
    R"(Lists the chip profiles, or prints one.

Without a name, lists the profiles that are built in. With a name or a file, checks the
profile and prints it: the start of a profile of one's own.
)";

inline constexpr const char* profilesFooter = R"(Examples:
  pelora-tcam profiles
  pelora-tcam profiles sdk6-udf > my-chip.yaml
  pelora-tcam profiles --json my-chip.yaml

Exit codes:
  0  printed
  2  bad input: no such profile, or something is wrong in it
  4  the tool itself failed)";

inline constexpr const char* mapsHelp =
    R"(Lists the library's translation maps, or prints one.

A map translates the agent's enumerators to the SDK's, most of them also back. Without a
name, lists the maps with the numbers of their pairs. With the name of a map, prints each
agent value, the SDK's enumerator with its value, and what that translates back to.
)";

inline constexpr const char* mapsFooter = R"(Examples:
  pelora-tcam maps
  pelora-tcam maps qualifierMap
  pelora-tcam maps --numbering shuffled:7 --json ipTypeMap

Exit codes:
  0  printed
  2  bad input: no such map
  4  the tool itself failed)";

inline constexpr const char* decodeTraceHelp =
    R"(Prints the ring-buffer traces in a dump or a core file.

The file is one that 'run --ring-dump' has written, or any other that holds such a trace.
One line a record, the oldest first: seconds, file:line, function and text.
)";

inline constexpr const char* decodeTraceFooter = R"(Examples:
  pelora-tcam decode-trace run.ring
  pelora-tcam decode-trace --json core

Exit codes:
  0  printed
  2  bad input: the file cannot be read, holds no trace, or the trace is damaged (what can
     be read of it is printed)
  4  the tool itself failed)";

inline constexpr const char* explainUdfHelp =
    R"(Says in words what a description of a user-defined field means on a chip.

Programs the field through the library into the simulated chip and tells what the chip
then holds: which bytes of which packets the field matches, the layer and the start that
the chip is given, the packet format it needs, and the fields that share that. The
options are the keys of a 'program-udf' step.
)";

inline constexpr const char* explainUdfFooter = R"(Examples:
  pelora-tcam explain-udf --chip sdk6-udf --base l4OuterPayload --ethertype ipv4
      --protocol udp --offset 4 --length 3
  pelora-tcam explain-udf --chip hsdk --base l3Header --ethertype arp --app macAcl
      --offset 6 --length 2
  pelora-tcam explain-udf --chip sdk6-udf --base l3Header --ethertype ipv4 --offset 12
      --length 4 --with '{ name: id, base: l3Header, ethertype: ipv4, offset: 4, length: 2 }'
  pelora-tcam explain-udf --json --scenario before.yaml --base l2Header --ethertype mpls
      --offset 14 --length 2 --lag-mask 0xFF,0x0F

Exit codes:
  0  the chip takes the field
  1  the library or the chip refuses it; the text says why
  2  bad input: nothing has been run
  3  the library ends the process
  4  the tool itself failed

docs/scenarios.md has the names of bases, EtherTypes and protocols.)";

inline constexpr const char* lookupHelp =
    R"(Tells which rule or entry packets hit, what it does to them, and why others lose.

Sets the chip up with a scenario or a rule set, through the library, and sends packets
through it: described in words, of a capture, or of a text trace.
)";

inline constexpr const char* lookupFooter = R"(Examples:
  pelora-tcam lookup --chip sdk6-udf --rules examples/rules/office.rules
      --packet 'tcp 10.0.0.1:1024 > 192.0.2.1:80'
  pelora-tcam lookup --scenario scenario.yaml --capture office.pcap --json
  pelora-tcam lookup --chip hsdk-large --rules acl.rules --trace acl.trace --winners --jobs 2

Exit codes:
  0  looked up
  1  looked up, but not all of the set-up was as expected: a rule was refused, or a step
     had another outcome; standard error says which
  2  bad input: nothing has been looked up
  3  the library ended the process during the set-up
  4  the tool itself failed

docs/packets.md has the words of descriptions and the columns of traces.)";

inline constexpr const char* compareHelp =
    R"(Runs a scenario on several chips and shows them side by side.

For each step: what came of it on each chip, and what the chip was given for a user-defined
field. Without --chip, one chip of each kind: an SDK-6 chip with a UDF module, an SDK-6 chip
with a flexible parser, and an HSDK chip. The scenario's own chip does not count.
)";

inline constexpr const char* compareFooter = R"(Examples:
  pelora-tcam compare examples/three-chips.yaml
  pelora-tcam compare --chip sdk6-tiny --chip hsdk-large scenario.yaml

Exit codes: the highest of those that 'run' has for the chips.)";

} // namespace Tool
