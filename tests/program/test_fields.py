"""Every field of every message of the shared corpus, read back by one independent reader and
compared with what another reads in the source."""
import unittest

import fields
from harness import CHECKER, SHARED, PstTest
from source_mail import SourceMessage, split_mbox

LEAST_AGREEING = 0.999
# Old mailing lists write one sender in ten as "address (Name)"; more than that would hide a fault.
MOST_EXPLAINED = 0.12


class Fields(PstTest):

    def test_corpus(self):
        corpus = SHARED / 'corpus'
        sources = sorted((corpus / 'mbox').glob('*.mbox'))
        sources += [f for f in sorted((corpus / 'mbox-dir').rglob('*.mbox'))
                    if f.read_bytes()[:5] == b'From ']
        sources += [f for f in sorted((corpus / 'profile').rglob('*'))
                    if f.is_file() and f.read_bytes()[:5] == b'From ']
        self.assertGreater(len(sources), 20)
        tally = fields.Tally()
        for path in sources:
            pst = self.folder / 'out.pst'
            report = self.convert('--overwrite', path, pst)
            left_out = fields.left_out_parts(report)
            messages = [SourceMessage(data) for data in split_mbox(path.read_bytes())]
            stored = fields.read_pst(CHECKER, pst)
            self.assertEqual(len(messages), len(stored))
            for number, pair in enumerate(zip(messages, stored), 1):
                tally.add(f'{path.name} {number}', fields.compare(*pair, left_out[number]))
        print(tally)
        for field in fields.FIELDS:
            explained = tally.explained[field]
            self.assertGreaterEqual((tally.agreeing[field] + explained) / tally.messages,
                                    LEAST_AGREEING, field)
            self.assertLessEqual(explained / tally.messages, MOST_EXPLAINED, field)


if __name__ == '__main__':
    unittest.main()
