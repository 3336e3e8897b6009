"""A tray on this session's bus: takes every icon that registers, and prints where it is found.

A program of its own, since it has to answer while a test waits.
"""

from gi.repository import Gio, GLib

NAME = "org.kde.StatusNotifierWatcher"
PATH = "/StatusNotifierWatcher"
DESCRIPTION = f"""\
<node>
  <interface name="{NAME}">
    <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  </interface>
</node>
"""


def register(bus, _sender, _path, _interface, _method, parameters, invocation) -> None:
    print("icon", parameters.unpack()[0], "of", process_of(bus, parameters), flush=True)
    invocation.return_value(None)


def process_of(bus: Gio.DBusConnection, name: GLib.Variant) -> int:
    daemon = "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"
    method = "GetConnectionUnixProcessID"
    no_limit = Gio.DBusCallFlags.NONE, -1
    return bus.call_sync(*daemon, method, name, None, *no_limit).unpack()[0]


def is_host_registered(*_property) -> GLib.Variant:
    return GLib.Variant("b", True)


def main() -> None:
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    interface = Gio.DBusNodeInfo.new_for_xml(DESCRIPTION).interfaces[0]
    bus.register_object(PATH, interface, register, is_host_registered, None)
    Gio.bus_own_name_on_connection(
        bus, NAME, Gio.BusNameOwnerFlags.NONE, lambda *_: print("ready", flush=True), None
    )
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
