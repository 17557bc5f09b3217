"""Compares, field by field, the messages of an mbox with those read back from a PST.

The PST is read by pstcheck.py, the mbox by Python's email package; neither shares code with this
project.
"""
import collections
import hashlib
import json
import re
import subprocess
import sys

from source_mail import raw, squeeze

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

    @property
    def embedded(self):
        return [StoredMessage(a['message']) for a in self.entry['attachments'] if 'message' in a]

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


def known_reason(field, source, expected, found):
    """Why two values may differ, when the way this project treats mail on purpose explains it."""
    if field == 'attachments':
        kinds = {part.get_content_type() for part in source.mail.walk()}
        for kind, reason in (('message/delivery-status', 'Python takes a report to pieces'),
                             ('application/ms-tnef', 'what is in a winmail.dat takes its place'),
                             ('text/enriched', 'a nameless text tells its charset')):
            if kind in kinds:
                return reason
    if field in ('sender', 'recipients'):
        names = ('From',) if field == 'sender' else ('To', 'Cc', 'Bcc')
        written = ' '.join(raw(v) for n in names for v in source.mail.get_all(n, []))

        def addresses(value):
            people = [value] if field == 'sender' else value
            return [person[-1].replace('"', '') for person in people]
        if addresses(expected) == addresses(found):
            if '(' in written:
                return 'comments in address fields are no names'
            if '"' in written:
                return 'words around a quoted name, or a quoted address'
    return None


def compare(source, stored):
    """{field: (agrees, known reason, expected, found)}"""
    sender = (source.addresses('From') or [('', '')])[0]
    expected_headers = collections.Counter(
        f for f in source.header_fields() if f[0] not in REPAIRED_HEADERS)
    found_headers = collections.Counter(
        f for f in stored.header_fields() if f[0] not in REPAIRED_HEADERS)
    plain, html = source.body('plain'), source.body('html')
    pairs = {
        'subject': (source.subject, stored.subject),
        'sender': ((sender[0] or sender[1], sender[1]), stored.sender),
        'recipients': (source.recipients, stored.recipients),
        'date': (source.date, stored.date),
        'plain body': (plain, stored.text(0x1000)),
        'html body': (html, stored.html),
        'transport headers': (expected_headers, found_headers),
        'attachments': (source.attachment_hashes(), stored.attachment_hashes()),
    }
    same = {'plain body': same_body, 'html body': same_html}
    outcome = {}
    for field, (expected, found) in pairs.items():
        agrees = same.get(field, lambda a, b: a == b)(expected, found)
        reason = None if agrees else known_reason(field, source, expected, found)
        outcome[field] = (agrees, reason, expected, found)
    return outcome


class Tally:
    """Counts over many messages, and the differences in words."""

    def __init__(self):
        self.messages = 0
        self.agreeing = collections.Counter()
        self.explained = collections.Counter()
        self.reasons = collections.Counter()
        self.differences = []

    def add(self, label, outcome):
        self.messages += 1
        for field, (agrees, reason, expected, found) in outcome.items():
            self.agreeing[field] += agrees
            if reason:
                self.explained[field] += 1
                self.reasons[f'{field}: {reason}'] += 1
            elif not agrees:
                self.differences.append(f'{label}, {field}:\n  expected {str(expected)[:500]!r}\n'
                                        f'  found    {str(found)[:500]!r}')

    def __str__(self):
        lines = [f'{field:18} {self.agreeing[field]} of {self.messages} agree, '
                 f'{self.explained[field]} differ for a known reason' for field in FIELDS]
        lines += [f'{count:6} {reason}' for reason, count in self.reasons.items()]
        return '\n'.join(self.differences + lines)
