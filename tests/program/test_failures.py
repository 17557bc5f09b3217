"""What goes wrong in real life: a clear line, nothing lost that was saved, nothing claimed that is
not there."""
import fcntl
import json
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import time
import unittest

import mailboxes
from harness import NO_SUCH_FILE, PARVANE, WINDOWS, PstTest, linux, partial, shown

NOBODY = 65534


def as_plain_user():
    """Permissions bind everybody but root, so root's tests run as nobody."""
    if os.geteuid() == 0:
        os.setgid(NOBODY)
        os.setuid(NOBODY)


class Refusals(PstTest):

    def assert_one_line(self, run, *texts, code=3):
        self.assertEqual((run.code, run.out), (code, ''), run)
        self.assertEqual(len(run.err.splitlines()), 1, run)
        self.assertTrue(run.err.startswith('parvane: '), run)
        for text in texts:
            self.assertIn(shown(text), run.err)

    def test_one_line_names_the_file_and_the_reason(self):
        source = self.write('Inbox.mbox', mailboxes.many(2))
        text = self.write('notes.txt', b'from here to there\n')
        (self.folder / 'empty').mkdir()
        pst = self.folder / 'out.pst'
        archive = self.write('old.mbox.gz', b'\x1f\x8b')
        missing = self.folder / 'missing'
        cases = (
            ('no source', (missing, pst), (missing, NO_SUCH_FILE)),
            ('no mbox', (text, pst), (text, 'not an mbox')),
            ('no mail', (self.folder / 'empty', pst), ('empty', 'no mail')),
            ('archive', (archive, pst), (archive, 'unpack')),
            ('pattern', (self.folder / 'x*.mbox', pst), ('x*.mbox', 'no file matches')),
            ('no folder for the PST', (source, missing / 'out.pst'), (missing, 'does not exist')),
            ('no PST', (source, text), (text, 'no PST')),
            ('no PST to append to', ('--append', source, text), (text, 'no PST')),
            ('no PST to replace', ('--overwrite', source, text), (text, 'no PST')),
            ('no place for the log', ('--log', missing / 'log', source, pst), (missing / 'log',)),
        )
        for name, arguments, texts in cases:
            with self.subTest(name):
                self.assert_one_line(self.parvane('convert', *arguments), *texts)
                self.assertFalse(pst.exists())
        self.assertEqual(text.read_bytes(), b'from here to there\n')
        for name, path, reason in (('list nothing', missing, NO_SUCH_FILE),
                                   ('list no PST', text, 'no PST')):
            with self.subTest(name):
                self.assert_one_line(self.parvane('list', path), path, reason)

    @linux
    def test_locked_pst(self):
        source = self.write('Inbox.mbox', mailboxes.many(2))
        pst = self.folder / 'out.pst'
        self.convert(source, pst)
        before = pst.read_bytes()
        with open(pst, 'r+b') as holder:
            fcntl.flock(holder, fcntl.LOCK_EX)
            for option in ('--append', '--overwrite'):
                self.assert_one_line(self.parvane('convert', option, source, pst), pst, 'open')
        self.assertEqual(pst.read_bytes(), before)

    @linux
    def test_read_only_destination_and_unreadable_source(self):
        source = self.write('mail/Inbox.mbox', mailboxes.many(2))
        locked = self.write('mail/locked.mbox', mailboxes.many(2))
        behind = [self.write(f'mail/{name}/a.mbox', mailboxes.many(2)) for name in ('dark', 'dim')]
        last = self.write('mail/light/a.mbox', mailboxes.many(1))
        closed = self.folder / 'closed'
        closed.mkdir()
        shared = self.folder / 'shared'
        shared.mkdir()
        for path in (self.folder, source.parent, last.parent):
            path.chmod(0o755)
        for path in (closed, *(mailbox.parent for mailbox in behind)):
            self.addCleanup(path.chmod, 0o755)  # or it could not be removed
        behind[0].parent.chmod(0)  # not to be listed
        behind[1].parent.chmod(0o444)  # to be listed, and no more
        closed.chmod(0o555)
        shared.chmod(0o777)
        locked.chmod(0)
        # Where the build is, that user may not be let in.
        plain = {'program': shutil.copy(PARVANE, self.folder), 'preexec_fn': as_plain_user}
        run = self.parvane('convert', source, closed / 'out.pst', **plain)
        self.assert_one_line(run, closed / 'out.pst', 'denied')
        run = self.parvane('convert', locked, shared / 'out.pst', **plain)
        self.assert_one_line(run, locked, 'denied')
        mac = self.folder / 'Library/Mail'
        mac.mkdir(parents=True, mode=0)
        run = self.parvane('convert', mac, shared / 'out.pst', **plain)
        self.assert_one_line(run, mac, 'denied', 'Full Disk Access')

        # Among others it is passed over, as are folders, each alone; the exit code says that mail
        # was left behind.
        run = self.parvane('convert', source.parent, shared / 'out.pst', **plain)
        self.assertEqual(run.code, 1, run)
        self.assertRegex(run.out, r'Mail left behind: 3\n  could not be read \(.*\): 3\n')
        for path in (locked, behind[0].parent, behind[1]):
            self.assertIn(f'    {path}: ', run.out)
        self.assertEqual(self.listed_folders(shared / 'out.pst'), {
            ('mail',): 0, ('mail', 'Inbox'): 2, ('mail', 'light'): 0, ('mail', 'light', 'a'): 1})


