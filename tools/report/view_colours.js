// The colour map, and numbers as a reader wants them.
"use strict";

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
