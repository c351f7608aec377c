#!/usr/bin/env python3
"""How fast cameras are shown: rates, delays, processor time and losses of `tavix view` in a headless browser.

Usage: TAVIX_TOOL=build/release/bin/tavix bench/viewer.py [seconds]
"""

import json
import os
import sys
import time

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
sys.path.insert(0, os.path.join(ROOT, "tests", "viewer"))
os.environ.setdefault("TAVIX_TOOL", os.path.join(ROOT, "build", "release", "bin", "tavix"))

from browser import Browser, Server  # noqa: E402
from page import open_camera  # noqa: E402

FIGURES = "({...document.querySelector('.figures').dataset})"
CASES = [(1920, 1088, 1080, 100), (4096, 3008, 3000, 30)]  # sensors have multiples of 16 lines


def camera(width, height, rate):
    """A real camera keeps its pace on a busy computer; this one's thread comes late and sends at once what it owes."""
    return json.dumps({"cameras": [{"sensorWidth": width, "sensorHeight": height, "frameRate": rate, "bufferedFrames": 32}]})


def processor_seconds(process):
    with open(f"/proc/{process}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(browser, case, seconds):
    """Frames, losses and times while a browser looks."""
    width, sensor_height, height, rate = case
    with Server(camera(width, sensor_height, rate)) as server:
        page = browser.open(server.address, 1920, 1080)
        page.wait("document.body.dataset.ready")
        open_camera(page)
        page.wait(f"Number({FIGURES}.frames) > {rate}")
        before, begin, work = page.run(FIGURES), time.monotonic(), processor_seconds(server.process.pid)
        time.sleep(seconds)  # what is measured is a rate
        after, end = page.run(FIGURES), time.monotonic()
        spent = processor_seconds(server.process.pid) - work
        frames = int(after["frames"]) - int(before["frames"])
        shown = int(after["drawn"]) - int(before["drawn"])
        lost = int(after["missed"]) + int(after["failed"]) - int(before["missed"]) - int(before["failed"])
        page.close()
        return {"taken": frames / (end - begin), "shown": shown / (end - begin), "lost": lost,
                "work": float(after["work"]), "delay": float(after["delay"]), "cpu": spent / (end - begin) * 100}


class Listener:
    """A browser's connection without a page: it starts a camera and hears figures, and never looks at an image."""

    def __init__(self, browser, server):
        self._page = browser.open(server.address)
        self._page.wait("document.body?.dataset.ready")
        self._page.go(f"http://127.0.0.1:{server.port}/icon.svg")
        self._page.wait("document.documentElement.tagName === 'svg'")
        self._page.run("""(() => { let next = 1;
            const link = new WebSocket(`ws://${location.host}/socket`);
            const ask = (what, fields) => link.send(JSON.stringify({...fields, id: next++, do: what}));
            link.onmessage = ({data}) => {
              if (typeof data !== 'string') return;
              const message = JSON.parse(data);
              if (message.event === 'figures') window.figures = message;
              const camera = message.cameras?.[0]?.key;
              if (message.event !== 'welcome' || !camera) return;
              ask('open', {camera});
              ask('start', {camera});
            };
          })()""")
        self.figures = lambda: self._page.run("window.figures")
        self._page.wait("window.figures?.frames > 100", "the camera runs")

    def spent_in(self, seconds):
        before = self.figures()
        time.sleep(seconds)  # what is measured is a rate
        after = self.figures()
        between = {name: after[name] - value for name, value in before.items() if isinstance(value, (int, float))}
        lasted = between["time"] / 1000
        return {"taken": between["frames"] / lasted, "shown": between["shown"] / lasted,
                "lost": between["missed"] + between["failed"], "starved": between["starved"], "cpu": between["cpuSeconds"] / lasted * 100}


def compare(browser, case, seconds):
    """One camera that runs on, with nobody looking and with somebody, in turn."""
    width, sensor_height, _, rate = case
    with Server(camera(width, sensor_height, rate)) as server:
        listener = Listener(browser, server)
        for _ in range(3):
            yield "without a viewer", listener.spent_in(seconds)
            page = browser.open(server.invite(), 1920, 1080)
            page.wait("Number(document.querySelector('canvas.image')?.dataset.number) > 0", "it is shown")
            yield "with a viewer", listener.spent_in(seconds)
            page.close()


def main():
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 10
    with Browser() as browser:
        with Server("1") as server:
            page = browser.open(server.address)
            page.wait("document.body.dataset.ready")
            sizes = page.run("performance.getEntriesByType('resource').reduce((sum, one) => sum + one.transferSize, 0)"
                             " + performance.getEntriesByType('navigation')[0].transferSize")
            page.call("Page.reload")
            page.wait("document.readyState === 'complete' && document.body?.dataset.ready")
            print(f"page: {sizes / 1000:.0f} kB at the first look (plots: 200 kB more, once they are opened), "
                  f"usable after {page.run('document.body.dataset.ready')} ms")
            page.close()
        print("size          taken/s  shown/s  lost  ms of processor a shown image  exposure to screen  processor")
        for case in CASES:
            figures = measure(browser, case, seconds)
            print("{0}x{1:<9}{2[taken]:7.1f} {2[shown]:8.1f} {2[lost]:5d} {2[work]:30.2f} {2[delay]:16.1f} ms"
                  " {2[cpu]:8.0f} %".format(case[0], case[2], figures))
        print("\nwhat viewing costs the acquisition: 1920x1080 at 100 frames a second")
        print("                  taken/s  shown/s  lost  without a buffer  processor")
        for name, figures in compare(browser, CASES[0], seconds):
            print(f"{name:17} {figures['taken']:7.1f} {figures['shown']:8.1f} {figures['lost']:5d} {figures['starved']:17d}"
                  f" {figures['cpu']:8.0f} %")


if __name__ == "__main__":
    main()
