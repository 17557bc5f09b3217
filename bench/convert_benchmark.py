#!/usr/bin/env python3
"""Measures whole conversions beside two yardsticks, in one run.

  usage: convert_benchmark.py --build FOLDER [--real FOLDER] [--rounds N] [--scale F] [--json]

The floor (bench/floor.cpp) is the least work any converter must do on one core; the peer
(bench/peer_walk.cpp) is a well-known library that parses and decodes the same mail and writes
nothing. Both are read from the build folder, or given as other programs. What is measured is the
CPU time (user and system) of whole processes; what counts are the ratios, since the floor, the peer
and the conversion take turns: one round to warm up, then the median of the others. Outputs lie in
memory where the system has a folder for that, and are deleted before each run.

Two mailboxes:

  small   short messages: 200 MB, generated, or the mbox files below --real over and over
  heavy   base64 PDFs and pictures of 0.1 to 5 MB: 500 MB, generated

"plain" is the same program without instructions that not every machine of its kind has. Growth is
the cost of a mailbox in terms of one a tenth its size.
"""
import argparse
import base64
import json
import os
import pathlib
import platform
import random
import statistics
import subprocess
import sys
import tempfile
import time

WORDS = [w.strip() for w in '''harbour letter morning quay window bread island answer ticket garden
paper river evening number station market question meeting report version table mountain list
server release patch archive reply thanks regards schedule budget draft review'''.split()]
NAMES = ('Ingrid Dahl', 'Tomas Reyes', 'Eleni Pappa', 'Maria Petrova', 'Hana Tanaka', 'Li Xiaolong')
SEPARATOR = 'From writer@example.org Fri Mar  1 08:00:00 2019\n'


