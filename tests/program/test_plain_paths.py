"""The fast paths for this machine's instructions and their plain twins write the same mail."""
import base64
import os
import random
import re
import unittest

import mailboxes
from harness import CHECKER, PARVANE, SHARED, PstTest, Run

# Made anew by every conversion: the moment of creation and the random search key. The moment stands
# in for a modification time that the mail does not tell.
FRESH = re.compile(r'"0x(30070040|30080040|300B0102)": ("[^"]*"|\d+)')


def varied(seed=3):
    """Text, quoted-printable and base64 of lengths around every vector's width."""
    chance = random.Random(seed)
    messages = []
    for size in [*range(1, 70), 126, 127, 128, 129, 4095, 4096, 4097, 8175, 8176, 8177, 20_000]:
        text = ''.join(chance.choice('abc \xe9\u20ac\U0001f600=') for _ in range(size))
        encoded = base64.encodebytes(chance.randbytes(size)).decode()
        messages.append(mailboxes.message(
            size, mailboxes.encoded_word(f'Gr\xf6\xdfe {size}'),
            f'--cut\nContent-Type: text/plain; charset=utf-8\n\n{text}\n'
            f'--cut\nContent-Type: application/octet-stream; name="{size}.bin"\n'
            f'Content-Transfer-Encoding: base64\n\n{encoded}\n--cut--\n',
            extra='Content-Type: multipart/mixed; boundary=cut\n'))
    return messages


class PlainPaths(PstTest):

    def contents(self, source, name, environment):
        """What independent readers find in the PST that `source` becomes."""
        pst = self.folder / f'{name}.pst'
        run = Run([PARVANE, 'convert', '--quiet', source, pst],
                  env=dict(os.environ, XDG_DATA_HOME=str(self.folder / 'home'), **environment))
        self.assertIn(run.code, (0, 1), run)
        if CHECKER.exists():
            run = Run(['python3.11', CHECKER, 'export', pst])
            self.assertEqual(run.code, 0, run)
            return [FRESH.sub('', line) for line in run.out.splitlines()]
        out = self.folder / name
        run = Run(['pffexport', '-q', '-m', 'items', '-t', out, pst])
        self.assertEqual(run.code, 0, run)
        export = self.folder / f'{name}.export'
        # The times of creation differ from run to run.
        return [(str(file.relative_to(export)),
                 re.sub(rb'(Creation|Modification) time:.*', b'', file.read_bytes()))
                for file in sorted(export.rglob('*'))
                if file.is_file() and file.name not in ('OutlookHeaders.txt', 'ItemValues.txt')]

    def test_same_contents(self):
        sources = [self.write('varied.mbox', b''.join(varied()))]
        sources += sorted((SHARED / 'corpus' / 'mbox').glob('*.mbox'))
        for source in sources:
            with self.subTest(source.name):
                fast = self.contents(source, 'fast', {'PARVANE_CPU': ''})
                plain = self.contents(source, 'plain', {'PARVANE_CPU': 'plain'})
                self.assertTrue(fast)
                self.assertEqual(len(fast), len(plain))
                for one, other in zip(fast, plain):
                    self.assertEqual(one, other)
                for name in ('fast', 'plain'):
                    (self.folder / f'{name}.pst').unlink()


if __name__ == '__main__':
    unittest.main()
