"""The two programs under test: the demo recorder and the client."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import urllib.error
import urllib.request

from . import processes
from .probe import Probe
from .waiting import PATIENCE, wait_until

BUILD = pathlib.Path(os.environ.get("ZORVEL_BUILD_DIR", "build/dev")).resolve()
SANITIZER_REPORT = re.compile(r"ERROR: \w+Sanitizer|runtime error:|WARNING: ThreadSanitizer")

# Leaks of the graphics and font libraries, which keep what they allocate until the process ends.
_SUPPRESSIONS = pathlib.Path(__file__).with_name("leaks.txt")


def sanitizer_env(options):
    return {"ASAN_OPTIONS": "detect_stack_use_after_return=0:abort_on_error=0" + options,
            "LSAN_OPTIONS": f"suppressions={_SUPPRESSIONS}:print_suppressions=0",
            "UBSAN_OPTIONS": "print_stacktrace=1",
            "TSAN_OPTIONS": "second_deadlock_stack=1"}


class Home:
    """A folder of its own for everything that one run of the programs leaves behind."""

    def __init__(self):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="zorvel-"))

    def env(self):
        folders = {"HOME": "home", "XDG_CONFIG_HOME": "config", "XDG_DATA_HOME": "data", "XDG_CACHE_HOME": "cache",
                   "XDG_RUNTIME_DIR": "runtime"}
        for folder in folders.values():
            (self.path / folder).mkdir(mode=0o700, exist_ok=True)
        return {name: str(self.path / folder) for name, folder in folders.items()}

    def remove(self):
        shutil.rmtree(self.path, ignore_errors=True)


class Program:
    """A started program whose output goes to a log file."""

    asan_options = ""

    def __init__(self, log):
        self.log_path = pathlib.Path(log)
        self.process = None

    @property
    def pid(self):
        return self.process.pid

    def log(self):
        return self.log_path.read_text("utf-8", "replace") if self.log_path.exists() else ""

    def launch(self, command, env):
        with open(self.log_path, "a") as log:
            self.process = processes.start(command, env=dict(env, **sanitizer_env(self.asan_options)), stdout=log,
                                           stderr=subprocess.STDOUT)

    def running(self):
        return self.process is not None and self.process.poll() is None

    def kill(self):
        if self.process:
            self.process.kill()
            self.process.wait()

    def sanitizer_report(self):
        """What a sanitizer complained about, or an empty text."""
        found = SANITIZER_REPORT.search(self.log())
        return self.log()[found.start():found.start() + 6000] if found else ""


class Recorder(Program):
    """The demo recorder on free ports, which it keeps over a restart."""

    # GLib has no frame pointers: only the slow way tells who allocated what it leaks.
    asan_options = ":fast_unwind_on_malloc=0"

    def __init__(self, home, cameras=16):
        super().__init__(home.path / "recorder.log")
        self._home, self._cameras = home, cameras
        self.http_port = self.rtsp_port = 0

    def start(self):
        seen = self.log().count("ready http=")
        self.launch([BUILD / "demo/zorvel-demo-recorder", "--port", self.http_port, "--rtsp-port", self.rtsp_port,
                     "--data", self._home.path / "recorder", "--cache", BUILD / "footage-cache",
                     "--cameras", self._cameras],
                    dict(os.environ, **self._home.env()))
        wait_until(lambda: self.log().count("ready http=") > seen or not self.running(), 60, "the recorder's ready line")
        ready = re.findall(r"^ready http=(\d+) rtsp=(\d+)$", self.log(), re.MULTILINE)
        if not self.running() or not ready:
            raise AssertionError("the recorder did not start: " + self.log()[-2000:])
        self.http_port, self.rtsp_port = (int(port) for port in ready[-1])
        return self

    def stop(self):
        return processes.stop(self.process) if self.process else 0

    @property
    def url(self):
        return f"http://127.0.0.1:{self.http_port}"

    def ask(self, method, path, body=None, **headers):
        """One request to the recorder; returns status, headers and body."""
        data = body if body is None or isinstance(body, bytes) else json.dumps(body).encode()
        request = urllib.request.Request(self.url + path, data, {"Content-Type": "application/json", **headers},
                                         method=method)
        try:
            with urllib.request.urlopen(request, timeout=10 * PATIENCE) as reply:
                return reply.status, reply.headers, reply.read()
        except urllib.error.HTTPError as error:
            return error.code, error.headers, error.read()

    def call(self, method, path, body=None, token=None):
        """One request to the recorder; returns (status, parsed JSON or None)."""
        status, _, text = self.ask(method, path, body, **({"Authorization": f"Bearer {token}"} if token else {}))
        return status, json.loads(text) if text else None

    def demo(self, method, path, body=None):
        """One call of those that only the demo recorder has."""
        status, answer = self.call(method, "/demo" + path, body)
        assert status < 300, (path, status, answer)
        return answer

    def fail_camera(self, camera, kind):
        """kind: "offline" (404, viewers dropped), "hang" (no more pictures) or "none" (well again)."""
        self.demo("POST", f"/cameras/{camera}/fault", {"kind": kind})

    def heal_cameras(self, cameras):
        for camera in cameras:
            self.fail_camera(camera, "none")

    def fail_requests(self, path, **how):
        """Switches a fault of requests on: status, delay_ms, cut_after_bytes, skip, times."""
        self.demo("POST", "/faults", {"path": path, **how})

    def heal(self):
        self.demo("DELETE", "/faults")

    def cut_events(self):
        self.demo("POST", "/events/cut")

    def events(self):
        return self.demo("GET", "/events")

    def requests(self):
        """How often each "METHOD path" was asked."""
        return self.demo("GET", "/requests")

    def streams(self):
        """Per "camera/role": "described" and "played" requests so far and the sessions "playing" now."""
        return self.demo("GET", "/rtsp")

    def camera_ids(self, token):
        return [camera["id"] for camera in self.call("GET", "/client-api/cameras", token=token)[1]]

    def setup(self, login, password):
        """Creates the first account without the client and returns its token."""
        status, answer = self.call("POST", "/client-api/auth/setup", {"login": login, "password": password})
        assert status == 200, (status, answer)
        return answer["access_token"]


class Client(Program):
    """The unmodified client with the probe loaded."""

    def __init__(self, home, desktop, locale="en_US.UTF-8", debug_log=True, program="src/app/zorvel-client"):
        super().__init__(home.path / "client.log")
        self._program = BUILD / program
        self._home, self._desktop, self._locale, self._debug_log = home, desktop, locale, debug_log
        self.probe = None

    def environment(self):
        env = {name: value for name, value in os.environ.items() if not name.startswith(("LC_", "QT_", "ZORVEL_"))}
        env.update(self._home.env(), **self._desktop.env)
        env.update({
            "LANG": self._locale, "LC_ALL": "", "LANGUAGE": "",
            "ZORVEL_SENTRY_DSN": "",
            "ZORVEL_PROBE": str(self._home.path / "probe"),
            "QT_PLUGIN_PATH": str(BUILD / "tests/plugins"),
            "QT_QPA_GENERIC_PLUGINS": "zorvelprobe",
            "QT_QPA_PLATFORM": "xcb",
            "QT_FORCE_STDERR_LOGGING": "1",
            "QT_MESSAGE_PATTERN": "%{time boot} %{category} %{type}: %{message}",
        })
        if self._debug_log:
            env["QT_LOGGING_RULES"] = "zorvel.*=true"
        return env

    def start(self):
        (self._home.path / "probe").unlink(missing_ok=True)
        self.launch([self._program], self.environment())
        self.probe = Probe(self._home.path / "probe", self.process, self._desktop.wake)
        self.probe.connect()
        return self

    def log_times(self, text):
        """When, in seconds of the monotonic clock, the client logged a line with the text, and what follows it there."""
        lines = re.findall(rf"^ *([\d.]+) \S+ \w+: .*{re.escape(text)}(.*)$", self.log(), re.MULTILINE)
        return [(float(at), rest) for at, rest in lines]

    def window(self):
        """The main window: its id and geometry."""
        return wait_until(lambda: [each for each in self.probe.windows() if each["visible"]], 30, "a window")[0]

    def quit(self):
        """Closes the main window as a person does and returns the exit status."""
        self._desktop.close(self.window()["id"])
        status = self.process.wait(20 * PATIENCE)
        self.probe.close()
        return status

    def kill(self):
        super().kill()
        if self.probe:
            self.probe.close()
