"""Runs the program and the independent readers that judge what it wrote.

The environment says where things are: PARVANE (the program), PARVANE_SHARED_DIR (optional: test
mail and the structural checker that are not part of the project). PARVANE_JUDGE, where set, is this
system's own build of the program: PARVANE is then one for Windows, run under Wine, and what it wrote
must satisfy both.
"""
import collections
import json
import os
import pathlib
import pty
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest

PARVANE = os.environ['PARVANE']
JUDGE = os.environ.get('PARVANE_JUDGE')
WINDOWS = JUDGE is not None
NO_SUCH_FILE = 'not found' if WINDOWS else 'No such file'
SHARED = pathlib.Path(os.environ.get('PARVANE_SHARED_DIR', '/nonexistent'))
CHECKER = SHARED / 'tools' / 'pstcheck.py'
# Sanitizers slow everything down; what is slow anyway gets more time.
TIME_LIMIT = 600


def linux(test):
    """Leaves a test to Linux: it needs what only Linux has, or keeps the readers busy for long and
    would prove nothing more elsewhere."""
    return None if WINDOWS else test


def partial(pst):
    """Where a new PST grows until it is finished."""
    return pst.with_name(f'{pst.stem}.partial{pst.suffix}')


def shown(argument):
    """A path as the program under test is given it and names it; anything else as it is."""
    if WINDOWS and isinstance(argument, pathlib.PurePath) and argument.is_absolute():
        return 'Z:' + str(argument).replace('/', '\\')
    return str(argument)


def file_name(path):
    """The last component of a path that the program wrote."""
    return re.split(r'[/\\]' if WINDOWS else '/', path)[-1]


class Run:
    """The outcome of one program."""

    def __init__(self, arguments, **options):
        options = {'timeout': TIME_LIMIT, 'stdin': subprocess.DEVNULL, 'stdout': subprocess.PIPE,
                   'stderr': subprocess.PIPE, **options}
        done = subprocess.run([str(a) for a in arguments], **options)
        self.code = done.returncode
        self.out = (done.stdout or b'').decode('utf-8', 'replace')
        self.err = (done.stderr or b'').decode('utf-8', 'replace')

    def __str__(self):
        return f'exit {self.code}\n--- stdout\n{self.out[-4000:]}\n--- stderr\n{self.err[-4000:]}'


