// The tiled output in the viewer, in headless Chromium: the tileset that scene.json names loads
// without a console error or a foreign request, and from a camera over the layer, with the
// refinement threshold lowered step by step to zero, every tile content the document names is
// requested and loaded and none fails. The layer's legend is shown, and a feature clicked on
// the globe is named with its class and attributes.
// usage: node TilesetLoadTest.mjs TILED_OUTPUT_DIR [SCREENSHOT.png]
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { openViewer } from '../../Viewer/browser.mjs';

const dataDir = path.resolve(process.argv[2] || 't3d-demo-out');
const scene = JSON.parse(readFileSync(path.join(dataDir, 'scene.json'), 'utf8'));
const theme = scene.themes.find((t) => t.tileset);
assert.ok(theme, 'scene.json names a tileset');
const doc = JSON.parse(readFileSync(path.join(dataDir, theme.tileset), 'utf8'));
const named = [];
(function walk(tile) {
  if (tile.content) named.push(tile.content.uri);
  for (const c of tile.contents || []) named.push(c.uri);
  for (const child of tile.children || []) walk(child);
}(doc.root));

const started = Date.now();
const viewer = await openViewer({ dataDir });
const { page } = viewer;
try {
  assert.deepEqual(viewer.consoleErrors, [], 'console errors');
  assert.deepEqual(viewer.foreignRequests, [], 'requests that left 127.0.0.1');
  // Resolves once the tileset holds what the view asks for, three frames in a row
  await page.evaluate((name) => {
    const globe = window.t3d.viewer.scene;
    const tileset = window.t3d.layers.find((l) => l.theme.name === name).primitive;
    window.settled = () => new Promise((resolve) => {
      let quiet = 0;
      const remove = globe.postRender.addEventListener(() => {
        quiet = tileset.tilesLoaded ? quiet + 1 : 0;
        if (quiet >= 3) remove(), resolve();
        else globe.requestRender();
      });
      globe.requestRender();
    });
  }, theme.name);
  const result = await page.evaluate(async (name, extent) => {
    const { Cesium, t3d, settled } = window;
    const { camera } = t3d.viewer;
    const tileset = t3d.layers.find((l) => l.theme.name === name).primitive;
    const loaded = new Set();
    const failed = [];
    const uri = (url) => decodeURIComponent(new URL(url, window.location.href).pathname).replace(/^.*?(tiles\/)/, '$1');
    const take = (tile) => {
      const inner = tile.content.innerContents || [tile.content];
      for (const c of inner) loaded.add(uri(c.url));
    };
    // Tiles the viewer's first view loaded count as well as those loaded from here on
    const present = (tile) => {
      if (tile.contentReady) take(tile);
      tile.children.forEach(present);
    };
    present(tileset.root);
    tileset.tileLoad.addEventListener(take);
    tileset.tileFailed.addEventListener((e) => failed.push(`${e.url}: ${e.message}`));
    // Straight over the layer, close enough that it fills the view
    camera.setView({ destination: Cesium.Rectangle.fromDegrees(extent.west, extent.south, extent.east, extent.north) });
    // Errors halve from level to level: steps finer than that leave every level the finest drawn
    // at some step, so that each tile is asked for
    for (let sse = 256; sse >= 1; sse /= 1.4) {
      tileset.maximumScreenSpaceError = sse;
      await settled();
    }
    tileset.maximumScreenSpaceError = 0;
    await settled();
    return { loaded: [...loaded], failed, selected: tileset.statistics.selected };
  }, theme.name, theme.extent);
  // A feature of a leaf, seen from 300 m over where it stands and clicked as a person would
  const leaf = named[named.length - 1];
  const records = JSON.parse(readFileSync(path.join(dataDir, path.dirname(theme.tileset),
                                                    leaf.replace(/\.glb$/, theme.tileFeatures)), 'utf8')).features;
  const target = records.find((r) => r.drawn && Number.isFinite(r.lon));
  assert.ok(target, `${leaf} has a drawn feature with its place`);
  const at = await page.evaluate(async (lon, lat) => {
    const { Cesium, t3d, settled } = window;
    t3d.viewer.camera.setView({ destination: Cesium.Cartesian3.fromDegrees(lon, lat, 300) });
    await settled();
    const canvas = t3d.viewer.canvas;
    return { x: canvas.clientWidth / 2, y: canvas.clientHeight / 2 };
  }, target.lon, target.lat);
  await page.mouse.click(at.x, at.y);
  await page.waitForFunction(() => window.t3d.lastPick && Object.keys(window.t3d.lastPick.attributes).length > 0,
                             { timeout: 60000 });
  const pick = await page.evaluate(() => window.t3d.lastPick);
  console.log(`picked ${pick.name}: ${pick.class}`);
  assert.equal(pick.layer, theme.name);
  assert.ok(pick.class, 'the picked feature names its class');
  assert.equal(pick.name, target.id, 'the feature under the click is the one aimed at');
  assert.ok(await page.$('#legends .legend'), 'the tileset\'s legend is shown');
  // Attributes read as the data holds them: the building's year is 1950, not "1,950"
  const shown = await page.$$eval('#pick-attributes tr', (rows) => rows.map((r) => [r.cells[0].textContent, r.cells[1].textContent]));
  assert.ok(shown.some(([key]) => key === 'year'), 'the year is among the attributes shown');
  for (const [key, cell] of shown) assert.equal(cell, pick.attributes[key] === null ? '' : String(pick.attributes[key]), key);
  if (process.argv[3]) writeFileSync(process.argv[3], await page.screenshot());
  console.log(`${result.loaded.length} of ${named.length} tile contents loaded, ${result.failed.length} failed, ` +
              `${result.selected} drawn at the finest level`);
  assert.deepEqual(result.failed, [], 'tiles that failed to load');
  assert.deepEqual(named.filter((u) => !result.loaded.includes(u)), [], 'tiles never requested');
  assert.ok(result.selected > 0, 'tiles drawn');
  console.log(`passed in ${((Date.now() - started) / 1000).toFixed(1)} s`);
} finally {
  await viewer.close();
}
