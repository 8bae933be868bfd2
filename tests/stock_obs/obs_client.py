"""A running OBS Studio of its own settings, spoken to through its websocket (protocol 5)."""
import base64
import json
import os
import signal
import socket
import subprocess
import time

import websocket

GLOBAL_INI = """[General]
FirstRun=true
Language={language}
EnableAutoUpdates=false

[OBSWebSocket]
FirstLoad=false
ServerEnabled=true
ServerPort={port}
AlertsEnabled=false
AuthRequired=false
"""


def await_value(what, get, seconds=120):
    """The first true value of get(), which is asked again until then."""
    end = time.monotonic() + seconds
    while True:
        value = get()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.1)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def collection_file(home):
    """Where the only scene collection is saved."""
    folder = os.path.join(home, "obs-studio/basic/scenes")
    return os.path.join(folder, next(name for name in os.listdir(folder) if name.endswith(".json")))


class Obs:
    """One run of the program. `home` keeps its settings and scenes from one run to the next."""

    def __init__(self, home, prefix, libdir, language="en-US"):
        self.port = free_port()
        self.log_path = os.path.join(home, f"run-{self.port}.log")
        config = os.path.join(home, "obs-studio")
        os.makedirs(config, exist_ok=True)
        with open(os.path.join(config, "global.ini"), "w") as ini:
            ini.write(GLOBAL_INI.format(port=self.port, language=language))
        environment = dict(
            os.environ, HOME=home, XDG_CONFIG_HOME=home, XDG_RUNTIME_DIR=home, LIBGL_ALWAYS_SOFTWARE="1",
            LC_ALL="C.UTF-8", QT_QPA_PLATFORM="xcb", OBS_PLUGINS_PATH=os.path.join(prefix, libdir, "obs-plugins"),
            OBS_PLUGINS_DATA_PATH=os.path.join(prefix, "share/obs/obs-plugins"))
        self.log_file = open(self.log_path, "w")
        self.process = subprocess.Popen(
            ["obs", "--multi", "--verbose", "--disable-updater", "--disable-missing-files-check"],
            env=environment, stdin=subprocess.DEVNULL, stdout=self.log_file, stderr=subprocess.STDOUT)
        self.connection = None
        self.events = []  # what vendors have sent meanwhile: (kind, data)

    def log(self):
        with open(self.log_path, errors="replace") as file:
            return file.read()

    def connect(self, vendor_events=False):
        def attempt():
            assert self.process.poll() is None, f"OBS Studio ended by itself, status {self.process.returncode}"
            try:
                return websocket.create_connection(f"ws://127.0.0.1:{self.port}", timeout=120,
                                                   subprotocols=["obswebsocket.json"])
            except OSError:
                return None

        self.connection = await_value("its websocket answers", attempt)
        json.loads(self.connection.recv())  # Hello
        self.connection.send(json.dumps({"op": 1, "d": {"rpcVersion": 1,
                                                               "eventSubscriptions": 512 if vendor_events else 0}}))
        identified = json.loads(self.connection.recv())
        assert identified["op"] == 2, identified

    def ask(self, request, **data):
        """The answer's data; an answer that says no is an error."""
        answer = self.try_ask(request, **data)
        assert answer["requestStatus"]["result"], (request, data, answer["requestStatus"])
        return answer.get("responseData") or {}

    def try_ask(self, request, **data):
        self.connection.send(json.dumps({"op": 6, "d": {"requestType": request, "requestId": "1", "requestData": data}}))
        while True:
            message = json.loads(self.connection.recv())
            if message["op"] == 7:
                return message["d"]
            if message["op"] == 5 and message["d"]["eventType"] == "VendorEvent":
                event = message["d"]["eventData"]
                self.events.append((event["eventType"], event.get("eventData") or {}))

    def vendor(self, request, **data):
        """The answer of the filters' own request. An empty object is refused, so it is left out."""
        extra = {"requestData": data} if data else {}
        return self.ask("CallVendorRequest", vendorName="vanta_filter", requestType=request, **extra).get("responseData") or {}

    def scene(self):
        """The name of the scene that is shown, once there is one."""
        return await_value("a scene is there", lambda: (self.try_ask("GetSceneList").get("responseData") or {})
                           .get("currentProgramSceneName"))

    def screenshot(self, source, width, height):
        """Rows of (red, green, blue, alpha)."""
        data = self.ask("GetSourceScreenshot", sourceName=source, imageFormat="png", imageWidth=width,
                        imageHeight=height)["imageData"]
        raw = subprocess.run(["ffmpeg", "-v", "error", "-f", "png_pipe", "-i", "-", "-f", "rawvideo", "-pix_fmt", "rgba", "-"],
                             input=base64.b64decode(data.split(",", 1)[1]), stdout=subprocess.PIPE, check=True).stdout
        assert len(raw) == width * height * 4, len(raw)
        return [[tuple(raw[(y * width + x) * 4:(y * width + x) * 4 + 4]) for x in range(width)] for y in range(height)]

    def main_loop_waits(self):
        """Whether the main thread is in the poll of its event loop. That has a timer; xcb polls without a time limit."""
        with open(f"/proc/{self.process.pid}/syscall") as file:
            words = file.read().split()
        return words[0] == "7" and 0 < int(words[3], 16) < 0x80000000

    def interrupt(self):
        """Ends it as Ctrl-C does. The exit status.

        OBS Studio 29 closes its window inside the signal's handler: where that interrupts Xlib or xcb, whose locks are
        then held, it hangs or crashes by itself. So the signal is sent while the main loop waits."""
        self.connection.close()
        await_value("the main loop waits", self.main_loop_waits)
        self.process.send_signal(signal.SIGINT)
        return self.process.wait(120)

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.log_file.close()
