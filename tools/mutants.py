#!/usr/bin/env python3
"""Puts one small fault at a time into the product, and says which of them no test notices.

  usage: mutants.py [--quick] [WORD...]

The faults are in tools/mutants.toml; with WORDs, only those whose file or reason contains one of them.
They are made in a copy of the sources (build/mutants), never in the working tree, so stopping this at any
moment leaves nothing behind. For each, the tests of its room are built and run: first those named by
`by` (a pattern of GoogleTest names, or a test of the program), then, should these notice nothing, all of
the room's; with --quick the second step is left out, which is what one wants while writing a test.

A fault that survives is a hole in the tests, or makes an equivalent program: then it does not belong in
the list. One whose old text is not there exactly once is stale, and fails the run as well.
"""
import argparse
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import sys
import time
import tomllib

ROOT = pathlib.Path(__file__).resolve().parents[1]
COPY = ROOT / 'build/mutants'
SHARED = ROOT.parent / 'shared'
# What is built and run for a file of a room; the longest path counts.
TESTS = {
    'app/': ('parvane', '^program_app$'),
    'carry/': ('parvane', '^program_(carry|kept|state)$'),
    'moves/': ('parvane moves_test', '^(moves|program_again)$'),
    'desk/': ('parvane desk_test', '^(desk|program)'),
    'parvane/': ('parvane', '^program'),
    'cli/': ('parvane program_test', '^program'),
    'convert/': ('convert_test', '^convert$'),
    'engine/': ('engine_test', '^engine$'),
    'factory/': ('factory_test', '^factory$'),
    'mapi/': ('mapi_test', '^mapi$'),
    'mapi/builtin/': ('mapi_builtin_test', '^mapi_builtin$'),
    'mime/': ('mime_test', '^mime$'),
    'platform/': ('platform_test', '^platform$'),
    'pst/': ('pst_test', '^pst$'),
    'pstfile/': ('pstfile_test', '^pstfile$'),
    'sources/': ('sources_test', '^sources$'),
}
BUILD_LIMIT = 1800  # seconds
TEST_LIMIT = 900  # seconds; with a fault ten times as long as without: an endless loop is one noticed
MEMORY_LIMIT = 6 << 30  # bytes of data


def run(command, limit, memory=MEMORY_LIMIT, **environment):
    """Whether COMMAND ends well in time; none of its children outlives it."""
    process = subprocess.Popen(
        command, cwd=COPY, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        env=os.environ | environment, start_new_session=True,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_DATA, (memory, memory)))
    try:
        return process.wait(limit) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()


def build(mutant, **environment):
    folder = 'build/' + mutant.get('preset', 'release')
    if not (COPY / folder / 'build.ninja').exists():
        run(['cmake', '--preset', mutant.get('preset', 'release'), f'-DPARVANE_SHARED_DIR={SHARED}',
             f"-DCMAKE_CXX_COMPILER_LAUNCHER={shutil.which('ccache') or ''}"], BUILD_LIMIT)
    return run(['ninja', '-C', folder, *tests_of(mutant)[0].split()], BUILD_LIMIT, **environment)


def passes(mutant, limit, names='*'):
    folder = 'build/' + mutant.get('preset', 'release')
    if names.startswith('test_'):
        return run([sys.executable, '-m', 'unittest', names], limit, PARVANE=str(COPY / folder / 'parvane'),
                   PARVANE_SHARED_DIR=str(SHARED), PYTHONPATH=str(COPY / 'tests/program'))
    # Sanitizers reserve more than there is.
    memory = resource.RLIM_INFINITY if 'preset' in mutant else MEMORY_LIMIT
    return run(['ctest', '--test-dir', folder, '-R', tests_of(mutant)[1], '--no-tests=error',
                '--stop-on-failure'], limit, memory, GTEST_FILTER=names, GTEST_FAIL_FAST='1')


def tests_of(mutant):
    room = max((room for room in TESTS if mutant['file'].startswith(room)), key=len)
    targets, pattern = TESTS[room]
    return mutant.get('target', targets), mutant.get('tests', pattern)


def copy_sources():
    listed = subprocess.run(['git', 'ls-files', '-z', '-c', '-o', '--exclude-standard'], cwd=ROOT,
                            stdout=subprocess.PIPE, check=True).stdout.decode().split('\0')
    wanted = {name for name in listed if (ROOT / name).is_file()}
    for name in wanted:
        if not (COPY / name).is_file() or (COPY / name).read_bytes() != (ROOT / name).read_bytes():
            (COPY / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, COPY / name)
    for path in [path for path in COPY.rglob('*') if path.is_file()]:
        name = path.relative_to(COPY).as_posix()
        if name not in wanted and not name.startswith('build/'):
            path.unlink()


def outcome(mutant, only_named, limit):
    path = COPY / mutant['file']
    sound = path.read_bytes() if path.exists() else b''
    old, new = (mutant[key].strip('\n').encode() for key in ('old', 'new'))
    if sound.count(old) != 1:
        return f'STALE ({sound.count(old)} places)'
    try:
        path.write_bytes(sound.replace(old, new))
        # What a fault compiles to is of use to nobody else.
        if not build(mutant, CCACHE_DISABLE='1'):
            return 'DOES NOT BUILD'
        if 'by' in mutant and not passes(mutant, limit, mutant['by']):
            return 'killed'
        if 'by' in mutant and only_named:
            return 'SURVIVED (by)'
        return 'SURVIVED' if passes(mutant, limit) else 'killed, but not by' if 'by' in mutant else 'killed'
    finally:
        path.write_bytes(sound)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--quick', action='store_true', help='run only the tests named by `by`')
    parser.add_argument('words', nargs='*')
    options = parser.parse_args()
    mutants = tomllib.loads((ROOT / 'tools/mutants.toml').read_text('utf-8'))['mutant']
    chosen = [m for m in mutants if not options.words
              or any(word in m['file'] or word in m['why'] for word in options.words)]
    copy_sources()
    limits = {}  # by what is built and run, which many mutants share
    results = []
    for mutant in chosen:
        key = (mutant.get('preset'), *tests_of(mutant), mutant.get('by') if options.quick else None)
        if key not in limits:
            built = build(mutant)
            start = time.monotonic()
            sound = built and passes(mutant, TEST_LIMIT, key[-1] or '*')
            limits[key] = 30 + 10 * (time.monotonic() - start) if sound else None
        start = time.monotonic()
        results.append(outcome(mutant, options.quick, limits[key]) if limits[key]
                       else 'FAILS WITHOUT IT')
        print(f"{results[-1]:20} {mutant['file']}: {mutant['why']} ({time.monotonic() - start:.0f} s)",
              flush=True)
    killed = sum(result.startswith('killed') for result in results)
    print(f'{len(results)} mutants, {killed} killed')
    return 0 if results and killed == len(results) else 1


if __name__ == '__main__':
    sys.exit(main())
