"""What only Windows has: its paths, its console, its way to be interrupted, its share modes."""
import json
import os
import pty
import signal
import subprocess
import threading
import time
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


class Sharing(PstTest):

    def test_a_pst_that_is_being_written_can_be_read_but_not_written(self):
        source = self.write('Inbox.mbox', mailboxes.many(100_000))
        more = self.write('more.mbox', mailboxes.many(1))
        pst = self.folder / 'out.pst'
        self.convert(more, pst)
        before = pst.stat().st_size
        writer = subprocess.Popen([PARVANE, 'convert', '--quiet', '--append', shown(source),
                                   shown(pst)], stdin=subprocess.DEVNULL)
        self.addCleanup(writer.wait)
        while writer.poll() is None and not self.has_grown(pst, before + 1_000_000):
            time.sleep(0.01)
        run = self.parvane('convert', '--append', more, pst)
        reading = self.parvane('list', pst)
        self.assertIsNone(writer.poll(), 'a machine too fast for this test')
        writer.send_signal(signal.SIGINT)
        self.assertEqual((run.code, run.out, len(run.err.splitlines())), (3, '', 1), run)
        self.assertIn('in use by another program', run.err)
        self.assertEqual(reading.code, 0, reading)
        self.assertEqual(writer.wait(), 130)


class Console(PstTest):

    def on_console(self, *arguments):
        """Exit code and text of the program on a Windows console, which Wine shows on a terminal."""
        reader, writer = pty.openpty()
        text = []

        def read():
            try:
                while data := os.read(reader, 65536):
                    text.append(data)
            except OSError:  # how Linux tells that the other side is closed
                pass
        watcher = threading.Thread(target=read)
        watcher.start()
        process = subprocess.Popen([PARVANE, *map(shown, arguments)], stdin=writer, stdout=writer,
                                   stderr=writer, start_new_session=True,
                                   env=dict(os.environ, TERM='xterm'))
        os.close(writer)
        code = process.wait(timeout=300)
        watcher.join()
        os.close(reader)
        return code, b''.join(text).decode('utf-8')

    def test_every_script_is_shown(self):
        self.write(f'{LETTERS}/Ελλάδα.mbox', mailboxes.many(2))
        pst = self.folder / 'out.pst'
        code, text = self.on_console('convert', self.folder / LETTERS, pst)
        self.assertEqual(code, 0, text)
        code, text = self.on_console('list', pst)
        self.assertEqual(code, 0, text)
        self.assertIn(LETTERS, text)
        self.assertIn('Ελλάδα', text)
        # Redirected, the same text goes out as it is: UTF-8, line ends of one byte.
        done = subprocess.run([PARVANE, 'list', shown(pst)], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, check=True)
        self.assertIn(LETTERS.encode(), done.stdout)
        self.assertNotIn(b'\r', done.stdout)

    def interrupt(self, times):
        source = self.write('Inbox.mbox', mailboxes.many(100_000))
        pst, report = self.folder / 'out.pst', self.folder / 'report.json'
        process = subprocess.Popen([PARVANE, 'convert', '--report', shown(report), shown(source),
                                    shown(pst)], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        while process.poll() is None and not self.has_grown(pst, 1_000_000):
            time.sleep(0.01)
        for _ in range(times):
            process.send_signal(signal.SIGINT)  # Wine makes a Ctrl-C of it
        _, err = process.communicate(timeout=300)
        return process.returncode, err.decode(), report, pst

    def test_one_ctrl_c_finishes_the_item_in_hand(self):
        code, err, report, pst = self.interrupt(1)
        self.assertEqual(code, 130, err)
        self.assertIn('interrupted', err)
        totals = json.loads(report.read_text(encoding='utf-8'))['totals']
        self.assertEqual((totals['failed'], totals['read']), (0, totals['written']))
        self.assertTrue(0 < totals['written'] < 100_000, totals)
        self.assert_readers_agree(pst, totals['written'])

    def test_two_stop_at_once_and_the_next_run_goes_on(self):
        code, err, _, pst = self.interrupt(2)
        self.assertEqual(code, 130, err)
        there = sum(self.listed_folders(pst).values())
        self.assertLess(there, 100_000)
        self.convert('--append', self.write('more.mbox', mailboxes.many(3)), pst)
        self.assert_readers_agree(pst, there + 3)


if __name__ == '__main__':
    unittest.main()
