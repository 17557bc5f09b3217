#!/usr/bin/env python3
"""Prints a header with its plain comments as Doxygen's: those on top, before and behind declarations."""
import pathlib
import re
import sys

BEHIND = re.compile(r'^(?P<code>.*\S.*?)\s*// (?P<text>.*)$')
WHOLE = re.compile(r'^(?P<indent>\s*)//(?P<text> .*|)$')
# What Doxygen would take for its own.
SPECIAL = re.compile(r'[<>@\\#*_]')


def escaped(text):
    pieces = text.split('`')
    return '`'.join(piece if i % 2 else SPECIAL.sub(lambda mark: '\\' + mark.group(), piece)
                    for i, piece in enumerate(pieces))


def main():
    lines = pathlib.Path(sys.argv[1]).read_text(encoding='utf-8').splitlines()
    top, code = True, False
    for number, line in enumerate(lines):
        whole, behind = WHOLE.match(line), BEHIND.match(line)
        indent = whole['indent'] if whole else ''
        shown = whole and (whole['text'].startswith('   ') or (code and not whole['text']))
        if code and not shown:
            print(indent + '/// @endcode')
        if shown and not code:
            print(indent + '/// @code{.unparsed}')
        code = bool(shown)
        alone = number + 1 < len(lines) and not lines[number + 1].strip()
        if shown:
            print(indent + '///' + whole['text'])
        elif whole and top:
            print('///' + (' @file\n///' if number == 0 else '') + escaped(whole['text']))
        elif whole and (whole['text'].startswith(' ----') or alone):
            print(line)  # about what follows as a whole
        elif whole:
            print(indent + '///' + escaped(whole['text']))
        elif behind and behind['code'].endswith((';', ',')):
            print(f"{behind['code']}  ///< {escaped(behind['text'])}")
        else:
            top = top and not line.strip()
            print(line)


main()
