#!/usr/bin/env python3
"""Measures what grows with a mailbox: time, memory and the overhead of the PST.

  usage: scale_benchmark.py --parvane PROGRAM [--only CASE...] [--divide N] [--folder DIR] [--json]

  messages    1,000,000 small messages in one folder
  folders     2,000 folders of 20 messages side by side
  attachment  one message with an attachment of 1 GB
  large       a PST of 12 GB; its mailboxes are hard links to one file, so that the disk is spared
  mailboxes   100,000 folders of one folder with a message each

and single messages that nobody writes, whose peak memory must stay below 64 MiB and four times the
message:

  attachments  100,000 attachments in 5 MB       addresses   1,000,000 addresses in 15 MB
  recipients   200,000 recipients                parts       200,000 parts of a few bytes
  embedded     20,000 embedded messages          subject     a subject of 100 MB
  words        the same in encoded words         raw         the same in raw 8-bit characters
  quotes       5 MB of quotation marks in To     commas      5 MB of "a," in To
  nul          600 MB of NULs

Each of the former is converted at a tenth of its size too, and growth is what the larger run costs in terms of
the smaller one: time and file should grow tenfold, memory (but for a larger largest message) not at
all. `overhead` is what the PST has beyond the sizes of its messages, `free` its unused space. Then
`parvane check` and, where it is installed, `lspst` read the PST and must agree on its messages.
--divide makes everything smaller for a try.
"""
import argparse
import base64
import json
import os
import pathlib
import platform
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time

SEPARATOR = 'From writer@example.org Fri Mar  1 08:00:00 2019\n'
LARGE_MAILBOX = 160_000_000  # one of those that fill the large PST
FILLED_TO = 12_000_000_000


def header(number, subject):
    stamp = time.strftime('%a, %d %b %Y %H:%M:%S +0000', time.gmtime(1_300_000_000 + number * 97))
    return (f'{SEPARATOR}From: Ingrid Dahl <ingrid@example.org>\n'
            f'To: Tomas Reyes <tomas{number % 977}@example.net>\n'
            f'Subject: {subject} {number}\nDate: {stamp}\nMessage-ID: <{number}@example.org>\n')


def small_messages(path, count, first=0):
    with open(path, 'w', encoding='ascii', newline='\n') as file:
        for number in range(first, first + count):
            file.write(header(number, 'Harbour timetable') +
                       '\nThe boat leaves at nine from the northern pier; bring bread and tea.\n\n')
    return count


def attachment_parts(number, name):
    start = header(number, 'Photographs') + (
        'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="cut"\n\n'
        '--cut\nContent-Type: text/plain\n\nSee below.\n'
        f'--cut\nContent-Type: application/octet-stream; name="{name}"\n'
        f'Content-Disposition: attachment; filename="{name}"\n'
        'Content-Transfer-Encoding: base64\n\n')
    return start, '\n--cut--\n\n'


def base64_block():
    return base64.encodebytes(random.Random(7).randbytes(57 * 20_000)).decode()


