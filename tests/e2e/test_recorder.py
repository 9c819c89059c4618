"""What the demo recorder promises whoever asks it, beyond what the client asks."""

import json
import subprocess
import time
import unittest

from harness import video
from harness.programs import Home, Recorder
from harness.testcase import main
from harness.waiting import wait_until

ACCOUNT = {"login": "admin", "password": "secret-1"}


class RecorderTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.remove)
        self.recorder = Recorder(self.home, 16).start()
        self.addCleanup(lambda: self.assertEqual(self.recorder.sanitizer_report(), ""))
        self.addCleanup(self.recorder.stop)
        self.token = ""

    def ask(self, method, path, body=None, **headers):
        return self.recorder.ask(method, path, body, Authorization=f"Bearer {self.token}", **headers)

    def get(self, path):
        return json.loads(self.ask("GET", path)[2])

    def sign_in(self, call="login"):
        """Signs in and returns the refresh cookie; later requests carry the token."""
        _, headers, body = self.ask("POST", f"/client-api/auth/{call}", ACCOUNT)
        self.token = json.loads(body)["access_token"]
        return headers["Set-Cookie"].split(";")[0]

    def stream(self, camera, role):
        return self.get(f"/client-api/cameras/{camera}/stream-url?role={role}")["url"]

    def test_a_restart_keeps_everything_but_secrets(self):
        self.sign_in("setup")
        cookie = self.sign_in()
        self.ask("PATCH", "/demo/cameras/cam-002", {"name": "Ворота"})
        self.ask("DELETE", "/demo/cameras/cam-016")
        self.ask("POST", "/demo/cameras", {"name": "New", "has_sub_stream": False})
        self.ask("PUT", "/client-api/preferences", {"grids": {"live": 1}})
        counts = json.dumps(self.recorder.requests())
        self.recorder.stop()
        state = self.home.path / "recorder/recorder.json"
        for secret in (ACCOUNT["password"], self.token, cookie.partition("=")[2]):
            self.assertNotIn(secret, state.read_text() + counts)

        self.recorder.start()
        cameras = self.get("/client-api/cameras")
        self.assertEqual((len(cameras), cameras[1]["name"], cameras[15]["id"]), (16, "Ворота", "cam-017"))
        self.assertEqual(self.get("/client-api/preferences"), {"grids": {"live": 1}})
        for status in (200, 401):
            self.assertEqual(self.ask("POST", "/client-api/auth/refresh", b"", Cookie=cookie)[0], status)
        self.assertEqual(self.ask("GET", "/client-api/cameras")[0], 401, "the token that was replaced")
        self.recorder.stop()
        state.write_text('{ "accounts": [')
        with self.assertRaisesRegex(AssertionError, "recorder.json"):
            self.recorder.start()
        self.assertEqual(state.read_text(), '{ "accounts": [', "damaged state is left alone")

    def test_a_stream_has_every_picture_of_the_present_for_those_who_may(self):
        self.sign_in("setup")
        for role, transport in (("main", "tcp"), ("sub", "udp")):
            begin = time.time()
            moments = video.moments(self.stream("cam-002", role), "-rtsp_transport", transport, "-t", "3")
            self.assertGreaterEqual(len(moments), 40)
            self.assertEqual([round((next - one) * 15, 3) for one, next in zip(moments, moments[1:])],
                             [1] * (len(moments) - 1))
            self.assertTrue(begin - 1 < moments[0] == int(moments[0]) and moments[-1] < time.time() + 0.2, moments)
            wait_until(lambda: self.recorder.streams()[f"cam-002/{role}"]["playing"] == 0, 10, "the stream to be closed")
        user, _, rest = self.stream("cam-003", "sub").partition("@")
        for known in (user.rpartition(":")[0] + ":wrong@", "rtsp://"):
            with self.assertRaises(subprocess.CalledProcessError) as refused:
                video.moments(known + rest, "-rtsp_transport", "tcp", "-t", "1")
            self.assertIn(b"401", refused.exception.stderr)


if __name__ == "__main__":
    main()
