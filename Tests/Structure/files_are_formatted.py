"""Every source file is as clang-format leaves it."""

import subprocess

from source_tree import Path, arguments, code_files, finish

if __name__ == "__main__":
    options = arguments(root=Path, clang_format=str)
    files = list(code_files(options.root))
    command = ["xargs", "-0", "-P", "2", "-n", "16", options.clang_format, "--dry-run", "-Werror"]
    result = subprocess.run(command, input="\0".join(map(str, files)), capture_output=True, text=True, cwd=options.root)
    finish([line for line in result.stderr.splitlines() if "error:" in line] or
           ([result.stderr] if result.returncode else []), len(files))
