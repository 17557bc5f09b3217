"""Moves e-mail into Outlook PST files, and looks into them.

    import parvane

    account = parvane.convert(['/home/me/mail'], 'mail.pst', keep='all', progress=print)
    print(account.outcome, account.summary)

    with parvane.open('mail.pst') as pst:
        for folder in pst.folders():
            for message in folder.messages():
                print('/'.join(folder.path), message.time, message.subject)

The shared library does the work (libparvane.so.0, as the Debian package libparvane0 brings it); the environment
variable PARVANE_LIBRARY names another one. One conversion or open PST at a time in a process.
"""
import collections.abc
import ctypes
import datetime
import enum
import json
import os

__all__ = ['Account', 'Attachment', 'Error', 'Folder', 'Message', 'Outcome', 'Pst', 'convert', 'open', 'scan', 'version']


class Error(Exception):
    """What was asked for means nothing, or could not be done."""


class Outcome(enum.IntEnum):
    """What the program's exit status says, too."""
    DONE = 0
    MAIL_LEFT_BEHIND = 1
    WRONG_USAGE = 2
    COULD_NOT_FINISH = 3
    CANCELLED = 130


_PROGRESS = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.c_uint64)
_NOTICE = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)
_CANCELLED = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p)


class _Observer(ctypes.Structure):
    _fields_ = [('context', ctypes.c_void_p), ('progress', _PROGRESS), ('notice', _NOTICE), ('cancelled', _CANCELLED)]


class _Folder(ctypes.Structure):
    _fields_ = [('id', ctypes.c_char_p), ('parent', ctypes.c_char_p), ('name', ctypes.c_char_p),
                ('messages', ctypes.c_uint64), ('unread', ctypes.c_uint64)]


class _Message(ctypes.Structure):
    _fields_ = [*((name, ctypes.c_char_p) for name in ('id', 'subject', 'from_', 'to', 'cc', 'bcc', 'headers')),
                ('time', ctypes.c_int64), ('delivered', ctypes.c_int64), ('bytes', ctypes.c_uint64),
                ('attachments', ctypes.c_size_t),
                *((name, ctypes.c_int) for name in ('unread', 'flagged', 'replied', 'forwarded'))]


class _Attachment(ctypes.Structure):
    _fields_ = [('name', ctypes.c_char_p), ('type', ctypes.c_char_p), ('message', ctypes.c_char_p),
                ('link', ctypes.c_char_p), ('bytes', ctypes.c_uint64)]


_TAKE_MESSAGE = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.POINTER(_Message))
_TAKE_BYTES = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t)

_TEXT, _HANDLE, _COUNT = ctypes.c_char_p, ctypes.c_void_p, ctypes.c_uint64
# The functions of parvane/c_api.h that are called here: what they yield, what they take.
_FUNCTIONS = {
    'version': (_TEXT,),
    'options_new': (_HANDLE,),
    'options_free': (None, _HANDLE),
    'options_set': (ctypes.c_int, _HANDLE, _TEXT, _TEXT),
    'convert': (_HANDLE, ctypes.POINTER(_TEXT), ctypes.c_size_t, _TEXT, _HANDLE, ctypes.POINTER(_Observer)),
    'scan': (_HANDLE, ctypes.POINTER(_TEXT), ctypes.c_size_t, _TEXT, _HANDLE, ctypes.POINTER(_Observer)),
    'account_free': (None, _HANDLE),
    'account_outcome': (ctypes.c_int, _HANDLE),
    'account_error': (_TEXT, _HANDLE),
    'account_read': (_COUNT, _HANDLE),
    'account_written': (_COUNT, _HANDLE),
    'account_failed': (_COUNT, _HANDLE),
    'account_summary': (_TEXT, _HANDLE),
    'account_report': (_TEXT, _HANDLE),
    'pst_open': (_HANDLE, _TEXT),
    'pst_close': (None, _HANDLE),
    'pst_error': (_TEXT, _HANDLE),
    'pst_folder_count': (ctypes.c_size_t, _HANDLE),
    'pst_folder': (ctypes.c_int, _HANDLE, ctypes.c_size_t, ctypes.POINTER(_Folder)),
    'pst_messages': (ctypes.c_int, _HANDLE, _TEXT, _COUNT, ctypes.c_size_t, _TAKE_MESSAGE, ctypes.c_void_p),
    'pst_message': (ctypes.c_int, _HANDLE, _TEXT, ctypes.POINTER(_Message)),
    'pst_page': (_TEXT, _HANDLE, _TEXT),
    'pst_attachment': (ctypes.c_int, _HANDLE, ctypes.c_size_t, ctypes.POINTER(_Attachment)),
    'pst_read_attachment': (ctypes.c_int, _HANDLE, ctypes.c_size_t, _TAKE_BYTES, ctypes.c_void_p),
}


