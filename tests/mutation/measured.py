"""What was measured of a test binary, kept until the binary, the library or the measuring changes."""

import hashlib
import json
import os

LIBRARIES = ("lib/libPeloraAgent.so.1.0.0", "lib/libPeloraTcamSdk6Helpers.so.1.0.0")
HERE = os.path.dirname(os.path.abspath(__file__))
MEASURING = [os.path.join(HERE, name) for name in ("blocks.py", "reach.py")]


class Measured:
    """The measurements of a build folder, in a file beside it."""

    def __init__(self, path, tree):
        self.path = path
        self.tree = tree
        self.entries = {}
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                self.entries = json.load(file)

    def of(self, what, target, measure):
        """What `measure()` gives for a target, or gave for the same one before."""
        key = f"{what} {target}"
        digest = self.digest(target)
        known = self.entries.get(key)
        if not known or known[0] != digest:
            known = self.entries[key] = [digest, measure()]
            with open(self.path + ".new", "w", encoding="utf-8") as file:
                json.dump(self.entries, file)
            os.replace(self.path + ".new", self.path)
        return known[1]

    def digest(self, target):
        found = hashlib.sha256()
        paths = [os.path.join(self.tree, name) for name in (target, *LIBRARIES)]
        for path in paths + MEASURING:
            with open(path, "rb") as file:
                found.update(hashlib.sha256(file.read()).digest())
        return found.hexdigest()
