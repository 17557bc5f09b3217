"""Mail that is packed: compressed mailboxes, archives of them, and exports of Gmail, whose labels are
folders."""
import base64
import bz2
import gzip
import io
import json
import lzma
import random
import subprocess
import sys
import tarfile
import unittest
import zipfile

from harness import SHARED, WINDOWS, PstTest, linux

GENERATOR = SHARED / 'mail' / 'fixtures' / 'generators' / 'make_takeout.py'
LEFT_BEHIND = 1


def message(subject, labels=None, number=None, text='text'):
    lines = [f'From {number or "a"}@xxx Wed Jan 01 12:00:00 +0000 2025', f'Subject: {subject}',
             *([f'X-Gmail-Labels: {labels}'] if labels is not None else []),
             f'Message-ID: <{subject}@example.invalid>', 'Date: Wed, 01 Jan 2025 12:00:00 +0000',
             'From: Ann <ann@example.invalid>', '', text, '', '']
    return '\r\n'.join(lines).encode()


def zipped(entries, **options):
    out = io.BytesIO()
    with zipfile.ZipFile(out, 'w', zipfile.ZIP_DEFLATED) as archive:
        for name, data in entries.items():
            with archive.open(zipfile.ZipInfo(name), 'w', force_zip64=True) as entry:
                entry.write(data)
    return out.getvalue()


def tarred(entries, mode='w:gz'):
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode=mode) as archive:
        for name, data in entries.items():
            info = tarfile.TarInfo(name)
            info.size = len(data)
            archive.addfile(info, io.BytesIO(data))
    return out.getvalue()


