#!/usr/bin/env python3
"""check_style.py [--fix] [file...]: what clang-format can't check.

Includes come in blocks, separated by blank lines: the source's own header, the project's headers,
those of others. Comments of sources begin with //, not ///, which marks declarations that
others read.
"""
import os
import re
import subprocess
import sys

INCLUDE = re.compile(r'#include [<"]([^>"]+)[>"]')


def is_project(line):
    return '"' in line or line.startswith('#include <velm/')


def is_own(line, path):
    name = os.path.splitext(INCLUDE.match(line).group(1))[0]
    return '"' in line and path.endswith('.cpp') and path[:-4].endswith(name)


def ordered(lines, path):
    """The lines with their first run of includes in order, which anything else ends."""
    first = next((i for i, line in enumerate(lines) if line.startswith('#include')), None)
    if first is None:
        return lines
    end = first
    while end < len(lines) and (not lines[end] or INCLUDE.match(lines[end])):
        end += 1
    includes = [line for line in lines[first:end] if line]
    kinds = [is_project(line) for line in includes]
    blocks = [{is_project(line) for line in block.split('\n')}
              for block in re.split('\n\n+', '\n'.join(lines[first:end]).strip('\n'))]
    if kinds == sorted(kinds, reverse=True) and all(len(block) == 1 for block in blocks):
        return lines
    own = [line for line in includes[:1] if is_own(line, path)]
    project = sorted(line for line in includes[len(own):] if is_project(line))
    others = sorted(line for line in includes[len(own):] if not is_project(line))
    result = []
    for block in (own, project, others):
        if block:
            result += block + ['']
    return lines[:first] + result + lines[end:]


def plain_comments(lines, path):
    if not path.endswith('.cpp'):
        return lines
    return [re.sub(r'(^|\s)///<?(?= |$)', r'\1//', line) for line in lines]


def main():
    fix = '--fix' in sys.argv
    files = [a for a in sys.argv[1:] if a != '--fix'] or subprocess.run(
        ['git', 'ls-files', '--', '*.h', '*.cpp'], capture_output=True, text=True,
        check=True).stdout.split()
    bad = 0
    for path in files:
        with open(path, encoding='utf-8') as file:
            lines = file.read().split('\n')
        for what, change in (('includes', ordered), ('comment marks', plain_comments)):
            changed = change(lines, path)
            if changed != lines:
                lines = changed
                bad += 1
                if not fix:
                    print(f'{path}: {what}')
        if fix:
            with open(path, 'w', encoding='utf-8') as file:
                file.write('\n'.join(lines))
    if bad and not fix:
        print(f'{bad} faults; scripts/check_style.py --fix mends them')
        sys.exit(1)
    print(f'style: {len(files)} files')


main()
