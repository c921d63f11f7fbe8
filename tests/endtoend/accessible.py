"""The program's windows as a screen reader meets them: found by role and name, pressed by their actions.

Needs the accessibility bus, and the bindings of Debian's own Python.
"""

import pyatspi

from program import wait_for


def walk(element):
    yield element
    for i in range(element.childCount):
        child = element.getChildAtIndex(i)
        if child is not None:
            yield from walk(child)


def role_of(element):
    """In the words of every version of AT-SPI: newer ones call a push button just a button."""
    name = element.getRoleName()
    return "push button" if name == "button" else name


def is_showing(element):
    return element.getState().contains(pyatspi.STATE_SHOWING)


class Desktop:
    """All that one program shows."""

    def __init__(self, program="murmelo"):
        self.program = program

    def windows(self):
        for program in pyatspi.Registry.getDesktop(0):
            if program is not None and program.name == self.program:
                yield from (program.getChildAtIndex(i) for i in range(program.childCount))

    def all_found(self, role, name, window=None):
        found = []
        try:
            for top in self.windows():
                if top is not None and (window is None or top.name == window):
                    found += [e for e in walk(top) if role_of(e) == role and e.name == name and is_showing(e)]
        except Exception as gone:  # what goes while it is looked at answers with an error of the bus
            if "GLib" not in type(gone).__module__ and "gi" not in type(gone).__module__:
                raise
            return []
        return found

    def shows(self, role, name, window=None):
        return bool(self.all_found(role, name, window))

    def find(self, role, name, window=None):
        """Waits until it is there."""
        wait_for(lambda: self.shows(role, name, window), f"the {role} “{name}”")
        return self.all_found(role, name, window)[0]

    def press(self, role, name, window=None):
        action = self.find(role, name, window).queryAction()
        names = [action.getName(i).lower() for i in range(action.nActions)]
        action.doAction(names.index("press"))

    def description(self, role, name):
        found = self.all_found(role, name)
        return found[0].description if found else ""

    def centre(self, role, name):
        """Where the mouse finds it on the screen."""
        area = self.find(role, name).queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        return area.x + area.width // 2, area.y + area.height // 2
