#!/usr/bin/env python3
"""Puts one small fault at a time into the product, and says which of them no test notices.

  usage: mutants.py [--build FOLDER] [--list FILE] [WORD...]

The faults are in tools/mutants.toml; with WORDs, only those whose file contains one of them. Each is
made in the working tree, the tests of its room are built and run, and the file is put back, also after
Ctrl-C. A fault that survives is a hole in the tests, or an equivalent program: then it goes from the
list. A fault whose old text is not there once is stale, and counts as a failure as well.
"""
import argparse
import pathlib
import subprocess
import sys
import time
import tomllib

ROOT = pathlib.Path(__file__).resolve().parents[1]
# What is built and run for a file of a room, the longest path first.
TESTS = {
    'cli/': ('all', '^program'),
    'convert/': ('convert_test', '^convert$'),
    'engine/': ('engine_test', '^engine$'),
    'factory/': ('factory_test', '^factory$'),
    'mapi/': ('mapi_test', '^mapi$'),
    'mapi/builtin/': ('mapi_builtin_test', '^mapi_builtin$'),
    'mime/': ('mime_test', '^mime$'),
    'platform/': ('platform_test', '^platform'),
    'pst/': ('pst_test', '^pst$'),
    'pstfile/': ('pstfile_test', '^pstfile$'),
    'sources/': ('sources_test', '^sources'),
}
TIME_LIMIT = 1200  # seconds; an endless loop is noticed, too


def run(*command):
    try:
        done = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=TIME_LIMIT)
        return done.returncode == 0
    except subprocess.TimeoutExpired:
        return False


def tests_of(mutant):
    room = max((room for room in TESTS if mutant['file'].startswith(room)), key=len)
    target, pattern = TESTS[room]
    return mutant.get('target', target), mutant.get('tests', pattern)


def outcome(mutant, build):
    path = ROOT / mutant['file']
    sound = path.read_bytes()
    old, new = (mutant[key].strip('\n').encode() for key in ('old', 'new'))
    if sound.count(old) != 1:
        return 'STALE'
    target, pattern = tests_of(mutant)
    try:
        path.write_bytes(sound.replace(old, new))
        if not run('cmake', '--build', build, '--target', target):
            return 'DOES NOT BUILD'
        noticed = not run('ctest', '--test-dir', build, '-R', pattern, '--no-tests=error')
        return 'killed' if noticed else 'SURVIVED'
    finally:
        path.write_bytes(sound)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--build', default='build/release')
    parser.add_argument('--list', default=ROOT / 'tools/mutants.toml', type=pathlib.Path)
    parser.add_argument('words', nargs='*')
    options = parser.parse_args()
    mutants = tomllib.loads(options.list.read_text('utf-8'))['mutant']
    chosen = [m for m in mutants
              if not options.words or any(word in m['file'] for word in options.words)]
    targets = {tests_of(m) for m in chosen}
    for target, pattern in targets:
        if not (run('cmake', '--build', options.build, '--target', target)
                and run('ctest', '--test-dir', options.build, '-R', pattern, '--no-tests=error')):
            sys.exit(f'{target} does not pass as it is')
    bad = 0
    for mutant in chosen:
        start = time.monotonic()
        result = outcome(mutant, options.build)
        bad += result != 'killed'
        print(f"{result:15} {mutant['file']}: {mutant['why']} ({time.monotonic() - start:.0f} s)",
              flush=True)
    for target, _ in targets:
        run('cmake', '--build', options.build, '--target', target)
    print(f'{len(chosen)} mutants, {len(chosen) - bad} killed')
    return 1 if bad or not chosen else 0


if __name__ == '__main__':
    sys.exit(main())
