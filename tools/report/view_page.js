// Ties surfaces, camera and drawing to the page: item selector, legend, mouse, touch and keyboard.
"use strict";

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
