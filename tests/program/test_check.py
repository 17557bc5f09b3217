"""parvane check: what it says and how it exits."""
import json
import unittest

import mailboxes
from harness import NO_SUCH_FILE, PstTest, linux, shown


class Check(PstTest):
    def setUp(self):
        super().setUp()
        mail = b'From a@b Fri Mar  1 07:00:00 2019\nFrom: Ingrid <i@x.org>\nSubject: hello\n\ntext\n\n'
        self.pst = self.folder / 'mail.pst'
        self.convert(self.write('Inbox.mbox', 3 * mail), self.pst)

    def damage(self, offset):
        data = bytearray(self.pst.read_bytes())
        data[offset] ^= 1
        self.write(self.pst.name, data)

    def test_a_sound_file(self):
        before = self.pst.read_bytes()
        run = self.parvane('check', self.pst)
        self.assertEqual((run.code, run.err), (0, ''), run)
        self.assertRegex(run.out, r'^\S+mail\.pst: no fault found in [0-9.]+ kB \(\d+ folders, 3 messages, ')
        found = json.loads(self.parvane('check', '--json', self.pst).out)
        self.assertEqual((found['complete'], found['clean'], found['findings']), (True, True, []))
        self.assertEqual(found['examined']['messages'], 3)
        self.assertEqual(self.pst.read_bytes(), before)

    def test_one_node(self):
        for nid, code, says in (
                ('0x200024', 0, r'(?s)^in node 0x\w+\nnode 0x200024: message, .*'
                 r'\n  0042001F PR_SENT_REPRESENTING_NAME  +"Ingrid"\n'),
                ('0x60E', 0, r'contents table.*\n  \d+ columns, 0 rows\n$'),
                ('33', 0, r'\n  3001001F PR_DISPLAY_NAME  +"mail"\n'),
                ('0x99', 3, '^$'), ('Inbox', 2, '^$')):
            run = self.parvane('check', '--dump', nid, self.pst)
            self.assertEqual((run.code, run.err == ''), (code, code == 0), run)
            self.assertRegex(run.out, says)

    def test_a_damaged_file(self):
        self.damage(0x45E0)  # in the first allocation map, where it tells of free space
        run = self.parvane('check', self.pst)
        self.assertEqual((run.code, run.err), (1, ''), run)
        self.assertRegex(run.out, r'(?m)^error: AMap at 0x4400: dwCRC .* \[page-crc\]$')
        self.assertRegex(run.out, r'(?m)^\S+mail\.pst: 1 error and \d+ warnings? in ')
        run = self.parvane('check', '--json', self.pst)
        self.assertEqual(run.code, 1, run)
        found = json.loads(run.out)
        self.assertEqual((found['clean'], found['errors'], found['counts']['page-crc']), (False, 1, 1))
        self.assertIn('page-crc', [f['code'] for f in found['findings'] if f['severity'] == 'error'])

    def test_what_is_no_pst(self):
        for path, says in ((self.folder / 'missing.pst', NO_SUCH_FILE),
                           (self.folder, 'not a regular file'),
                           *self.other_kinds()):
            with self.subTest(path=path):
                run = self.parvane('check', path)
                self.assertEqual((run.code, run.out), (3, ''), run)
                self.assertRegex(run.err, r'^parvane: .*\n$')
                self.assertIn(says, run.err)
                self.assertIn(shown(path), run.err)
                if not path.exists() or path == self.folder:
                    continue
                before = path.read_bytes()
                for command in (['list'], ['convert', '--append', self.folder / 'Inbox.mbox']):
                    other = self.parvane(*command, path)
                    self.assertEqual((other.code, other.err.split(';')[0].strip()),
                                     (3, run.err.split(';')[0].strip()), other)
                self.assertEqual(path.read_bytes(), before)

    @linux
    def test_a_listing_goes_on_behind_damage(self):
        """Whatever 64 bytes are damaged, what is listed is right, and what is missing is named."""
        sound, data = self.listing(self.pst, '--messages'), self.pst.read_bytes()
        bad, went_on = self.folder / 'bad.pst', 0
        for at in range(0x4600, len(data), 128):
            if not any(data[at:at + 64]):
                continue
            bad.write_bytes(data[:at] + bytes(64) + data[at + 64:])
            run = self.parvane('list', '--json', '--messages', bad)
            self.assertIn(run.code, (0, 1, 3), run)
            self.assertEqual(run.err == '', run.code == 0, run)
            if run.code == 3:
                continue
            found = json.loads(run.out)
            self.assertEqual(found['unreadable'] == [], run.code == 0, run)
            for folder in found['folders']:
                if run.code == 0 or found['totals']['messages'] == sound['totals']['messages']:
                    self.assertIn(folder, sound['folders'])
            went_on += run.code == 1 and found['totals']['messages'] > 0
        bad.unlink()
        self.assertGreater(went_on, 3)

    @linux
    def test_rows_behind_a_damaged_one_are_listed(self):
        self.convert('--overwrite', self.write('many.mbox', mailboxes.many(300)), self.pst)
        data, bad = self.pst.read_bytes(), self.folder / 'bad.pst'
        went_on = False
        for at in range(0x4600, len(data), 4096):
            bad.write_bytes(data[:at] + bytes(64) + data[at + 64:])
            run = self.parvane('list', '--json', '--messages', bad)
            folders = json.loads(run.out)['folders'] if run.code == 1 else []
            items = [item for f in folders if f['path'] == ['many'] for item in f['items']]
            went_on |= 0 < len(items) < 300 and items[-1]['subject'] == 'message 299'
        bad.unlink()
        self.assertTrue(went_on, 'the first row that could not be read ended its table')

    def other_kinds(self):
        def file(kind, content):
            return self.write(f'{kind}.pst', content)
        return ((file('text', b'x' * 1000), 'is no PST'), (file('empty', b''), 'is empty, no PST'),
                (file('ansi', b'!BDN\0\0\0\0SM\x0e' + bytes(1000)), 'ANSI'),
                (file('ost', b'!BDN\0\0\0\0SO\x24' + bytes(1000)), 'offline copy of a server mailbox (OST)'),
                (file('later', b'!BDN\0\0\0\0SM\x63' + bytes(1000)), 'unknown version (wVer 99)'),
                (file('stump', self.pst.read_bytes()[:300]), 'is a PST cut off after 300 bytes'))


if __name__ == '__main__':
    unittest.main()
