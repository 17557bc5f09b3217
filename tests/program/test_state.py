"""What messages are marked with, from their mailboxes to the PST: read back through our own MAPI, and
property by property."""
import json
import re
import subprocess
import sys
import unittest

from harness import SHARED, WINDOWS, PstTest, Run, linux, shown

GENERATORS = SHARED / 'mail' / 'fixtures' / 'generators'

MARKS = {'unread': True, 'draft': False, 'flag': 'none', 'replied': False, 'forwarded': False,
         'importance': 'normal', 'categories': []}


def message(subject, *headers):
    lines = ['From - Wed Jan  1 12:00:00 2025', *headers, f'Subject: {subject}',
             f'Message-ID: <{subject}@example.invalid>', 'Date: Wed, 01 Jan 2025 12:00:00 +0000',
             'From: Ann <ann@example.invalid>', 'To: Bob <bob@example.invalid>', '', 'text', '']
    return '\n'.join(lines).encode() + b'\n'


def status(flags, flags2=0, keys=None):
    headers = [f'X-Mozilla-Status: {flags:04x}', f'X-Mozilla-Status2: {flags2:08x}']
    return headers + ([f'X-Mozilla-Keys: {keys:<80}'] if keys is not None else [])


# Each with what is to be seen of it, by its subject.
MAILBOX = {
    'plain': ([], {}),
    'read': (status(1), {'unread': False}),
    'answered': (status(3), {'unread': False, 'replied': True}),
    'forwarded': (status(0x1001), {'unread': False, 'forwarded': True}),
    'both': (status(0x1003), {'unread': False, 'replied': True}),
    'star': (status(5), {'unread': False, 'flag': 'flagged'}),
    'template': (status(1, 0x01000000), {'unread': False, 'draft': True}),
    'tags': (status(0, 0, '$label1 project_x odd'), {'categories': ['Dringend', 'Project X', 'odd']}),
    'junk': (status(0, 0, 'Junk'), {'categories': ['Junk']}),
    'deleted': (status(9), {'unread': False, 'categories': ['Deleted']}),
    'in part': (status(0x401), {'unread': False}),
    'urgent': (['X-Priority: 1'], {'importance': 'high'}),
    'idle': (['Priority: non-urgent'], {'importance': 'low'}),
    'forged': (['X-Pad: ' + 'x' * 600, *status(7)], {}),
}

PREFS = '''user_pref("mailnews.tags.$label1.tag", "Dringend");
user_pref("mailnews.tags.project_x.tag", "Project X");
'''


