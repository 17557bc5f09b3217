"""Messages in files of their own: maildirs, MH folders, folders of .eml files."""
import bz2
import gzip
import json
import lzma
import os
import re
import subprocess
import sys
import unittest

import fields
from harness import CHECKER, SHARED, WINDOWS, PstTest, shown
from source_mail import SourceMessage

FIXTURES = SHARED / 'mail' / 'fixtures'
MARKS = ('read', 'replied', 'forwarded', 'flagged', 'draft')


def letter(subject, *headers, end='\n', body='text'):
    lines = [f'Subject: {subject}', f'Message-ID: <{subject}@example.invalid>', *headers,
             'From: Ann <ann@example.invalid>', '', body, '']
    return end.join(lines).encode()


# On Windows only gzip is unpacked.
BZIP2, XZ = (gzip.compress, gzip.compress) if WINDOWS else (bz2.compress, lzma.compress)
INDEX = """// <!-- <mdb:mork:z v="1.4"/> -->
<<(a=c)>(80=ns:msg:db:row:scope:msgs:all)(81=message-id)(82=flags)(83=keywords)
(96=ns:msg:db:table:kind:msgs)>
{1:^80 {(k^96:c)(s=9)} [1(^81=i@example.invalid)(^82=6)(^83=project_x)] [2(^81=j@example.invalid)(^82=1)] }
"""
DATED = 'Date: Wed, 01 Jan 2025 12:00:00 +0000'


class FolderTest(PstTest):

    def messages(self, pst):
        """{folder: [(subject, marks)]}"""
        found = {}
        for folder in self.listing(pst, '--messages')['folders']:
            for item in folder['items']:
                marks = {'read': not item['unread'], 'flagged': item['flag'] == 'flagged', **item}
                names = [m for m in MARKS if marks[m]] + sorted(item['categories'])
                found.setdefault('/'.join(folder['path']), []).append((item['subject'], ' '.join(names)))
        return found

    def converted(self, *arguments, **options):
        pst = self.folder / 'mail.pst'
        account = self.convert('--overwrite', *arguments, pst, **options)
        return account, self.messages(pst)


