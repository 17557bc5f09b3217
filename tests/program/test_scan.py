"""What a conversion would do, told beforehand. That a scan counts what the conversion counts is held
against every conversion of the other tests (harness.check_foretold)."""
import json
import unittest
import zipfile

import mailboxes
from harness import PstTest


class Scans(PstTest):

    def setUp(self):
        super().setUp()
        self.inbox = self.write('mail/Inbox.mbox', mailboxes.many(40) + mailboxes.message(
            41, extra='X-Status: F\n').replace(b'Date: ', b'X-Date: ').replace(b'Fri Mar', b'nowhere'))
        self.write('mail/Sent.mbox', mailboxes.many(3))
        self.write('mail/Old.archive', mailboxes.many(1))

    def scan(self, *arguments, code=1):
        run = self.parvane('scan', '--json', *arguments)
        self.assertEqual((run.code, run.err), (code, ''), run)
        return json.loads(run.out)

    def test_what_it_tells(self):
        before = sorted(self.folder.rglob('*'))
        account = self.scan(self.folder / 'mail')
        totals = account['totals']
        self.assertEqual((totals['read'], totals['undated'], totals['withoutDate']), (44, 1, 1))
        self.assertEqual((totals['firstDate'], totals['lastDate']),
                         ('2019-03-01T07:00:00Z', '2019-03-28T07:00:27Z'))
        self.assertEqual(totals['pathsLeftBehind'], 1)
        self.assertEqual(totals['years'], {'2019': 43})
        self.assertEqual(account['destination'], None)
        run = self.parvane('scan', '--progress', 'never', self.folder / 'mail')
        self.assertRegex(run.out, r'mail / Inbox +41 +[0-9.]+ kB  2019-03-01 to 2019-03-28\n')
        self.assertIn('44 messages in 2 folders', run.out)
        self.assertRegex(run.out, 'would make a PST of about 271.4 kB, in roughly 0:00')
        self.assertEqual((run.code, run.err), (1, ''), run)
        self.assertEqual(sorted(self.folder.rglob('*')), before, 'nothing is written')
        for sources, code, words in ((['nowhere'], 3, 'No such file'), ([], 2, 'required')):
            run = self.parvane('scan', *sources)
            self.assertEqual(run.code, code, run)

    def test_the_estimate_is_near(self):
        for name, mail in (('plain', mailboxes.many(3000)), ('large', mailboxes.large_body(3_000_000))):
            with self.subTest(name):
                source, pst = self.write(f'{name}.mbox', mail), self.folder / f'{name}.pst'
                expected = self.scan(source, code=0)['estimate']
                self.convert(source, pst)
                self.assertAlmostEqual(expected['pstBytes'] / pst.stat().st_size, 1, delta=0.2)

    def test_a_dry_run_judges_the_destination_and_leaves_it_alone(self):
        pst = self.folder / 'out.pst'
        dry = ('convert', '--dry-run', '--progress', 'never', self.inbox)
        run = self.parvane(*dry, pst)
        self.assertEqual((run.code, run.err, pst.exists()), (0, '', False), run)
        self.convert(self.inbox, pst)
        before = pst.read_bytes()
        run = self.parvane(*dry, pst)
        self.assertEqual(run.code, 3, run)
        self.assertIn('--append', run.err)
        for options, careful in (('--append', False), ('--overwrite', False),
                                 ('--append --size-limit 300000', True)):
            run = self.parvane(*dry, *options.split(), pst)
            self.assertEqual((run.code, 'Careful: the PST would reach' in run.out), (0, careful), run)
        self.assertEqual(pst.read_bytes(), before)
        run = self.parvane(*dry, self.folder / 'no folder' / 'out.pst')
        self.assertEqual(run.code, 3, run)

    def test_choice(self):
        """By folders and dates, of sources read in any way; what was not chosen is counted."""
        junk = mailboxes.message(1, extra='X-Mozilla-Keys: Junk\nX-Mozilla-Status: 0001\n')
        for name, mail in (('Inbox', mailboxes.many(40) + junk), ('Lists/Boats', mailboxes.many(4)),
                           ('Lists/Boats.d/Spam', mailboxes.many(2)), ('Trash', mailboxes.many(3))):
            self.write(f'tree/{name}.mbox', mail)
        zipped = self.folder / 'tree.zip'
        with zipfile.ZipFile(zipped, 'w') as archive:
            for path in sorted((self.folder / 'tree').rglob('*.mbox')):
                archive.write(path, path.relative_to(self.folder / 'tree'))
        everything = {'Inbox': 41, 'Boats': 4, 'Spam': 2, 'Trash': 3}
        cases = (
            (('--folder', 'inbox'), {'Inbox': 41}, 0),
            (('--folder', 'tree/Lists', '--folder', 'Tra*'), {'Boats': 4, 'Spam': 2, 'Trash': 3}, 0),
            (('--exclude', 'tree/**/Boats*', '--exclude', 'Trash'), {'Inbox': 41}, 0),
            (('--folder', 'tree', '--exclude', 'Inbox', '--since', '2019-03-03'),
             {'Boats': 2, 'Spam': 0, 'Trash': 1}, 6),
            (('--until', '2019-03-02'), {'Inbox': 5, 'Boats': 2, 'Spam': 2, 'Trash': 2}, 39),
            (('--since', '2019-03-02', '--until', '2019-03-02T09:00+01:00', '--folder', 'Trash'),
             {'Trash': 1}, 2),
            (('--skip-junk',), {'Inbox': 40, 'Boats': 4, 'Trash': 3}, 1),
        )
        for source in (self.folder / 'tree', zipped):
            for number, (options, expected, not_chosen) in enumerate(cases):
                with self.subTest(source=source.name, options=options):
                    pst = self.folder / f'{source.name}{number}.pst'
                    account = self.convert('--name', 'tree', *options, source, pst)
                    listed = {path[-1]: count for path, count in self.listed_folders(pst).items()}
                    self.assertEqual({k: v for k, v in listed.items() if k in everything}, expected)
                    totals = account['totals']
                    left_out = sum(everything[f['path'][-1]] for f in account['foldersNotChosen'])
                    self.assertEqual({f['path'][-1] for f in account['foldersNotChosen']},
                                     set(everything) - set(expected))
                    # Where messages of all folders are mixed, they are met, and counted.
                    met = left_out if source == zipped else 0
                    self.assertEqual(totals['notChosen'], not_chosen + met)
                    self.assertEqual(totals['failed'], 0)

    def test_choice_that_makes_no_sense(self):
        pst = self.folder / 'out.pst'
        for options, code, words in (
                (('--folder', 'Inbux'), 3, '--folder: no folder matches "Inbux"; near it: Inbox'),
                (('--exclude', 'mail/Snet'), 3, 'mail/Sent'),
                (('--folder', 'nothing like it'), 3, 'parvane scan shows them all'),
                (('--folder', 'Sent', '--exclude', 'mail'), 3, 'no folder with mail is left'),
                (('--folder', '[x'), 2, 'is not closed'), (('--since', 'May'), 2, 'no date such as'),
                (('--since', '2020', '--until', '2019'), 2, 'after')):
            run = self.parvane('convert', *options, self.folder / 'mail', pst)
            self.assertEqual(run.code, code, run)
            self.assertIn(words, run.err)
            self.assertEqual(list(self.folder.glob('*.pst')), [], run)
        account = self.convert('--since', '2030', self.inbox, pst)
        self.assertEqual([account['totals'][k] for k in ('read', 'notChosen', 'undatedTaken')], [1, 40, 1])


if __name__ == '__main__':
    unittest.main()
