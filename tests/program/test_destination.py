"""The life of the destination: who may have it, what becomes of it and of everything around it."""
import os
import shutil
import signal
import subprocess
import time
import unittest

import mailboxes
from harness import PARVANE, PstTest, linux, partial, shown


class Destination(PstTest):

    def setUp(self):
        super().setUp()
        self.pst = self.folder / 'out.pst'
        self.few = self.write('few.mbox', mailboxes.many(7))

    def start(self, *arguments, **options):
        return subprocess.Popen([PARVANE, 'convert', *map(shown, arguments)],
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, **options)

    def start_many(self, *arguments, **options):
        """Begins to write more than it can finish before it is stopped, on a busy machine too: it gives way."""
        many = self.write('many.mbox', mailboxes.attachments(1000, 100_000))
        process = self.start(*arguments, many, self.pst, **options)
        os.setpriority(os.PRIO_PROCESS, process.pid, 19)
        begun = many.stat().st_mtime_ns  # what an earlier run left behind has not grown since
        while process.poll() is None and not any(
                self.has_grown(pst, 5_000_000, begun) for pst in self.folder.glob('*.pst')):
            time.sleep(0.001)
        process.send_signal(signal.SIGSTOP)
        self.assertIsNone(process.poll(), 'it was done already')
        return process

    def end(self, process, *signals):
        for number in (*signals, signal.SIGCONT):
            process.send_signal(number)
        err = process.communicate(timeout=300)[1]
        return process.returncode, err.decode()

    def messages(self, pst):
        return sum(self.listed_folders(pst).values())

    def refused(self, text, *arguments):
        run = self.parvane('convert', *arguments, cwd=self.folder)
        self.assertEqual((run.code, run.out, len(run.err.splitlines())), (3, '', 1), run)
        self.assertIn(text, run.err)

    @linux
    def test_closed_standard_streams_are_not_the_pst(self):
        """The next file to be opened would get their descriptors."""
        process = self.start_many(preexec_fn=lambda: [os.close(fd) for fd in range(3)])
        streams = [os.path.realpath(f'/proc/{process.pid}/fd/{fd}') for fd in range(3)]
        self.end(process, signal.SIGKILL)
        self.assertEqual([path for path in streams if path.startswith(str(self.folder))], [])
        for pst in self.folder.glob('*.pst'):
            pst.unlink()
        for closed in ((0,), (2,), (0, 1, 2)):
            for option, messages in (('--overwrite', 7), ('--append', 14)):
                with self.subTest(closed=closed, option=option):
                    run = self.parvane('convert', '--progress', 'lines', option, self.few, self.pst,
                                       preexec_fn=lambda: [os.close(fd) for fd in closed])
                    self.assertEqual(run.code, 0, run)
                    self.assertEqual(self.messages(self.pst), messages)
                    self.check_structure(self.pst)

    def test_nothing_that_is_not_ours_is_touched(self):
        for name in ('box.new', 'out.pst.new', 'out.pst.1.replaced'):
            self.write(name, mailboxes.many(3))
        before = {path: path.read_bytes() for path in self.folder.iterdir()}
        for pst in (self.folder / 'box.pst', self.pst, self.pst):
            self.convert('--overwrite', self.folder / 'box.new', pst)
            self.assertEqual({p: p.read_bytes() for p in before}, before)
        # Nor a file that has the very name a new PST would grow under.
        for content in (self.pst.read_bytes(), b'Parvane', b'notes'):
            theirs = self.write('out.partial.pst', content)
            self.refused(f'{shown(theirs)}: is in the way', '--overwrite', self.few, self.pst)
            self.assertEqual(theirs.read_bytes(), content)
            theirs.unlink()
        theirs.mkdir()
        self.refused(f'{shown(theirs)}: is in the way', '--overwrite', self.few, self.pst)
        theirs.rmdir()
        # And what is this run's own is not told of as the owner's.
        self.write('box/in.mbox', mailboxes.many(1))
        account = self.convert('--log', self.folder / 'box/log', theirs.parent / 'box',
                               self.folder / 'box/mail.pst')
        self.assertEqual(account['passedOver'], [])

    def test_names_that_are_none_for_a_pst(self):
        for name in ('-', 'box', 'box.ost', '.pst'):
            self.refused(name, self.few, name)
            self.assertFalse((self.folder / name).exists())

    def test_two_runs_of_which_one_wins(self):
        """Started together on one destination, again and again."""
        counts = {'other.mbox': 4000, 'few.mbox': 7}
        self.write('other.mbox', mailboxes.many(4000))
        winners = set()
        for round in range(12):
            runs = {}
            for name in sorted(counts, reverse=round % 2 == 0):
                runs[name] = self.start('--overwrite', self.folder / name, self.pst)
                time.sleep(0.001 * round)
            for run in runs.values():
                run.communicate(timeout=300)
            codes = {name: run.returncode for name, run in runs.items()}
            self.assertLessEqual(set(codes.values()), {0, 3})
            won = [name for name, code in codes.items() if code == 0]
            self.assertIn(self.messages(self.pst), [counts[name] for name in won], codes)
            self.assertEqual(list(self.folder.glob('*.pst')), [self.pst])
            winners.add(len(won))
        self.assertIn(1, winners, 'they never met')

    @linux
    def test_what_happens_to_the_files_meanwhile_is_told(self):
        def replace(path):
            shutil.copy(self.few, self.folder / 'x')
            (self.folder / 'x').rename(path)

        growing = partial(self.pst)
        for victim, harm, existed in ((self.pst, replace, False), (self.pst, os.unlink, True),
                                      (self.pst, replace, True), (growing, os.unlink, True),
                                      (growing, replace, True)):
            with self.subTest(victim=victim.name, replaced=harm is replace, existed=existed):
                if existed:
                    self.convert(self.few, self.pst)
                    self.pst.chmod(0o600)
                process = self.start_many(*(['--overwrite'] if existed else []))
                if existed:
                    self.assertEqual(growing.stat().st_mode, self.pst.stat().st_mode)
                harm(victim)
                code, err = self.end(process)
                self.assertEqual(code, 3, err)
                self.assertIn(f'{victim}: was removed, renamed or replaced', err)
                self.assertEqual(victim.exists(), harm is replace)
                if harm is replace:
                    self.assertEqual(victim.read_bytes(), self.few.read_bytes())
                    victim.unlink()
                if victim == growing:
                    self.assertEqual(self.messages(self.pst), 7)
                    self.pst.unlink()
                    continue
                # Whole and without its name, as if killed right before that: a leftover still, until
                # somebody gives it a name and adds to it.
                self.refused('--overwrite replaces it', self.few, self.pst)
                growing.rename(self.pst)
                self.convert('--append', self.few, self.pst)
                self.assertEqual(self.messages(self.pst), 1007)
                self.pst.rename(growing)
                self.refused('is in the way', '--overwrite', self.few, self.pst)
                growing.unlink()

    def test_the_old_pst_stays_until_there_is_a_new_one(self):
        self.convert(self.few, self.pst)
        before = self.pst.read_bytes()
        for number, codes in ((signal.SIGINT, (130, 0)), (signal.SIGKILL, (-signal.SIGKILL, 1))):
            process = self.start_many('--overwrite')
            # Nobody else may have either of them meanwhile.
            for option in ('--append', '--overwrite'):
                self.refused('open', option, self.few, self.pst)
            self.assertEqual(self.end(process, number)[0], codes[0])
            self.assertEqual(self.pst.read_bytes(), before)
            # What is left opens, and a run that comes to nothing leaves it alone, too.
            self.assertEqual(self.parvane('check', partial(self.pst)).code, codes[1])
            left = partial(self.pst).read_bytes()
            self.parvane('convert', '--overwrite', self.folder / 'none', self.pst)
            self.assertEqual(partial(self.pst).read_bytes(), left)
        # It is replaced when that is asked for, with a word, never otherwise, nor written into.
        self.pst.unlink()
        os.link(partial(self.pst), self.folder / 'seen')
        for option in ((), ('--append',)):
            self.refused('--overwrite replaces it', *option, self.few, self.pst)
        self.assertEqual(partial(self.pst).read_bytes(), left)
        run = self.parvane('convert', '--overwrite', self.few, self.pst)
        self.assertEqual((run.code, run.err.count('which did not finish')), (0, 1), run)
        self.assertEqual((self.folder / 'seen').read_bytes(), left)
        self.assertEqual(list(self.folder.glob('*.pst')), [self.pst])
        # A finished one under that name is not taken for a leftover.
        self.pst.rename(partial(self.pst))
        self.refused('is in the way', '--overwrite', self.few, self.pst)
        self.assertEqual(self.messages(partial(self.pst)), 7)

    @linux
    def test_mode_owner_and_link_are_kept(self):
        real = self.folder / 'real' / 'archive.pst'
        real.parent.mkdir()
        self.convert(self.few, real)
        real.chmod(0o640)
        if os.geteuid() == 0:
            os.chown(real, 1234, 2345)
        before = real.stat()
        self.pst.symlink_to(real)
        self.convert('--overwrite', self.few, self.pst)
        now = real.stat()
        self.assertTrue(self.pst.is_symlink())
        self.assertNotEqual(now.st_ino, before.st_ino)
        self.assertEqual((now.st_mode, now.st_uid, now.st_gid),
                         (before.st_mode, before.st_uid, before.st_gid))
        self.pst.unlink()
        self.pst.symlink_to(self.folder / 'unmounted' / 'x.pst')
        self.refused('link', self.few, self.pst)
        self.pst.unlink()

    def test_what_cannot_fit_is_not_begun(self):
        large = self.write('large.mbox', mailboxes.attachments(100, 100_000))
        self.refused('at least', '--size-limit', '1MB', large, self.pst)
        self.assertEqual(list(self.folder.glob('*.pst')), [])
        run = self.parvane('convert', '--size-limit', '15MB', large, self.pst)
        self.assertEqual((run.code, run.err.count('may take up to')), (0, 1), run)


if __name__ == '__main__':
    unittest.main()
