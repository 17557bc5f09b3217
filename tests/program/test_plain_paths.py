"""The fast paths for this machine's instructions and their plain twins write the same mail."""
import base64
import os
import random
import re
import unittest

import mailboxes
from harness import PARVANE, PstTest, Run, shown

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

    def contents(self, source, path):
        """What an independent reader finds in the PST that `source` becomes."""
        pst = self.folder / f'{path}.pst'
        run = Run([PARVANE, 'convert', '--quiet', shown(source), shown(pst)],
                  env=dict(os.environ, XDG_DATA_HOME=str(self.folder / 'home'), PARVANE_CPU=path))
        self.assertIn(run.code, (0, 1), run)
        run = Run(['pffexport', '-q', '-m', 'items', '-t', self.folder / path, pst])
        self.assertEqual(run.code, 0, run)
        pst.unlink()
        export = self.folder / f'{path}.export'
        # The times of creation differ from run to run.
        return {str(file.relative_to(export)):
                re.sub(rb'(Creation|Modification) time:.*', b'', file.read_bytes())
                for file in export.rglob('*')
                if file.is_file() and file.name not in ('OutlookHeaders.txt', 'ItemValues.txt')}

    def test_same_contents(self):
        source = self.write('varied.mbox', b''.join(varied()))
        fast = self.contents(source, 'fast')
        self.assertGreater(len(fast), 100)
        for path in ('avx2', 'plain'):
            self.assertEqual(self.contents(source, path), fast, path)


if __name__ == '__main__':
    unittest.main()
