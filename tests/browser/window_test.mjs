// The window from finding mail to looking inside the PST, as a person goes through it: with the program's own
// server, a real conversion and a real browser. Each step is judged by axe in light and dark, and at 320 pixels.
// PARVANE_SCREENSHOTS=FOLDER keeps a picture of each.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import { createRequire } from 'node:module';
import os from 'node:os';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';
import { kMany, makeHome } from './made_home.mjs';

const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'parvane-browser-'));
const home = path.join(folder, 'ann');
const pst = path.join(folder, 'out', 'mail.pst');
const strays = [];
let server, elsewhere, browser, context, page, address;

before(async () => {
  fs.mkdirSync(path.dirname(pst));
  // What a hostile message asks for would arrive here.
  elsewhere = http.createServer((request, response) => { strays.push(request.url); response.end(); });
  await new Promise((resolve) => elsewhere.listen(0, '127.0.0.1', resolve));
  makeHome(home, process.env.PARVANE_EXAMPLES, `http://127.0.0.1:${elsewhere.address().port}`);
  const environment = { ...process.env, HOME: home, XDG_RUNTIME_DIR: folder, XDG_DATA_HOME: '', XDG_CONFIG_HOME: '', TZ: 'UTC' };
  server = spawn(process.env.PARVANE, ['app', '--no-browser'], { env: environment, stdio: ['ignore', 'pipe', 'inherit'] });
  address = await new Promise((resolve) => server.stdout.on('data', (text) => { const found = /http:\/\/\S+/.exec(text); if (found) resolve(found[0]); }));
  browser = await chromium.launch({ executablePath: process.env.PARVANE_CHROMIUM, args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync'] });
  context = await browser.newContext({ viewport: { width: 1280, height: 900 }, locale: 'en-US', timezoneId: 'UTC', acceptDownloads: true });
  context.setDefaultTimeout(60000);
  context.on('request', (request) => { if (!request.url().startsWith(address) && !/^(data|blob|about):/.test(request.url())) strays.push(request.url()); });
  page = await context.newPage();
  page.on('pageerror', (error) => strays.push(`error: ${error.message}`));
  page.on('dialog', (dialog) => strays.push(`dialog: ${dialog.message()}`));
});

after(async () => {
  await browser?.close();
  server?.kill();
  elsewhere?.close();
  fs.rmSync(folder, { recursive: true, force: true });
});

// One step needs the one before: after a failure the rest says nothing.
let failed = false;
const step = (name, walk) => test(name, async (t) => {
  if (failed) return t.skip();
  failed = true;
  await walk();
  failed = false;
});

const button = (name) => page.getByRole('button', { name, exact: true });
const heading = (name) => page.getByRole('heading', { level: 1, name }).waitFor();

// Nothing serious by axe, in light and dark; nothing wider than a narrow window.
async function judged(which) {
  for (const colorScheme of ['dark', 'light']) {
    await page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
    await page.evaluate(axe);
    const { violations } = await page.evaluate(() => window.axe.run(document, { iframes: false, resultTypes: ['violations'] }));
    const grave = violations.filter(({ impact }) => impact === 'serious' || impact === 'critical');
    assert.deepEqual(grave.map(({ id, nodes }) => [id, nodes[0].html, nodes[0].failureSummary]), [], `${which}, ${colorScheme}`);
  }
  if (process.env.PARVANE_SCREENSHOTS && which !== 'hostile') await page.screenshot({ path: path.join(process.env.PARVANE_SCREENSHOTS, `${which}.png`), animations: 'disabled' });
  await page.setViewportSize({ width: 320, height: 700 });
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth) <= 320, `${which} is wider than 320 pixels`);
  await page.setViewportSize({ width: 1280, height: 900 });
}

async function press(...keys) {
  for (const key of keys) await page.keyboard.press(key);
}

step('found: the profile is there, with its accounts; paths are chosen, typed and dropped', async () => {
  await page.goto(address);
  await heading('Which mail do you want to take along?');
  const box = page.getByRole('checkbox', { name: /Thunderbird/ });
  await box.waitFor();
  await page.getByText('Local Folders', { exact: true }).waitFor();
  await box.focus();
  await press('Space');
  await page.getByText('1 place chosen').waitFor();
  await judged('found');

  await page.getByLabel('Or type or paste').fill('/nowhere/at all');
  await press('Enter');
  await page.getByRole('alert').getByText('That did not work').waitFor();
  await button('Close').click();

  await button('Choose files or folders…').click();
  await page.getByRole('option').first().waitFor();
  await judged('choose');
  await page.getByRole('listbox').focus();
  await press('Home', 'Escape');
  await page.waitForFunction(() => document.activeElement.textContent === 'Choose files or folders…');

  const dropped = path.join(home, '.thunderbird', 'x1y2z3.default', 'Mail', 'Local Folders', 'Sent');
  await drop({ 'text/uri-list': `file://${dropped.split('/').map(encodeURIComponent).join('/')}` });
  await page.getByText('2 places chosen').waitFor();
  await page.getByRole('button', { name: /^Remove Sent/ }).click();
  await page.getByText('1 place chosen').waitFor();
  await drop({}, 'Inbox.mbox');
  await page.getByText('only the name “Inbox.mbox”').waitFor();
  await press('Escape');
});

