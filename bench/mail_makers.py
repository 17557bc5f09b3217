"""The mailboxes that benchmarks convert: A small mail, B attachments, C newsletters.

  A   short messages of a few kB, one in five in HTML too; or real mail, the mbox files of a folder
      over and over
  B   base64 PDFs and pictures of 0.1 to 5 MB
  C   HTML newsletters of 30 to 60 kB with 40 to 70 lines of header (newsletters.py)

The same kind and size gives the same bytes on every machine.
"""
import base64
import pathlib
import random
import sys
import time

from newsletters import Newsletters

MEGABYTES = {'A': 200, 'B': 500, 'C': 200}

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


def fill(path, size, make):
    written = number = 0
    with open(path, 'w', encoding='utf-8', newline='\n') as file:
        while written < size:
            written += file.write(make(number))
            number += 1


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


def make_mailbox(kind, path, size, real=None):
    """Writes a mailbox of about `size` bytes; A from the mail below `real`, where given."""
    if kind == 'A' and real:
        repeat(real, path, size)
    elif kind == 'C':
        fill(path, size, Newsletters(5).message)
    else:
        generator = Generator(5)
        fill(path, size, generator.small if kind == 'A' else generator.heavy)
