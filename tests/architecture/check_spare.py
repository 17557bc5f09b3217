#!/usr/bin/env python3
"""Fails when the product holds functions that nothing but tests could want.

  usage: check_spare.py SOURCE_ROOT SPARE_LIST OBJECT_OR_ARCHIVE...

A function is wanted when something else in the product refers to it (the program, a library under it,
a table of virtual functions) or when a header of the library's users declares it. What is kept
although nobody asks for it yet stands in SPARE_LIST: a name and the reason, a line each; a line there
without a reason is a fault, and so is one that names no spare function (any more).

Two looks are taken. The symbols of the objects tell overloads apart; what a compiler has put into its
callers leaves no symbol, so that a name which occurs in the sources once more than it is declared and
defined passes. Inline functions of headers leave no symbol either; of these the sources alone tell.
"""
import collections
import pathlib
import re
import subprocess
import sys

ROOMS = ('platform', 'mapi', 'pstfile', 'mime', 'convert', 'engine', 'sources', 'pst', 'carry', 'moves', 'factory',
         'desk', 'parvane', 'app', 'cli')
# What the library's users see (cmake/Library.cmake), but for what these headers merely include.
PUBLIC = re.compile(r'^(engine/\w+|factory/\w+|mapi/(?!\w*_recorder)\w+|mime/facade/ts_\w+'
                    r'|pstfile/check/integrity_checker|pst/disk_utilities|parvane/(convert|options|c_api))\.h$')
COMMENT_OR_TEXT = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.S)
WORD = re.compile(r'\b[A-Za-z_]\w*\b')
# A declaration or definition: a type, the name perhaps with its class, an opening parenthesis.
DECLARED = re.compile(r'^(?![ \t]*(?:return|else|throw|new|delete|case|default|using)\b)'
                      r'[\w:<>,&*\[\] \t]*[\w>&*\]][ \t*&]+(?:\w+::)*(~?[A-Za-z_]\w*)\(', re.M)
RELOCATION = re.compile(r'^[0-9a-f]+ +[0-9a-f]+ +R_\S+ +(?:[0-9a-f]+ )?([\w.$@]+)')


def code_of(path):
    return COMMENT_OR_TEXT.sub(' ', path.read_text(encoding='utf-8'))


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def unreferenced(objects):
    """The demangled names of global functions that no relocation of a product object names."""
    defined, referenced = set(), set()
    for line in run('nm', '--defined-only', *objects).splitlines():
        parts = line.split()
        if len(parts) == 3 and parts[1] == 'T':
            defined.add(parts[2])
    section = ''
    for line in run('readelf', '-rW', *objects).splitlines():
        if line.startswith('Relocation section'):
            section = line.split("'")[1]
        elif not section.startswith(('.rela.debug', '.rela.eh_frame', '.rel.debug')):
            match = RELOCATION.match(line)
            if match:
                referenced.add(match.group(1).split('@')[0])
    names = sorted(defined - referenced)
    return run('c++filt', *names).splitlines() if names else []


def short_name(demangled):
    name = re.sub(r'\[abi:\w+\]', '', demangled).split('(')[0]
    return name.split('::')[-1].split('<')[0]


def main():
    root = pathlib.Path(sys.argv[1])
    reasons = {}
    for line in pathlib.Path(sys.argv[2]).read_text(encoding='utf-8').splitlines():
        if line.strip() and not line.startswith('#'):
            name, _, reason = line.partition(' ')
            reasons[name] = reason.strip()
    words, declared, public = collections.Counter(), collections.Counter(), set()
    where = {}
    for room in ROOMS + ('examples',):
        for path in sorted((root / room).rglob('*')):
            if path.suffix not in ('.h', '.cpp', '.def'):
                continue
            code = code_of(path)
            words.update(WORD.findall(code))
            found = DECLARED.findall(code)
            declared.update(found)
            name = path.relative_to(root).as_posix()
            if path.suffix == '.h':
                for function in found:
                    where.setdefault(function, name)
            if PUBLIC.match(name):
                public.update(found)
    spare = {}
    for function in unreferenced(sys.argv[3:]):
        name = short_name(function)
        if name in ('main', 'operator=') or name.startswith('~') or name in public or words[name] > declared[name]:
            continue
        spare[name] = function
    for name, header in where.items():
        if name not in public and not name.startswith('~') and words[name] <= declared[name]:
            spare.setdefault(name, f'{name} ({header})')
    faults = [f'{function}: nobody but tests wants it' for name, function in sorted(spare.items())
              if name not in reasons]
    faults += [f'{name}: listed as spare without a reason' for name in sorted(reasons) if not reasons[name]]
    # By the sources alone: what a symbol says depends on the compiler.
    faults += [f'{name}: listed as spare, but it is not; its line can go' for name in sorted(set(reasons) - set(spare))
               if not declared[name] or name in public or words[name] > declared[name]]
    for fault in faults:
        print(fault)
    print(f'{len(spare)} spare functions, {len(faults)} faults')
    # Without words there were no sources: a wrong root, not a clean house.
    return 1 if faults or not words else 0


if __name__ == '__main__':
    sys.exit(main())
