// The viewer as a person uses it, in headless Chromium on the demo tour's outputs: it gets ready
// without a console error or a request leaving 127.0.0.1, shows a bounded number of labels, paints
// known countries in their legend colours, names them and their classes when clicked, and loses
// a layer's colours when that layer is switched off.
// usage: node ViewerTest.mjs DEMO_OUTPUT_DIR
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import path from 'node:path';
import { openViewer } from '../../Viewer/browser.mjs';

const dataDir = path.resolve(process.argv[2] || 't3d-demo-out');
const read = (name) => JSON.parse(readFileSync(path.join(dataDir, name), 'utf8'));
const anchors = new Map(read('label.labels.json').labels.map((l) => [l.text, l]));
const features = read('unique.features.json').features;
const legend = read('unique.legend.json').entries;
// Countries in view from the starting camera, in four different classes
const countries = { Brazil: 'South America', Algeria: 'Africa', 'Saudi Arabia': 'Asia', France: 'Europe' };

const started = Date.now();
const viewer = await openViewer({ dataDir });
const { page } = viewer;
console.log(`ready ${viewer.readyMs} ms after the page was asked for`);

const frame = () => page.evaluate(() => new Promise((resolve) => {
  const scene = window.t3d.viewer.scene;
  const remove = scene.postRender.addEventListener(() => { remove(); resolve(); });
  scene.requestRender();
}));
async function toggle(layer, on) {
  const box = `input[data-layer="${layer}"]`;
  if ((await page.$eval(box, (e) => e.checked)) !== on) await page.click(box);
  await page.waitForFunction((name, want) => {
    const l = window.t3d.layers.find((x) => x.theme.name === name);
    return l.visible === want && (!l.primitive || l.primitive.show === want);
  }, { timeout: 120000 }, layer, on);
  await frame();
  await frame();
}
// Screen position of a country's anchor and the canvas pixel there
const look = (name) => page.evaluate(({ lon, lat }) => {
  const { Cesium, t3d } = window;
  const at = Cesium.SceneTransforms.worldToWindowCoordinates(t3d.viewer.scene, Cesium.Cartesian3.fromDegrees(lon, lat));
  const canvas = t3d.viewer.scene.canvas;
  const copy = Object.assign(document.createElement('canvas'), { width: canvas.width, height: canvas.height });
  const context = copy.getContext('2d');
  context.drawImage(canvas, 0, 0);
  return { x: at.x, y: at.y, rgb: [...context.getImageData(Math.round(at.x), Math.round(at.y), 1, 1).data.slice(0, 3)] };
}, anchors.get(name));
const hex = (rgb) => `#${rgb.map((c) => c.toString(16).padStart(2, '0')).join('')}`;
const close = (a, b) => a.every((c, i) => Math.abs(c - b[i]) <= 3);
const rgbOf = (h) => [1, 3, 5].map((i) => parseInt(h.slice(i, i + 2), 16));

try {
  assert.deepEqual(viewer.consoleErrors, [], 'console errors');
  assert.deepEqual(viewer.foreignRequests, [], 'requests that left 127.0.0.1');

  const labels = await page.evaluate(() => window.t3d.layers.find((l) => l.labels).labels.shownTexts());
  console.log(`${labels.length} labels shown: ${labels.slice(0, 8).join(', ')}, ...`);
  assert.ok(labels.length >= 10 && labels.length <= 80, `${labels.length} labels shown`);
  assert.ok(labels.includes('Brazil'), 'the largest countries in view are labelled');

  // Labels and charts stand on the anchors: keep only the unique theme's surfaces
  await toggle('label', false);
  await toggle('graph', false);
  for (const [name, caption] of Object.entries(countries)) {
    const feature = features.find((f) => f.id === name);
    assert.equal(feature.caption, caption, `${name}'s class in the feature list`);
    const { x, y, rgb } = await look(name);
    assert.ok(close(rgb, rgbOf(legend[feature.entry].hex)),
              `${name} at (${x.toFixed(0)}, ${y.toFixed(0)}) is ${hex(rgb)}, its legend says ${legend[feature.entry].hex}`);
    if (name === 'Saudi Arabia') continue;
    await page.mouse.click(x, y);
    const pick = await page.evaluate(() => window.t3d.lastPick);
    assert.deepEqual([pick && pick.name, pick && pick.class], [name, caption], `clicking ${name}`);
    assert.equal(await page.$eval('#pick-name', (e) => e.textContent), name);
  }

  await toggle('unique', false);
  for (const [name] of Object.entries(countries)) {
    const feature = features.find((f) => f.id === name);
    const { rgb } = await look(name);
    assert.ok(!close(rgb, rgbOf(legend[feature.entry].hex)), `${name} keeps its colour with the layer off`);
  }
  console.log(`passed in ${((Date.now() - started) / 1000).toFixed(1)} s`);
} finally {
  await viewer.close();
}
