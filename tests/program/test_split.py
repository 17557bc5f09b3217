"""Mail in several PSTs."""
import base64
import os
import random
import re
import unittest
import unittest.mock

import mailboxes
from harness import PstTest, partial

SIZE = 10_000_000


def large(number, size, extra=''):
    """A message whose attachment has so many bytes."""
    data = base64.encodebytes(random.Random(number).randbytes(size)).decode()
    return mailboxes.message(
        number, extra=extra + 'MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=cut\n',
        body='--cut\nContent-Type: application/pdf; name=f.pdf\nContent-Disposition: attachment\n'
             f'Content-Transfer-Encoding: base64\n\n{data}--cut--\n')


class Split(PstTest):

    def subjects(self, psts):
        """{folder: [subject...]} of all of them, one after the other."""
        found = {}
        for pst in psts:
            for folder in self.listing(pst, '--messages')['folders']:
                if folder['items']:
                    found.setdefault('/'.join(folder['path']), []).extend(
                        item['subject'] for item in folder['items'])
        return found

    def parts(self, account):
        return [self.folder / path.replace('\\', '/').rpartition('/')[2]
                for path in (part['path'] for part in account['parts'])]

    def write_mail(self):
        self.write('mail/A.mbox', b''.join(large(n, 900_000) for n in range(16)))
        self.write('mail/Nothing/Empty.mbox', b'')
        self.write('mail/Below/B.mbox', b''.join(
            mailboxes.message(n, body='text\n' * 200) for n in range(3000)) + large(3000, 2_000_000))

    def test_by_year(self):
        def message(number, date, extra=''):
            text = mailboxes.message(number, extra=extra).decode()
            return re.sub('Date: .*\n', date and f'Date: {date}\n', text).encode()
        first = [message(1, 'Mon, 31 Dec 2018 23:30:00 +0000'), message(2, ''),
                 message(3, 'Tue, 01 Jan 2019 00:30:00 +0000'), message(1, 'Mon, 31 Dec 2018 23:30:00 +0000')]
        self.write('mail/A.mbox', b''.join(first))
        self.write('mail/Below/B.mbox', message(4, 'Sat, 06 Jun 2020 10:00:00 +0000') +
                   b'From within the text, which parts two messages\n\nmore\n')
        self.write('mail/Below/Empty.mbox', b'')
        mail, pst = self.folder / 'mail', self.folder / 'mail.pst'
        utc = dict(os.environ, TZ='UTC', XDG_DATA_HOME=str(self.folder / 'home'))
        whole = self.convert('--keep', 'state', mail, self.folder / 'whole.pst')
        options = ('--keep', 'state', '--split', 'year', mail, pst)
        with unittest.mock.patch.dict(os.environ, utc):
            account = self.convert(*options)
            again = self.convert('--append', '--skip-existing', *options)
            resumed = self.convert('--resume', *options)
            run = self.parvane('convert', *options)
        parts = self.parts(account)
        self.assertEqual([p.name for p in parts], ['mail-2018.pst', 'mail-2019.pst', 'mail-2020.pst',
                                                   'mail-undated.pst'])
        self.assertEqual([self.subjects([p]) for p in parts],
                         [{'mail/A': ['message 1', 'message 1']},
                          {'mail/A': ['message 2', 'message 3']},  # the former by its separator
                          {'mail/Below/B': ['message 4']}, {'mail/Below/B': ['']}])
        # What is told of files and messages is told once.
        self.assertEqual(account['totals'], whole['totals'])
        self.assertEqual(len(account['suspectedSeparators']), 1)
        for repeated in (again, resumed):
            self.assertEqual((repeated['totals']['written'], repeated['totals']['alreadyThere']), (0, 6))
        self.assertEqual((run.code, 'mail-2018.pst: exists already' in run.err), (3, True), run)

    def test_by_size(self):
        self.write_mail()
        whole, mail = self.folder / 'whole.pst', self.folder / 'mail'
        self.convert(mail, whole)
        account = self.convert('--split', '10MB', mail, self.folder / 'mail.pst')
        parts = self.parts(account)
        self.assertEqual([p.name for p in parts],
                         ['mail.pst', 'mail-2.pst', 'mail-3.pst', 'mail-4.pst'])
        self.assertEqual(self.subjects(parts), self.subjects([whole]))
        self.assertEqual([f['parts'] for f in account['folders']], [[1, 2], [2, 3, 4], []])
        self.assertEqual(account['totals']['written'], sum(p['written'] for p in account['parts']))
        for part, told in zip(parts, account['parts']):
            self.assertEqual(part.stat().st_size, told['pstBytes'])
            self.assertLessEqual(part.stat().st_size, SIZE)
            # Folders with mail and what holds these, no other.
            folders = set(map('/'.join, self.listed_folders(part)))
            mailed = set(self.subjects([part]))
            self.assertEqual({f for f in folders if not any(m.startswith(f) for m in mailed)}, set())
            self.assert_readers_agree(part, told['written'])
        for part in parts[:-1]:
            self.assertGreater(part.stat().st_size, SIZE * 0.8)

    def test_what_does_not_fit_into_any(self):
        self.write('A.mbox', b''.join(large(n, size) for n, size in
                                      enumerate((500_000, 11_000_000, 9_000_000, 12_000_000, 1000))))
        # With a time limit of its own: no dry run foretells this.
        account = self.convert('--split', '10MB', self.folder / 'A.mbox', self.folder / 'x.pst', code=1,
                               timeout=600)
        self.assertEqual([(f['position'], f['code']) for f in account['failures']],
                         [(2, 'larger-than-part'), (4, 'larger-than-part')])
        self.assertEqual([p['written'] for p in account['parts']], [1, 1, 1])
        self.assertEqual(self.subjects(self.parts(account)),
                         {'A': ['message 0', 'message 2', 'message 4']})
        self.assertEqual(len(list(self.folder.glob('*.pst'))), 3)

    def test_what_is_there_already(self):
        mail, first = self.write('A.mbox', b''.join(large(n, 3_000_000) for n in range(4))), \
            self.folder / 'x.pst'
        old = self.folder / 'x-2.pst'
        self.convert('--split', '10MB', mail, first)
        before = old.read_bytes()
        first.unlink()
        run = self.parvane('convert', '--split', '10MB', mail, first)
        self.assertEqual(run.code, 3, run)
        self.assertIn('x-2.pst: exists already', run.err)
        self.assertFalse(first.exists() or partial(first).exists())
        # Less mail than before.
        mail.write_bytes(large(7, 1000))
        account = self.convert('--split', '10MB', '--overwrite', mail, first)
        self.assertEqual(list(map(str, account['oldParts'])), [str(old)])
        self.assertEqual(old.read_bytes(), before)
        # The last part is gone on with.
        mail.write_bytes(b''.join(large(n, 1_500_000) for n in range(10, 14)))
        account = self.convert('--split', '10MB', '--append', mail, first)
        self.assertEqual([p.name for p in self.parts(account)], ['x-2.pst', 'x-3.pst'])
        self.assertEqual(self.subjects(self.folder / f'x{n}.pst' for n in ('', '-2', '-3')),
                         {'A': [f'message {n}' for n in (7, 2, 3, 10, 11, 12, 13)]})

    def test_runs_that_are_repeated(self):
        self.write_mail()
        mail, first = self.folder / 'mail', self.folder / 'x.pst'
        parts = self.parts(self.convert('--split', '10MB', mail, first))
        subjects = self.subjects(parts)
        # Nothing is new; then one message is, whose folder lies in three parts.
        for new, text in enumerate((b'', mailboxes.message(4000))):
            with open(self.folder / 'mail/Below/B.mbox', 'ab') as mailbox:
                mailbox.write(text)
            account = self.convert('--split', '10MB', '--append', '--skip-existing', mail, first)
            self.assertEqual((account['totals']['written'], account['totals']['alreadyThere']),
                             (new, 3017))
        subjects['mail/Below/B'].append('message 4000')
        self.assertEqual(self.subjects(parts), subjects)
        # As a run that was cut off leaves it: after a part, within the first one, or finished.
        for kept in (2, 0, 4):
            for part in parts[kept:]:
                part.unlink()
            account = self.convert('--split', '10MB', '--resume', mail, first)
            self.assertEqual(self.subjects(parts), subjects)
            self.assertEqual(len(list(self.folder.glob('x*.pst'))), len(parts))
        self.assertEqual(account['totals']['written'], 0)

    def test_folders_that_take_turns(self):
        self.write('All mail.mbox', b''.join(
            large(n, 1_500_000, f'X-Gmail-Labels: {"Inbox,One" if n % 2 else "Two"}\n')
            for n in range(16)))
        account = self.convert('--split', '10MB', self.folder / 'All mail.mbox', self.folder / 'x.pst')
        self.assertEqual(len(account['parts']), 4)
        self.assertEqual({tuple(f['path'])[-1]: f['parts'] for f in account['folders']
                          if f['read']}, {'One': [1, 2, 3, 4], 'Two': [1, 2, 3]})
        self.assertEqual(sorted(sum(self.subjects(self.parts(account)).values(), [])),
                         sorted(f'message {n}' for n in range(16)))


if __name__ == '__main__':
    unittest.main()
