#!/usr/bin/env python3
"""Measures conversions on a real disk, from a cold source to where the PST is safe on the device.

  usage: disk_benchmark.py --folder FOLDER NAME=PARVANE... [--source MAILBOX] [--rounds N] [--scale F] [--only A B C]

By the clock, beside `cp` of the source and then of the PST to the same disk, both cold too, until the
copies are safe. Contestants take turns. Before each, everything is written out and what it is to read
is thrown out of the system's cache. Figures are seconds (medians), and the median over rounds of the
times that `cp` of the same round took; a conversion should not take more than 1.33.
"""
import argparse
import os
import pathlib
import platform
import sys
import tempfile

import measuring
from mail_makers import MEGABYTES, make_mailbox
from measuring import Cost, median, times


def evict(path):
    """What is dirty stays in the cache, so it is written out before."""
    file = os.open(path, os.O_RDONLY)
    os.fsync(file)
    os.posix_fadvise(file, 0, 0, os.POSIX_FADV_DONTNEED)
    os.close(file)


def cold(path, action):
    """`action` as a contestant that finds nothing in the cache and nothing to be written."""
    def run():
        os.sync()
        evict(path)
        return action()
    return run


def add(first, second):
    return Cost(first.cpu + second.cpu, first.clock + second.clock)


class Disk:

    def __init__(self, folder, source):
        self.source = source
        self.pst = folder / 'out.pst'
        self.model = folder / 'model.pst'
        self.copy = folder / 'copy'

    def copy_safely(self, path):
        self.copy.unlink(missing_ok=True)
        cost = add(measuring.run(['cp', '--', path, self.copy]), measuring.run(['sync', self.copy]))
        self.copy.unlink()
        return cost

    def copy_both(self):
        evict(self.model)
        return add(self.copy_safely(self.source), self.copy_safely(self.model))

    def contestants(self, programs):
        """The PST that `cp` is given is the first program's."""
        programs = {name: measuring.Parvane(path) for name, path in programs.items()}
        next(iter(programs.values())).convert(self.source, self.model)
        result = {'cp': cold(self.source, self.copy_both)}
        for name, parvane in programs.items():
            result[name] = cold(self.source, lambda parvane=parvane: parvane.convert(self.source, self.pst))
        return result


def measure(arguments, folder, kind):
    source = arguments.source
    if not source:
        source = folder / f'{kind}.mbox'
        make_mailbox(kind, source, round(MEGABYTES[kind] * arguments.scale * 1_000_000), arguments.real)
    disk = Disk(folder, source)
    costs = measuring.take_turns(disk.contestants(arguments.programs), arguments.rounds, warm_up=0)
    size, pst = source.stat().st_size / 1e6, disk.model.stat().st_size / 1e6
    return [[kind, f'{size:.0f} + {pst:.0f}', name, f'{median(c, "clock"):.2f}',
             f'{min(x.clock for x in c):.2f} to {max(x.clock for x in c):.2f}', f'{median(c):.2f}',
             f'{times(c, costs["cp"], "clock"):.2f}'] for name, c in costs.items()]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('programs', nargs='+', metavar='NAME=PARVANE')
    parser.add_argument('--folder', required=True, help='a folder on the disk to measure')
    parser.add_argument('--source', type=pathlib.Path, help='a mailbox there, in place of a generated one')
    parser.add_argument('--real', help='a folder with mbox files, from which mailbox A is made')
    parser.add_argument('--rounds', type=int, default=5)
    parser.add_argument('--scale', type=float, default=1, help='of the mailboxes\' sizes')
    parser.add_argument('--only', nargs='+', choices=list(MEGABYTES), default=['A', 'B'])
    arguments = parser.parse_args()
    if not hasattr(os, 'posix_fadvise'):
        sys.exit(f'{platform.system()} cannot be told to forget a file')
    arguments.programs = dict(p.split('=', 1) if '=' in p else ('parvane', p) for p in arguments.programs)
    rows = []
    with tempfile.TemporaryDirectory(dir=arguments.folder, prefix='disk-') as folder:
        for kind in [arguments.source.name] if arguments.source else arguments.only:
            rows += measure(arguments, pathlib.Path(folder), kind)
    print(f'{measuring.machine_line(measuring.machine())}. Files in {arguments.folder}, '
          f'{arguments.rounds} rounds.\n')
    print(measuring.markdown(['mailbox', 'MB + PST', '', 'clock s', 'from to', 'CPU s', 'times `cp`'], rows))


if __name__ == '__main__':
    main()
