"""What the demo recorder promises whoever asks it, beyond what the client asks."""

import json
import socket
import subprocess
import time
import unittest
import urllib.error
import urllib.request

from harness import processes, video
from harness.programs import Home, Recorder
from harness.testcase import main
from harness.waiting import PATIENCE, wait_until

ACCOUNT = {"login": "admin", "password": "secret-1"}
HOUR = 3600


def instant(seconds):
    return time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds))


class RecorderTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.remove)
        self.recorder = Recorder(self.home, 16).start()
        self.addCleanup(lambda: self.assertEqual(self.recorder.sanitizer_report(), ""))
        self.addCleanup(self.recorder.stop)
        self.token = ""

    def ask(self, method, path, body=None, **headers):
        """One request; returns status, headers and body."""
        data = body if body is None or isinstance(body, bytes) else json.dumps(body).encode()
        headers = {"Content-Type": "application/json", "Authorization": f"Bearer {self.token}", **headers}
        request = urllib.request.Request(self.recorder.url + path, data, headers, method=method)
        try:
            with urllib.request.urlopen(request, timeout=10 * PATIENCE) as reply:
                return reply.status, reply.headers, reply.read()
        except urllib.error.HTTPError as error:
            return error.code, error.headers, error.read()

    def status(self, *request, **headers):
        return self.ask(*request, **headers)[0]

    def get(self, path):
        return json.loads(self.ask("GET", path)[2])

    def sign_in(self, call="login", account=ACCOUNT):
        """Signs in and returns the refresh cookie; later requests carry the token."""
        _, headers, body = self.ask("POST", f"/client-api/auth/{call}", account)
        self.token = json.loads(body)["access_token"]
        return headers["Set-Cookie"].split(";")[0]

    def refresh(self, cookie):
        return self.ask("POST", "/client-api/auth/refresh", b"", Cookie=cookie)

    def stream(self, camera, role):
        return self.get(f"/client-api/cameras/{camera}/stream-url?role={role}")["url"]

    def test_accounts(self):
        for wrong in ({"login": "admin", "password": "short"}, {"login": " ", "password": "secret-1"}):
            self.assertEqual(self.status("POST", "/client-api/auth/setup", wrong), 400)
        status, headers, _ = self.ask("POST", "/client-api/auth/setup", ACCOUNT)
        self.assertEqual(status, 200)
        self.assertIn("HttpOnly", headers["Set-Cookie"])
        self.assertEqual(self.status("POST", "/client-api/auth/setup", ACCOUNT), 409)
        for wrong in ({**ACCOUNT, "password": "secret-2"}, {**ACCOUNT, "login": "Admin"}, {"login": "admin"},
                      {"login": 1, "password": ["secret-1"]}, b"login=admin"):
            status, headers, _ = self.ask("POST", "/client-api/auth/login", wrong)
            self.assertEqual((status, headers["Set-Cookie"]), (401, None), wrong)

    def test_sessions_end(self):
        self.sign_in("setup")
        cookie = self.sign_in()
        status, headers, body = self.refresh(cookie)
        self.assertEqual(status, 200)
        self.assertEqual(self.status("GET", "/client-api/cameras"), 401, "the token that was replaced")
        self.assertEqual([self.refresh(old)[0] for old in (cookie, "")], [401, 401])
        self.token = json.loads(body)["access_token"]
        self.assertEqual(self.status("GET", "/client-api/cameras"), 200)
        self.assertEqual(self.status("POST", "/client-api/auth/logout"), 204)
        self.assertEqual(self.status("GET", "/client-api/cameras"), 401)
        self.assertEqual(self.refresh(headers["Set-Cookie"].split(";")[0])[0], 401)

    def test_bad_requests(self):
        self.sign_in("setup")
        token = self.token
        for method, path, expected in (
                ("GET", "/cameras/cam-099/recording-range", 404), ("GET", "/cameras/cam-099/stream-url?role=main", 404),
                ("GET", "/cameras/cam-001/timeline?from=yesterday&to=today", 400),
                ("GET", "/cameras/cam-001/timeline?from=2025-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400),
                ("GET", "/cameras/cam-001/timeline?from=1925-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400),
                ("GET", "/cameras/cam-001/segments?from=2025-01-01T00:00:00Z&limit=-1", 400),
                ("GET", "/segments/99999999999999999999/file", 404), ("GET", "/segments/x/file", 404),
                ("GET", "/export/stream?camera_id=cam-001", 400), ("GET", "/export/stream?camera_id=cam-099", 404),
                ("POST", "/incidents", 400), ("POST", "/incidents/none/ack", 404), ("PUT", "/preferences", 400)):
            for self.token, wanted in ((token, expected), ("made-up", 401)):
                status, _, body = self.ask(method, "/client-api" + path, None if method == "GET" else b"[1")
                self.assertEqual(status, wanted, path)
                self.assertTrue(json.loads(body)["error"], path)

    def test_permissions_are_held(self):
        self.sign_in("setup")
        self.ask("PUT", "/client-api/preferences", {"screens": ["grid-2"]})
        guard = {"login": "guard", "password": "secret-3"}
        self.assertEqual([self.status("POST", "/demo/users", guard) for _ in range(2)], [201, 400])
        incident = json.loads(self.ask("POST", "/demo/incidents")[2])["id"]
        self.sign_in(account=guard)
        for path, body in ((f"/{incident}/ack", {}), (f"/{incident}/resolve", {"resolution": "x"}), ("", {"title": "x"})):
            self.assertEqual(self.status("POST", "/client-api/incidents" + path, body), 403)
        self.assertEqual(self.get("/client-api/incidents")[0]["status"], "open")
        self.assertEqual(self.get("/client-api/preferences"), {})

    def test_a_restart_keeps_everything_but_secrets(self):
        self.sign_in("setup")
        cookie = self.sign_in()
        self.ask("PATCH", "/demo/cameras/cam-002", {"name": "Ворота"})
        self.ask("DELETE", "/demo/cameras/cam-016")
        self.ask("POST", "/demo/cameras", {"name": "New", "has_sub_stream": False})
        self.ask("PUT", "/client-api/preferences", {"grids": {"live": 1}})
        self.ask("POST", "/demo/incidents", {"title": "Smoke"})
        counts = json.dumps(self.recorder.requests())
        self.recorder.stop()
        state = self.home.path / "recorder/recorder.json"
        for secret in (ACCOUNT["password"], self.token, cookie.partition("=")[2]):
            self.assertNotIn(secret, state.read_text() + counts)

        self.recorder.start()
        cameras = self.get("/client-api/cameras")
        self.assertEqual((len(cameras), cameras[1]["name"], cameras[15]["id"]), (16, "Ворота", "cam-017"))
        self.assertEqual(self.get("/client-api/preferences"), {"grids": {"live": 1}})
        self.assertEqual(self.get("/client-api/incidents")[0]["title"], "Smoke")
        self.assertEqual(self.refresh(cookie)[0], 200)
        self.recorder.stop()
        state.write_text('{ "accounts": [')
        with self.assertRaisesRegex(AssertionError, "recorder.json"):
            self.recorder.start()
        self.assertEqual(state.read_text(), '{ "accounts": [', "damaged state is left alone")

    def open_events(self, token, path="/client-api/ws"):
        """A connection to the event channel, and the answer to its opening."""
        connection = socket.create_connection(("127.0.0.1", self.recorder.http_port), timeout=10 * PATIENCE)
        self.addCleanup(connection.close)
        connection.sendall((f"GET {path} HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                            "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                            f"Authorization: Bearer {token}\r\n\r\n").encode())
        return connection, connection.recv(12).decode()

    def test_events_reach_everybody_signed_in(self):
        self.sign_in("setup")
        self.assertEqual(self.open_events("made-up")[1], "HTTP/1.1 401")
        self.assertEqual(self.open_events(self.token, "/client-api/other")[1], "HTTP/1.1 404")
        listeners = [self.open_events(self.token) for _ in range(2)]
        self.assertEqual([answer for _, answer in listeners], ["HTTP/1.1 101"] * 2)
        incident = json.loads(self.ask("POST", "/demo/incidents")[2])["id"]
        self.ask("POST", f"/client-api/incidents/{incident}/ack")
        self.ask("POST", f"/client-api/incidents/{incident}/resolve", {"resolution": "x"})
        self.ask("POST", "/demo/events/send", b"{broken")
        for connection, _ in listeners:
            heard = b""
            while b"{broken" not in heard:
                heard += connection.recv(65536)
            places = [heard.index(b'"%s"' % status) for status in (b"open", b"acked", b"resolved")]
            self.assertEqual(places, sorted(places))

    def test_segments_tile_what_is_recorded(self):
        self.sign_in("setup")
        for camera in ("cam-002", "cam-003", "cam-004"):
            path, begin = f"/client-api/cameras/{camera}", instant(time.time() - 30 * HOUR)
            segments = self.get(f"{path}/segments?from={begin}&limit=500")
            self.assertEqual(len({each["id"] for each in segments}), len(segments))
            spans = []
            for each in segments:
                if spans and spans[-1]["end"] == each["start_time"]:
                    spans[-1]["end"] = each["end_time"]
                else:
                    spans.append({"start": each["start_time"], "end": each["end_time"]})
            self.assertGreater(len(spans), 2)
            # The first one may have begun earlier.
            self.assertEqual(self.get(f"{path}/timeline?from={begin}&to={spans[-1]['end']}")[1:], spans[1:])
            for one, next in list(zip(segments, segments[1:]))[::49]:
                self.assertEqual(self.get(f"{path}/segments?from={one['end_time']}&limit=1"), [next])

    def test_byte_ranges(self):
        self.sign_in("setup")
        segment = self.get(f"/client-api/cameras/cam-001/segments?limit=1&from={instant(time.time() - HOUR)}")[0]
        path, size = f"/client-api/segments/{segment['id']}/file", segment["file_size"]
        whole = self.ask("GET", path)[2]
        self.assertEqual(len(whole), size)
        for part, first, last in (("100-199", 100, 199), ("0-0", 0, 0), ("1000-", 1000, size - 1),
                                  ("-500", size - 500, size - 1), ("1000-99999999", 1000, size - 1),
                                  ("-99999999", 0, size - 1)):
            status, headers, body = self.ask("GET", path, Range=f"bytes={part}")
            self.assertEqual((status, headers["Content-Range"]), (206, f"bytes {first}-{last}/{size}"))
            self.assertEqual(body, whole[first:last + 1], part)
        for wanted, parts in ((416, ("bytes=99999999-", "bytes=-0")),
                              (200, ("bytes=0-1,5-6", "bytes=6-5", "lines=1-2", "bytes=a-b"))):
            self.assertEqual({part: self.status("GET", path, Range=part) for part in parts}, dict.fromkeys(parts, wanted))
        self.assertEqual(self.ask("HEAD", path)[2], b"")

    def test_a_stream_has_every_picture_of_the_present(self):
        self.sign_in("setup")
        for role, transport in (("main", "tcp"), ("sub", "udp")):
            begin = time.time()
            moments = video.moments(self.stream("cam-002", role), "-rtsp_transport", transport, "-t", "3")
            self.assertGreaterEqual(len(moments), 40)
            self.assertEqual([round((next - one) * 15, 3) for one, next in zip(moments, moments[1:])],
                             [1] * (len(moments) - 1))
            self.assertTrue(begin - 1 < moments[0] == int(moments[0]) and moments[-1] < time.time() + 0.2, moments)
            wait_until(lambda: self.recorder.streams()[f"cam-002/{role}"]["playing"] == 0, 10, "the stream to be closed")

    def test_a_stream_needs_user_and_password(self):
        self.sign_in("setup")
        user, _, rest = self.stream("cam-003", "sub").partition("@")
        for known in (user.rpartition(":")[0] + ":wrong@", "rtsp://"):
            with self.assertRaises(subprocess.CalledProcessError) as refused:
                video.moments(known + rest, "-rtsp_transport", "tcp", "-t", "1")
            self.assertIn(b"401", refused.exception.stderr)

    def test_sixteen_viewers_are_cheap(self):
        self.sign_in("setup")
        for index in range(16):
            viewer = processes.start(["ffmpeg", "-v", "error", "-rtsp_transport", "tcp", "-i",
                                      self.stream(f"cam-00{index % 7 + 1}", "sub"), "-c", "copy", "-f", "null", "-"])
            self.addCleanup(processes.stop, viewer)
        wait_until(lambda: sum(each["playing"] for each in self.recorder.streams().values()) == 16, 20, "every viewer")
        cores = processes.cpu_rate([self.recorder.pid], 4)
        print(f"sixteen viewers cost {cores:.3f} of a core", flush=True)
        self.assertLess(cores, 0.5 * PATIENCE)


if __name__ == "__main__":
    main()
