"""The README's recipe for many mailboxes, run as it stands there."""
import csv
import json
import os
import pathlib
import re
import unittest

import mailboxes
from harness import PARVANE, PstTest, Run

SOURCE = pathlib.Path(__file__).parents[2]


class Recipes(PstTest):

    def test_gnu_parallel(self):
        whole = mailboxes.many(3)
        for name in ('Inbox', "Tom's & Ann's $mail", 'Ωmega', 'years.of/2018', 'years.of/2019'):
            self.write(f'{name}.mbox', whole)
        # A folder is a source as well; what it holds beside its mail is left behind.
        (self.folder / 'years.of').rename(self.folder / 'years.of.mbox')
        self.write('years.of.mbox/2020.old', whole)
        self.write('letters.mbox', b'no mail at all\n')
        # Its disk is not there. (Permissions would not stop root.)
        (self.folder / 'unmounted.mbox').symlink_to('/nonexistent/unmounted.mbox')
        expected = {'Inbox': 0, "Tom's & Ann's $mail": 0, 'Ωmega': 0, 'years.of': 1,
                    'letters': 3, 'unmounted': 3}

        (self.folder / 'convert-one.sh').symlink_to(SOURCE / 'examples/many/convert-one.sh')
        (self.folder / 'bin').mkdir()
        (self.folder / 'bin/parvane').symlink_to(PARVANE)
        readme = (SOURCE / 'README.md').read_text(encoding='utf-8')
        recipe, = re.findall(r'^```\n(parallel .*?)^```$', readme, re.M | re.S)
        run = Run(['sh', '-c', recipe], cwd=self.folder,
                  env=dict(os.environ, HOME=str(self.folder / 'home'), LC_ALL='C.UTF-8',
                           PATH=f'{self.folder}/bin:{os.environ["PATH"]}'))
        self.assertEqual(run.code, sum(code > 1 for code in expected.values()), run)

        # Only a report tells 1 from 0; the job log has every other status as it was.
        with open(self.folder / 'jobs.log', encoding='utf-8', newline='') as log:
            jobs = list(csv.DictReader(log, delimiter='\t', quoting=csv.QUOTE_NONE))
        self.assertEqual(sorted(int(job['Exitval']) for job in jobs),
                         sorted(0 if code == 1 else code for code in expected.values()))
        for name, code in expected.items():
            with self.subTest(name):
                report = json.loads((self.folder / f'{name}.json').read_text(encoding='utf-8'))
                self.assertEqual(report['exitCode'], code)
                messages = report['totals']['written']
                self.assertEqual(messages, {0: 3, 1: 6, 3: 0}[code])
                if code != 3:
                    pst = self.folder / f'{name}.pst'
                    self.assertEqual(self.listing(pst)['totals']['messages'], messages)


if __name__ == '__main__':
    unittest.main()
