#!/usr/bin/env python3
"""Tells whether one commit converts slower than another, beyond what the machine's noise explains.

  usage: compare_commits.py BASE [HEAD] [--rounds N] [--scale F] [--only A B C] [--keep none]
         compare_commits.py --programs BASE HEAD [--runner wine]

Builds both commits (default: the one checked out) with the preset "bench" in git worktrees below
build/compare/, which stay for the next time, and converts each mailbox of mail_makers.py in rounds:
the base, the head, and the base once more, each round in another order.

Each figure is the median over rounds of head / base, with the interval that holds it in 95 % of
resamplings of the rounds (bootstrap). The base's second run gives the same figure of nothing: noise.
The head is slower when its interval lies above 1, above noise's, and the difference is more than the
tolerance. What the processor did tells it by CPU time; the clock is shown, and judged with --clock.

Where valgrind is installed, the instructions of one small conversion are counted too (without keys, whose
SHA-256 valgrind runs in software): these hardly vary, and 0.5 % more are slower.

Exit status: 0 not slower, 1 slower.
"""
import argparse
import os
import pathlib
import random
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

import measuring
from mail_makers import MEGABYTES, make_mailbox

ROOT = pathlib.Path(__file__).resolve().parent.parent
MORE_INSTRUCTIONS = 1.005


def git(*arguments):
    return subprocess.run(['git', '-C', str(ROOT), *map(str, arguments)], check=True, text=True,
                          stdout=subprocess.PIPE).stdout.strip()