const drop = (data, file) => page.evaluate(([texts, name]) => {
  const dataTransfer = new DataTransfer();
  for (const [type, text] of Object.entries(texts)) dataTransfer.setData(type, text);
  if (name) dataTransfer.items.add(new File(['x'], name));
  document.querySelector('main').dispatchEvent(new DragEvent('drop', { bubbles: true, dataTransfer }));
}, [data, file]);

step('check: folders are ticked by keys, years and sizes follow, a file that is there is asked about', async () => {
  await button('Check this mail').click();
  await heading('What is there');
  const chosen = () => page.locator('.sum').innerText();
  const all = await chosen();
  await page.getByRole('treeitem').first().focus();
  const many = page.getByRole('treeitem', { name: /^Many/ });
  while (!/^Many/.test(await page.evaluate(() => document.activeElement.textContent.trim()))) await press('ArrowDown');
  await press('Space');
  assert.equal(await many.getAttribute('aria-checked'), 'false');
  assert.equal(await page.getByRole('treeitem').first().getAttribute('aria-checked'), 'mixed');
  assert.notEqual(await chosen(), all);
  await press('ArrowLeft', 'Space', 'Space');
  assert.equal(await many.getAttribute('aria-checked'), 'false');
  await press('Space');
  assert.equal(await chosen(), all);
  await page.getByLabel('From').selectOption('2010');
  assert.notEqual(await chosen(), all);
  await judged('check');
  await page.getByLabel('From').selectOption('');
  await page.getByText('Mail that was left behind').waitFor();

  fs.copyFileSync(await smallPst(), pst);
  await page.getByLabel('Save as').fill(pst);
  await button('Convert').click();
  await page.getByRole('alertdialog').getByText('There is a file of this name already').waitFor();
  await button('Choose another name').click();
  await page.waitForFunction(() => document.activeElement.id === 'destination');
});

// What the program makes of the examples.
async function smallPst() {
  const made = path.join(folder, 'small.pst');
  await new Promise((resolve) => spawn(process.env.PARVANE, ['convert', '-q', process.env.PARVANE_EXAMPLES, made]).on('close', resolve));
  return made;
}

step('convert: it shows how far it is, and asks before it stops', async () => {
  // What the server tells is held: a state from the midst of the work, then the end, until each has been seen.
  let held = 'midst';
  let midst = null;
  await page.route('**/api/run?*', async (route) => {
    const response = await route.fetch();
    let run = await response.json();
    if (held && run.kind === 'convert' && run.state !== 'running') Object.assign(run, { state: 'running', result: null });
    if (run.figures.done > run.figures.total / 3) midst ??= run;
    if (held === 'midst') run = midst ?? run;
    await route.fulfill({ response, json: run });
  });
  await button('Convert').click();
  await button('Replace it').click();
  await heading('Your mail is on its way');
  await page.waitForFunction(() => Number(document.querySelector('[role=progressbar]').ariaValueNow) > 30);
  await judged('convert');
  await button('Stop').click();
  await page.getByRole('alertdialog').getByText('Stop now?').waitFor();
  await button('Go on').click();
  held = 'end';
  await page.getByText(/70,000 of 70,000/).waitFor();
  held = null;
  await heading('Done, but some mail was left behind');
  await page.unroute('**/api/run?*');
});

step('done: all folders, what was left behind, a report that opens by itself', async () => {
  const row = page.getByRole('row', { name: /^Meetings/ });
  assert.match(await row.innerText(), /240\s+240\s+0/);
  await page.getByText('Notes.2018').first().waitFor();
  await page.getByLabel('Search in this list').fill('nothing of this kind');
  await page.getByText('Nothing in the list has these words.').waitFor();
  await page.getByLabel('Search in this list').fill('notes.2018');
  assert.equal(await page.locator('.findings li').count(), 1);
  await page.getByLabel('Search in this list').fill('');
  await judged('done');

  const [download] = await Promise.all([page.waitForEvent('download'), page.getByRole('link', { name: 'Save the report', exact: true }).click()]);
  const file = path.join(folder, 'run.html');
  await download.saveAs(file);
  const offline = await browser.newContext({ offline: true, locale: 'en-US' });
  const report = await offline.newPage();
  report.on('request', (request) => { if (request.url() !== `file://${file}`) strays.push(request.url()); });
  report.on('pageerror', (error) => strays.push(error.message));
  await report.goto(`file://${file}`);
  await report.getByRole('heading', { level: 1, name: 'Done, but some mail was left behind' }).waitFor();
  assert.ok(await report.locator('.years .bar').count() > 10);
  assert.match(await report.getByRole('row', { name: /^Meetings/ }).innerText(), /240\s+240\s+0/);
  assert.ok((await report.pdf()).length > 10000);
  await offline.close();
});

