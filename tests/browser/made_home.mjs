// A home folder with a Thunderbird profile in it, whose mail is of all kinds that the window has to show.
import fs from 'node:fs';
import path from 'node:path';

export const kMany = 70000;

const message = (n, headers, body, type = 'text/plain; charset=utf-8') =>
  [`From - Thu Jan  1 00:00:00 1970`, `X-Mozilla-Status: ${n % 3 ? '0001' : '0000'}`, `Message-ID: <${n}.${headers.length}@example.org>`, ...headers, 'MIME-Version: 1.0', `Content-Type: ${type}`, '', body, '', ''].join('\n');

const date = (year, n) => `Date: Mon, ${1 + (n % 28)} Mar ${year} 10:00:00 +0000`;

// elsewhere: the address of a server that must never be asked for anything.
const hostileHtml = (elsewhere) => `<html><head><base href="${elsewhere}/base/"><meta http-equiv="refresh" content="0;url=${elsewhere}/refresh">
<link rel="stylesheet" href="${elsewhere}/link.css"><style>@import "${elsewhere}/import.css"; body { background: url(${elsewhere}/background) } @font-face { font-family: x; src: url(${elsewhere}/font) } p { font-family: x }</style>
<script>parent.hurt = 1; top.location = '${elsewhere}/script'; new Image().src = '${elsewhere}/pixel'</script></head>
<body onload="fetch('${elsewhere}/onload')"><p id="kept" style="color:#a00">What may be read stays here.</p>
<img src="${elsewhere}/image.png" srcset="${elsewhere}/srcset.png 2x" onerror="fetch('${elsewhere}/onerror')"><img id="inline" src="cid:picture@example.org"><img src="cid:missing@example.org">
<svg onload="fetch('${elsewhere}/svg')"><image href="${elsewhere}/svgimage"/><use href="${elsewhere}/use.svg#a"/></svg><iframe src="${elsewhere}/frame"></iframe><object data="${elsewhere}/object"></object><embed src="${elsewhere}/embed">
<video src="${elsewhere}/video" poster="${elsewhere}/poster" autoplay></video><audio src="${elsewhere}/audio" autoplay></audio>
<form action="${elsewhere}/form"><input name="a" autofocus><button id="send">Send</button></form><a id="away" href="javascript:parent.hurt=2" target="_top">away</a>
<table background="${elsewhere}/table"><tr><td>cell</td></tr></table><p dir="rtl">شكرا</p></body></html>`;

const picture = 'iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==';

function hostileMessage(elsewhere) {
  const part = (headers, body) => ['--b1', ...headers, '', body].join('\n');
  const body = [
    part(['Content-Type: text/html; charset=utf-8'], hostileHtml(elsewhere)),
    part(['Content-Type: image/png; name="picture.png"', 'Content-Transfer-Encoding: base64', 'Content-ID: <picture@example.org>', 'Content-Disposition: inline; filename="picture.png"'], picture),
    part(['Content-Type: text/html; name="../../<b>evil.html"', 'Content-Disposition: attachment; filename="../../<b>evil.html"'], '<script>parent.hurt = 3</script>'),
    '--b1--'].join('\n');
  return message(1, ['From: "<img src=x onerror=hurt=4>" <mallory@example.org>', 'To: ann@example.org', date(2021, 3), 'Subject: <script>hurt = 5</script> & more'], body, 'multipart/related; boundary="b1"');
}

// Returns the home folder.
export function makeHome(folder, examples, elsewhere) {
  const profile = path.join(folder, '.thunderbird', 'x1y2z3.default');
  const local = path.join(profile, 'Mail', 'Local Folders');
  fs.mkdirSync(path.join(local, 'Projects.sbd'), { recursive: true });
  fs.writeFileSync(path.join(folder, '.thunderbird', 'profiles.ini'), '[Profile0]\nName=default\nIsRelative=1\nPath=x1y2z3.default\nDefault=1\n');
  fs.writeFileSync(path.join(profile, 'prefs.js'), [
    'user_pref("mail.accountmanager.accounts", "account1");', 'user_pref("mail.account.account1.server", "server1");',
    'user_pref("mail.server.server1.type", "none");', 'user_pref("mail.server.server1.name", "Local Folders");',
    `user_pref("mail.server.server1.directory", ${JSON.stringify(local)});`, 'user_pref("mail.server.server1.directory-rel", "[ProfD]Mail/Local Folders");', ''].join('\n'));
  const write = (name, ...parts) => fs.writeFileSync(path.join(local, name), parts.join(''));
  const years = Array.from({ length: 240 }, (_, n) => message(n, ['From: Ingrid Dahl <ingrid@example.org>', 'To: ann@example.org', date(2006 + Math.floor(14 * Math.sqrt(n / 240)), n), `Subject: Minutes of meeting ${n}`], `Dear all,\n\nhere are the minutes of meeting ${n}.\n`));
  const rightToLeft = message(2, ['From: =?utf-8?B?2YXYrdmF2K8g2LnZhNmK?= <m@example.org>', 'To: ann@example.org', date(2020, 4), 'Subject: =?utf-8?B?2YLYp9im2YXYqSDYp9mE2LbZitmI2YEgMjAyMA==?='], 'مرحبا بكم جميعا');
  fs.copyFileSync(path.join(examples, 'Inbox.mbox'), path.join(local, 'Inbox'));
  fs.copyFileSync(path.join(examples, 'Sent.mbox'), path.join(local, 'Sent'));
  write('Meetings', ...years);
  write('Strange', hostileMessage(elsewhere), rightToLeft);
  write('Projects', '');
  fs.copyFileSync(path.join(examples, 'Projects', '日本語.mbox'), path.join(local, 'Projects.sbd', '日本語'));
  const many = fs.openSync(path.join(local, 'Many'), 'w');
  for (let n = 0; n < kMany; n += 10000) {
    fs.writeSync(many, Array.from({ length: 10000 }, (_, at) => message(n + at, ['From: Robot <r@example.org>', date(2006 + Math.floor(16 * Math.sqrt(at / 10000)), at), `Subject: Line ${n + at}`], 'ok')).join(''));
  }
  fs.closeSync(many);
  // Named unlike a mailbox, but one.
  write('Notes.2018', message(1, ['From: a@example.org', date(2018, 1), 'Subject: left'], 'behind'));
  return folder;
}
