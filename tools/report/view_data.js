// The view's data: surfaces and values as the page carries them (tools/mapping_report_view.h describes the layout).
// The view_*.js files become one script, in the order data, colours, camera, webgl, canvas, page.
"use strict";
const byId = (id) => document.getElementById(id);
const data = JSON.parse(byId("view-data").textContent);

const NO_VALUE = 65535;
const VALUE_STEPS = 65534;

/** The bytes of an element's base64 text, in a buffer that typed arrays can use. */
const bytesOf = (id) => {
  const text = atob(byId(id).textContent);
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  return bytes.buffer;
};

const meshes = data.meshes.map((mesh) => {
  const facets = bytesOf(mesh.id + "-facets");
  const extent = mesh.high.map((high, axis) => high - mesh.low[axis]);
  return {
    ...mesh,
    facetCount: mesh.facets,
    pointCount: mesh.points,
    extent,
    quantised: new Uint16Array(bytesOf(mesh.id + "-points")),
    corners: mesh.indexBytes === 2 ? new Uint16Array(facets) : new Uint32Array(facets),
    valueCache: new Map(),
  };
});

const valuesOf = (mesh, item) => {
  if (!mesh.valueCache.has(item)) mesh.valueCache.set(item, new Uint16Array(bytesOf(`${mesh.id}-item-${item}`)));
  return mesh.valueCache.get(item);
};

/** Unit normal of each facet, three floats; from the diagonals, which serves triangles (third corner repeated) as well. */
const normalsOf = (mesh) => {
  if (mesh.normals) return mesh.normals;
  const { corners, quantised: q, extent } = mesh;
  const s = extent.map((e) => e / 65535);
  const normals = new Float32Array(mesh.facetCount * 3);
  let area = 0;
  for (let f = 0; f < mesh.facetCount; ++f) {
    const a = corners[4 * f] * 3, b = corners[4 * f + 1] * 3, c = corners[4 * f + 2] * 3, d = corners[4 * f + 3] * 3;
    const ux = (q[c] - q[a]) * s[0], uy = (q[c + 1] - q[a + 1]) * s[1], uz = (q[c + 2] - q[a + 2]) * s[2];
    const vx = (q[d] - q[b]) * s[0], vy = (q[d + 1] - q[b + 1]) * s[1], vz = (q[d + 2] - q[b + 2]) * s[2];
    const nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    const length = Math.hypot(nx, ny, nz) || 1;
    area += length / 2;
    normals[3 * f] = nx / length;
    normals[3 * f + 1] = ny / length;
    normals[3 * f + 2] = nz / length;
  }
  mesh.normals = normals;
  mesh.edgeLength = Math.sqrt(area / Math.max(1, mesh.facetCount));
  return normals;
};
