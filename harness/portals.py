"""The desktop portal of a private session, with the back end of its desktop."""

from pathlib import Path

from harness.session import Session

LIBRARIES = (Path("/usr/libexec"), *sorted(Path("/usr/lib").glob("*/libexec")))


def start_pipewire(session: Session) -> None:
    """What a compositor and its portal hand the picture of a screen to."""
    session.spawn(["pipewire"])
    session.wait_for_socket(session.runtime / "pipewire-0", "PipeWire")
    session.spawn(["wireplumber"])


def start_portal(session: Session, backend: str) -> None:
    """Start the portal and this back end, each once what it asks for has a name on the bus."""
    session.spawn([installed("xdg-permission-store")])
    wait_for_name(session, "org.freedesktop.impl.portal.PermissionStore")
    session.spawn([installed(f"xdg-desktop-portal-{backend}")])
    wait_for_name(session, f"org.freedesktop.impl.portal.desktop.{backend}")
    session.spawn([installed("xdg-desktop-portal")])
    wait_for_name(session, "org.freedesktop.portal.Desktop")


def has_interface(session: Session, interface: str) -> bool:
    """Whether the portal has an interface, by its name."""
    portal = ["--dest=org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"]
    ask = ["dbus-send", "--session", "--print-reply", *portal]
    question = [*ask, "org.freedesktop.DBus.Introspectable.Introspect"]
    return f'"{interface}"' in session.run(question).stdout


def installed(program: str) -> Path:
    found = next((path / program for path in LIBRARIES if (path / program).exists()), None)
    assert found, f"{program} isn't installed"
    return found


def has_name(session: Session, name: str, bus: str = "session") -> bool:
    ask = ["dbus-send", f"--{bus}", "--print-reply", "--dest=org.freedesktop.DBus", "/"]
    question = [*ask, "org.freedesktop.DBus.NameHasOwner", f"string:{name}"]
    return "boolean true" in session.run(question, check=False).stdout


def wait_for_name(session: Session, name: str, bus: str = "session") -> None:
    session.wait_until(lambda: has_name(session, name, bus), f"{name} on the bus")
