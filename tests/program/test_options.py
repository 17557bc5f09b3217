"""The command line: options, names, logs, listings, and what wrong usage gets."""
import json
import os
import subprocess
import unittest

import mailboxes
from harness import PARVANE, PstTest


class Usage(PstTest):

    def test_wrong_usage_is_one_line_and_exit_2(self):
        source = self.write('a.mbox', mailboxes.many(1))
        pst = self.folder / 'out.pst'
        for arguments in ([], ['convert'], ['convert', source], ['list'], ['nonsense'],
                          ['convert', '--append', '--overwrite', source, pst],
                          ['convert', '--from', 'nothing', source, pst],
                          ['convert', '--size-limit', 'big', source, pst],
                          ['convert', '--no-such-option', source, pst]):
            with self.subTest(arguments):
                run = self.parvane(*arguments)
                self.assertEqual((run.code, run.out), (2, ''), run)
                self.assertTrue(run.err.startswith('parvane: '), run)
                self.assertLessEqual(len(run.err.splitlines()), 2, run)
        self.assertFalse(pst.exists())

    def test_help_and_version(self):
        for arguments, text in ((['--version'], 'parvane '), (['--help'], 'convert'),
                                (['convert', '--help'], 'Examples:'),
                                (['list', '--help'], 'Examples:')):
            run = self.parvane(*arguments)
            self.assertEqual((run.code, run.err), (0, ''), run)
            self.assertIn(text, run.out)


class Destinations(PstTest):

    def setUp(self):
        super().setUp()
        self.inbox = self.write('Inbox.mbox', mailboxes.many(3))
        self.sent = self.write('Sent.mbox', mailboxes.many(2))
        self.pst = self.folder / 'out.pst'

    def test_existing_pst_is_refused_appended_to_or_replaced(self):
        self.convert(self.inbox, self.pst)
        before = self.pst.read_bytes()
        run = self.parvane('convert', self.sent, self.pst)
        self.assertEqual((run.code, len(run.err.splitlines())), (3, 1), run)
        self.assertEqual(self.pst.read_bytes(), before)

        self.assertTrue(self.convert('--append', self.sent, self.pst)['appended'])
        self.assertEqual(self.listed_folders(self.pst), {('Inbox',): 3, ('Sent',): 2})
        self.convert('--append', self.inbox, self.pst)
        self.assertEqual(self.listed_folders(self.pst), {('Inbox',): 6, ('Sent',): 2})
        self.assert_readers_agree(self.pst, 8)

        self.convert('--overwrite', self.sent, self.pst)
        self.assertEqual(self.listed_folders(self.pst), {('Sent',): 2})
        self.assert_readers_agree(self.pst, 2)

    def test_folder_as_destination_gets_free_names(self):
        out = self.folder / 'out'
        out.mkdir()
        for name in ('Inbox.pst', 'Inbox(1).pst'):
            self.assertTrue(self.convert(self.inbox, out)['destination'].endswith('/' + name))
            self.assertEqual(self.listed_folders(out / name), {('Inbox',): 3})

    def test_several_sources_and_equal_names(self):
        other = self.write('other/inbox.mbox', mailboxes.many(4))
        account = self.convert(self.inbox, self.sent, other, self.pst)
        self.assertEqual(self.listed_folders(self.pst),
                         {('Inbox',): 3, ('Sent',): 2, ('inbox (2)',): 4})
        self.assertEqual(account['renamedFolders'], [{'wanted': 'inbox', 'path': ['inbox (2)']}])

    def test_name(self):
        self.convert('--name', 'Päckchen', self.inbox, self.pst)
        self.assertEqual(self.listed_folders(self.pst), {('Päckchen',): 3})
        self.convert('--overwrite', '--name', 'All', self.inbox, self.sent, self.pst)
        self.assertEqual(self.listed_folders(self.pst),
                         {('All',): 0, ('All', 'Inbox'): 3, ('All', 'Sent'): 2})

    def test_ways_to_write_a_folder(self):
        tree = self.folder / 'mail'
        self.write('mail/Inbox.mbox', mailboxes.many(1))
        for i, (source, where) in enumerate(((f'{tree}/', self.folder), ('.', tree),
                                             ('../mail', tree))):
            pst = self.folder / f'{i}.pst'
            self.convert(source, pst, cwd=where)
            self.assertEqual(self.listed_folders(pst), {('mail',): 0, ('mail', 'Inbox'): 1})

    def test_file_name_that_is_no_utf8(self):
        source = os.path.join(os.fsencode(self.folder), b'caf\xe9.mbox')
        with open(source, 'wb') as file:
            file.write(mailboxes.many(2))
        self.convert(os.fsdecode(source), self.pst)
        self.assertEqual(self.listed_folders(self.pst), {('caf\ufffd',): 2})


