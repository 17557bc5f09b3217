#!/usr/bin/env python3
"""Compares, field by field, the messages of an mbox with those read back from a PST.

  usage: fields.py PSTCHECK MBOX PST

The PST is read by pstcheck.py, the mbox by Python's email package; neither shares code with this
project. Prints for each field how many messages agree, and every other one with the reason where
one of the known ones applies.
"""
import collections
import hashlib
import json
import re
import subprocess
import sys

from source_mail import SourceMessage, split_mbox, squeeze

FIELDS = ('subject', 'sender', 'recipients', 'date', 'plain body', 'html body',
          'transport headers', 'attachments')
# Rewritten by the repair of damaged headers before the message is parsed.
REPAIRED_HEADERS = {'from', 'to', 'cc', 'bcc', 'sender', 'reply-to', 'date'}
FILETIME_EPOCH = 11_644_473_600


class StoredMessage:
    """One message of `pstcheck.py export`."""

    def __init__(self, entry):
        self.entry = entry
        self.properties = entry['properties']

    def text(self, identifier):
        return self.properties.get(f'0x{identifier:04X}001F')

    @property
    def subject(self):
        # Two characters before the text give the length of its prefix ("Re: ").
        text = self.text(0x0037) or ''
        return squeeze(text[2:] if text.startswith('\x01') else text)

    @property
    def sender(self):
        return squeeze(self.text(0x0042)), squeeze(self.text(0x0065))

    @property
    def recipients(self):
        return [(r['type'], squeeze(r['name']), squeeze(r['address']))
                for r in self.entry['recipients']]

    @property
    def date(self):
        ticks = self.properties.get('0x00390040')
        return None if ticks is None else ticks // 10_000_000 - FILETIME_EPOCH

    @property
    def html(self):
        return self.properties.get('0x10130102')

    def attachment_hashes(self):
        return sorted(a['sha256'] for a in self.entry['attachments'] if 'sha256' in a)

    def header_fields(self):
        unfolded = re.sub(r'\r?\n[ \t]+', ' ', self.text(0x007D) or '')
        fields = (line.partition(':') for line in unfolded.splitlines())
        return [(name.lower(), squeeze(value)) for name, colon, value in fields if colon]


def read_pst(pstcheck, pst):
    done = subprocess.run([sys.executable, str(pstcheck), 'export', str(pst)], check=True,
                          stdout=subprocess.PIPE)
    entries = [json.loads(line) for line in done.stdout.splitlines()]
    return [StoredMessage(entry) for entry in entries if 'properties' in entry]


def same_body(expected, stored):
    def lines(text):
        return (text or '').replace('\r\n', '\n').replace('\r', '\n').rstrip('\n')
    return lines(expected) == lines(stored)


def same_html(expected, stored):
    """`stored` is hex, or for long values length and hash; line ends and those at the end of the
    text may differ."""
    if not expected or stored is None:
        return not expected and stored is None
    trimmed = expected.replace('\r\n', '\n').rstrip('\n')
    for ending in ('', '\n', expected.replace('\r\n', '\n')[len(trimmed):]):
        for line_end in ('\n', '\r\n'):
            data = (trimmed + ending).replace('\n', line_end).encode('utf-8')
            digest = {'sha256': hashlib.sha256(data).hexdigest(), 'length': len(data)}
            if stored in (data.hex(), digest):
                return True
    return False


def compare(source, stored):
    """{field: (agrees, expected, found)}"""
    sender = (source.addresses('From') or [('', '')])[0]
    plain, html = source.body('plain'), source.body('html')
    expected_headers = collections.Counter(
        f for f in source.header_fields() if f[0] not in REPAIRED_HEADERS)
    found_headers = collections.Counter(
        f for f in stored.header_fields() if f[0] not in REPAIRED_HEADERS)
    result = {
        'subject': (source.subject, stored.subject),
        'sender': ((sender[0] or sender[1], sender[1]), stored.sender),
        'recipients': (source.recipients, stored.recipients),
        'date': (source.date, stored.date),
        'transport headers': (expected_headers, found_headers),
        'attachments': (source.attachment_hashes(), stored.attachment_hashes()),
    }
    outcome = {field: (a == b, a, b) for field, (a, b) in result.items()}
    outcome['plain body'] = (same_body(plain, stored.text(0x1000)), plain, stored.text(0x1000))
    outcome['html body'] = (same_html(html, stored.html), html, stored.html)
    return outcome


def main():
    pstcheck, mbox, pst = sys.argv[1:]
    sources = [SourceMessage(data) for data in split_mbox(open(mbox, 'rb').read())]
    stored = read_pst(pstcheck, pst)
    print(f'{len(sources)} messages in the mbox, {len(stored)} in the PST')
    agreeing = collections.Counter()
    for number, pair in enumerate(zip(sources, stored), 1):
        for field, (agrees, expected, found) in compare(*pair).items():
            agreeing[field] += agrees
            if not agrees:
                print(f'message {number}, {field}:\n  expected {str(expected)[:600]!r}\n'
                      f'  found    {str(found)[:600]!r}')
    for field in FIELDS:
        print(f'{field:18} {agreeing[field]} of {len(sources)}')
    return 0


if __name__ == '__main__':
    sys.exit(main())
