"""HTML newsletters as bulk mailers send them: long headers, long HTML, little text.

Each message has 40 to 70 lines of header (Received chains, signatures, list fields, encoded words)
and a multipart/alternative of plain text and 30 to 60 kB of HTML: nested tables with inline styles,
conditional comments, tracked links and pictures, text beyond ASCII. Two in three are
quoted-printable, the others base64.
"""
import base64
import binascii
import email.header
import random
import time

SENDERS = (('Bücherstube am Hafen', 'news', 'bookshop.example'), ('Café de l’Île', 'infolettre', 'cafe.example'),
           ('The Harbour Post', 'daily', 'harbourpost.example'), ('港の便り', 'mail', 'minato.example'),
           ('Kraków – bilety', 'bilety', 'tickets.example'), ('Garden & Home', 'offers', 'garden.example'))
SUBJECTS = ('Nur heute: 20 % auf alle Bücher über Gärten und Häfen',
            'Votre sélection d’été est arrivée à l’île',
            'Ten boats to see before the season ends',
            '今週のおすすめ:朝の港と灯台の写真集',
            'Nowe bilety już w sprzedaży – zobacz, co czeka w październiku',
            'Your order, your garden, your weekend: everything must go €9.99')
SENTENCES = ('Die schönsten Bücher über Häfen, Gärten und alte Brücken, für Sie ausgewählt.',
             'À découvrir dès aujourd’hui : des idées fraîches pour la table et le jardin.',
             'The ferry leaves at nine, and the bakery at the northern pier opens an hour before.',
             'Read on for what our editors liked best this week, from bread to lighthouses.',
             'この季節にぴったりの一冊を、編集部が選びました。',
             'Nowości, zapowiedzi i wydarzenia: sprawdź, co przygotowaliśmy na ten tydzień.',
             'Prices include VAT; offers end on Sunday at midnight or when the shelves are empty.')

STYLE = '''<style type="text/css">
body, table, td, a { -webkit-text-size-adjust: 100%; -ms-text-size-adjust: 100%; }
table, td { mso-table-lspace: 0pt; mso-table-rspace: 0pt; border-collapse: collapse !important; }
img { -ms-interpolation-mode: bicubic; border: 0; height: auto; line-height: 100%; outline: none; }
@media screen and (max-width: 600px) {
  .wrapper { width: 100% !important; max-width: 100% !important; }
  .column { display: block !important; width: 100% !important; padding: 0 16px !important; }
  .mobile-hide { display: none !important; } .headline { font-size: 24px !important; }
}
</style>'''

ITEM = '''<tr>
<td align="center" valign="top" style="padding: 24px 32px 0 32px; background-color: #ffffff;" class="column">
<!--[if (gte mso 9)|(IE)]><table align="center" border="0" cellspacing="0" cellpadding="0" width="536"><tr><td><![endif]-->
<table border="0" cellpadding="0" cellspacing="0" width="100%" style="max-width: 536px;" role="presentation">
<tr><td width="168" valign="top" style="padding: 0 16px 0 0;"><a href="{link}" target="_blank"
 style="color: #1a5fb4; text-decoration: none;"><img src="https://images.{domain}/c/{token:.40}/cover-{n}.jpg?w=336&amp;q=80"
 width="168" height="224" alt="{text}" style="display: block; border: 0; border-radius: 4px; width: 168px;"></a></td>
<td valign="top" style="font-family: 'Helvetica Neue', Helvetica, Arial, sans-serif; font-size: 15px; line-height: 22px; color: #3d3846;">
<h2 class="headline" style="margin: 0 0 8px 0; font-size: 19px; line-height: 26px; font-weight: 700; color: #241f31;">{text}</h2>
<p style="margin: 0 0 12px 0; padding: 0;">{more}</p>
<table border="0" cellpadding="0" cellspacing="0" role="presentation"><tr>
<td align="center" bgcolor="#1a5fb4" style="border-radius: 4px;"><a href="{link2}" target="_blank"
 style="display: inline-block; padding: 10px 22px; font-size: 14px; color: #ffffff; text-decoration: none;">&euro;&nbsp;{price}&nbsp;&rsaquo;</a></td>
</tr></table></td></tr></table>
<!--[if (gte mso 9)|(IE)]></td></tr></table><![endif]-->
</td>
</tr>
'''

