"""A relay between client and recorder that remembers what passed, so that a test knows every secret."""

import re
import socket
import threading


class Wiretap:
    def __init__(self, port):
        self._target = ("127.0.0.1", port)
        self._streams = []
        self._server = socket.create_server(("127.0.0.1", 0))
        threading.Thread(target=self._accept, daemon=True).start()

    @property
    def url(self):
        return f"http://127.0.0.1:{self._server.getsockname()[1]}"

    def stop(self):
        self._server.close()

    def _accept(self):
        while True:
            try:
                near, _ = self._server.accept()
            except OSError:
                return
            try:
                far = socket.create_connection(self._target)
            except OSError:
                near.close()
                continue
            for source, sink, kind in ((near, far, "request"), (far, near, "answer")):
                seen = bytearray()
                self._streams.append((kind, seen))
                threading.Thread(target=self._relay, args=(source, sink, seen), daemon=True).start()

    @staticmethod
    def _relay(source, sink, seen):
        try:
            while data := source.recv(65536):
                seen += data
                sink.sendall(data)
        except OSError:
            pass
        for end in (source, sink):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        source.close()

    def _text(self, kind):
        return [bytes(seen).decode(errors="replace") for each, seen in self._streams if each == kind]

    def request_lines(self):
        """Method and address of every request."""
        return [line for text in self._text("request")
                for line in re.findall(r"^((?:GET|POST|PUT|PATCH|DELETE|HEAD) \S+) HTTP/1\.1\r?$", text, re.MULTILINE)]

    def tokens(self):
        """Every access token and cookie value that the recorder handed out."""
        answers = self._text("answer")
        return {found for text in answers
                for found in re.findall(r'"access_token"\s*:\s*"([^"]+)"', text)
                + re.findall(r"^Set-Cookie: *[^=;\r]+=([^;\r]{8,})", text, re.MULTILINE | re.IGNORECASE)}

    def stream_credentials(self):
        """Every "user:password" of the stream addresses that the recorder handed out."""
        return {found for text in self._text("answer") for found in re.findall(r"rtsps?:(?:\\?/){2}([^@/\"]+:[^@/\"]+)@", text)}
