#!/usr/bin/env python3
"""Writes the linker's version script of the shared library: visible is what public headers declare.

  usage: public_symbols.py MAP HEADER...

A name is visible by its namespace and itself: functions as they are called, classes with their members,
tables of virtual functions and type information. Of C headers (extern "C") the functions.
"""
import pathlib
import re
import sys

COMMENT = re.compile(r'//[^\n]*|/\*.*?\*/', re.S)
NAMESPACE = re.compile(r'^namespace ([\w:]+) \{(.*?)^\}[ \t]*$', re.M | re.S)
C_BLOCK = re.compile(r'^extern "C" \{(.*?)^\}[ \t]*$', re.M | re.S)
TYPE = re.compile(r'^(?:class|struct) (\w+)[^;{]*\{', re.M)
FUNCTION = re.compile(r'^(?!inline|constexpr|template|using|typedef|static|struct|class|enum|#| |\})[^\n(=]*?\b(\w+)\(', re.M)


def patterns(text):
    """As the linker reads them: a glob stands without quotation marks, which leaves no room for ( and space."""
    for namespace, body in NAMESPACE.findall(text):
        for name in TYPE.findall(body):
            yield f'{namespace}::{name}::*'
            for table in ('vtable', 'VTT', 'typeinfo', 'typeinfo name'):
                yield f'"{table} for {namespace}::{name}"'
                yield f'{table.replace(" ", "?")}?for?{namespace}::{name}::*'
        for name in FUNCTION.findall(body):
            yield f'{namespace}::{name}[!a-zA-Z0-9_]*'


def main():
    target, *headers = map(pathlib.Path, sys.argv[1:])
    cpp, c = set(), set()
    for header in headers:
        text = COMMENT.sub('', header.read_text(encoding='utf-8'))
        cpp.update(patterns(text))
        for body in C_BLOCK.findall(text):
            c.update(FUNCTION.findall(body))
    lines = ['{', '  global:', *(f'    {name};' for name in sorted(c)), '    extern "C++" {',
             *(f'      {pattern};' for pattern in sorted(cpp)), '    };', '  local: *;', '};', '']
    target.write_text('\n'.join(lines), encoding='utf-8')


main()