class Generator:

    def __init__(self, seed):
        self.chance = random.Random(seed)
        # Attachments are cut from one block: making random bytes would take longer than the test.
        block = base64.encodebytes(random.Random(7).randbytes(12_000_000)).decode()
        self.block = block

    def text(self, words):
        chosen = self.chance.choices(WORDS, k=words)
        return '\n'.join(' '.join(chosen[i:i + 12]) for i in range(0, words, 12)) + '\n'

    def header(self, number, extra=''):
        sender, receiver = self.chance.sample(NAMES, 2)
        stamp = time.strftime('%a, %d %b %Y %H:%M:%S +0000', time.gmtime(1_300_000_000 + number * 97))
        return (f'{SEPARATOR}Received: from a.example.org by b.example.org; {stamp}\n'
                f'From: {sender} <{sender.split()[0].lower()}@example.org>\n'
                f'To: {receiver} <{receiver.split()[0].lower()}@example.net>\n'
                f'Subject: {" ".join(self.chance.choices(WORDS, k=5))}\n'
                f'Date: {stamp}\nMessage-ID: <{number}.{self.chance.getrandbits(48):x}@example.org>\n'
                f'{extra}')

    def plain(self, number):
        return self.header(number) + '\n' + self.text(self.chance.randint(60, 500)) + '\n'

    def mixed(self, number):
        extra = ('Cc: ' + ',\n '.join(f'{n} <{n.split()[-1].lower()}@example.com>' for n in NAMES) +
                 '\nMIME-Version: 1.0\nContent-Type: multipart/alternative; boundary="cut"\n'
                 'X-Note: =?utf-8?Q?caf=C3=A9_=C3=A0_l=27=C3=AEle?=\n')
        words = self.text(self.chance.randint(60, 400))
        html = words.replace('\n', '<br>\n').replace('island', '=C3=AEle')
        return (self.header(number, extra) +
                f'\n--cut\nContent-Type: text/plain; charset=utf-8\n\n{words}'
                f'--cut\nContent-Type: text/html; charset=utf-8\n'
                f'Content-Transfer-Encoding: quoted-printable\n\n<html><body>{html}</body></html>\n'
                f'--cut--\n\n')

    def heavy(self, number):
        """One or two PDFs or pictures of 0.1 to 5 MB, most of them small."""
        parts = []
        for i in range(self.chance.choice((1, 1, 2))):
            lines = int(100_000 * 50 ** self.chance.random()) // 57
            start = self.chance.randrange(len(self.block) // 77 - lines) * 77
            kind, extension = self.chance.choice((('application/pdf', 'pdf'), ('image/jpeg', 'jpg')))
            name = f'file{number}-{i}.{extension}'
            parts.append(f'--cut\nContent-Type: {kind}; name="{name}"\n'
                         f'Content-Disposition: attachment; filename="{name}"\n'
                         f'Content-Transfer-Encoding: base64\n\n'
                         f'{self.block[start:start + lines * 77]}')
        extra = 'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="cut"\n'
        return (self.header(number, extra) +
                f'\n--cut\nContent-Type: text/plain\n\n{self.text(80)}' + ''.join(parts) +
                '--cut--\n\n')

    def small(self, number):
        """As mail is without attachments: mostly plain, one message in five in HTML too."""
        return self.mixed(number) if number % 5 == 4 else self.plain(number)

    def write(self, kind, path, size):
        """Writes a mailbox of about `size` bytes; the number of messages in it."""
        make = {'small': self.small, 'heavy': self.heavy}[kind]
        written = messages = 0
        with open(path, 'w', encoding='utf-8', newline='\n') as file:
            while written < size:
                written += file.write(make(messages))
                messages += 1
        return messages


def repeat(folder, path, size):
    """Writes the mbox files below `folder`, over and over, until there are `size` bytes."""
    block = b''
    for source in sorted(pathlib.Path(folder).rglob('*.mbox')):
        content = source.read_bytes()
        if content.startswith(b'From '):
            block += content if content.endswith(b'\n') else content + b'\n'
    if not block:
        sys.exit(f'{folder}: no mbox files')
    with open(path, 'wb') as file:
        while file.tell() < size:
            file.write(block)


class Runner:
    """Runs programs and keeps what they cost."""

    def __init__(self, arguments, folder):
        self.arguments = arguments
        self.pst = folder / 'out.pst'
        self.copy = folder / 'floor.out'
        self.report = folder / 'report.json'

    def run(self, command, environment=None):
        """CPU seconds and peak memory in bytes."""
        process = subprocess.Popen([str(c) for c in command], stdout=subprocess.DEVNULL,
                                   env=dict(os.environ, **(environment or {})))
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, 1):
            sys.exit(f'{command[0]}: exit code {process.returncode}')
        return used.ru_utime + used.ru_stime, used.ru_maxrss * 1024

    def once(self, contestant, source):
        self.pst.unlink(missing_ok=True)
        self.copy.unlink(missing_ok=True)
        if contestant == 'floor':
            result = self.run([self.arguments.floor, '-w', source, self.copy])
        elif contestant == 'peer':
            result = self.run([self.arguments.peer, source])
        else:
            result = self.run([self.arguments.parvane, 'convert', '--quiet', '--report',
                               self.report, source, self.pst],
                              {'PARVANE_CPU': 'plain' if contestant == 'plain' else ''})
        self.copy.unlink(missing_ok=True)
        return result

    def take_turns(self, contestants, source):
        """{contestant: (median CPU seconds, greatest peak)}"""
        seconds = {c: [] for c in contestants}
        peak = dict.fromkeys(contestants, 0)
        for number in range(self.arguments.rounds + 1):
            for contestant in contestants:
                used, memory = self.once(contestant, source)
                peak[contestant] = max(peak[contestant], memory)
                if number > 0:
                    seconds[contestant].append(used)
        return {c: (statistics.median(seconds[c]), peak[c]) for c in contestants}


