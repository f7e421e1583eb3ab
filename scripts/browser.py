"""browser.py: a headless Chromium for checks of pages, driven through a pipe by the standard library
alone; its pictures as rows of pixels."""
import base64
import json
import os
import shutil
import struct
import subprocess
import tempfile
import zlib

SOFTWARE_WEBGL = ["--use-gl=angle", "--use-angle=swiftshader", "--enable-unsafe-swiftshader"]
NO_WEBGL = ["--disable-gpu", "--disable-3d-apis"]


def find_browser():
    return next(filter(None, map(shutil.which, ["chromium", "chromium-browser", "google-chrome"])),
                None)


class Browser:
    """One page in one process, of which `with` takes care."""

    def __init__(self, flags, width=1400, height=1000):
        self.flags, self.size = flags, (width, height)
        self.number, self.events = 0, []

    def __enter__(self):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        to_read, self.to_browser = os.pipe()
        self.from_browser, to_write = os.pipe()

        def connect():  # the browser reads from 3 and writes to 4
            os.dup2(to_read, 13), os.dup2(to_write, 14)
            os.dup2(13, 3), os.dup2(14, 4)

        self.process = subprocess.Popen(
            [find_browser(), "--headless=new", "--no-sandbox", "--disable-dev-shm-usage",
             "--remote-debugging-pipe", "--hide-scrollbars", "--no-first-run",
             f"--user-data-dir={self.profile.name}", *self.flags, "about:blank"],
            preexec_fn=connect, close_fds=False, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(to_read), os.close(to_write)
        self.rest, self.session = b"", None
        target = next(t for t in self.call("Target.getTargets")["targetInfos"]
                      if t["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=target["targetId"],
                                 flatten=True)["sessionId"]
        for domain in "Page", "Runtime", "Network", "Log":
            self.call(domain + ".enable")
        self.resize(*self.size)
        self.scheme("light")
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        os.close(self.to_browser), os.close(self.from_browser)
        self.profile.cleanup()

    def read(self):
        while b"\0" not in self.rest:
            more = os.read(self.from_browser, 1 << 20)
            if not more:
                raise RuntimeError("the browser ended")
            self.rest += more
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **params):
        self.number += 1
        message = {"id": self.number, "method": method, "params": params}
        if self.session:
            message["sessionId"] = self.session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.to_browser, data):]
        while True:
            answer = self.read()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            if "method" in answer:
                self.events.append(answer)

    def open(self, url):
        self.events.clear()
        self.call("Page.navigate", url=url)
        while not any(e["method"] == "Page.loadEventFired" for e in self.events):
            self.events.append(self.read())

    def ask(self, expression):
        """The value of an expression in the page, waited for if it is a promise."""
        answer = self.call("Runtime.evaluate", expression=expression, awaitPromise=True,
                           returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"{expression}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def resize(self, width, height, mobile=False):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=mobile)

    def scheme(self, name):
        """Light or dark; nothing glides."""
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": name},
                            {"name": "prefers-reduced-motion", "value": "reduce"}])

    def settle(self):
        """After the next two frames."""
        self.ask("new Promise(d => requestAnimationFrame(() => requestAnimationFrame(() => d(1))))")

    def screenshot(self, box=None, whole=False):
        clip = {"clip": {**box, "scale": 1}} if box else {}
        data = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole,
                         **clip)["data"]
        return base64.b64decode(data)

    def mouse(self, kind, x, y, held=True):
        self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y,
                  button="left" if held else "none", buttons=1 if held else 0, clickCount=1)

    def drag(self, start, end, steps=5):
        self.mouse("mousePressed", *start)
        for i in range(1, steps + 1):
            self.mouse("mouseMoved", *(a + (b - a) * i / steps for a, b in zip(start, end)))
        self.mouse("mouseReleased", *end)

    def key(self, name):
        for kind in "keyDown", "keyUp":
            self.call("Input.dispatchKeyEvent", type=kind, key=name)

    def complaints(self):
        """What the page wrote to the console as an error, and what it asked of a network."""
        for event in self.events:
            kind, params = event["method"], event["params"]
            if kind == "Runtime.exceptionThrown":
                yield str(params["exceptionDetails"].get("exception", params)["description"])
            elif kind == "Log.entryAdded" and params["entry"]["level"] == "error":
                yield params["entry"]["text"]
            elif kind == "Network.requestWillBeSent":
                url = params["request"]["url"]
                if not url.startswith(("file:", "data:", "about:")):
                    yield "asks the network for " + url


def pixels_of(png):
    """Width, and the pixels as (red, green, blue) one row after the other, of an 8-bit PNG."""
    at, parts = 8, {}
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        parts[kind] = parts.get(kind, b"") + png[at + 8:at + 8 + length]
        assert zlib.crc32(png[at + 4:at + 8 + length]) == \
            struct.unpack(">I", png[at + 8 + length:at + 12 + length])[0], "sum of a chunk"
        at += 12 + length
    width, height, _, form = struct.unpack(">IIBB", parts[b"IHDR"][:10])
    step = {2: 3, 3: 1, 6: 4}[form]
    data, before, rows = zlib.decompress(parts[b"IDAT"]), bytearray(width * step), []
    assert len(data) == height * (width * step + 1), "length of the pixels"
    for n in range(height):
        start = n * (width * step + 1)
        kind, row = data[start], bytearray(data[start + 1:start + 1 + width * step])
        for i in range(len(row)) if kind else ():
            left = row[i - step] if i >= step else 0
            up, corner = before[i], before[i - step] if i >= step else 0
            guess = left + up - corner
            nearest = min((left, up, corner), key=lambda v: abs(guess - v))
            row[i] = (row[i] + (0, left, up, (left + up) // 2, nearest)[kind]) & 255
        rows.append(row)
        before = row
    if form == 3:
        colors = [tuple(parts[b"PLTE"][i:i + 3]) for i in range(0, len(parts[b"PLTE"]), 3)]
        return width, [colors[i] for row in rows for i in row]
    return width, [tuple(row[i:i + 3]) for row in rows for i in range(0, len(row), step)]
