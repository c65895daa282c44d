"""The part of scripts/mutate that chooses changes, tries them and tells of them.

usage: mutate.py FOLDER COUNT SEED PART..., where FOLDER has the copied tree and its build.
"""

import concurrent.futures
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import time
from collections import Counter, namedtuple

# ------------------------------------------------------------ what can be changed

Place = namedtuple("Place", "file start end choices")  # part of a file's text, and what it may become

# Operators stand between spaces, so that none is taken for a template's bracket or a reference.
SWAPS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"],
    "&": ["|"], "|": ["&"], "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="], "|=": ["&="], "&=": ["|="],
    "true": ["false"], "false": ["true"], "std::min": ["std::max"], "std::max": ["std::min"],
}
OPERATOR = re.compile(r"(?<=\s)[-+*/%&|<>=!]{1,2}(?=\s)|\b(?:true|false|std::min|std::max)\b")
NEGATION = re.compile(r"(?<![\w)\]])!(?=[\w(:*])|(?<=[(\[{,=\s])-(?=[\w(])")
NUMBER = re.compile(r"(?<![\w.'])(?:\d+\.\d+|\d+(?=[uUlL]*\b)(?!['.x]))")
CONDITION = re.compile(r"\b(if|while) \(")
STATEMENT = re.compile(r"(?:(?<=\{)\s*|(?<=[;}])\s*\n\s*)((?:\+\+|--|\*|\b)[^;{}\s][^;{}]*;)")
NO_STATEMENT = re.compile(
    r"(return|using|typedef|namespace|class|struct|enum|case|default|public|private|protected|if|for|while|do|else"
    r"|switch|try|throw|friend|template|static_assert|goto)\b"
    r"|[^(=\[]*[\w>*&]\s+[\w*&~]"  # a declaration has a type before its name
    r"|.*= (delete|default|0);"
    r"|.*\breserve\(", re.S)

UNINTERESTING = re.compile(
    r"""^\#if\ defined\(_WIN32\).*?(?=^\#else|^\#endif)  # not compiled here
      | ^[ \t]*\#(?:[^\n]*\\\n)*[^\n]*
      | //[^\n]* | /\*.*?\*/
      | "(?:\\.|[^"\\\n])*" | (?<!\d)'(?:\\.|[^'\\\n])+'""", re.S | re.M | re.X)
# All macros of ours log or are static assertions.
UNINTERESTING_CALL = re.compile(r"\b(?:QX_\w+|static_assert)\(")


def blank(text, start, end):
    return text[:start] + re.sub(r"[^\n]", " ", text[start:end]) + text[end:]


def closing(text, opening):
    """Where the bracket at `opening` is closed, and the last semicolon directly in it."""
    depth, semicolon = 0, opening
    for at in range(opening, len(text)):
        depth += (text[at] in "([{") - (text[at] in ")]}")
        if depth == 0:
            return at, semicolon
        if depth == 1 and text[at] == ";":
            semicolon = at
    return len(text), semicolon


def interesting(text):
    """The text with blanks for what makes no difference when it changes."""
    for match in UNINTERESTING.finditer(text):
        text = blank(text, *match.span())
    for match in UNINTERESTING_CALL.finditer(text):
        text = blank(text, match.start(), closing(text, match.end() - 1)[0] + 2)
    return text


