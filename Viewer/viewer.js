// The viewer: reads a scene manifest (data/scene.json unless ?scene= names another), draws every
// theme it lists as a layer on an offline globe, and shows legends, labels and picked features.
// Nothing but the manifest and the files it names is read; no request leaves this server.
import { LabelLayer } from './labels.js';

const Cesium = window.Cesium;
const params = new URLSearchParams(window.location.search);
const sceneUrl = new URL(params.get('scene') || 'data/scene.json', window.location.href);

// Each layer is drawn this much (relative to the Earth's radius, about 64 m) above the one after
// it, so that surfaces of two layers never fight for the same pixels: the first listed is on top
const LIFT = 1.0e-5;

// State read by the browser test and handy from the console
const t3d = { ready: false, error: null, layers: [], lastPick: null, readyMs: null };
window.t3d = t3d;

const $ = (id) => document.getElementById(id);

function fail(message) {
  t3d.error = message;
  $('status').textContent = message;
  $('status').hidden = false;
  console.error(message);
}

async function fetchJson(url) {
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url.pathname}: HTTP ${response.status}`);
  return response.json();
}

function createViewer() {
  const imagery = Cesium.TileMapServiceImageryProvider.fromUrl(
    Cesium.buildModuleUrl('Assets/Textures/NaturalEarthII'));
  const viewer = new Cesium.Viewer('globe', {
    baseLayer: Cesium.ImageryLayer.fromProviderAsync(imagery),
    terrainProvider: new Cesium.EllipsoidTerrainProvider(),
    animation: false, timeline: false, baseLayerPicker: false, geocoder: false, homeButton: false,
    sceneModePicker: false, navigationHelpButton: false, fullscreenButton: false, infoBox: false,
    selectionIndicator: false,
    // Lets the canvas be read back (screenshots, colour checks)
    contextOptions: { webgl: { preserveDrawingBuffer: true } },
    // Frames are drawn when something changes, not sixty times a second on an idle map
    requestRenderMode: true, maximumRenderTimeChange: Number.POSITIVE_INFINITY,
  });
  viewer.scene.fog.enabled = false;
  return viewer;
}

// A model is ready once it has been drawn; frames are only drawn on request
function whenModelReady(model) {
  return new Promise((resolve, reject) => {
    const scene = t3d.viewer.scene;
    const tick = scene.postRender.addEventListener(() => (model.ready ? tick() : scene.requestRender()));
    model.readyEvent.addEventListener(() => resolve());
    model.errorEvent.addEventListener((e) => reject(e));
    scene.requestRender();
  });
}

// Screen boxes of the panels over the globe, which labels leave free
function panelBoxes() {
  return ['panel', 'info'].map($).filter((e) => !e.hidden).map((e) => {
    const r = e.getBoundingClientRect();
    return { x0: r.left, y0: r.top, x1: r.right, y1: r.bottom };
  });
}

async function loadLayer(viewer, theme, order) {
  const url = (name) => new URL(name, sceneUrl);
  const [legend, features, labels] = await Promise.all([
    theme.legend ? fetchJson(url(theme.legend)) : null,
    theme.features ? fetchJson(url(theme.features)) : null,
    theme.labels ? fetchJson(url(theme.labels)) : null,
  ]);
  const layer = { theme, legend, features: features ? features.features : [], visible: false, primitive: null,
                  labels: null, order, loading: null };
  if (labels) layer.labels = new LabelLayer(viewer.scene, labels, panelBoxes);
  return layer;
}

// A layer's scene is loaded the first time it is shown; hidden layers cost nothing
async function loadScene(viewer, layer) {
  const { theme } = layer;
  const lift = Cesium.Matrix4.fromUniformScale(1.0 + LIFT * layer.order);
  const url = (name) => new URL(name, sceneUrl).href;
  let primitive = null;
  if (theme.tileset) {
    primitive = await Cesium.Cesium3DTileset.fromUrl(url(theme.tileset), { modelMatrix: lift });
  } else if (theme.glb && !layer.labels) {
    // A label theme's scene only repeats the features in a neutral colour: its texts are the
    // layer. The scenes are Earth-centred with glTF's axes: y up and x forward.
    primitive = await Cesium.Model.fromGltfAsync({ url: url(theme.glb), forwardAxis: Cesium.Axis.X,
                                                   modelMatrix: lift });
  }
  if (primitive) viewer.scene.primitives.add(primitive);
  if (primitive instanceof Cesium.Model) await whenModelReady(primitive);
  layer.primitive = primitive;
}

async function setVisible(layer, visible) {
  layer.visible = visible;
  renderLegends();
  if (visible && !layer.loading) layer.loading = loadScene(t3d.viewer, layer);
  if (layer.loading) await layer.loading;
  if (layer.primitive) layer.primitive.show = layer.visible;
  if (layer.labels) layer.labels.setVisible(layer.visible);
  t3d.viewer.scene.requestRender();
}

function text(tag, content, className) {
  const e = document.createElement(tag);
  if (content !== undefined) e.textContent = content;
  if (className) e.className = className;
  return e;
}

function formatNumber(v) {
  if (typeof v !== 'number') return String(v);
  // Small factors (a height scale of 0.0005) keep two significant digits instead of becoming 0
  return v !== 0 && Math.abs(v) < 0.01 ? v.toPrecision(2) : v.toLocaleString('en-US', { maximumFractionDigits: 2 });
}

function renderLayerList() {
  const box = $('layers');
  box.replaceChildren(text('b', 'Layers'));
  for (const layer of t3d.layers) {
    const label = text('label');
    const check = document.createElement('input');
    check.type = 'checkbox';
    check.checked = layer.visible;
    check.dataset.layer = layer.theme.name;
    check.addEventListener('change', () => setVisible(layer, check.checked));
    label.append(check, ` ${layer.theme.name} `, text('span', `(${layer.theme.kind})`, 'kind'));
    box.append(label);
  }
}

function legendPanel(layer) {
  const { theme, legend } = layer;
  const panel = text('div', undefined, 'legend');
  panel.dataset.layer = theme.name;
  panel.append(text('h2', `${theme.name}: ${legend.expression || theme.kind}`));
  const meta = [];
  if (legend.method) {
    const fit = Number.isFinite(legend.goodnessOfVarianceFit) ? `, goodness of fit ${legend.goodnessOfVarianceFit.toFixed(2)}` : '';
    meta.push(`classification: ${legend.method}${fit}`);
  }
  const breaks = Array.isArray(legend.breaks) ? legend.breaks
    : [...new Set(legend.entries.flatMap((e) => [e.low, e.high]).filter(Number.isFinite))];
  if (breaks.length) meta.push(`breaks: ${breaks.map(formatNumber).join(' | ')}`);
  const series = legend.entries.filter((e) => e.role === 'series');
  if (series.length) {
    const scale = (e) => (Number.isFinite(e.metresPerUnit) ? ` (${e.metresPerUnit.toPrecision(2)} m per unit)` : '');
    meta.push(`series: ${series.map((e) => `${e.value || e.caption}${scale(e)}`).join(', ')}`);
  }
  if (legend.graduation === 'square root' && Array.isArray(legend.sizeRange)) {
    // The chart size of a pie is four times its radius
    meta.push(`chart area follows the total; largest radius ${formatNumber(Math.round(legend.sizeRange[1] / 4000))} km`);
  }
  if (theme.kind === 'graph' || theme.heightScale !== 1) meta.push(`height scale: ×${formatNumber(theme.heightScale)}`);
  for (const line of meta) panel.append(text('p', line, 'meta'));
  const table = document.createElement('table');
  for (const entry of legend.entries) {
    const row = table.insertRow();
    const swatch = text('span', undefined, 'swatch');
    swatch.style.background = entry.hex;
    row.insertCell().append(swatch);
    row.insertCell().textContent = entry.caption;
    const count = row.insertCell();
    count.className = 'count';
    count.textContent = entry.role === 'series' || entry.role === 'property' ? '' : formatNumber(entry.count);
  }
  panel.append(table);
  return panel;
}

function renderLegends() {
  $('legends').replaceChildren(...t3d.layers.filter((l) => l.visible && l.legend).map(legendPanel));
}

function showPick(layer, record, name) {
  const attributes = record ? record.attributes || {} : {};
  t3d.lastPick = { layer: layer.theme.name, name, class: record ? record.caption ?? null : null,
                   value: record ? record.value ?? null : null, attributes };
  $('pick-name').textContent = name;
  $('pick-layer').textContent = `${layer.theme.name} (${layer.theme.kind})`;
  $('pick-class').textContent = t3d.lastPick.class ?? '—';
  $('pick-value').textContent = t3d.lastPick.value === null ? '—' : formatNumber(t3d.lastPick.value);
  const table = $('pick-attributes');
  table.replaceChildren();
  for (const [key, value] of Object.entries(attributes)) {
    const row = table.insertRow();
    row.insertCell().append(text('b', key));
    // Attributes as the data holds them, as a GIS attribute table shows them: a year or a code
    // is 1950, not "1,950"
    row.insertCell().textContent = value === null ? '' : String(value);
  }
  $('info').hidden = false;
  t3d.viewer.scene.requestRender();
}

// A picked feature's record: a scene's come with its layer; a tileset keeps those of each content
// beside it, fetched the first time one of its features is picked
async function recordOf(layer, picked) {
  if (!layer.theme.tileset) return layer.features[picked.featureId];
  const content = picked.content && picked.content.url;
  if (!content || !layer.theme.tileFeatures) return undefined;
  const url = new URL(content, sceneUrl);
  url.pathname = url.pathname.replace(/\.glb$/, layer.theme.tileFeatures);
  layer.tileRecords = layer.tileRecords || new Map();
  if (!layer.tileRecords.has(url.href)) {
    layer.tileRecords.set(url.href, fetchJson(url).then((d) => d.features || []).catch(() => []));
  }
  return (await layer.tileRecords.get(url.href))[picked.featureId];
}

async function onClick(viewer, position) {
  // Labels stand over their features: look through them to the first feature of a layer
  let picked, layer;
  for (const candidate of viewer.scene.drillPick(position, 4)) {
    layer = t3d.layers.find((l) => l.primitive && l.primitive === candidate.primitive);
    if (layer && candidate.featureId !== undefined) {
      picked = candidate;
      break;
    }
  }
  if (!picked) {
    t3d.lastPick = null;
    $('info').hidden = true;
    return;
  }
  const record = await recordOf(layer, picked);
  const tableName = typeof picked.getProperty === 'function' ? picked.getProperty('name') : undefined;
  showPick(layer, record, (record && record.id) || tableName || `#${picked.featureId}`);
}

