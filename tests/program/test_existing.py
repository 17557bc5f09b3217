"""PST files that Outlook made are added to, and keep whatever they had: every node of the file is
read by an independent reader before and after."""
import importlib.util
import shutil
import struct
import sys
import unittest

import mailboxes
from harness import CHECKER, SHARED, PstTest, Run, linux, shown

SAMPLES = SHARED / 'pst' / 'samples'
spec = importlib.util.spec_from_file_location('pstcheck', CHECKER)
pstcheck = importlib.util.module_from_spec(spec)
spec.loader.exec_module(pstcheck)

HEADER_VERSION, HEADER_MAPS_VALID, HEADER_CRYPT = 10, 248, 513
HEADER_MARK = slice(532, 564)
FOLDER, SEARCH_FOLDER, HIERARCHY, CONTENTS = 0x02, 0x03, 0x0D, 0x0E
NAME_MAP, MESSAGE_STORE, PASSWORD = 0x61, 0x21, 0x67FF
# What adding mail to a folder changes of it: counts, whether it has subfolders, its class.
CLASS, ROW_VERSION = 0x3613, 0x67F3
CHANGING = {0x3602, 0x3603, 0x360A, CLASS}


def content(pst, data, subnodes):
    """Everything below one node, as values that do not depend on where they are stored."""
    below = {nid: content(pst, *roots) for nid, roots in pst.subnodes(subnodes).items()
             # Values and row matrices are read with the object they belong to.
             if nid & 0x1F != 0x1F}
    if not data:
        return 'nothing', None, below
    kind = bytes(pst.pieces(data)[0][2:4])
    if kind == b'\xEC\xBC':
        properties = pstcheck.Pc(pst, data, subnodes, 'node')
        return 'properties', {id: (properties.props[id][0], properties.value(id))
                              for id in properties.props}, below
    if kind == b'\xEC\x7C':
        table = pstcheck.Tc(pst, data, subnodes, 'node')
        rows = {table.rowid(row): {c[0]: table.cell(row, c[0]) for c in table.cols}
                for row in table.rows}
        return 'table', (table.cols, rows), below
    return 'bytes', pst.data(data), below


def snapshot(path):
    pst = pstcheck.Pst(str(path))
    nodes = {nid: (parent, content(pst, data, sub)) for nid, (data, sub, parent) in pst.nbt.items()}
    names = dict(pstcheck.Names(pst).map)
    pst.f.close()
    return nodes, names


def without(values, ids):
    return {id: value for id, value in values.items() if id not in ids}


class Editor:
    """Changes single fields of a PST in place, with their check sums."""

    def __init__(self, path):
        self.path = path
        self.pst = pstcheck.Pst(str(path))
        self.bytes = bytearray(path.read_bytes())

    def header(self, offset, value):
        self.bytes[offset:offset + len(value)] = value
        struct.pack_into('<I', self.bytes, 4, pstcheck.crc(self.bytes[8:8 + 471]))
        struct.pack_into('<I', self.bytes, 524, pstcheck.crc(self.bytes[8:8 + 516]))
        return self

    def encode(self, bid, plain, method):
        if method == 1:
            return plain.translate(pstcheck.ENC)
        return pstcheck.cyclic(plain, bid & 0xFFFFFFFC) if method == 2 else plain

    def block(self, bid, plain, method):
        """The block's data anew; of the same size."""
        offset, size, _ = self.pst.bbt[bid & ~1]
        stored = bytes(self.encode(bid, bytes(plain), method))
        self.bytes[offset:offset + size] = stored
        trailer = offset + (size + 16 + 63) // 64 * 64 - 16
        struct.pack_into('<I', self.bytes, trailer + 4, pstcheck.crc(stored))

    def recode(self, method):
        """The same file in another encoding."""
        for bid in self.pst.bbt:
            if not bid & 2:
                self.block(bid, self.pst.block(bid), method)
        return self.header(HEADER_CRYPT, bytes([method]))

    def password(self, value):
        bid = self.pst.nbt[MESSAGE_STORE][0]
        plain = bytearray(self.pst.block(bid))
        record = struct.pack('<HHI', PASSWORD, 3, 0)
        at = plain.find(record)
        assert at > 0
        struct.pack_into('<I', plain, at + 4, value)
        self.block(bid, plain, self.pst.crypt)
        return self

    def replace(self, text, other):
        """A text of the same length in every heap."""
        for bid in self.pst.bbt:
            old, new = (t.encode('utf-16le') for t in (text, other))
            if not bid & 2 and old in (plain := bytes(self.pst.block(bid))):
                self.block(bid, plain.replace(old, new), self.pst.crypt)
        return self

    def maps(self, fill):
        """Every allocation map filled with one byte, map pages apart."""
        for at in range(0x4400, len(self.bytes), 253_952):
            self.bytes[at + 2:at + 496] = bytes([fill]) * 494
            struct.pack_into('<I', self.bytes, at + 500, pstcheck.crc(self.bytes[at:at + 496]))
        return self

    def save(self):
        self.pst.f.close()
        self.path.write_bytes(self.bytes)