class Profiles(PstTest):

    def test_accounts_of_a_profile(self):
        for path in ('Mail/Local Folders/Inbox', 'Mail/Local Folders/Inbox.sbd/Work',
                     'ImapMail/imap.example.org/Inbox'):
            self.write(f'p.default/{path}', mailboxes.many(2))
        self.write('p.default/prefs.js', b'// settings\n')
        pst = self.folder / 'out.pst'
        self.convert(self.folder / 'p.default', pst)
        self.assertEqual(self.listed_folders(pst), {
            ('Local Folders',): 0, ('Local Folders', 'Inbox'): 2,
            ('Local Folders', 'Inbox', 'Work'): 2,
            ('imap.example.org',): 0, ('imap.example.org', 'Inbox'): 2})


class Output(PstTest):

    def setUp(self):
        super().setUp()
        self.pst = self.folder / 'out.pst'
        self.write('mail/Inbox.mbox', mailboxes.many(3))
        self.write('mail/notes.mbox', b'just a note\n')
        self.source = self.folder / 'mail'

    def test_logs(self):
        brief, detailed = self.folder / 'brief.log', self.folder / 'detailed.log'
        run = self.parvane('convert', '--quiet', '--log', brief, '--detailed-log', detailed,
                           self.source, self.pst)
        self.assertEqual((run.code, run.out, run.err), (0, '', ''), run)
        brief, detailed = brief.read_text('utf-8'), detailed.read_text('utf-8')
        for log in (brief, detailed):
            self.assertIn('notes.mbox', log)
            self.assertIn('3 messages read, 3 written, 0 failed', log)
        self.assertNotIn('Subject', brief)
        for i in range(3):
            self.assertIn(f'Subject : message {i}\n', detailed)

    def test_summary_and_listing_for_people(self):
        run = self.parvane('convert', self.source, self.pst)
        self.assertEqual((run.code, run.err), (0, ''), run)
        self.assertRegex(run.out, r'mail / Inbox +3 read +3 written\n')
        self.assertIn('3 messages read, 3 written, 0 failed', run.out)
        run = self.parvane('list', '--messages', self.pst)
        self.assertEqual((run.code, run.err), (0, ''), run)
        self.assertRegex(run.out, r'  Inbox +3 messages, 3 unread, [0-9.]+ kB\n')
        self.assertRegex(run.out, r'\* 2019-03-01 07:00  Ingrid +message 0\n')

    def test_listing_leaves_the_file_alone(self):
        self.parvane('convert', self.source, self.pst)
        before = self.pst.read_bytes(), self.pst.stat().st_mtime_ns
        self.pst.chmod(0o400)
        self.listing(self.pst, '--messages')
        self.assertEqual((self.pst.read_bytes(), self.pst.stat().st_mtime_ns), before)

    def test_a_log_never_replaces_mail(self):
        source = self.source / 'Inbox.mbox'
        before = source.read_bytes()
        run = self.parvane('convert', '--log', source, source, self.pst)
        self.assertEqual(run.code, 3, run)
        self.assertEqual(source.read_bytes(), before)

    def test_a_closed_output_does_not_stop_the_work(self):
        reader, writer = os.pipe()
        os.close(reader)
        report = self.folder / 'r.json'
        done = subprocess.run([PARVANE, 'convert', '--report', str(report), str(self.source),
                               str(self.pst)], stdout=writer, stderr=subprocess.PIPE)
        os.close(writer)
        self.assertEqual(done.returncode, 0, done)
        self.assertEqual(json.loads(report.read_text())['totals']['written'], 3)


if __name__ == '__main__':
    unittest.main()
