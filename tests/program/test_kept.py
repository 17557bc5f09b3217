"""What a conversion keeps beyond the letter: what is in a winmail.dat, and correspondents as the header
names them. Read back by pffexport and out of our own dumps."""
import base64
import re
import struct
import unittest

import tnef
from harness import SHARED, PstTest, Run, linux

TNEF_SAMPLES = SHARED / 'mail' / 'fixtures' / 'tnef'


def mail(subject, *headers, body='text\n', addresses=('From: Ann <ann@example.invalid>',)):
    lines = ['From - Wed Jan  1 12:00:00 2025', f'Subject: {subject}',
             f'Message-ID: <{subject}@example.invalid>', 'Date: Wed, 01 Jan 2025 12:00:00 +0000',
             *addresses, *headers, '', body]
    return '\n'.join(lines).encode() + b'\n'


def with_winmail(subject, data, text='see there', kind='application/ms-tnef', name='winmail.dat'):
    parts = [f'--b\nContent-Type: text/plain\n\n{text}\n'] if text is not None else []
    parts.append(f'--b\nContent-Type: {kind}; name="{name}"\nContent-Transfer-Encoding: base64\n'
                 f'Content-Disposition: attachment; filename="{name}"\n\n'
                 f'{base64.encodebytes(data).decode()}')
    return mail(subject, 'Content-Type: multipart/mixed; boundary=b', body='\n'.join(parts) + '\n--b--\n')


INNER = tnef.winmail(
    tnef.attribute(1, 0x00018004, b'Inner\0'), tnef.attribute(1, 0x0002800C, b'Hello\0'),
    tnef.attribute(1, 0x00008000, struct.pack('<4H', 4, 24, 4, 9) + b'Ann\0SMTP:a@b\0'),
    tnef.attribute(1, 0x00069004, struct.pack('<I', 1) + tnef.properties(
        tnef.variable(0x3001001F, tnef.wide('Bob')), tnef.variable(0x3003001F, tnef.wide('b@x')),
        tnef.variable(0x3002001F, tnef.wide('SMTP')), tnef.number(0x0C150003, 1))),
    tnef.attachment(b'deep.txt', b'deep'))
LONG = tnef.variable(0x3707001F, tnef.wide('ein langer Name – 1.txt'))
RTF = tnef.message_properties(tnef.variable(0x10090102, tnef.RTF))
HTML = tnef.message_properties(tnef.number(0x3FDE0003, 1251),
                               tnef.variable(0x10130102, '<p>Привет</p>'.encode('cp1251')))
MEETING = tnef.message_properties(
    tnef.variable(0x001A001E, b'IPM.Schedule.Meeting.Request\0'),
    tnef.variable(0x8001001E, b'Room 7\0',
                  bytes.fromhex('0220060000000000c000000000000046') + struct.pack('<II', 0, 0x8208)))
FILE = tnef.attachment(b'A~1.TXT', b'contents', LONG)

# Each with the attachments it must have in the end, by name, and patterns in the dump of the message.
WINMAILS = {
    'file': (with_winmail('file', tnef.winmail(FILE)), {'ein langer Name – 1.txt': b'contents'}, []),
    'title in cyrillic': (with_winmail('title in cyrillic', tnef.winmail(
        tnef.attachment('имя.txt'.encode('cp1251'), b'x'), code_page=1251)), {'имя.txt': b'x'}, []),
    'by name alone': (with_winmail('by name alone', tnef.winmail(FILE), kind='application/octet-stream',
                                   name='WinMail.dat'), {'ein langer Name – 1.txt': b'contents'}, []),
    'rtf': (with_winmail('rtf', tnef.winmail(RTF)), {},
            [r'10090102 .*2D000000', r'0E1F000B .*true', r'1000001F .*see there']),
    'rtf alone': (with_winmail('rtf alone', tnef.winmail(RTF), text=None), {},
                  [r'10090102 .*2D000000', r'1000001F \w+ +"hello world"']),
    'html': (with_winmail('html', tnef.winmail(HTML), text=None), {},
             [r'10130102 .*3C703ECFF0E8E2E5F23C2F703E', r'3FDE0003 .*1251']),
    'text': (with_winmail('text', tnef.winmail(tnef.attribute(1, 0x0002800C, b'gr\xfc\xdfe\0')), text=' '),
             {}, [r'1000001F .*grüße']),
    'meeting': (with_winmail('meeting', tnef.winmail(MEETING)), {},
                [r'001A001F .*IPM.Schedule.Meeting.Request', r'80..001F .*Room 7']),
    'rubbish': (with_winmail('rubbish', b'no tnef'), {'winmail.dat': b'no tnef'}, []),
    'cut': (with_winmail('cut', tnef.winmail(FILE, FILE)[:-20]),
            {'ein langer Name – 1.txt': b'contents', 'A_1.TXT': b'contents',
             'winmail.dat': tnef.winmail(FILE, FILE)[:-20]}, []),
}


