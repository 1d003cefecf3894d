// Opens the viewer in headless Chromium: starts serve.py on a free port of 127.0.0.1, launches
// Debian's chromium (WebGL on SwiftShader) through puppeteer-core, loads the page and waits for
// the viewer's readiness flag. Used by the screenshot script and the browser test.
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import puppeteer from 'puppeteer-core';

const here = path.dirname(fileURLToPath(import.meta.url));
const chromium = process.env.CHROMIUM || '/usr/bin/chromium';

function startServer(dataDir) {
  const server = spawn('/usr/bin/python3', [path.join(here, 'serve.py'), '--port', '0', '--data', dataDir],
                       { stdio: ['ignore', 'pipe', 'inherit'] });
  return new Promise((resolve, reject) => {
    let out = '';
    server.stdout.on('data', (chunk) => {
      out += chunk;
      const m = out.match(/http:\/\/127\.0\.0\.1:\d+\//);
      if (m) resolve({ server, url: m[0] });
    });
    server.on('exit', (code) => reject(new Error(`serve.py stopped (exit ${code})`)));
  });
}

// Answers { page, url, readyMs, consoleErrors, foreignRequests, close() }
export async function openViewer({ dataDir, width = 1280, height = 800, timeoutMs = 240000 }) {
  const { server, url } = await startServer(dataDir);
  const profile = mkdtempSync(path.join(tmpdir(), 't3d-chromium-'));
  let browser;
  const close = async () => {
    if (browser) await browser.close().catch(() => {});
    server.kill();
    rmSync(profile, { recursive: true, force: true });
  };
  try {
    browser = await puppeteer.launch({
      executablePath: chromium, headless: true, userDataDir: profile, protocolTimeout: timeoutMs,
      args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--ignore-gpu-blocklist',
             '--disable-background-networking', '--disable-component-update', '--disable-sync', '--no-first-run',
             '--disable-default-apps', '--disable-extensions', `--window-size=${width},${height}`],
    });
    const page = await browser.newPage();
    await page.setViewport({ width, height });
    const consoleErrors = [], foreignRequests = [];
    page.on('console', (m) => { if (m.type() === 'error') consoleErrors.push(m.text()); });
    page.on('pageerror', (e) => consoleErrors.push(String(e)));
    page.on('request', (r) => {
      const u = new URL(r.url());
      if (!['data:', 'blob:'].includes(u.protocol) && u.hostname !== '127.0.0.1') foreignRequests.push(r.url());
    });
    const started = Date.now();
    await page.goto(url, { waitUntil: 'load', timeout: timeoutMs });
    await page.waitForFunction(() => window.t3d && (window.t3d.ready || window.t3d.error),
                               { timeout: timeoutMs, polling: 500 });
    const state = await page.evaluate(() => ({ error: window.t3d.error, readyMs: window.t3d.readyMs }));
    if (state.error) throw new Error(`the viewer failed: ${state.error}`);
    return { page, url, readyMs: Date.now() - started, consoleErrors, foreignRequests, close };
  } catch (e) {
    await close();
    throw e;
  }
}
