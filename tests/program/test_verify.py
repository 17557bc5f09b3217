"""parvane verify: whether all mail is in a PST, and as it was."""
import base64
import hashlib
import json
import re
import unittest

import mailboxes
from harness import PstTest

PICTURE = bytes(range(256)) * 40


def with_attachment(number, data=PICTURE):
    lines = base64.encodebytes(data).decode()
    extra = 'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n'
    body = ('--b\nContent-Type: text/plain\n\nSee the picture.\n\n--b\n'
            'Content-Type: application/octet-stream; name=p.bin\n'
            'Content-Disposition: attachment; filename=p.bin\n'
            f'Content-Transfer-Encoding: base64\n\n{lines}--b--\n')
    return mailboxes.message(number, extra=extra, body=body,
                             to='Tomas <tomas@example.org>, Ana <ana@example.org>')


class Verify(PstTest):

    def setUp(self):
        super().setUp()
        self.mail = self.folder / 'mail'
        self.inbox = mailboxes.message(1) + with_attachment(2) + mailboxes.message(3)
        self.write('mail/Inbox.mbox', self.inbox)
        self.write('mail/Sent.mbox', mailboxes.message(4) + mailboxes.message(5))

    def pst_of(self, *arguments, name='mail.pst', **files):
        """A PST of the mail, with these mailboxes in place of those that it has (None: without)."""
        kept = {path: path.read_bytes() for path in self.mail.iterdir()}
        for stem, content in files.items():
            path = self.mail / f'{stem}.mbox'
            path.unlink(missing_ok=True)
            if content is not None:
                path.write_bytes(content)
        self.convert(*arguments, self.mail, self.folder / name)
        for path in self.mail.iterdir():
            path.unlink()
        for path, content in kept.items():
            path.write_bytes(content)
        return self.folder / name

    def verify(self, *arguments, code=0):
        run = self.parvane('verify', '--json', *arguments)
        self.assertEqual(run.code, code, run)
        found = json.loads(run.out)
        self.assertEqual(found['allThere'], code == 0)
        return found

    def found(self, found):
        return [(f['kind'], f['folder'][-1], f.get('position'), *f['different'],
                 *f.get('foundIn', [])[-1:]) for f in found['findings']]

    def test_finds_what_is_not_as_it_was(self):
        flipped = bytearray(PICTURE)
        flipped[5000] ^= 1
        sent = (self.mail / 'Sent.mbox').read_bytes()
        cases = (
            ('nothing', {}, []),
            ('one message removed', {'Inbox': mailboxes.message(1) + with_attachment(2)},
             [('missing', 'Inbox', 3)]),
            ('one attachment byte flipped',
             {'Inbox': mailboxes.message(1) + with_attachment(2, flipped) + mailboxes.message(3)},
             [('different', 'Inbox', 2, 'attachments')]),
            ('one recipient dropped', {'Inbox': self.inbox.replace(b', Ana <ana@example.org>', b'')},
             [('different', 'Inbox', 2, 'recipients')]),
            ('one folder renamed', {'Sent': None, 'Gesendet': sent},
             [('elsewhere', 'Sent', 1, 'Gesendet'), ('elsewhere', 'Sent', 2, 'Gesendet')]),
            ('subject, text and date', {'Sent': sent.replace(b'message 4', b'message 8', 2)
                                        .replace(b'08:00:05 +0100', b'08:00:06 +0100')},
             [('different', 'Sent', 1, 'subject', 'text'), ('different', 'Sent', 2, 'dates')]),
        )
        for number, (name, files, expected) in enumerate(cases):
            with self.subTest(name):
                for keep in ('all', 'none'):
                    pst = self.pst_of('--keep', keep, name=f'{number}{keep}.pst', **files)
                    found = self.verify('--keep', keep, self.mail, pst, code=1 if expected else 0)
                    self.assertEqual(self.found(found), expected)
                    self.assertEqual(found['totals']['there'], 5 - len(expected))
        run = self.parvane('verify', self.mail, self.folder / '2all.pst')
        self.assertEqual(run.code, 1, run)
        self.assertIn('mail / Inbox, message 2: message 2  <2.generated@example.org>: attachments',
                      run.out)
        self.assertIn('5 messages expected, 4 there, 1 different', run.out)

    def test_takes_several_psts_for_one_and_tells_of_what_is_beside(self):
        first = self.pst_of(name='mail.pst', Sent=None)
        second = self.pst_of(name='mail-2.pst', Inbox=None)
        self.verify(self.mail, first, second)
        self.assertEqual(self.verify(self.mail, first, code=1)['totals']['missing'], 2)
        found = self.verify(self.mail / 'Sent.mbox', '--name', 'mail', second, first, code=1)
        self.assertEqual(found['totals']['elsewhere'], 2)  # given alone, it is a folder of its own
        # Mail that is there beside it is told, and no fault.
        self.convert('--append', '--name', 'mail', self.write('x/Inbox.mbox', mailboxes.message(9)),
                     first)
        found = self.verify(self.mail, first, second)
        self.assertEqual([(f['folder'], f['subject'], f['messageId']) for f in found['findings']],
                         [(['mail'], 'message 9', '<9.generated@example.org>')])

    def test_copies(self):
        self.write('mail/Sent.mbox', mailboxes.message(1) * 2)
        pst = self.pst_of('--dedup', 'all')
        found = self.verify(self.mail, pst, code=1)
        self.assertEqual(found['totals']['missing'], 2)
        self.assertEqual([f['copyIn'] for f in found['findings']], [['mail', 'Inbox']] * 2)
        found = self.verify('--dedup', 'all', self.mail, pst)
        self.assertEqual(found['totals']['copiesLeftOut'], 2)

    def test_what_was_not_chosen_is_not_expected(self):
        pst = self.pst_of('--folder', '*/Inbox')
        self.verify(self.mail, pst, code=1)
        found = self.verify('--folder', '*/Inbox', self.mail, pst)
        self.assertEqual((found['totals']['expected'], found['totals']['extra']), (3, 0))

    def test_a_manifest_stands_in_for_the_sources(self):
        pst = self.pst_of()
        manifest = self.folder / 'mail.manifest'
        self.verify('--manifest', manifest, self.mail, pst)
        lines = [line.split('\t') for line in manifest.read_text().splitlines() if line[0] != '#']
        self.assertEqual([line[1] for line in lines], ['mail/Inbox'] * 3 + ['mail/Sent'] * 2)
        self.assertEqual(lines[1][2], '<2.generated@example.org>')
        self.assertEqual(lines[1][8], hashlib.sha256(b'See the picture.').hexdigest())
        self.assertEqual(lines[1][10:], [hashlib.sha256(PICTURE).hexdigest() + ' p.bin'])
        self.assertTrue(all(re.fullmatch('[0-9a-f]{32}', line[0]) for line in lines))
        self.verify(manifest, pst)
        other = self.pst_of(name='other.pst', Sent=None)
        self.assertEqual(self.found(self.verify(manifest, other, code=1)),
                         [('missing', 'Sent', 1), ('missing', 'Sent', 2)])
        # Of the PST alone, it says the same, and nothing is compared.
        of_pst = self.folder / 'pst.manifest'
        self.assertFalse(self.parvane('verify', '--manifest', of_pst, pst).code)
        self.assertEqual(of_pst.read_bytes(), manifest.read_bytes())
        # Half of it is none, and nothing else is replaced by one.
        manifest.write_bytes(manifest.read_bytes()[:500])
        self.assertEqual(self.parvane('verify', manifest, pst).code, 3)
        mailbox = self.mail / 'Inbox.mbox'
        self.assertEqual(self.parvane('verify', '--manifest', mailbox, self.mail, pst).code, 3)
        self.assertEqual(mailbox.read_bytes(), self.inbox)

    def test_says_what_cannot_be_read(self):
        pst = self.pst_of()
        damaged = bytearray(pst.read_bytes())
        encoded = self.encoded(pst)
        at = damaged.find(encoded)
        self.assertGreater(at, 0)
        damaged[at] ^= 1
        broken = self.write('broken.dat', bytes(damaged))  # no name by which the test would judge it
        found = self.verify(self.mail, broken, code=1)
        self.assertEqual(self.found(found), [('different', 'Inbox', 2, 'attachments')])
        self.assertEqual(len(found['unreadable']), 1)
        for arguments, code in (((self.mail,), 2), ((pst,), 2), ((self.mail, self.folder / 'no.pst'), 3),
                                ((self.mail / 'Inbox.mbox', self.write('x.txt', b'x'), pst), 1)):
            run = self.parvane('verify', *arguments)
            self.assertEqual(run.code, code, run)

    @staticmethod
    def encoded(pst):
        """Bytes of the attachment as they stand in the PST: each value has another in its place,
        and those of PICTURE come in their order."""
        data = pst.read_bytes()
        for at in range(0, len(data) - 512, 64):
            block = data[at:at + 256]
            if len(set(block)) == 256 and block == data[at + 256:at + 512]:
                return block
        return b''


if __name__ == '__main__':
    unittest.main()
