"""Whole conversions of generated mailboxes, judged by independent readers."""
import shutil
import unittest

import mailboxes
from harness import PstTest, Run, linux


class GeneratedMailboxes(PstTest):

    def convert_one(self, name, data, messages):
        source = self.write(f'{name}.mbox', data)
        pst = self.folder / 'out.pst'
        account = self.convert(source, pst)
        self.assertEqual((account['totals']['read'], account['totals']['written']),
                         (messages, messages))
        self.assertEqual([f['path'] for f in account['folders']], [[name]])
        self.assertEqual(self.listed_folders(pst), {(name,): messages})
        self.assert_readers_agree(pst, messages)
        return pst

    def test_empty_mailbox(self):
        self.convert_one('empty', b'', 0)

    def test_one_message(self):
        self.convert_one('one', mailboxes.many(1), 1)

    def test_carriage_returns_and_no_last_line_end(self):
        self.convert_one('crlf', mailboxes.many(5).replace(b'\n', b'\r\n').rstrip(), 5)

    @linux
    def test_20000_messages_in_one_folder(self):
        self.convert_one('many', mailboxes.many(20_000), 20_000)

    @linux
    def test_body_of_30_megabytes(self):
        pst = self.convert_one('large', mailboxes.large_body(30_000_000), 1)
        self.assertGreater(pst.stat().st_size, 30_000_000)

    def test_subject_of_10000_characters(self):
        pst = self.convert_one('subject', mailboxes.long_subject(10_000), 1)
        item = self.listing(pst, '--messages')['folders'][-1]['items'][0]
        self.assertEqual(len(item['subject']), 10_000)

    def test_5000_recipients(self):
        self.convert_one('recipients', mailboxes.many_recipients(5_000), 1)

    def test_attachments(self):
        self.convert_one('files', mailboxes.attachments(20, 100_000), 20)

    def test_attached_messages(self):
        inner = mailboxes.attachments(1, 5_000).partition(b'\n')[2].decode()
        pst = self.convert_one('forwarded', mailboxes.message(
            1, 'see below', extra='Content-Type: multipart/mixed; boundary="outer"\n',
            body=f'--outer\n\nBelow.\n--outer\nContent-Type: message/rfc822\n\n{inner}\n--outer--\n'), 1)
        run = self.parvane('check', pst)
        self.assertIn('1 message, 2 attachments', run.out)

    def test_subjects_in_many_scripts(self):
        pst = self.convert_one('scripts', mailboxes.scripts(), len(mailboxes.SCRIPTS))
        items = self.listing(pst, '--messages')['folders'][-1]['items']
        self.assertEqual([i['subject'] for i in items], list(mailboxes.SCRIPTS.values()))
        out = self.folder / 'text'
        out.mkdir()
        for reader in (['readpst', '-j', '0', '-8', '-o', out], ['pffexport', '-q', '-t', out / 'x']):
            run = Run([*reader, pst])
            self.assertEqual(run.code, 0, run)
            text = b''.join(f.read_bytes() for f in out.rglob('*') if f.is_file()).decode()
            # Characters of two UTF-16 units are beyond one of them.
            for name, words in mailboxes.SCRIPTS.items():
                if max(words) < '\U00010000':
                    self.assertIn(f'{name}: {words}', text, reader[0])
            shutil.rmtree(out)
            out.mkdir()


class GeneratedTrees(PstTest):

    def convert_tree(self, tree):
        """`tree`: {path without .mbox: messages}."""
        for i, (path, count) in enumerate(tree.items()):
            self.write(f'mail/{path}.mbox', mailboxes.many(count, seed=i))
        pst = self.folder / 'out.pst'
        account = self.convert(self.folder / 'mail', pst)
        expected = {('mail', *path.split('/')): count for path, count in tree.items()}
        self.assertEqual({tuple(f['path']): f['written'] for f in account['folders']}, expected)
        listed = self.listed_folders(pst)
        self.assertEqual({path: count for path, count in listed.items() if path in expected},
                         expected)
        self.assert_readers_agree(pst, sum(tree.values()), expected)

    @linux
    def test_300_folders_side_by_side(self):
        self.convert_tree({f'folder {i:03d}': i % 3 for i in range(300)})

    def test_folders_nested_90_deep(self):
        path = '/'.join(f'level {i}' for i in range(90))
        self.convert_tree({f'{path}/deep': 2, 'shallow': 1})
        self.write('far/' + 101 * 'd/' + 'too deep.mbox', mailboxes.many(1))
        self.write('far/near.mbox', mailboxes.many(1))
        account = self.convert(self.folder / 'far', self.folder / 'far.pst', code=1)
        self.assertEqual([(e['code'], e['leftBehind']) for e in account['passedOver']],
                         [('too-deep', True)])

    def test_300_folders_nested_and_side_by_side(self):
        self.convert_tree({f'year {i // 30}/month {i // 5 % 6}/box {i % 5}': 1
                           for i in range(300)})

    def test_folder_names_in_many_scripts(self):
        self.convert_tree({f'{name}/{text}': 1 for name, text in mailboxes.SCRIPTS.items()})


if __name__ == '__main__':
    unittest.main()
