"""Opens pages of the mapping report in headless Chromium, as a reader would, and looks at what happens.

usage: report_in_browser.py SAMPLE_PROGRAM [OUTPUT_FOLDER]

SAMPLE_PROGRAM writes pages of sample data (mapping_report_sample). Every page must open without an error or exception in the console, fetch
nothing, and draw the surfaces; turning, zooming and choosing items must change the pictures; a page whose texts were made to do harm must do none;
without WebGL the 2D drawing takes over; without JavaScript the tables stay readable. With OUTPUT_FOLDER the screenshots are kept there.
Chromium is driven through chromedriver's HTTP interface (https://www.w3.org/TR/webdriver2/) with the standard library alone.
"""

import base64
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.error
import urllib.request

import numpy
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOImage import vtkPNGReader

FLAGS = [
    "--headless=new",
    "--use-angle=swiftshader",
    "--enable-unsafe-swiftshader",
    "--ignore-gpu-blocklist",
    "--disable-dev-shm-usage",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--disable-default-apps",
    "--no-proxy-server",
    "--host-resolver-rules=MAP * ~NOTFOUND",
    "--force-device-scale-factor=1",
    "--hide-scrollbars",
]


class Driver:
    """chromedriver as a child process; gone with the `with` block."""

    def __enter__(self):
        self.process = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        for line in self.process.stdout:
            match = re.search(r"started successfully on port (\d+)", line)
            if match:
                self.base = f"http://127.0.0.1:{match[1]}"
                return self
        raise RuntimeError("chromedriver did not start")

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"}, method=method)
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(request, timeout=120) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(f"{method} {path}: {json.load(error)['value']['message'][:600]}") from None