class Folders(FolderTest):

    def test_a_maildir_however_it_is_kept(self):
        mail = letter('x', DATED)
        for name, data in {
                'cur/2000000000.b!2,S': letter('b', DATED), 'cur/1000000000.a!2,FR': letter('a', DATED),
                'new/1500000000.c!2,S': letter('c', DATED, end='\r\n'), 'tmp/1.unfinished': mail,
                'cur/3000000000.gz;2,': gzip.compress(letter('gz', DATED)),
                'cur/3000000001.bz2!2,S': BZIP2(letter('bz2', DATED)),
                'cur/3000000002.xz!2,T': XZ(letter('xz', DATED)),
                'cur/3000000003.k!2,Sab': b'From x Wed Jan  1 12:00:00 2025\n' + letter('k', DATED),
                'cur/3000000004.cut': gzip.compress(letter('cut', DATED) + os.urandom(5000))[:-900],
                'cur/.noindex': b'', 'dovecot-keywords': b'0 $label1\n1 b c\n', 'dovecot-uidlist': b'3 V1',
                '.Clients.R&-D/cur/1!2,S': mail, '.Clients.R&-D/cur/2': b'\xef\xbb\xbf' + mail,
                '.&ZeVnLIqe-/new/1': mail, '.&ZeVnLIqe-/tmp/1': mail, 'Größe/cur/a.eml': mail, 'work/cur/1!2,': mail,
                '.work.directory/Child/cur/1!2,': mail, 'Box.sbd/Sub/cur/1': mail}.items():
            self.write(f'Maildir/{name}', data)
        maildir = self.folder / 'Maildir'
        account, found = self.converted(maildir, code=1)
        self.assertEqual(found['INBOX'], [
            ('a', 'replied flagged'), ('c', ''), ('b', 'read'), ('gz', ''), ('bz2', 'read'),
            ('xz', 'Deleted'), ('k', 'read Important b c')])
        self.assertEqual({f: len(m) for f, m in found.items()},
                         {'INBOX': 7, 'Clients/R&D': 2, '日本語': 1, 'Größe': 1, 'work': 1,
                          'work/Child': 1, 'Box/Sub': 1})
        # What cannot be read is named, and costs nothing else.
        left = [(p['code'], p['path']) for p in account['passedOver'] if p['code'] == 'unreadable']
        self.assertEqual(left, [('unreadable', shown(maildir / 'cur/3000000004.cut'))])
        (maildir / 'cur/3000000004.cut').unlink()
        account, found = self.converted('--skip-deleted', maildir)
        self.assertEqual((account['totals']['deletedSkipped'], len(found['INBOX'])), (1, 6))
        pst = self.folder / 'mail.pst'
        self.assert_readers_agree(pst, 13)
        # One without others in it bears its own name, or the one that is wished for.
        self.assertEqual(list(self.converted(maildir / 'Größe')[1]), ['Größe'])
        self.assertEqual(list(self.converted('--name', 'N', maildir / 'Größe')[1]), ['N'])
        _, found = self.converted(maildir / 'Größe', maildir)
        self.assertLessEqual({'Größe', 'Maildir/INBOX', 'Maildir/Clients/R&D'}, set(found))

    def test_dates_from_outside_of_the_message(self):
        for name in ('1735732800.x', 'undated'):
            path = self.write(f'm/cur/{name}', letter(name))
            os.utime(path, (1735819200, 1735819200))
        (self.folder / 'm/new').mkdir()
        pst = self.folder / 'mail.pst'
        self.convert('--keep', 'dates', self.folder / 'm', pst)
        items = self.listing(pst, '--messages')['folders'][-1]['items']
        self.assertEqual([i['date'][:19] for i in items], ['2025-01-01T12:00:00', '2025-01-02T12:00:00'])

    def test_mh_folders(self):
        for name in (1, 2, 9, 10, 11):
            self.write(f'Mail/inbox/{name}', letter(str(name), DATED))
        for name in (',4', '#5', 'context', '07'):
            self.write(f'Mail/inbox/{name}', letter(name, DATED))
        self.write('Mail/inbox/.mh_sequences', b'unseen: 9-10\nflagged: 2\nreplied: 2 10\ncur: 1\n')
        self.write('Mail/inbox/sub/1', letter('s', DATED))
        self.write('Mail/numbers/1', b'one\n')
        for source in ('Mail', 'Mail/inbox'):
            _, found = self.converted(self.folder / source)
            top = 'inbox' if source == 'Mail/inbox' else 'Mail/inbox'
            self.assertEqual(found, {
                top: [('1', 'read'), ('2', 'read replied flagged'), ('9', ''), ('10', 'replied'), ('11', 'read')],
                f'{top}/sub': [('s', 'read')]})
        run = self.parvane('convert', '--from', 'mh', self.folder / 'Mail/inbox/1', self.folder / 'x.pst')
        self.assertEqual((run.code, 'give the folder' in run.err), (3, True), run)
        (self.folder / 'Mail/inbox/.mh_sequences').unlink()
        _, found = self.converted(self.folder / 'Mail')
        self.assertEqual(found['Mail/inbox/sub'], [('s', '')])

    def test_folders_of_letters(self):
        self.write('letters/a.EML', letter('a', DATED, 'X-Unsent: 1', end='\r\n'))
        self.write('letters/b.eml', b'\xef\xbb\xbf' + letter('b', DATED, 'Status: RO'))
        self.write('letters/deep/er/c.eml', b'From x Wed Jan  1 12:00:00 2025\n' +
                   letter('c', DATED, body='text\nFrom here on text\n'))
        self.write('letters/notes.txt', b'no mail')
        self.write('letters/none/notes.txt', b'no mail')
        for options in ((), ('--from', 'eml')):
            _, found = self.converted(*options, self.folder / 'letters')
            self.assertEqual(found, {'letters': [('a', 'draft'), ('b', 'read')],
                                     'letters/deep/er': [('c', '')]})
        a, b, c = (self.folder / 'letters' / name for name in ('a.EML', 'b.eml', 'deep/er/c.eml'))
        self.assertEqual(self.converted(a)[1], {'a': [('a', 'draft')]})
        self.assertEqual(self.converted(b, a, c)[1], {'letters': [('b', 'read'), ('a', 'draft')],
                                                      'c': [('c', '')]})

    def test_mixed_trees_lose_nothing_without_a_word(self):
        mbox = b'From x Wed Jan  1 12:00:00 2025\n' + letter('m', DATED)
        self.write('mixed/box.mbox', mbox)
        self.write('mixed/md/cur/1!2,S', letter('d', DATED))
        (self.folder / 'mixed/md/new').mkdir()
        self.write('mixed/mh/1', letter('h', DATED))
        self.write('mixed/eml/1.eml', letter('e', DATED))
        source = self.folder / 'mixed'
        parts = {(): ('mixed/box', {'md', 'mh', 'eml'}),
                 ('--from', 'maildir'): ('md', {'box.mbox', 'mh', 'eml'}),
                 ('--from', 'mh'): ('mixed/mh', {'box.mbox', 'md', 'eml'}),
                 ('--from', 'eml'): ('mixed/eml', {'box.mbox', 'md', 'mh'})}
        for options, (folder, left) in parts.items():
            with self.subTest(options):
                account, found = self.converted(*options, source, code=1)
                self.assertEqual(list(found), [folder])
                told = [p['path'] for p in account['passedOver'] if p['code'] in ('single-messages', 'other-extension')]
                self.assertEqual(set(told), {shown(source / p) for p in left})

    def test_folders_of_several_kinds_are_as_many_sources(self):
        self.write('all/boxes/a.mbox', b'From x Wed Jan  1 12:00:00 2025\n' + letter('m', DATED))
        self.write('all/md/cur/1!2,S', letter('d', DATED))
        self.write('all/md/new/2', letter('n', DATED))
        self.write('all/mh/1', letter('h', DATED))
        self.write('all/eml/1.eml', letter('e', DATED))
        self.write('all/none/notes.txt', b'')
        self.write('all/packed/x.7z', b'7z')
        account, found = self.converted(self.folder / 'all', code=1)
        folders = {'boxes/a': 1, 'md': 2, 'mh': 1, 'eml': 1}
        self.assertEqual({f: len(m) for f, m in found.items()}, folders)
        left = [(p['code'], p['path']) for p in account['passedOver'] if p['leftBehind']]
        self.assertEqual(left, [('unusable-source', shown(self.folder / 'all/packed'))])
        _, found = self.converted('--name', 'N', self.folder / 'all', code=1)
        self.assertEqual(set(found), {f'N/{f}' for f in folders})

    def test_accounts_of_a_profile_that_are_maildirs(self):
        self.write('p/prefs.js', b'user_pref("mailnews.tags.project_x.tag", "Project X");\n')
        self.write('p/Mail/Local Folders/Inbox', b'From x Wed Jan  1 12:00:00 2025\n' + letter('m', DATED))
        marks = ('X-Mozilla-Status: 0005', 'X-Mozilla-Status2: 00000000', 'X-Mozilla-Keys: project_x')
        self.write('p/Mail/host/Inbox/cur/1.eml', letter('d', *marks, DATED))
        self.write('p/Mail/host/Inbox.sbd/Sub/cur/1.eml', letter('s', DATED))
        for name in ('Trash.msf', 'msgFilterRules.dat'):
            self.write(f'p/Mail/host/{name}', b'// index')
        # Of a server's folders the messages themselves say "read" of everything.
        for name in ('i', 'j', 'k'):
            self.write(f'p/ImapMail/imap/INBOX/cur/{name}.eml', letter(name, 'X-Mozilla-Status: 0001', DATED))
        self.write('p/ImapMail/imap/INBOX.msf', INDEX.encode())
        _, found = self.converted(self.folder / 'p')
        self.assertEqual(found, {'Local Folders/Inbox': [('m', '')], 'host/Inbox': [('d', 'read flagged Project X')],
                                 'host/Inbox/Sub': [('s', '')],
                                 'imap/INBOX': [('i', 'replied flagged Project X'), ('j', 'read'), ('k', '')]})


