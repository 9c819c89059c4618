"""What an operator does with the client, in the words of the operator."""

import time

from .clock import picture_region, read_instant
from .waiting import wait_until


class Operator:
    def __init__(self, client, desktop):
        self.client, self.desktop, self.probe = client, desktop, client.probe

    # Single gestures

    def click(self, timeout=15, count=1, **wanted):
        """Clicks an item once it stands still: a layout may only just have made it."""
        before, item = None, self.probe.item(timeout=timeout, enabled=True, **wanted)
        while before is None or item.region != before.region:
            time.sleep(0.03)
            before, item = item, self.probe.item(timeout=timeout, enabled=True, **wanted)
        self.desktop.click(*item.centre, count=count)
        return item

    def fill(self, name, text):
        """Clicks a field, replaces its text by typing, and waits until it stands there."""
        self.click(name=name)
        wait_until(lambda: self.focus_name() == name, 5, f"the focus in {name}")
        self.desktop.key("ctrl+a", "Delete")
        self.desktop.type(text)
        self.probe.item(name=name, **{"text": text})

    def text(self, name):
        return self.probe.value("text", name=name)

    def focus_name(self):
        item = self.probe.focus()
        return item.name if item else ""

    def tab_to(self, name, limit=60):
        """Presses Tab until the item has the focus, as somebody without a mouse does."""
        for _ in range(limit):
            if self.focus_name() == name:
                return
            before = self.probe.focus()
            self.desktop.key("Tab")
            wait_until(lambda: str(self.probe.focus()) != str(before), 5, f"Tab to move the focus on from {before}")
        raise AssertionError(f"{name} cannot be reached with the Tab key")

    def minimise(self):
        window = self.client.window()["id"]
        self.desktop.minimise(window)
        wait_until(lambda: not self.probe.items(type="VideoGrid"), 10, "the window to go")
        return window

    def restore(self, window):
        self.desktop.restore(window)
        wait_until(lambda: self.client.window()["active"] and self.probe.items(type="VideoGrid"), 10,
                   "the window to come back")

    # Sign-in

    def connect_to(self, url):
        """From the first step of the sign-in page to the second."""
        self.fill("serverField", url)
        self.click(name="continueButton")
        self.probe.item(name="passwordField")

    def enter_account(self, login, password):
        self.fill("loginField", login)
        self.fill("passwordField", password)
        self.click(name="primaryButton")

    def sign_in(self, url, login, password):
        self.fill("serverField", url)
        self.sign_in_again(login, password)

    def sign_in_again(self, login, password):
        """At the server that is remembered."""
        self.click(name="continueButton")
        self.enter_account(login, password)
        self.probe.item(name="liveView")

    def sign_out(self):
        self.click(name="logoutLink")
        self.probe.item(name="serverField")

    def open_page(self, page):
        self.click(name=f"nav_{page}")
        wait_until(lambda: self.current_page() == page, 10, f"the page {page}")

    def current_page(self):
        return self.probe.windows("currentPage")[0]["values"]["currentPage"]

    def entries(self):
        """The pages that the navigation offers, top to bottom."""
        shown = [item for item in self.probe.items() if item.name.startswith("nav_")]
        return [item.name.removeprefix("nav_") for item in sorted(shown, key=lambda item: item.y)]

    # The live grid

    def cell(self, index, *properties):
        return self.probe.item([*properties], name=f"videoCell_{index}")

    def cells(self):
        """The shown cells, as {index: [camera id, stream state]}."""
        found = self.probe.items(["index", "cameraId", "streamState"], type="VideoCell")
        return {item.values["index"]: [item.values["cameraId"], item.values["streamState"]] for item in found}

    def choose_preset(self, preset):
        self.click(name=f"presetButton_{preset}")
        wait_until(lambda: self.preset() == preset, 5, f"the preset {preset}")

    def preset(self):
        return self.probe.value("currentLayout", type="VideoGrid")

    def choose_camera(self, index, camera):
        """Puts a camera into an empty cell with the mouse."""
        self.desktop.click(*self.cell(index).centre)
        # A click right after the one that opened the list would count as the second of a double click.
        wait_until(lambda: self.probe.value("mouseEnabled", type="CameraSearchList"), 5, "the list of cameras")
        self.click(name=f"cameraRow_{camera}")
        wait_until(lambda: self.cells().get(index, [""])[0] == camera, 5, f"{camera} in cell {index}")

    def wait_cells(self, *indices, state="playing", timeout=30):
        wait_until(lambda: all(self.cells()[index][1] == state for index in indices), timeout,
                   lambda: f"cells {indices} to be {state}: {self.cells()}")

    def clear_cell(self, index):
        """Empties a cell with the button that shows under the mouse."""
        self.desktop.move(*self.cell(index).centre)
        self.click(name="cellClearButton", within=f"videoCell_{index}")
        wait_until(lambda: self.cells()[index][0] == "", 5, f"cell {index} to be empty")

    def double_click(self, index):
        self.desktop.click(*self.cell(index).centre, count=2)

    def maximised(self):
        """The cell that is shown alone; -1 when the whole grid is shown."""
        return self.probe.value("maximizedSlot", type="VideoGrid")

    def maximise(self, index):
        self.double_click(index)
        wait_until(lambda: self.maximised() == index, 5, f"cell {index} alone")

    def restore_grid(self, index):
        self.double_click(index)
        wait_until(lambda: self.maximised() == -1, 5, "the whole grid")

    def view(self, camera, *properties):
        """The stream view of a camera, shown or parked."""
        return self.probe.item([*properties], type="CameraStreamView", shown=None, cameraId=camera)

    def source_in_front(self, camera):
        """The address, without its user, of the player in front in the camera's view."""
        within = {"type": "CameraStreamView", "where": {"cameraId": camera}}
        return "".join(item.values["source"].partition("@")[2]
                       for item in self.probe.items(["source"], type="MpvObject", within=within))

    def picture_of(self, index):
        """The camera image on the screen in a cell."""
        return self.desktop.picture(picture_region(self.cell(index).region))

    def wait_live_picture(self, *indices):
        """Waits until the cells show camera images of the last seconds that were taken after this call."""
        begun = time.time()

        def is_live(index):
            instant = read_instant(self.picture_of(index))
            return instant is not None and instant > begun and time.time() - instant < 5
        for index in indices:
            wait_until(lambda: is_live(index), 10, f"a live picture in cell {index}")