class Browser:
    """One Chromium with an empty profile."""

    def __init__(self, driver, folder, extra_flags=()):
        self.driver = driver
        self.profile = tempfile.mkdtemp(prefix="profile-", dir=folder)
        flags = FLAGS + [f"--user-data-dir={self.profile}"] + list(extra_flags)
        if os.geteuid() == 0:
            flags.append("--no-sandbox")
        capabilities = {
            "browserName": "chrome",
            "goog:chromeOptions": {"args": flags},
            "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"},
        }
        answer = driver.call("POST", "/session", {"capabilities": {"alwaysMatch": capabilities}})
        self.path = f"/session/{answer['sessionId']}"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.call("DELETE", self.path)
        shutil.rmtree(self.profile, ignore_errors=True)

    def post(self, path, **body):
        return self.driver.call("POST", self.path + path, body)

    def tool(self, command, **parameters):
        return self.post("/goog/cdp/execute", cmd=command, params=parameters)

    def run(self, script, *arguments):
        return self.post("/execute/async", script=f"const done = arguments[arguments.length - 1]; {script}", args=list(arguments))

    def open(self, page, width=1400, scheme="light"):
        self.tool("Emulation.setDeviceMetricsOverride", width=width, height=1000, deviceScaleFactor=1, mobile=False)
        self.tool("Emulation.setEmulatedMedia", media="", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.post("/url", url=page.as_uri())
        self.settle()

    def settle(self):
        """Waits until what was asked for has been drawn: drawing happens in animation frames."""
        self.run("requestAnimationFrame(() => requestAnimationFrame(() => requestAnimationFrame(() => done(true))));")

    def canvas(self, mesh):
        """The canvas's data attributes and its picture: an array of height x width x (red, green, blue, alpha)."""
        self.settle()
        url, data = self.run("const c = document.getElementById(arguments[0]); done([c.toDataURL('image/png'), {...c.dataset}]);", f"view-{mesh}")
        return data, decode(base64.b64decode(url.split(",")[1]))

    def screenshot(self, file):
        size = self.tool("Page.getLayoutMetrics")["cssContentSize"]
        clip = {"x": 0, "y": 0, "width": size["width"], "height": size["height"], "scale": 1}
        png = base64.b64decode(self.tool("Page.captureScreenshot", captureBeyondViewport=True, clip=clip)["data"])
        file.write_bytes(png)
        return decode(png)

    def key(self, mesh, *keys):
        self.run("document.getElementById(arguments[0]).focus(); done(true);", f"view-{mesh}")
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self.post("/actions", actions=[{"type": "key", "id": "keyboard", "actions": actions}])

    def pointer(self, *actions):
        self.post("/actions", actions=[{"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"}, "actions": list(actions)}])

    def troubles(self):
        """Console entries above 'info', and requests for anything but files of this machine and inline data, since the last call."""
        found = [f"console: {entry['message']}" for entry in self.post("/se/log", type="browser") if entry["level"] in ("WARNING", "SEVERE")]
        for entry in self.post("/se/log", type="performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                url = message["params"]["request"]["url"]
                ours = message["params"]["documentURL"].startswith("file:")  # not the browser's own first page
                if ours and not url.startswith(("file:", "data:")):
                    found.append(f"request: {url}")
            if message["method"] == "Runtime.exceptionThrown":
                found.append(f"exception: {message['params']}")
        return found


def decode(png):
    reader = vtkPNGReader()
    with tempfile.NamedTemporaryFile(suffix=".png") as file:
        file.write(png)
        file.flush()
        reader.SetFileName(file.name)
        reader.Update()
    image = reader.GetOutput()
    width, height, _ = image.GetDimensions()
    pixels = vtk_to_numpy(image.GetPointData().GetScalars())
    return pixels.reshape(height, width, -1)[::-1]


def colours(picture):
    red, green, blue = (picture[..., channel].astype(numpy.uint32) for channel in range(3))
    seen = numpy.zeros(1 << 24, bool)
    seen[red << 16 | green << 8 | blue] = True
    return numpy.count_nonzero(seen)


def require(condition, what):
    if not condition:
        raise AssertionError(what)


def require_calm(browser):
    troubles = browser.troubles()
    require(troubles == [], "; ".join(troubles))


def check_drawing(browser, renderer, least_colours, facets=None):
    """Both canvases show a model: drawn by the renderer expected, in many colours, covering a good part of the canvas but not all of it."""
    for mesh in ("voxel", "cut"):
        data, picture = browser.canvas(mesh)
        require(data.get("renderer") == renderer, f"{mesh} was drawn by {data.get('renderer')}, not {renderer}")
        require(facets is None or data["drawnFacets"] == str(facets), f"{mesh}: {data['drawnFacets']} facets drawn")
        covered = numpy.count_nonzero(picture[..., 3]) / picture[..., 3].size
        require(0.1 < covered < 0.95, f"{mesh}: {covered:.0%} of the canvas is covered")
        require(colours(picture) >= least_colours, f"{mesh}: only {colours(picture)} colours")


def check_boxes(browser, page):
    browser.open(page)
    check_drawing(browser, "webgl", 60, facets=6)

    pictures = {mesh: browser.canvas(mesh)[1] for mesh in ("voxel", "cut")}

    def changes(action):
        """The meshes whose pictures differ after the action."""
        before = dict(pictures)
        action()
        pictures.update({mesh: browser.canvas(mesh)[1] for mesh in before})
        return [mesh for mesh in before if not numpy.array_equal(before[mesh], pictures[mesh])]

    both = ["voxel", "cut"]
    require(changes(lambda: None) == [], "pictures change by themselves")
    require(changes(lambda: browser.key("voxel", "\ue012")) == both, "the arrow key does not turn both views")
    require(changes(lambda: browser.key("cut", "+")) == both, "the plus key does not zoom both views")
    require(changes(lambda: browser.key("cut", "0")) == both, "the zero key does not reset both views")

    # The item selector: the second item has all its values, the first one lacks one on the cut-cell mesh.
    none_shown = "done(document.getElementById('view-none').offsetParent !== null);"
    require(browser.run(none_shown), "the legend does not tell of missing values")
    choose = "const s = document.getElementById('view-item'); s.value = arguments[0]; s.dispatchEvent(new Event('change')); done(s.options.length);"
    require(changes(lambda: require(browser.run(choose, "1") == 2, "not two items")) != [], "choosing an item changes nothing")
    require(not browser.run(none_shown), "the legend tells of missing values where there are none")
    title = browser.run("done(document.getElementById('view-quantity').textContent);")
    require(title == "\u2068Temperature\u2069 in \u2068°C\u2069", f"legend title is {title!r}")
    ticks = browser.run("done([...document.querySelectorAll('#view-ticks span')].map((t) => t.textContent));")
    require({"231", "234", "237"} <= set(ticks), f"ticks are {ticks}")

    # The mouse: dragging turns, the wheel zooms, the pointer reads values of both meshes.
    box = browser.run("const b = document.getElementById('view-voxel'); b.scrollIntoView({block: 'center', behavior: 'instant'});"
                      "const r = b.getBoundingClientRect(); done([r.left + r.width / 2, r.top + r.height / 2].map(Math.round));")
    move = lambda dx, dy: {"type": "pointerMove", "duration": 0, "x": box[0] + dx, "y": box[1] + dy}
    down, up = {"type": "pointerDown", "button": 0}, {"type": "pointerUp", "button": 0}
    require(changes(lambda: browser.pointer(move(0, 0), down, move(40, 15), up)) == both, "dragging does not turn both views")
    wheel = {"type": "scroll", "x": box[0], "y": box[1], "deltaX": 0, "deltaY": -240, "duration": 0}
    require(changes(lambda: browser.post("/actions", actions=[{"type": "wheel", "id": "wheel", "actions": [wheel]}])) == both, "the wheel does not zoom")
    browser.pointer(move(1, 1))
    browser.settle()
    text = browser.run("done(document.getElementById('view-readout').textContent);")
    match = re.fullmatch(r"Here: voxel ([\d.]+)\u202f\u2068°C\u2069, cut-cell ([\d.]+)\u202f\u2068°C\u2069", text)
    require(match and all(230.4 <= float(value) <= 237 for value in match.groups()), f"readout is {text!r}")
    require(changes(lambda: browser.run("document.getElementById('view-bands').click(); done(true);")) == both, "colour bands change nothing")
    require_calm(browser)


def check_hostile(browser, page):
    browser.open(page)
    check_drawing(browser, "webgl", 60, facets=6)
    require(browser.run("done(window.harmed === undefined);"), "text from a file was run")
    require(browser.run("done(document.querySelectorAll('img, iframe, object, embed, form').length) ;") == 0, "text from a file became elements")
    require(browser.run("done(document.querySelectorAll('style').length);") == 1, "text from a file closed the style element")
    shown = browser.run("done([document.querySelector('h3').textContent, document.getElementById('view-item').textContent]);")
    for text in shown:
        require("</script></style></title><script>window.harmed=1</script>" in text and "größer" in text, f"text was not kept: {text!r}")
    require("{{style}}" in shown[0], "a placeholder in a file's text was filled")
    require_calm(browser)


def check_without_webgl(driver, folder, page, screenshots):
    with Browser(driver, folder, ["--disable-3d-apis"]) as browser:
        browser.open(page)
        check_drawing(browser, "2d", 20)  # one colour per facet, and mixed ones along the edges
        notice = browser.run("done(document.getElementById('view-notice').innerText);")
        require(notice.startswith("WebGL is not available"), f"notice is {notice!r}")
        browser.screenshot(screenshots / "report_without_webgl.png")
        before = browser.canvas("cut")[1]
        browser.key("voxel", "\ue012")
        require(not numpy.array_equal(before, browser.canvas("cut")[1]), "the 2D drawing does not turn")
        troubles = [trouble for trouble in browser.troubles() if "WebGL" not in trouble and "webgl" not in trouble]
        require(troubles == [], f"troubles: {troubles}")


def check_without_script(browser, page):
    browser.tool("Emulation.setScriptExecutionDisabled", value=True)
    browser.tool("Emulation.setDeviceMetricsOverride", width=1400, height=1000, deviceScaleFactor=1, mobile=False)
    browser.post("/url", url=page.as_uri())
    text = browser.run("done(document.querySelector('main').innerText);")
    require("The interactive view needs JavaScript." in text, "no word about the missing view")
    require("Pressure" in text and "cannot be read: truncated" in text, "the tables are missing")
    require("Mesh edges" not in text, "controls are shown that do nothing")


def check_without_view(browser, page):
    browser.open(page)
    require(browser.run("done(document.getElementById('view') === null && document.querySelectorAll('h3').length === 2);"), "page without view")
    require_calm(browser)


def check_housing(browser, page, screenshots):
    for scheme in ("light", "dark"):
        for width in (1400, 700):
            browser.open(page, width, scheme)
            check_drawing(browser, "webgl", 500)
            picture = browser.screenshot(screenshots / f"report_{scheme}_{width}.png")
            require(picture.shape[1] == width, f"at {width} pixels the page is {picture.shape[1]} wide")
            require(colours(picture) > 2000, f"the page has only {colours(picture)} colours")
            paper = picture[4, 4, :3].mean()
            require(paper > 240 if scheme == "light" else paper < 40, f"the {scheme} page's paper has brightness {paper:.0f}")
    require_calm(browser)

    # As on A4 paper: 182 mm between the margins. Tables must not be cut off at the edge.
    browser.open(page, 688)
    browser.run("window.dispatchEvent(new Event('beforeprint')); done(true);")
    browser.tool("Emulation.setEmulatedMedia", media="print", features=[{"name": "prefers-color-scheme", "value": "dark"}])
    browser.settle()
    picture = browser.screenshot(screenshots / "report_print.png")
    require(picture.shape[1] == 688, f"printed, the page needs {picture.shape[1]} of 688 pixels")
    require(picture[4, 4, :3].mean() > 250, "paper is not white")
    require(browser.run("done([...document.querySelectorAll('details')].every((d) => d.open));"), "details stay closed on paper")
    (screenshots / "report.pdf").write_bytes(base64.b64decode(browser.tool("Page.printToPDF", preferCSSPageSize=True)["data"]))
    browser.tool("Emulation.setEmulatedMedia", media="", features=[])


def main():
    program = sys.argv[1]
    with tempfile.TemporaryDirectory(prefix="tav3d-report-") as scratch:
        folder = pathlib.Path(scratch)
        screenshots = pathlib.Path(sys.argv[2]).resolve() if len(sys.argv) > 2 else folder
        screenshots.mkdir(parents=True, exist_ok=True)
        pages = {}
        for kind in ("boxes", "hostile", "noview", "housing"):
            pages[kind] = folder / f"{kind} ä.html"
            subprocess.run([program, pages[kind], kind], check=True)
        with Driver() as driver:
            with Browser(driver, folder) as browser:
                check_boxes(browser, pages["boxes"])
                check_hostile(browser, pages["hostile"])
                check_without_view(browser, pages["noview"])
                check_housing(browser, pages["housing"], screenshots)
                check_without_script(browser, pages["boxes"])
            check_without_webgl(driver, folder, pages["boxes"], screenshots)
    print("the report opens, draws, turns and prints; nothing is fetched, no text of files does harm")


if __name__ == "__main__":
    main()
