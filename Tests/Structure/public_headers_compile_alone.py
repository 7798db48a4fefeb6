"""Every installed header compiles as the first and only include of a file."""

import os
import subprocess
from concurrent.futures import ThreadPoolExecutor

from source_tree import Path, arguments, finish, public_headers


def compile_alone(compiler, folders, header):
    """What the compiler says about the header included twice and nothing before it; "" when it is content."""
    program = f'#include "{header.name}"\n#include "{header.name}"\n'
    command = [compiler, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
               *[f"-I{folder}" for folder in folders], "-x", "c++", "-"]
    result = subprocess.run(command, input=program, capture_output=True, text=True)
    return "" if result.returncode == 0 else f"{header}:\n{result.stderr}"


def faults(root, compiler):
    headers = public_headers(root)
    folders = sorted({header.parent for header in headers})
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        messages = pool.map(lambda header: compile_alone(compiler, folders, header), headers)
    return [message for message in messages if message], len(headers)


if __name__ == "__main__":
    options = arguments(root=Path, compiler=str)
    finish(*faults(options.root, options.compiler))
