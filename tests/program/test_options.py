"""The command line: options, names, logs, listings, and what wrong usage gets."""
import base64
import contextlib
import fcntl
import json
import os
import pathlib
import re
import resource
import signal
import subprocess
import threading
import time
import unittest

import mailboxes
from harness import NO_SUCH_FILE, PARVANE, WINDOWS, PstTest, file_name, linux, partial, shown


class Usage(PstTest):

    def test_wrong_usage_is_one_line_and_exit_2(self):
        source = self.write('a.mbox', mailboxes.many(1))
        pst = self.folder / 'out.pst'
        for arguments in (['convert'], ['convert', source], ['list'], ['nonsense'],
                          ['convert', '--append', '--overwrite', source, pst],
                          ['convert', '--from', 'nothing', source, pst],
                          ['convert', '--size-limit', 'big', source, pst],
                          ['convert', '--mapi', 'nothing', source, pst],
                          ['convert', '--mapi', 'outlook', '--size-limit', '1GB', source, pst],
                          ['convert', '--no-such-option', source, pst]):
            with self.subTest(arguments):
                run = self.parvane(*arguments)
                self.assertEqual((run.code, run.out), (2, ''), run)
                self.assertTrue(run.err.startswith('parvane: '), run)
                self.assertLessEqual(len(run.err.splitlines()), 2, run)
        self.assertFalse(pst.exists())

    @linux
    def test_outlook_is_refused_where_there_is_none(self):
        source = self.write('a.mbox', mailboxes.many(1))
        pst = self.folder / 'out.pst'
        run = self.parvane('convert', '--mapi', 'outlook', source, pst)
        self.assertEqual(run.code, 2, run)
        self.assertIn("--mapi outlook: Outlook's MAPI exists on Windows only", run.err)
        self.assertEqual(len(run.err.splitlines()), 1, run)
        self.assertFalse(pst.exists())

    def test_help_and_version(self):
        for arguments, text in ((['--version'], 'parvane '), (['--help'], 'Examples:'),
                                (['help'], 'COMMAND --help'), (['help', 'list'], '--messages'),
                                ([], 'COMMAND --help'),
                                (['convert', '--help'], 'Examples:'),
                                (['list', '--help'], 'Examples:'),
                                (['check', '--help'], 'Examples:')):
            run = self.parvane(*arguments)
            # Nothing asked for is nothing done.
            self.assertEqual((run.code, run.err), (0 if arguments else 2, ''), run)
            self.assertIn(text, run.out)
            self.assertLessEqual(max(map(len, run.out.splitlines())), 80, run)

    def test_what_might_have_been_meant(self):
        for arguments, says in ((['lst', 'x'], 'no command lst; did you mean list?\n'),
                                (['convert', '--apend', 'a', 'b'],
                                 'no option --apend; did you mean --append?\n'),
                                (['list', '--name=x', 'x'], 'no option --name\n'),
                                (['mail.mbox', 'mail.pst'], 'no command mail.mbox\n')):
            run = self.parvane(*arguments)
            self.assertEqual(run.code, 2, run)
            self.assertIn(says, run.err)

    @linux
    def test_results_that_nobody_takes(self):
        pst = self.folder / 'out.pst'
        self.convert(self.write('a.mbox', mailboxes.many(1)), pst)
        for arguments in (['--help'], [], ['list', pst], ['list', '--json', pst], ['check', pst]):
            with open('/dev/full', 'w') as full:
                run = self.parvane(*arguments, stdout=full)
            self.assertEqual(run.code, 3, run)
            self.assertIn('standard output takes no more', run.err)

    def test_the_manual_explains_every_option(self):
        manual = (pathlib.Path(__file__).parents[2] / 'docs/manual.md').read_text('utf-8')
        for command in ('convert', 'scan', 'list', 'check', 'verify'):
            options = set(re.findall(r'--[a-z-]+', self.parvane(command, '--help').out)) - {'--help'}
            self.assertGreaterEqual(len(options), 2)
            self.assertEqual([option for option in options if option not in manual], [])


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
            self.assertEqual(file_name(self.convert(self.inbox, out)['destination']), name)
            self.assertEqual(self.listed_folders(out / name), {('Inbox',): 3})

    def test_several_sources_and_equal_names(self):
        other = self.write('other/inbox.mbox', mailboxes.many(4))
        account = self.convert(self.inbox, self.sent, other, self.pst)
        self.assertEqual(self.listed_folders(self.pst),
                         {('Inbox',): 3, ('Sent',): 2, ('inbox (2)',): 4})
        self.assertEqual(account['renamedFolders'], [{'wanted': 'inbox', 'path': ['inbox (2)']}])

    @linux
    def test_more_folders_than_files_may_be_open(self):
        for i in range(100):
            self.write(f'mail/{i}.mbox', mailboxes.many(1))
        account = self.convert(
            self.folder / 'mail', self.pst,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (40, 40)))
        self.assertEqual(account['totals']['written'], 100)

    def test_name(self):
        self.convert('--name', 'Päckchen', self.inbox, self.pst)
        self.assertEqual(self.listed_folders(self.pst), {('Päckchen',): 3})
        self.convert('--overwrite', '--name', 'All', self.inbox, self.sent, self.pst)
        self.assertEqual(self.listed_folders(self.pst),
                         {('All',): 0, ('All', 'Inbox'): 3, ('All', 'Sent'): 2})

    def test_ways_to_write_a_folder(self):
        tree = self.folder / 'mail'
        self.write('mail/Inbox.mbox', mailboxes.many(1))
        for i, (source, where) in enumerate(((f'{shown(tree)}/', self.folder), ('.', tree),
                                             ('../mail', tree))):
            pst = self.folder / f'{i}.pst'
            self.convert(source, pst, cwd=where)
            self.assertEqual(self.listed_folders(pst), {('mail',): 0, ('mail', 'Inbox'): 1})

    @linux
    def test_file_name_that_is_no_utf8(self):
        source = os.path.join(os.fsencode(self.folder), b'caf\xe9.mbox')
        with open(source, 'wb') as file:
            file.write(mailboxes.many(2))
        self.convert(os.fsdecode(source), self.pst)
        self.assertEqual(self.listed_folders(self.pst), {('caf\ufffd',): 2})