class PstTest(unittest.TestCase):
    """Each test works in a folder of its own, self.folder, which goes when it is done.

    Every PST that the program has left there by then is judged, whatever the test was about: it is
    free of faults, and an independent reader counts as many messages in it as the program lists.
    """

    maxDiff = 4000

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix='parvane-'))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.judged = {}  # path: its state when readers agreed on it, or when the test wrote it

    def tearDown(self):
        for pst in sorted(self.folder.rglob('*.pst')):
            if self.judged.get(pst) != self.state(pst):
                self.check_structure(pst)
                self.check_lspst(pst, self.listing(pst)['totals']['messages'])

    @staticmethod
    def state(path):
        status = path.stat()
        return status.st_ino, status.st_size, status.st_mtime_ns

    @staticmethod
    def has_grown(path, size, since=0):
        try:
            status = path.stat()
            return status.st_size > size and status.st_mtime_ns > since
        except FileNotFoundError:
            return False

    def write(self, name, data):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        self.judged[path] = self.state(path)
        return path

    def parvane(self, *arguments, program=PARVANE, **options):
        # A home of its own, so that the error dump of a test stays with the test.
        environment = dict(os.environ, XDG_DATA_HOME=str(self.folder / 'home'))
        if program == PARVANE:
            arguments = [shown(a) for a in arguments]
        return Run([program, *arguments], env=environment, **options)

    def parvane_on_terminal(self, *arguments, **options):
        """With a terminal as its standard error, or a console for all its streams on Windows, which
        Wine shows on a terminal."""
        reader, writer = pty.openpty()
        text = []

        def read():
            try:
                while data := os.read(reader, 65536):
                    text.append(data)
            except OSError:  # how Linux tells that the other side is closed
                pass
        watcher = threading.Thread(target=read, daemon=True)  # should the program never start
        watcher.start()
        environment = dict(os.environ, XDG_DATA_HOME=str(self.folder / 'home'), TERM='xterm')
        console = {'stdin': writer, 'stdout': writer, 'start_new_session': True} if WINDOWS else {}
        run = Run([PARVANE, *map(shown, arguments)], env=environment, stderr=writer, **console, **options)
        os.close(writer)
        watcher.join()
        os.close(reader)
        run.err = b''.join(text).decode('utf-8')
        return run

    def convert(self, *arguments, code=0, **options):
        """Converts, checks the exit code and the account's arithmetic, and returns the report."""
        foretold = None if options or '--resume' in arguments else self.parvane(
            'convert', '--dry-run', '--report', '-', '--progress', 'never', *arguments)
        report = self.folder / 'report.json'
        run = self.parvane('convert', '--report', report, *arguments, **options)
        self.assertEqual(run.code, code, run)
        account = json.loads(report.read_text(encoding='utf-8'))
        self.assertEqual(account['exitCode'], code)
        totals = account['totals']
        self.assertEqual(totals['read'], totals['written'] + totals['failed'])
        for count in ('read', 'written', 'failed'):
            self.assertEqual(totals[count], sum(f[count] for f in account['folders']))
        self.assertEqual(totals['failed'], len(account['failures']))
        if foretold and code in (0, 1):
            self.check_foretold(json.loads(foretold.out), account)
        # Of a split conversion that goes on, the report names the parts written now, and not the others.
        in_parts = '--split' in arguments and {'--skip-existing', '--resume'} & set(arguments)
        if code in (0, 1) and not options and not in_parts:
            self.check_verified(arguments, account)
        return account

    def check_verified(self, arguments, account):
        """All that a conversion has read is in its PSTs, as it was."""
        psts = [part['path'] for part in account['parts']] or [account['destination']]
        options = iter(arguments[:-1])
        kept = []
        for argument in options:
            if argument in ('--split', '--size-limit', '--log', '--detailed-log', '--report', '--mapi', '--progress'):
                next(options)
            elif argument not in ('--append', '--overwrite', '--skip-existing', '--resume', '--timings', '-q', '--quiet'):
                kept.append(argument)
        run = self.parvane('verify', '--json', *kept, *psts)
        self.assertIn(run.code, (0, account['exitCode']), run)
        totals = json.loads(run.out)['totals']
        self.assertEqual(totals['expected'], totals['there'], run)

    def check_foretold(self, scan, account):
        """What a dry run has told is what the conversion counted."""
        self.assertEqual(scan['format'], 'parvane scan')
        for name in ('remarks', 'kept'):
            told = {k: v for k, v in scan['totals'][name].items() if v is not None}
            self.assertEqual(told, {k: account['totals'][name][k] for k in told})
        totals = account['totals'] | {k: scan['totals'][k] for k in (
            'firstDate', 'lastDate', 'undated', 'winmail', 'addressesKept', 'remarks', 'kept')}
        self.assertEqual(scan['totals'], {k: totals[k] for k in scan['totals']})
        for name in ('suspectedSeparators', 'passedOver', 'readFailures', 'indexesNotUsed', 'duplicates'):
            self.assertEqual(scan[name], account[name])
        for told, done in zip(scan['folders'], account['folders'], strict=True):
            self.assertEqual(*([folder[k] for k in ('source', 'read', 'failed', 'bytes', 'years')]
                               for folder in (told, done)))

    def listing(self, pst, *arguments):
        run = self.parvane('list', '--json', *arguments, pst)
        self.assertEqual((run.code, run.err), (0, ''), run)
        return json.loads(run.out)

    def listed_folders(self, pst):
        """{path: messages} of every folder but Outlook's own empty ones."""
        return {tuple(f['path']): f['messages'] for f in self.listing(pst)['folders']
                if f['messages'] or f['path'] != ['Deleted Items']}

    def assert_readers_agree(self, pst, messages, folders=None):
        """Independent readers open the PST, complain about nothing and find every message, in
        these folders ({path: messages}) if they are given."""
        self.assertEqual(self.listing(pst)['totals']['messages'], messages)
        tree = self.check_readpst(pst, messages)
        if folders is not None:
            self.assertEqual(tree, {path: count for path, count in folders.items() if count})
        self.check_lspst(pst, messages)
        self.check_pff(pst, messages)
        self.check_structure(pst)
        self.judged[pst] = self.state(pst)

    def check_readpst(self, pst, messages):
        out = self.folder / 'readpst'
        out.mkdir()
        run = Run(['readpst', '-j', '0', '-D', '-e', '-o', out, pst])
        self.assertEqual(run.code, 0, run)
        complaints = [line for line in (run.out + run.err).splitlines()
                      if not re.match(r'Opening PST|Processing Folder|\t".*" - \d+ items done, 0 items '
                                      r'skipped\.$', line)]
        self.assertEqual(complaints, [], run)
        # Folders become directories, below one for the file.
        tree = collections.Counter(f.parent.relative_to(out).parts[1:] for f in out.rglob('*.eml'))
        self.assertEqual(tree.total(), messages, run)
        shutil.rmtree(out)
        return tree

    def check_lspst(self, pst, messages):
        run = Run(['lspst', pst])
        self.assertEqual((run.code, run.err), (0, ''), run)
        # A folder's or a subject's text may hold line ends; only these begin at the margin.
        self.assertEqual(len(re.findall(r'^Email\t', run.out, re.M)), messages, run)

    def check_pff(self, pst, messages):
        info = Run(['pffinfo', pst])
        self.assertEqual((info.code, info.err), (0, ''), info)
        self.assertIn('Encryption type:\tcompressible', info.out)
        out = self.folder / 'pff'
        run = Run(['pffexport', '-q', '-t', out, pst])
        self.assertEqual((run.code, run.err), (0, ''), run)
        found = 0
        for path, folders, _ in os.walk(f'{out}.export'):
            found += sum(bool(re.fullmatch(r'Message\d{5,}', f)) for f in folders)
            # Messages inside messages are no items of their folder.
            folders[:] = [f for f in folders if not re.fullmatch(r'Message\d{5,}', f)]
        self.assertEqual(found, messages, run)
        for leftover in self.folder.glob('pff.*'):
            shutil.rmtree(leftover)

    def check_structure(self, pst):
        for program in (PARVANE, JUDGE) if JUDGE else (PARVANE,):
            run = self.parvane('check', '--notes', pst, program=program)
            self.assertEqual((run.code, run.out.count('\n'), run.err), (0, 1, ''), run)
            self.assertIn(': no fault found in ', run.out)
        if not CHECKER.exists():
            return
        run = Run([sys.executable, CHECKER, 'check', '--writer', pst])
        faults = [line for line in run.out.splitlines() if line.startswith(('ERROR', 'WARN'))]
        self.assertEqual((run.code, faults), (0, []), run)