def measure(arguments, folder, output, kind, megabytes):
    runner = Runner(arguments, output)
    sources = {}
    for name, size in (('tenth', megabytes * 100_000), ('whole', megabytes * 1_000_000)):
        sources[name] = folder / f'{kind}-{name}.mbox'
        if kind == 'small' and arguments.real:
            repeat(arguments.real, sources[name], size)
        else:
            Generator(len(kind)).write(kind, sources[name], size)
    contestants = ['floor', 'parvane', 'plain'] + (['peer'] if arguments.peer else [])
    whole = runner.take_turns(contestants, sources['whole'])
    totals = json.loads(runner.report.read_text(encoding='utf-8'))['totals']
    if totals['failed']:
        sys.exit(f'{kind}: {totals["failed"]} messages failed')
    tenth = runner.take_turns(['parvane'], sources['tenth'])
    size = sources['whole'].stat().st_size
    # As if the input had grown exactly tenfold.
    factor = size / sources['tenth'].stat().st_size / 10
    parvane, peak = whole['parvane']
    result = {'mailbox': kind, 'bytes': size, 'messages': totals['read'],
              'pstBytes': runner.pst.stat().st_size,
              'cpuSeconds': {c: whole[c][0] for c in contestants}, 'peakMemoryBytes': peak,
              'timesFloor': parvane / whole['floor'][0],
              'plainTimesFloor': whole['plain'][0] / whole['floor'][0],
              'timesPeer': parvane / whole['peer'][0] if arguments.peer else None,
              'timeGrowth': parvane / tenth['parvane'][0] / factor,
              'memoryGrowth': peak / tenth['parvane'][1]}
    for source in sources.values():
        source.unlink()
    runner.pst.unlink()
    return result


def main():
    memory = '/dev/shm' if os.path.isdir('/dev/shm') else None
    parser = argparse.ArgumentParser()
    parser.add_argument('--build', type=pathlib.Path, help='build folder of the preset "bench"')
    parser.add_argument('--parvane', help='default: the one in the build folder')
    parser.add_argument('--floor', help='another floor: called with -w IN OUT')
    parser.add_argument('--peer', help='another peer: called with IN')
    parser.add_argument('--real', help='a folder with mbox files for the small mailbox')
    parser.add_argument('--rounds', type=int, default=5)
    parser.add_argument('--scale', type=float, default=1, help='of the mailboxes\' sizes')
    parser.add_argument('--folder', default=memory, help='where files go; default: in memory')
    parser.add_argument('--json', action='store_true')
    arguments = parser.parse_args()
    if arguments.build:
        arguments.parvane = arguments.parvane or arguments.build / 'parvane'
        arguments.floor = arguments.floor or arguments.build / 'bench' / 'floor'
        walk = arguments.build / 'bench' / 'peer_walk'
        arguments.peer = arguments.peer or (walk if walk.exists() else None)
    if not arguments.parvane or not arguments.floor:
        parser.error('--build, or --parvane and --floor')

    results = []
    with tempfile.TemporaryDirectory() as folder:
        with tempfile.TemporaryDirectory(dir=arguments.folder) as output:
            for kind, megabytes in (('small', 200), ('heavy', 500)):
                results.append(measure(arguments, pathlib.Path(folder), pathlib.Path(output), kind,
                                       max(1, round(megabytes * arguments.scale))))

    if arguments.json:
        print(json.dumps({'machine': platform.platform(), 'processors': os.cpu_count(),
                          'results': results}, indent=1))
        return
    print(f'{platform.platform()}, {os.cpu_count()} processors; '
          f'CPU time, medians of {arguments.rounds} rounds')
    print(f'{"mailbox":8}{"MB":>6}{"messages":>10}{"floor s":>9}{"parvane s":>11}{"x floor":>9}'
          f'{"x peer":>8}{"plain x floor":>15}{"peak MB":>9}{"growth of time":>16}{"of memory":>11}')
    for r in results:
        peer = f'{r["timesPeer"]:8.2f}' if r['timesPeer'] else f'{"-":>8}'
        print(f'{r["mailbox"]:8}{r["bytes"] / 1e6:6.0f}{r["messages"]:10}'
              f'{r["cpuSeconds"]["floor"]:9.3f}{r["cpuSeconds"]["parvane"]:11.3f}'
              f'{r["timesFloor"]:9.2f}{peer}{r["plainTimesFloor"]:15.2f}'
              f'{r["peakMemoryBytes"] / 1e6:9.0f}{r["timeGrowth"]:15.2f}x{r["memoryGrowth"]:10.2f}x')


if __name__ == '__main__':
    main()