class State(PstTest):

    def profile(self):
        inbox = b''.join(message(subject, *headers) for subject, (headers, _) in MAILBOX.items())
        self.write('profile/prefs.js', PREFS.encode())
        self.write('profile/Mail/Local Folders/Inbox', inbox)
        return self.folder / 'profile'

    def items(self, pst):
        """{subject: what the program shows of the message's marks}"""
        items = [i for f in self.listing(pst, '--messages')['folders'] for i in f['items']]
        return {i['subject']: {name: i[name] for name in MARKS} for i in items}

    def test_marks_of_thunderbird(self):
        pst = self.folder / 'mail.pst'
        account = self.convert(self.profile(), pst)
        self.assertEqual(self.items(pst), {s: {**MARKS, **marks} for s, (_, marks) in MAILBOX.items()})
        self.assertEqual(account['totals']['stateKept'],
                         {'read': 8, 'replied': 2, 'forwarded': 1, 'flagged': 1, 'draft': 1, 'junk': 1,
                          'deleted': 1, 'categories': 1, 'importance': 2})
        remarks = {(r['code'], r['position'], r['place']) for r in account['remarks']}
        self.assertEqual(remarks, {('state-lost', 5, 'forwarded'), ('tag-nameless', 8, 'odd'),
                                   ('marked-deleted', 10, ''), ('fetched-in-part', 11, '')})
        text = self.parvane('list', '--messages', pst).out
        self.assertRegex(text, r'(?m)^ +\* .* tags  \[#Dringend, #Project X, #odd\]$')
        self.assertRegex(text, r'(?m) star  \[flagged\]$')

    def test_nothing_is_kept_unless_it_is_asked_for(self):
        source = self.profile()
        for keep in ('none', 'state', 'all'):
            pst = self.folder / f'{keep}.pst'
            account = self.convert('--keep', keep, source, pst)
            if keep == 'none':
                self.assertIsNone(account['totals']['stateKept'])
                expected = {s: {**MARKS, 'unread': not re.search('Status: ...[^02468ace]', ' '.join(h))}
                            for s, (h, _) in MAILBOX.items()}
                self.assertEqual(self.items(pst), expected)
            else:
                self.assertEqual(account['totals']['stateKept']['flagged'], 1)
        for keep in ('some', 'state,', ''):
            run = self.parvane('convert', '--keep', keep, source, self.folder / 'x.pst')
            self.assertEqual(run.code, 2, run)
            self.assertIn('is neither all, none nor a list of: state,', run.err)

    def test_deleted_messages_are_left_out_on_request(self):
        pst = self.folder / 'mail.pst'
        account = self.convert('--skip-deleted', '--detailed-log', self.folder / 'log', self.profile(), pst)
        self.assertEqual(set(self.items(pst)), set(MAILBOX) - {'deleted'})
        self.assertEqual((account['totals']['deletedSkipped'], account['totals']['read']),
                         (1, len(MAILBOX) - 1))
        self.assertIn('message 10 (at byte', (self.folder / 'log').read_text())
        # The others keep the places that they have in their mailbox.
        self.assertIn(11, [r['position'] for r in account['remarks']])

    def test_notes_about_the_folder_are_no_mail(self):
        notes = message("DON'T DELETE THIS MESSAGE -- FOLDER INTERNAL DATA",
                        'X-IMAP: 1136073600 0000000002')
        # Only in front of all others, and only with what the notes are kept in.
        source = self.write('box.mbox', notes + message('mail', 'Status: R') + notes)
        odd = self.write('odd.mbox', notes.replace(b'X-IMAP', b'X-Other'))
        for keep, skipped, read in (('all', 1, 3), ('none', 0, 4)):
            account = self.convert('--keep', keep, '--overwrite', '--log', self.folder / 'log', source,
                                   odd, self.folder / 'mail.pst')
            self.assertEqual((account['totals']['folderDataSkipped'], account['totals']['written']),
                             (skipped, read))
            named = "at byte 32 of %s: a mail program's notes" % shown(source)
            log = (self.folder / 'log').read_text('utf-8')
            self.assertEqual(named in log, keep == 'all', log)

    @linux
    def test_the_properties_that_outlook_writes(self):
        source = self.write('star.mbox', message('x', 'Status: R', 'X-Status: AF', 'X-Keywords: one two',
                                                 'Importance: high'))
        pst = self.folder / 'mail.pst'
        self.convert(source, pst)
        dump = self.parvane('check', '--dump', '0x200024', pst).out
        properties = dict(re.findall(r'^  ([0-9A-F]{8}) (?:PR_\w+)? *(.*)$', dump, re.M))
        for tag, value in {'00170003': '2 (0x2)', '00260003': '1 (0x1)', '0E070003': '1 (0x1)',
                           '10800003': '261 (0x105)', '10810003': '102 (0x66)', '10900003': '2 (0x2)',
                           '10950003': '6 (0x6)', '0E2B0003': '1 (0x1)', '0063000B': 'true',
                           '0C17000B': 'true'}.items():
            self.assertEqual(properties.get(tag), value, tag)
        named = [value for tag, value in properties.items() if tag.startswith('80')]
        two_words = '020000000C000000120000006F006E00650074' + '0077006F00'
        day = '2025-01-01 12:00:00 UTC (0x1DB5C44AEEF2000)'
        self.assertCountEqual(named, [two_words, '"Follow up"', '"x"', '0 (0x0)', '0 (0x0)', 'false',
                                      day, '"5555555"'])
        # The columns that views show, in the folder's table of contents.
        self.assertIn('34 columns, 0 rows', self.parvane('check', '--dump', '0x806E', pst).out, 'Deleted Items')
        dump = self.parvane('check', '--dump', '0x808E', pst).out
        self.assertIn('34 columns, 1 rows', dump)
        cells = dict(re.findall(r'^    ([0-9A-F]{8}) (?:PR_\w+)? *(.*)$', dump, re.M))
        for tag in ('10800003', '10900003', '10950003', '0E2B0003', '00170003'):
            self.assertEqual(cells.get(tag), properties[tag], tag)
        self.assertIn(two_words, cells.values())


def exported_properties(path):
    """{id or name: bytes} of one message, as pffexport -d dumps it."""
    found = {}
    for entry in path.read_text('utf-8').split('\n\n'):
        kind = (re.search(r'^Maps to entry:\s+(\S+)$', entry, re.M) or
                re.search(r'^Entry type:\s+(\S+)$', entry, re.M))
        lines = re.findall(r'^0x[0-9a-f]{8}: ((?:[0-9a-f]{2} {1,2})+)', entry, re.M)
        if kind and lines:
            found[kind[1]] = bytes.fromhex(''.join(lines))
    return found


