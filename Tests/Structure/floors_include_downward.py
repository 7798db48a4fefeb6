"""Calls run downward only: Sources on Platform on Engines, and installed headers stand alone."""

from source_tree import (Path, STANDARD_HEADERS, SYSTEM_HEADERS, arguments, code_files, finish,
                         includes, public_headers)

# What looks at every floor, as it must.
UNBOUND = ("Tests", "Fuzzers", "Benchmarks")


def floor_of(root, path):
    return path.relative_to(root).parts[0]


def is_private(name):
    return "Private" in Path(name).parts


def resolve(root, path, name, public_by_name):
    """The file that a quoted include means: beside it, from the root or its floor's parts, or a public
    header by name."""
    floor = root / floor_of(root, path)
    for candidate in (path.parent / name, root / name, floor / name, *(part / name for part in sorted(floor.iterdir()))):
        if candidate.is_file():
            return candidate.resolve()
    return public_by_name.get(name)


def faults_of_quoted(root, path, name, public_by_name):
    target = resolve(root, path, name, public_by_name)
    floor = floor_of(root, path)
    if target is None:
        return None if floor in UNBOUND else f'includes "{name}", which is not in the tree'
    below = floor_of(root, target)
    private = is_private(target.relative_to(root))
    own_part = target.relative_to(root).parts[:2] == path.relative_to(root).parts[:2]
    if floor == "Engines":
        if below != "Engines":
            return f'an engine includes "{name}" of {below}/'
        if private and not own_part:
            return f'includes "{name}", private to another engine'
    elif floor == "Platform":
        if below not in ("Platform", "Engines"):
            return f'the platform includes "{name}" of {below}/'
        if below == "Engines" and private:
            return f'includes "{name}", private to an engine'
        parts = path.relative_to(root).parts
        if parts[1] == "Foundation" and below == "Platform" and not own_part:
            return f'the foundation includes "{name}" of another part of the platform'
        if below == "Engines" and path in public_by_name.values():
            return f'an installed header includes the engine header "{name}"'
        if private and path in public_by_name.values():
            return f'an installed header includes the private header "{name}"'
    elif floor in ("Sources", "Tools", "Examples"):
        allowed = {"Sources": ("Sources", "Platform"), "Tools": ("Tools", "Sources", "Platform"),
                   "Examples": ("Examples", "Sources", "Platform")}[floor]
        if below not in allowed:
            return f'includes "{name}" of {below}/'
        if private and below != floor:
            return f'includes the private header "{name}"'
    return None


def faults_of_angled(root, path, name, public_by_name):
    if name.startswith("TWQuickTime/"):
        return None if floor_of(root, path) in ("Examples", "Tools", "Tests") else f"includes <{name}>, itself installed"
    if name in STANDARD_HEADERS:
        return None
    if path in public_by_name.values():
        return f"an installed header includes <{name}>, which is not of the standard library"
    if floor_of(root, path) == "Sources" and not SYSTEM_HEADERS.match(name):
        return f"Sources/ includes <{name}>, which belongs behind the platform"
    if (floor_of(root, path) == "Engines" and path.suffix == ".h" and not is_private(path)
            and not SYSTEM_HEADERS.match(name)):
        return f"an engine's header includes <{name}>, which belongs into its Private/ part or its .cpp"
    return None


def faults(root):
    root = root.resolve()
    public_by_name = {header.name: header for header in public_headers(root)}
    found, count = [], 0
    for path in code_files(root):
        count += 1
        for quoted, name in includes(path):
            check = faults_of_quoted if quoted else faults_of_angled
            fault = check(root, path, name, public_by_name)
            if fault:
                found.append(f"{path.relative_to(root)}: {fault}")
    return found, count


if __name__ == "__main__":
    finish(*faults(arguments(root=Path).root))