SHELL = ('<!DOCTYPE html PUBLIC "-//W3C//DTD XHTML 1.0 Transitional//EN" '
         '"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd">\n'
         '<html xmlns="http://www.w3.org/1999/xhtml" lang="en"><head>\n'
         '<meta http-equiv="Content-Type" content="text/html; charset=utf-8">\n<title>{title}</title>\n{style}\n</head>\n'
         '<body style="margin: 0; padding: 0; background-color: #f6f5f4;">\n'
         '<div style="display: none; font-size: 1px; max-height: 0; overflow: hidden;">{text}{gap}</div>\n'
         '<table border="0" cellpadding="0" cellspacing="0" width="100%" class="wrapper" role="presentation">\n'
         '{items}</table>\n'
         '<p style="font-size: 11px; color: #77767b;"><a href="{link}">Unsubscribe</a> | <a href="{link2}">Abmelden</a></p>\n'
         '<img src="https://open.{domain}/o/{token}.gif" width="1" height="1" alt="">\n</body></html>\n')


class Newsletters:

    def __init__(self, seed):
        self.chance = random.Random(seed)
        # Tokens are cut from one text: making random ones would take longer than the test.
        self.tokens = base64.urlsafe_b64encode(random.Random(11).randbytes(1_500_000)).decode()

    def token(self, size):
        start = self.chance.randrange(len(self.tokens) - size)
        return self.tokens[start:start + size]

    def folded(self, size, width=72):
        """A signature as it stands in a header, in lines that begin with a tab."""
        text = self.token(size)
        return '\n\t'.join(text[i:i + width] for i in range(0, size, width))

    def received(self, domain, stamp):
        return ''.join(
            f'Received: from mta{hop}-{self.token(4)}.{domain} (mta{hop}.{domain}. [198.51.100.{self.chance.randrange(256)}])\n'
            f'        by mx{hop}.example.net with ESMTPS id {self.token(22)}\n'
            f'        for <ingrid.dahl@example.net>\n'
            f'        (version=TLS1_3 cipher=TLS_AES_256_GCM_SHA384 bits=256/256);\n        {stamp}\n'
            for hop in range(self.chance.randint(2, 4)))

    def signature(self, domain):
        return (f'v=1; a=rsa-sha256; c=relaxed/relaxed; d={domain}; s=k{self.chance.randrange(9)};\n'
                f'\th=from:to:subject:date:message-id:list-unsubscribe:list-unsubscribe-post:\n'
                f'\t mime-version:content-type:feedback-id; bh={self.token(43)}=;\n\tb={self.folded(170)}==')

    def header(self, number):
        name, local, domain = self.chance.choice(SENDERS)
        stamp = time.strftime('%a, %d %b %Y %H:%M:%S +0000', time.gmtime(1_500_000_000 + number * 911))
        word = lambda text: email.header.Header(text, 'utf-8', maxlinelen=75).encode()
        bounce = f'bounce+{self.token(12)}.{self.chance.randrange(10**8)}-ingrid.dahl=example.net@bounce.{domain}'
        result = (f'mx.example.net;\n       dkim=pass header.i=@{domain} header.s=k1 header.b={self.token(8)};\n'
                  f'       spf=pass (mx.example.net: domain of {bounce}\n        designates 198.51.100.7 as permitted sender)'
                  f' smtp.mailfrom="{bounce}";\n       dmarc=pass (p=REJECT sp=REJECT dis=NONE) header.from={domain}')
        optional = (f'X-Campaign-Id: {self.token(24)}\n', f'X-Recipient-Id: <{self.token(60)}>\n',
                    f'X-Report-Abuse: Please report abuse here: https://{domain}/abuse/{self.token(50)}\n',
                    f'X-Feedback-Loop: {self.folded(150)}\n', 'X-Auto-Response-Suppress: OOF, AutoReply\n',
                    f'X-Mailer: bulk {self.chance.randint(1, 9)}.{self.chance.randint(0, 20)}\n',
                    f'X-Segment: {self.token(16)};{self.token(16)};{self.token(16)}\n', 'Precedence: bulk\n')
        extra = ''.join(self.chance.sample(optional, self.chance.randint(3, len(optional))))
        return (f'From {local}@{domain} Fri Mar  1 08:00:00 2019\nDelivered-To: ingrid.dahl@example.net\n'
                f'{self.received(domain, stamp)}'
                f'ARC-Seal: i=1; a=rsa-sha256; t={1_500_000_000 + number}; cv=none; d=example.net; s=arc-2016;\n'
                f'\tb={self.folded(170)}==\nARC-Message-Signature: i=1; {self.signature("example.net")}\n'
                f'ARC-Authentication-Results: i=1; {result}\nReturn-Path: <{bounce}>\n'
                f'Authentication-Results: {result}\nDKIM-Signature: {self.signature(domain)}\n'
                f'From: {word(name)} <{local}@{domain}>\nReply-To: {word(name)} <reply-{self.token(20)}@{domain}>\n'
                f'To: {word("Ingrid Dåhl")} <ingrid.dahl@example.net>\nSubject: {word(self.chance.choice(SUBJECTS))}\n'
                f'Date: {stamp}\nMessage-ID: <{number}.{self.token(32)}@{domain}>\n'
                f'List-ID: <{number % 97}.list.{domain}>\n'
                f'List-Unsubscribe: <mailto:leave-{self.token(40)}@{domain}?subject=unsubscribe>,\n'
                f' <https://{domain}/u/{self.token(120)}>\nList-Unsubscribe-Post: List-Unsubscribe=One-Click\n'
                f'Feedback-ID: {self.token(10)}:{self.token(10)}:news:{local}\n{extra}MIME-Version: 1.0\n'), domain

    def html(self, domain, size):
        say = lambda: self.chance.choice(SENTENCES)
        link = lambda: f'https://click.{domain}/c/{self.token(180)}?utm_source=news&amp;utm_campaign={self.token(12)}'
        items, length = [], 0
        while length < size:
            items.append(ITEM.format(domain=domain, link=link(), link2=link(), token=self.token(40), n=len(items),
                                     text=say(), more=f'{say()} {say()}', price=f'{self.chance.randint(1, 99)},90'))
            length += len(items[-1])
        return SHELL.format(title=say(), style=STYLE, text=say(), gap='&#847;&zwnj;&nbsp;' * 60,
                            items=''.join(items), link=link(), link2=link(), domain=domain, token=self.token(200))

    def message(self, number):
        header, domain = self.header(number)
        plain = '\n\n'.join(f'{self.chance.choice(SENTENCES)}\nhttps://click.{domain}/c/{self.token(180)}'
                            for _ in range(6)) + '\n'
        html = self.html(domain, self.chance.randint(27_000, 56_000))
        encoding, encode = (('base64', lambda text: base64.encodebytes(text.encode()).decode()) if number % 3 == 2 else
                            ('quoted-printable', lambda text: binascii.b2a_qp(text.encode()).decode()))
        cut = f'----=_Part_{number}_{self.token(24)}'
        part = lambda kind, text: (f'--{cut}\nContent-Type: text/{kind}; charset="utf-8"\n'
                                   f'Content-Transfer-Encoding: {encoding}\n\n{encode(text)}\n')
        return (f'{header}Content-Type: multipart/alternative;\n\tboundary="{cut}"\n\n'
                f'{part("plain", plain)}{part("html", html)}--{cut}--\n\n')
