// The surface without WebGL: projected points, a drawing on the 2D canvas from back to front, and the value under the pointer.
"use strict";

/** Position of each point in units of the canvas's half height (x, y) and its distance towards the eye. */
const projected = (mesh) => {
  const key = `${camera.yaw} ${camera.pitch}`;
  if (mesh.projectedFor === key) return mesh.projection;
  const { right, up, eye } = axes();
  const s = mesh.extent.map((e) => e / 65535);
  const o = mesh.low.map((l, axis) => l - centre[axis]);
  const out = mesh.projection || new Float32Array(mesh.pointCount * 3);
  const q = mesh.quantised;
  for (let p = 0; p < mesh.pointCount; ++p) {
    const x = o[0] + q[3 * p] * s[0], y = o[1] + q[3 * p + 1] * s[1], z = o[2] + q[3 * p + 2] * s[2];
    out[3 * p] = x * right[0] + y * right[1] + z * right[2];
    out[3 * p + 1] = x * up[0] + y * up[1] + z * up[2];
    out[3 * p + 2] = x * eye[0] + y * eye[1] + z * eye[2];
  }
  mesh.projection = out;
  mesh.projectedFor = key;
  return out;
};

class CanvasRenderer {
  constructor(canvas, mesh) {
    this.context = canvas.getContext("2d");
    this.mesh = mesh;
  }
  setItem(item) { this.values = valuesOf(this.mesh, item); }
  setColours() {}
  /** Facets from the farthest to the nearest, each in one colour. */
  draw(width, height, showEdges) {
    const { context, mesh, values } = this;
    const points = projected(mesh);
    const normals = normalsOf(mesh);
    const { corners, facetCount } = mesh;
    const { right, up, eye } = axes();
    const light = [0, 1, 2].map((i) => LIGHT[0] * right[i] + LIGHT[1] * up[i] + LIGHT[2] * eye[i]);
    const depth = new Float32Array(facetCount);
    for (let f = 0; f < facetCount; ++f) {
      for (let c = 0; c < 4; ++c) depth[f] += points[3 * corners[4 * f + c] + 2];
    }
    const order = new Uint32Array(facetCount).map((_, f) => f).sort((a, b) => depth[a] - depth[b]);
    const scale = height / 2 / halfHeight(width / height);
    const none = noValueColour();
    const opacity = showEdges ? edgeOpacity(mesh, width, height) : 0;
    context.clearRect(0, 0, width, height);
    context.lineWidth = Math.max(1, height / 700);
    for (const f of order) {
      let sum = 0, missing = false;
      for (let c = 0; c < 4; ++c) {
        const value = values[corners[4 * f + c]];
        missing ||= value === NO_VALUE;
        sum += value;
      }
      const n = normals.subarray(3 * f, 3 * f + 3);
      const shade = EVEN + (1 - EVEN) * Math.max(0, dot(n, light) * (dot(n, eye) < 0 ? -1 : 1));
      context.fillStyle = cssColour((missing ? none : colourAt(sum / 4 / VALUE_STEPS)).map((c) => c * shade));
      context.strokeStyle = opacity > 0 ? `rgb(0 0 0 / ${opacity})` : context.fillStyle; // closes the hairlines between facets
      context.beginPath();
      for (let c = 0; c < 4; ++c) {
        const p = 3 * corners[4 * f + c];
        context.lineTo(width / 2 + (points[p] - camera.pan[0]) * scale, height / 2 - (points[p + 1] - camera.pan[1]) * scale);
      }
      context.closePath();
      context.fill();
      context.stroke();
    }
  }
}

/** The front-most point of the surface at model position (x, y) of the picture plane: its value as a fraction of the range, or null. */
const pick = (mesh, item, x, y) => {
  const points = projected(mesh);
  const values = valuesOf(mesh, item);
  const { corners } = mesh;
  let best = null;
  for (let f = 0; f < mesh.facetCount; ++f) {
    for (let half = 0; half < 2; ++half) {
      const a = corners[4 * f], b = corners[4 * f + 1 + half], c = corners[4 * f + 2 + half];
      const ax = points[3 * a] - x, ay = points[3 * a + 1] - y, bx = points[3 * b] - x, by = points[3 * b + 1] - y;
      const cx = points[3 * c] - x, cy = points[3 * c + 1] - y;
      const wa = bx * cy - cx * by, wb = cx * ay - ax * cy, wc = ax * by - bx * ay;
      if (!((wa >= 0 && wb >= 0 && wc >= 0) || (wa <= 0 && wb <= 0 && wc <= 0))) continue;
      const area = wa + wb + wc;
      if (area === 0) continue;
      const depth = (wa * points[3 * a + 2] + wb * points[3 * b + 2] + wc * points[3 * c + 2]) / area;
      if (best && depth <= best.depth) continue;
      const known = values[a] !== NO_VALUE && values[b] !== NO_VALUE && values[c] !== NO_VALUE;
      best = { depth, t: known ? (wa * values[a] + wb * values[b] + wc * values[c]) / area / VALUE_STEPS : NaN };
    }
  }
  return best;
};
