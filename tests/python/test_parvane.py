"""The Python module over the shared library: what it converts, the program lists; what it reads is what was there."""
import contextlib
import email
import email.policy
import json
import mailbox
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / 'python'))
import parvane  # noqa: E402  pylint: disable=wrong-import-position

MAIL = HERE.parents[1] / 'examples/mail'


class Module(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        self.pst = os.path.join(self._folder.name, 'ä mail.pst')

    def test_converts_and_reads_back(self):
        seen, notices = [], []
        account = parvane.convert(MAIL, self.pst, progress=lambda *figures: seen.append(figures),
                                  notice=notices.append, keep='all')
        sources = {}
        for path in MAIL.rglob('*.mbox'):
            with contextlib.closing(mailbox.mbox(path, create=False)) as box:
                sources[path.stem] = list(box)
        self.assertEqual(account.outcome, parvane.Outcome.DONE, account.summary)
        self.assertEqual(account.written, sum(map(len, sources.values())))
        self.assertEqual(account.report['totals']['written'], account.written)
        self.assertEqual(seen[-1][3], account.written)
        listed = json.loads(subprocess.run([os.environ['PARVANE'], 'list', '--json', self.pst], check=True,
                                           stdout=subprocess.PIPE).stdout)
        with parvane.open(self.pst) as pst:
            folders = {folder.name: list(folder.messages()) for folder in pst.folders()}
            self.assertEqual({name: len(found) for name, found in folders.items() if found},
                             {name: len(sent) for name, sent in sources.items() if sent})
            self.assertEqual({folder['path'][-1]: folder['messages'] for folder in listed['folders'] if folder['messages']},
                             {name: len(found) for name, found in folders.items() if found})
            for name, sent in sources.items():
                for ours, theirs in zip(folders[name], sent):
                    self.compare(ours, email.message_from_bytes(bytes(theirs).replace(b'\n', b'\r\n'), policy=email.policy.default))
        with self.assertRaises(parvane.Error):
            pst.folders()

    def compare(self, ours, theirs):
        self.assertEqual(ours.subject, str(theirs['Subject'] or ''))
        self.assertIn(theirs['From'].addresses[0].addr_spec, ours.load().sender)
        for attachment in ours.attachments:
            if attachment.message:
                self.assertTrue(attachment.message.subject)
                continue
            with_name = [part for part in theirs.walk() if part.get_filename() == attachment.name]
            if with_name:
                self.assertIn(attachment.read(), [part.get_payload(decode=True) for part in with_name])
        self.assertIn('<', ours.page)

    def test_says_what_is_wrong(self):
        for call in (lambda: parvane.convert(MAIL, self.pst, colour='red'),
                     lambda: parvane.convert(MAIL, self.pst, since='yesterday'),
                     lambda: parvane.convert([], self.pst),
                     lambda: parvane.convert(MAIL, self.pst, append=True, overwrite=True),
                     lambda: parvane.open(MAIL / 'Inbox.mbox'),
                     lambda: parvane.open(self.pst)):
            with self.assertRaises(parvane.Error):
                call()
        self.assertFalse(os.path.exists(self.pst))
        account = parvane.convert(os.path.join(self._folder.name, 'missing'), self.pst)
        self.assertEqual(account.outcome, parvane.Outcome.COULD_NOT_FINISH)
        self.assertIn('missing', account.error)

    def test_what_a_callback_throws_ends_the_run(self):
        def stop(*figures):
            if figures[3] == 2:
                raise KeyboardInterrupt
        with self.assertRaises(KeyboardInterrupt):
            parvane.convert(MAIL, self.pst, progress=stop)
        self.assertFalse(os.path.exists(self.pst), 'it has no name before it is whole')
        account = parvane.convert(MAIL, self.pst, resume=True)
        self.assertEqual(account.outcome, parvane.Outcome.DONE, account.summary)
        with parvane.open(self.pst) as pst:
            self.assertEqual(sum(folder.count for folder in pst.folders()), parvane.scan(MAIL).read)


if __name__ == '__main__':
    unittest.main()
