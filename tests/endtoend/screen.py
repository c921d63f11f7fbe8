"""The X screen of a private session as the eye and the hand meet it. Needs python3-xlib, and xdotool for the mouse."""

import subprocess
from typing import NamedTuple

from Xlib import X, Xatom, error
from Xlib.display import Display

HIGHEST_TOOL_TIP = 40  # pixels
GONE = (error.BadWindow, error.BadDrawable)  # while it was looked at


class Area(NamedTuple):
    """Pixels of the screen; right and bottom are the first ones outside."""

    left: int
    top: int
    right: int
    bottom: int

    @property
    def centre(self):
        return (self.left + self.right) // 2, (self.top + self.bottom) // 2

    def contains(self, other):
        return (self.left <= other.left and self.top <= other.top
                and other.right <= self.right and other.bottom <= self.bottom)

    def distance(self, other):
        """Of the nearest edges; 0 when they touch or overlap."""
        return max(self.left - other.right, other.left - self.right, self.top - other.bottom, other.top - self.bottom, 0)


def click(place, button=1):
    subprocess.run(["xdotool", "mousemove", *map(str, place), "click", str(button)], check=True)


class Screen:
    def __init__(self):
        self.display = Display()
        self.root = self.display.screen().root

    def close(self):
        self.display.close()

    def area(self):
        size = self.root.get_geometry()
        return Area(0, 0, size.width, size.height)

    def area_of(self, window):
        size, corner = window.get_geometry(), window.translate_coords(self.root, 0, 0)
        return Area(-corner.x, -corner.y, size.width - corner.x, size.height - corner.y)

    def free_area(self):
        """What bars leave of it."""
        left, top, width, height = self.root.get_full_property(self.display.intern_atom("_NET_WORKAREA"),
                                                               Xatom.CARDINAL).value[:4]
        return Area(left, top, left + width, top + height)

    def colours(self, area):
        """All that can be seen there, as (red, green, blue)."""
        pixels = self.root.get_image(area.left, area.top, area.right - area.left, area.bottom - area.top, X.ZPixmap,
                                     0xFFFFFF).data
        return {(pixels[i + 2], pixels[i + 1], pixels[i]) for i in range(0, len(pixels), 4)}

    def windows(self, title):
        """Where the windows with that title are, without what the window manager draws around them."""
        listed = self.root.get_full_property(self.display.intern_atom("_NET_CLIENT_LIST"), Xatom.WINDOW)
        found = []
        for number in listed.value if listed else ():
            window = self.display.create_resource_object("window", number)
            try:
                if window.get_wm_name() == title:
                    found.append(self.area_of(window))
            except GONE:
                pass
        return found

    def pixel_of(self, title, x, y):
        """As the window has drawn it, before it is blended: (red, green, blue, alpha)."""
        for number in self.root.get_full_property(self.display.intern_atom("_NET_CLIENT_LIST"), Xatom.WINDOW).value:
            window = self.display.create_resource_object("window", number)
            if window.get_wm_name() == title:
                blue, green, red, alpha = window.get_image(x, y, 1, 1, X.ZPixmap, 0xFFFFFFFF).data
                return red, green, blue, alpha
        raise AssertionError(f"there is no window “{title}”")

    def claim_blending(self):
        """As a compositing manager does, which puts together what windows have drawn. Ends with the connection."""
        window = self.root.create_window(-1, -1, 1, 1, 0, X.CopyFromParent)
        window.set_selection_owner(self.display.intern_atom("_NET_WM_CM_S0"), X.CurrentTime)
        self.display.sync()

    def menus(self):
        """Where there are menus: windows that are not the window manager's to move."""
        found = []
        for window in self.root.query_tree().children:
            try:
                attributes = window.get_attributes()
                area = self.area_of(window)
            except GONE:
                continue
            if attributes.override_redirect and attributes.map_state == X.IsViewable \
                    and area.bottom - area.top > HIGHEST_TOOL_TIP:
                found.append(area)
        return found

    def has_tray(self):
        return self.display.get_selection_owner(self.display.intern_atom("_NET_SYSTEM_TRAY_S0")) != X.NONE

    def open_window(self, title, area):
        """Somebody else's, which gets the keyboard."""
        window = self.root.create_window(area.left, area.top, area.right - area.left, area.bottom - area.top, 0,
                                         X.CopyFromParent)
        window.set_wm_name(title)
        window.map()
        self.display.sync()
        return window
