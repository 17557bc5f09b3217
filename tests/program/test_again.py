"""The same mail twice: runs that are repeated, copies of messages."""
import unittest

import mailboxes
from harness import PstTest, partial


class Again(PstTest):

    def subjects(self, pst):
        """{folder: [subject...]} of every folder with mail, in the PST's order."""
        return {f['path'][-1]: [i['subject'] for i in f['items']]
                for f in self.listing(pst, '--messages')['folders'] if f['items']}

    def mailbox(self, *numbers, extra='', end=b''):
        return b''.join(mailboxes.message(n, extra=extra) for n in numbers) + end

    def expect(self, account, **counts):
        totals = account['totals']
        self.assertEqual({name: totals[name] for name in counts}, counts)

    def test_what_is_there_is_not_written_again(self):
        pst = self.folder / 'mail.pst'
        inbox = self.write('mail/Inbox.mbox', self.mailbox(1, 2, 2, 3))
        self.write('mail/Sent.mbox', self.mailbox(2, 4))
        self.convert(self.folder / 'mail', pst)
        before = self.subjects(pst)
        size = pst.stat().st_size
        # What mail programs write into headers while a message stays the same, and other line ends;
        # the last message without the empty line that a mailbox has behind it.
        inbox.write_bytes(self.mailbox(1, 2, 2, extra='X-Mozilla-Status: 0001\nStatus: RO\n')
                          .replace(b'\n', b'\r\n') + self.mailbox(3).rstrip(b'\n'))
        account = self.convert('--append', '--skip-existing', self.folder / 'mail', pst)
        self.expect(account, read=0, written=0, failed=0, alreadyThere=6)
        self.assertEqual([f['alreadyThere'] for f in account['folders']], [4, 2])
        self.assertEqual(self.subjects(pst), before)
        self.assertLess(abs(pst.stat().st_size - size), size / 100)
        # A third copy of one that is there twice is new, as is one that another folder has.
        inbox.write_bytes(self.mailbox(1, 2, 2, 2, 3, 4, 5))
        account = self.convert('--append', '--skip-existing', self.folder / 'mail', pst)
        self.expect(account, read=3, written=3, alreadyThere=6)
        self.assertEqual(sorted(self.subjects(pst)['Inbox']),
                         sorted(before['Inbox'] + [f'message {n}' for n in (2, 4, 5)]))
        # Without the option all of it comes once more, and has the same keys.
        self.expect(self.convert('--append', self.folder / 'mail', pst), written=9, alreadyThere=0)
        account = self.convert('--append', '--skip-existing', self.folder / 'mail', pst)
        self.expect(account, written=0, alreadyThere=9)

    def test_large_mail_is_known_again(self):
        """Its keys come from a thread, one message after the other."""
        def text(number):
            return ''.join(f'{number} {line}\n' for line in range(number % 5 * 20_000))
        inbox = self.write('Inbox.mbox', b''.join(mailboxes.message(n, body=text(n))
                                                  for n in range(40)))
        pst = self.folder / 'mail.pst'
        self.convert(inbox, pst)
        self.expect(self.convert('--append', '--skip-existing', inbox, pst),
                    written=0, alreadyThere=40)

    def test_mail_without_keys_is_not_known_again(self):
        pst = self.folder / 'mail.pst'
        inbox = self.write('Inbox.mbox', self.mailbox(1, 2))
        self.convert('--keep', 'none', inbox, pst)
        self.expect(self.convert('--append', '--skip-existing', inbox, pst), written=2)
        self.expect(self.convert('--append', '--skip-existing', '--keep', 'none', inbox, pst),
                    written=0, alreadyThere=2)

    def test_copies(self):
        self.write('mail/A.mbox', self.mailbox(1, 2, 1, 3))
        self.write('mail/B.mbox', self.mailbox(3, 3, 4))
        cases = (('off', 7, {'A': [1, 2, 1, 3], 'B': [3, 3, 4]}, []),
                 ('folder', 5, {'A': [1, 2, 3], 'B': [3, 4]}, [('A', 3, 'A'), ('B', 2, 'B')]),
                 ('all', 4, {'A': [1, 2, 3], 'B': [4]},
                  [('A', 3, 'A'), ('B', 1, 'A'), ('B', 2, 'A')]))
        for dedup, written, expected, copies in cases:
            with self.subTest(dedup=dedup):
                pst = self.folder / f'{dedup}.pst'
                account = self.convert('--dedup', dedup, self.folder / 'mail', pst)
                self.expect(account, written=written, copiesLeftOut=7 - written)
                self.assertEqual({folder: [int(s.split()[1]) for s in subjects]
                                  for folder, subjects in self.subjects(pst).items()}, expected)
                self.assertEqual([(e['folder'][-1], e['position'], e['copyIn'][-1])
                                  for e in account['duplicates']], copies)
                again = self.convert('--append', '--skip-existing', '--dedup', dedup,
                                     self.folder / 'mail', pst)
                self.expect(again, written=0, alreadyThere=written, copiesLeftOut=7 - written)

    def test_resumed_with_the_same_sources_alone(self):
        pst, whole = self.folder / 'mail.pst', self.folder / 'whole.pst'
        first = self.write('mail/A.mbox', mailboxes.many(1500))
        self.write('mail/B.mbox', mailboxes.many(1500, seed=2))
        source = self.folder / 'mail'
        self.convert(source, whole)
        for keep in ('none', 'all'):
            # A limit ends the run as a full disk would.
            account = self.convert('--size-limit', '4MB', '--keep', keep, source, pst, code=3)
            before = self.listing(partial(pst), '--messages')['folders']
            others = [self.write('Other.mbox', self.mailbox(1, 2)), self.write('A.mbox', b'')]
            others[1].write_bytes(self.mailbox(9000) + first.read_bytes())
            for other in others + [source] * (keep == 'none'):
                run = self.convert('--resume', other, pst, code=3)
                self.assertEqual((run['errorCode'], run['resumed'], run['totals']['written']),
                                 ('other-sources', True, 0))
                self.assertEqual(self.listing(partial(pst), '--messages')['folders'], before)
            if keep == 'none':
                partial(pst).unlink()
        resumed = self.convert('--resume', source, pst)
        self.assertEqual(resumed['totals']['alreadyThere'], account['totals']['written'])
        self.assertEqual(resumed['totals']['written'], 3000 - account['totals']['written'])
        self.assertEqual(self.subjects(pst), self.subjects(whole))
        run = self.parvane('convert', '--resume', source, pst)
        self.assertEqual((run.code, 'is finished' in run.err), (3, True), run)


if __name__ == '__main__':
    unittest.main()
