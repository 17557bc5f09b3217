"""What comes along with a message beside what its conversion writes: its header, a date, pictures in the
text, parts that no property takes. Read back property by property."""
import itertools
import re
import unittest

from harness import Run, PstTest, linux

DATE = 'Date: Wed, 01 Jan 2025 12:00:00 +0000'


def message(*lines, separator='From - Thu Jan  2 12:00:00 2025 +0200'):
    return '\n'.join([separator, *lines, '', '']).encode('latin-1')


def part(content_type, body='x', *headers):
    return '\n'.join([f'Content-Type: {content_type}', *headers, '', body, ''])


def multi(kind, *parts):
    boundary = f'b{sum(map(len, parts))}'
    return part(f'multipart/{kind}; boundary={boundary}',
                ''.join(f'--{boundary}\n{p}' for p in parts) + f'--{boundary}--')


def picture(cid=None, name=None, *headers):
    return part('image/png' + (f'; name={name}' if name else ''), 'iVBORw0KGgo=',
                'Content-Transfer-Encoding: base64', *([f'Content-ID: <{cid}>'] if cid else []), *headers)


TEXT, HTML = part('text/plain', 'hello'), lambda text: part('text/html', text)
A = picture('a@x', 'a.png')
HIDDEN_A = [('a.png', True)]

# Each with the attachments that its message has in the end, by name, and whether they are hidden.
PARTS = {
    # ---- shown in the text ----
    'referred to': (multi('related', HTML('<img src="cid:A%40x"><IMG alt=\'>\' SRC=cid:b&#64;x>'), A,
                          picture('b@x', 'b.png'), picture('c@x', 'c.png')),
                    [('a.png', True), ('b.png', True), ('c.png', False)]),
    'all': (multi('related', HTML('<v:imagedata o:title="" src="cid:a@x"/>'), A), HIDDEN_A),
    'mixed': (multi('mixed', HTML("<td background='CID:a@x'>"), A), HIDDEN_A),
    'style': (multi('related', HTML('<p style="background: URL( &quot;cid:a@x&quot; )">'), A), HIDDEN_A),
    'location': (multi('related', part('text/html', '<img src="a.png">', 'Content-Location: http://x/y/z.html'),
                       picture(None, 'a.png', 'Content-Location: http://x/y/a.png')), HIDDEN_A),
    'conditional': (multi('related', HTML('<!--[if gte vml 1]><img src="cid:a@x"><![endif]-->'), A), HIDDEN_A),
    'comment': (multi('related', HTML('<!-- <img src="cid:a@x"> -->'), A), [('a.png', False)]),
    'link': (multi('related', HTML('<a href="cid:a@x">'), A), [('a.png', False)]),
    'said to be': (multi('mixed', HTML('x'), picture('a@x', 'a.png', 'Content-Disposition: inline')),
                   [('a.png', False)]),
    # ---- nothing twice ----
    'document': (multi('related', HTML('x'), part('application/pdf; name=a.pdf')), [('a.pdf', False)]),
    'message': (multi('related', HTML('x'), part('message/rfc822', 'Subject: in\n\nbody')), [(None, False)]),
    'picture first': (multi('related', A, HTML('<img src="cid:a@x">')), HIDDEN_A),
    # ---- what no property takes ----
    'container': (multi('related', HTML('x'), multi('alternative', TEXT, HTML('y'))), [('text.html', False)]),
    'two groups': (multi('mixed', multi('related', HTML('<img src="cid:a@x">'), A),
                         multi('related', HTML('y'), picture('b@x', 'b.png'), picture('c@x'))),
                   [('a.png', True), ('text.html', False), ('b.png', False), ('image.png', False)]),
    'pgp': (multi('signed', TEXT, part('application/pgp-signature')), [('signature.asc', False)]),
    'smime': (multi('signed', TEXT, part('application/pkcs7-signature')), [('smime.p7s', False)]),
    'encrypted': (multi('encrypted', part('application/pgp-encrypted'), part('application/octet-stream')),
                  [('pgp-version.txt', False), ('encrypted.asc', False)]),
    'report': (multi('report', TEXT, part('message/delivery-status'), part('text/rfc822-headers', 'A: b')),
               [('delivery-status.txt', False), ('headers.txt', False)]),
    'texts': (multi('mixed', TEXT, part('text/plain; charset=iso-8859-1', 'gr\xfc\xdfe'), part('text/x')),
              [('text.txt', False), ('text-2.txt', False)]),
    'meeting': (multi('alternative', TEXT, part('text/calendar; method=REQUEST',
                                                'BEGIN:VCALENDAR\nSUMMARY;X=y:Team: a\n  b\\, c\nEND:VCALENDAR')),
                [('Team_ a b, c.ics', False)]),
    'invitation': (multi('alternative', TEXT, part('text/calendar; method=REQUEST')),
                   [('invitation.ics', False)]),
    'enriched': (multi('alternative', part('text/enriched', '<bold>x'), HTML('h')),
                 [('enriched-text.txt', False)]),
    'partial': (part('message/partial; number=2; total=3'), [('message-part-2-of-3.eml', False)]),
    'named': (multi('alternative', TEXT, part('text/x; name=my.x')), [('my.x', False)]),
    'plain': (TEXT, []),
}