def build(commit):
    """The program of a commit."""
    name = git('rev-parse', '--verify', f'{commit}^{{commit}}')[:12]
    folder = ROOT / 'build' / 'compare' / name
    if not (folder / '.git').exists():
        git('worktree', 'prune')
        git('worktree', 'add', '--detach', folder, name)
    environment = dict(os.environ)
    if shutil.which('ccache'):
        environment.setdefault('CMAKE_CXX_COMPILER_LAUNCHER', 'ccache')
    print(f'building {name}', file=sys.stderr)
    for command in (['cmake', '--preset', 'bench'],
                    ['cmake', '--build', 'build/bench', '--target', 'parvane']):
        done = subprocess.run(command, cwd=folder, env=environment, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            sys.exit(f'{done.stdout[-3000:]}\n{commit} cannot be built in {folder}')
    return name, folder / 'build' / 'bench' / 'parvane'


def interval(ratios, resamplings=2000):
    """(median, lower end, upper end) of what the rounds say, 95 % sure."""
    chance = random.Random(1)
    medians = sorted(statistics.median(chance.choices(ratios, k=len(ratios)))
                     for _ in range(resamplings))
    return (statistics.median(ratios), medians[resamplings // 40], medians[-resamplings // 40])


class Comparison:
    """What one mailbox says of two programs."""

    def __init__(self, arguments, programs, folder, kind):
        self.arguments = arguments
        self.base, self.head = (measuring.Parvane(p, arguments.runner) for p in programs)
        self.source = folder / f'{kind}.mbox'
        self.small = folder / f'{kind}-small.mbox'
        self.pst = folder / 'out.pst'
        self.counts = folder / 'callgrind.out'
        self.options = ('--keep', arguments.keep) if arguments.keep else ()
        size = max(1, round(MEGABYTES[kind] * arguments.scale)) * 1_000_000
        make_mailbox(kind, self.source, size, arguments.real)
        make_mailbox(kind, self.small, 5_000_000, arguments.real)
        measuring.touch_memory(folder, 4 * size)

    def rounds(self):
        """{what: (ratios of the head, ratios of the base's second run)}"""
        contestants = {name: lambda parvane=parvane: parvane.convert(self.source, self.pst, *self.options)
                       for name, parvane in (('base', self.base), ('head', self.head), ('again', self.base))}
        costs = measuring.take_turns(contestants, self.arguments.rounds)
        return {what: [[getattr(a, what) / getattr(b, what) for a, b in zip(costs[name], costs['base'])]
                       for name in ('head', 'again')] for what in ('cpu', 'clock')}

    def instructions(self, parvane):
        self.pst.unlink(missing_ok=True)
        command = parvane.call('convert', '--quiet', '--keep', 'none', self.small, self.pst)
        measuring.run(['valgrind', '-q', '--tool=callgrind', f'--callgrind-out-file={self.counts}', *command],
                      accepted=(0, 1))
        return int(re.search(r'^summary: (\d+)', self.counts.read_text(), re.M)[1])


def judge(head, noise, tolerance):
    median, low, _ = interval(head)
    return median > 1 + tolerance and low > max(1, interval(noise)[2])


def compare(arguments, programs, folder, kind):
    """Rows of the table, and whether the head is slower."""
    comparison = Comparison(arguments, programs, folder, kind)
    rows, slower = [], False
    for what, (head, noise) in comparison.rounds().items():
        bad = judge(head, noise, arguments.tolerance)
        slower |= bad and (what == 'cpu' or arguments.clock)
        shown = [f'{m:.3f} ({low:.3f} to {high:.3f})' for m, low, high in (interval(head), interval(noise))]
        rows.append([kind, {'cpu': 'CPU', 'clock': 'clock'}[what], *shown, 'SLOWER' if bad else ''])
    if shutil.which('valgrind') and not arguments.runner:
        base, head = (comparison.instructions(p) for p in (comparison.base, comparison.head))
        bad = head > base * MORE_INSTRUCTIONS
        slower |= bad
        rows.append([kind, 'instructions', f'{head / base:.4f}', f'{base:,} before', 'SLOWER' if bad else ''])
    return rows, slower


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument('base', nargs='?')
    parser.add_argument('head', nargs='?', default='HEAD')
    parser.add_argument('--programs', nargs=2, metavar=('BASE', 'HEAD'), help='built programs instead of commits')
    parser.add_argument('--runner', help='what starts them, such as wine; then judge by the clock')
    parser.add_argument('--rounds', type=int, default=15)
    parser.add_argument('--scale', type=float, default=0.5, help='of the mailboxes\' sizes')
    parser.add_argument('--only', nargs='+', choices=list(MEGABYTES), default=list(MEGABYTES))
    parser.add_argument('--real', help='a folder with mbox files, from which mailbox A is made')
    parser.add_argument('--keep', help='given to both programs')
    parser.add_argument('--tolerance', type=float, default=0.005, help='what is never called slower')
    parser.add_argument('--clock', action='store_true', help='judge by the clock too')
    parser.add_argument('--folder', default='/dev/shm' if os.path.isdir('/dev/shm') else tempfile.gettempdir())
    arguments = parser.parse_args()
    if not arguments.programs and not arguments.base:
        parser.error('BASE, or --programs')
    return arguments


def main():
    arguments = parse_arguments()
    if arguments.programs:
        names, programs = arguments.programs, arguments.programs
    else:
        names, programs = zip(*(build(commit) for commit in (arguments.base, arguments.head)))
    rows, slower = [], False
    for kind in arguments.only:
        print(f'comparing {kind}', file=sys.stderr)
        with tempfile.TemporaryDirectory(dir=arguments.folder) as folder:
            more, bad = compare(arguments, programs, pathlib.Path(folder), kind)
        rows += more
        slower |= bad
    print(f'{measuring.machine_line(measuring.machine())}. {names[1]} in terms of {names[0]}, '
          f'{arguments.rounds} rounds.\n')
    print(measuring.markdown(['mailbox', 'what', 'head / base', 'noise', ''], rows))
    print(f'\n{names[1]} is {"slower than" if slower else "not slower than"} {names[0]}.')
    return 1 if slower else 0


if __name__ == '__main__':
    sys.exit(main())
