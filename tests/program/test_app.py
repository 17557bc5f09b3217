"""The local window: who is let in, what its interface does, how it begins and ends."""
import contextlib
import http.client
import json
import os
import pathlib
import re
import resource
import selectors
import signal
import socket
import subprocess
import time
import unittest
import urllib.parse

import mailboxes
from harness import PARVANE, WINDOWS, PstTest, linux, partial, shown

JSON = {'Content-Type': 'application/json'}
HEADERS = {'Cache-Control': 'no-store', 'Referrer-Policy': 'no-referrer', 'X-Content-Type-Options': 'nosniff',
           'Cross-Origin-Resource-Policy': 'same-origin', 'Cross-Origin-Opener-Policy': 'same-origin'}


class Answer:
    def __init__(self, response):
        self.status = response.status
        self.headers = response.headers
        self.body = response.read()

    @property
    def json(self):
        return json.loads(self.body)


class Window:
    """The program with its window, and a page's way of talking to it."""

    def __init__(self, folder, *arguments, **environment):
        self.environment = dict(os.environ, HOME=str(folder), XDG_DATA_HOME=str(folder / 'data'),
                                XDG_CONFIG_HOME=str(folder / 'config'), XDG_RUNTIME_DIR=str(folder), **environment)
        self.process = subprocess.Popen([PARVANE, 'app', *arguments], env=self.environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.address = self.process.stdout.readline().decode().strip() if '--no-browser' in arguments else ''
        self.be_at(self.address)

    def be_at(self, address):
        self.address = address
        self.host = urllib.parse.urlsplit(address).netloc
        self.prefix = urllib.parse.urlsplit(address).path
        self.origin = {'Origin': 'http://' + self.host}

    def request(self, method, path, body=None, headers={}, timeout=60):
        connection = http.client.HTTPConnection(self.host, timeout=timeout)
        with contextlib.closing(connection):
            connection.request(method, path, body, headers)
            return Answer(connection.getresponse())

    def get(self, path, /, **headers):
        return self.request('GET', self.prefix + path, headers=headers)

    def post(self, path, /, **body):
        return self.request('POST', self.prefix + 'api/' + path, json.dumps(body), self.origin | JSON)

    def done(self):
        """The run, when it is over."""
        while (run := self.get('api/run').json)['state'] == 'running':
            time.sleep(0.05)
        return run

    def close(self):
        self.post('goodbye')
        self.process.communicate(timeout=60)
        return self.process.returncode


class WindowTest(PstTest):

    def open(self, *arguments, **environment):
        window = Window(self.folder, *arguments, **environment)

        def end():
            if window.process.poll() is None:
                window.close() if window.address else window.process.kill()
            window.process.communicate()
        self.addCleanup(end)
        return window

    def chosen(self, window, *paths):
        answer = window.post('choose', paths=[shown(path) for path in paths])
        self.assertEqual(answer.status, 200, answer.body)
        return [{'id': source['id']} for source in answer.json['sources']]


class Strangers(WindowTest):

    def test_who_is_let_in(self):
        window = self.open('--no-browser')
        self.assertRegex(window.prefix, '^/[0-9a-f]{32}/$')
        own, origin, secret = window.host, window.origin, window.prefix
        port = own.split(':')[1]
        wrong = secret.replace(secret[5], 'f' if secret[5] != 'f' else '0')
        state, stop = secret + 'api/state', secret + 'api/stop'
        post = origin | JSON
        for status, method, path, headers in (
                (200, 'GET', secret, {}), (200, 'GET', state, {}), (200, 'GET', state, origin),
                (200, 'POST', stop, post), (200, 'POST', stop, origin | {'Content-Type': 'application/json; charset=utf-8'}),
                (200, 'GET', secret, {'Sec-Fetch-Site': 'cross-site', 'Sec-Fetch-Mode': 'navigate', 'Sec-Fetch-Dest': 'document'}),
                # Who does not know the secret.
                (404, 'GET', '/', {}), (404, 'GET', '/api/state', {}), (404, 'GET', wrong, {}), (404, 'GET', secret[:-1], {}),
                (404, 'GET', secret.upper() + 'x', {}), (404, 'POST', '/api/stop', post), (404, 'OPTIONS', '/', {}),
                (404, 'GET', '/x/..' + secret, {}), (404, 'GET', '/.' + state, {}), (404, 'GET', '/' + state, {}),
                # Who knows it, and is after files.
                (404, 'GET', secret + '../../etc/passwd', {}), (404, 'GET', secret + '%2e%2e/%2e%2e/etc/passwd', {}),
                (404, 'GET', secret + '..%2f..%2fetc%2fpasswd', {}), (404, 'GET', secret + '/etc/passwd', {}),
                (404, 'GET', secret + 'index.html%00.js', {}), (404, 'GET', secret + '..%5c..%5cwindows%5cwin.ini', {}),
                (404, 'GET', secret + 'a' * 5000, {}), (404, 'GET', secret + 'api/nothing', {}), (404, 'GET', stop, {}),
                (404, 'POST', secret + 'api/nothing', post),
                # A name that was made to lead here.
                *((403, 'GET', state, {'Host': host}) for host in (
                    'localhost:' + port, 'rebound.example:' + port, '127.0.0.1', own + '0', own + '.', '[::1]:' + port, '')),
                # A page of another site, or of another server of this machine.
                *((403, 'GET', state, {'Origin': o}) for o in ('null', 'http://evil.example', 'http://localhost:' + port)),
                *((403, 'GET', state, {'Sec-Fetch-Site': s, 'Sec-Fetch-Mode': 'no-cors', 'Sec-Fetch-Dest': 'script'})
                  for s in ('cross-site', 'same-site')),
                (403, 'GET', state, {'Sec-Fetch-Site': 'cross-site', 'Sec-Fetch-Mode': 'navigate', 'Sec-Fetch-Dest': 'document'}),
                (403, 'GET', secret, {'Sec-Fetch-Site': 'cross-site', 'Sec-Fetch-Mode': 'navigate', 'Sec-Fetch-Dest': 'iframe'}),
                (403, 'POST', stop, JSON), (403, 'POST', stop, JSON | {'Origin': 'null'}),
                (403, 'POST', stop, JSON | {'Origin': f'https://{own}'}), (403, 'POST', stop, post | {'Sec-Fetch-Site': 'same-site'}),
                (403, 'POST', secret + 'api/goodbye', {'Content-Type': 'text/plain'}),
                # Its forms.
                *((415, 'POST', stop, origin | {'Content-Type': t}) for t in (
                    'text/plain', 'application/x-www-form-urlencoded', 'multipart/form-data; boundary=a', 'application/jsonp')),
                (415, 'POST', stop, origin),
                *((405, method, state, origin) for method in ('HEAD', 'PUT', 'DELETE', 'OPTIONS', 'PATCH'))):
            with self.subTest(method=method, path=path, headers=headers):
                answer = window.request(method, path, '{}' if method == 'POST' else None, {'Host': own} | headers)
                self.assertEqual(answer.status, status, answer.body)
                self.assertLessEqual(HEADERS.items(), dict(answer.headers).items())
                self.assertIn("default-src 'none'; script-src 'self';", answer.headers['Content-Security-Policy'])
                self.assertNotIn('Access-Control-Allow-Origin', answer.headers)
                if status != 200 and not path.startswith(secret + 'api/nothing'):
                    self.assertEqual(answer.body, b'')

    def test_what_is_not_understood_harms_nothing(self):
        window = self.open('--no-browser')
        post = f'POST {window.prefix}api/choose HTTP/1.1\r\nHost: {window.host}\r\n' \
               f'Origin: http://{window.host}\r\nContent-Type: application/json\r\n'
        state = f'GET {window.prefix}api/state HTTP/1.1\r\nHost: {window.host}\r\n'
        for name, data, status in (
                ('nothing', '', ''), ('no request', 'hello\r\n\r\n', '400'), ('no line end', 'A' * 100_000, ''),
                ('two hosts', state + 'Host: evil.example\r\n\r\n', '403'),
                ('an endless head', state + 'X: y\r\n' * 400_000, ''),
                ('a long field', state + f'X: {"y" * 20_000}\r\n\r\n', '400'),
                ('many ranges', state + f'Range: bytes={"0-1," * 2000}0-1\r\n\r\n', '200'),
                ("another server's cookies", state + f'cookie: a={"b" * 20_000}\r\nX: y\r\n\r\n', '200'),
                ('hidden by a cookie', state + 'Cookie: a\r\nHost: evil.example\r\n\r\n', '403'),
                ('cookies in a body', post + 'Content-Length: 9\r\n\r\ncookie: a', '400'),
                ('a large body', post + 'Content-Length: 2000000\r\n\r\n' + ' ' * 2_000_000, '413'),
                ('a large body in chunks', post + 'Transfer-Encoding: chunked\r\n\r\n' + ('fff\r\n' + ' ' * 4095 + '\r\n') * 600, ''),
                ('no number', post + 'Content-Length: -1\r\n\r\n{}', ''),
                ('nested', post + 'Content-Length: 900000\r\n\r\n' + '[' * 900_000, '400'),
                ('no object', post + 'Content-Length: 2\r\n\r\n[]', '400'),
                ('wrong types', post + 'Content-Length: 14\r\n\r\n{"paths": "a"}', '400')):
            with self.subTest(name), socket.create_connection(window.host.split(':'), timeout=60) as client:
                with contextlib.suppress(OSError):
                    client.sendall(data.encode())
                    client.shutdown(socket.SHUT_WR)
                    self.assertEqual(client.recv(12)[9:].decode(), status) if status else client.recv(1)
                self.assertEqual(window.get('api/state').status, 200)

    @linux
    def test_ten_thousand_at_once(self):
        hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        count = min(10_000, hard[1] - 100)
        resource.setrlimit(resource.RLIMIT_NOFILE, (hard[1], hard[1]))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, hard)
        window = self.open('--no-browser')
        statuses, silent = {}, []
        with selectors.DefaultSelector() as selector:
            for number in range(count):
                client = socket.socket()
                client.setblocking(False)
                client.connect_ex(tuple(window.host.split(':')[:1]) + (int(window.host.split(':')[1]),))
                selector.register(client, selectors.EVENT_WRITE, number)
            end = time.time() + 240
            while selector.get_map() and time.time() < end:
                for key, events in selector.select(1):
                    try:
                        if events & selectors.EVENT_WRITE:
                            # Every hundredth says nothing, and every other one knows the secret.
                            path = window.prefix + 'api/state' if key.data % 2 else '/'
                            if key.data % 100 == 0:
                                silent.append(key.fileobj)
                                selector.unregister(key.fileobj)
                                continue
                            key.fileobj.send(f'GET {path} HTTP/1.1\r\nHost: {window.host}\r\n\r\n'.encode())
                            selector.modify(key.fileobj, selectors.EVENT_READ, key.data)
                            continue
                        status = key.fileobj.recv(12)[9:]
                    except OSError:
                        status = b'broken'
                    statuses[status] = statuses.get(status, 0) + 1
                    selector.unregister(key.fileobj)
                    key.fileobj.close()
        for client in silent:
            client.close()
        # Who does not come to say a word for a second, on a busy machine, is sent away.
        self.assertLessEqual(statuses.pop(b'broken', 0), count // 1000, statuses)
        self.assertEqual(set(statuses), {b'200', b'404'})
        self.assertGreater(sum(statuses.values()), count - count // 100 - count // 1000 - 1)
        self.assertEqual(window.get('api/state').status, 200)

    @linux
    def test_other_users_learn_nothing(self):
        tools = self.folder / 'tools'
        seen = self.folder / 'seen'
        script = self.write('tools/xdg-open', f'#!/bin/sh\nstat -c %a "$1" >{seen}.mode; cat "$1" >{seen}.page; '
                            f'echo "$@" >{seen}\n'.encode())
        script.chmod(0o755)
        window = self.open(PATH=f'{tools}:{os.environ["PATH"]}')
        while not seen.exists() or not seen.read_text():
            time.sleep(0.02)
        start = pathlib.Path(seen.read_text().strip())
        self.assertEqual(pathlib.Path(f'{seen}.mode').read_text(), '600\n')
        self.assertEqual(start.parent.stat().st_mode & 0o777, 0o700)
        window.be_at(re.search(r'url=(http://[^"]*)', pathlib.Path(f'{seen}.page').read_text())[1])
        secret = window.prefix.strip('/')
        for process in pathlib.Path('/proc').glob('[0-9]*'):
            with contextlib.suppress(OSError):
                self.assertNotIn(secret, (process / 'cmdline').read_text() + (process / 'environ').read_text('latin-1'))
        note = start.parent / 'window'
        self.assertEqual((note.stat().st_mode & 0o777, start.exists()), (0o600, True))
        self.assertEqual(window.get('').status, 200)
        self.assertFalse(start.exists())
        self.assertEqual(window.close(), 0)
        self.assertFalse(note.exists())


class Life(WindowTest):

    def test_a_second_start_shows_the_first(self):
        window = self.open('--no-browser')
        second = Window(self.folder, '--no-browser')
        out, err = second.process.communicate(timeout=60)
        self.assertEqual((second.process.returncode, second.address, err), (0, window.address, b''))
        # It ends when it is left, but not when it is merely loaded anew.
        window.post('goodbye')
        time.sleep(2)
        self.assertEqual(window.get('api/state').status, 200)
        time.sleep(4)
        self.assertIsNone(window.process.poll())
        begun = time.time()
        self.assertEqual(window.close(), 0)
        self.assertGreater(time.time() - begun, 4)

    @linux
    def test_one_that_was_killed_is_in_nobodys_way(self):
        first = self.open('--no-browser')
        first.process.kill()
        first.process.communicate()
        second = self.open('--no-browser')
        self.assertNotEqual(second.address, first.address)
        self.assertEqual(second.get('api/state').status, 200)
        second.process.send_signal(signal.SIGTERM)
        second.process.communicate(timeout=30)
        self.assertEqual(second.process.returncode, 0)


class Interface(WindowTest):

    def setUp(self):
        super().setUp()
        self.inbox = self.write('mail/Inbox.mbox', mailboxes.many(30))
        self.write('mail/Inbox.sbd/Later.mbox', mailboxes.many(7, seed=2))
        self.write('mail/Sent.mbox', mailboxes.message(
            1, 'with a picture', '--b\nContent-Type: text/html\n\n<script>alert(1)</script><p>kept<img src="cid:p@x">\n'
            '--b\nContent-Type: image/png\nContent-ID: <p@x>\nContent-Disposition: attachment; filename="../..\\a\u202e\r\n'
            ' gnp.exe"\nContent-Transfer-Encoding: base64\n\niVBORw0KGgo=\n--b--\n',
            extra='MIME-Version: 1.0\nContent-Type: multipart/related; boundary=b\n'))
        self.pst = self.folder / 'out.pst'
        self.window = self.open('--no-browser')

    def converted(self, sources, code=200, **more):
        answer = self.window.post('convert', sources=sources, destination=shown(self.pst), **more)
        self.assertEqual(answer.status, code, answer.body)
        return self.window.done() if code == 200 else answer.json

    def test_from_choosing_to_looking_inside(self):
        window = self.window
        state = window.get('api/state').json
        self.assertEqual((state['run'], state['system']), (None, 'windows' if WINDOWS else 'linux'))
        folder = shown(self.folder / 'mail')
        listing = window.post('browse', path=folder).json
        self.assertEqual({(e['name'], e['folder'], e['mail']) for e in listing['entries']},
                         {('Inbox.sbd', True, ''), ('Inbox.mbox', False, 'mbox'), ('Sent.mbox', False, 'mbox')})
        self.assertEqual(listing['parent'], shown(self.folder))
        # What nobody chose is not read.
        for path, body in (('scan', {'sources': [{'path': folder}]}), ('open', {'path': shown(self.inbox)}),
                           ('convert', {'sources': [{'path': folder}], 'destination': shown(self.pst)})):
            self.assertEqual((window.post(path, **body).status, path), (403, path))
        for path, status in (('nothing/there', 400), (shown(self.folder / 'none'), 404), (shown(self.folder / 'out'), 404)):
            self.assertEqual(window.post('choose', paths=[path]).status, status, path)
        sources = self.chosen(window, self.folder / 'mail')
        self.assertEqual(window.post('scan', sources=sources, options={'since': 'never'}).status, 400)
        self.assertEqual(window.post('scan', sources=sources).json['run']['kind'], 'scan')
        scan = window.done()
        self.assertEqual((scan['state'], scan['result']['format'], scan['result']['totals']['read']), ('done', 'parvane scan', 38))
        proposed = window.post('destination', sources=sources).json
        self.assertGreater(proposed['free'], 0)
        self.assertTrue(proposed['path'].endswith('.pst'))
        # Just these folders, and not what lies below them.
        inbox = next(f['path'] for f in scan['result']['folders'] if f['path'][-1] == 'Inbox')
        run = self.converted(sources, options={'folders': [inbox], 'keep': ['state'], 'dedup': 'off'})
        self.assertEqual((run['state'], run['result']['totals']['written']), ('done', 30), run['result'])
        self.assertEqual(run['result']['destination'], shown(self.pst))
        self.assertIn('30 messages', run['result']['summary'])
        self.assertEqual(sum(f['written'] for f in run['folders']), 30)
        self.assertEqual(self.converted(sources, code=409)['code'], 'exists')
        run = self.converted(sources, add=True)
        self.assertEqual(run['result']['totals']['written'], 8)
        self.assertEqual(self.converted(sources, replace=True)['result']['totals']['written'], 38)
        report = window.get('api/report.json')
        self.assertIn('attachment', report.headers['Content-Disposition'])
        self.assertEqual(report.json['totals']['written'], 38)
        self.assertIn(b'"written":38', window.get('api/report.html').body.replace(b' ', b''))
        self.look_inside()

    def look_inside(self):
        window = self.window
        pst = window.post('open', path=shown(self.pst)).json
        sent = next(f for f in pst['folders'] if f['name'] == 'Sent')
        at = f'api/pst/{pst["pst"]}/'
        page = window.get(f'{at}messages?folder={sent["id"]}&from=0&count=10').json
        self.assertEqual((page['total'], page['rows'][0]['subject']), (1, 'with a picture'))
        message = 'id=' + page['rows'][0]['id']
        shown_message = window.get(f'{at}message?{message}').json
        self.assertEqual(shown_message['body'], 'html')
        document = window.get(f'{at}document?{message}', **{'Sec-Fetch-Site': 'same-origin'})
        policy = document.headers['Content-Security-Policy']
        self.assertTrue(policy.startswith("sandbox; default-src 'none'; img-src http://127.0.0.1:"), policy)
        self.assertNotIn('script', policy)
        self.assertNotIn(b'<script', document.body)
        self.assertIn(b'kept', document.body)
        picture = shown_message['attachments'][0]['n']
        self.assertIn(f'attachment?{message}&amp;n={picture}'.encode(), document.body)
        # As the frame asks for it, which has no origin.
        frame = {'Sec-Fetch-Site': 'cross-site', 'Sec-Fetch-Mode': 'no-cors', 'Sec-Fetch-Dest': 'image', 'Origin': 'null'}
        file = window.get(f'{at}attachment?{message}&n={picture}', **frame)
        self.assertEqual((file.body, file.headers['Content-Type']), (b'\x89PNG\r\n\x1a\n', 'image/png'))
        name = re.fullmatch(r"attachment; filename=\"([^\"/\\]*)\"; filename\*=UTF-8''([\w.%-]*)", file.headers['Content-Disposition'])
        self.assertNotRegex(urllib.parse.unquote(name[2]), '[/\\\\\u202e\r\n]|^[.]')
        self.assertEqual(window.get(f'{at}attachment?{message}&n=99').status, 400)
        for wrong in ('messages?folder=x', 'message?id=../1', 'nothing', 'document'):
            self.assertIn(window.get(at + wrong).status, (400, 404), wrong)
        self.assertEqual(window.request('POST', window.prefix + at + 'close', '{}', window.origin | JSON).status, 200)
        self.assertEqual(window.get(f'{at}message?{message}').json['code'], 'closed')

    def test_one_at_a_time_and_a_clean_stop(self):
        window = self.window
        large = self.write('large.mbox', mailboxes.many(150_000))
        sources = self.chosen(window, large)
        self.assertEqual(window.post('convert', sources=sources, destination=shown(self.pst)).status, 200)
        for path, body in (('convert', {'sources': sources, 'destination': shown(self.folder / 'b.pst')}),
                           ('scan', {'sources': sources}), ('choose', {'paths': [shown(self.inbox)]}),
                           ('open', {'path': shown(large), 'id': sources[0]['id']})):
            answer = window.post(path, **body)
            self.assertEqual((answer.status, answer.json['code']), (409, 'busy'), path)
        while window.get('api/run').json['figures']['messages'] < 2000:
            time.sleep(0.05)
        # Who closes the page stops nothing.
        window.post('goodbye')
        time.sleep(0.1)
        window.post('stop')
        run = window.done()
        report = run['result']
        self.assertEqual((run['state'], report['exitCode']), ('stopped', 130))
        self.assertFalse(self.pst.exists())
        left = partial(self.pst)
        self.assertEqual(self.listing(left)['totals']['messages'], report['totals']['written'])
        run = self.converted(sources)
        self.assertEqual((run['state'], run['result']['resumed']), ('done', True), run['result'])
        self.assertEqual(self.listing(self.pst)['totals']['messages'], 150_000)
        self.assertFalse(left.exists())

    @linux
    def test_ctrl_c_stops_a_conversion_cleanly(self):
        window = self.window
        sources = self.chosen(window, self.write('large.mbox', mailboxes.many(100_000)))
        window.post('convert', sources=sources, destination=shown(self.pst))
        while window.get('api/run').json['figures']['messages'] < 2000:
            time.sleep(0.05)
        window.process.send_signal(signal.SIGINT)
        window.process.communicate(timeout=60)
        self.assertEqual(window.process.returncode, 130)
        self.assertGreater(self.listing(partial(self.pst))['totals']['messages'], 0)


if __name__ == '__main__':
    unittest.main()