class Packed(PstTest):

    def items(self, pst):
        """{folder: {subject: item}}"""
        return {'/'.join(f['path']): {i['subject']: i for i in f['items']}
                for f in self.listing(pst, '--messages')['folders'] if f['items']}

    def subjects(self, pst):
        return {folder: sorted(items) for folder, items in self.items(pst).items()}

    def test_compressed_mailboxes_and_archives(self):
        mail = message('a') + message('b')
        tree = {'mail/Inbox.mbox': mail, 'mail/Old/2001.mbox': message('c'), 'notes.txt': b'no mail',
                '../../up.mbox': message('d'), 'theme/cur/arrow': b'\0\0\2\0', 'chapters/1': b'Once: there'}
        marked, four = b'\xef\xbb\xbf\r\n' + mail, b'\1\1\1\1\n'
        mmdf = b''.join(four + message(s).partition(b'\n')[2] + four for s in 'ab')
        in_tree = {'mail/Inbox': ['a', 'b'], 'mail/Old/2001': ['c'], 'up': ['d']}
        pst = self.folder / 'mail.pst'
        for name, data, expected in (
                ('Inbox.mbox.gz', gzip.compress(mail), {'Inbox': ['a', 'b']}),
                ('Inbox.gz', gzip.compress(mail[:300]) + gzip.compress(mail[300:]), {'Inbox': ['a', 'b']}),
                ('Inbox.bz2', bz2.compress(mail), {'Inbox': ['a', 'b']}),
                ('Inbox.mbox.xz', lzma.compress(mail), {'Inbox': ['a', 'b']}),
                ('Inbox.mmdf.gz', gzip.compress(mmdf), {'Inbox.mmdf': ['a', 'b']}),
                ('Inbox.mark.gz', gzip.compress(marked), {'Inbox.mark': ['a', 'b']}),
                ('mark.zip', zipped({'Inbox': marked, 'Sent.mbox': mmdf}),
                 {'mark/Inbox': ['a', 'b'], 'mark/Sent': ['a', 'b']}),
                ('tree.zip', zipped(tree), {f'tree/{f}': s for f, s in in_tree.items()}),
                ('tree.tar.gz', tarred(tree), {f'tree/{f}': s for f, s in in_tree.items()}),
                ('tree.tar', tarred(tree, 'w'), {f'tree/{f}': s for f, s in in_tree.items()})):
            with self.subTest(name):
                source = self.write(name, data)
                if WINDOWS and source.suffix in ('.bz2', '.xz'):
                    run = self.parvane('convert', source, pst)
                    self.assertEqual(run.code, 3, run)
                    self.assertIn('cannot be read on this system', run.err)
                    continue
                for rule in ('standard', 'strict'):
                    self.convert('--overwrite', '--separators', rule, source, pst)
                    self.assertEqual(self.subjects(pst), expected)

    def test_what_an_archive_hides_is_told_and_the_rest_converted(self):
        noise = base64.encodebytes(random.Random(1).randbytes(300_000)).decode()
        whole = {'a.mbox': message('a'), 'b.mbox': message('b', text=noise), 'c.mbox': message('c')}
        data = zipped(whole)
        damaged = bytearray(data)
        at = data.index(b'b.mbox') + 60
        damaged[at:at + 20] = b'\xff' * 20
        encrypted = bytearray(data)
        for signature, flags in ((b'PK\3\4', 6), (b'PK\1\2', 8)):
            encrypted[data.index(signature, data.index(b'b.mbox') - 40 if flags == 6 else
                                 data.rindex(b'b.mbox') - 50) + flags] |= 1
        # A kilobyte a million times.
        bomb = gzip.compress(message('first') + message('bomb', text='x' * 1000) + b'\0' * 400_000_000, 9)
        pst = self.folder / 'mail.pst'
        for name, data, subjects, told in (
                ('damaged.zip', damaged, {'a', 'c'}, 'b.mbox'),
                ('encrypted.zip', encrypted, {'a', 'c'}, 'is encrypted'),
                ('cut.zip', data[:data.index(b'c.mbox') + 20], {'a', 'b'}, 'cut.zip'),
                ('cut.tgz', tarred(whole)[:-40], {'a'}, 'cut.tgz'),
                ('message.zip', zipped({**whole, 'd.eml': b'Subject: d'}), {'a', 'b', 'c'}, 'message.zip'),
                ('maildir.tgz', tarred({**whole, 'md/cur/1.a:2,S': b'\x1f\x8bpacked'}), {'a', 'b', 'c'},
                 'md"'),
                ('new.tgz', tarred({**whole, 'md/new/1.a': b'Subject: d'}), {'a', 'b', 'c'}, 'md"'),
                ('mh.tgz', tarred({**whole, 'inbox/1': b'Received: d'}), {'a', 'b', 'c'}, 'inbox"'),
                ('foreign.zip', zipped({**whole, 'old/Inbox.dbx': b'\xcf\xad'}), {'a', 'b', 'c'}, 'Inbox.dbx"'),
                ('both.mbox.gz', gzip.compress(b'Dear all,\n\n' + whole['a.mbox'] + whole['b.mbox'])[:-100], {'a'},
                 '"damaged-archive"'),
                ('text.zip', zipped({'a.mbox': b'Dear all,\n\n' + whole['a.mbox']}), {'a'}, 'a.mbox'),
                ('bomb.gz', bomb, {'first'}, 'more than 1000 times its size')):
            with self.subTest(name):
                account = self.convert('--overwrite', self.write(name, bytes(data)), pst, code=LEFT_BEHIND)
                found = {s for items in self.subjects(pst).values() for s in items}
                self.assertLessEqual(subjects, found)
                left = [p for p in account['passedOver'] if p['leftBehind']]
                self.assertIn(told, json.dumps(left))

    def takeout(self):
        """Two parts, the second with a mailbox that has a message of the first once more."""
        main = (message('in', 'Posteingang,Geöffnet', 1) +
                message('work', 'Archiviert,Ungelesen,Büro/Plan,Büro,Wichtig', 2) +
                message('again', 'Posteingang,Markiert', 3) +
                message('gone', 'Papierkorb,Büro', 4) + message('plain', None, 5))
        first = zipped({'Takeout/Gmail/Alle E-Mails.mbox': main,
                        'Takeout/Gmail/Nutzereinstellungen/Filter.json': b'{}'})
        second = tarred({'Takeout/archive_browser.html': b'<html>',
                         'Takeout/Gmail/Büro.mbox': message('work', 'Büro', 2) +
                         message('new', 'Archived,Archiviert', 6),
                         'Takeout/Groups/x/ab@googlegroups.com/topics.mbox': message('topic', 'Alpha', 7)})
        return self.write('takeout-1-001.zip', first), self.write('takeout-1-002.tgz', second)

    def test_labels_are_folders_copies_or_nothing(self):
        pst = self.folder / 'mail.pst'
        parts = self.takeout()
        for labels, expected in (
                ('folders', {'Inbox': ['again', 'in'], 'Büro/Plan': ['work'], 'Trash': ['gone'],
                             'Archive': ['plain'], 'Archived': ['new'],
                             'Groups/ab@googlegroups.com': ['topic']}),
                ('copies', {'Inbox': ['again', 'in'], 'Büro/Plan': ['work'], 'Büro': ['gone', 'work'],
                            'Trash': ['gone'], 'Archive': ['plain'], 'Archived': ['new'],
                            'Groups/ab@googlegroups.com': ['topic']}),
                ('off', {'takeout-1-001/Takeout/Gmail/Alle E-Mails': ['again', 'gone', 'in', 'plain', 'work'],
                         'takeout-1-001 (2)/Takeout/Gmail/Büro': ['new', 'work'],
                         'takeout-1-001 (2)/Takeout/Groups/x/ab@googlegroups.com/topics': ['topic']})):
            with self.subTest(labels):
                account = self.convert('--overwrite', '--labels', labels, *parts, pst)
                self.assertEqual(self.subjects(pst), expected)
                self.assertEqual(account['totals']['read'], sum(map(len, expected.values())))
                self.assertEqual(account['totals']['copiesSkipped'], 0 if labels == 'off' else 1)
        self.convert('--overwrite', *parts, pst)
        items = {s: i for folder in self.items(pst).values() for s, i in folder.items()}
        marks = {s: (i['unread'], i['flag'], i['categories'], i['importance']) for s, i in items.items()}
        self.assertEqual(marks, {'in': (False, 'none', [], 'normal'),
                                 'work': (True, 'none', ['Büro'], 'normal'),
                                 'again': (True, 'flagged', [], 'normal'),
                                 'gone': (True, 'none', ['Büro'], 'normal'),
                                 'plain': (True, 'none', [], 'normal'), 'new': (True, 'none', [], 'normal'),
                                 'topic': (True, 'none', ['Alpha'], 'normal')})

    def test_an_export_is_recognised_in_every_form(self):
        mail = message('a', 'Inbox,Trip/Rome', 1)
        pst = self.folder / 'mail.pst'
        self.write('export/Takeout/Mail/All.mbox', mail)
        for source in (self.write('one.mbox', mail), self.folder / 'export',
                       self.write('one.mbox.gz', gzip.compress(mail)), self.write('one.zip', zipped({'x': mail}))):
            self.convert('--overwrite', source, pst)
            self.assertEqual(self.subjects(pst), {'Trip/Rome': ['a']})
        # Without Gmail's own numbers two messages may have one Message-ID.
        two = self.write('two.zip', zipped({'a.mbox': mail.replace(b'1@xxx', b'b@xxx'),
                                            'b.mbox': mail.replace(b'1@xxx', b'b@xxx')}))
        self.assertEqual(self.convert('--overwrite', '--labels', 'folders', two, pst)['totals']['read'], 2)
        self.write('takeout-1-001.zip', zipped({'x': mail}))
        part = self.write('takeout-1-002.zip', zipped({'x': mail}))
        account = self.convert('--overwrite', part, pst, code=LEFT_BEHIND)
        self.assertEqual([(path['code'], path['path']) for path in account['passedOver']],
                         [('other-part', str(self.folder / 'takeout-1-001.zip'))])
        self.write('export/part.zip', zipped({'x': mail}))
        account = self.convert('--overwrite', self.folder / 'export', pst, code=LEFT_BEHIND)
        self.assertEqual([path['code'] for path in account['passedOver']], ['compressed'])
        self.convert('--overwrite', '--name', 'Google', source, pst)
        self.assertEqual(self.subjects(pst), {'Google/Trip/Rome': ['a']})
        self.convert('--overwrite', '--from', 'mbox', self.folder / 'one.mbox', pst)
        self.assertEqual(self.subjects(pst), {'one': ['a']})

    @linux
    @unittest.skipUnless(GENERATOR.exists(), f'needs {GENERATOR}')
    def test_generated_exports(self):
        pst = self.folder / 'mail.pst'
        for tag in ('pub', 'q7'):
            out = self.folder / tag
            subprocess.run([sys.executable, GENERATOR, out, tag], check=True, capture_output=True)
            expected = json.loads((out / 'expected.json').read_text('utf-8'))
            archives = {'de': next(out.glob('*.zip')), 'en': next(out.glob('*.tgz'))}
            for language, messages in expected.items():
                if language == 'per-label':
                    messages = [{'message_id': f'{tag}.dup.0@example.invalid', 'folder': 'Inbox', 'read': True,
                                 'starred': False, 'labels': ['Clients/Acme']}]
                for source in filter(None, (out / language, archives.get(language))):
                    with self.subTest(f'{tag} {language} {source.name}'):
                        account = self.convert('--overwrite', source, pst)
                        self.assertEqual(account['totals']['written'], len(messages))
                        items = {s: (f, i) for f, found in self.items(pst).items()
                                 for s, i in found.items()}
                        for wanted in messages:
                            subject = wanted['message_id'].split('@')[0].replace('.', ' ')
                            folder, item = items[subject]
                            # The deepest label of the user's is the folder.
                            labels = sorted(wanted['labels'], key=lambda label: -label.count('/'))
                            self.assertEqual(folder, labels[0] if labels else wanted['folder'])
                            self.assertEqual(item['unread'], not wanted['read'])
                            self.assertEqual(item['flag'] == 'flagged', wanted['starred'])
                            self.assertLessEqual(set(labels[1:]), set(item['categories']))
                        self.assert_readers_agree(pst, len(messages))


if __name__ == '__main__':
    unittest.main()
