"""parvane --mapi outlook under Wine: the engine reaches a mail program's library through the system's
mapi32.dll, as it would reach Outlook's. Here that library is parvanemapi.dll.

Besides what harness.py wants: WINEPREFIX, PARVANE_PROVIDER (parvanemapi.dll),
PARVANE_REFUSING_PROVIDER (a library whose log-on waits for a file and then fails).
"""
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import time

import harness
from harness import Run, shown

TOP = pathlib.Path(__file__).resolve().parents[2]
PROVIDER = pathlib.Path(os.environ['PARVANE_PROVIDER'])
REFUSING = pathlib.Path(os.environ['PARVANE_REFUSING_PROVIDER'])
EXAMPLES = TOP / 'examples' / 'mail'
CLIENTS = r'HKEY_LOCAL_MACHINE\Software\Clients\Mail'
NO_OUTLOOK = ('It seems that either Outlook is not installed or it is not set as default email '
              'client on your machine. Please contact')


class OutlookTest(harness.PstTest):
    """The tests change who is the default mail program of the prefix that all tests share."""

    def register(self, library, name='Test Mail'):
        """Makes a program with this library (None: with none) the default mail program."""
        lines = [f'[{CLIENTS}]', f'@="{name}"', f'[{CLIENTS}\\{name}]']
        if library:
            path = shown(library).replace('\\', '\\\\')
            lines.append(f'"DLLPathEx"="{path}"')
        self.import_registry([f'[-{CLIENTS}]', *lines])

    def unregister(self):
        self.import_registry([f'[-{CLIENTS}]'])

    def import_registry(self, lines):
        file = self.folder / 'change.reg'
        text = '\r\n'.join(['Windows Registry Editor Version 5.00', *lines, ''])
        file.write_text(text, encoding='utf-16')
        changed = Run([TOP / 'tools' / 'wine.sh', os.environ['WINEPREFIX'], 'reg', 'import',
                       shown(file)])
        self.assertEqual(changed.code, 0, changed)

    def convert_as(self, mapi, source, pst, *options, code=0):
        report = self.folder / f'{mapi}.json'
        run = self.parvane('convert', '--mapi', mapi, '--report', report, *options, source, pst)
        self.assertEqual(run.code, code, run)
        return json.loads(report.read_text(encoding='utf-8')), run

    def refusal(self, library, pst='none.pst', name='Test Mail'):
        """What the user reads when the system's MAPI cannot be used."""
        self.register(library, name)
        account, run = self.convert_as('outlook', EXAMPLES, self.folder / pst, code=3)
        self.assertFalse((self.folder / 'none.pst').exists())
        self.assertEqual(account['totals']['written'], 0)
        self.assertIn(NO_OUTLOOK, run.err)
        self.assertIn(account['error'], run.err)
        return run.err


