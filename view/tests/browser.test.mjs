// The page in a real browser: headless Chromium driven by puppeteer-core,
// against zq_sim --view, with the simulated arm moved over the command
// protocol by the test itself.
//
//   ZQ_BUILD=build node --test view/tests/browser.test.mjs
// ZQ_VIEW_SHOTS names a folder for the screenshots (default: the build folder).
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import puppeteer from 'puppeteer-core';

const build = path.resolve(process.env.ZQ_BUILD || 'build');
const shots = path.resolve(process.env.ZQ_VIEW_SHOTS || build);
const chromium = process.env.CHROMIUM || '/usr/bin/chromium';

let sim, simPort, url, browser, page, arm, profile;
const problems = [];  // console errors and page errors

// ---- the simulated controller, spoken to directly -------------------------------------
function startSim(extra = []) {
  return new Promise((resolve, reject) => {
    const proc = spawn(path.join(build, 'zq_sim'), ['--port', '0', '--view', '0', ...extra],
                       { stdio: ['ignore', 'pipe', 'inherit'] });
    let out = '';
    const timer = setTimeout(() => reject(new Error(`zq_sim --view said: ${out}`)), 15000);
    proc.stdout.on('data', (d) => {
      out += d;
      const port = out.match(/listening on 127\.0\.0\.1:(\d+)/);
      const view = out.match(/view on (http:\S+)/);
      if (port && view) {
        clearTimeout(timer);
        resolve([Number(port[1]), view[1], proc]);
      }
    });
    proc.on('exit', (code) => reject(new Error(`zq_sim ended with ${code}: ${out}`)));
  });
}

// One connection to the controller: JSON lines ended by CR LF.
class Controller {
  constructor(port) {
    this.lines = [];
    this.waiters = [];
    this.buf = '';
    this.sock = net.connect(port, '127.0.0.1');
    this.sock.setEncoding('utf8');
    this.sock.on('data', (d) => {
      this.buf += d;
      let i;
      while ((i = this.buf.indexOf('\r\n')) >= 0) {
        const msg = JSON.parse(this.buf.slice(0, i));
        this.buf = this.buf.slice(i + 2);
        this.lines.push(msg);
        this.waiters = this.waiters.filter((w) => !w(msg));
      }
    });
  }
  ready() { return new Promise((r) => this.sock.once('connect', r)); }
  next(pred, ms = 15000) {
    return new Promise((resolve, reject) => {
      const t = setTimeout(() => reject(new Error('no such message')), ms);
      this.waiters.push((m) => (pred(m) ? (clearTimeout(t), resolve(m), true) : false));
    });
  }
  // A blocking joint move: returns when the controller reports its end.
  async movej(deg) {
    const done = this.next((m) => m.state === 'current_trajectory_state');
    const reply = this.next((m) => m.command === 'movej');
    this.sock.write(JSON.stringify({ command: 'movej', v: 80, joint: deg.map((v) => Math.trunc(v * 1000)),
                                     trajectory_connect: 0, r: 0 }) + '\r\n');
    assert.equal((await reply).receive_state, true, 'the controller took the move');
    const end = await done;
    assert.equal(end.trajectory_state, true, 'the move ended well');
    return performance.now();
  }
}

// ---- the page ---------------------------------------------------------------------------
const readout = () => page.evaluate(() =>
  Array.from(document.querySelectorAll('[id^="joint-"]')).map((e) => Number(e.textContent)));

async function waitFor(fn, ms, what) {
  const t0 = performance.now();
  for (;;) {
    const v = await fn();
    if (v) return performance.now() - t0;
    if (performance.now() - t0 > ms) assert.fail(`${what}: not within ${ms} ms`);
    await new Promise((r) => setTimeout(r, 20));
  }
}

// The drawing's pixels, at a quarter of the size, RGBA.
const pixelsOf = (p) => p.evaluate(() => {
  const c = document.querySelector('#scene canvas');
  const t = document.createElement('canvas');
  t.width = c.width >> 2;
  t.height = c.height >> 2;
  const g = t.getContext('2d');
  g.drawImage(c, 0, 0, t.width, t.height);
  return Array.from(g.getImageData(0, 0, t.width, t.height).data);
});
const pixels = () => pixelsOf(page);

function changed(a, b) {
  let n = 0;
  for (let i = 0; i < a.length; i += 4)
    if (Math.abs(a[i] - b[i]) + Math.abs(a[i + 1] - b[i + 1]) + Math.abs(a[i + 2] - b[i + 2]) > 60) ++n;
  return n;
}
function red(a) {
  let n = 0;
  for (let i = 0; i < a.length; i += 4) if (a[i] > 170 && a[i + 1] < 90 && a[i + 2] < 90) ++n;
  return n;
}

