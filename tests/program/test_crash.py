"""The program killed at any moment while it adds to a PST: what it had said to be committed is in
the PST, the PST is sound, and the next run goes on with it. Killed while it makes one, it leaves
the old one as it was, and the next run is not in its way."""
import json
import os
import random
import re
import shutil
import subprocess
import time
import unittest

import mailboxes
from harness import PARVANE, PstTest, Run, partial

SECONDS = 20  # for all the kills of a test
PATIENCE = 300  # where everything is slow, until there have been a few of each kind
# What a writer that was cut off leaves, and all it may leave. None of it means that mail is missing.
UNCLOSED = {'not-closed', 'file-size', 'header-gap', 'page-crc', 'dlist'}


class Killed(PstTest):

    def setUp(self):
        super().setUp()
        self.pst = self.folder / 'out.pst'
        self.log = self.folder / 'detailed.log'
        self.source = self.folder / 'Mail'
        self.write('Mail/Small.mbox', mailboxes.many(10_000))
        self.write('Mail/Large.mbox', mailboxes.attachments(50, 150_000))
        self.write('Mail/Small/More.mbox', mailboxes.many(5_000, seed=3))
        self.extra = self.write('Extra.mbox', mailboxes.many(3))
        self.base = self.folder / 'base.pst'
        self.convert(self.extra, self.base)
        self.begin_anew()

    def begin_anew(self):
        shutil.copy(self.base, self.pst)

    def start(self, *options):
        # Else a run killed before it opens its log would be judged by the last one's.
        self.log.unlink(missing_ok=True)
        environment = dict(os.environ, XDG_DATA_HOME=str(self.folder / 'home'))
        return subprocess.Popen(
            [PARVANE, 'convert', *(options or ['--append']), '--quiet', '--detailed-log', str(self.log),
             str(self.source), str(self.pst)],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
            env=environment)

    def committed(self):
        """What the killed run had told of, by its log."""
        said = re.findall(r'^COMMITTED: ([\d,]+) messages? in the PST$',
                          self.log.read_text('utf-8') if self.log.exists() else '', re.M)
        return int(said[-1].replace(',', '')) if said else 0

    def count_by_lspst(self):
        run = Run(['lspst', self.pst])
        self.assertEqual((run.code, run.err), (0, ''), run)
        return len(re.findall(r'^Email\t', run.out, re.M))

    def assert_unclosed_at_worst(self):
        run = self.parvane('check', '--json', self.pst)
        found = json.loads(run.out)
        self.assertEqual(found['errors'], 0, run)
        self.assertLessEqual(set(found['counts']), UNCLOSED, run)
        self.assertEqual(run.code, 1 if found['counts'] else 0, run)
        return found

    def take_over(self, there):
        """Adds mail to what a kill has left; returns whether the log told of a take-over."""
        # A kill just before the first write of the header leaves a copy of it, but sound maps.
        with open(self.pst, 'rb') as pst:
            maps_valid = pst.read(249)[248] != 0
        run = self.parvane('convert', '--append', '--detailed-log', self.log, self.extra, self.pst)
        self.assertEqual(run.code, 0, run)
        said = 'last writer had not closed it' in self.log.read_text('utf-8')
        self.assertEqual(said, not maps_valid)
        run = self.parvane('check', '--notes', self.pst)
        self.assertEqual((run.code, run.out.count('\n'), run.err), (0, 1, ''), run)
        self.assertEqual(self.count_by_lspst(), there + 3)
        self.begin_anew()
        return said

    def test_at_random_moments(self):
        chance = random.Random(7)
        begun = time.monotonic()
        process = self.start()
        self.assertEqual(process.wait(), 0, process.stderr.read())
        process.stderr.close()
        whole = time.monotonic() - begun
        total = self.count_by_lspst()
        self.begin_anew()

        there = 3
        kills = with_commits = taken_over = unclosed = 0

        def elapsed():
            return time.monotonic() - begun

        while elapsed() < SECONDS or (elapsed() < PATIENCE and not (kills > 5 and with_commits and
                                                                    taken_over)):
            moment = chance.random() * whole
            process = self.start()
            try:
                process.wait(moment)
            except subprocess.TimeoutExpired:
                process.kill()
            error = process.communicate()[1]
            if process.returncode == 0:
                self.begin_anew()  # too late for this one
                there = 3
                continue
            self.assertEqual((process.returncode, error), (-9, b''))
            kills += 1
            committed = self.committed()
            with_commits += committed > 0
            with self.subTest(kill=kills, moment=moment, before=there, committed=committed):
                now = self.count_by_lspst()
                self.assertGreaterEqual(now, there + committed)
                self.assertLessEqual(now, total if there == 3 else there + total)
                found = self.assert_unclosed_at_worst()
                unclosed += not found['clean']
                self.assertEqual(found['examined']['messages'], now)
                there = now
                if kills % 2 == 0:
                    continue  # the next one takes an unclosed file over, and is killed itself
                taken_over += self.take_over(there)
                there = 3
        # What the last kill has left when time was up, be it without a message of that run's.
        self.assert_unclosed_at_worst()
        self.take_over(there)
        self.assertGreater(kills, 5)
        self.assertGreater(with_commits, 0)
        self.assertGreater(taken_over, 0)
        self.assertGreater(unclosed, 0)
        print(f'{kills} kills, {with_commits} after a commit, {unclosed} files left unclosed')

    def test_while_one_is_made(self):
        chance = random.Random(8)
        before = self.pst.read_bytes()
        growing = partial(self.pst)
        kills = opened = 0
        end = time.monotonic() + SECONDS / 2
        while time.monotonic() < end or opened < 3:
            process = self.start('--overwrite')
            try:
                process.wait(chance.choice((0.02, 0.1, 1)) * chance.random())
            except subprocess.TimeoutExpired:
                process.kill()
            error = process.communicate()[1].decode()
            if process.returncode == 0:
                shutil.copy(self.base, self.pst)
                continue
            self.assertEqual(process.returncode, -9, error)
            kills += 1
            self.assertLessEqual(set(self.folder.glob('*.pst')), {self.base, self.pst, growing})
            if self.pst.read_bytes() != before:
                # Killed after its PST had taken the name: that is whole, and nothing else is left.
                self.assertFalse(growing.exists())
                self.assertEqual(self.assert_unclosed_at_worst()['examined']['messages'], 15_050)
                shutil.copy(self.base, self.pst)
            elif growing.exists() and growing.read_bytes()[:4] == b'!BDN':
                opened += 1
                run = self.parvane('check', '--json', growing)
                self.assertEqual(json.loads(run.out)['errors'], 0, run)
        run = self.parvane('convert', '--overwrite', self.extra, self.pst)
        self.assertEqual(run.code, 0, run)
        self.assertFalse(growing.exists())
        self.assertEqual(self.count_by_lspst(), 3)
        print(f'{kills} kills, {opened} partial PSTs')

    def take_parts(self):
        """How many PSTs a run has made, and {path: [item...]} of all of them; they are judged, and
        gone then."""
        parts = sorted(self.folder.glob('out*.pst'), key=lambda pst: (len(pst.name), pst.name))
        mail = {}
        for pst in parts:
            self.assertFalse('partial' in pst.name, pst)
            self.check_structure(pst)
            for folder in self.listing(pst, '--messages')['folders']:
                mail.setdefault(tuple(folder['path']), []).extend(folder['items'])
            pst.unlink()
        return len(parts), mail

    def test_resumed(self):
        """PARVANE_KILLS: how many kills there are at least, beside those of the time there is."""
        chance = random.Random(9)
        self.pst.unlink()
        splits = {}  # options: what they give, and how long it takes
        for options in ((), ('--split', '20MB')):
            begun = time.monotonic()
            self.convert(*options, self.source, self.pst)
            seconds = time.monotonic() - begun
            splits[options] = self.take_parts(), seconds
            self.assertEqual(sum(map(len, splits[options][0][1].values())), 15_050)
        self.assertGreater(splits[options][0][0], 2)
        begun = time.monotonic()
        wanted = int(os.environ.get('PARVANE_KILLS', '6'))
        kills = resumed = runs = 0
        while kills < wanted or runs < 2 or time.monotonic() - begun < SECONDS / 2:
            options = list(splits)[runs % 2]
            expected, seconds = splits[options]
            # Begun, and gone on with, until a run is not killed before its end.
            while True:
                process = self.start('--resume', *options)
                try:
                    process.wait(chance.random() * seconds)
                except subprocess.TimeoutExpired:
                    process.kill()
                error = process.communicate()[1].decode()
                if process.returncode == 0 or self.pst.exists() and not options:
                    break
                self.assertEqual((process.returncode, error), (-9, ''))
                kills += 1
                resumed += partial(self.pst).exists()
            self.assertEqual(self.take_parts(), expected)
            runs += 1
        print(f'{kills} kills, {resumed} of them with a partial PST, until {runs} runs were whole')


if __name__ == '__main__':
    unittest.main()
