#!/usr/bin/env python3
"""check_docs.py BUILD_DIR: the code blocks of README.md and docs/ are compiled against that build.

A block marked `cpp` is a whole file: with a main function it is linked and run, and a block marked
`text output` that follows must be what it printed. `cpp fragment` is the inside of a function that
has seen velm/velm.h. `cmake` is a CMakeLists.txt that finds the installed package (left by
check_consumers.sh) and builds the last whole program of its page. `sh` is parsed by bash, and the
files of the project that it starts must exist.

What is missing or faulty is claimed in one list, the section "State" of docs/architecture.md: the
words of such a claim on any other page or section are faults."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
FENCE = re.compile(r"^```(\S*)[ \t]*(.*)\n((?:.*\n)*?)```[ \t]*$", re.MULTILINE)
CLAIM = re.compile(r"\bto come\b|\bnot yet\b|\bon (?:its|their) way\b|\bknown faults?\b|\bso far:|"
                   r"\b(?:un|not )implemented\b|\bTODO\b", re.IGNORECASE)
STATE = re.compile(r"^## State\n(?:(?!^## ).*\n)*", re.MULTILINE)
FLAGS = ["-std=c++20", "-Wall", "-Wextra", "-Werror", "-ffp-contract=off", "-I", str(ROOT)]


class Fault(Exception):
    """A block that does not hold what it says."""


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if done.returncode != 0:
        raise Fault(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


class Page:
    """One document, its blocks checked in order in a folder of their own."""

    def __init__(self, path, build, folder):
        self.text = path.read_text()
        self.build = build
        self.folder = folder
        self.program = None
        self.printed = None

    def check(self, language, mark, code):
        if language == "cpp" and mark == "fragment":
            body = "#include <velm/velm.h>\n#include <iostream>\nvoid fragment();\nvoid fragment() {\n"
            self.compile(body + code + "}\n", link=False)
        elif language == "cpp":
            self.compile(code, link="int main(" in code)
        elif (language, mark) == ("text", "output"):
            if self.printed != code:
                raise Fault(f"the program before it printed\n{self.printed}")
        elif language == "cmake":
            self.configure(code)
        elif language == "sh":
            run("bash", "-n", "-c", code)
            for script in re.findall(r"^(?:\./)((?:[\w.-]+/)*[\w.-]+\.sh)\b", code, re.MULTILINE):
                if not (ROOT / script).exists():
                    raise Fault(f"there is no {script}")

    def compile(self, code, link):
        source = self.folder / "host.cpp"
        source.write_text(code)
        compiler = os.environ.get("CXX", "g++")
        if not link:
            run(compiler, *FLAGS, "-fsyntax-only", "-Wno-unused", source)
            return
        program = self.folder / "host"
        run(compiler, *FLAGS, source, f"-L{self.build}", f"-Wl,-rpath,{self.build}", "-lvelm", "-o",
            program)
        self.program = code
        self.printed = run(program, cwd=self.folder)

    def configure(self, code):
        project = self.folder / "cmake"
        project.mkdir(exist_ok=True)
        (project / "host.cpp").write_text(self.program or "int main() {}\n")
        (project / "CMakeLists.txt").write_text(code)
        prefix = ROOT / "build/consumers/prefix"
        run("cmake", "-S", project, "-B", project / "build", f"-DCMAKE_PREFIX_PATH={prefix}")
        run("cmake", "--build", project / "build")


def claims(path):
    """Lines outside the list of the state that claim something about it."""
    text = path.read_text()
    if path.name == "architecture.md":
        listed = STATE.search(text)
        if listed is None:
            return [(1, "has no section State")]
        text = text.replace(listed.group(), "\n" * listed.group().count("\n"))
    # A claim may be broken over two lines, so it is sought where line ends are blanks.
    text = FENCE.sub(lambda block: "\n" * block.group().count("\n"), text)
    return [(text.count("\n", 0, found.start()) + 1, f'"{found.group()}" belongs in the list of the state')
            for found in CLAIM.finditer(text.replace("\n", " "))]


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    pages = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").glob("*.md"))]
    blocks, faults = 0, 0
    for path in [*pages, ROOT / "CHANGELOG.md"]:
        for line, fault in claims(path):
            print(f"{path.relative_to(ROOT)}:{line}: {fault}")
            faults += 1
    for path in pages:
        with tempfile.TemporaryDirectory() as folder:
            page = Page(path, build, pathlib.Path(folder))
            for block in FENCE.finditer(page.text):
                blocks += 1
                try:
                    page.check(*block.groups())
                except Fault as fault:
                    line = page.text.count("\n", 0, block.start()) + 1
                    print(f"{path.relative_to(ROOT)}:{line}: {fault}")
                    faults += 1
    print(f"documents: {len(pages)} pages, {blocks} blocks, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
