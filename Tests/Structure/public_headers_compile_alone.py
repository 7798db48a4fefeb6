"""Every installed header compiles as the first and only include of a file, and all of them in one."""

import os
import subprocess
from concurrent.futures import ThreadPoolExecutor

from source_tree import Path, arguments, finish, public_headers


def complaint(compiler, folders, headers):
    """What the compiler says about a file of these includes, "" when it is content."""
    program = "".join(f'#include "{header.name}"\n' for header in headers)
    command = [compiler, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
               *[f"-I{folder}" for folder in folders], "-x", "c++", "-"]
    result = subprocess.run(command, input=program, capture_output=True, text=True)
    return "" if result.returncode == 0 else f"{headers[0]} …:\n{result.stderr}"


def faults(root, compiler):
    headers = public_headers(root)
    folders = sorted({header.parent for header in headers})
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        files = [headers, *([header, header] for header in headers)]
        messages = pool.map(lambda includes: complaint(compiler, folders, includes), files)
    return [message for message in messages if message], len(headers)


if __name__ == "__main__":
    options = arguments(root=Path, compiler=str)
    finish(*faults(options.root, options.compiler))
