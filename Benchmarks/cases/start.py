"""How long the program takes to begin."""

from case import Case, at_most, expect


def check(bench):
    expect(bench.output_of(bench.twqt, "--version").startswith("twqt "), "no version was printed")


CASES = [Case(name="start", title="start of `twqt --version`",
              ours=lambda bench: [bench.twqt, "--version"], check=check, goals=[at_most("milliseconds", 15)])]
