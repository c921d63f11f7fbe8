"""Calls over the session bus. Needs the bindings of Debian's own Python."""

from gi.repository import Gio, GLib


def call(name, path, method, signature="()", *arguments):
    """The answer; `method` with its interface. Starts the named program when the bus knows how to."""
    interface, _, member = method.rpartition(".")
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    return bus.call_sync(name, path, interface, member, GLib.Variant(signature, arguments), None, Gio.DBusCallFlags.NONE,
                         -1, None).unpack()


def has_owner(name):
    return call("org.freedesktop.DBus", "/", "org.freedesktop.DBus.NameHasOwner", "(s)", name)[0]


def get_property(name, path, interface, key):
    return call(name, path, "org.freedesktop.DBus.Properties.Get", "(ss)", interface, key)[0]