class Recognition(PstTest):
    """What a source is, by itself and under --from."""

    FILES = {
        'p.default/prefs.js': 0, 'p.default/Mail/Local Folders/Inbox': 2,
        'p.default/Mail/Local Folders/Inbox.msf': 0,
        'p.default/Mail/Local Folders/Inbox.sbd/Work': 1,
        'p.default/Mail/smart mailboxes/Inbox.msf': 0,
        'p.default/ImapMail/imap.example.org.msf': 0,
        'p.default/ImapMail/imap.example.org/INBOX': 3,
        # Folders that hold no mail themselves have no mailbox; names are as the server spells them.
        'p.default/ImapMail/imap.example.org/[Gmail].msf': 0,
        'p.default/ImapMail/imap.example.org/[Gmail].sbd/Entw&APw-rfe': 1,
        'p.default/ImapMail/imap.example.org/[Gmail].sbd/R&-D &AGE-.sbd/&ZeVnLIqe-': 2,
        'home/.thunderbird/profiles.ini': 0, 'home/.thunderbird/x.default/prefs.js': 0,
        'home/.thunderbird/x.default/Mail/Local Folders/Inbox': 2,
        'boxes/lists.mbox': 2, 'boxes/old/2002.MBOX': 1,
        'both/Inbox': 1, 'both/Inbox.msf': 0, 'both/saved.mbox': 2,
        'bare': 4, 'empty': 0, 'saved.mail': 1,
    }
    LOCAL = 'p.default/Mail/Local Folders'
    LOCAL_TREE = {('Inbox',): 2, ('Inbox', 'Work'): 1}
    ACCOUNTS = {('Local Folders',): 0, ('Local Folders', 'Inbox'): 2,
                ('Local Folders', 'Inbox', 'Work'): 1}
    IMAP_TREE = {('INBOX',): 3, ('[Gmail]',): 0, ('[Gmail]', 'Entwürfe'): 1,
                 ('[Gmail]', 'R&-D &AGE-'): 0, ('[Gmail]', 'R&-D &AGE-', '日本語'): 2}
    IMAP = {('imap.example.org',): 0,
            **{('imap.example.org', *path): count for path, count in IMAP_TREE.items()}}
    BOXES = {('boxes',): 0, ('boxes', 'lists'): 2, ('boxes', 'old'): 0, ('boxes', 'old', '2002'): 1}

    def setUp(self):
        super().setUp()
        for name, messages in self.FILES.items():
            self.write(f'm/{name}', mailboxes.many(messages))
        self.pst = self.folder / 'out.pst'

    def test_sources(self):
        def under(top, tree):
            return {(top,): 0, **{(top, *path): count for path, count in tree.items()}}
        cases = (
            ('p.default', (), {**self.ACCOUNTS, **self.IMAP}, 0),
            ('p.default/', ('--from', 'thunderbird'), {**self.ACCOUNTS, **self.IMAP}, 0),
            ('p.default/Mail', (), self.ACCOUNTS, 0),
            ('p.default/ImapMail/', (), self.IMAP, 0),
            ('p.default/ImapMail/imap.example.org', (), self.IMAP_TREE, 0),
            ('home/.thunderbird', (), {('Local Folders',): 0, ('Local Folders', 'Inbox'): 2}, 0),
            (self.LOCAL, (), self.LOCAL_TREE, 0),
            (self.LOCAL, ('--name', 'Local'), under('Local', self.LOCAL_TREE), 0),
            (f'{self.LOCAL}/Inbox', (), {('Inbox',): 2}, 0),
            ('bare', ('--from', 'mbox'), {('bare',): 4}, 0),
            ('empty', (), {('empty',): 0}, 0),
            ('saved.mail', (), {('saved',): 1}, 0),
            ('boxes', (), self.BOXES, 0),
            ('boxes/', ('--from', 'mbox'), self.BOXES, 0),
            # What the other kind of reader would have taken is named, not lost.
            ('both', (), {('Inbox',): 1}, 1),
            ('both', ('--from', 'mbox'), {('both',): 0, ('both', 'saved'): 2}, 1),
        )
        for source, options, tree, code in cases:
            with self.subTest(source=source, options=options):
                account = self.convert('--overwrite', *options, f'{self.folder}/m/{source}',
                                       self.pst, code=code)
                self.assertEqual(self.listed_folders(self.pst), tree)
                self.assertEqual(account['totals']['pathsLeftBehind'], code)

    def test_accounts_kept_outside_of_the_profile(self):
        profile, away = self.folder / 'm/p.default', self.folder / 'm/both'
        settings = {
            1: ('/old/home/p.default/Mail/Local Folders', '[ProfD]Mail/Local Folders', 'none'),
            2: (shown(profile / 'ImapMail/imap.example.org'), None, 'imap'),
            3: (shown(away), '[ProfD]../both', 'pop3'),
            4: ('/var/"mail"', None, 'pop3'),
            5: ('/news', '[ProfD]../../News', 'nntp'),
        }
        lines = ['// Mozilla User Preferences', 'user_pref("mail.server.server6.directory", "/cut',
                 'user_pref("mail.server.server7.directory", "");',
                 'user_pref("mail.server.server2.name", "Ärger & Co");']
        for number, (absolute, relative, kind) in settings.items():
            escaped = absolute.replace('\\', '\\\\').replace('"', '\\"')
            name = f'user_pref("mail.server.server{number}'
            lines += [f'{name}.type", "{kind}");', f'{name}.directory", "{escaped}");']
            lines += [f'{name}.directory-rel", "{relative}");'] * (relative is not None)
        self.write('m/p.default/prefs.js', '\n'.join(lines).encode())
        account = self.convert(profile, self.pst, code=1)
        named = {('Ärger & Co', *path[1:]): count for path, count in self.IMAP.items()}
        self.assertEqual(self.listed_folders(self.pst), {**self.ACCOUNTS, **named})
        self.assertEqual([p['path'] for p in account['passedOver']],
                         sorted([shown(away), '/var/"mail"']))

    def test_several_at_once(self):
        self.convert(self.folder / 'm/p.default', self.folder / 'm/boxes', self.folder / 'm/bare',
                     self.folder / 'm' / self.LOCAL, self.pst)
        again = {(path[0] + ' (2)', *path[1:]): count for path, count in self.ACCOUNTS.items()}
        self.assertEqual(self.listed_folders(self.pst),
                         {**self.ACCOUNTS, **self.IMAP, **self.BOXES, ('bare',): 4, **again})

    @linux
    def test_several_profiles_and_one_in_use(self):
        profile = self.folder / 'm/home/.thunderbird/x.default'
        with open(profile / '.parentlock', 'w') as lock:
            fcntl.lockf(lock, fcntl.LOCK_EX)
            for source in (profile / 'Mail/Local Folders', profile.parent):
                account = self.convert('--overwrite', source, self.pst)
                self.assertEqual(account['profilesInUse'], [str(profile)])
        self.write('m/home/.thunderbird/y.default/prefs.js', b'')
        self.write('m/home/.thunderbird/y.default/ImapMail/h/INBOX', bytes(1500))
        run = self.parvane('convert', profile.parent, self.folder / 'other.pst')
        self.assertEqual((run.code, run.out), (3, ''), run)
        self.assertRegex(run.err, r'x\.default \(last used 20..-..-.., .*; '
                                  r'/.*/y\.default \(last used 20..-..-.., 1\.5 kB of mail\)')

    def test_sources_without_mail(self):
        bad = self.write('text', b'just a note\n')
        ours, theirs = self.write('old.pst', b'!BDN'), self.write('old.ost', b'!BDN')
        for file in ('gz/Inbox.gz', 'link/readme.txt'):
            self.write(f'found/{file}', b'x')
        (self.folder / 'found/link/Sent').symlink_to('/none')  # which Wine shows to nobody
        for source, options, why in (
                (self.folder / 'm/boxes', ('--from', 'thunderbird'), 'no mail found in it'),
                (self.folder / 'm' / self.LOCAL, ('--from', 'mbox'), 'no mail found in it'),
                (self.folder / 'm/p.default/Mail/smart mailboxes', (), 'no mail found in it'),
                (self.folder / 'found/gz', (), 'compressed files'),
                (self.folder / 'found/link', (),
                 'no mail found in it' if WINDOWS else 'links that lead nowhere'),
                (bad, (), 'not an mbox file'), (ours, (), 'Outlook opens it'), (theirs, (), 'export it as mbox'),
                (self.folder / 'missing', (), NO_SUCH_FILE)):
            with self.subTest(source=source, options=options):
                run = self.parvane('convert', *options, source, self.pst)
                self.assertEqual(run.code, 3, run)
                self.assertRegex(run.err, re.escape(shown(source)) + '.*' + why)
                self.assertFalse(self.pst.exists())
                # Beside others it is left behind.
                account = self.convert(*options, source, self.folder / 'm/bare', self.pst, code=1)
                self.assertEqual(self.listed_folders(self.pst), {('bare',): 4})
                left = [p for p in account['passedOver'] if p['code'] == 'unusable-source']
                self.assertEqual([p['path'] for p in left], [shown(source)])
                self.assertIn(why, left[0]['detail'])
                self.pst.unlink()