def other_numbers(number):
    """One more or less, but of a time or a size, where that would hardly be a fault, half and double."""
    if "." in number:
        return [str(float(number) * 2), str(float(number) / 2)]
    n = int(number)
    if n == 0:
        return ["1"]
    return [str(n * 2), str(n // 2)] if n > 64 else [str(n + 1), str(n - 1)]


def places(file):
    text = file.read_text()
    if "don't edit" in text[:200]:
        return
    code = interesting(text)
    for match in OPERATOR.finditer(code):
        if match.group() in SWAPS:
            yield Place(file, *match.span(), SWAPS[match.group()])
    for match in NEGATION.finditer(code):
        yield Place(file, *match.span(), [""])
    for match in NUMBER.finditer(code):
        around = code[match.start() - 2 : match.start()], code[match.end() : match.end() + 1]
        pure = around == ("= ", ";") and re.search(r"\) (const |noexcept |override )*= $", code[: match.start()])
        default = file.suffix == ".h" and around[0] == "= " and around[1] in ",)"
        if not pure and not default:
            yield Place(file, *match.span(), other_numbers(match.group()))
    for match in CONDITION.finditer(code):
        end, before = closing(code, match.end() - 1)
        start = before + 1 + (code[before + 1] == " ")
        # `while (true)` would only hang.
        yield Place(file, start, end, ["false"] + ["true", f"!({text[start:end]})"] * (match.group(1) == "if"))
    for match in STATEMENT.finditer(code):
        if not NO_STATEMENT.match(match.group(1)):
            yield Place(file, *match.span(1), [";"])


def line_around(text, place):
    return text.rfind("\n", 0, place.start) + 1, text.find("\n", place.end)


def shuffled(found, seed):
    """The places with a choice for each. The order depends on the seed and on each place's own line, so
    that changes to other lines hardly disturb it."""
    same, order = Counter(), []
    for place in found:
        text = place.file.read_text()
        start, end = line_around(text, place)
        name = seed, str(place.file), text[start:end].strip(), place.start - start, place.end - start
        same[name] += 1
        order.append((hashlib.sha256(repr((name, same[name])).encode()).digest(), place))
    for digest, place in sorted(order, key=lambda pair: pair[0]):
        yield place, place.choices[digest[0] % len(place.choices)]


def describe(place, replacement):
    text = place.file.read_text()
    start, end = line_around(text, place)
    before, after = text[start:end], text[start : place.start] + replacement + text[place.end : end]
    number = text.count("\n", 0, place.start) + 1
    return f"{place.file}:{number}: {' '.join(before.split())}  →  {' '.join(after.split())}"


# -------------------------------------------------------------------- who notices

Test = namedtuple("Test", "program name file number")  # its source file, and which of its tests it is

PROGRAMS = {name + "-tests": "tests/" + name for name in ("unit", "share", "c", "host")}


def run(command, **options):
    nothing = subprocess.DEVNULL
    return subprocess.run(command, stdin=nothing, stdout=nothing, stderr=nothing, **options)


def tests_of(program, build):
    """A program's tests. Caches of the library live as long as the process: each runs in one of its own."""
    files = {}
    for file in sorted(pathlib.Path(PROGRAMS[program]).rglob("*.cpp")):
        for suite, name in re.findall(r"^TEST(?:_\w)?\((\w+),\s*(\w+)\)", file.read_text(), re.M):
            files[suite, name] = file
    listed = subprocess.run([build / "bin" / program, "--gtest_list_tests"], capture_output=True, text=True, check=True)
    numbers, suite = Counter(), ""
    for line in listed.stdout.splitlines():
        name = line.split("#")[0].strip()
        if not line.startswith(" "):
            suite = name
            continue
        file = files.get((suite.rstrip(".").split("/")[-1], name.split("/")[0]))
        numbers[file] += 1
        yield Test(program, suite + name, file, numbers[file])


class Judges:
    def __init__(self, tests, build):
        self.build = build
        self.tests = tests
        self.texts = {test.file: test.file.read_text() if test.file else "" for test in tests}
        self.noticed = Counter()  # by file and test
        self.limits = Counter({test: 60 for test in tests})  # in seconds
        seconds, failed = {}, []

        def measure(test):
            start = time.monotonic()
            if self.complaint(test):
                failed.append(test.name)
            seconds[test] = time.monotonic() - start

        self.run_each(measure, tests)
        if failed:
            sys.exit("mutate: these tests fail without a change: " + " ".join(failed))
        # The machine may have more to do later than now.
        self.limits = {test: 3 + 20 * seconds[test] for test in tests}

    @staticmethod
    def run_each(action, tests):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(action, tests))

    def complaint(self, test):
        """What is wrong with a run of the test, if anything."""
        command = [self.build / "bin" / test.program, "--gtest_filter=" + test.name]
        try:
            code = run(command, cwd=self.build / "tests", timeout=self.limits[test]).returncode
            return f"{test.name} fails" if code else None
        except subprocess.TimeoutExpired:
            return f"{test.name} hangs"

    def in_order(self, file):
        """First the tests that noticed a change of the file before, then those that name it, then its
        folder's; from each file of tests one after the other, since its tests are alike."""

        def rank(test):
            text = self.texts[test.file]
            if re.search(rf"\b{file.stem}\b", text):
                nearness = 0
            else:
                nearness = 1 if re.search(file.parent.name, text, re.I) else 2
            return -self.noticed[file, test], nearness, test.number, self.limits[test]

        return sorted(self.tests, key=rank)

    def first_complaint(self, file):
        complaints = []

        def judge(test):
            complaint = None if complaints else self.complaint(test)
            if complaint:
                self.noticed[file, test] += 1
                complaints.append(complaint)

        self.run_each(judge, self.in_order(file))
        return complaints[0] if complaints else None


# ---------------------------------------------------------------------- the round


def compiles(build):
    return run(["cmake", "--build", build, "-j", str(os.cpu_count()), "--target", *PROGRAMS]).returncode == 0


def binaries(build):
    return [hashlib.sha256(file.read_bytes()).digest() for file in sorted((build / "bin").glob("*-*"))]


def main():
    folder, count, seed = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2]), sys.argv[3]
    build = folder / "build"
    os.chdir(folder / "tree")
    if "platform" in "".join(sys.argv[4:]):
        PROGRAMS["platform-tests"] = "tests/platform"
    files = [file for part in sys.argv[4:] for file in sorted(pathlib.Path(part).rglob("*.[ch]*"))]
    changes = shuffled([place for file in files if file.suffix in (".h", ".cpp") for place in places(file)], seed)
    if not compiles(build):
        sys.exit("mutate: the tree does not compile")
    unchanged = binaries(build)
    judges = Judges([test for program in PROGRAMS for test in tests_of(program, build)], build)
    results, began = Counter(), time.monotonic()
    with open(folder / "log", "w") as log:
        for place, replacement in changes:
            if results["found"] + results["unnoticed"] >= count:
                break
            start, complaint = time.monotonic(), None
            text, description = place.file.read_text(), describe(place, replacement)
            place.file.write_text(text[: place.start] + replacement + text[place.end :])
            try:
                if not compiles(build):
                    result = "does not compile"
                elif binaries(build) == unchanged:
                    result = "same program"
                else:
                    complaint = judges.first_complaint(place.file)
                    result = "found" if complaint else "unnoticed"
            finally:
                place.file.write_text(text)
            results[result] += 1
            if result == "unnoticed":
                print(description, flush=True)
            print(f"{result}, {time.monotonic() - start:.0f} s, {complaint}: {description}", file=log, flush=True)
    print(
        f"{results['found'] + results['unnoticed']} changes in {time.monotonic() - began:.0f} s: "
        f"{results['found']} found, {results['unnoticed']} unnoticed; "
        f"besides {results['does not compile']} did not compile, {results['same program']} made the same program"
    )


main()