class Winmail(PstTest):

    def export(self, pst):
        """[(folder of the export, {attachment: bytes})] by position"""
        run = Run(['pffexport', '-q', '-f', 'all', '-m', 'items', '-t', self.folder / pst.stem, pst])
        self.assertEqual((run.code, run.err), (0, ''), run)
        export = self.folder / f'{pst.stem}.export'
        items = sorted(export.rglob('Me*0*'), key=lambda path: path.name[-5:])
        found = [(item, {re.sub(r'^\d+_', '', f.name): f.read_bytes()
                         for f in (item / 'Attachments').glob('*') if f.is_file()}) for item in items]
        return found

    def dumps(self, pst):
        """{subject: dump} of the messages of a PST."""
        # Messages in messages take numbers, too.
        dumps = [self.parvane('check', '--dump', hex(0x200024 + 32 * i), pst).out for i in range(12)]
        return {re.search(r'0037001F PR_SUBJECT +"[^\w"]*(.*)"', dump).group(1): dump for dump in dumps if dump}

    @linux
    def test_what_is_in_it_takes_its_place(self):
        source = self.write('mail.mbox', b''.join(raw for raw, _, _ in WINMAILS.values()))
        pst = self.folder / 'mail.pst'
        account = self.convert(source, pst)
        found, dumps = self.export(pst), self.dumps(pst)
        for (subject, (_, attachments, patterns)), (_, files) in zip(WINMAILS.items(), found, strict=True):
            self.assertEqual(files, attachments, subject)
            for pattern in patterns:
                self.assertRegex(dumps[subject], pattern, subject)
        self.assertEqual(account['totals']['winmail'], {'opened': 8, 'attachments': 5, 'kept': 2})
        self.assertEqual({(r['code'], r['position']) for r in account['remarks']},
                         {('winmail-kept', 9), ('winmail-kept', 10)})
        self.assertIn('Files winmail.dat opened: 8, with 5 attachments',
                      self.parvane('convert', source, self.folder / 'again.pst').out)
        # By the letter nothing is opened.
        none = self.folder / 'none.pst'
        self.assertIsNone(self.convert('--keep', 'none', source, none)['totals']['winmail'])
        self.assertEqual([len(files) for _, files in self.export(none)], [1] * len(WINMAILS))

    @linux
    def test_messages_in_it_and_in_messages(self):
        outer = with_winmail('deep', tnef.winmail(tnef.embedded(b'Inner', INNER)))
        inside = b'\n'.join(outer.split(b'\n')[1:])
        forward = mail('forward', 'Content-Type: multipart/mixed; boundary=o',
                       body='--o\nContent-Type: text/plain\n\nx\n--o\nContent-Type: message/rfc822\n\n' +
                            inside.decode() + '\n--o--\n')
        pst = self.folder / 'mail.pst'
        account = self.convert(self.write('mail.mbox', outer + forward), pst)
        self.assertEqual(account['totals']['winmail'], {'opened': 2, 'attachments': 2, 'kept': 0})
        for subject, dump in self.dumps(pst).items():
            for pattern in (r'0037001F PR_SUBJECT +"\W*Inner"', r'1000001F PR_BODY +"Hello"',
                            r'0C1F001F PR_SENDER_EMAIL_ADDRESS +"a@b"', r'3003001F .*"b@x"',
                            r'3707001F .*"deep.txt"', '37010102 PR_ATTACH_DATA_BIN +64656570'):
                self.assertRegex(dump, pattern, subject)

    @unittest.skipUnless(TNEF_SAMPLES.exists(), 'needs files winmail.dat that are not part of the project')
    @linux
    def test_files_of_other_programs(self):
        expected = {'one-file': ['AUTHORS'], 'rtf': [], 'body': [],
                    'data-before-name': ['AUTOEXEC.BAT', 'CONFIG.SYS', 'boot.ini']}
        samples = {path.stem: path for path in TNEF_SAMPLES.rglob('*.tnef')}
        source = self.write('mail.mbox', b''.join(with_winmail(name, samples[name].read_bytes())
                                                  for name in expected))
        pst = self.folder / 'mail.pst'
        self.assertEqual(self.convert(source, pst)['totals']['winmail'],
                         {'opened': 4, 'attachments': 4, 'kept': 0})
        found = dict(zip(expected, self.export(pst), strict=True))
        self.assertEqual({name: sorted(found[name][1]) for name in expected}, expected)
        self.assertEqual(found['one-file'][1]['AUTHORS'],
                         next(TNEF_SAMPLES.rglob('*.AUTHORS.expected')).read_bytes())
        self.assertTrue((found['rtf'][0] / 'Message.rtf').read_bytes().startswith(b'{\\rtf'))
        self.assertIn(b'<html', (found['body'][0] / 'Message.html').read_bytes().lower())