def _load():
    library = ctypes.CDLL(os.environ.get('PARVANE_LIBRARY', 'libparvane.so.0'))
    for name, (result, *arguments) in _FUNCTIONS.items():
        function = getattr(library, 'parvane_' + name)
        function.restype, function.argtypes = result, arguments
    return library


_library = _load()


def _call(name, *arguments):
    return getattr(_library, 'parvane_' + name)(*arguments)


def _text(value):
    return (value or b'').decode('utf-8', 'replace')


def _moment(seconds):
    if not seconds:
        return None
    return datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc) + datetime.timedelta(seconds=seconds)


def version():
    return _text(_call('version'))


class Account:
    """What has become of the mail."""

    def __init__(self, handle):
        self.outcome = Outcome(_call('account_outcome', handle))
        self.error = _text(_call('account_error', handle))
        self.read, self.written, self.failed = (_call('account_' + what, handle) for what in ('read', 'written', 'failed'))
        self.summary = _text(_call('account_summary', handle))
        self.report = json.loads(_text(_call('account_report', handle)))  # its fields: docs/manual.md


class _Watching:
    """The observer of one run; what a callback throws ends the run, and is thrown when it has ended."""

    def __init__(self, progress, notice):
        self.error = None
        self.observer = _Observer(None, _PROGRESS(self._guarded(progress)), _NOTICE(self._guarded(notice)),
                                  _CANCELLED(lambda context: self.error is not None))

    def _guarded(self, call):
        def guarded(_, *arguments):
            if call is None or self.error is not None:
                return
            try:
                call(*(_text(one) if isinstance(one, bytes) else one for one in arguments))
            except BaseException as error:  # pylint: disable=broad-except
                self.error = error
        return guarded


def _run(call, sources, destination, progress, notice, options):
    if isinstance(sources, (str, bytes, os.PathLike)):
        sources = [sources]
    paths = [os.fsencode(source) for source in sources]
    watching = _Watching(progress, notice)
    handle = _call('options_new')
    account = None
    try:
        for name, value in options.items():
            values = [value] if isinstance(value, (str, bytes, os.PathLike, bool)) else value
            for one in values:
                if one is False:
                    continue
                word = None if one is True else os.fsencode(one)
                if _call('options_set', handle, name.rstrip('_').replace('_', '-').encode(), word) != 0:
                    raise Error(f'there is no option {name}')
        account = _call(call, (ctypes.c_char_p * len(paths))(*paths), len(paths),
                        None if destination is None else os.fsencode(destination), handle,
                        ctypes.byref(watching.observer))
        if not account:
            raise MemoryError()
        if watching.error is not None:
            raise watching.error
        if _call('account_outcome', account) == Outcome.WRONG_USAGE:
            raise Error(_text(_call('account_error', account)))
        return Account(account)
    finally:
        _call('account_free', account)
        _call('options_free', handle)


def convert(sources, destination, *, progress=None, notice=None, **options):
    """Writes mail into a PST. Options are those of `parvane convert`, with "_" for "-"; from_ for from.

    progress(folder, done, total, messages) is called after every message, notice(text) before the work; what
    either throws ends the conversion cleanly.
    """
    return _run('convert', sources, destination, progress, notice, options)


def scan(sources, destination=None, *, progress=None, notice=None, **options):
    """What a conversion would do, from reading alone."""
    return _run('scan', sources, destination, progress, notice, options)


