#!/usr/bin/env python3
"""Makes Docs/behaviour.md: for each operation of the library, each refusal and each message the tests that pin it.

    Tools/behaviour.py           writes the map
    Tools/behaviour.py --check   fails when the map is not what it would write

Both fail when something has no test. What is mapped is read from the code: an operation is what a public header
declares in public, and every other function that logs; a refusal is a warning, an error or an assertion. A test
pins one when it names the operation, or expects the message's text, itself or through the helpers of the tests
that it uses, and stands in the tests of that class, which the table CLASSES tells. What a test makes up from
parts it says in a comment: "// Pins: ...".
"""

import argparse
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAP = ROOT / "Docs" / "behaviour.md"
CODE = ["Common/Src", "Source/Internal", "Common/Include", "Source/Include"]
TESTS = ["Tests/Unit", "Tests/Torture", "Tests/Support"]

# Which test files are about a class: beginnings of their names. The tests of a derived class are also those of
# its base, but not the other way round.
DVB = ["CDVBSource", "Dvb", "Broadcast"]
ATSC = ["CATSCSource", "Atsc", "Broadcast"]
BROADCAST = ["CBCSource", *DVB, *ATSC]
SOURCE = ["CTTMLSource", "Source", "CBBSource", *BROADCAST]
CLASSES = {
    "CATSCSource": ATSC,
    "CBBSource": ["CBBSource", "Source"],
    "CBCSource": BROADCAST,
    "CBroadcastGate": BROADCAST,
    "CDVBSource": DVB,
    "CInbandData": ["CInbandData", "CSourceTask", "Source"],
    "CMpdParser": ["CMpdParser", "CATSCSourceMpd", "MpdFixture"],
    "CPESParser": ["CPESParser", "CDVBSourcePackets"],
    "CSourceHolder": ["CSourceHolder"],
    "CSourceTask": ["CSourceTask", "Source"],
    "CTTMLSource": [*SOURCE, "CSourceTask"],
    "CTask": ["CTask", "CSourceTask", "Source"],
    "CMutex": ["CMutex", "CTask"],
}

DEFINITION = re.compile(r"^(?!\s)(?:[\w:<>,*&~\s]*?[\s*&])?(C\w+)::(~?\w+)\(", re.M)
MESSAGE = re.compile(r'TTML_LOG([IWE])(?:_FOR)?\(\s*(?:\w+,\s*)?((?:"(?:[^"\\]|\\.)*"\s*)+)')
ASSERTION = re.compile(r'Require\([^;"]*?"((?:[^"\\]|\\.)*)"')
TEST = re.compile(r"^ ?(?:TYPED_)?TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", re.M)
# A type, and behind it what is defined: a function, a member or a constant.
NAMED = re.compile(r"(?m)^ *([\w:<>,*& ]*[\w>*&]) +[*&]?(~?\w+)(?:\(| ?=|\{|\[)")
WORD = re.compile(r"~?\b[A-Za-z_]\w*")
CONVERSION = re.compile(r"%[-+ #0]*\d*(?:\.\d+)?(?:hh|h|ll|l|z)?[a-zA-Z]|%%")


def files(folders, endings):
    found = []
    for folder in folders:
        for ending in endings:
            found += sorted((ROOT / folder).rglob("*" + ending))
    return found


def literal(text):
    """The text of adjacent string literals."""
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', text))


def fragments(message):
    """What every line of a message contains."""
    return [part for part in CONVERSION.split(message) if len(part.strip()) > 2]


class Library:
    """What the code has that tests can pin."""

    def __init__(self):
        self.operations = {}  # class -> set of names
        self.messages = {}  # (class, operation, level, text) in the order of the code
        for path in files(CODE, [".h"]):
            if "Internal" not in path.parts:
                self.read_header(path.read_text())
        for path in files(CODE, [".cpp"]):
            self.read_code(path.read_text())

    def read_header(self, text):
        name, public = None, False
        for line in text.splitlines():
            begin = re.match(r"class (?:\w+\s+)?(C\w+)\b(?!.*;)", line)
            if begin:
                name, public = begin.group(1), False
            elif re.match(r"(public|protected|private):", line):
                public = line.startswith("public")
            elif line == "};":
                name = None
            elif name in CLASSES and public:
                declared = re.match(r"    [\w:<>*&~ ]*?(~?\w+)\(.*[;{,]$", line)
                if declared and "operator" not in line and "= delete" not in line:
                    self.operations.setdefault(name, set()).add(declared.group(1))

    def read_code(self, text):
        starts = [(match.start(), match.group(1), match.group(2)) for match in DEFINITION.finditer(text)]
        for index, (start, name, operation) in enumerate(starts):
            if name not in CLASSES:
                continue
            end = starts[index + 1][0] if index + 1 < len(starts) else len(text)
            body = text[start:end]
            if "TTML_LOG" in body:
                self.operations.setdefault(name, set()).add(operation)
            for match in MESSAGE.finditer(body):
                message = literal(match.group(2))
                if message:
                    self.messages[name, operation, match.group(1), message] = None
            for match in ASSERTION.finditer(body):
                self.messages[name, operation, "assertion", match.group(1)] = None


class Block:
    """A test, or a helper of tests."""

    def __init__(self, path, name, text):
        self.path, self.name, self.text = path, name, text
        # Literals that are broken over lines are one text.
        self.joined = re.sub(r'"\s*\n\s*"', "", text)
        self.words = set(WORD.findall(text))