function frameLayers(viewer, layers, layerOfScene) {
  // Each theme's extent, or the scene layer's when the themes give none
  const fallback = layerOfScene && layerOfScene.extent;
  const extents = layers.map((l) => l.theme.extent || fallback).filter(Boolean);
  if (!extents.length) return;
  const clamp = (v, lo, hi) => Math.min(hi, Math.max(lo, v));
  const w = clamp(Math.min(...extents.map((e) => e.west)), -180, 180);
  const e = clamp(Math.max(...extents.map((x) => x.east)), -180, 180);
  const s = clamp(Math.min(...extents.map((x) => x.south)), -90, 90);
  const n = clamp(Math.max(...extents.map((x) => x.north)), -90, 90);
  // A rectangle wider than a hemisphere would be seen from too close: look at its centre from a
  // height that shows the whole of the Earth's visible side instead
  if (e - w > 120 || n - s > 90) {
    viewer.camera.setView({ destination: Cesium.Cartesian3.fromDegrees((w + e) / 2, (s + n) / 2, 1.6e7) });
  } else {
    viewer.camera.setView({ destination: Cesium.Rectangle.fromDegrees(w, s, e, n) });
  }
}

// Resolves once the globe has no tile left to load and every layer's scene has drawn
function whenSettled(viewer) {
  return new Promise((resolve) => {
    let settledFrames = 0;
    const remove = viewer.scene.postRender.addEventListener(() => {
      viewer.scene.requestRender();
      const modelsReady = t3d.layers.every((l) => !l.primitive || !l.primitive.show ||
        (l.primitive instanceof Cesium.Cesium3DTileset ? l.primitive.tilesLoaded : l.primitive.ready));
      settledFrames = viewer.scene.globe.tilesLoaded && modelsReady ? settledFrames + 1 : 0;
      // A few quiet frames in a row: labels placed and nothing still streaming in
      if (settledFrames >= 3) {
        remove();
        resolve();
      }
    });
  });
}

