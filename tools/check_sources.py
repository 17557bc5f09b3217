#!/usr/bin/env python3
"""Fails when a source file breaks a rule of the house that the build cannot see.

  usage: check_sources.py SOURCE_ROOT

The include views stop a room from including a room it may not. What they let through:

  - a platform conditional (_WIN32, __linux__ ...) or a header of the operating system outside
    platform/;
  - what only GNU compilers take, outside platform/: the sources are for others too;
  - an include that walks around the views ("../pstfile/x.h", "x.h" beside the file);
  - the facade's own headers outside mime/facade/: what stands behind its objects, other rooms reach
    through mime/facade/library_access.h;
  - an include that the table of docs/architecture.md has no arrow for: a target inherits the views of
    the rooms that others need, the program those of all of them;
  - threads of its own, outside app/ and platform/: the engine works on its caller's one thread (locks are
    allowed: objects of the mail library may be used from several threads). What platform/background_task.h
    offers is for those that docs/architecture.md names.

And how one hand writes:

  - x.cpp includes x.h first, so that the header is known to compile alone (tests/architecture compiles
    those that have no source file);
  - a header says what it is for before anything else, and is read once (#pragma once);
  - a file has one idea: file names are lower_snake, no file is longer than 400 lines, no function longer
    than 60, but for those named below;
  - what hangs on an `if`, `for` or `while` has braces where both together take more than two lines;
  - a Result is held as auto: the function that is called says of what;
  - every namespace is one of the room's (docs/mime.md tells where the settled ones come from).
"""
import pathlib
import re
import sys

ROOMS = ('platform', 'archives', 'mapi', 'pstfile', 'mime', 'convert', 'engine', 'sources', 'pst', 'carry', 'moves',
         'factory', 'desk', 'parvane', 'app', 'cli')

CONDITIONAL = re.compile(
    r'^\s*#\s*(?:el)?if.*\b(_WIN32|_WIN64|__MINGW\d*__|__linux__|__unix__|__APPLE__|_MSC_VER|__GNUC__)\b')
GNU_ONLY = re.compile(
    r'\b(__attribute__|__builtin_\w+|__int128|__extension__|__typeof__|typeof|__PRETTY_FUNCTION__)\b'
    r'|^\s*#\s*pragma\s+GCC|^\s*#\s*include\s*<bits/')
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]')
SYSTEM_HEADER = re.compile(
    r'^(sys/|netinet/|arpa/|unistd\.h|fcntl\.h|dirent\.h|dlfcn\.h|signal\.h|csignal|pthread\.h|termios\.h'
    r'|poll\.h|windows\.h|Windows\.h|io\.h|winsock2?\.h|unicode/)')
THREAD_HEADER = re.compile(r'^(thread|future|condition_variable|pthread\.h)$')

FACADE = 'mime/facade/'
FACADES_OWN = re.compile(rf'^{FACADE}(arguments|cls_\w+|implementation|operation_log)\.h$')

FILE_NAME = re.compile(r'^[a-z0-9]+(_[a-z0-9]+)*\.(h|cpp)$')
LONGEST_FILE = 400
LONG_FILES = {
    'mime/charset_rows.h': 'one table',
    'pstfile/ltp/property_list.cpp': 'one structure, read and written',
}
LONGEST_FUNCTION = 60

# Settled names of the engine and of the mail library; all else is parvane::ROOM.
SETTLED = ('QuelmarMIMEEngineCommon', 'CWLEngine', 'QuelmarDiskUtilities', 'Tessary')
NAMESPACE = re.compile(r'^(?:inline )?namespace ([A-Za-z_][\w:]*) \{')
# Of a room, where that is not its folder's name.
OWN_NAMESPACE = {'mapi/builtin': 'parvane::mapi', 'mime': 'Tessary', 'mime/tnef': 'parvane::tnef'}
INNER = re.compile(r'^(?:\w+)$')

RESULT = re.compile(r'^ *(?:(?:if|for) \()?(?:const )?(?:platform::)?Result<[^;=()]*> \w+ = ')
BLOCK = re.compile(r'^( {0,6})(?!namespace\b|class\b|struct\b|enum\b|union\b|extern\b|template\b)\S.*\{$')
HANGS = re.compile(r'^ *(?:\} )?(?:else if|if|for|while|else)\b')
BLOCK_END = re.compile(r'^( {0,6})\}')


def arrows_of(root):
    """What each room may include, as the table of docs/architecture.md says."""
    table = (root / 'docs/architecture.md').read_text(encoding='utf-8')
    rows = re.findall(r'^\| `([\w/]+)/` \|.*\|([^|]*)\|$', table, re.M)
    return {room: set(re.findall(r'`([\w/.]+)`', may)) for room, may in rows}


def room_of(name, arrows):
    return max((room for room in arrows if name.startswith(room + '/')), key=len, default=None)


