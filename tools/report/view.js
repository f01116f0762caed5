// The interactive view: the part's surface on the voxel mesh and on the cut-cell mesh side by side, coloured by one item on one scale, seen by one
// camera. Draws with WebGL 1; where that is missing, with the 2D canvas. The data's layout is described in mapping_report_view.h.
"use strict";
(() => {
  document.documentElement.classList.add("js");
  const byId = (id) => document.getElementById(id);
  window.addEventListener("beforeprint", () => document.querySelectorAll("details").forEach((d) => { d.open = true; }));
  if (!byId("view-data")) return;
  const data = JSON.parse(byId("view-data").textContent);
  if (data.items.length === 0) return;

  // ---- Data -------------------------------------------------------------------------------------------------------------------------

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

  // ---- Colours ----------------------------------------------------------------------------------------------------------------------

  // Viridis at 16 even steps: even in lightness, readable without colour vision.
  const STOPS = ["440154", "481a6c", "472f7d", "414487", "39568c", "31688e", "2a788e", "23888e",
    "1f988b", "22a884", "35b779", "54c568", "7ad151", "a5db36", "d2e21b", "fde725"]
    .map((hex) => [0, 2, 4].map((at) => parseInt(hex.slice(at, at + 2), 16)));
  const BANDS = 12;
  let banded = false;

  const colourAt = (t) => {
    const u = banded ? Math.min(Math.floor(t * BANDS), BANDS - 1) / (BANDS - 1) : t;
    const at = Math.max(0, Math.min(1, u)) * (STOPS.length - 1);
    const low = Math.min(Math.floor(at), STOPS.length - 2);
    return STOPS[low].map((channel, i) => channel + (STOPS[low + 1][i] - channel) * (at - low));
  };
  const cssColour = ([r, g, b]) => `rgb(${Math.round(r)} ${Math.round(g)} ${Math.round(b)})`;
  const noValueColour = () => {
    const hex = getComputedStyle(document.documentElement).getPropertyValue("--none").trim();
    return [1, 3, 5].map((at) => parseInt(hex.slice(at, at + 2), 16));
  };

  // ---- Numbers ----------------------------------------------------------------------------------------------------------------------

  const grouped = (text) => text.replace(/^\d+/, (whole) => whole.replace(/\B(?=(\d{3})+$)/g, "\u202f"));
  const withSign = (value, text) => (value < 0 ? "−" : "") + text;

  /** About `digits` significant digits, thousands parted by narrow spaces, a power of ten where plain digits would be long. */
  const numberText = (value, digits = 5) => {
    if (!Number.isFinite(value)) return "–";
    if (value === 0) return "0";
    const size = Math.abs(value);
    let text;
    if (size >= 1e-4 && size < 1e6) {
      const decimals = Math.max(0, Math.min(8, digits - 1 - Math.floor(Math.log10(size))));
      text = size.toFixed(decimals);
      if (text.includes(".")) text = text.replace(/\.?0+$/, "");
      text = grouped(text);
    } else {
      const [mantissa, exponent] = size.toExponential(digits - 2).split("e");
      const superscript = String(Number(exponent)).replace(/[-\d]/g, (c) => c === "-" ? "⁻" : "⁰¹²³⁴⁵⁶⁷⁸⁹"[c]);
      text = `${mantissa.replace(/\.?0+$/, "")}×10${superscript}`;
    }
    return withSign(value, text);
  };
  /** Text from a file between isolating marks, so that its direction cannot turn what stands around it. */
  const isolated = (text) => `\u2068${text}\u2069`;
  const withUnit = (text, unit) => unit && text !== "–" ? `${text}\u202f${isolated(unit)}` : text;

  /** Round values 1, 2 or 5 times a power of ten apart, as [value, text]: all with the same number of decimals. */
  const ticksBetween = (low, high, wanted) => {
    const rough = (high - low) / wanted;
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = [1, 2, 5, 10].map((m) => m * power).find((s) => s >= rough) || power;
    const decimals = Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
    const plain = Math.max(Math.abs(low), Math.abs(high)) < 1e6 && step >= 1e-4;
    const found = [];
    for (let k = Math.ceil(low / step - 1e-9); k * step <= high + step * 1e-9 && found.length < 20; ++k) {
      const value = k * step;
      found.push([value, plain && k !== 0 ? withSign(value, grouped(Math.abs(value).toFixed(decimals))) : numberText(value, 6)]);
    }
    return found;
  };

  // ---- Camera: orthographic, z stays upright --------------------------------------------------------------------------------------

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

  // ---- Drawing with WebGL -----------------------------------------------------------------------------------------------------------

  const FACET_VERTEX = `
    attribute vec3 position; attribute vec3 normal; attribute vec2 value;
    uniform vec3 low, extent, centre, right, up, eye, light; uniform vec2 pan, scale; uniform float radius, even;
    varying float t, valid, shade;
    void main() {
      vec3 p = low + position * extent - centre;
      gl_Position = vec4((dot(p, right) - pan.x) * scale.x, (dot(p, up) - pan.y) * scale.y, -dot(p, eye) / (radius * 1.01), 1.0);
      vec3 n = vec3(dot(normal, right), dot(normal, up), dot(normal, eye));
      n = n.z < 0.0 ? -n : n; // facets are seen from both sides
      shade = even + (1.0 - even) * max(dot(n, light), 0.0);
      t = value.x; valid = value.y;
    }`;
  const FACET_FRAGMENT = `
    precision mediump float;
    varying float t, valid, shade; uniform sampler2D colours; uniform vec3 none;
    void main() {
      vec3 c = valid > 0.999 ? texture2D(colours, vec2(t * (255.0 / 256.0) + 0.5 / 256.0, 0.5)).rgb : none;
      gl_FragColor = vec4(c * shade, 1.0);
    }`;
  const EDGE_VERTEX = `
    attribute vec3 position; uniform vec3 low, extent, centre, right, up, eye; uniform vec2 pan, scale; uniform float radius;
    void main() {
      vec3 p = low + position * extent - centre;
      gl_Position = vec4((dot(p, right) - pan.x) * scale.x, (dot(p, up) - pan.y) * scale.y, -dot(p, eye) / (radius * 1.01) - 0.0008, 1.0);
    }`;
  const EDGE_FRAGMENT = "precision mediump float; uniform vec4 colour; void main() { gl_FragColor = colour; }";

  class WebGlRenderer {
    constructor(canvas, mesh) {
      const gl = canvas.getContext("webgl", { antialias: true, alpha: true, preserveDrawingBuffer: true });
      if (!gl) throw new Error("WebGL is not available");
      this.gl = gl;
      this.mesh = mesh;
      this.wide = gl.getExtension("OES_element_index_uint");
      this.facets = this.program(FACET_VERTEX, FACET_FRAGMENT);
      this.edges = this.program(EDGE_VERTEX, EDGE_FRAGMENT);
      this.staticBuffer = gl.createBuffer();
      this.valueBuffer = gl.createBuffer();
      this.texture = gl.createTexture();
      this.fillStatic();
    }

    program(vertex, fragment) {
      const { gl } = this;
      const program = gl.createProgram();
      for (const [type, text] of [[gl.VERTEX_SHADER, vertex], [gl.FRAGMENT_SHADER, fragment]]) {
        const shader = gl.createShader(type);
        gl.shaderSource(shader, text);
        gl.compileShader(shader);
        if (!gl.getShaderParameter(shader, gl.COMPILE_STATUS)) throw new Error(gl.getShaderInfoLog(shader) || "shader");
        gl.attachShader(program, shader);
      }
      gl.linkProgram(program);
      if (!gl.getProgramParameter(program, gl.LINK_STATUS)) throw new Error(gl.getProgramInfoLog(program) || "program");
      const uniforms = {};
      for (let i = 0; i < gl.getProgramParameter(program, gl.ACTIVE_UNIFORMS); ++i) {
        const { name } = gl.getActiveUniform(program, i);
        uniforms[name] = gl.getUniformLocation(program, name);
      }
      return { program, uniforms, at: (name) => gl.getAttribLocation(program, name) };
    }

    /** Two triangles per facet with corners of their own, so that each facet has one normal. 12 bytes: 3 x uint16, 2 spare, 3 x int8, 1 spare. */
    fillStatic() {
      const { gl, mesh } = this;
      const { corners, quantised } = mesh;
      const normals = normalsOf(mesh);
      const buffer = new ArrayBuffer(mesh.facetCount * 6 * 12);
      const positions = new Uint16Array(buffer);
      const bytes = new Int8Array(buffer);
      this.pointOfVertex = new Uint32Array(mesh.facetCount * 6);
      let vertex = 0;
      for (let f = 0; f < mesh.facetCount; ++f) {
        for (const corner of corners[4 * f + 2] === corners[4 * f + 3] ? [0, 1, 2] : [0, 1, 2, 0, 2, 3]) {
          const point = corners[4 * f + corner];
          this.pointOfVertex[vertex] = point;
          for (let axis = 0; axis < 3; ++axis) {
            positions[6 * vertex + axis] = quantised[3 * point + axis];
            bytes[12 * vertex + 8 + axis] = Math.round(normals[3 * f + axis] * 127);
          }
          ++vertex;
        }
      }
      this.vertices = vertex;
      gl.bindBuffer(gl.ARRAY_BUFFER, this.staticBuffer);
      gl.bufferData(gl.ARRAY_BUFFER, buffer, gl.STATIC_DRAW);
    }

    setItem(item) {
      const { gl, mesh } = this;
      const values = valuesOf(mesh, item);
      const pairs = new Uint16Array(this.vertices * 2);
      for (let v = 0; v < this.vertices; ++v) {
        const value = values[this.pointOfVertex[v]];
        pairs[2 * v] = value === NO_VALUE ? 0 : value / VALUE_STEPS * 65535;
        pairs[2 * v + 1] = value === NO_VALUE ? 0 : 65535;
      }
      gl.bindBuffer(gl.ARRAY_BUFFER, this.valueBuffer);
      gl.bufferData(gl.ARRAY_BUFFER, pairs, gl.DYNAMIC_DRAW);
    }

    setColours() {
      const { gl } = this;
      const pixels = new Uint8Array(256 * 4);
      for (let i = 0; i < 256; ++i) pixels.set([...colourAt(i / 255).map(Math.round), 255], 4 * i);
      gl.bindTexture(gl.TEXTURE_2D, this.texture);
      gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA, 256, 1, 0, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
      const filter = banded ? gl.NEAREST : gl.LINEAR;
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MIN_FILTER, filter);
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MAG_FILTER, filter);
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_S, gl.CLAMP_TO_EDGE);
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_T, gl.CLAMP_TO_EDGE);
    }

    /** Facet edges as lines over the mesh's points; needs 32-bit indices beyond 65536 points. */
    fillEdges() {
      const { gl, mesh } = this;
      if (this.lineCount !== undefined) return;
      const large = mesh.pointCount > 65536;
      this.lineCount = 0;
      if (large && !this.wide) return;
      const points = new Uint16Array(mesh.pointCount * 4);
      for (let p = 0; p < mesh.pointCount; ++p) points.set(mesh.quantised.subarray(3 * p, 3 * p + 3), 4 * p);
      const lines = new (large ? Uint32Array : Uint16Array)(mesh.facetCount * 8);
      for (let f = 0; f < mesh.facetCount; ++f) {
        for (let c = 0; c < 4; ++c) {
          const a = mesh.corners[4 * f + c], b = mesh.corners[4 * f + (c + 1) % 4];
          if (a !== b) { lines[this.lineCount++] = a; lines[this.lineCount++] = b; }
        }
      }
      this.pointBuffer = gl.createBuffer();
      gl.bindBuffer(gl.ARRAY_BUFFER, this.pointBuffer);
      gl.bufferData(gl.ARRAY_BUFFER, points, gl.STATIC_DRAW);
      this.lineBuffer = gl.createBuffer();
      gl.bindBuffer(gl.ELEMENT_ARRAY_BUFFER, this.lineBuffer);
      gl.bufferData(gl.ELEMENT_ARRAY_BUFFER, lines, gl.STATIC_DRAW);
      this.lineType = large ? gl.UNSIGNED_INT : gl.UNSIGNED_SHORT;
    }

    setCamera({ uniforms }, width, height) {
      const { gl, mesh } = this;
      const { right, up, eye } = axes();
      const half = halfHeight(width / height);
      gl.uniform3fv(uniforms.low, mesh.low);
      gl.uniform3fv(uniforms.extent, mesh.extent);
      gl.uniform3fv(uniforms.centre, centre);
      gl.uniform3fv(uniforms.right, right);
      gl.uniform3fv(uniforms.up, up);
      gl.uniform3fv(uniforms.eye, eye);
      gl.uniform2fv(uniforms.pan, camera.pan);
      gl.uniform2f(uniforms.scale, height / width / half, 1 / half);
      gl.uniform1f(uniforms.radius, radius);
    }

    draw(width, height, showEdges) {
      const { gl } = this;
      gl.viewport(0, 0, width, height);
      gl.clearColor(0, 0, 0, 0);
      gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
      gl.enable(gl.DEPTH_TEST);
      gl.depthFunc(gl.LEQUAL);

      const { program, uniforms, at } = this.facets;
      gl.useProgram(program);
      this.setCamera(this.facets, width, height);
      gl.uniform3fv(uniforms.light, LIGHT);
      gl.uniform1f(uniforms.even, EVEN);
      gl.uniform3fv(uniforms.none, noValueColour().map((c) => c / 255));
      gl.bindTexture(gl.TEXTURE_2D, this.texture);
      const used = [at("position"), at("normal"), at("value")];
      used.forEach((location) => gl.enableVertexAttribArray(location));
      gl.bindBuffer(gl.ARRAY_BUFFER, this.staticBuffer);
      gl.vertexAttribPointer(used[0], 3, gl.UNSIGNED_SHORT, true, 12, 0);
      gl.vertexAttribPointer(used[1], 3, gl.BYTE, true, 12, 8);
      gl.bindBuffer(gl.ARRAY_BUFFER, this.valueBuffer);
      gl.vertexAttribPointer(used[2], 2, gl.UNSIGNED_SHORT, true, 4, 0);
      gl.disable(gl.BLEND);
      gl.drawArrays(gl.TRIANGLES, 0, this.vertices);
      used.forEach((location) => gl.disableVertexAttribArray(location));

      const opacity = showEdges ? edgeOpacity(this.mesh, width, height) : 0;
      if (opacity === 0) return;
      this.fillEdges();
      if (this.lineCount === 0) return;
      gl.useProgram(this.edges.program);
      this.setCamera(this.edges, width, height);
      gl.uniform4f(this.edges.uniforms.colour, 0, 0, 0, opacity);
      const position = this.edges.at("position");
      gl.enableVertexAttribArray(position);
      gl.bindBuffer(gl.ARRAY_BUFFER, this.pointBuffer);
      gl.vertexAttribPointer(position, 3, gl.UNSIGNED_SHORT, true, 8, 0);
      gl.bindBuffer(gl.ELEMENT_ARRAY_BUFFER, this.lineBuffer);
      gl.enable(gl.BLEND);
      gl.blendFuncSeparate(gl.SRC_ALPHA, gl.ONE_MINUS_SRC_ALPHA, gl.ONE, gl.ONE_MINUS_SRC_ALPHA);
      gl.drawElements(gl.LINES, this.lineCount, this.lineType, 0);
      gl.disableVertexAttribArray(position);
    }
  }

  // ---- Points on the canvas: for the 2D drawing and for reading values under the pointer ---------------------------------------------

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

  // ---- The page ---------------------------------------------------------------------------------------------------------------------

  const section = byId("view");
  const itemSelect = byId("view-item");
  const edgesBox = byId("view-edges");
  const bandsBox = byId("view-bands");
  const readout = byId("view-readout");
  const scaleBar = byId("view-scale");
  const ticks = byId("view-ticks");
  let current = 0;
  let pending = false;
  let hovered = null;

  const views = meshes.map((mesh) => {
    const canvas = byId(`view-${mesh.id}`);
    const stage = canvas.parentElement;
    return { mesh, canvas, frames: 0, triad: stage.querySelector(".triad"), cross: stage.querySelector(".cross") };
  });

  const startRenderers = () => {
    let notice = "";
    for (const view of views) {
      try {
        view.renderer = new WebGlRenderer(view.canvas, view.mesh);
        view.canvas.dataset.renderer = "webgl";
      } catch (error) {
        notice = "WebGL is not available in this browser; the model is drawn in a simpler way, which may turn slowly.";
        // A canvas that once gave a WebGL context gives no other.
        const fresh = view.canvas.cloneNode(false);
        view.canvas.replaceWith(fresh);
        view.canvas = fresh;
        view.renderer = new CanvasRenderer(fresh, view.mesh);
        fresh.dataset.renderer = "2d";
      }
      view.renderer.setColours();
      view.renderer.setItem(current);
    }
    byId("view-notice").textContent = notice;
    byId("view-notice").hidden = notice === "";
  };

  const drawTriad = (svg) => {
    const { right, up, eye } = axes();
    svg.querySelectorAll("g").forEach((g, axis) => {
      const x = right[axis] * 24, y = -up[axis] * 24;
      const line = g.querySelector("line");
      line.setAttribute("x2", x);
      line.setAttribute("y2", y);
      const text = g.querySelector("text");
      const hidden = Math.hypot(x, y) < 4;
      text.setAttribute("x", x * 1.38);
      text.setAttribute("y", y * 1.38);
      g.style.opacity = hidden ? 0 : eye[axis] < -0.01 ? 0.55 : 1;
    });
  };

  const draw = () => {
    pending = false;
    for (const view of views) {
      const { canvas } = view;
      const density = Math.min(window.devicePixelRatio || 1, 2);
      const width = Math.max(1, Math.round(canvas.clientWidth * density)), height = Math.max(1, Math.round(canvas.clientHeight * density));
      if (canvas.width !== width || canvas.height !== height) {
        canvas.width = width;
        canvas.height = height;
      }
      view.renderer.draw(width, height, edgesBox.checked);
      drawTriad(view.triad);
      canvas.dataset.drawnFacets = view.mesh.facetCount;
      canvas.dataset.item = current;
      canvas.dataset.frames = ++view.frames;
    }
    showReadout();
  };
  const redraw = () => {
    if (!pending) {
      pending = true;
      requestAnimationFrame(draw);
    }
  };
  const aspect = () => views[0].canvas.clientWidth / Math.max(1, views[0].canvas.clientHeight);

  const showScale = () => {
    const item = data.items[current];
    const extent = item.high - item.low;
    const steps = banded ? BANDS : 32;
    const stops = [];
    for (let i = 0; i < steps; ++i) {
      if (banded) stops.push(`${cssColour(colourAt((i + 0.5) / steps))} ${100 * i / steps}% ${100 * (i + 1) / steps}%`);
      else stops.push(`${cssColour(colourAt(i / (steps - 1)))} ${100 * i / (steps - 1)}%`);
    }
    scaleBar.style.background = extent > 0 ? `linear-gradient(to right, ${stops.join(", ")})` : cssColour(colourAt(0));
    byId("view-quantity").textContent = isolated(item.name) + (item.unit ? ` in ${isolated(item.unit)}` : "");
    byId("view-range").textContent = `${numberText(item.low)} to ${withUnit(numberText(item.high), item.unit)}, over both meshes`;
    const wanted = Math.max(2, Math.min(9, Math.floor(scaleBar.clientWidth / 90)));
    ticks.replaceChildren(...(extent > 0 ? ticksBetween(item.low, item.high, wanted) : [[item.low, numberText(item.low)]]).map(([value, text]) => {
      const tick = document.createElement("span");
      const share = extent > 0 ? (value - item.low) / extent : 0;
      tick.style.left = `${100 * share}%`;
      if (share < 0.03) tick.style.transform = "none";
      if (share > 0.97) tick.style.transform = "translateX(-100%)";
      tick.textContent = text;
      return tick;
    }));
    byId("view-none").hidden = !meshes.some((mesh) => valuesOf(mesh, current).includes(NO_VALUE));
  };

  /** Reads both meshes at the same place of the model. */
  const showReadout = () => {
    scaleBar.replaceChildren();
    for (const view of views) view.cross.hidden = true;
    if (!hovered) {
      readout.textContent = "";
      return;
    }
    const { view, fx, fy } = hovered;
    const half = halfHeight(view.canvas.clientWidth / view.canvas.clientHeight);
    const x = (fx * 2 - 1) * half * view.canvas.clientWidth / view.canvas.clientHeight + camera.pan[0];
    const y = (1 - fy * 2) * half + camera.pan[1];
    const item = data.items[current];
    const found = views.map((v) => pick(v.mesh, current, x, y));
    if (!found.some(Boolean)) {
      readout.textContent = "";
      return;
    }
    const parts = found.map((hit) => {
      if (!hit) return "–";
      if (Number.isNaN(hit.t)) return "no value";
      const pointer = document.createElement("span");
      pointer.className = "pointer";
      pointer.style.left = `${100 * hit.t}%`;
      scaleBar.append(pointer);
      return withUnit(numberText(item.low + hit.t * (item.high - item.low)), item.unit);
    });
    readout.textContent = `Here: voxel ${parts[0]}, cut-cell ${parts[1]}`;
    for (const other of views) {
      other.cross.hidden = other === view;
      other.cross.style.left = `${100 * fx}%`;
      other.cross.style.top = `${100 * fy}%`;
    }
  };

  const chooseItem = (item) => {
    current = item;
    for (const { renderer } of views) renderer.setItem(item);
    showScale();
    redraw();
  };

  const turn = (dx, dy) => {
    camera.yaw -= dx;
    camera.pitch = Math.max(-Math.PI / 2, Math.min(Math.PI / 2, camera.pitch + dy));
  };
  const move = (dx, dy, canvas) => {
    const unit = 2 * halfHeight(canvas.clientWidth / canvas.clientHeight) / canvas.clientHeight;
    camera.pan = [camera.pan[0] - dx * unit, camera.pan[1] + dy * unit];
  };
  /** Zooms about a place of the picture: it stays where it is. */
  const zoomBy = (factor, canvas, fx = 0.5, fy = 0.5) => {
    const ratio = canvas.clientWidth / canvas.clientHeight;
    const before = halfHeight(ratio);
    camera.zoom = Math.max(0.2, Math.min(400, camera.zoom * factor));
    const change = before - halfHeight(ratio);
    camera.pan = [camera.pan[0] + (fx * 2 - 1) * ratio * change, camera.pan[1] + (1 - fy * 2) * change];
  };

  const listen = (view) => {
    const { canvas } = view;
    const pointers = new Map();
    const place = (event) => {
      const box = canvas.getBoundingClientRect();
      return [(event.clientX - box.left) / box.width, (event.clientY - box.top) / box.height];
    };
    const span = () => {
      const [a, b] = [...pointers.values()];
      return Math.hypot(a.x - b.x, a.y - b.y);
    };
    canvas.addEventListener("pointerdown", (event) => {
      canvas.setPointerCapture(event.pointerId);
      pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
    });
    canvas.addEventListener("pointermove", (event) => {
      const last = pointers.get(event.pointerId);
      const [fx, fy] = place(event);
      hovered = { view, fx, fy };
      if (last) {
        const dx = event.clientX - last.x, dy = event.clientY - last.y;
        const before = pointers.size === 2 ? span() : 0;
        pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
        if (pointers.size === 2) {
          if (before > 0) zoomBy(span() / before, canvas, fx, fy);
        } else if (event.shiftKey || event.buttons === 2 || event.buttons === 4) move(dx, dy, canvas);
        else turn(dx * 0.008, dy * 0.008);
        redraw();
      } else if (!pending) {
        pending = true;
        requestAnimationFrame(() => { pending = false; showReadout(); });
      }
    });
    for (const name of ["pointerup", "pointercancel"]) canvas.addEventListener(name, (event) => pointers.delete(event.pointerId));
    canvas.addEventListener("pointerleave", () => { hovered = null; showReadout(); });
    canvas.addEventListener("contextmenu", (event) => event.preventDefault());
    canvas.addEventListener("dblclick", () => { lookFrom("iso", aspect()); redraw(); });
    canvas.addEventListener("wheel", (event) => {
      event.preventDefault();
      const lines = event.deltaMode === 1 ? 30 : 1;
      zoomBy(Math.exp(-Math.max(-200, Math.min(200, event.deltaY * lines)) * 0.0016), canvas, ...place(event));
      redraw();
    }, { passive: false });
    canvas.addEventListener("keydown", (event) => {
      if (event.ctrlKey || event.metaKey || event.altKey) return;
      const arrows = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
      const arrow = arrows[event.key];
      if (arrow && event.shiftKey) move(arrow[0] * 24, arrow[1] * 24, canvas);
      else if (arrow) turn(arrow[0] * 0.12, arrow[1] * 0.12);
      else if (event.key === "+" || event.key === "=") zoomBy(1.2, canvas);
      else if (event.key === "-") zoomBy(1 / 1.2, canvas);
      else if (event.key === "0" || event.key === "Home") lookFrom("iso", aspect());
      else return;
      event.preventDefault();
      redraw();
    });
    canvas.addEventListener("webglcontextlost", (event) => event.preventDefault());
    canvas.addEventListener("webglcontextrestored", () => { startRenderers(); redraw(); });
  };

  // Items in groups by file; the text is set as text, whatever it is.
  let group = null;
  data.items.forEach((item, index) => {
    if (!group || group.label !== item.file) {
      group = document.createElement("optgroup");
      group.label = item.file;
      itemSelect.append(group);
    }
    group.append(new Option(`${item.number}  ${item.name}`, index));
  });
  itemSelect.value = "0";

  section.hidden = false;
  edgesBox.checked = true;
  startRenderers();
  views.forEach(listen);
  lookFrom("iso", aspect());
  itemSelect.addEventListener("change", () => chooseItem(Number(itemSelect.value)));
  edgesBox.addEventListener("change", redraw);
  bandsBox.addEventListener("change", () => {
    banded = bandsBox.checked;
    views.forEach(({ renderer }) => renderer.setColours());
    showScale();
    redraw();
  });
  document.querySelectorAll("[data-view]").forEach((button) => button.addEventListener("click", () => {
    lookFrom(button.dataset.view, aspect());
    redraw();
  }));
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", redraw);
  new ResizeObserver(() => { showScale(); redraw(); }).observe(section);
  chooseItem(0);
})();
