"""Every field of every message of the shared corpus, read back by one independent reader and
compared with what another reads in the source."""
import collections
import unittest

import fields
from harness import CHECKER, SHARED, PstTest
from source_mail import SourceMessage, split_mbox

LEAST_AGREEING = 0.999


class Fields(PstTest):

    def test_corpus(self):
        agreeing, total, differences = collections.Counter(), 0, []
        sources = sorted((SHARED / 'corpus' / 'mbox').glob('*.mbox'))
        sources += sorted((SHARED / 'corpus' / 'mbox-dir').rglob('lists.mbox'))
        self.assertTrue(sources)
        for path in sources:
            pst = self.folder / f'{path.stem}.pst'
            self.convert(path, pst)
            messages = [SourceMessage(data) for data in split_mbox(path.read_bytes())]
            stored = fields.read_pst(CHECKER, pst)
            self.assertEqual(len(messages), len(stored))
            total += len(messages)
            for number, pair in enumerate(zip(messages, stored), 1):
                for field, (agrees, expected, found) in fields.compare(*pair).items():
                    agreeing[field] += agrees
                    if not agrees:
                        differences.append(f'{path.name} {number} {field}: expected '
                                           f'{str(expected)[:300]!r}, found {str(found)[:300]!r}')
        shares = {field: agreeing[field] / total for field in fields.FIELDS}
        print('\n'.join(differences))
        print(f'{total} messages:', shares)
        for field, share in shares.items():
            self.assertGreaterEqual(share, LEAST_AGREEING, field)


if __name__ == '__main__':
    unittest.main()
