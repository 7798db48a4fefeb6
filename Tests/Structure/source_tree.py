"""The source tree as the structure tests see it: its files, its floors, its includes."""

import argparse
import re
import sys
from pathlib import Path

CODE_FOLDERS = ["Engines", "Platform", "Sources", "Tools", "Tests", "Examples", "Benchmarks", "Fuzzers"]
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.MULTILINE)

# Headers of the C++ standard library and its C part, which installed headers may use.
STANDARD_HEADERS = frozenset("""
algorithm any array atomic barrier bit bitset charconv chrono compare complex concepts
condition_variable coroutine deque exception execution filesystem forward_list fstream functional
future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map
memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex
scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token
streambuf string string_view strstream syncstream system_error thread tuple type_traits typeindex
typeinfo unordered_map unordered_set utility valarray variant vector version
cassert cctype cerrno cfenv cfloat cinttypes climits clocale cmath csetjmp csignal cstdarg cstddef
cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype
""".split())

# Headers of the C library and the kernel, which implementations may use besides.
SYSTEM_HEADERS = re.compile(
    r"^(sys|linux|asm|net|netinet|arpa)/.*|^(aio|dirent|dlfcn|endian|errno|fcntl|fnmatch|ftw|glob|grp|"
    r"langinfo|libgen|limits|locale|malloc|math|mntent|nl_types|poll|pthread|pwd|sched|setjmp|signal|"
    r"spawn|stdint|stdio|stdlib|string|strings|syslog|termios|time|unistd|utime|wchar|wctype|cxxabi)\.h$")


def code_files(root):
    """Every source and header file, in a stable order."""
    for folder in CODE_FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".cpp", ".h") and path.is_file():
                yield path


def public_headers(root):
    """The headers that are installed."""
    return sorted([*root.glob("Platform/*/*.h"), *root.glob("Sources/*.h")])


def includes(path):
    """Pairs of (is quoted, name) for every include line."""
    for match in INCLUDE.finditer(path.read_text(encoding="utf-8")):
        yield match.group(1) == '"', match.group(2)


def arguments(**options):
    """Parses --name value for each name; the value is its type."""
    parser = argparse.ArgumentParser()
    for name, kind in options.items():
        parser.add_argument("--" + name.replace("_", "-"), type=kind, required=True)
    return parser.parse_args()


def finish(faults, looked_at):
    """Prints the faults, one a line, and ends the test."""
    for fault in faults:
        print(fault)
    if not looked_at:
        print("nothing was found to look at")
    print(f"{looked_at} looked at, {len(faults)} faults")
    sys.exit(1 if faults or not looked_at else 0)


__all__ = ["Path", "STANDARD_HEADERS", "SYSTEM_HEADERS", "arguments", "code_files", "finish", "includes",
           "public_headers"]
