"""Questions to the probe inside the running client."""

import json
import socket
import threading

from .waiting import PATIENCE, TimedOut, wait_until


class ProbeError(AssertionError):
    pass


class Item:
    """What a person would see of an item when it was asked about."""

    def __init__(self, description):
        self.__dict__.update(description)
        self.values = description.get("values", {})

    @property
    def centre(self):
        return self.x + self.width / 2, self.y + self.height / 2

    @property
    def region(self):
        return self.x, self.y, self.width, self.height

    def __repr__(self):
        return (f"{self.type}({self.name!r}, {self.text!r}, {self.x:.0f},{self.y:.0f} "
                f"{self.width:.0f}x{self.height:.0f}{'' if self.shown else ', hidden'})")


def selector(name=None, type=None, shown=True, named=None, within=None, **where):
    """A selector of the probe: by object name, type, ancestor and property values."""
    if isinstance(within, str):
        within = {"name": within}
    parts = {"name": name, "type": type, "shown": shown, "named": named, "within": within, "where": where or None}
    return {key: value for key, value in parts.items() if value is not None}


class Probe:
    """The connection to one client. `wake` is called when the client has not answered for a long time."""

    def __init__(self, path, process, wake):
        self._path, self._process, self._wake = str(path), process, wake
        self._socket = self._file = None

    def connect(self):
        def attempt():
            if self._process.poll() is not None:
                raise ProbeError(f"the client ended with {self._process.returncode} before it could be asked")
            try:
                self._socket = socket.socket(socket.AF_UNIX)
                self._socket.settimeout(30 * PATIENCE)
                self._socket.connect(self._path)
                return True
            except OSError:
                self._socket.close()
                return False
        wait_until(attempt, 30, "the probe in the client")
        self._file = self._socket.makefile("rw")

    def close(self):
        if self._file:
            self._file.close()
            self._socket.close()
            self._file = None

    def ask(self, command, **arguments):
        self._file.write(json.dumps({"do": command, **arguments}) + "\n")
        self._file.flush()
        timer = threading.Timer(10 * PATIENCE, self._wake)
        timer.start()
        try:
            line = self._file.readline()
        finally:
            timer.cancel()
        if not line:
            raise ProbeError("the client closed the probe's connection")
        answer = json.loads(line)
        if "error" in answer:
            raise ProbeError(f"{command} {arguments}: {answer['error']}")
        return answer["result"]

    def items(self, get=(), **wanted):
        return [Item(each) for each in self.ask("items", selector=selector(**wanted), get=list(get))]

    def item(self, get=(), timeout=15, **wanted):
        """The first item that fits, waited for."""
        try:
            return wait_until(lambda: self.items(get, **wanted), timeout, f"an item with {wanted}")[0]
        except TimedOut:
            names = sorted({each.name for each in self.items() if each.name})
            raise TimedOut(f"no item with {wanted}; shown are {', '.join(names)}") from None

    def gone(self, timeout=15, **wanted):
        wait_until(lambda: not self.items(**wanted), timeout, f"no item with {wanted}")

    def value(self, property, timeout=15, **wanted):
        return self.item([property], timeout, **wanted).values[property]

    def focus(self):
        """The item with the keyboard focus, or None."""
        return (self.items(shown=None, activeFocus=True) or [None])[-1]

    def unnamed(self):
        """What the keyboard reaches but a screen reader has no name for."""
        return self.items(named=False, activeFocusOnTab=True, enabled=True)

    def windows(self, *names):
        return self.ask("windows", get=list(names))

    def evaluate(self, expression, **wanted):
        """What an expression gives in the document of the first item that fits, shown or not."""
        return self.ask("evaluate", selector=selector(**{"shown": None, **wanted}), expression=expression)

    def invoke(self, method, *arguments, **wanted):
        """Calls a function of the first item that fits, or of an object that its document knows."""
        return self.evaluate(f"{method}(...{json.dumps(arguments)})", **wanted)

    def context(self, object, property):
        return self.evaluate(f"{object}.{property}")
