"""Signing in and out, who may see what, and the language, in the real program."""

from harness.testcase import ADMIN, EndToEndTest, main
from harness.waiting import stays, wait_until

EVERY_PAGE = ["live", "playback", "floorplans", "cameras", "vision", "admin", "audit", "incidents", "cluster", "settings"]


class FirstTimeSetup(EndToEndTest):
    cameras = 2
    accounts = False

    def test_creates_the_first_account_and_shows_the_cameras(self):
        ui = self.start_client()
        self.assertEqual(ui.text("serverField"), "http://127.0.0.1:8090")
        self.assertEqual(ui.text("title"), "Brannic Security")
        ui.connect_to(self.wiretap.url)
        self.assertEqual(ui.text("title"), "Create Administrator")
        self.assertEqual(ui.text("hint"), "The server has no users yet. Create an administrator with full access.")
        ui.enter_account(*ADMIN)
        ui.probe.item(name="liveView")
        self.assertEqual(ui.text("signedInLogin"), ADMIN[0])
        wait_until(lambda: ui.probe.context("cameraModel", "count") == 2, 10, "two cameras")
        self.assertEqual(sorted(ui.entries()), sorted(EVERY_PAGE + ["newScreen"]))

        # The server now knows an account, and the client remembers where it was and who it was.
        ui.sign_out()
        self.assertEqual(ui.text("serverField"), self.wiretap.url)
        ui.click(name="continueButton")
        self.assertEqual([ui.text(name) for name in ("loginField", "title", "passwordField")],
                         [ADMIN[0], "Brannic Security", ""])


class Session(EndToEndTest):
    cameras = 2

    def test_says_what_is_wrong_and_lets_the_operator_try_again(self):
        wrong = "Not-the-key-1234"
        self.secrets.add(wrong)
        status, answer = self.recorder.call("POST", "/client-api/auth/login", {"login": ADMIN[0], "password": wrong})
        self.assertEqual(status, 401)
        ui = self.start_client()
        ui.fill("serverField", "http://127.0.0.1:9")
        ui.click(name="continueButton")
        self.assertTrue(ui.text("errorBanner"))
        ui.connect_to(self.wiretap.url)
        ui.enter_account(ADMIN[0], wrong)
        self.assertEqual(ui.text("errorBanner"), answer["error"])
        ui.desktop.key("Escape")
        ui.probe.item(name="serverField")
        ui.sign_in_again(*ADMIN)

    def test_speaks_the_chosen_language_now_and_at_the_next_start(self):
        ui = self.sign_in(locale="ru_RU.UTF-8")
        self.assertEqual(ui.text("nav_live"), "Живой просмотр")
        ui.open_page("settings")
        ui.click(name="tab_en")
        ui.probe.item(name="nav_live", text="Live View")
        self.assertEqual(ui.probe.windows()[0]["title"], "Brannic Security")
        self.assertEqual(self.client.quit(), 0)

        ui = self.start_client(locale="ru_RU.UTF-8")
        self.assertEqual(ui.text("continueButton"), "Continue")
        ui.sign_in_again(*ADMIN)
        ui.open_page("settings")
        ui.click(name="tab_ru")
        ui.probe.item(name="nav_live", text="Живой просмотр")

    def test_shows_four_entries_to_a_user_without_permissions(self):
        guest = "guest", "Guest-key-2580"
        self.recorder.demo("POST", "/users", {"login": guest[0], "password": guest[1], "permissions": []})
        self.secrets.add(guest[1])
        ui = self.sign_in(*guest)
        self.assertEqual(ui.entries(), ["live", "playback", "newScreen", "settings"])
        ui.sign_out()
        ui.sign_in_again(*ADMIN)
        wait_until(lambda: len(ui.entries()) == len(EVERY_PAGE) + 1, 5, "every entry for the administrator")

    def test_signs_out_from_every_page(self):
        ui = self.sign_in()
        for page in EVERY_PAGE:
            with self.subTest(page=page):
                ui.open_page(page)
                ui.sign_out()
                self.assertEqual(ui.current_page(), "login")
                wait_until(lambda: self.recorder.events()["connected"] == 0, 5, "the event channel to be closed")
                ui.sign_in_again(*ADMIN)

    def test_returns_to_the_sign_in_page_when_the_session_expires(self):
        self.recorder.demo("POST", "/sessions", {"access_seconds": 10})
        self.addCleanup(self.recorder.demo, "POST", "/sessions", {"access_seconds": 900})
        ui = self.sign_in()
        ui.open_page("settings")
        refreshed = "POST /client-api/auth/refresh"
        wait_until(lambda: self.recorder.requests().get(refreshed, 0) > 0, 15, "the token to be refreshed")
        stays(lambda: ui.current_page() == "settings", 1.5, "signed in while the token is refreshed")
        self.recorder.demo("POST", "/sessions/expire", {})
        ui.probe.item(name="serverField", timeout=30)
        self.assertEqual(ui.current_page(), "login")
        ui.sign_in_again(*ADMIN)

    def test_works_without_a_mouse_and_for_a_screen_reader(self):
        ui = self.start_client()
        gaps = {}
        for name, text in (("serverField", self.wiretap.url), ("loginField", ADMIN[0]), ("passwordField", ADMIN[1])):
            wait_until(lambda: ui.focus_name() == name, 10, f"the focus in {name}")
            gaps[name] = ui.probe.unnamed()
            ui.desktop.key("ctrl+a")
            ui.desktop.type(text)
            ui.desktop.key("Return")
        ui.probe.item(name="liveView")
        ui.tab_to("nav_live")
        ui.desktop.key("End", "Return")
        wait_until(lambda: ui.current_page() == "settings", 5, "the settings page")
        ui.tab_to("logoutLink")
        for page in EVERY_PAGE:
            ui.open_page(page)
            gaps[page] = ui.probe.unnamed()
        self.assertEqual({page: each for page, each in gaps.items() if each}, {})


if __name__ == "__main__":
    main()
