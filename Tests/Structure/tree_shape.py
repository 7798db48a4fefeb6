"""Every class of Sources/ has its pair, public header names are unique, files stay small, parts explain
themselves."""

import re

from source_tree import Path, arguments, code_files, finish, public_headers

MOST_LINES = 700
SAYS_NOTHING = re.compile(r"(^|_)(util|utils|utilities|helper|helpers|common|misc)$", re.IGNORECASE)


def pair_faults(root):
    for header in sorted((root / "Sources").glob("*.h")):
        # A class that falls into topics has a Class_Topic.cpp for each.
        if not (header.with_suffix(".cpp").is_file() or any(header.parent.glob(f"{header.stem}_*.cpp"))):
            yield f"Sources/{header.name}: has no {header.stem}.cpp beside it"
        declared = rf"\b(class|struct|namespace)\s+(TWQT_EXPORT\s+)?{header.stem}\b"
        # A header of constants is named after what their names begin with.
        constants = rf"\bextern\s+const\s+\w+\s+{header.stem}[A-Z]"
        if not re.search(f"{declared}|{constants}", header.read_text(encoding="utf-8")):
            yield f"Sources/{header.name}: declares no {header.stem}"
    for source in sorted((root / "Sources").glob("*.cpp")):
        if not any((source.parent / f"{stem}.h").is_file() for stem in (source.stem, source.stem.split("_")[0])):
            yield f"Sources/{source.name}: has no header"


def name_faults(root):
    seen = {}
    for header in public_headers(root):
        if header.name in seen:
            yield f"{header.relative_to(root)}: has the name of {seen[header.name]}, both are installed flat"
        seen[header.name] = header.relative_to(root)
    for path in code_files(root):
        if SAYS_NOTHING.search(path.stem) or SAYS_NOTHING.search(path.parent.name):
            yield f"{path.relative_to(root)}: the name does not say what is inside"


def size_faults(root):
    for path in code_files(root):
        lines = path.read_text(encoding="utf-8").count("\n")
        if lines > MOST_LINES:
            yield f"{path.relative_to(root)}: {lines} lines, more than {MOST_LINES}"


def readme_faults(root):
    for floor in ("Platform", "Engines"):
        for folder in sorted((root / floor).iterdir()):
            if folder.is_dir() and not (folder / "README.md").is_file():
                yield f"{folder.relative_to(root)}: has no README.md"


def faults(root):
    root = root.resolve()
    found = [*pair_faults(root), *name_faults(root), *size_faults(root), *readme_faults(root)]
    return found, sum(1 for _ in code_files(root))


if __name__ == "__main__":
    finish(*faults(arguments(root=Path).root))