def exported_marks(properties):
    """What State.items tells of a message, and its subject."""
    number = lambda id: int.from_bytes(properties.get(f'0x0000{id}', b''), 'little')
    flags, verb = number('0e07'), number('1081')
    names = properties.get('Keywords', bytes(4))
    count = int.from_bytes(names[:4], 'little')
    starts = [int.from_bytes(names[i:i + 4], 'little') for i in range(4, 4 + 4 * count, 4)] + [len(names)]
    return (re.sub('^\x01.', '', properties.get('0x00000037', b'').decode('utf-16le'), flags=re.S), {
        'unread': not flags & 1, 'draft': bool(flags & 8), 'replied': verb in (102, 103), 'forwarded': verb == 104,
        'flag': ('none', 'completed', 'flagged')[number('1090')],
        'importance': ('low', 'normal', 'high')[number('0017')],
        'categories': [names[a:b].decode('utf-16le') for a, b in zip(starts, starts[1:])]})


@unittest.skipUnless(GENERATORS.exists(), 'needs generators of mail that are not part of the project')
class GeneratedProfiles(PstTest):

    def generated(self, name, tag='other'):
        """The folder that the generator fills, and what it says must be found in there."""
        out = self.folder / tag
        subprocess.run([sys.executable, GENERATORS / f'make_{name}.py', out, tag], check=True,
                       capture_output=True)
        return out, json.loads((out / 'expected.json').read_text())

    def items(self, pst):
        """The messages as the program lists them, of which an independent reader says the same."""
        items = [i for f in self.listing(pst, '--messages')['folders'] for i in f['items']]
        if not WINDOWS:
            run = Run(['pffexport', '-q', '-d', '-t', self.folder / pst.stem, pst])
            self.assertEqual((run.code, run.err), (0, ''), run)
            exported = [exported_marks(exported_properties(path)) for path in
                        (self.folder / f'{pst.stem}.export').rglob('Message*/ItemValues.txt')]
            in_order = lambda found: sorted(found, key=repr)
            self.assertEqual(in_order(exported),
                             in_order([(i['subject'], {mark: i[mark] for mark in MARKS}) for i in items]))
        return items

    def converted(self, source):
        """The messages of a source of one folder."""
        pst = self.folder / f'{source.name}.pst'
        self.convert(source, pst)
        return self.items(pst)

    def test_marks_in_indexes_of_a_profile(self):
        for tag in ('tag1', 'tag2'):
            out, expected = self.generated('thunderbird', tag)
            pst = self.folder / f'{tag}.pst'
            account = self.convert(out, pst)
            items = {i['subject']: i for i in self.items(pst)}
            for folder in ('INBOX', 'Archive', 'Hashed', 'NoMsf'):
                for number, wanted in enumerate(expected[folder], 1):
                    item = items[f'{tag} {folder} {number}']
                    importance = {'lowest': 'low', 'highest': 'high'}.get(wanted['priority'], wanted['priority'])
                    # Of two verbs one is shown.
                    forwarded = wanted['forwarded'] and not wanted['replied']
                    extra = ['Junk'] * wanted['junk'] + ['Deleted'] * wanted['deleted']
                    read = wanted['read'] or (wanted['deleted'] and not item['unread'])
                    self.assertEqual(
                        (item['unread'], item['replied'], item['forwarded'], item['flag'] == 'flagged',
                         item['importance'], sorted(item['categories'])),
                        (not read, wanted['replied'], forwarded, wanted['starred'], importance,
                         sorted(wanted['tags'] + extra)), wanted)
            self.assertEqual([i['code'] for i in account['indexesNotUsed']], ['index-stale'])
            kept = self.convert('--overwrite', '--skip-deleted', out, pst)['totals']
            self.assertEqual(kept['deletedSkipped'], 3)

    def test_status_headers(self):
        out, expected = self.generated('folders')
        items = [i for i in self.converted(out / 'mbox' / 'status') if 'INTERNAL DATA' not in i['subject']]
        for item, wanted in zip(items, expected['mbox:status'], strict=True):
            flags = set(wanted['flags'])
            self.assertEqual(
                (item['unread'], item['replied'], item['flag'] == 'flagged', item['draft']),
                ('read' not in flags, 'replied' in flags, 'flagged' in flags, 'draft' in flags), wanted)
            names = {'keyword:$label1': 'Important', 'keyword:project_x': 'project_x', 'deleted': 'Deleted'}
            self.assertCountEqual(item['categories'], [names[f] for f in flags if f in names])


if __name__ == '__main__':
    unittest.main()
