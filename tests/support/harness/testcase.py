"""The frame of an end-to-end test: a display and a recorder per class, a fresh client per test."""

import os
import re
import shutil
import unittest

from .desktop import Desktop
from .operator import Operator
from .programs import BUILD, Client, Home, Recorder
from .wiretap import Wiretap

ADMIN = ("operator", "Gate-key-4711")

# Faults of the program's own documents that Qt only reports in the log.
_DOCUMENT_FAULT = re.compile(r"^.*(?:qrc:/ZorvelClient\S+: (?:.*Error|Unable to assign|.*[Bb]inding loop)).*$", re.MULTILINE)
_STREAM_CREDENTIALS = re.compile(r"rtsps?://[^/\s\"@]+@")


class EndToEndTest(unittest.TestCase):
    maxDiff = None
    cameras = 16
    accounts = True

    @classmethod
    def setUpClass(cls):
        cls.home = Home()
        cls.addClassCleanup(cls.home.remove)
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.stop)
        cls.recorder = Recorder(cls.home, cls.cameras).start()
        cls.addClassCleanup(cls._stop_recorder)
        if cls.accounts:
            cls.token = cls.recorder.setup(*ADMIN)
            cls.camera_ids = cls.recorder.camera_ids(cls.token)

    @classmethod
    def _stop_recorder(cls):
        cls.recorder.stop()
        report = cls.recorder.sanitizer_report()
        assert not report, f"the recorder: {report}"

    def setUp(self):
        self.secrets = {ADMIN[1]}
        self.wiretap = Wiretap(self.recorder.http_port)
        self.addCleanup(self.wiretap.stop)
        self.client_home = Home()
        self.addCleanup(self.client_home.remove)
        self.client = None
        self.addCleanup(self._end_client)

    def start_client(self, **options):
        """Starts the client with a home folder of its own; a second call is the next launch on the same machine."""
        self.client = Client(self.client_home, self.desktop, **options).start()
        self.ui = Operator(self.client, self.desktop)
        return self.ui

    def sign_in(self, login=ADMIN[0], password=ADMIN[1], **options):
        """Starts the client and signs in."""
        self.start_client(**options)
        self.ui.sign_in(self.wiretap.url, login, password)
        return self.ui

    def watch(self, count):
        """Signs in and shows the first cameras in the preset 2x2; returns their ids."""
        ui, cameras = self.sign_in(), self.camera_ids[:count]
        ui.choose_preset("2x2")
        for index, camera in enumerate(cameras):
            ui.choose_camera(index, camera)
        ui.wait_cells(*range(count))
        return ui, cameras

    def _callTestMethod(self, method):
        try:
            super()._callTestMethod(method)
        except Exception:
            self._keep_evidence()
            raise

    def _keep_evidence(self):
        folder = BUILD / "e2e-failures" / self.id().rpartition("__main__.")[2]
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        self.desktop.screenshot(folder / "screen.png")
        for program in (self.recorder, self.client):
            if program and program.log_path.exists():
                shutil.copy(program.log_path, folder)
        print(f"kept for {self.id()}: {folder}", flush=True)

    def _end_client(self):
        if not self.client:
            return
        titles = []
        try:
            if self.client.running():
                titles = [each["title"] for each in self.client.probe.windows()]
                self.client.quit()
        finally:
            self.client.kill()
        try:
            log = self.client.log()
            self.assertEqual(self.client.process.returncode, 0, "the client's exit status: " + log[-1500:])
            self._check_log(log, titles)
        except AssertionError:
            self._keep_evidence()
            raise

    def _check_log(self, log, titles):
        self.assertEqual(self.client.sanitizer_report(), "")
        self.assertEqual(_DOCUMENT_FAULT.findall(log), [])
        self.assertEqual(_STREAM_CREDENTIALS.findall(log), [], "stream credentials in the log")
        secrets = self.secrets | self.wiretap.tokens() | self.wiretap.stream_passwords()
        places = {"the client's log": log, "the recorder's log": self.recorder.log(), "a window title": " ".join(titles),
                  "a request's address": "\n".join(self.wiretap.request_lines())}
        for place, text in places.items():
            for secret in secrets:
                self.assertNotIn(secret, text, f"a secret stands in {place}")


def main():
    unittest.main(verbosity=2, failfast="ZORVEL_E2E_FAILFAST" in os.environ)