class Carry(PstTest):

    def setUp(self):
        super().setUp()
        self.dumps = {}  # by PST: the next node to look at, then the messages so far

    def dump(self, pst, number):
        """The message's properties, and those of each attachment, by their tags."""
        # A message inside another has a node's number, too, but none of its own in the file.
        nodes = itertools.count(self.dumps.setdefault(pst, [0x200024])[0], 0x20)
        while len(self.dumps[pst]) <= number + 1:
            node = next(nodes)
            run = self.parvane('check', '--dump', hex(node), pst)
            self.dumps[pst] = [node + 0x20, *self.dumps[pst][1:], *([run.out] if run.code == 0 else [])]
        text = self.dumps[pst][number + 1]
        own, *subnodes = re.split(r'(?m)^  subnode ', text)
        read = lambda t: dict(re.findall(r'^ +([0-9A-F]{8}) (?:PR_\w+)? *(.*)$', t, re.M))
        return read(own), [read(s) for s in subnodes if ': attachment, ' in s]

    def attachments(self, pst, number):
        own, attachments = self.dump(pst, number)
        for a in attachments:
            self.assertEqual(a['37140003'], '4 (0x4)' if '7FFE000B' in a else '0 (0x0)')
        return own, [(a['3707001F'].strip('"') if '3707001F' in a else None, a.get('7FFE000B') == 'true')
                     for a in attachments]

    def test_parts_and_pictures(self):
        box = self.write('box.mbox', b''.join(
            message(f'Subject: {s}', 'From: A <a@x.org>', DATE, m) for s, (m, _) in PARTS.items()))
        pst = self.folder / 'all.pst'
        account = self.convert(box, pst)
        hidden = sum(h for _, expected in PARTS.values() for _, h in expected)
        self.assertEqual((account['totals']['kept']['inline'], account['totals']['partsLeftOut']), (hidden, 0))
        for number, (subject, (_, expected)) in enumerate(PARTS.items()):
            own, found = self.attachments(pst, number)
            self.assertEqual(found, expected, subject)
            clipless = [t for t, v in own.items() if t.startswith('8') and t.endswith('000B') and v == 'true']
            self.assertEqual(len(clipless), int(bool(expected) and all(h for _, h in expected)), subject)
        shown = [i['attachments'] for f in self.listing(pst, '--messages')['folders'] for i in f['items']]
        self.assertEqual(shown, [[name or '' for name, hidden in expected if not hidden]
                                 for _, expected in PARTS.values()])
        data = self.dump(pst, list(PARTS).index('texts'))[1][0]['37010102']
        self.assertEqual(bytes.fromhex(data), '\ufeffgrüße'.encode(), 'a text tells its charset')
        self.check_structure(pst)

    def test_nothing_comes_along_unless_it_is_asked_for(self):
        box = self.write('box.mbox', b''.join(
            message(f'Subject: {s}', m) for s, (m, _) in PARTS.items()))
        for keep, kept in (('none', set()), ('inline', {'inline'}), ('parts,dates', {'parts', 'dates'})):
            pst = self.folder / f'{keep}.pst'
            account = self.convert('--keep', keep, box, pst)
            totals = account['totals']
            self.assertEqual({k for k, v in totals['kept'].items() if v is not None}, kept)
            self.assertEqual(totals['partsLeftOut'], 0 if 'parts' in keep else 17)
            number = list(PARTS).index('all')
            self.assertEqual(self.attachments(pst, number)[1], [('a.png', keep == 'inline')])
            number = list(PARTS).index('document')
            self.assertEqual(len(self.attachments(pst, number)[1]), 1 if 'parts' in keep else 2)
            self.assertEqual('0E060040' in self.dump(pst, 0)[0], 'dates' in keep)

    def test_headers_and_dates(self):
        # Each with the date that its message gets.
        cases = [
            (['From: "O, P" <o@x>, q@x', 'To: a@x', 'To: b@x', DATE], '2025-01-01 12:00'),
            (['X-Raw: gr\xfc\xdfe', 'From: a@x'], '2025-01-02 10:00'),
            (['Received: by c; Fri, 3 Jan 2025 01:00:00 -0500 (EST)', 'Received: by d; 1 Jan 2001 00:00 +0000',
              'Date: garbage'], '2025-01-03 06:00'),
            (['Delivery-Date: Sat, 4 Jan 2025 00:00:00 +0000', 'Received: by c; 3 Jan 2025 01:00:00 +0000'],
             '2025-01-04 00:00'),
            (['Delivery-Date: never', DATE], '2025-01-01 12:00'),
            (['Date: 2013-06-03T10:20:30Z'], '2013-06-03 10:20'),
            (['Date: Mon, 3 Jun 2013 7:08:09 +0200'], '2013-06-03 05:08'),
        ]
        box = b''.join(message('Subject: x', *lines, '', 'text') for lines, _ in cases)
        box += message('Subject: unknown', 'Date: nonsense', '', 'text',
                       separator='From - Thu Jan  1 00:00:00 1970')
        pst = self.folder / 'out.pst'
        account = self.convert(self.write('box.mbox', box), pst)
        self.assertEqual(account['totals']['kept']['dates'], len(cases) - 2)
        self.assertEqual(account['totals']['remarks']['date-changed'], 0, 'each is right in the end')
        for number, (lines, date) in enumerate(cases):
            own, _ = self.dump(pst, number)
            header = '  '.join(['Subject: x', *lines])
            self.assertTrue(own['007D001F'].startswith('"' + header[:90]), own['007D001F'])
            for tag in ('0E060040', '00390040', '30080040'):
                self.assertTrue(own[tag].startswith(date), (number, tag, own[tag]))
        own, _ = self.dump(pst, len(cases))
        self.assertFalse({'0E060040', '00390040'} & own.keys(), 'none is invented')

    @linux
    def test_an_independent_reader_finds_what_came_along(self):
        inner = 'From: A <a@x>, b@x\n' + multi('related', HTML('<img src="cid:a@x">'), A)
        box = self.write('box.mbox', message('Subject: outer', DATE, multi(
            'mixed', TEXT, part('message/rfc822', inner, 'Content-Disposition: attachment'), part('text/plain', 'more'),
            # Repair makes the same of both headers.
            *(part('message/rfc822', f'Date: Wed, 1 Jan 2025 {hour}:00:00 +0000\n\nx', 'Content-Disposition: attachment')
              for hour in (7, 8)))))
        pst = self.folder / 'out.pst'
        self.convert(box, pst)
        run = Run(['pffexport', '-q', '-t', self.folder / 'pff', pst])
        self.assertEqual((run.code, run.err), (0, ''), run)
        files = {f.name: f for f in (self.folder / 'pff.export').rglob('*') if f.is_file()}
        self.assertIn('1_a.png', files)
        self.assertEqual(next(f for n, f in files.items() if n.endswith('_text.txt')).read_text(), 'more')
        headers = [f.read_text() for f in (self.folder / 'pff.export').rglob('InternetHeaders.txt')]
        self.assertTrue(any(h.startswith('From: A <a@x>, b@x') for h in headers), headers)
        self.assertLessEqual(sum(' 7:00:00' in h for h in headers), 1, "no message has another's header")


if __name__ == '__main__':
    unittest.main()
