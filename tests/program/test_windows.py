"""What only Windows has: its paths and its console."""
import subprocess
import unittest

import mailboxes
from harness import PARVANE, PstTest, shown

LETTERS = 'Å ünï 日本語'


class Paths(PstTest):

    def test_drives_backslashes_spaces_scripts_and_lengths(self):
        self.write(f'{LETTERS}/My mail.mbox', mailboxes.many(2))
        folder = self.folder / LETTERS
        deep = folder.joinpath(*('very ' * 12 + f'long name {i} ö' for i in range(6)))
        self.write(f'{deep.relative_to(self.folder)}/Inbox.mbox', mailboxes.many(3))
        self.assertGreater(len(shown(deep)), 400)
        cases = (
            ('drive and backslashes', shown(folder / 'My mail.mbox'), 'a.pst', 'My mail', 2),
            ('slashes', shown(folder / 'My mail.mbox').replace('\\', '/'), 'b.pst', 'My mail', 2),
            ('mixed, and round about', shown(folder) + '\\..\\' + LETTERS + '/My mail.mbox', 'c.pst',
             'My mail', 2),
            ('relative', 'My mail.mbox', 'd.pst', 'My mail', 2),
            ('verbatim', '\\\\?\\' + shown(folder / 'My mail.mbox'), 'e.pst', 'My mail', 2),
            ('beyond 260 characters', shown(deep / 'Inbox.mbox'), 'f.pst', 'Inbox', 3),
        )
        for name, source, target, box, messages in cases:
            with self.subTest(name):
                self.convert(source, folder / target, cwd=folder)
                self.assertEqual(self.listed_folders(folder / target), {(box,): messages})
        # The PST, the report and the logs too, and all the folders on the way.
        pst = deep / f'{LETTERS}.pst'
        self.convert('--log', deep / 'brief.log', folder, pst)
        listed = self.listed_folders(pst)
        self.assertEqual(sum(listed.values()), 5)
        self.assertEqual(max(len(path) for path in listed), 8)
        self.assertIn('5 messages read', (deep / 'brief.log').read_text('utf-8'))
        self.assert_readers_agree(pst, 5)

    def test_wildcards(self):
        for name in ('Inbox.mbox', 'INFO.MBOX', 'Sent.mbox', 'notes.txt'):
            self.write(f'mail/{name}', mailboxes.many(1))
        pst = self.folder / 'out.pst'
        self.convert(shown(self.folder / 'mail' / 'i*.mb?x'), pst)
        self.assertEqual(self.listed_folders(pst), {('INFO',): 1, ('Inbox',): 1})
        run = self.parvane('convert', shown(self.folder / 'x*.mbox'), self.folder / 'none.pst')
        self.assertEqual((run.code, len(run.err.splitlines())), (3, 1), run)


class Console(PstTest):

    def test_every_script_is_shown(self):
        self.write(f'{LETTERS}/Ελλάδα.mbox', mailboxes.many(2))
        pst = self.folder / 'out.pst'
        for arguments in (('convert', self.folder / LETTERS, pst), ('list', pst)):
            run = self.parvane_on_terminal(*arguments)
            self.assertEqual(run.code, 0, run)
        self.assertIn(LETTERS, run.err)
        self.assertIn('Ελλάδα', run.err)
        # Redirected, the same text goes out as it is: UTF-8, line ends of one byte.
        done = subprocess.run([PARVANE, 'list', shown(pst)], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, check=True)
        self.assertIn(LETTERS.encode(), done.stdout)
        self.assertNotIn(b'\r', done.stdout)


if __name__ == '__main__':
    unittest.main()