class Output(PstTest):

    def setUp(self):
        super().setUp()
        self.pst = self.folder / 'out.pst'
        self.write('mail/Inbox.mbox', mailboxes.many(3))
        self.write('mail/notes.mbox', b'just a note\n')
        self.source = self.folder / 'mail'

    def test_logs(self):
        brief, detailed = self.folder / 'brief.log', self.folder / 'detailed.log'
        run = self.parvane('convert', '-q', '--log', brief, '--detailed-log', detailed,
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

    def test_timings_add_up_to_the_run(self):
        account = self.convert('--timings', self.source, self.pst)
        stages = {t['stage']: t for t in account['timings']}
        self.assertEqual(len(stages), 12)
        self.assertGreater(stages['encode and CRC']['bytes'], 1000)
        self.assertAlmostEqual(sum(t['seconds'] for t in stages.values()), account['seconds'],
                               delta=0.1)
        self.assertNotIn('timings', self.convert('--overwrite', self.source, self.pst))

    def test_report_to_standard_output(self):
        run = self.parvane('convert', '--report', '-', self.source, self.pst)
        self.assertEqual(run.code, 0, run)
        self.assertEqual(json.loads(run.out)['totals']['written'], 3)
        self.assertIn('3 messages read, 3 written, 0 failed', run.err)
        run = self.parvane('convert', '-q', '--report', '-', self.source, self.pst)
        self.assertEqual((run.code, len(run.err.splitlines())), (3, 1), run)
        self.assertIn('exists already', json.loads(run.out)['error'])

    def test_report_as_a_page(self):
        page, record = self.folder / 'run.html', self.folder / 'run.json'
        for options in ((), ('--overwrite',)):
            self.parvane('convert', '--report', page, *options, self.source, self.pst)
        self.parvane('convert', '--report', record, '--overwrite', self.source, self.pst)
        inside = re.search(r'id="record">(.*?)</script>', page.read_text(encoding='utf-8'), re.S)
        of_page, alone = json.loads(inside[1]), json.loads(record.read_text(encoding='utf-8'))
        for key in ('format', 'totals', 'folders', 'remarks'):
            self.assertEqual(of_page[key], alone[key])
        page.write_text('<!doctype html><title>a page of somebody\'s')
        run = self.parvane('convert', '--report', page, '--overwrite', self.source, self.pst)
        self.assertEqual(run.code, 3, run)
        self.assertIn("somebody's", page.read_text(encoding='utf-8'))

    def test_report_is_about_this_run(self):
        self.convert(self.source, self.pst)
        missing = self.folder / 'missing'
        for arguments, code, error in (
                ([missing, self.pst], 'not-found', 'missing'),
                ([self.source, self.pst], 'exists', 'exists already'),
                ([self.source, missing / 'a.pst'], 'not-found', 'does not exist'),
                (['--from', 'thunderbird', self.source, self.folder / 'b.pst'], 'no-mail-found',
                 'no mail found'),
                (['--log', missing / 'log', self.source, self.folder / 'b.pst'], 'not-found', 'log'),
                (['--log', self.source, self.source, self.folder / 'b.pst'], 'invalid', 'is mail')):
            with self.subTest(code, arguments=arguments):
                report = self.convert(*arguments, code=3)  # over the one of the run before
                self.assertEqual((report['outcome'], report['errorCode'], report['totals']['read']),
                                 ('could not finish', code, 0))
                self.assertIn(error, report['error'])
        self.assertEqual({path.name for path in self.folder.iterdir()},
                         {'mail', 'home', 'out.pst', 'report.json'})

    def test_quiet_does_not_hide_what_was_left_behind(self):
        self.write('mail/Sent 2018.old', mailboxes.many(1))
        run = self.parvane('convert', '-q', self.source, self.pst)
        self.assertEqual((run.code, run.out), (1, ''), run)
        self.assertEqual(run.err, f'parvane: {shown(self.pst)}: 3 messages read, 3 written, '
                                  '0 failed, 1 piece of mail left behind\n')
        report = self.convert('--overwrite', self.source, self.pst, code=1)
        self.assertEqual(report['outcome'], 'complete, mail left behind')

    def test_names_cannot_forge_lines(self):
        forged = '\x1b[2J\u202etxt\r\nCOMMITTED: 9 messages in the PST'
        subject = base64.b64encode(forged.encode()).decode()
        self.write('mail/Inbox.mbox', b'From a@b Fri Mar  1 07:00:00 2019\n'
                   b'Subject: =?utf-8?b?%s?=\n\nx\n' % subject.encode())
        if not WINDOWS:
            self.write(f'mail/{forged}.old', mailboxes.many(1))
        log = self.folder / 'detailed.log'
        run = self.parvane('convert', '--detailed-log', log, self.source, self.pst)
        for text in (run.out, log.read_text('utf-8')):
            self.assertNotRegex(text, '[\x00-\x09\x0b-\x1f\u202e]|(?m:^ *COMMITTED: 9)')
        self.assertIn('\nCOMMITTED: 1 message in the PST\n', log.read_text('utf-8'))

    def test_what_the_owner_should_know(self):
        mail = self.write('know.mbox', (
            b'From a@b Fri Mar  1 07:00:00 2019\nSubject: no date\n\n'
            b'From here on it is text\nmore\n'
            b'From b@c Fri Mar  1 07:00:00 2019\nSubject: bad date\nDate: the other day\n\nb\n\n'
            b'From b@c Fri Mar  1 07:00:00 2019\nDate: Fri, 01 Mar 2019 07:00:00 +0000\n'
            b'Content-Type: multipart/mixed; boundary=o\n\n'
            b'--o\n\nfirst\n--o\nContent-Type: text/plain\n\nsecond\n--o\n'
            b'X-Mozilla-External-Attachment-URL: file:///a.pdf\n\ngone\n--o--\n\n'
            b'From b@c Fri Mar  1 07:00:00 2019\nTo: "A" <a@x>; "B" <b@x>\nCc: boss@x (The Boss)\n'
            b'Date: Fri, 01 Mar 2019 7:00:00 +0000\nX-Mozilla-Status: 0008\n\nb\n'))
        log = self.folder / 'brief.log'
        run = self.parvane('convert', '--keep', 'state', '--log', log, '--name', ' know\t', mail, self.pst)
        self.assertEqual((run.code, run.err), (0, ''), run)
        for text in (run.out, log.read_text('utf-8')):
            for line in ('  %s, byte 52: no date behind "From ": From here on it is text\n' % shown(mail),
                         '  %s, byte 81: no empty line before it: From b@c Fri Mar' % shown(mail),
                         'Parts left out of their messages: 2\n'
                         '  know_, message 4: text/plain: 6 bytes\n',
                         'Names or addresses lost from headers: 2\n', ': To: B <b@x>\n',
                         ': Cc: The Boss (the name of boss@x)\n',
                         'Messages whose date was changed: 1\n',
                         'Date: 2019-03-01T07:00:00Z became 2019-03-01T00:00:00Z; '
                         'it reads "Fri, 01 Mar 2019 7:00:00 +0000"\n',
                         'Attachments that had been removed from the mail before: 1\n',
                         ': detached to file:///a.pdf\n',
                         'Messages that are marked as deleted in their mailbox: 1\n',
                         '  " know " is now know_\n', 'Messages without a date: 2\n',
                         'Messages whose date could not be read: 1\n'):
                self.assertIn(line, text)

    def test_listing_leaves_the_file_alone(self):
        self.parvane('convert', self.source, self.pst)
        before = self.pst.read_bytes(), self.pst.stat().st_mtime_ns
        self.pst.chmod(0o400)
        self.listing(self.pst, '--messages')
        self.assertEqual((self.pst.read_bytes(), self.pst.stat().st_mtime_ns), before)

    def test_a_log_never_replaces_mail_or_another_log(self):
        source, log = self.source / 'Inbox.mbox', self.folder / 'log'
        other = self.folder / 'other.pst'
        self.convert(source, other)
        # No reader takes it for mail, but its owner does.
        odd = self.source / 'odd'
        odd.write_bytes(b'\nFrom a@b Fri Mar  1 07:00:00 2019\nSubject: odd\n\nbody\n')
        before, pst, kept = source.read_bytes(), other.read_bytes(), odd.read_bytes()
        for arguments in (('--log', source, source), ('--report', source, self.source),
                          ('--log', odd, source), ('--detailed-log', odd, source),
                          ('--report', odd, source),
                          ('--log', other, source), ('--report', other, source),
                          ('--detailed-log', self.pst, source),
                          # Of what is not there yet, by other names.
                          ('--report', './out.pst', source), ('--log', './out.pst', source),
                          ('--log', './out.partial.pst', source),
                          ('--log', log, '--report', './log', source)):
            with self.subTest(arguments):
                run = self.parvane('convert', *arguments, self.pst, cwd=self.folder)
                self.assertEqual(run.code, 3, run)
                self.assertEqual(len(run.err.splitlines()), 1, run)
                self.assertEqual((source.read_bytes(), other.read_bytes(), odd.read_bytes()),
                                 (before, pst, kept))
                self.assertFalse(self.pst.exists())
        for _ in range(2):
            self.convert('--overwrite', '--log', log, source, self.pst)  # over its own log

    @linux
    def held_up(self):
        """Options for a run that a fast machine would end before there is progress to show: it is
        stopped for a moment."""
        if WINDOWS:
            return {}
        reader, writer = os.pipe()

        def hold():
            process = int(os.read(reader, 20))
            time.sleep(0.02)
            for number in (signal.SIGSTOP, signal.SIGCONT):
                with contextlib.suppress(ProcessLookupError):
                    os.kill(process, number)
                time.sleep(0.3)
            os.close(reader)
            os.close(writer)
        threading.Thread(target=hold, daemon=True).start()
        return {'preexec_fn': lambda: os.write(writer, b'%d' % os.getpid())}

    def test_progress(self):
        many = self.write('many.mbox', mailboxes.many(20_000))
        few = self.write('few.mbox', mailboxes.many(1))
        line = r'many  [0-9.]+ [kM]B of [0-9.]+ MB  \d+%  [0-9,]+ messages?  [0-9.]+ [kM]B/s'
        for option, source, terminal, says in (
                ('auto', many, True, line), ('never', many, True, None),
                ('lines', few, True, None), ('auto', few, False, None)):
            with self.subTest(option=option, terminal=terminal):
                run = self.parvane_on_terminal if terminal else self.parvane
                run = run('convert', '--overwrite', '--progress', option, source, self.pst,
                          **(self.held_up() if says else {}))
                self.assertEqual(run.code, 0, run)
                if says:
                    self.assertRegex(run.err, r'\r' + says)
                    self.assertTrue(run.err.endswith('\r\x1b[K'), run)  # the live line is gone
                else:
                    self.assertEqual(run.err, '', run)  # too short for the first line

        self.convert('--overwrite', many, self.pst)
        for option, says in (('auto', r'^(\r\S+  .*\d%  .*/s.*\x1b\[K)+$'), ('never', '^$')):
            with open(self.folder / 'out', 'w') as out:
                run = self.parvane_on_terminal('check', '--progress', option, self.pst, stdout=out,
                                               **self.held_up())
            self.assertRegex(run.err, says)
        self.assertEqual(self.parvane_on_terminal('check', self.pst).err, '')  # perhaps a pager's

    def test_progress_lines(self):
        """Where nobody watches, a line comes every five seconds: a machine that is too fast for
        that sleeps meanwhile."""
        source = self.write('many.mbox', mailboxes.many(20_000))
        process = subprocess.Popen([PARVANE, 'convert', shown(source), shown(self.pst)],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        while process.poll() is None and not self.has_grown(partial(self.pst), 300_000):
            time.sleep(0.001)
        process.send_signal(signal.SIGSTOP)
        time.sleep(5.1)
        process.send_signal(signal.SIGCONT)
        out, err = process.communicate(timeout=300)
        self.assertEqual(process.returncode, 0, err)
        self.assertRegex(err.decode(), r'^many  .*  \d+%  .* messages?  .*/s  [\d:]+ left\n')

    def test_a_closed_output_does_not_stop_the_work(self):
        reader, writer = os.pipe()
        os.close(reader)
        report = self.folder / 'r.json'
        done = subprocess.run([PARVANE, 'convert', '--report', shown(report), shown(self.source),
                               shown(self.pst)], stdout=writer, stderr=subprocess.PIPE)
        os.close(writer)
        self.assertEqual(done.returncode, 0, done)
        self.assertEqual(json.loads(report.read_text())['totals']['written'], 3)


if __name__ == '__main__':
    unittest.main()