async function main() {
  const viewer = createViewer();
  t3d.viewer = viewer;
  const manifest = await fetchJson(sceneUrl);
  const themes = manifest.themes || [];
  if (!themes.length) throw new Error(`${sceneUrl.pathname} lists no theme`);
  $('title').textContent = manifest.layer && manifest.layer.name ? manifest.layer.name : 'Scene';
  t3d.layers = await Promise.all(themes.map((theme, i) => loadLayer(viewer, theme, themes.length - i)));
  frameLayers(viewer, t3d.layers, manifest.layer);
  // Surfaces of several themes would hide one another: the first theme starts shown, with the
  // label and chart themes that stand on top of it
  await Promise.all(t3d.layers.map((layer, i) =>
    setVisible(layer, i === 0 || layer.labels !== null || layer.theme.kind === 'graph')));
  renderLayerList();
  new Cesium.ScreenSpaceEventHandler(viewer.canvas).setInputAction(
    (event) => onClick(viewer, event.position), Cesium.ScreenSpaceEventType.LEFT_CLICK);
  $('info-close').addEventListener('click', () => {
    $('info').hidden = true;
    viewer.scene.requestRender();
  });
  await whenSettled(viewer);
  t3d.readyMs = Math.round(performance.now());
  t3d.ready = true;
  document.body.dataset.ready = 'true';
}

main().catch((e) => fail(`The scene could not be shown: ${e && e.message ? e.message : e}`));