# Header, the originator and the recipients that it means, as "name <address>".
CORRESPONDENTS = {
    'From: boss@x (The Boss)': ('The Boss <boss@x>', []),
    'From: "Boss, The" <boss@x>': ('Boss, The <boss@x>', []),
    'From: Boss, The <boss@x>': ('Boss, The <boss@x>', []),
    'To: "A" <a@x>; "B" <b@x>; c@x': (None, ['A <a@x>', 'B <b@x>', 'c@x <c@x>']),
    'To: Team: a@x, "Doe, J" <b@x>;, d@x': (None, ['a@x <a@x>', 'Doe, J <b@x>', 'd@x <d@x>']),
    'To: undisclosed-recipients:;': (None, []),
    'To: Nobody:;, "Doe, J" <b@x>, None: ; d@x': (None, ['Doe, J <b@x>', 'd@x <d@x>']),
    'To: =?utf-8?Q?M=C3=BCller,_Hans?= <a@x>, b@x (=?utf-8?Q?J=C3=B6rg?=)':
        (None, ['Müller, Hans <a@x>', 'Jörg <b@x>']),
    'To: root, Bob <b@x>': (None, ['root <-@->', 'Bob <b@x>']),
    'To: <a@x> <b@x>': (None, ['a@x <a@x>', 'b@x <b@x>']),
}


class Addresses(PstTest):

    @linux
    def test_correspondents_are_those_of_the_header(self):
        source = self.write('mail.mbox', b''.join(
            mail(f'm{i}', addresses=(header, *(['From: z@x'] if header.startswith('To') else [])))
            for i, header in enumerate(CORRESPONDENTS)))
        pst = self.folder / 'mail.pst'
        account = self.convert(source, pst)
        for i, (header, (originator, recipients)) in enumerate(CORRESPONDENTS.items()):
            dump = self.parvane('check', '--dump', hex(0x200024 + 32 * i), pst).out
            value = lambda tag: re.findall(rf'{tag}001F \w* *"(.*)"', dump)
            names, addresses = value('3001'), value('3003')
            self.assertEqual([f'{n} <{a}>' for n, a in zip(names, addresses)], recipients, header)
            for name, address in (('0042', '0065'), ('0C1A', '0C1F')):
                self.assertEqual(f'{value(name)[0]} <{value(address)[0]}>', originator or 'z@x <z@x>', header)
        self.assertEqual(account['totals']['addressesKept'], 6)
        self.assertEqual(account['totals']['remarks']['header-text-lost'], 0)
        letter = self.convert('--keep', 'none', source, self.folder / 'none.pst')
        self.assertIsNone(letter['totals']['addressesKept'])
        self.assertGreater(letter['totals']['remarks']['header-text-lost'], 3)


if __name__ == '__main__':
    unittest.main()
