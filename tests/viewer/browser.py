"""A headless browser, steered by its own protocol over a pipe, and the program that it looks at."""

import base64
import fcntl
import json
import os
import re
import select
import shutil
import signal
import subprocess
import tempfile
import time

LOOK = 0.01  # seconds between two looks, never instead of one
TIMEOUT = 60.0  # seconds until a condition that does not come true is a failure; machines may be busy


def wait_until(condition, why="what was waited for"):
    """What a function returns once that is something."""
    deadline = time.monotonic() + TIMEOUT
    while not (value := condition()):
        assert time.monotonic() < deadline, f"{why} did not come"
        time.sleep(LOOK)
    return value


class Browser:
    """Chromium without a window. Tabs have cookies of their own, as different browsers have."""

    def __init__(self):
        self._profile = tempfile.mkdtemp(prefix="tavix-browser-")
        to_browser, self._write = os.pipe()
        self._read, from_browser = os.pipe()
        # The browser wants them as its descriptors 3 and 4; the shell puts them there.
        ends = [fcntl.fcntl(end, fcntl.F_DUPFD, 20) for end in (to_browser, from_browser)]
        command = [shutil.which("chromium") or "chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
                   "--disable-dev-shm-usage", "--no-first-run", "--disable-extensions", "--disable-background-networking",
                   "--disable-component-update", "--force-color-profile=srgb", "--remote-debugging-pipe",
                   f"--user-data-dir={self._profile}", "about:blank"]
        redirect = f'exec "$@" 3<&{ends[0]} 4>&{ends[1]}'
        self._process = subprocess.Popen(["bash", "-c", redirect, "browser", *command], pass_fds=ends,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        for end in ends:
            os.close(end)
        os.close(to_browser)
        os.close(from_browser)
        self._buffer = b""
        self._next = 0
        self.events = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self._write)
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            os.killpg(self._process.pid, signal.SIGKILL)
            self._process.wait()
        os.close(self._read)
        shutil.rmtree(self._profile, ignore_errors=True)

    @property
    def memory(self):
        """Bytes of each of the browser's processes, by its id."""
        found = {}
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                if os.getpgid(int(name)) == self._process.pid:
                    found[int(name)] = memory(name)
            except (ProcessLookupError, FileNotFoundError):
                continue
        return found

    def _receive(self, deadline):
        while b"\0" not in self._buffer:
            if not select.select([self._read], [], [], max(0.0, deadline - time.monotonic()))[0]:
                raise TimeoutError("the browser does not answer")
            more = os.read(self._read, 1 << 20)
            if not more:
                raise EOFError("the browser has ended")
            self._buffer += more
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, session=None, **parameters):
        self._next += 1
        message = {"id": self._next, "method": method, "params": parameters}
        if session:
            message["sessionId"] = session
        os.write(self._write, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + TIMEOUT
        while True:
            answer = self._receive(deadline)
            if answer.get("id") == message["id"]:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            if "method" in answer:
                self.events.append(answer)

    def open(self, address, width=1400, height=900):
        return Tab(self, address, width, height)


class Tab:
    """A page in a browser context of its own."""

    def __init__(self, browser, address, width, height):
        self._browser = browser
        self._context = browser.call("Target.createBrowserContext")["browserContextId"]
        target = browser.call("Target.createTarget", url="about:blank", browserContextId=self._context)["targetId"]
        self._session = browser.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.resize(width, height)
        self.go(address)

    def call(self, method, **parameters):
        return self._browser.call(method, self._session, **parameters)

    def close(self):
        self._browser.call("Target.disposeBrowserContext", browserContextId=self._context)

    def go(self, address):
        self.call("Page.navigate", url=address)

    def resize(self, width, height, scale=1):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=scale,
                  mobile=False)

    def run(self, script):
        """The value of an expression; promises are waited for."""
        result = self.call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"].get("exception", {}).get("description", script))
        return result["result"].get("value")

    def wait(self, script, why=None):
        """Waits until an expression is true, and returns its value."""
        deadline = time.monotonic() + TIMEOUT
        script = f"((value) => value instanceof Node ? true : value)({script})"
        while True:
            try:
                value = self.run(script)
            except RuntimeError:  # the page is just being loaded
                value = None
            if value:
                return value
            if time.monotonic() > deadline:
                shown = self.run("document.body.innerText.slice(0, 1500)")
                raise AssertionError(f"{why or script}: it did not come true; the page says:\n{shown}")
            time.sleep(LOOK)

    def wait_for_count(self, script, goal, why=None):
        """Waits for a figure as long as it grows, be it ever so slowly."""
        count = -1
        while count < goal:
            count = self.wait(f"((count) => count > {count} && count)({script})", why)

    def click(self, selector, text=None):
        """Presses the button that a selector and its text find."""
        find = (f"[...document.querySelectorAll({json.dumps(selector)})].find((one) => !one.disabled && one.offsetParent && "
                f"({json.dumps(text)} === null || one.textContent.trim() === {json.dumps(text)}))")
        self.wait(f"{find} !== undefined", f"a button {selector} {text or ''}")
        self.run(f"{find}.click()")

    def choose(self, selector, value):
        """Sets a field as a person does."""
        self.run(f"(() => {{ const field = document.querySelector({json.dumps(selector)}); field.value = "
                 f"{json.dumps(value)}; field.dispatchEvent(new Event('input', {{bubbles: true}}));"
                 f"field.dispatchEvent(new Event('change', {{bubbles: true}})); }})()")

    def key(self, key, times=1, shift=False):
        for kind in ("keyDown", "keyUp") * times:
            text = {"text": key} if len(key) == 1 and kind == "keyDown" else {}
            self.call("Input.dispatchKeyEvent", type=kind, key=key, modifiers=8 if shift else 0, **text)

    def drag(self, start, end):
        for kind, at in (("mousePressed", start), ("mouseMoved", end), ("mouseReleased", end)):
            self.call("Input.dispatchMouseEvent", type=kind, x=at[0], y=at[1], button="left", buttons=1, clickCount=1)

    def download_to(self, folder):
        """Lets the page save files."""
        self._browser.call("Browser.setDownloadBehavior", behavior="allow", downloadPath=folder,
                           browserContextId=self._context)

    def give_file(self, press, path):
        """Runs a script as a person's click that asks for a file, and gives it one."""
        self.call("Page.setInterceptFileChooserDialog", enabled=True)
        before = len(self._browser.events)
        self.call("Runtime.evaluate", expression=press, userGesture=True)

        def asked():
            self.run("1")  # events come with answers
            return [event["params"] for event in self._browser.events[before:]
                    if event["method"] == "Page.fileChooserOpened"]

        self.call("DOM.setFileInputFiles", files=[path], backendNodeId=wait_until(asked)[0]["backendNodeId"])

    def screenshot(self, path):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"]))

    @property
    def problems(self):
        """What scripts or the page's own policy complained about."""
        return [event["params"] for event in self._browser.events
                if event.get("sessionId") == self._session and
                (event["method"] == "Runtime.exceptionThrown" or
                 event["method"] == "Log.entryAdded" and event["params"]["entry"]["level"] == "error" and
                 event["params"]["entry"]["source"] in ("security", "javascript"))]


