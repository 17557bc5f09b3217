"""One PST for each of many sources."""
import json
import os
import signal
import subprocess
import unittest

import mailboxes
from harness import PARVANE, PstTest, linux, partial


class Each(PstTest):

    def setUp(self):
        super().setUp()
        self.out = self.folder / 'out'
        self.out.mkdir()

    def each(self, *arguments, code=0):
        run = self.parvane('convert', '--each', *arguments, self.out)
        self.assertEqual(run.code, code, run)
        account = json.loads((self.out / 'parvane-each.json').read_text(encoding='utf-8'))
        self.assertEqual(account['exitCode'], code)
        for job in account['jobs']:
            self.assertIn('\n' + os.path.basename(job['destination'])[:-4], '\n' + run.out)
        self.assertEqual(list(self.out.glob('*.messages')), [])
        return account

    def states(self, account):
        return {os.path.basename(job['destination'].replace('\\', '/')): job['state']
                for job in account['jobs']}

    def test_sources_and_what_becomes_of_them(self):
        for name, count in (('A', 3), ('B', 4), ('more/A', 5)):
            self.write(f'mail/{name}.mbox', mailboxes.many(count))
        self.write('mail/notes.txt', b'no mail at all\n')
        (self.folder / 'mail/lost.mbox').symlink_to('/nonexistent/lost.mbox')
        self.write('odd one/a.mbox', mailboxes.many(2))
        listed = self.write('list.txt', f'# two\n{self.folder}/none.mbox\r\n\n'
                            f'{self.folder}/odd one/a.mbox'.encode())
        arguments = ('-j', '2', '--keep', 'none', '--each-of', listed, self.folder / 'mail')
        account = self.each(*arguments, code=3)
        done = {'A.pst': 'done', 'B.pst': 'done', 'more.pst': 'done', 'a (2).pst': 'done'}
        self.assertEqual(self.states(account), done | {'none.pst': 'failed', 'lost.pst': 'failed'})
        self.assertEqual([os.path.basename(p.replace('\\', '/')) for p in account['passedOver']],
                         ['notes.txt'])
        totals = account['totals']
        self.assertEqual([totals[k] for k in ('jobs', 'done', 'failedJobs', 'read', 'written', 'failed')],
                         [6, 4, 2, 14, 14, 0])
        self.assertIn('lost.mbox', next(j['error'] for j in account['jobs'] if j['error']))
        for name, count in (('A', 3), ('B', 4), ('more', 5), ('a (2)', 2)):
            self.assertEqual(self.listing(self.out / f'{name}.pst')['totals']['messages'], count)
            report = json.loads((self.out / f'{name}.json').read_text(encoding='utf-8'))
            self.assertEqual((report['exitCode'], report['totals']['kept']['headers']), (0, None))
        # Again: only what failed is tried. Nothing that is there is replaced but for the asking.
        self.write('none.mbox', mailboxes.many(1))
        (self.folder / 'mail/lost.mbox').unlink()
        (self.out / 'B.pst').unlink()
        before = self.state(self.out / 'A.pst')
        account = self.each(*arguments)
        self.assertEqual(self.states(account), dict.fromkeys(done, 'done before')
                         | {'B.pst': 'done', 'none.pst': 'done'})
        self.assertEqual(account['totals']['written'], 15)
        (self.out / 'A.json').unlink()
        account = self.each(*arguments, code=3)
        self.assertEqual(self.states(account)['A.pst'], 'failed')
        self.assertEqual(self.state(self.out / 'A.pst'), before)
        self.assertEqual(set(self.states(self.each('--overwrite', *arguments)).values()), {'done'})

    @linux
    def test_interrupted_and_run_again(self):
        body = 'text of a letter\n' * 60
        for name in range(6):
            self.write(f'mail/{name}.mbox',
                       b''.join(mailboxes.message(n, body=body) for n in range(8000)))
        command = [PARVANE, 'convert', '--each', '-j', '2', self.folder / 'mail', self.out]
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        process.stdout.readline()
        process.send_signal(signal.SIGINT)
        process.communicate()
        self.assertEqual(process.returncode, 130)
        states = self.states(json.loads((self.out / 'parvane-each.json').read_text()))
        self.assertEqual(states['0.pst'] if states['0.pst'] == 'done' else states['1.pst'], 'done')
        self.assertIn('not begun', states.values())
        account = self.each('-j', '2', self.folder / 'mail')
        self.assertEqual((account['totals']['done'], account['totals']['written'] > 0), (6, True))
        for name in range(6):
            pst = self.out / f'{name}.pst'
            self.assertEqual(self.listing(pst)['totals']['messages'], 8000)
            self.assertFalse(partial(pst).exists())


if __name__ == '__main__':
    unittest.main()