class OutlookFiles(PstTest):

    def check_structure(self, pst):
        """By the rules for files that Outlook had: our own are stricter."""
        run = self.parvane('check', pst)
        self.assertEqual(run.code, 0, run)
        run = Run([sys.executable, CHECKER, 'check', pst])
        faults = [line for line in run.out.splitlines() if line.startswith('ERROR')]
        self.assertEqual((run.code, faults), (0, []), run)

    def sample(self, name='Empty.pst'):
        path = self.folder / name
        shutil.copyfile(SAMPLES / name, path)
        return path

    def add_mail(self, pst, *options):
        """Into a new folder, into one below it, and into one that Outlook made."""
        mail = self.folder / 'mail'
        if not mail.exists():
            self.write('mail/Added.mbox', mailboxes.many(30))
            self.write('mail/More.mbox', mailboxes.attachments(4, 60_000))
        account = self.convert('--append', *options, mail, pst)
        self.assertEqual(account['totals']['written'], 34)
        single = self.write('Deleted Items.mbox', mailboxes.many(5))
        self.convert('--append', *options, single, pst)

    def assert_all_is_there(self, before, pst):
        nodes, names = before
        now, names_now = snapshot(pst)
        for id, name in names.items():
            self.assertEqual(names_now.get(id), name)
        for nid, (parent, (kind, value, below)) in nodes.items():
            with self.subTest(f'node {nid:X}'):
                self.assertIn(nid, now)
                parent_now, (kind_now, value_now, below_now) = now[nid]
                self.assertEqual((parent_now, kind_now), (parent, kind))
                self.assertEqual(below_now, below)
                if nid == NAME_MAP:
                    continue
                if nid & 0x1F == FOLDER:
                    value, value_now = without(value, CHANGING), without(value_now, CHANGING)
                elif kind == 'table':
                    (columns, rows), (columns_now, rows_now) = value, value_now
                    self.assertEqual(columns_now, columns)
                    if nid & 0x1F in (HIERARCHY, CONTENTS):
                        rows_now = {id: row for id, row in rows_now.items() if id in rows}
                    if nid & 0x1F == HIERARCHY:
                        changing = CHANGING | {ROW_VERSION}
                        rows = {id: without(row, changing) for id, row in rows.items()}
                        rows_now = {id: without(row, changing) for id, row in rows_now.items()}
                    value, value_now = rows, rows_now
                self.assertEqual(value_now, value)

    @linux
    def test_added_mail_changes_nothing_that_was_there(self):
        for sample in sorted(path.name for path in SAMPLES.glob('*.pst')):
            for method in (0, 1, 2):
                with self.subTest(sample, encoding=method):
                    pst = self.sample(sample)
                    Editor(pst).recode(method).save()
                    before = snapshot(pst)
                    messages = self.listing(pst)['totals']['messages']
                    self.assertTrue(any(nid & 0x1F == SEARCH_FOLDER for nid in before[0]))
                    self.add_mail(pst)
                    self.assert_all_is_there(before, pst)
                    self.assertEqual(self.listing(pst)['totals']['messages'], messages + 39)
                    self.check_lspst(pst, messages + 39)
                    self.check_structure(pst)

    @linux
    def test_stale_maps_and_a_writer_that_did_not_finish(self):
        """Whatever the maps claim to be free or in use, nothing old is written over."""
        pst = self.sample('sample1.pst')
        Editor(pst).maps(0x00).save()
        damaged = pst.read_bytes()
        source = self.write('Inbox.mbox', mailboxes.many(3))
        refused = self.convert('--append', source, pst, code=3)
        self.assertIn('free in their AMap', refused['error'])
        self.assertEqual(pst.read_bytes(), damaged)
        for name, fill, valid in (('everything in use', 0xFF, 2), ('invalid', 0x00, 0)):
            with self.subTest(name):
                pst = self.sample('sample1.pst')
                Editor(pst).maps(fill).header(HEADER_MAPS_VALID, bytes([valid])).save()
                before = snapshot(pst)
                log = self.folder / 'detailed.log'
                self.add_mail(pst, '--detailed-log', log)
                self.assert_all_is_there(before, pst)
                self.check_structure(pst)

    def test_an_unclean_file_is_taken_over_and_the_log_says_so(self):
        pst = self.sample()
        Editor(pst).header(HEADER_MAPS_VALID, b'\0').save()
        log = self.folder / 'detailed.log'
        source = self.write('Inbox.mbox', mailboxes.many(3))
        for told in (True, False):  # once taken over, it is clean
            self.convert('--append', '--detailed-log', log, source, pst)
            self.assertEqual('had not closed it' in log.read_text('utf-8'), told)
            self.check_structure(pst)

    def test_a_new_store_is_named_after_its_file_and_bears_no_mark(self):
        source = self.write('Inbox.mbox', mailboxes.many(1))
        pst = self.folder / 'Old mail.pst'
        self.convert(source, pst)
        store = snapshot(pst)[0][MESSAGE_STORE][1][1]
        self.assertEqual(store[0x3001][1], 'Old mail')
        self.assertFalse(any(pst.read_bytes()[HEADER_MARK]))

    def test_a_password_protects_nothing(self):
        pst = self.sample('sample1.pst')
        Editor(pst).password(0x1234ABCD).save()
        before = snapshot(pst)
        log = self.folder / 'brief.log'
        self.add_mail(pst, '--log', log)
        self.assertIn('password', log.read_text('utf-8'))
        self.assert_all_is_there(before, pst)

    def test_mail_does_not_turn_other_folders_into_mail_folders(self):
        pst = self.sample('sample1.pst')
        Editor(pst).replace('IPF.Note', 'IPF.Task').save()
        before = snapshot(pst)
        source = self.write('sample1.mbox', mailboxes.many(3))
        for messages in (1, 2):  # the second time it is a mail folder of ours
            account = self.convert('--append', source, pst)
            self.assertEqual(account['renamedFolders'],
                             [{'wanted': 'sample1', 'path': ['sample1 (2)']}])
            self.assertEqual(self.listed_folders(pst)['sample1 (2)',], 3 * messages)
        now, _ = snapshot(pst)
        for nid, (_, (_, value, _)) in before[0].items():
            if nid & 0x1F == FOLDER and CLASS in value:
                self.assertEqual(now[nid][1][1][CLASS], value[CLASS])
        self.check_structure(pst)

    def test_other_kinds_are_refused_with_their_names(self):
        source = self.write('Inbox.mbox', mailboxes.many(1))
        for name, offset, value, text in (
                ('ANSI', HEADER_VERSION, struct.pack('<H', 14), 'ANSI'),
                ('ANSI, late', HEADER_VERSION, struct.pack('<H', 15), 'ANSI'),
                ('4 KiB pages', HEADER_VERSION, struct.pack('<H', 36), '4 KiB'),
                ('OST', 8, b'SO', 'OST')):
            with self.subTest(name):
                pst = self.sample()
                Editor(pst).header(offset, value).save()
                before = pst.read_bytes()
                for command in (('convert', '--append', source, pst), ('list', pst),
                                ('check', pst)):
                    run = self.parvane(*command)
                    self.assertEqual((run.code, len(run.err.splitlines())), (3, 1), run)
                    self.assertIn(text, run.err)
                    self.assertIn(shown(pst), run.err)
                self.assertEqual(pst.read_bytes(), before)
                pst.unlink()


if __name__ == '__main__':
    unittest.main()
