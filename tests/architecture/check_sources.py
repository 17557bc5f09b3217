#!/usr/bin/env python3
"""Fails when a source file breaks a rule of the house that the build cannot see.

  usage: check_sources.py SOURCE_ROOT

The include views stop a room from including a room it may not. What they let through:

  - a platform conditional (_WIN32, __linux__ ...) or a header of the operating system outside
    platform/;
  - what only GNU compilers take, outside platform/: the sources are for others too;
  - an include that walks around the views ("../pstfile/x.h", "x.h" beside the file);
  - the program reaching behind the public headers: rooms it links only because others need them,
    and the built-in MAPI, which only its start-up may name;
  - threads: the engine works on its caller's one thread (locks are allowed: objects of the mail
    library may be used from several threads).
"""
import pathlib
import re
import sys

ROOMS = ('platform', 'mapi', 'pstfile', 'mime', 'convert', 'engine', 'sources', 'pst', 'carry', 'factory', 'cli')

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

# What the program may include, and what only its start-up may.
CLI_MAY = re.compile(
    r'^((cli|carry|engine|factory|mapi|platform)/[^/]+|pstfile/check/(?:integrity_checker|node_dump)\.h|pstfile/ndb/(?:file_kind|unfinished)\.h|pstfile/store/store_name\.h|pst/disk_utilities\.h)$')
CLI_START_UP = {'cli/main.cpp': re.compile(r'^mapi/builtin/[^/]+$')}


def faults_of(path, room, text):
    for number, line in enumerate(text.splitlines(), 1):
        if room != 'platform' and CONDITIONAL.match(line):
            yield number, 'platform conditional outside platform/', line
        if room != 'platform' and GNU_ONLY.search(line):
            yield number, 'only GNU compilers take this', line
        match = INCLUDE.match(line)
        if not match:
            continue
        quoted, header = match.group(1) == '"', match.group(2)
        if THREAD_HEADER.match(header):
            yield number, 'threads are not used here', line
        if room != 'platform' and not quoted and SYSTEM_HEADER.match(header):
            yield number, "operating system's header outside platform/", line
        if quoted and (header.startswith('.') or header.split('/')[0] not in ROOMS):
            yield number, 'include that does not start with a room', line
        if room == 'cli' and quoted and not CLI_MAY.match(header):
            start_up = CLI_START_UP.get(path)
            if not (start_up and start_up.match(header)):
                yield number, 'the program reaches behind the public headers', line


def main():
    root = pathlib.Path(sys.argv[1])
    faults = files = 0
    for room in ROOMS:
        for path in sorted((root / room).rglob('*')):
            if path.suffix not in ('.h', '.cpp'):
                continue
            files += 1
            name = path.relative_to(root).as_posix()
            for number, rule, line in faults_of(name, room, path.read_text(encoding='utf-8')):
                faults += 1
                print(f'{name}:{number}: {rule}: {line.strip()}')
    print(f'{files} files, {faults} faults')
    # A tree without files means a wrong root, not a clean house.
    return 1 if faults or not files else 0


if __name__ == '__main__':
    sys.exit(main())