def one_attachment(path, size):
    """A message whose only attachment has about `size` bytes."""
    start, end = attachment_parts(1, 'film.bin')
    block = base64_block()
    with open(path, 'w', encoding='ascii', newline='\n') as file:
        file.write(start)
        for _ in range(max(1, size // (57 * 20_000))):
            file.write(block)
        file.write(end)
    return 1


def many_attachments(path, size):
    """A mailbox of about `size` bytes that is nearly all attachments."""
    chance, block = random.Random(3), base64_block()
    written = count = 0
    with open(path, 'w', encoding='ascii', newline='\n') as file:
        while written < size:
            length = chance.randint(50_000, 1_000_000) // 77 * 77
            start, end = attachment_parts(count, f'file{count}.bin')
            written += file.write(start + block[:length] + end)
            count += 1
    return count


class Cases:
    """Each makes a source of `share` of its full size below `folder`: (source, messages)."""

    def __init__(self, divide):
        self.divide = divide

    def scaled(self, size, share):
        return max(1, int(size * share) // self.divide)

    def messages(self, folder, share):
        source = folder / 'Inbox.mbox'
        return source, small_messages(source, self.scaled(1_000_000, share))

    def folders(self, folder, share):
        source = folder / 'mail'
        source.mkdir()
        return source, sum(small_messages(source / f'Folder {i}.mbox', 20, i * 20)
                           for i in range(self.scaled(2_000, share)))

    def attachment(self, folder, share):
        source = folder / 'Inbox.mbox'
        return source, one_attachment(source, self.scaled(1_000_000_000, share))

    def mailboxes(self, folder, share):
        source = folder / 'mail'
        count = self.scaled(100_000, share)
        for i in range(count):
            (source / f'Folder {i}').mkdir(parents=True)
            small_messages(source / f'Folder {i}' / 'Mail.mbox', 1, i)
        return source, count

    def large(self, folder, share):
        source = folder / 'mail'
        source.mkdir()
        first = source / 'Part 0.mbox'
        messages = many_attachments(first, LARGE_MAILBOX // self.divide)
        # Base64 takes 77 bytes for 57.
        copies = max(1, round(FILLED_TO * share / (LARGE_MAILBOX * 57 / 77)))
        for i in range(1, copies):
            os.link(first, source / f'Part {i}.mbox')
        return source, messages * copies


def single(path, pieces, header_fields='', end='\n'):
    """A mailbox of one message."""
    with open(path, 'w', encoding='latin-1', newline='\n') as file:
        file.write(f'{SEPARATOR}From: Ingrid Dahl <ingrid@example.org>\n'
                   f'Date: Fri, 1 Mar 2019 08:00:00 +0000\n{header_fields}')
        file.writelines(pieces)
        file.write(end)


MULTIPART = 'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="c"\n\n'


def parts(part):
    return lambda path, count: single(path, (f'--c\n{part(i)}' for i in range(count)), MULTIPART,
                                      '--c--\n\n')


def address_list(address):
    return lambda path, count: single(path, (f'{address(i)},\n ' for i in range(count)), 'To: ',
                                      'last@example.org\n\nbody\n\n')


# Of which there are how many, and how they are written.
PERVERSE = {
    'attachments': (100_000, parts(lambda i: 'Content-Disposition: attachment\n\na\n')),
    'addresses': (1_000_000, address_list(lambda i: f'a{i}@b.cc')),
    'recipients': (200_000, address_list(lambda i: f'person{i}@example.org')),
    'parts': (200_000, parts(lambda i: '\na\n')),
    'embedded': (20_000, parts(lambda i: 'Content-Type: message/rfc822\n\n'
                                         f'Subject: {i}\nFrom: a@x.org\n\nhello\n')),
    'subject': (100_000_000 // 72, lambda path, count: single(
        path, ('word ' * 14 + '\n ' for _ in range(count)), 'Subject: ', 'end\n\nbody\n\n')),
    'words': (100_000_000 // 71, lambda path, count: single(
        path, ('=?utf-8?Q?' + 'word_' * 11 + '?=\n ' for _ in range(count)), 'Subject: ',
        'end\n\nbody\n\n')),
    'raw': (100_000_000 // 72, lambda path, count: single(
        path, ('w\xe4rd ' * 14 + '\n ' for _ in range(count)), 'Subject: ', 'end\n\nbody\n\n')),
    'quotes': (5, lambda path, count: single(path, ('"' * 1_000_000 for _ in range(count)), 'To: ',
                                             '\n\nbody\n\n')),
    'commas': (5, lambda path, count: single(path, ('a,' * 500_000 for _ in range(count)), 'To: ',
                                             '\n\nbody\n\n')),
    'nul': (600, lambda path, count: single(path, ('\0' * 1_000_000 for _ in range(count)), '\n',
                                            '\n\n')),
}


def run(*arguments, expect=(0,)):
    """Seconds, peak resident bytes and standard output of a program."""
    with tempfile.TemporaryFile() as out:
        start = time.perf_counter()
        process = subprocess.Popen([str(a) for a in arguments], stdout=out)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        seconds = time.perf_counter() - start
        if process.returncode not in expect:
            sys.exit(f'{arguments}: exit {process.returncode}')
        out.seek(0)
        lines = sum(1 for line in out if line.startswith(b'Email\t')) if arguments[0] == 'lspst' else 0
        out.seek(0)
        return seconds, usage.ru_maxrss * 1024, lines or out.read(1 << 20).decode('utf-8', 'replace')


def message_bytes(parvane, pst):
    out = subprocess.run([parvane, 'list', '--json', pst], stdout=subprocess.PIPE, check=True).stdout
    return sum(folder['bytes'] for folder in json.loads(out)['folders'])


def free_bytes(pst):
    with open(pst, 'rb') as file:
        return struct.unpack_from('<Q', file.read(564), 200)[0]


def measure(arguments, case, share):
    with tempfile.TemporaryDirectory(dir=arguments.folder) as name:
        folder = pathlib.Path(name)
        pst, report = folder / 'out.pst', folder / 'report.json'
        source, messages = getattr(Cases(arguments.divide), case)(folder, share)
        seconds, memory, _ = run(arguments.parvane, 'convert', '--quiet', '--report', report, source,
                                 pst)
        account = json.loads(report.read_text(encoding='utf-8'))
        if account['totals']['written'] != messages:
            sys.exit(f'{case}: {account["totals"]} of {messages} messages')
        size = pst.stat().st_size
        result = {'case': case, 'share': share, 'messages': messages, 'seconds': seconds,
                  'sourceBytes': account['totals']['bytes'], 'pstBytes': size,
                  'peakMemoryBytes': memory,
                  'overhead': size / message_bytes(arguments.parvane, pst) - 1,
                  'free': free_bytes(pst) / size}
        seconds, memory, text = run(arguments.parvane, 'check', pst)
        if not re.search(r'no fault found', text):
            sys.exit(f'{case}: {text}')
        result.update(checkSeconds=seconds, checkMemoryBytes=memory)
        if shutil.which('lspst'):
            seconds, memory, listed = run('lspst', pst)
            if listed != messages:
                sys.exit(f'{case}: lspst lists {listed} of {messages} messages')
            result.update(lspstSeconds=seconds, lspstMemoryBytes=memory)
        return result


def measure_perverse(arguments, case):
    with tempfile.TemporaryDirectory(dir=arguments.folder) as name:
        source, pst = pathlib.Path(name) / 'Inbox.mbox', pathlib.Path(name) / 'out.pst'
        count, write = PERVERSE[case]
        write(source, max(1, count // arguments.divide))
        # 1: some of what it holds may be refused, and said to be.
        seconds, memory, _ = run(arguments.parvane, 'convert', '--quiet', source, pst, expect=(0, 1))
        size = source.stat().st_size
        run(arguments.parvane, 'check', pst)
        return {'case': case, 'sourceBytes': size, 'pstBytes': pst.stat().st_size,
                'seconds': seconds, 'peakMemoryBytes': memory,
                'limitBytes': (64 << 20) + 4 * size}


def print_perverse(results):
    print(f'{"message":14}{"MB":>8}{"PST MB":>9}{"seconds":>9}{"peak MB":>9}{"limit MB":>10}')
    for r in results:
        over = '  OVER' if r['peakMemoryBytes'] > r['limitBytes'] else ''
        print(f'{r["case"]:14}{r["sourceBytes"] / 1e6:8.1f}{r["pstBytes"] / 1e6:9.1f}'
              f'{r["seconds"]:9.1f}{r["peakMemoryBytes"] / 1e6:9.0f}{r["limitBytes"] / 1e6:10.0f}'
              f'{over}')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--parvane', required=True)
    cases = ('messages', 'folders', 'attachment', 'large', 'mailboxes')
    parser.add_argument('--only', nargs='+', choices=(*cases, *PERVERSE), default=(*cases, *PERVERSE))
    parser.add_argument('--divide', type=int, default=1)
    parser.add_argument('--folder', help='where the files go (16 GB); default: a temporary folder')
    parser.add_argument('--json', action='store_true')
    arguments = parser.parse_args()

    results = []
    if not arguments.json:
        print(f'{platform.platform()}, {os.cpu_count()} processors')
        print(f'{"case":12}{"messages":>10}{"PST MB":>9}{"seconds":>9}{"MB/s":>7}{"peak MB":>9}'
              f'{"overhead":>10}{"free":>7}{"check s":>9}{"MB":>6}{"lspst s":>9}'
              f'{"x time":>8}{"x memory":>10}{"x file":>8}')
    for case in (case for case in arguments.only if case in cases):
        small, large = (measure(arguments, case, share) for share in (0.1, 1))
        for key in ('seconds', 'peakMemoryBytes', 'pstBytes'):
            large[f'{key}Growth'] = large[key] / small[key]
        for r in (small, large):
            results.append(r)
            if arguments.json:
                continue
            growth = (f'{r["secondsGrowth"]:8.1f}{r["peakMemoryBytesGrowth"]:10.2f}'
                      f'{r["pstBytesGrowth"]:8.1f}' if r is large else '')
            print(f'{case:12}{r["messages"]:10}{r["pstBytes"] / 1e6:9.0f}{r["seconds"]:9.1f}'
                  f'{r["sourceBytes"] / r["seconds"] / 1e6:7.1f}{r["peakMemoryBytes"] / 1e6:9.0f}'
                  f'{r["overhead"]:10.1%}{r["free"]:7.1%}{r["checkSeconds"]:9.1f}'
                  f'{r["checkMemoryBytes"] / 1e6:6.0f}{r.get("lspstSeconds", 0):9.1f}{growth}',
                  flush=True)
    perverse = [measure_perverse(arguments, case) for case in arguments.only if case in PERVERSE]
    if perverse and not arguments.json:
        print_perverse(perverse)
    results += perverse
    if arguments.json:
        print(json.dumps({'machine': platform.platform(), 'processors': os.cpu_count(),
                          'results': results}, indent=1))


if __name__ == '__main__':
    main()
