#!/usr/bin/env python3
"""check_page.py PAGE: opens the page of an inspected part in a headless browser. With WebGL the view
is drawn, turns by mouse, keys and buttons and names faces, on a desk and on a phone, light and dark;
without it and on paper the still pictures stand in for it. Nothing is asked of a network."""
import base64
import pathlib
import re
import sys

import browser

VIEW = "document.getElementById('view')"
CANVAS = "document.querySelector('#view canvas')"
POINTS = "document.querySelector('#view button[data-show=points]')"


class Faults(list):
    def expect(self, holds, what):
        if not holds:
            self.append(what)
            print(what)


def canvas_box(page, of_window=True):
    """In the window, as the mouse has it, or on the whole page, as pictures have it."""
    scrolled = "0, 0" if of_window else "scrollX, scrollY"
    return page.ask(f"((b, x, y) => ({{x: b.x + x, y: b.y + y, width: b.width, height: b.height}}))"
                    f"({CANVAS}.getBoundingClientRect(), {scrolled})")


def shot(page):
    """The pixels of the canvas when all points are drawn."""
    page.ask("new Promise(done => (function wait() { " + VIEW +
             ".getAttribute('data-drawn') === '1.00' ? done(1) : requestAnimationFrame(wait) })())")
    page.settle()
    return browser.pixels_of(page.screenshot(canvas_box(page, of_window=False)))[1]


def share_of(pixels, test):
    return sum(map(test, pixels)) / len(pixels)


def camera(page):
    page.settle()
    return page.ask(VIEW + ".getAttribute('data-camera')")


def check_drawn(page, faults, where):
    """Returns the pixels of the view, of which neither all nor hardly any are background."""
    pixels = shot(page)
    shade = page.ask("getComputedStyle(document.body).backgroundColor")
    ground = tuple(map(int, re.findall(r"\d+", shade)[:3]))
    part = share_of(pixels, lambda p: p != ground)
    faults.expect(0.05 < part < 0.95, f"{where}: {part:.2f} of the view is drawn")
    faults.expect(len(set(pixels)) > 20, f"{where}: {len(set(pixels))} colours")
    return pixels


def check_turning(page, faults, before):
    box = canvas_box(page)
    middle = box["x"] + box["width"] / 2, box["y"] + box["height"] / 2
    was = camera(page)
    page.drag(middle, (middle[0] + 120, middle[1] + 40))
    faults.expect(camera(page) != was, "a drag doesn't turn the view")
    after = shot(page)
    changed = sum(a != b for a, b in zip(before, after)) / len(after)
    faults.expect(changed > 0.05, f"a drag changes {changed:.2f} of the view")
    page.ask(CANVAS + ".focus()")
    for key, expected in ("1", "0 0"), ("5", "0 90"), ("2", "90 0"):
        page.key(key)
        found = camera(page)
        faults.expect(found.startswith(expected), f"key {key}: the camera is at {found}")
    page.key("ArrowLeft")
    faults.expect(camera(page) != found, "an arrow key doesn't turn the view")
    page.ask("document.querySelector('#view button[data-view=space]').click()")
    faults.expect(camera(page) == was, "a button doesn't lead back to the first view")


def check_naming(page, faults):
    box = canvas_box(page)
    paths = page.ask("JSON.parse(document.getElementById('view-head').textContent).faces"
                     ".map(face => face.path)")
    named = set()
    for part in range(1, 8):
        page.mouse("mouseMoved", box["x"] + box["width"] * part / 8, box["y"] + box["height"] / 2,
                   held=False)
        page.settle()
        named.add(page.ask("document.querySelector('#view .picked').textContent"))
    faults.expect(any(path in name for path in paths for name in named),
                  f"hovering names no face: {named}")
    page.ask(CANVAS + ".focus()")
    page.key("n")
    page.settle()
    name = page.ask("document.querySelector('#view .picked').textContent")
    faults.expect(paths[0] in name, f"the first face is named {name}")


def check_with_webgl(url, faults):
    with browser.Browser(browser.SOFTWARE_WEBGL) as page:
        page.open(url)
        if not page.ask(VIEW + ".classList.contains('live')"):
            faults.expect(False, f"there is no view: {list(page.complaints())}")
            return
        page.ask(VIEW + ".scrollIntoView()")
        whole = check_drawn(page, faults, "desk")
        page.ask(POINTS + ".click()")
        bare = check_drawn(page, faults, "desk, without points")
        faults.expect(whole != bare, "no points are drawn")
        page.ask(POINTS + ".click()")
        check_turning(page, faults, shot(page))
        check_naming(page, faults)
        page.resize(390, 844, mobile=True)
        page.scheme("dark")
        page.settle()
        pixels = check_drawn(page, faults, "phone, dark")
        faults.expect(share_of(pixels, lambda p: sum(p) < 120) > 0.2, "a dark page has a light view")
        wide = page.ask("document.documentElement.scrollWidth")
        faults.expect(wide <= 390, f"the page is {wide} wide on a phone of 390")
        paper = base64.b64decode(page.call("Page.printToPDF", printBackground=False)["data"])
        pictures = len(re.findall(rb"/Subtype\s*/Image", paper))
        faults.expect(pictures >= 6, f"{pictures} pictures on paper")
        for complaint in page.complaints():
            faults.expect(False, complaint)


def check_without_webgl(url, faults):
    with browser.Browser(browser.NO_WEBGL) as page:
        page.open(url)
        faults.expect(not page.ask(VIEW + ".classList.contains('live')"), "a view without WebGL")
        faults.expect(not page.ask(CANVAS + ".clientHeight"), "an empty view")
        stills = page.ask("Promise.all([...document.querySelectorAll('.stills img')].map(image => "
                          "image.decode().then(() => [image.clientHeight > 0, image.src])))")
        faults.expect(len(stills) == 6, f"{len(stills)} still pictures")
        for is_shown, source in stills:
            faults.expect(is_shown, "a still picture is not shown")
            pixels = browser.pixels_of(base64.b64decode(source.split(",")[1]))[1]
            part = share_of(pixels, lambda p: p != (255, 255, 255))
            faults.expect(0.05 < part, f"{part:.2f} of a still picture is drawn")
        for complaint in page.complaints():
            if "WebGL" not in complaint:
                faults.expect(False, complaint)


def main():
    url, faults = pathlib.Path(sys.argv[1]).resolve().as_uri(), Faults()
    if not browser.find_browser():
        print("no browser: install chromium")
        return 1
    check_with_webgl(url, faults)
    check_without_webgl(url, faults)
    print(f"{sys.argv[1]}: {len(faults)} faults in the browser")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
