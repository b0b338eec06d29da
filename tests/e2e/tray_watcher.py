# A StatusNotifierWatcher with a host, as a desktop panel runs one: with it on the session
# bus, Qt shows the tray icon over D-Bus, where a test can read the icon's tool tip.
import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

WATCHER = "org.kde.StatusNotifierWatcher"
# Qt reads IsStatusNotifierHostRegistered through introspection, which dbus-python leaves
# without properties.
INTROSPECTION = f"""<node>
 <interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
 </interface>
 <interface name="org.freedesktop.DBus.Properties">
  <method name="Get"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
  <method name="GetAll"><arg type="s" direction="in"/><arg type="a{{sv}}" direction="out"/></method>
 </interface>
</node>"""


class Watcher(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, "/StatusNotifierWatcher")
        self.items = []

    @dbus.service.method(WATCHER, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        # An item names its service, or its object path on the caller's own connection.
        if service.startswith("/"):
            service = sender + service
        self.items.append(service)
        self.StatusNotifierItemRegistered(service)

    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierHost(self, service):
        pass

    @dbus.service.signal(WATCHER, signature="s")
    def StatusNotifierItemRegistered(self, service):
        pass

    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, out_signature="s")
    def Introspect(self):
        return INTROSPECTION

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.GetAll(interface)[name]

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return {
            "IsStatusNotifierHostRegistered": True,
            "ProtocolVersion": dbus.Int32(0),
            "RegisteredStatusNotifierItems": dbus.Array(self.items, signature="s"),
        }


DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
watcher = Watcher(bus)
name = dbus.service.BusName(WATCHER, bus)
GLib.MainLoop().run()