def blocks_of(path):
    """The tests of a file, and its helpers: functions, members and constants."""
    # Bodies begin and end in the first column, which is where the next piece does.
    text = re.sub(r"\n\{", " {", path.read_text())
    text = re.sub(r"\n\}", "\n }", text)
    tests, helpers = [], []
    # A comment belongs to what is below it.
    for piece in re.split(r"\n(?=\S)", re.sub(r"(?m)^(//.*)\n(?=\S)", r"\1\n ", text)):
        test = TEST.search(piece)
        if test:
            tests.append(Block(path, "%s.%s" % test.groups(), piece))
            continue
        cases = re.match(r"INSTANTIATE_\w+\(\s*\w+,\s*(\w+)", piece)
        if cases:
            # Its tests name the suite that the cases are of.
            helpers.append(Block(path, cases.group(1), piece))
            continue
        exposed = re.match(r"TTML_EXPOSE(?:_FUNCTION)?\((\w+)", piece)
        if exposed:
            helpers.append(Block(path, exposed.group(1), piece))
            continue
        for part in re.split(r"\n\n", piece):
            for named in NAMED.finditer(part):
                if not {"return", "else", "case", "throw"} & set(named.group(1).split()):
                    helpers.append(Block(path, named.group(2), part))
    return tests, helpers


class Tests:
    """All tests, and what each reaches: itself and the helpers that it uses, also through each other."""

    def __init__(self):
        self.tests, self.helpers, self.closures = [], {}, {}
        for path in files(TESTS, [".cpp", ".h"]):
            tests, helpers = blocks_of(path)
            self.tests += tests
            for helper in helpers:
                self.helpers.setdefault(helper.name, []).append(helper)
        for test in self.tests:
            test.reached = {test}.union(*(self.closure(test.path, word) for word in test.words))

    def of(self, name):
        """The tests of a class, those that are named for it first."""
        return [test for start in CLASSES[name] for test in self.tests if test.path.name.startswith(start)]

    def closure(self, path, name):
        """The helpers that a file's tests reach through a name."""
        # A helper of another file of tests has its name by chance.
        if not any(helper.path == path for helper in self.helpers.get(name, [])):
            path = None
        key = (path, name)
        if key not in self.closures:
            reached, todo, seen = set(), [name], {name}
            while todo:
                for helper in self.helpers.get(todo.pop(), []):
                    if helper.path == path or "Test" not in helper.path.name:
                        reached.add(helper)
                        new = {word for word in helper.words - seen if word in self.helpers}
                        seen |= new
                        todo += new
            self.closures[key] = reached
        return self.closures[key]

    def blocks(self):
        return self.tests + [helper for helpers in self.helpers.values() for helper in helpers]


def shown(names):
    first = "`%s`" % names[0]
    return first if len(names) == 1 else "%s and %d more" % (first, len(names) - 1)


def cell(text):
    return "`%s`" % text.replace("|", "\\|") if text.strip() else ""


def make(gaps):
    library, tests = Library(), Tests()
    lines = [
        "# What each behaviour is pinned by",
        "Made by `Tools/behaviour.py` from the code and the tests; do not edit it. For each operation, refusal "
        "(W: warning, E: error, or an assertion) and message (I) of the library the first test that pins it, and "
        "how many more do. A test pins an operation that it names, and a message that it expects, itself or "
        "through its helpers.",
    ]
    blocks = tests.blocks()

    def pinning(own, has):
        """The tests in which something stands, else those that reach a helper in which it does."""
        direct = [test.name for test in own if has(test)]
        if direct:
            return direct
        holders = {block for block in blocks if has(block)}
        return [test.name for test in own if test.reached & holders]

    for name in sorted(library.operations):
        own = tests.of(name)
        rows, by_operation = [], {}
        for key in (key for key in library.messages if key[0] == name):
            _, operation, level, message = key
            parts = [part.rstrip() for part in fragments(message)] or [message]
            found = pinning(own, lambda block: all(part in block.joined for part in parts))
            by_operation.setdefault(operation, []).extend(found)
            if found:
                rows.append("| %s | %s | `%s` | %s |" % (cell(message), level, operation, shown(found)))
            else:
                gaps.append('message of %s::%s: "%s"' % (name, operation, message))
        lines += ["", "## " + name, "| Operation | Pinned by |", "|---|---|"]
        for operation in sorted(library.operations[name]):
            # Whoever makes an object of the class, or holds one, runs its constructor and destructor.
            word = name if operation.lstrip("~") == name else operation
            found = list(dict.fromkeys(by_operation.get(operation, []) +
                                       pinning(own, lambda block: word in block.words)))
            # That an operation logs its beginning and its end says least of it.
            found.sort(key=lambda test: "Leave" in test and "Enter" in test)
            if found:
                lines.append("| `%s` | %s |" % (operation, shown(found)))
            else:
                gaps.append("operation %s::%s" % (name, operation))
        if rows:
            lines += ["", "| Message | | Of | Pinned by |", "|---|---|---|---|", *rows]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="compare instead of writing")
    options = parser.parse_args()
    gaps = []
    text = make(gaps)
    for gap in gaps:
        print("no test pins the " + gap, file=sys.stderr)
    if options.check:
        if not MAP.exists() or MAP.read_text() != text:
            print("Docs/behaviour.md is not what the tests say; run Tools/behaviour.py", file=sys.stderr)
            return 1
    else:
        MAP.write_text(text)
    return 1 if gaps else 0


if __name__ == "__main__":
    sys.exit(main())