@unittest.skipUnless(FIXTURES.exists(), 'needs mail and generators that are not part of the project')
class GeneratedFolders(FolderTest):
    KEYWORDS = {'$Junk': 'Junk', 'project_x': 'project_x'}

    def marks(self, flags):
        words = [m for m in MARKS if m in flags]
        tags = [self.KEYWORDS[f.partition(':')[2]] for f in flags if f.startswith('keyword:')]
        return ' '.join(words + sorted(tags + ['Deleted'] * ('deleted' in flags)))

    def place(self, key):
        """(source, folder in the PST) of a folder in expected.json."""
        kind, colon, path = key.partition(':')
        if not colon:
            return 'Maildir', key
        return {'fs': ('fs', path), 'kmail': ('kmail', path), 'MH': ('MH', f'MH/{path}'),
                'eml': ('eml', f'eml/{path}'.rstrip('/'))}.get(kind, (None, None))

    def test_generated(self):
        for tag, separator in (('other', ':'), ('Täg 2', '!')):
            out = self.folder / tag
            subprocess.run([sys.executable, FIXTURES / 'generators/make_folders.py', out, tag], check=True,
                           capture_output=True, env={**os.environ, 'MAILDIR_SEP': separator})
            wanted = {}
            for key, messages in json.loads((out / 'expected.json').read_text()).items():
                source, folder = self.place(key)
                if source:
                    wanted.setdefault(source, {})[folder] = sorted(
                        (f"{tag} {m['message_id'].partition('@')[0].rpartition('.')[2]}",
                         self.marks(m['flags'])) for m in messages)
            for source, folders in wanted.items():
                with self.subTest(tag=tag, source=source):
                    _, found = self.converted(out / source)
                    self.assertEqual({f: sorted(m) for f, m in found.items()}, folders)
                    self.assert_readers_agree(self.folder / 'mail.pst', sum(map(len, folders.values())))

    def test_every_field_of_real_maildirs(self):
        for name in ('testdir', 'testdir2'):
            source = FIXTURES / 'maildir/mu' / name
            self.converted(source)
            stored = fields.read_pst(CHECKER, self.folder / 'mail.pst')
            by_name = {(m.text(0x1035), m.subject): m for m in stored}
            files = [p for d in ('cur', 'new') for p in source.rglob(f'{d}/*') if p.name != '.noindex']
            self.assertEqual(len(files), len(stored))
            tally = fields.Tally()
            for path in files:
                message = SourceMessage(re.sub(rb'\r?\n', b'\r\n', path.read_bytes()))
                pair = by_name.get(((message.header('Message-Id') or '').strip(), message.subject))
                if pair and message.date:  # others get the date of their file
                    tally.add(path.name, fields.compare(message, pair))
            self.assertGreater(tally.messages, len(files) // 2)
            # An address of one word gets a domain; 8-bit characters in a header are read.
            self.assertEqual([d for d in tally.differences if not re.search("'martin'|Queensr", d)], [])
            self.assert_readers_agree(self.folder / 'mail.pst', len(files))
