#!/usr/bin/env python3
"""Measures whole conversions: MB/s, messages/s and peak memory of `parvane convert`.

  usage: convert_benchmark.py --parvane PROGRAM [--megabytes N] [--runs N] [--folder DIR] [--json]

Three kinds of mailbox, all generated and the same on every machine:

  text         short plain messages, as in mailing lists
  mixed        HTML with a plain alternative, encoded words, several recipients
  attachments  messages that are nearly all base64

Each is converted at the full size and at a tenth of it. Growth is what the larger run costs in
terms of the smaller: time should grow no more than tenfold, memory hardly at all. Every number is
the best of some runs. A plain copy of the mailbox with its flush to the device stands beside the
conversions as the floor: no conversion can be faster than that.
"""
import argparse
import base64
import json
import os
import pathlib
import platform
import random
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
        block = base64.encodebytes(random.Random(7).randbytes(3_000_000)).decode()
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

    def attachment(self, number):
        size = self.chance.randint(50_000, 1_000_000)
        start = self.chance.randrange((len(self.block) - size) // 77) * 77
        extra = 'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="cut"\n'
        return (self.header(number, extra) +
                f'\n--cut\nContent-Type: text/plain\n\n{self.text(40)}'
                f'--cut\nContent-Type: application/octet-stream; name="file{number}.bin"\n'
                f'Content-Disposition: attachment; filename="file{number}.bin"\n'
                f'Content-Transfer-Encoding: base64\n\n{self.block[start:start + size]}\n'
                f'--cut--\n\n')

    def write(self, kind, path, size):
        """Writes a mailbox of about `size` bytes; the number of messages in it."""
        make = {'text': self.plain, 'mixed': self.mixed, 'attachments': self.attachment}[kind]
        written = messages = 0
        with open(path, 'w', encoding='utf-8', newline='\n') as file:
            while written < size:
                written += file.write(make(messages))
                messages += 1
        return messages


def timed_conversion(parvane, source, pst, report):
    pst.unlink(missing_ok=True)
    start = time.perf_counter()
    subprocess.run([parvane, 'convert', '--quiet', '--report', report, source, pst], check=True)
    seconds = time.perf_counter() - start
    return seconds, json.loads(report.read_text(encoding='utf-8'))


def floor(source, target):
    """Seconds to copy the file in pieces and bring it to the device."""
    start = time.perf_counter()
    with open(source, 'rb') as reader, open(target, 'wb') as writer:
        while piece := reader.read(1 << 20):
            writer.write(piece)
        writer.flush()
        os.fsync(writer.fileno())
    seconds = time.perf_counter() - start
    target.unlink()
    return seconds


def measure(arguments, folder, kind, size):
    source, pst, report = folder / f'{kind}.mbox', folder / 'out.pst', folder / 'report.json'
    messages = Generator(len(kind)).write(kind, source, size)
    best, memory = None, 0
    for _ in range(arguments.runs):
        seconds, account = timed_conversion(arguments.parvane, source, pst, report)
        if account['totals']['written'] != messages:
            sys.exit(f'{kind}: {account["totals"]} of {messages} messages')
        best = min(best or seconds, seconds)
        memory = max(memory, account['peakMemoryBytes'])
    result = {'kind': kind, 'bytes': source.stat().st_size, 'messages': messages,
              'seconds': best, 'megabytesPerSecond': source.stat().st_size / best / 1e6,
              'messagesPerSecond': messages / best, 'peakMemoryBytes': memory,
              'pstBytes': pst.stat().st_size,
              'timesFloor': best / min(floor(source, folder / 'copy') for _ in range(arguments.runs))}
    source.unlink()
    pst.unlink()
    return result


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--parvane', required=True)
    parser.add_argument('--megabytes', type=int, default=200)
    parser.add_argument('--runs', type=int, default=3)
    parser.add_argument('--folder', help='where the mailboxes go; default: a temporary folder')
    parser.add_argument('--json', action='store_true')
    arguments = parser.parse_args()

    results = []
    with tempfile.TemporaryDirectory(dir=arguments.folder) as folder:
        for kind in ('text', 'mixed', 'attachments'):
            small, large = (measure(arguments, pathlib.Path(folder), kind, size)
                            for size in (arguments.megabytes * 100_000, arguments.megabytes * 1_000_000))
            # As if the input had grown exactly tenfold.
            growth = large['bytes'] / small['bytes'] / 10
            large['timeGrowth'] = large['seconds'] / small['seconds'] / growth
            large['memoryGrowth'] = large['peakMemoryBytes'] / small['peakMemoryBytes']
            results += [small, large]

    if arguments.json:
        print(json.dumps({'machine': platform.platform(), 'processors': os.cpu_count(),
                          'results': results}, indent=1))
        return
    print(f'{platform.platform()}, {os.cpu_count()} processors, best of {arguments.runs} runs')
    print(f'{"mailbox":12}{"MB":>8}{"messages":>10}{"seconds":>9}{"MB/s":>8}{"msg/s":>9}'
          f'{"peak MB":>9}{"x floor":>9}{"growth of time":>16}{"of memory":>11}')
    for r in results:
        growth = (f'{r["timeGrowth"]:15.1f}x{r["memoryGrowth"]:10.2f}x' if 'timeGrowth' in r else '')
        print(f'{r["kind"]:12}{r["bytes"] / 1e6:8.0f}{r["messages"]:10}{r["seconds"]:9.2f}'
              f'{r["megabytesPerSecond"]:8.1f}{r["messagesPerSecond"]:9.0f}'
              f'{r["peakMemoryBytes"] / 1e6:9.0f}{r["timesFloor"]:9.1f}{growth}')


if __name__ == '__main__':
    main()
