"""A project outside the tree finds the installed library by its CMake package and by pkg-config, links,
runs and finds the library's texts; the installed program runs from wherever the tree is moved."""

import os
import subprocess
import tempfile

from source_tree import Path, arguments

CONSUMER = Path(__file__).resolve().parent / "Consumer"
GERMAN = {**os.environ, "LANGUAGE": "de", "LC_ALL": "de_DE.UTF-8"}
TEXT = "movie.mov: Beim Export ist ein interner QuickTime-Fehler aufgetreten."


def run(*command, **options):
    print("+", *command, flush=True)
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if result.returncode != 0:
        raise SystemExit(f"{result.stdout}\n{result.stderr}\nexit status {result.returncode}")
    return result.stdout.strip()


def expect(actual, expected, what):
    if actual != expected:
        raise SystemExit(f"{what}: {actual!r} instead of {expected!r}")


def main():
    options = arguments(build=Path, compiler=str, version=str)
    with tempfile.TemporaryDirectory(prefix="twqt-consumer-") as name:
        work = Path(name)
        run("cmake", "--install", options.build, "--prefix", work / "first", cwd=work)
        prefix = work / "moved"
        (work / "first").rename(prefix)

        expect(run(prefix / "bin/twqt", "--version"), f"twqt {options.version}", "the installed program")

        run("cmake", "-S", CONSUMER, "-B", work / "by-package", f"-DCMAKE_PREFIX_PATH={prefix}",
            f"-DCMAKE_CXX_COMPILER={options.compiler}")
        run("cmake", "--build", work / "by-package")
        expect(run(work / "by-package/consumer", env=GERMAN), f"{options.version} {TEXT}", "found by find_package")

        folders = list(prefix.rglob("pkgconfig"))
        environment = {**os.environ, "PKG_CONFIG_PATH": ":".join(map(str, folders))}
        expect(run("pkg-config", "--modversion", "TWQuickTime", env=environment), options.version, "pkg-config")
        flags = run("pkg-config", "--cflags", "--libs", "TWQuickTime", env=environment).split()
        library = next(prefix.rglob("libTWQuickTime.so")).parent
        run(options.compiler, CONSUMER / "main.cpp", "-o", work / "by-pkg-config", *flags, f"-Wl,-rpath,{library}")
        expect(run(work / "by-pkg-config", env=GERMAN), f"{options.version} {TEXT}", "found by pkg-config")


if __name__ == "__main__":
    main()
