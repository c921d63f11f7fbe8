#!/usr/bin/python3
"""The icon in real trays, by mouse. Inside a private session with bus and desktop."""

import os
import pathlib
import signal
import subprocess
import time

import session_bus
from desktop_case import PANEL, DesktopTest
from program import LIMIT, announced_seconds, main, wait_for
from screen import Area, Screen, click

BAR = 32  # pixels; how high the trays' bars are
WATCHER = "org.kde.StatusNotifierWatcher"
MENU = {"open": 1, "record": 3, "quit": 5}  # how far down, in sixths
NEAR = 40  # pixels; how far from the icon the panel may be

XFCE_PANEL = f"""<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=10;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="{BAR}"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>
</channel>
"""


class TrayTests:
    """What is the same in every tray. Each shows one icon, in `spot`."""

    def setUp(self):
        super().setUp()
        self.settings("onboarded=true")
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        self.start_tray()
        wait_for(self.tray_is_ready, "the tray")
        self.program = self.launch()
        self.wait_for_icon()

    def start_tray(self):
        self.configure_tray()
        with (self.work / "tray.log").open("w") as log:
            self.tray = subprocess.Popen(self.command, env=self.env, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                         start_new_session=True)
        self.addCleanup(self.kill_tray, self.tray)

    def kill_tray(self, tray):
        if tray.poll() is None:
            os.killpg(tray.pid, signal.SIGKILL)  # with the processes of its parts
        tray.wait()

    def icon_is_there(self):
        return len(self.screen.colours(self.spot)) > 1

    def icon_is_red(self):
        return any(red > 180 and green < 100 and blue < 100 for red, green, blue in self.screen.colours(self.spot))

    def wait_for_icon(self):
        wait_for(self.icon_is_there, "the icon's appearance")

    def panel_is_open(self):
        return bool(self.screen.windows(PANEL))

    def panel_is_drawn(self):
        return self.screen.pixel_of(PANEL, 160, 5)[0] > 200

    def click_icon(self, button=1):
        time.sleep(0.5)  # else it would be a double click, or the click that has just taken the keyboard from the panel
        click(self.spot.centre, button)

    def open_panel(self):
        self.click_icon()
        wait_for(self.panel_is_open, "the opening of the panel")

    def wait_for_closed_panel(self):
        wait_for(lambda: not self.panel_is_open(), "the closing of the panel")

    def choose(self, entry):
        """From the menu of the secondary click."""
        self.click_icon(button=3)
        wait_for(self.screen.menus, "the menu")
        menu, = self.screen.menus()
        click((menu.centre[0], menu.top + (menu.bottom - menu.top) * MENU[entry] // 6))
        wait_for(lambda: not self.screen.menus(), "the end of the menu")

    def test_a_click_opens_the_panel_at_the_icon_and_the_next_one_closes_it(self):
        for _ in range(2):
            self.open_panel()
            panel, = self.screen.windows(PANEL)
            self.assertTrue(self.screen.free_area().contains(panel), panel)
            self.assertLess(panel.distance(self.spot), NEAR)
            self.desktop.find("push button", "Start Recording", PANEL)
            self.click_icon()
            self.wait_for_closed_panel()

    def test_the_panel_closes_when_the_keyboard_goes_elsewhere(self):
        self.open_panel()
        wait_for(lambda: self.active_window() == PANEL, "the panel's getting the keyboard")
        other = self.screen.open_window("Another program", Area(500, 300, 700, 400))
        self.addCleanup(other.destroy)
        self.wait_for_closed_panel()
        self.open_panel()

    def test_the_secondary_click_has_a_menu(self):
        self.assertFalse(self.icon_is_red())
        self.choose("record")
        self.wait_for_status("Recording")
        wait_for(self.icon_is_red, "the icon's turning red")
        time.sleep(1)  # of sound
        self.choose("record")
        self.wait_for_status("Not recording")
        wait_for(lambda: not self.icon_is_red(), "the end of the icon's being red")
        self.assert_whole(self.recordings()[0])
        self.choose("open")
        wait_for(self.panel_is_open, "the opening of the panel")
        self.choose("quit")
        self.assertEqual(self.program.wait(timeout=LIMIT), 0)

    def test_the_icon_comes_back_with_its_tray_and_the_recording_goes_on_meanwhile(self):
        self.open_panel()
        self.desktop.press("push button", "Start Recording", PANEL)
        wait_for(self.icon_is_red, "the icon's turning red")
        self.kill_tray(self.tray)
        wait_for(lambda: self.screen.free_area() == self.screen.area(), "the disappearance of the tray")
        self.desktop.find("push button", "Stop", PANEL)  # else nobody could stop it
        time.sleep(1)  # of sound without a tray
        self.start_tray()
        wait_for(self.icon_is_red, "the red icon's coming back")
        self.wait_for_status("Recording")
        self.choose("record")
        self.wait_for_status("Not recording")
        folder, = self.recordings()
        self.assert_whole(folder)
        self.assertGreater(announced_seconds(folder / "voice.m4a"), 1)

    def test_a_tray_may_come_late(self):
        self.end(self.program)
        self.kill_tray(self.tray)
        self.launch()
        wait_for(self.panel_is_open, "the panel's opening by itself")
        self.start_tray()
        self.wait_for_icon()
        wait_for(lambda: not self.panel_is_open(), "the end of the window that nobody has used")
        self.choose("record")
        wait_for(self.icon_is_red, "the icon's turning red")


class X11Tray(TrayTests, DesktopTest):
    spot = Area(4, 4, 26, 26)

    def configure_tray(self):
        file = self.work / "tint2rc"
        file.write_text("panel_items = S\nsystray_icon_size = 22\nsystray_padding = 4 4 4\npanel_position = top center "
                        f"horizontal\npanel_size = 100% {BAR}\nstrut_policy = follow_size\n")
        self.command = ["tint2", "-c", file]

    def tray_is_ready(self):
        return self.screen.has_tray()


class StatusNotifierTray(TrayTests, DesktopTest):
    spot = Area(2, 800 - BAR + 2, BAR - 2, 800 - 2)
    command = ["xfce4-panel"]

    def configure_tray(self):
        """It is the session's own bus that starts the keeper of the settings."""
        folder = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "xfce4/xfconf/xfce-perchannel-xml"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "xfce4-panel.xml").write_text(XFCE_PANEL)

    def test_a_self_test_that_is_not_enabled_leaves_icon_and_status_as_they_are(self):
        self.end(self.program)
        wait_for(lambda: not self.icon_is_there(), "the disappearance of the icon")
        self.env["TAPDECK_DIAG"] = "0"
        program = self.launch()
        self.wait_for_icon()
        self.wait_for_status("Not recording")
        program.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait(timeout=LIMIT), 0)

    def test_the_panels_corners_are_transparent_as_long_as_somebody_blends_windows(self):
        def corner():
            panel, = self.screen.windows(PANEL)
            return self.screen.colours(Area(panel.left, panel.top, panel.left + 1, panel.top + 1))

        background = self.screen.colours(Area(600, 600, 601, 601))
        for close in (self.click_icon, lambda: subprocess.run(["xdotool", "key", "Escape"], check=True)):
            self.open_panel()
            wait_for(self.panel_is_drawn, "the drawing of the panel")
            wait_for(lambda: corner() == background, "the cutting off of the corner")
            close()
            self.wait_for_closed_panel()

            manager = Screen()
            manager.claim_blending()
            self.open_panel()
            wait_for(self.panel_is_drawn, "the drawing of the panel")
            alphas = [self.screen.pixel_of(PANEL, x, 0)[3] for x in range(12)]
            self.assertEqual(alphas[0], 0)
            self.assertTrue(any(0 < alpha < 255 for alpha in alphas), "the corner is smooth")
            close()
            self.wait_for_closed_panel()
            manager.close()

    def tray_is_ready(self):
        return session_bus.has_owner(WATCHER) and session_bus.get_property(WATCHER, "/StatusNotifierWatcher", WATCHER,
                                                                           "IsStatusNotifierHostRegistered")


if __name__ == "__main__":
    main()
