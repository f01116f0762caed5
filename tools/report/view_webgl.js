// Draws a surface with WebGL 1.
"use strict";

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
