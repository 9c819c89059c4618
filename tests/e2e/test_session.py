"""Signing in and out, who may see what, and the language, in the real program."""

from harness.testcase import ADMIN, EndToEndTest, main
from harness.waiting import stays, wait_until

EVERY_PAGE = ["live", "playback", "floorplans", "cameras", "vision", "admin", "audit", "incidents", "cluster", "settings"]


class FirstTimeSetup(EndToEndTest):
    cameras = 2
    accounts = False

    def test_creates_the_first_account_and_shows_the_cameras(self):
        ui = self.start_client()
        self.assertEqual(ui.probe.value("text", name="serverField"), "http://127.0.0.1:8090")
        self.assertEqual(ui.probe.value("text", name="title"), "Brannic Security")
        ui.connect_to(self.wiretap.url)
        self.assertEqual(ui.probe.value("text", name="title"), "Create Administrator")
        self.assertEqual(ui.probe.value("text", name="hint"),
                         "The server has no users yet. Create an administrator with full access.")
        ui.enter_account(*ADMIN)
        ui.probe.item(name="liveView")
        self.assertEqual(ui.probe.value("text", name="signedInLogin"), ADMIN[0])
        wait_until(lambda: ui.probe.context("cameraModel", "count") == 2, 10, "two cameras")
        self.assertEqual(sorted(ui.entries()), sorted(EVERY_PAGE + ["newScreen"]))

        # The server now knows an account, and the client remembers where it was and who it was.
        ui.sign_out()
        self.assertEqual(ui.probe.value("text", name="serverField"), self.wiretap.url)
        ui.click(name="continueButton")
        self.assertEqual(ui.probe.value("text", name="loginField"), ADMIN[0])
        self.assertEqual(ui.probe.value("text", name="title"), "Brannic Security")
        self.assertEqual(ui.probe.value("text", name="passwordField"), "")


class Session(EndToEndTest):
    cameras = 2

    def test_shows_the_servers_own_text_for_a_wrong_password(self):
        wrong = "Not-the-key-1234"
        self.secrets.add(wrong)
        expected = self.recorder.call("POST", "/client-api/auth/login", {"login": ADMIN[0], "password": wrong})
        self.assertEqual(expected[0], 401)
        ui = self.start_client()
        ui.connect_to(self.wiretap.url)
        ui.enter_account(ADMIN[0], wrong)
        self.assertEqual(ui.probe.item(name="errorBanner", get=["text"]).values["text"], expected[1]["error"])
        ui.fill("passwordField", ADMIN[1])
        ui.click(name="primaryButton")
        ui.probe.item(name="liveView")

    def test_says_what_is_wrong_with_a_server_that_does_not_answer(self):
        ui = self.start_client()
        ui.fill("serverField", "http://127.0.0.1:9")
        ui.click(name="continueButton")
        self.assertTrue(ui.probe.item(name="errorBanner", get=["text"]).values["text"])
        self.assertTrue(ui.probe.items(name="continueButton", enabled=True))

    def test_speaks_the_chosen_language_now_and_at_the_next_start(self):
        ui = self.sign_in(locale="ru_RU.UTF-8")
        self.assertEqual(ui.probe.value("text", name="nav_live"), "Живой просмотр")
        ui.open_page("settings")
        ui.click(name="tab_en")
        ui.probe.item(name="nav_live", text="Live View")
        self.assertEqual(ui.probe.windows()[0]["title"], "Brannic Security")
        self.assertEqual(self.client.quit(), 0)

        ui = self.start_client(locale="ru_RU.UTF-8")
        self.assertEqual(ui.probe.value("text", name="continueButton"), "Continue")
        ui.sign_in(self.wiretap.url, *ADMIN)
        ui.open_page("settings")
        ui.click(name="tab_ru")
        ui.probe.item(name="nav_live", text="Живой просмотр")

    def test_shows_four_entries_to_a_user_without_permissions(self):
        self.recorder.demo("POST", "/users", {"login": "guest", "password": "Guest-key-2580", "permissions": []})
        self.secrets.add("Guest-key-2580")
        ui = self.sign_in("guest", "Guest-key-2580")
        self.assertEqual(ui.entries(), ["live", "playback", "newScreen", "settings"])
        ui.sign_out()
        ui.click(name="continueButton")
        ui.enter_account(*ADMIN)
        ui.probe.item(name="liveView")
        wait_until(lambda: len(ui.entries()) == len(EVERY_PAGE) + 1, 5, "every entry for the administrator")

    def test_signs_out_from_every_page(self):
        ui = self.sign_in()
        for page in EVERY_PAGE:
            with self.subTest(page=page):
                ui.open_page(page)
                ui.sign_out()
                self.assertEqual(ui.current_page(), "login")
                self.assertEqual(ui.probe.value("text", name="serverField"), self.wiretap.url)
                wait_until(lambda: self.recorder.events()["connected"] == 0, 5, "the event channel to be closed")
                ui.click(name="continueButton")
                ui.enter_account(*ADMIN)
                ui.probe.item(name="liveView")

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
        ui.click(name="continueButton")
        ui.enter_account(*ADMIN)
        ui.probe.item(name="liveView")

    def test_works_without_a_mouse(self):
        ui = self.start_client()
        wait_until(lambda: ui.focus_name() == "serverField", 10, "the focus in the first field")
        ui.desktop.key("ctrl+a")
        ui.desktop.type(self.wiretap.url)
        ui.desktop.key("Return")
        wait_until(lambda: ui.focus_name() == "loginField", 10, "the focus in the login field")
        ui.desktop.type(ADMIN[0])
        ui.desktop.key("Return")
        wait_until(lambda: ui.focus_name() == "passwordField", 5, "the focus in the password field")
        ui.desktop.type(ADMIN[1])
        ui.desktop.key("Return")
        ui.probe.item(name="liveView")
        ui.tab_to("nav_live")
        ui.desktop.key("End", "Return")
        wait_until(lambda: ui.current_page() == "settings", 5, "the settings page")
        ui.tab_to("logoutLink")
        ui.desktop.key("Return")
        ui.probe.item(name="serverField")

    def test_gives_everything_that_takes_focus_or_clicks_an_accessible_name(self):
        ui = self.start_client()
        gaps = {"server": ui.probe.ask("accessibleGaps")}
        ui.connect_to(self.wiretap.url)
        gaps["login"] = ui.probe.ask("accessibleGaps")
        ui.enter_account(*ADMIN)
        ui.probe.item(name="liveView")
        for page in EVERY_PAGE:
            ui.open_page(page)
            gaps[page] = ui.probe.ask("accessibleGaps")
        found = {page: [f"{gap['type']} {gap['name']!r} in {gap['parent']} lacks a {gap['missing']}" for gap in each]
                 for page, each in gaps.items()}
        self.assertEqual({page: each for page, each in found.items() if each}, {})


if __name__ == "__main__":
    main()
