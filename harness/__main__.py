"""Command line of the harness: `python3 -m harness run ...` and `... demo ...`."""

import argparse
import subprocess
import sys
from pathlib import Path

from harness.process import exit_on_sigterm, guarded
from harness.session import OffscreenSession, Session


def main() -> int:
    options = parse_arguments()
    exit_on_sigterm()
    return options.action(options)


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="harness", description=sys.modules["harness"].__doc__)
    actions = parser.add_subparsers(required=True, metavar="ACTION")

    run = actions.add_parser("run", help="run a command on a private desktop, with its exit status")
    run.add_argument("--x11", action="store_true", help="an X server with a window manager")
    run.add_argument("--compositor", action="store_true", help="translucent windows; needs --x11")
    run.add_argument("--audio", action="store_true", help="an audio server with a microphone")
    run.add_argument("--dbus", action="store_true", help="a session bus")
    run.add_argument(
        "--env", action="append", default=[], metavar="NAME=VALUE", help="set for the command"
    )
    run.add_argument("command", nargs="+", metavar="COMMAND", help="after --, with its arguments")
    run.set_defaults(action=run_command)

    demo = actions.add_parser("demo", help="show one dictation, from speech to text in an editor")
    demo.add_argument("--build-dir", type=Path, required=True, help="root of the build tree")
    demo.add_argument("--screenshots", type=Path, help="where to (default: BUILD_DIR/demo)")
    demo.set_defaults(action=show_demo)

    pictures = actions.add_parser("pictures", help="take the pictures of the documents")
    pictures.add_argument("--build-dir", type=Path, required=True, help="root of the build tree")
    pictures.add_argument("directory", type=Path, help="where to")
    pictures.set_defaults(action=take_pictures)
    return parser.parse_args()


def run_command(options: argparse.Namespace) -> int:
    with make_session(options) as session:
        if options.audio:
            from harness.microphone import Microphone

            Microphone(session).start()
        chosen = dict(assignment.split("=", 1) for assignment in options.env)
        status = subprocess.call(guarded(options.command), env={**session.env, **chosen})
    # A death by signal reads as a shell would report it.
    return status if status >= 0 else 128 - status


def make_session(options: argparse.Namespace) -> Session:
    # What isn't asked for isn't even imported: most unit tests need none of it.
    if options.x11:
        from harness.desktop import VirtualDesktop

        return VirtualDesktop(dbus=options.dbus, compositor=options.compositor)
    return OffscreenSession(dbus=options.dbus)


def show_demo(options: argparse.Namespace) -> int:
    from harness.demo import show

    build = options.build_dir.resolve()
    return show(build, (options.screenshots or build / "demo").resolve())


def take_pictures(options: argparse.Namespace) -> int:
    from harness.album import take

    return take(options.build_dir.resolve(), options.directory.resolve())


if __name__ == "__main__":
    sys.exit(main())
