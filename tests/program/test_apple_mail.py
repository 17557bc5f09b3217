"""Apple Mail's folders, from the disk to the PST: what is expected, generators and published files
say; independent readers judge what was written."""
import hashlib
import json
import re
import shutil
import subprocess
import sys
import unicodedata
import unittest

from harness import SHARED, PstTest, Run, file_name, linux

FIXTURES = SHARED / 'mail' / 'fixtures'
GENERATOR = FIXTURES / 'generators' / 'make_applemail.py'
PUBLISHED = FIXTURES / 'emlx' / 'partial-emlx-converter'


class AppleMail(PstTest):

    def items(self, pst):
        """{path: [item...]} of every folder with mail."""
        return {'/'.join(f['path']): f['items'] for f in self.listing(pst, '--messages')['folders']
                if f['items']}

    def attachments(self, pst):
        """[(subject, {name: bytes})...] of every message, in no order, by pffexport."""
        out = self.folder / 'exported'
        run = Run(['pffexport', '-q', '-t', out, pst])
        self.assertEqual((run.code, run.err), (0, ''), run)
        found = []
        for headers in out.with_suffix('.export').rglob('OutlookHeaders.txt'):
            subject = re.search(r'^Subject:\s*(.*)$', headers.read_text(), re.M)[1]
            found.append((subject, {f.name.partition('_')[2]: f.read_bytes()
                                    for f in (headers.parent / 'Attachments').glob('*')}))
        for leftover in self.folder.glob('exported.*'):
            shutil.rmtree(leftover)
        return found

    @staticmethod
    def marks(item):
        marks = {name for name in ('replied', 'forwarded', 'draft') if item[name]}
        marks |= {'read'} if not item['unread'] else set()
        marks |= {'flagged'} if item['flag'] == 'flagged' else set()
        marks |= {c.lower() for c in item['categories']}
        return sorted('answered' if mark == 'replied' else mark for mark in marks)

    @staticmethod
    def subject(expected):
        return expected['message_id'].partition('@')[0].replace('.', ' message ')

    def check(self, expected, source, pst):
        """`expected`: {folder: messages} as the generator says."""
        account = self.convert(source, pst)
        found = self.items(pst)
        self.assertEqual(set(found), set(expected))
        for folder, messages in expected.items():
            self.assertEqual({i['subject']: self.marks(i) for i in found[folder]},
                             {self.subject(m): m.get('flags', []) for m in messages})
        attachments = dict(self.attachments(pst))
        for message in (m for messages in expected.values() for m in messages):
            there = attachments[self.subject(message)]
            wanted = message.get('attachments', [])
            self.assertEqual(len(there), len(wanted), message)
            for one in wanted:
                # The header's name, whose accents may stand behind their letters.
                name = next(n for n in there
                            if unicodedata.normalize('NFC', n) in one['name'].split(' or '))
                digest = hashlib.sha256(there[name]).hexdigest()
                self.assertEqual(digest, one.get('sha256', hashlib.sha256(b'').hexdigest()), message)
        self.assert_readers_agree(pst, account['totals']['read'])
        return account

    def generated(self, tag):
        root = self.folder / tag
        subprocess.run([sys.executable, GENERATOR, root, tag], check=True, stdout=subprocess.PIPE)
        parts = {'': {}, 'old': {}, 'export': {}}
        for folder, messages in json.loads((root / 'expected.json').read_text()).items():
            part, _, name = folder.rpartition(':')
            parts[part][name] = messages
        return root, parts

    @unittest.skipUnless(GENERATOR.exists(), 'needs the fixtures')
    @linux
    def test_what_was_generated(self):
        for tag in ('one', 'two', 'three'):
            root, expected = self.generated(tag)
            for part, below in {'': 'Library/Mail', 'old': 'old/Library/Mail', 'export': 'export'}.items():
                with self.subTest(tag=tag, part=part):
                    account = self.check(expected[part], root / below, self.folder / f'{tag}{part}.pst')
                    remarks = account['totals']['remarks']
                    self.assertEqual(remarks['part-not-fetched'], 0 if part else 1)
                    passed_over = [s['code'] for s in account['passedOver'] if s['code'] != 'other-file']
                    self.assertEqual(passed_over, [] if part else ['older-copy'])

    @unittest.skipUnless(PUBLISHED.exists(), 'needs the fixtures')
    @linux
    def test_published_files(self):
        pst = self.folder / 'mail.pst'
        account = self.convert(PUBLISHED / 'input', pst)
        self.assertEqual(account['totals']['written'], 6)
        self.assertEqual(account['totals']['remarks']['part-not-fetched'], 4)
        put_back = {}
        for number in ('114892', '114894', '207046'):
            for path in (PUBLISHED / 'input' / 'Attachments' / number).rglob('*'):
                if path.is_file():
                    put_back.setdefault(path.read_bytes(), path)
        written = [file for _, files in self.attachments(pst) for file in files.items()]
        names, contents = map(set, zip(*written))
        self.assertEqual([path for data, path in put_back.items() if data not in contents], [])
        self.assertLess({'original.doc', 'Tu\u0308bingen.pdf'}, names)
        self.assert_readers_agree(pst, 6)

    def write_message(self, path, flags=1, body='text', headers=''):
        text = (f'Message-ID: <{path}@example.invalid>\nSubject: {path}\nFrom: a@example.invalid\n'
                f'Date: Wed, 01 Jan 2025 12:00:00 +0000\n{headers}\n{body}\n')
        self.write(path, (f'{len(text)}\n{text}<?xml version="1.0"?>\n<plist version="1.0"><dict><key>'
                          f'flags</key><integer>{flags}</integer></dict></plist>\n').encode())

    def test_recognised_and_told(self):
        self.write_message('Mail/V10/IMAP-a@example.invalid/In.mbox/x/Data/Messages/1.emlx')
        self.write_message('Mail/V10/IMAP-a@example.invalid/In.mbox/x/Data/Messages/2.emlx', flags=2)
        self.write('Mail/V10/IMAP-a@example.invalid/In.mbox/x/Data/Messages/3.emlx', b'')
        self.write('A.mbox/mbox', b'From a Wed Jan  1 12:00:00 2025\nSubject: a\n\na\n')
        self.write('B.mbox/mbox', b'From a Wed Jan  1 12:00:00 2025\nSubject: b\n\nb\n')
        pst = self.folder / 'mail.pst'
        self.convert(self.folder / 'A.mbox', self.folder / 'B.mbox', pst)
        self.assertEqual(self.listed_folders(pst), {('A',): 1, ('B',): 1})
        self.convert('--overwrite', '--name', 'C', self.folder / 'A.mbox', pst)
        self.assertEqual(self.listed_folders(pst), {('C',): 0, ('C', 'A'): 1})
        one = self.folder / 'Mail/V10/IMAP-a@example.invalid/In.mbox/x/Data/Messages/1.emlx'
        self.convert('--overwrite', one, pst)
        self.assertEqual(self.listed_folders(pst), {('1',): 1})
        self.convert('--overwrite', '.', pst, cwd=self.folder / 'A.mbox')
        self.assertEqual(self.listed_folders(pst), {('A',): 1})
        account = self.convert('--overwrite', '--skip-deleted', self.folder / 'Mail', pst, code=1)
        self.assertEqual([f['path'] for f in account['folders'] if f['written']],
                         [['a@example.invalid', 'In']])
        self.assertEqual(account['totals']['written'], 1)
        self.assertEqual([(s['code'], file_name(s['path'])) for s in account['passedOver']],
                         [('unreadable', '3.emlx')])


if __name__ == '__main__':
    unittest.main()