class Server:
    """`tavix view` with virtual cameras."""

    def __init__(self, cameras=2, port=0, folder=None):
        tool = os.environ["TAVIX_TOOL"]
        self.folder = folder or tempfile.mkdtemp(prefix="tavix-view-")
        environment = {**os.environ, "TAVIX_VIRTUAL_CAMERAS": cameras if isinstance(cameras, str) else str(cameras)}
        for name in ("DISPLAY", "WAYLAND_DISPLAY"):
            environment.pop(name, None)
        self.process = subprocess.Popen([tool, "view", "--port", str(port), "--output", self.folder],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=environment, text=True)
        self.address = self._read_address()
        self.port = int(re.search(r":(\d+)/", self.address)[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _read_address(self):
        for line in self.process.stdout:
            if "http://" in line:
                return line.strip()
        raise AssertionError("the server printed no address")

    def invite(self):
        """Another address that lets a browser in."""
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        return self._read_address()

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
            self.process.wait(TIMEOUT)
        self.process.stdin.close()
        self.process.stdout.close()


def memory(process):
    """Bytes that a process has in memory, without what it shares with others."""
    with open(f"/proc/{process}/statm", encoding="ascii") as file:
        pages = file.read().split()
    return (int(pages[1]) - int(pages[2])) * os.sysconf("SC_PAGE_SIZE")