class ConversionTest(OutlookTest):

    def test_the_providers_pst_is_the_built_in_ones(self):
        self.register(PROVIDER)
        sources = [EXAMPLES]
        if (harness.SHARED / 'corpus').exists():
            sources.append(harness.SHARED / 'corpus' / 'mbox' / 'mime-mix.mbox')
        for source in sources:
            with self.subTest(source=source.name):
                shutil.rmtree(self.folder / 'out', ignore_errors=True)
                (self.folder / 'out').mkdir()
                self.compare(source)

    def compare(self, source):
        started = (int(time.time()) + 11644473600 - 60) * 10_000_000
        psts = {mapi: self.folder / 'out' / mapi / 'mail.pst' for mapi in ('builtin', 'outlook')}
        accounts = {}
        for mapi, pst in psts.items():
            pst.parent.mkdir()
            account, run = self.convert_as(mapi, source, pst)
            self.assertEqual(account['mapi'], mapi)
            self.assertEqual('accepted by Outlook' in run.out, mapi == 'outlook', run)
            accounts[mapi] = account
        totals = accounts['outlook']['totals']
        self.assertGreater(totals['read'], 9)
        self.assertEqual(totals, accounts['builtin']['totals'])
        self.assertEqual([f['path'] for f in accounts['outlook']['folders']],
                         [f['path'] for f in accounts['builtin']['folders']])
        self.assertEqual(accounts['outlook']['pstBytes'], psts['outlook'].stat().st_size)
        self.same(lambda mapi: self.listed(mapi, psts['builtin']), 'looking with either MAPI')
        self.same(lambda mapi: self.listed('builtin', psts[mapi]), 'listing')
        self.same(lambda mapi: self.exported_mail(psts[mapi]), 'readpst')
        if harness.CHECKER.exists():
            self.same(lambda mapi: self.properties(psts[mapi], started), 'properties')
            check = Run([sys.executable, harness.CHECKER, 'check', '--writer', psts['outlook']])
            self.assertEqual(check.code, 0, check)

    def same(self, look, what):
        builtin, outlook = look('builtin'), look('outlook')
        self.assertTrue(builtin)
        self.assertEqual(builtin, outlook, what)

    def listed(self, mapi, pst):
        run = self.parvane('list', '--mapi', mapi, '--json', '--messages', pst)
        self.assertEqual((run.code, run.err), (0, ''), run)
        listing = json.loads(run.out)
        del listing['file']
        return listing

    def exported_mail(self, pst):
        out = self.folder / 'readpst'
        shutil.rmtree(out, ignore_errors=True)
        out.mkdir()
        run = Run(['readpst', '-j', '0', '-D', '-e', '-o', out, pst])
        self.assertEqual(run.code, 0, run)
        # readpst makes up the boundaries.
        boundary = re.compile(rb'--boundary-LibPST-iamunique-\d+_-_-')
        return {str(p.relative_to(out)): boundary.sub(b'--boundary', p.read_bytes())
                for p in sorted(out.rglob('*.eml'))}

    def properties(self, pst, started):
        """Every property of every message, but for random keys and the times of writing."""
        run = subprocess.run([sys.executable, str(harness.CHECKER), 'export', str(pst)],
                             stdout=subprocess.PIPE, check=True)

        def mask(value):
            if isinstance(value, list):
                return [mask(v) for v in value]
            if not isinstance(value, dict):
                return value
            masked = {}
            for tag, v in value.items():
                now = tag in ('0x30070040', '0x30080040') and v > started
                masked[tag] = '*' if now or tag == '0x300B0102' else mask(v)
            return masked

        return [mask(json.loads(line)) for line in run.stdout.splitlines()]

    def test_adds_to_a_pst_and_leaves_no_profile_behind(self):
        self.register(PROVIDER)
        pst = self.folder / 'mail.pst'
        self.convert_as('outlook', EXAMPLES, pst)
        account, _ = self.convert_as('outlook', EXAMPLES / 'Inbox.mbox', pst, '--append', '--name',
                                     'More')
        self.assertEqual(account['totals']['failed'], 0)
        folders = {'/'.join(f['path']): f['messages']
                   for f in json.loads(self.parvane('list', '--json', pst).out)['folders']}
        self.assertEqual(folders['More'], account['totals']['read'])
        self.assertEqual(folders['More'], folders['mail/Inbox'])

    def test_a_pst_that_cannot_be_written_is_told_with_the_reason(self):
        self.register(PROVIDER)
        pst = self.write('bad.pst', b'!BDN' + bytes(4) + b'SM' + bytes(600))
        account, run = self.convert_as('outlook', EXAMPLES, pst, '--append', code=3)
        self.assertIn('could not make or open the PST (0x8004', run.err)
        self.assertEqual(account['totals']['written'], 0)
        self.assertEqual(len(pst.read_bytes()), 610)


