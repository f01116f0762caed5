// For every page, with a view or without.
"use strict";
document.documentElement.classList.add("js");
window.addEventListener("beforeprint", () => document.querySelectorAll("details").forEach((details) => { details.open = true; }));
