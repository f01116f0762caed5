// One orthographic camera for both views; z stays upright.
"use strict";

const low = [0, 1, 2].map((axis) => Math.min(...meshes.map((m) => m.low[axis])));
const high = [0, 1, 2].map((axis) => Math.max(...meshes.map((m) => m.high[axis])));
const centre = low.map((l, axis) => (l + high[axis]) / 2);
const radius = Math.hypot(...high.map((h, axis) => h - low[axis])) / 2 || 1;
const degrees = Math.PI / 180;
const PRESETS = { iso: [-58, 32], front: [-90, 0], side: [0, 0], top: [-90, 90] };
const camera = { yaw: PRESETS.iso[0] * degrees, pitch: PRESETS.iso[1] * degrees, zoom: 1, pan: [0, 0] };

/** Unit vectors of the camera: to the right, up, and towards the eye. */
const axes = () => {
  const cy = Math.cos(camera.yaw), sy = Math.sin(camera.yaw), cp = Math.cos(camera.pitch), sp = Math.sin(camera.pitch);
  return { right: [-sy, cy, 0], up: [-sp * cy, -sp * sy, cp], eye: [cp * cy, cp * sy, sp] };
};
const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];

/** Model length that half the canvas height shows. At zoom 1 the sphere around the model fits, so turning does not change the scale. */
const halfHeight = (aspect) => radius * Math.max(1, 1 / aspect) / camera.zoom;
/** Chooses the zoom at which the model's box, as seen now, fills the canvas. */
const fitView = (aspect) => {
  const { right, up } = axes();
  const half = (v) => dot(v.map(Math.abs), high.map((h, axis) => (h - low[axis]) / 2));
  const wanted = Math.max(half(up), half(right) / aspect) * 1.12 || 1;
  camera.zoom = radius * Math.max(1, 1 / aspect) / wanted;
  camera.pan = [0, 0];
};
const lookFrom = (name, aspect) => {
  [camera.yaw, camera.pitch] = PRESETS[name].map((angle) => angle * degrees);
  fitView(aspect);
};

// Light from the upper left behind the viewer, fixed to the camera. Much of it is even, so that colours keep their meaning.
const LIGHT = (() => { const l = [-0.35, 0.5, 0.79]; const n = Math.hypot(...l); return l.map((c) => c / n); })();
const EVEN = 0.7;

/** Opacity of facet edges. They fade out where they would lie so close that they hide the colours, and come back when one zooms in. */
const edgeOpacity = (mesh, width, height) => {
  normalsOf(mesh);
  const pixels = mesh.edgeLength / halfHeight(width / height) * height / 2 / Math.min(window.devicePixelRatio || 1, 2);
  return 0.28 * Math.max(0, Math.min(1, (pixels - 2.5) / 5));
};
