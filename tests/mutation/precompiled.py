"""Precompiled headers: what a source includes first, compiled once for all of its mutants."""

import os
import re
import threading

INCLUDE = re.compile(r'[ \t]*#[ \t]*include[ \t]+(?:"(?P<own>[^"]+)"|<(?P<system>[^>]+)>)[ \t]*')


def leading_includes(source):
    """The includes that stand before everything else: (text of the line, the project's own file)."""
    found = []
    for line in source.split("\n"):
        match = INCLUDE.fullmatch(line)
        if match:
            found.append((line.strip(), match.group("own")))
        elif line.strip() and not line.lstrip().startswith(("//", "#pragma once")):
            break
    return found


class Headers:
    """Which file of the project includes which."""

    def __init__(self, root):
        self.root = root
        self.known = {}

    def included_by(self, file):
        """All files that a file includes, itself among them, by their paths from the root."""
        if file not in self.known:
            self.known[file] = {file}
            for included in self.named_in(file):
                self.known[file] = self.known[file] | self.included_by(included)
        return self.known[file]

    def named_in(self, file):
        path = os.path.join(self.root, file)
        if not os.path.exists(path):
            return []
        with open(path, encoding="utf-8") as opened:
            matches = map(INCLUDE.match, opened.read().split("\n"))
        return [match.group("own") for match in matches if match and match.group("own")]

    def that_can_be_precompiled(self, source_file, mutated):
        """The leading includes of a source that do not bring in the mutated file."""
        with open(os.path.join(self.root, source_file), encoding="utf-8") as opened:
            includes = leading_includes(opened.read())
        return [
            line
            for line, own in includes
            if not own or (not own.endswith(".def") and mutated not in self.included_by(own))
        ]


class PrecompiledHeaders:
    """The precompiled headers that were made, each when it was first asked for.

    `compile_one( command )` runs a command of the shell and says whether it worked.
    """

    def __init__(self, headers, folder, compile_one):
        self.headers = headers
        self.folder = folder
        self.compile_one = compile_one
        self.made = {}
        self.lock = threading.Lock()

    def flag_for(self, output, command, source_file, mutated):
        """The flag that takes one into the compilation of an object, or nothing."""
        lines = self.headers.that_can_be_precompiled(source_file, mutated)
        if not lines:
            return ""
        with self.lock:
            key = (output, tuple(lines))
            if key not in self.made:
                self.made[key] = self.make(command, lines)
            return self.made[key]

    def make(self, command, lines):
        header = os.path.join(self.folder, f"includes{len(self.made)}.h")
        os.makedirs(self.folder, exist_ok=True)
        with open(header, "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        worked = self.compile_one(header_command(command, header))
        return f" -include {header}" if worked else ""


def header_command(command, header):
    """The command that precompiles a header with the flags of an object's command."""
    without = re.sub(r" (-MD|-MT \S+|-MF \S+|-o \S+|-c \S+)(?= |$)", "", command)
    return f"{without} -x c++-header -c {header} -o {header}.gch"