step('inside: a message of any kind is shown, and nothing of it runs or is fetched', async () => {
  await button('Look inside the PST').click();
  await heading('Look inside');
  await folderNamed('Strange');
  await page.getByRole('option', { name: /<script>hurt = 5/ }).click();
  await page.getByRole('heading', { name: '<script>hurt = 5</script> & more' }).waitFor();
  const text = page.frameLocator('iframe');
  await text.getByText('What may be read stays here.').waitFor();
  assert.equal(await text.locator('script, iframe, object, embed, form, meta[http-equiv=refresh], link, base, video, svg use').count(), 0);
  // The picture that came along is shown.
  await text.locator('#inline').evaluate((image) => image.decode());
  await text.getByText('away').click();
  await page.getByRole('link', { name: /evil\.html/ }).waitFor();
  const [download] = await Promise.all([page.waitForEvent('download'), page.getByRole('link', { name: /evil\.html/ }).click()]);
  assert.equal(fs.readFileSync(await download.path(), 'utf8').trim(), '<script>parent.hurt = 3</script>');
  assert.doesNotMatch(download.suggestedFilename(), /[/\\<>]/);
  await page.getByRole('tab', { name: 'Message' }).focus();
  await press('ArrowRight');
  await page.getByText('Message-ID:', { exact: false }).waitFor();
  await press('ArrowRight');
  await page.getByLabel('Filter properties').fill('PR_SUBJECT');
  await page.getByRole('cell', { name: '<script>hurt = 5</script> & more' }).first().waitFor();
  await judged('hostile');
  assert.equal(await page.evaluate(() => window.hurt), undefined);

  await page.getByRole('option', { name: /قائمة الضيوف/ }).waitFor();
  await page.waitForFunction(() => [...document.querySelectorAll('.entry .subject bdi')].some((element) => getComputedStyle(element).direction === 'rtl'));
  await folderNamed('Inbox');
  await page.getByRole('option', { name: /Photos and the bill/ }).click();
  await page.getByRole('heading', { name: 'Photos and the bill' }).waitFor();
  await judged('inside');
});

const folderNamed = (name) => page.getByRole('treeitem', { name: new RegExp(`^${name}`) }).click();

step('inside: of a million messages each is reached, and few are in the page', async () => {
  await folderNamed('Many');
  const list = page.getByRole('listbox');
  await list.getByText('Line 0', { exact: true }).waitFor();
  await list.focus();
  await press('End');
  await list.getByText(`Line ${kMany - 1}`, { exact: true }).waitFor();
  await press('PageUp', 'Home', 'ArrowDown', 'Enter');
  await page.getByRole('heading', { name: 'Line 1', exact: true }).waitFor();

  const kMillion = 1000000;
  await page.route('**/messages?*', async (route) => {
    const query = new URL(route.request().url()).searchParams;
    const [from, count] = [Number(query.get('from')), Number(query.get('count'))];
    const rows = Array.from({ length: Math.max(0, Math.min(count, kMillion - from)) }, (_, at) => ({ row: from + at, id: `m${from + at}`, from: 'r', subject: `Made ${from + at}`, time: null, bytes: 1 }));
    await route.fulfill({ json: { total: kMillion, rows } });
  });
  await folderNamed('Many');
  await list.getByText('Made 0', { exact: true }).waitFor();
  await list.evaluate((element) => { element.scrollTop = element.scrollHeight; });
  await list.getByText(`Made ${kMillion - 1}`, { exact: true }).waitFor();
  await list.evaluate((element) => { element.scrollTop = element.scrollHeight / 2; });
  await list.getByText(/^Made (49|50)\d{4}$/).first().waitFor();
  const shown = async () => Number((await list.locator('.subject').nth(4).innerText()).replace('Made ', ''));
  const middle = await shown();
  await list.hover();
  await page.mouse.wheel(0, 680);
  await page.waitForFunction((label) => document.querySelectorAll('.entry .subject')[4]?.innerText === label, `Made ${middle + 10}`);
  assert.ok(await list.locator('.entry').count() < 40);
  await page.unroute('**/messages?*');
});

step('the window lasts as long as one of its pages, and nothing was asked for elsewhere', async () => {
  const other = await context.newPage();
  await other.goto(address);
  await other.getByRole('heading', { level: 1 }).waitFor();
  await page.goto('about:blank');
  await other.waitForTimeout(7000);
  assert.equal(server.exitCode, null);
  const ended = new Promise((resolve) => server.once('exit', resolve));
  await other.goto('about:blank');
  assert.equal(await ended, 0);
  assert.deepEqual(strays, []);
});
