#!/usr/bin/env python3
"""Measures whole conversions beside two yardsticks, in one run, and prints tables in Markdown.

  usage: convert_benchmark.py --build FOLDER [--real FOLDER] [--rounds N] [--scale F] [--only A B C] [--json]
                              [--before PROGRAM]
         convert_benchmark.py --parvane PROGRAM --floor PROGRAM [--peer PROGRAM] [--runner wine]

The floor (bench/floor.cpp) is the least work any converter must do on one core; the peer
(bench/peer_walk.cpp) is a well-known library that parses and decodes the same mail and writes
nothing. Both are read from the build folder, or given as other programs. What counts are the
ratios: all take turns, and a figure is the median over the rounds (after one to warm up), each
compared with its own. Seconds of the processor are user's and system's, of the whole process;
seconds of the clock mean something on a machine that has nothing else to do.

Files lie in memory where the system has a folder for that (--folder), which is touched before the
first round. The mailboxes are those of mail_makers.py. With --keep none a conversion writes no keys:
these are a SHA-256 over each message. Levels are what PARVANE_CPU limits the program to. Growth is
the cost of a mailbox in terms of one a tenth its size. With --before another build takes part in the
same rounds and has rows of its own.
"""
import argparse
import json
import os
import pathlib
import sys
import tempfile

import measuring
from mail_makers import MEGABYTES, make_mailbox
from measuring import median, times

READERS = {'list': ('list',), 'list --messages': ('list', '--messages'), 'check': ('check',)}
KEYS = {'keys': (), 'none': ('--keep', 'none')}