async function frameAfter(q) {
  // The readout shows the joints the arm ended at.
  return waitFor(async () => (await readout()).every((v, j) => Math.abs(v - q[j]) < 0.05), 1000,
                 'the joint readout follows the move');
}

before(async () => {
  [simPort, url, sim] = await startSim();
  arm = new Controller(simPort);
  await arm.ready();
  profile = mkdtempSync(path.join(os.tmpdir(), 'zq-view-chromium-'));
  browser = await puppeteer.launch({
    executablePath: chromium,
    headless: true,
    userDataDir: profile,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
           '--disable-component-update', '--disable-sync', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'],
  });
  page = await browser.newPage();
  await page.setViewport({ width: 1200, height: 760 });
  page.on('console', (m) => {  // the software renderer's own performance notes aside
    if (m.type() === 'error' || (m.type() === 'warn' && !/GL Driver Message/.test(m.text()))) problems.push(m.text());
  });
  page.on('pageerror', (e) => problems.push(String(e)));
  page.on('requestfailed', (r) => { if (!r.url().endsWith('/events')) problems.push(`failed: ${r.url()}`); });
});

after(async () => {
  if (browser) await browser.close();
  arm?.sock.destroy();
  if (sim) sim.kill('SIGTERM');
  if (profile) rmSync(profile, { recursive: true, force: true });
});

test('the page loads, draws the arm and streams at the report rate, with no console error', async () => {
  await page.goto(url, { waitUntil: 'load' });
  await waitFor(() => page.evaluate(() => window.zqView.frames > 5), 5000, 'frames arrive');
  const q = await readout();
  assert.equal(q.length, 6);
  assert.match(await page.$eval('#title', (e) => e.textContent), /ZQ41/);
  await new Promise((r) => setTimeout(r, 1200));
  const rate = await page.evaluate(() => window.zqView.rate);
  assert.ok(rate >= 30, `at least 30 frames a second while idle (heartbeat or reports): ${rate}`);
  assert.deepEqual(problems, []);
});

test('the joint readout follows a blocking move within a second, and the arm is drawn anew', async () => {
  const home = [0, 0, 0, 0, 0, 0];
  await arm.movej(home);
  await frameAfter(home);
  await new Promise((r) => setTimeout(r, 200));
  const before = await pixels();
  await page.screenshot({ path: path.join(shots, 'view_before.png') });

  const target = [40, -30, 70, 20, 60, 30];
  await arm.movej(target);
  const ms = await frameAfter(target);
  assert.ok(ms < 1000, `readout after ${ms} ms`);
  await new Promise((r) => setTimeout(r, 200));
  const after = await pixels();
  await page.screenshot({ path: path.join(shots, 'view_after.png') });
  const n = changed(before, after);
  assert.ok(n > 300, `pixels of the arm changed: ${n}`);
  assert.equal(await page.evaluate(() => window.zqView.red), 0, 'no capsule red in a free pose');
  assert.deepEqual(problems, []);
});

test('a self-colliding configuration turns a capsule red', async () => {
  // The simulator stops a move short of self-contact, so this arm starts folded: the wrist
  // on the upper arm.
  const folded = [0, -90, 134, 0, 120, 0];
  const [, foldedUrl, foldedSim] = await startSim(['--joints', folded.join(',')]);
  const other = await browser.newPage();
  try {
    await other.setViewport({ width: 1200, height: 760 });
    other.on('pageerror', (e) => problems.push(String(e)));
    await other.goto(foldedUrl, { waitUntil: 'load' });
    await waitFor(() => other.evaluate(() => window.zqView.red > 0), 5000, 'a capsule in contact');
    assert.match(await other.$eval('#contact', (e) => e.textContent), /in contact/);
    await new Promise((r) => setTimeout(r, 200));
    await other.screenshot({ path: path.join(shots, 'view_contact.png') });
    const drawn = await pixelsOf(other);
    assert.ok(red(drawn) > 50, `red pixels drawn: ${red(drawn)}`);
  } finally {
    await other.close();
    foldedSim.kill('SIGTERM');
  }
  assert.deepEqual(problems, []);
});

test('the page only reads: a second stream changes nothing, a write is refused', async () => {
  const status = await page.evaluate(async () => (await fetch('events', { method: 'POST', body: '{}' })).status);
  assert.equal(status, 405);
  const moves = arm.lines.length;
  const other = await browser.newPage();
  await other.goto(url, { waitUntil: 'load' });
  await waitFor(() => other.evaluate(() => window.zqView.frames > 3), 5000, 'a second page streams too');
  await other.close();
  assert.equal(arm.lines.length, moves, 'nothing reached the controller from the pages');
  writeFileSync(path.join(shots, 'view_state.json'), JSON.stringify(await page.evaluate(() => window.zqView.last)));
});