class Stops(PstTest):
    """The work ends before its time: whatever the account counts as written is in the file."""

    def assert_account_is_true(self, account, pst):
        self.assertEqual(sum(self.listed_folders(pst).values()), account['totals']['written'])
        self.assert_readers_agree(pst, account['totals']['written'])

    @linux
    def test_no_more_space(self):
        source = self.write('Inbox.mbox', mailboxes.attachments(200, 100_000))
        for limit in (10_000_000, 2_345_678):
            with self.subTest(limit=limit):
                pst = self.folder / f'{limit}.pst'
                account = self.convert(
                    source, pst, code=3,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                self.assertFalse(pst.exists())
                self.assertEqual(account['partialFile'], shown(partial(pst)))
                pst = partial(pst)
                self.assertIn(shown(pst), account['error'])
                self.assertLess(account['totals']['written'], 200)
                self.assert_account_is_true(account, pst)
                self.assertTrue(account['failures'])
                for failure in account['failures']:
                    self.assertIn('File too large', failure['reason'])
                    name = f'<{failure["position"] - 1}.generated@example.org>'
                    self.assertEqual(failure['messageId'], name)
                    message = source.read_bytes()[failure['offset']:]
                    self.assertTrue(message.startswith(b'From: Ingrid'), failure)
                    self.assertIn(name.encode(), message[:1000])

    @linux
    def test_no_space_at_all(self):
        source = self.write('Inbox.mbox', mailboxes.many(5))
        pst = self.folder / 'out.pst'
        account = self.convert(
            source, pst, code=3,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (20_000, 20_000)))
        self.assertIn(shown(partial(pst)), account['error'])
        self.assertIsNone(account['partialFile'])
        self.assertEqual(list(self.folder.glob('*.pst')), [])

        # A PST that was to be replaced stays.
        self.convert(source, pst)
        before, files = pst.read_bytes(), sorted(self.folder.iterdir())
        self.convert(
            '--overwrite', source, pst, code=3,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (20_000, 20_000)))
        self.assertEqual(pst.read_bytes(), before)
        self.assertEqual(sorted(self.folder.iterdir()), files)

    @linux
    def test_a_message_larger_than_memory(self):
        limit = {'preexec_fn': lambda: resource.setrlimit(resource.RLIMIT_AS, (400 << 20, 400 << 20))}
        if self.parvane('--version', **limit).code != 0:
            self.skipTest('this build needs more memory than that to start')
        source = self.write('a.mbox', mailboxes.many(1) + b'From b Fri Mar  1 08:00:00 2019\nA: b\n\n')
        offset = source.stat().st_size - 6
        with open(source, 'r+b') as file:
            file.seek(600_000_000, os.SEEK_END)
            file.write(b'\n\n' + mailboxes.many(1))
        more = self.write('b.mbox', mailboxes.many(2))
        pst = self.folder / 'out.pst'
        account = self.convert(source, more, pst, code=1, **limit)
        self.assertEqual([f['written'] for f in account['folders']], [2, 2])
        failure, = account['failures']
        self.assertEqual((failure['code'], failure['offset'], failure['source']),
                         ('no-memory', offset, str(source)))
        self.assertIn('600000012 bytes', failure['reason'])
        self.assertEqual(self.listed_folders(pst), {('a',): 3, ('b',): 2})  # one of them empty

    def test_size_limit(self):
        source = self.write('a.mbox', mailboxes.attachments(100, 100_000))
        later = [self.write(f'{name}.mbox', mailboxes.many(1)) for name in ('b', 'c')]
        pst = self.folder / 'out.pst'
        account = self.convert('--size-limit', '5MB', source, *later, pst, code=3)
        self.assertEqual(account['foldersNotBegun'],
                         [{'path': [path.stem], 'source': shown(path)} for path in later])
        pst = partial(pst)
        self.assertLessEqual(pst.stat().st_size, 5_000_000)
        self.assertGreater(account['totals']['written'], 10)
        self.assert_account_is_true(account, pst)

    def start(self, source, pst, report, option='--overwrite'):
        environment = dict(os.environ, XDG_DATA_HOME=str(self.folder / 'home'))
        return subprocess.Popen(
            [PARVANE, 'convert', option, '--report', shown(report), shown(source), shown(pst)],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env=environment)

    def test_two_programs_on_one_pst(self):
        more = self.write('Inbox.mbox', mailboxes.many(1))
        big = self.write('Big.mbox', mailboxes.attachments(400, 100_000))
        pst = self.folder / 'out.pst'
        self.convert(more, pst)
        size = pst.stat().st_size
        first = self.start(big, pst, self.folder / 'first.json', '--append')
        while first.poll() is None and not self.has_grown(pst, size + 500_000):
            time.sleep(0.001)
        first.send_signal(signal.SIGSTOP)
        self.assertIsNone(first.poll(), 'the first one was done already')
        second = self.parvane('convert', '--append', more, pst)
        # Reading needs no lock.
        reading = self.parvane('list', pst)
        first.send_signal(signal.SIGCONT)
        first.communicate(timeout=300)
        self.assertEqual(first.returncode, 0)
        self.assertEqual((second.code, len(second.err.splitlines())), (3, 1), second)
        self.assertIn(shown(pst), second.err)
        self.assertIn('has this PST open', second.err)
        self.assertEqual(reading.code, 0, reading)
        self.assertEqual(self.listed_folders(pst), {('Inbox',): 1, ('Big',): 400})

    def test_sources_that_change_meanwhile(self):
        count = 400
        cut = self.write('mail/a cut.mbox', mailboxes.attachments(count, 100_000))
        gone = self.write('mail/b gone.mbox', mailboxes.many(1))
        self.write('mail/c good.mbox', mailboxes.many(1))
        pst, report = self.folder / 'out.pst', self.folder / 'report.json'
        process = self.start(cut.parent, pst, report)
        while process.poll() is None and not self.has_grown(partial(pst), 300_000):
            time.sleep(0.001)
        process.send_signal(signal.SIGSTOP)
        os.truncate(cut, cut.stat().st_size // 4 * 3)
        gone.unlink()
        process.send_signal(signal.SIGCONT)
        out, err = process.communicate(timeout=300)
        self.assertEqual((process.returncode, err), (1, b''), out)
        account = json.loads(report.read_text(encoding='utf-8'))
        first, second = account['readFailures']
        self.assertEqual((first['path'], first['offset']), (shown(cut), cut.stat().st_size))
        self.assertIn('changed while it was read', first['reason'])
        self.assertEqual((second['path'], second['offset']), (shown(gone), 0))
        self.assertIn(NO_SUCH_FILE, second['reason'])
        for path in (cut, gone):
            self.assertIn(f'  {shown(path)}, at byte ', out.decode())
        self.assertEqual(account['folders'][-1]['written'], 1)
        self.assertLess(account['totals']['read'], count)
        self.assert_account_is_true(account, pst)

    def stop_in_the_middle(self, pst, *signals):
        """Converts, and sends the signals when the PST has grown; a machine too fast for that gets
        a longer mailbox."""
        report = self.folder / 'report.json'
        count = 20_000
        while True:
            source = self.write('Inbox.mbox', mailboxes.many(count))
            process = self.start(source, pst, report)
            while process.poll() is None and not self.has_grown(partial(pst), 1_000_000):
                time.sleep(0.001)
            for number in signals:
                process.send_signal(number)
            out, err = process.communicate(timeout=300)
            if process.returncode != 0:
                return process.returncode, err.decode(), report, count
            self.assertLess(count, 80_000, 'the signals were ignored')
            count *= 4

    def test_interrupt_in_the_middle(self):
        # Wine makes a Ctrl-C of one; the other it does not know.
        for number in (signal.SIGINT,) if WINDOWS else (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number):
                pst = self.folder / f'{number}.pst'
                code, err, report, count = self.stop_in_the_middle(pst, number)
                self.assertEqual(code, 130, err)
                self.assertIn('interrupted', err)
                self.assertFalse(pst.exists())
                pst = partial(pst)
                self.assertIn(f'is in {shown(pst)}, ', err.splitlines()[-1])
                account = json.loads(report.read_text(encoding='utf-8'))
                totals = account['totals']
                self.assertEqual((totals['failed'], totals['read']), (0, totals['written']))
                self.assertTrue(0 < totals['read'] < count, totals)
                self.assert_account_is_true(account, pst)

    def test_stopped_at_once_the_pst_is_good_up_to_its_last_commit(self):
        for name, signals, codes in (
                ('two interrupts', (signal.SIGINT, signal.SIGINT), (130,)),
                ('killed', (signal.SIGKILL,), (-signal.SIGKILL,))):
            with self.subTest(name):
                pst = self.folder / f'{name}.pst'
                self.convert(self.write('one.mbox', mailboxes.many(1)), self.folder / 'one.pst',
                             '--overwrite')
                code, err, report, count = self.stop_in_the_middle(pst, *signals)
                self.assertIn(code, codes, err)
                # That of the run before is gone; two signals may arrive as one.
                if report.exists():
                    self.assertEqual(json.loads(report.read_bytes())['exitCode'], code)
                self.assertFalse(pst.exists())
                pst = partial(pst)
                there = sum(self.listed_folders(pst).values())
                self.assertLess(there, count)
                more = self.write('more.mbox', mailboxes.many(10))
                self.convert('--append', more, pst)
                self.assert_readers_agree(pst, there + 10)


if __name__ == '__main__':
    unittest.main()