class RefusalTest(OutlookTest):

    def test_no_mail_program(self):
        pst = self.folder / 'old.pst'
        self.assertEqual(self.parvane('convert', EXAMPLES, pst).code, 0)
        before = pst.read_bytes()
        self.unregister()
        run = self.parvane('convert', '--mapi', 'outlook', '--overwrite', EXAMPLES, pst)
        self.assertEqual(run.code, 3, run)
        self.assertIn('No default mail program is set', run.err)
        self.assertEqual(pst.read_bytes(), before)
        run = self.parvane('list', '--mapi', 'outlook', pst)
        self.assertEqual(run.code, 3, run)
        self.assertIn('MAPI could not be started (0x80040605', run.err)

    def test_a_mail_program_without_extended_mapi(self):
        self.assertIn('Test Mail, which offers no Extended MAPI: install Outlook',
                      self.refusal(None))

    def test_an_outlook_of_other_bitness(self):
        office = r'HKEY_LOCAL_MACHINE\Software\%sMicrosoft\Office\16.0\Outlook'
        for node, bits, told in (
                ('Wow6432Node\\', 'x86', 'Outlook is installed, but this is the 64-bit program'),
                ('', 'x64', 'make Outlook the default')):
            key = office % node
            self.import_registry([f'[{key}]', f'"Bitness"="{bits}"'])
            self.addCleanup(self.import_registry, [f'[-{key}]'])
            self.assertIn(told, self.refusal(None))

    def test_a_missing_library(self):
        self.assertIn('gone.dll is missing: repair or reinstall',
                      self.refusal(self.folder / 'gone.dll'))

    def test_a_library_for_programs_of_other_bitness(self):
        header = bytearray(512)
        header[:2] = b'MZ'
        struct.pack_into('<I', header, 0x3C, 0x80)
        struct.pack_into('<4sH', header, 0x80, b'PE', 0x014C)
        self.assertIn('this is the 64-bit program, and the mail program serves 32-bit programs only',
                      self.refusal(self.write('old.dll', bytes(header))))

    def test_a_file_that_is_no_library(self):
        self.assertIn('cannot be used', self.refusal(self.write('text.dll', b'no library' * 99)))

    def test_a_refused_log_on(self):
        told = self.refusal(REFUSING)
        self.assertIn('MAPI refused the log-on (0x80040111, log-on failed)', told)
        self.assertIn('start it once', told)
        # What was to be replaced is back in its place.
        pst = self.write('old.pst', b'!BDN' + bytes(4) + b'SM')
        run = self.parvane('convert', '--mapi', 'outlook', '--overwrite', EXAMPLES, pst)
        self.assertEqual(run.code, 3, run)
        self.assertEqual(pst.read_bytes()[:4], b'!BDN')
        self.assertEqual(sorted(p.suffix for p in self.folder.iterdir()), ['.json', '.pst', '.reg'])

    def test_two_programs_at_once_are_kept_apart(self):
        self.register(REFUSING)
        gate, arrived = self.folder / 'gate', self.folder / 'arrived'
        environment = dict(os.environ, PARVANE_TEST_GATE=shown(gate),
                           PARVANE_TEST_ARRIVED=shown(arrived))
        first = subprocess.Popen(
            [harness.PARVANE, 'convert', '--mapi', 'outlook', shown(EXAMPLES),
             shown(self.folder / 'first.pst')], env=environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            for _ in range(1200):
                if arrived.exists():
                    break
                time.sleep(0.1)
            self.assertTrue(arrived.exists(), 'the first program never logged on')
            second = self.parvane('convert', '--mapi', 'outlook', EXAMPLES,
                                  self.folder / 'second.pst')
            self.assertEqual(second.code, 3, second)
            self.assertIn("another parvane is using Outlook's MAPI", second.err)
            self.assertEqual(self.parvane('convert', EXAMPLES, self.folder / 'third.pst').code, 0)
        finally:
            gate.touch()
            self.assertEqual(first.wait(harness.TIME_LIMIT), 3)
            first.stdout.close()
            first.stderr.close()
        # Its turn is over.
        self.register(PROVIDER)
        self.convert_as('outlook', EXAMPLES, self.folder / 'fourth.pst')
