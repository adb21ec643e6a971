"""A headless Chromium, driven by the WebDriver protocol."""

import base64
import json
import os
import shutil
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
OPTIONS = ["--headless", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
           "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage", "--force-color-profile=srgb", "--hide-scrollbars"]


class Browser:
    def __init__(self):
        self.folder = tempfile.mkdtemp()
        options = OPTIONS + ["--user-data-dir=" + self.folder] + (["--no-sandbox"] if os.getuid() == 0 else [])
        if not shutil.which("chromedriver"):
            raise SystemExit("The pages are tested in a browser: install chromium and chromium-driver.")
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True,
                                       stderr=subprocess.DEVNULL)
        self.session = ""
        try:
            for line in self.driver.stdout:
                if "successfully on port" in line:
                    self.base = "http://127.0.0.1:" + line.rstrip().rstrip(".").split()[-1]
                    break
            capabilities = {"browserName": "chrome", "goog:loggingPrefs": {"browser": "ALL"},
                            "goog:chromeOptions": {"args": options}}
            answer = self.ask("POST", "/session", {"capabilities": {"alwaysMatch": capabilities}})
            self.session = "/session/" + answer["sessionId"]
        except BaseException:
            self.close()
            raise

    def close(self):
        try:
            if self.session:
                self.ask("DELETE", "", {})
        finally:
            self.driver.terminate()
            self.driver.wait()
            self.driver.stdout.close()
            shutil.rmtree(self.folder, ignore_errors=True)

    def ask(self, method, path, body=None):
        request = urllib.request.Request(self.base + self.session + path, method=method,
                                         data=None if body is None else json.dumps(body).encode())
        try:
            with urllib.request.urlopen(request, timeout=60) as reply:
                return json.load(reply)["value"]
        except urllib.error.HTTPError as error:
            raise AssertionError(json.load(error)["value"]["message"].split("\n")[0]) from None

    def command(self, name, **parameters):
        """One of the browser's own commands."""
        return self.ask("POST", "/goog/cdp/execute", {"cmd": name, "params": parameters})

    def look(self, width, height, scheme="light"):
        """The size of what one sees, and the theme."""
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                     mobile=False)
        self.command("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def open(self, url):
        self.ask("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        return self.ask("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def find(self, selector):
        return self.ask("POST", "/element", {"using": "css selector", "value": selector})[ELEMENT]

    def click(self, selector):
        self.ask("POST", "/element/" + self.find(selector) + "/click", {})

    def text(self, selector):
        return self.ask("GET", "/element/" + self.find(selector) + "/text")

    def keys(self, text):
        """Typed where the focus is."""
        actions = [{"type": kind, "value": key} for key in text for kind in ("keyDown", "keyUp")]
        self.ask("POST", "/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def wait(self, script, seconds=10):
        """Until the script answers something true, which is the answer."""
        deadline = time.monotonic() + seconds
        while True:
            answer = self.run(script)
            if answer:
                return answer
            if time.monotonic() > deadline:
                raise AssertionError("never so: " + script)
            time.sleep(0.02)

    def wait_for_text(self, selector, part, seconds=10):
        self.wait("const found = document.querySelector(%s);"
                  "return found && found.textContent.replace(/\\s/g, ' ').includes(%s)"
                  % (json.dumps(selector), json.dumps(part)), seconds)

    def picture(self, path, whole=False):
        parameters = {"format": "png", "captureBeyondViewport": whole}
        if whole:
            size = self.command("Page.getLayoutMetrics")["cssContentSize"]
            parameters["clip"] = {"x": 0, "y": 0, "width": size["width"], "height": size["height"], "scale": 1}
        data = self.command("Page.captureScreenshot", **parameters)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))

    def complaints(self):
        """What the console has of errors since it was last asked."""
        return [entry["message"] for entry in self.ask("POST", "/se/log", {"type": "browser"})
                if entry["level"] == "SEVERE"]