class Attachment:
    """A file or message attached to a message."""

    def __init__(self, message, number, found):
        self._message, self._number = message, number
        self.name, self.type, self.size = _text(found.name), _text(found.type), found.bytes
        self.link = _text(found.link)  # what the message's page calls it
        self._id = found.message

    @property
    def message(self):
        """The attached message; None: it is a file."""
        return Message(self._message.pst, self._id) if self._id else None

    def read(self):
        """The bytes of a file."""
        pieces = []

        def take(_, data, count):
            pieces.append(ctypes.string_at(data, count))
            return 0

        self._message.load()
        self._message.pst.check(_call('pst_read_attachment', self._message.pst.handle, self._number, _TAKE_BYTES(take), None))
        return b''.join(pieces)


class Message:
    """A message. What a list of messages does not know is read when it is asked for; lists know senders and
    recipients by their names alone until load() was called."""

    _LISTED = ('subject', 'sender', 'time', 'size', 'unread', 'flagged', 'replied', 'forwarded')

    def __init__(self, pst, identity, row=None):
        self.pst, self._id = pst, identity
        if row is not None:
            self._take(row)

    def _take(self, found):
        self.subject, self.sender, self.to = _text(found.subject), _text(found.from_), _text(found.to)
        self.time, self.size = _moment(found.time), found.bytes
        self.unread, self.flagged = bool(found.unread), bool(found.flagged)
        self.replied, self.forwarded = bool(found.replied), bool(found.forwarded)

    def load(self):
        """All of it, anew."""
        found = _Message()
        self.pst.check(_call('pst_message', self.pst.handle, self._id, ctypes.byref(found)))
        self._take(found)
        self.cc, self.bcc, self.headers = _text(found.cc), _text(found.bcc), _text(found.headers)
        self.delivered = _moment(found.delivered)
        self._attachments = found.attachments
        return self

    def __getattr__(self, name):
        if name.startswith('__') or name not in ('cc', 'bcc', 'headers', 'delivered', '_attachments', 'to', *self._LISTED):
            raise AttributeError(name)
        return self.load().__dict__[name]

    @property
    def page(self):
        """Its text as HTML that nothing dangerous is left in; its pictures are links to attachments."""
        found = _call('pst_page', self.pst.handle, self._id)
        if found is None:
            self.pst.check(-1)
        return _text(found)

    @property
    def attachments(self):
        self.load()
        found, attachments = _Attachment(), []
        for number in range(self._attachments):
            self.pst.check(_call('pst_attachment', self.pst.handle, number, ctypes.byref(found)))
            attachments.append(Attachment(self, number, found))
        return attachments


class Folder:
    """A folder of a PST; `path` from the top."""

    def __init__(self, pst, found, path):
        self._pst, self._id = pst, found.id
        self.path, self.name = path, path[-1]
        self.count, self.unread = found.messages, found.unread

    def messages(self) -> collections.abc.Iterator[Message]:
        """All of them, read as they are asked for."""
        page, at = 100, 0
        while at < self.count:
            rows, seen = [], []

            def take(_, row):
                seen.append(row)
                if row.contents.id:
                    rows.append(Message(self._pst, row.contents.id, row.contents))
                return 0

            self._pst.check(_call('pst_messages', self._pst.handle, self._id, at, page, _TAKE_MESSAGE(take), None))
            if not seen:
                return
            at += len(seen)
            yield from rows


class Pst:
    """A PST opened for looking into it; nothing is changed in it."""

    def __init__(self, path):
        self.handle = _call('pst_open', os.fsencode(path))
        if not self.handle:
            raise MemoryError()
        why = _call('pst_error', self.handle)
        if why is not None:
            why = _text(why)
            self.close()
            raise Error(why)

    def check(self, result):
        if not self.handle:
            raise Error('the PST is closed')
        if result != 0:
            raise Error(_text(_call('pst_error', self.handle)) or 'it is not there')

    def close(self):
        if self.handle:
            _call('pst_close', self.handle)
        self.handle = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def folders(self):
        self.check(0)
        found, paths, folders = _Folder(), {b'': ()}, []
        for number in range(_call('pst_folder_count', self.handle)):
            self.check(_call('pst_folder', self.handle, number, ctypes.byref(found)))
            paths[found.id] = (*paths.get(found.parent, ()), _text(found.name))
            folders.append(Folder(self, found, paths[found.id]))
        return folders


def open(path):  # pylint: disable=redefined-builtin
    """A PST to look into, by any program's."""
    return Pst(path)
