#!/usr/bin/env python3
"""test_ratio.py: prints the lines of the tests beside those of the code (blank lines and comments left
out), and fails outside 20 to 35 in 100."""
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TESTS = ("tests/", "fuzz/")
NEITHER = ("bench/", "examples/")


def lines(path):
    text = (line.strip() for line in (ROOT / path).read_text().splitlines())
    return sum(1 for line in text if line and not line.startswith("//"))


def main():
    listed = subprocess.run(["git", "ls-files", "--", "*.h", "*.cpp"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split()
    tests = sum(lines(path) for path in listed if path.startswith(TESTS))
    code = sum(lines(path) for path in listed if not path.startswith(TESTS + NEITHER))
    share = 100 * tests / (tests + code)
    print(f"test ratio: {tests} lines of tests, {code} of code; tests are "
          f"{100 * tests / code:.1f} in 100 of the code, {share:.1f} in 100 of both")
    return 0 if 20 <= 100 * tests / code <= 35 else 1


if __name__ == "__main__":
    sys.exit(main())
