"""Every field of every message of the shared corpus, read back by one independent reader and
compared with what another reads in the source."""
import hashlib
import json
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
            self.assertEqual(report['totals']['partsLeftOut'], 0)
            messages = [SourceMessage(data) for data in split_mbox(path.read_bytes())]
            stored = fields.read_pst(CHECKER, pst)
            self.assertEqual(len(messages), len(stored))
            self.assert_readers_agree(pst, len(messages))
            for number, pair in enumerate(zip(messages, stored), 1):
                tally.add(f'{path.name} {number}', fields.compare(*pair))
        print(tally)
        for field in fields.FIELDS:
            explained = tally.explained[field]
            self.assertGreaterEqual((tally.agreeing[field] + explained) / tally.messages,
                                    LEAST_AGREEING, field)
            self.assertLessEqual(explained / tally.messages, MOST_EXPLAINED, field)


class Manifests(PstTest):
    """Generated mail, whose maker wrote down what is in it."""

    def compare(self, message, record):
        def pairs(kind):
            return [[name, address] for k, name, address in message.recipients if k == kind]
        self.assertEqual(message.subject, record['subject'])
        self.assertEqual(list(message.sender), record['from'])
        self.assertEqual((pairs(1), pairs(2)), (record['to'], record['cc']))
        self.assertEqual(message.date, record['date'])
        self.assertEqual(
            sorted((a['long_filename'], a['mime_tag'], a['content_id'], a['sha256'])
                   for a in message.entry['attachments'] if 'sha256' in a),
            sorted((a['name'], a['mime'], a['cid'], a['sha256'])
                   for a in record['attachments'] + record['related']))
        if not record['html_sha256']:
            lines = [line.rstrip() for line in message.text(0x1000).split('\r\n')]
            text = '\n'.join(lines).rstrip('\n')
            self.assertEqual(hashlib.sha256(text.encode()).hexdigest(), record['plain_sha256'])
        self.assertEqual(len(message.embedded), len(record['embedded']))
        for inner in zip(message.embedded, record['embedded']):
            self.compare(*inner)

    def test_what_they_list_is_there(self):
        manifests = sorted((SHARED / 'corpus/mbox').glob('*.manifest.jsonl'))
        self.assertGreaterEqual(len(manifests), 2)
        for manifest in manifests:
            pst = self.folder / 'out.pst'
            mbox = manifest.with_name(manifest.name.replace('.manifest.jsonl', '.mbox'))
            self.convert('--overwrite', mbox, pst)
            records = [json.loads(line) for line in manifest.read_text('utf-8').splitlines()]
            stored = fields.read_pst(CHECKER, pst)
            self.assertEqual(len(stored), len(records))
            for message, record in zip(stored, records):
                with self.subTest(f'{mbox.name} {record["index"]}'):
                    self.compare(message, record)


if __name__ == '__main__':
    unittest.main()