class Mailbox:
    """One kind of mail, converted and read by each program."""

    def __init__(self, arguments, folder, kind):
        self.arguments = arguments
        self.kind = kind
        programs = {'before': arguments.before, '': arguments.parvane}
        self.programs = {name: measuring.Parvane(program, arguments.runner)
                         for name, program in programs.items() if program}
        self.whole = folder / 'whole.mbox'
        self.tenth = folder / 'tenth.mbox'
        self.pst = folder / 'out.pst'
        self.copy = folder / 'floor.out'
        self.report = folder / 'report.json'

    def make(self):
        size = max(1, round(MEGABYTES[self.kind] * self.arguments.scale)) * 1_000_000
        for path, share in ((self.whole, size), (self.tenth, size // 10)):
            make_mailbox(self.kind, path, share, self.arguments.real)
        measuring.touch_memory(self.pst.parent, 4 * size)

    def floor(self):
        cost = measuring.run([self.arguments.floor, '-w', self.whole, self.copy])
        self.copy.unlink()
        return cost

    def contestants(self):
        result = {'floor': self.floor}
        if self.arguments.peer:
            result['peer'] = lambda: measuring.run([self.arguments.peer, self.whole])

        def add(name, parvane, source, options=(), level=''):
            result[name] = lambda: parvane.convert(source, self.pst, *options, level=level)
        for name, parvane in self.programs.items():
            add((name, 'tenth'), parvane, self.tenth)
            for keys, options in KEYS.items():
                for level in measuring.levels().values():
                    add((name, keys, level), parvane, self.whole, options, level)
        return result

    def watch(self, parvane):
        """Converts once more, to know what was converted, in how much memory, and to have the PST
        for its readers."""
        small = parvane.peak(self.tenth, self.pst)
        peak = parvane.peak(self.whole, self.pst, '--report', self.report)
        totals = json.loads(self.report.read_text(encoding='utf-8'))['totals']
        if totals['failed']:
            sys.exit(f'{self.kind}: {totals["failed"]} messages failed')
        return {'messages': totals['read'], 'pstBytes': self.pst.stat().st_size,
                'peakMemoryBytes': peak, 'memoryGrowth': peak / small if small else None}

    def reading(self, parvane):
        """{reader: times `cat`, by the clock} and the seconds that `cat` takes."""
        contestants = {'cat': lambda: measuring.run(['cat', self.pst])}
        for name, command in READERS.items():
            contestants[name] = lambda command=command: parvane.run(*command, self.pst)
        costs = measuring.take_turns(contestants, self.arguments.rounds)
        return {'catSeconds': median(costs['cat'], 'clock'),
                'timesCat': {name: times(costs[name], costs['cat'], 'clock') for name in READERS}}

    def measure(self):
        """A result for each program."""
        self.make()
        costs = measuring.take_turns(self.contestants(), self.arguments.rounds)
        return [self.result(costs, name, parvane) for name, parvane in self.programs.items()]

    def result(self, costs, name, parvane):
        whole, tenth, floor = costs[name, 'keys', ''], costs[name, 'tenth'], costs['floor']
        size = self.whole.stat().st_size
        # As if the input had grown exactly tenfold.
        factor = size / self.tenth.stat().st_size / 10
        before = costs.get(('before', 'keys', ''))
        return {'mailbox': f'{self.kind} {name}'.strip(), 'bytes': size, **self.watch(parvane),
                'timesFloor': {title: {keys: times(costs[name, keys, level], floor) for keys in KEYS}
                               for title, level in measuring.levels().items()},
                'timesPeer': times(whole, costs['peer']) if 'peer' in costs else None,
                'cpuSeconds': median(whole), 'floorCpuSeconds': median(floor),
                'timesBefore': {what: times(whole, before, what) for what in whole[0]._fields} if before else None,
                'clockSeconds': median(whole, 'clock'), 'clockTimesFloor': times(whole, floor, 'clock'),
                'timeGrowth': times(whole, tenth) / factor, 'reading': self.reading(parvane)}


def print_tables(about, arguments, results):
    small = f'the mail below {arguments.real}' if arguments.real else 'generated'
    print(f'{measuring.machine_line(about)}. {arguments.parvane}; files in {arguments.folder}; '
          f'A is {small}; medians of {arguments.rounds} rounds.\n')
    titles = list(results[0]['timesFloor'])
    print(measuring.markdown(
        ['mailbox', 'messages', 'MB', *(f'{t}, times floor' for t in titles),
         *(f'{t}, no keys' for t in titles), 'times peer'],
        [[r['mailbox'], f'{r["messages"]:,}', f'{r["bytes"] / 1e6:.0f}',
          *(f'{r["timesFloor"][t][keys]:.2f}' for keys in KEYS for t in titles),
          f'{r["timesPeer"]:.2f}' if r['timesPeer'] else '-'] for r in results]))
    print()
    print(measuring.markdown(
        ['mailbox', 'CPU s', 'floor CPU s', 'clock s', 'MB/s', 'clock, times floor\'s', 'peak MB', 'PST MB',
         'tenfold mail: time', 'memory', *(['CPU, times before', 'clock, times before'] if arguments.before else [])],
        [[r['mailbox'], f'{r["cpuSeconds"]:.3f}', f'{r["floorCpuSeconds"]:.3f}', f'{r["clockSeconds"]:.3f}',
          f'{r["bytes"] / 1e6 / r["clockSeconds"]:.0f}', f'{r["clockTimesFloor"]:.2f}',
          f'{r["peakMemoryBytes"] / 1e6:.0f}', f'{r["pstBytes"] / 1e6:.0f}', f'{r["timeGrowth"]:.1f}',
          f'{r["memoryGrowth"]:.2f}' if r['memoryGrowth'] else '-',
          *(f'{ratio:.2f}' for ratio in (r['timesBefore'] or {}).values())] for r in results]))
    print()
    print(measuring.markdown(
        ['PST of', '`cat` s', *(f'`{name}`, times `cat`' for name in READERS)],
        [[r['mailbox'], f'{r["reading"]["catSeconds"]:.3f}',
          *(f'{r["reading"]["timesCat"][name]:.2f}' for name in READERS)] for r in results]))


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument('--build', type=pathlib.Path, help='build folder of the preset "bench"')
    parser.add_argument('--parvane', help='default: the one in the build folder')
    parser.add_argument('--before', help='another build, measured in the same rounds')
    parser.add_argument('--runner', help='what starts it, such as wine; without what its server does in CPU time')
    parser.add_argument('--floor', help='another floor: called with -w IN OUT')
    parser.add_argument('--peer', help='another peer: called with IN')
    parser.add_argument('--real', help='a folder with mbox files, from which mailbox A is made')
    parser.add_argument('--rounds', type=int, default=9)
    parser.add_argument('--scale', type=float, default=1, help='of the mailboxes\' sizes')
    parser.add_argument('--only', nargs='+', choices=list(MEGABYTES), default=list(MEGABYTES))
    parser.add_argument('--folder', default='/dev/shm' if os.path.isdir('/dev/shm') else tempfile.gettempdir(),
                        help='where files go; default: in memory')
    parser.add_argument('--json', action='store_true')
    arguments = parser.parse_args()
    if arguments.build:
        arguments.parvane = arguments.parvane or arguments.build / 'parvane'
        arguments.floor = arguments.floor or arguments.build / 'bench' / 'floor'
        walk = arguments.build / 'bench' / 'peer_walk'
        arguments.peer = arguments.peer or (walk if walk.exists() else None)
    if not arguments.parvane or not arguments.floor:
        parser.error('--build, or --parvane and --floor')
    return arguments


def main():
    arguments = parse_arguments()
    about = measuring.machine(arguments.build)
    results = []
    for kind in arguments.only:
        print(f'measuring {kind}', file=sys.stderr)
        with tempfile.TemporaryDirectory(dir=arguments.folder) as folder:
            results += Mailbox(arguments, pathlib.Path(folder), kind).measure()
    if arguments.json:
        print(json.dumps({'machine': about, 'rounds': arguments.rounds, 'results': results}, indent=1))
    else:
        print_tables(about, arguments, results)


if __name__ == '__main__':
    main()