def document_faults(root):
    """Files that the document names and that are not there, and files of the program that it lacks."""
    text = (root / 'docs/architecture.md').read_text(encoding='utf-8')
    for path in re.findall(r'`([\w.]+(?:/[\w.]+)*\.\w+)`', text):
        if not (root / path).exists():
            yield f'docs/architecture.md: {path} is not there'
    for room, title in (('desk', '## What front ends share'), ('cli', '## The program')):
        section = text.split(title)[1].split('\n## ')[0]
        named = {name for row in re.findall(r'^\| (`.*?) \|', section, re.M)
                 for name in re.findall(r'`(\w+)`', row)}
        there = {path.stem for path in (root / room).iterdir() if path.suffix in ('.h', '.cpp')}
        for name in sorted(named ^ there):
            fault = 'missing' if name in there else 'not there'
            yield f'docs/architecture.md: {name} of {room}/ is {fault}'


def include_faults(path, name, room, arrows, lines):
    first = True
    for number, line in enumerate(lines, 1):
        if room != 'platform' and CONDITIONAL.match(line):
            yield number, 'platform conditional outside platform/', line
        if room != 'platform' and GNU_ONLY.search(line):
            yield number, 'only GNU compilers take this', line
        match = INCLUDE.match(line)
        if not match:
            continue
        quoted, header = match.group(1) == '"', match.group(2)
        own = path.with_suffix('.h')
        if first and path.suffix == '.cpp' and own.exists() and header.split('/')[-1] != own.name:
            yield number, 'its own header does not come first', line
        first = False
        if room not in ('app', 'platform') and THREAD_HEADER.match(header):
            yield number, 'threads are not used here', line
        if room != 'platform' and not quoted and SYSTEM_HEADER.match(header):
            yield number, "operating system's header outside platform/", line
        if quoted and (header.startswith('.') or header.split('/')[0] not in ROOMS):
            yield number, 'include that does not start with a room', line
        if quoted and FACADES_OWN.match(header) and not name.startswith(FACADE):
            yield number, 'a header of the facade alone', line
        if quoted:
            here, there = room_of(name, arrows), room_of(header, arrows)
            if there != here and there not in arrows[here] and header not in arrows[here]:
                yield number, f'docs/architecture.md has no arrow from {here}/ to it', line


def size_faults(name, lines):
    if len(lines) > LONGEST_FILE and name not in LONG_FILES:
        yield len(lines), f'longer than {LONGEST_FILE} lines: look for the second idea', name
    begun = {}
    for number, line in enumerate(lines, 1):
        match = BLOCK.match(line)
        if match and not line.endswith('= {'):
            begun[match.group(1)] = number
        match = BLOCK_END.match(line)
        if match and match.group(1) in begun:
            start = begun.pop(match.group(1))
            if number - start - 1 > LONGEST_FUNCTION:
                yield start, f'longer than {LONGEST_FUNCTION} lines: name its steps', lines[start - 1]


def brace_faults(lines):
    for number, line in enumerate(lines, 1):
        if not HANGS.match(line) or line.endswith(('{', ';')):
            continue
        end = next((i for i, later in enumerate(lines[number:], 1) if later.endswith(('{', ';'))), 0)
        if end > 1 and lines[number + end - 1].endswith(';'):
            yield number, 'braces around what takes more than one line', line


def failure_faults(lines):
    for number, line in enumerate(lines, 1):
        if RESULT.match(line):
            yield number, 'a Result is held as auto', line


def namespace_faults(name, room, lines):
    folder = name.rsplit('/', 1)[0]
    own = next((OWN_NAMESPACE[f] for f in (folder, room) if f in OWN_NAMESPACE), 'parvane::' + room)
    for number, line in enumerate(lines, 1):
        match = NAMESPACE.match(line)
        if not match:
            continue
        space = match.group(1)
        outer = space.split('::')[0]
        if space == own or space.startswith(own + '::') or outer in SETTLED:
            continue
        # A declaration of another room's class, or a name inside the room's own.
        if line.rstrip().endswith('}') or INNER.match(space):
            continue
        following = lines[number] if number < len(lines) else ''
        if re.match(r'^(class|struct|enum class) \w+( : \w+)?;', following):
            continue
        yield number, f'not a namespace of {room}/', line


def faults_of(path, name, room, arrows):
    lines = path.read_text(encoding='utf-8').splitlines()
    if not FILE_NAME.match(path.name):
        yield 1, 'file names are lower_snake', path.name
    if path.suffix == '.h':
        if not lines or not lines[0].startswith('//'):
            yield 1, 'a header says what it is for', lines[0] if lines else ''
        if '#pragma once' not in lines:
            yield 1, 'a header is read once', lines[0] if lines else ''
    yield from include_faults(path, name, room, arrows, lines)
    yield from size_faults(name, lines)
    yield from brace_faults(lines)
    yield from failure_faults(lines)
    yield from namespace_faults(name, room, lines)


def main():
    root = pathlib.Path(sys.argv[1])
    arrows = arrows_of(root)
    faults = files = 0
    for fault in document_faults(root):
        faults += 1
        print(fault)
    for room in ROOMS:
        for path in sorted((root / room).rglob('*')):
            if path.suffix not in ('.h', '.cpp'):
                continue
            files += 1
            name = path.relative_to(root).as_posix()
            for number, rule, line in faults_of(path, name, room, arrows):
                faults += 1
                print(f'{name}:{number}: {rule}: {line.strip()}')
    print(f'{files} files, {faults} faults')
    # A tree without files means a wrong root, not a clean house.
    return 1 if faults or not files else 0


if __name__ == '__main__':
    sys.exit(main())
