"""A relay between client and recorder that remembers what passed, so that a test knows every secret."""

import re
import socket
import threading


class Wiretap:
    def __init__(self, port):
        self._target = ("127.0.0.1", port)
        self._requests, self._answers = [], []
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
            for source, sink, passed in ((near, far, self._requests), (far, near, self._answers)):
                passed.append(bytearray())
                threading.Thread(target=self._relay, args=(source, sink, passed[-1]), daemon=True).start()

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

    @staticmethod
    def _found(pattern, passed):
        return [found for each in passed for found in re.findall(pattern, bytes(each).decode(errors="replace"))]

    def request_lines(self):
        """Method and address of every request."""
        return self._found(r"(?m)^((?:GET|POST|PUT|PATCH|DELETE|HEAD) \S+) HTTP/1\.1\r?$", self._requests)

    def tokens(self):
        """Every access token and cookie value that the recorder handed out."""
        return {*self._found(r'"access_token"\s*:\s*"([^"]+)"', self._answers),
                *self._found(r"(?mi)^Set-Cookie: *[^=;\r]+=([^;\r]{8,})", self._answers)}

    def stream_passwords(self):
        """The password of every stream address that the recorder handed out."""
        return set(self._found(r"rtsps?:(?:\\?/){2}[^@/\":]+:([^@/\"]+)@", self._answers))
