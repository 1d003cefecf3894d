// Saves a picture of the viewer on a folder of demo outputs, with one feature picked.
// usage: node screenshot.mjs DATA_DIR OUT.png [FEATURE_NAME]
import { openViewer } from './browser.mjs';

const [dataDir, out, feature] = process.argv.slice(2);
if (!dataDir || !out) {
  console.error('usage: node screenshot.mjs DATA_DIR OUT.png [FEATURE_NAME]');
  process.exit(2);
}
const viewer = await openViewer({ dataDir });
try {
  if (feature) {
    // Click near where the label theme anchors the feature, as a person would
    const at = await viewer.page.evaluate(async (name) => {
      const { Cesium, t3d } = window;
      const layer = t3d.layers.find((l) => l.labels);
      const label = layer && layer.labels.items.find((i) => i.text === name);
      return label ? Cesium.SceneTransforms.worldToWindowCoordinates(t3d.viewer.scene, label.position) : null;
    }, feature);
    if (!at) throw new Error(`no label anchors ${feature}`);
    // A little south of the anchor, clear of the chart that stands on it
    await viewer.page.mouse.click(at.x, at.y + 25);
    await viewer.page.waitForFunction(() => window.t3d.lastPick, { timeout: 60000 });
  }
  await viewer.page.screenshot({ path: out });
  console.log(`ready after ${viewer.readyMs} ms; saved ${out}`);
} finally {
  await viewer.close();
}
