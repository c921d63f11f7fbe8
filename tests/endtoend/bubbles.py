"""The desktop's notifications, as a test sees them. Needs the bindings of Debian's own Python."""

import os
import threading

from gi.repository import Gio, GLib

from program import LIMIT

NOTIFICATIONS = """<node><interface name='org.freedesktop.Notifications'>
  <method name='GetCapabilities'><arg type='as' direction='out'/></method>
  <method name='Notify'>
    <arg type='s' direction='in'/><arg type='u' direction='in'/><arg type='s' direction='in'/>
    <arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='as' direction='in'/>
    <arg type='a{sv}' direction='in'/><arg type='i' direction='in'/><arg type='u' direction='out'/>
  </method>
  <method name='CloseNotification'><arg type='u' direction='in'/></method>
  <signal name='ActionInvoked'><arg type='u'/><arg type='s'/></signal>
</interface></node>"""


class Bubbles:
    """The desktop's notifications."""

    def __init__(self):
        self.texts, self.actions = [], []
        ready = threading.Event()
        threading.Thread(target=self.serve, args=(ready,), daemon=True).start()
        ready.wait(LIMIT)

    def serve(self, ready):
        context = GLib.MainContext.new()
        context.push_thread_default()
        self.bus = bus = Gio.DBusConnection.new_for_address_sync(
            os.environ["DBUS_SESSION_BUS_ADDRESS"], Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        interface = Gio.DBusNodeInfo.new_for_xml(NOTIFICATIONS).interfaces[0]
        bus.register_object("/org/freedesktop/Notifications", interface, self.answer, None, None)
        bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                      GLib.Variant("(su)", ("org.freedesktop.Notifications", 0)), None, Gio.DBusCallFlags.NONE, -1, None)
        ready.set()
        GLib.MainLoop.new(context, False).run()

    def press(self, key):
        """The button with that key, in the bubble shown last."""
        self.bus.emit_signal(None, "/org/freedesktop/Notifications", "org.freedesktop.Notifications", "ActionInvoked",
                             GLib.Variant("(us)", (len(self.texts), key)))

    def answer(self, _bus, _sender, _path, _interface, method, arguments, invocation):
        if method == "Notify":
            self.actions.append(arguments.unpack()[5])
            self.texts.append(arguments.unpack()[4])
            invocation.return_value(GLib.Variant("(u)", (len(self.texts),)))
        elif method == "GetCapabilities":
            invocation.return_value(GLib.Variant("(as)", (["body", "actions"],)))
        else:
            invocation.return_value(None)
