"""What a mailbox says, decoded by Python's own email package: the independent second opinion.

Only the cutting of the mbox into messages follows the rules of this project's format: a line that
begins with "From " and goes on ends a message, and one ">" is taken from a quoted separator.
"""
import email
import email.header
import email.policy
import email.utils
import hashlib
import re

QUOTED = re.compile(rb'>+From .?')
TO, CC, BCC = 1, 2, 3


def split_mbox(data):
    """The messages' bytes, line ends as CR LF."""
    lines = re.split(rb'\r\n|\r|\n', data)
    if lines[-1] == b'':
        lines.pop()
    messages, current = [], []
    for line in lines[1:]:
        if line.startswith(b'From ') and len(line) > 4:
            messages.append(current)
            current = []
        else:
            current.append(line[1:] if QUOTED.match(line) else line)
    messages.append(current)
    return [b''.join(line + b'\r\n' for line in lines) for lines in messages if lines]


def decoded(value):
    """A header value with its encoded words decoded and its folding undone."""
    value = re.sub(r'\r?\n[ \t]*', ' ', str(value))
    pieces = []
    try:
        for text, charset in email.header.decode_header(value):
            if isinstance(text, bytes):
                text = decode_bytes(text, charset)
            pieces.append(text)
    except (email.errors.HeaderParseError, ValueError):
        return value
    return ''.join(pieces)


# Mail that says one of these is read as windows-1252 everywhere: its curly quotes are no controls.
READ_AS_WINDOWS = ('us-ascii', 'ascii', 'iso-8859-1', 'iso8859-1', 'latin-1', 'latin1')


def decode_bytes(data, charset):
    """Text in the charset a message names; without one, or with a wrong one, UTF-8 if it is that."""
    known = charset and charset.lower() not in READ_AS_WINDOWS
    for attempt in ((charset,) if known else ()) + ('utf-8',):
        try:
            return data.decode(attempt)
        except (LookupError, UnicodeDecodeError):
            pass
    try:
        return data.decode(charset if known else 'windows-1252', 'replace')
    except LookupError:
        return data.decode('windows-1252', 'replace')


def raw(value):
    """Header text with its 8-bit bytes read as what they most likely are."""
    text = str(value)
    try:
        return decode_bytes(text.encode('ascii', 'surrogateescape'), None)
    except UnicodeEncodeError:
        return text


def squeeze(text):
    """White space does not count in headers."""
    return ' '.join((text or '').replace('\0', '').split())


class SourceMessage:

    def __init__(self, data):
        self.data = data
        self.mail = email.message_from_bytes(data, policy=email.policy.compat32)

    def header(self, name):
        value = self.mail.get(name)
        return None if value is None else raw(value)

    @property
    def subject(self):
        return squeeze(decoded(self.header('Subject') or ''))

    def addresses(self, *names):
        values = [re.sub(r'\r?\n[ \t]*', ' ', raw(v)) for n in names
                  for v in self.mail.get_all(n, [])]
        return [(squeeze(decoded(name)), address.strip())
                for name, address in email.utils.getaddresses(values) if name or address]

    @property
    def recipients(self):
        found = []
        for kind, name in ((TO, 'To'), (CC, 'Cc'), (BCC, 'Bcc')):
            found += [(kind, n or a, a) for n, a in self.addresses(name)]
        return found

    @property
    def date(self):
        """Seconds since 1970, or None."""
        value = self.header('Date')
        parts = email.utils.parsedate_tz(value) if value else None
        return email.utils.mktime_tz(parts) if parts else None

    def leaves(self):
        """The parts that hold something, messages inside not entered, each with whether it is an
        attachment."""
        pending = [self.mail]
        while pending:
            part = pending.pop()
            if part.get_content_type() == 'message/rfc822':
                yield part, True
            elif part.is_multipart():
                pending += reversed(part.get_payload())
            else:
                kind = part.get_content_disposition()
                yield part, kind == 'attachment' or bool(part.get_filename())

    def body(self, subtype):
        for part, attached in self.leaves():
            if not attached and part.get_content_type() == f'text/{subtype}':
                return decode_bytes(part.get_payload(decode=True) or b'',
                                    part.get_content_charset())
        return None

    def attachment_hashes(self):
        """Of the decoded bytes of everything that is neither a body nor a message."""
        hashes, bodies = [], set()
        for part, attached in self.leaves():
            kind = part.get_content_type()
            if kind == 'message/rfc822':
                continue
            if not attached and kind in ('text/plain', 'text/html') and kind not in bodies:
                bodies.add(kind)
                continue
            hashes.append(hashlib.sha256(part.get_payload(decode=True) or b'').hexdigest())
        return sorted(hashes)

    def header_fields(self):
        return [(name.lower(), squeeze(raw(value))) for name, value in self.mail.items()]
