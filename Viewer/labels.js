// Label texts of a label theme placed on the globe. Every frame the labels behind the Earth or
// beyond the distance rule are hidden, then the rest claim screen space in order of priority
// (larger features first): a label whose box meets one already placed stays hidden, so that
// small neighbours never pile up at world scale.
const Cesium = window.Cesium;

// Farther than this from the camera (metres) a label is not shown at all
export const MAX_LABEL_DISTANCE = 3.0e7;
// Free space kept around each label, in pixels
const MARGIN = 3;

function cssColour(colour, fallback) {
  if (!Array.isArray(colour) || colour.length < 3) return fallback;
  return new Cesium.Color(colour[0], colour[1], colour[2], colour.length > 3 ? colour[3] : 1.0);
}

export class LabelLayer {
  // reserved: answers the screen boxes ({x0, y0, x1, y1}) that labels must keep clear of
  constructor(scene, file, reserved = () => []) {
    this.scene = scene;
    this.reserved = reserved;
    this.visible = true;
    this.shown = 0;
    this.collection = scene.primitives.add(new Cesium.LabelCollection({ scene }));
    const style = file.textStyle || {};
    // Sizes in the document are points at the theme's scale; keep them readable on screen
    const px = Math.round(Math.min(16, Math.max(11, Number(style.size) || 13)));
    const font = `${px}px ${style.face ? `"${style.face}", ` : ''}sans-serif`;
    const fill = cssColour(style.colour, Cesium.Color.BLACK);
    const halo = style.halo !== false;
    // The halo is whichever of black and white stands out against the text colour
    const haloColour = fill.red * 0.299 + fill.green * 0.587 + fill.blue * 0.114 > 0.5 ? Cesium.Color.BLACK
      : Cesium.Color.WHITE;
    const measure = document.createElement('canvas').getContext('2d');
    measure.font = font;
    const entries = (file.labels || []).filter((l) => Number.isFinite(l.lon) && Number.isFinite(l.lat) && l.text);
    entries.sort((a, b) => (b.size || 0) - (a.size || 0));
    this.items = entries.map((l) => {
      const position = Cesium.Cartesian3.fromDegrees(l.lon, l.lat, l.height || 0);
      const label = this.collection.add({
        position, text: l.text, font, fillColor: fill,
        outlineColor: halo ? haloColour : fill, outlineWidth: halo ? 3 : 0,
        style: halo ? Cesium.LabelStyle.FILL_AND_OUTLINE : Cesium.LabelStyle.FILL,
        horizontalOrigin: Cesium.HorizontalOrigin.CENTER, verticalOrigin: Cesium.VerticalOrigin.CENTER,
        // The layer's own triangles would cut labels at the surface: draw them over everything
        // and hide those behind the Earth here instead
        disableDepthTestDistance: Number.POSITIVE_INFINITY,
        show: false,
      });
      return { label, position, text: l.text, halfWidth: measure.measureText(l.text).width / 2 + MARGIN,
               halfHeight: px * 0.6 + MARGIN };
    });
    this.listener = scene.preRender.addEventListener(() => this.update());
  }

  setVisible(visible) {
    this.visible = visible;
    this.update();
    this.scene.requestRender();
  }

  update() {
    const scene = this.scene;
    const camera = scene.camera.positionWC;
    const occluder = new Cesium.EllipsoidalOccluder(Cesium.Ellipsoid.WGS84, camera);
    const width = scene.canvas.clientWidth, height = scene.canvas.clientHeight;
    const placed = [...this.reserved()];
    let shown = 0;
    const at = new Cesium.Cartesian2();
    for (const item of this.items) {
      let show = this.visible && occluder.isPointVisible(item.position) &&
        Cesium.Cartesian3.distance(camera, item.position) <= MAX_LABEL_DISTANCE &&
        Cesium.SceneTransforms.worldToWindowCoordinates(scene, item.position, at) !== undefined;
      if (show) {
        const box = { x0: at.x - item.halfWidth, x1: at.x + item.halfWidth, y0: at.y - item.halfHeight,
                      y1: at.y + item.halfHeight };
        show = box.x0 >= 0 && box.y0 >= 0 && box.x1 <= width && box.y1 <= height &&
          !placed.some((b) => box.x0 < b.x1 && b.x0 < box.x1 && box.y0 < b.y1 && b.y0 < box.y1);
        if (show) placed.push(box), ++shown;
      }
      item.label.show = show;
    }
    this.shown = shown;
  }

  // Texts of the labels on screen now
  shownTexts() {
    return this.items.filter((i) => i.label.show).map((i) => i.text);
  }
}
