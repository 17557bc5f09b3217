"""Mailboxes made for the tests: each function returns the bytes of one mbox file.

Everything is a function of its arguments, so that two runs test the same bytes.
"""
import base64
import random

WORDS = ('harbour', 'letter', 'morning', 'quay', 'window', 'bread', 'island', 'answer', 'ticket',
         'garden', 'paper', 'river', 'evening', 'number', 'station', 'market')

SCRIPTS = {
    'Latin': 'Ærø Übergrößen façade naïve Łódź',
    'Greek': 'Καλημέρα σε όλους',
    'Cyrillic': 'Встреча во вторник',
    'Hebrew': 'רשימת אורחים',
    'Arabic': 'قائمة الضيوف',
    'Devanagari': 'नमस्ते दुनिया',
    'Thai': 'สวัสดีชาวโลก',
    'Chinese': '会议通知 議程',
    'Japanese': '会議のお知らせ カナ',
    'Korean': '안녕하세요 세계',
    'Emoji': '☀️ 🎉 👨‍👩‍👧',
}


def encoded_word(text):
    return ' '.join('=?utf-8?B?%s?=' % base64.b64encode(text[i:i + 12].encode()).decode()
                    for i in range(0, len(text), 12))


def message(number, subject='', body='', to='Tomas <tomas@example.org>', extra=''):
    """One message with its separator line."""
    day = 1 + number % 28
    return (f'From ingrid@example.org Fri Mar {day:2d} 08:00:00 2019\n'
            f'From: Ingrid <ingrid@example.org>\n'
            f'To: {to}\n'
            f'Subject: {subject or "message %d" % number}\n'
            f'Date: Fri, {day:02d} Mar 2019 08:{number // 60 % 60:02d}:{number % 60:02d} +0100\n'
            f'Message-ID: <{number}.generated@example.org>\n'
            f'{extra}\n'
            f'{body or "Body of message %d.%s" % (number, chr(10))}\n').encode()


def many(count, seed=1):
    """Short messages."""
    chance = random.Random(seed)
    return b''.join(
        message(i, body=' '.join(chance.choices(WORDS, k=chance.randint(3, 60))) + '\n')
        for i in range(count))


def large_body(size):
    line = ' '.join(WORDS) + '\n'
    return message(0, 'a large body', line * (size // len(line) + 1))


def long_subject(length):
    subject = ('subject ' * (length // 8 + 1))[:length - 1] + '.'
    # A line is cut where a space stands, which the next line begins with.
    folded = '\n '.join(subject[i:i + 72].rstrip() for i in range(0, length, 72))
    return message(0, folded)


def many_recipients(count):
    people = (f'Person {i} <person{i}@example.org>' for i in range(count))
    return message(0, 'to all of you', to=',\n '.join(people))


def scripts():
    return b''.join(
        message(i, encoded_word(text), to=f'{encoded_word(text)} <someone@example.org>',
                extra='MIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n'
                      'Content-Transfer-Encoding: 8bit\n',
                body=f'{name}: {text}\n')
        for i, (name, text) in enumerate(SCRIPTS.items()))


def attachments(count, size, seed=2):
    """Messages that are nearly all attachment."""
    chance = random.Random(seed)
    parts = []
    for i in range(count):
        data = base64.encodebytes(chance.randbytes(size)).decode()
        parts.append(message(
            i, f'files {i}',
            extra='MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary="cut"\n',
            body=f'--cut\nContent-Type: text/plain\n\nA file.\n--cut\n'
                 f'Content-Type: application/octet-stream; name="data{i}.bin"\n'
                 f'Content-Disposition: attachment; filename="data{i}.bin"\n'
                 f'Content-Transfer-Encoding: base64\n\n{data}--cut--\n'))
    return b''.join(parts)
