"""The pictures of the documents, taken from the real program at twice its size."""

import json
import subprocess
import time
from datetime import datetime, timedelta, timezone
from pathlib import Path

from harness.backend import Backend
from harness.desktop import VirtualDesktop
from harness.microphone import Microphone
from harness.tarq import Tarq
from harness.targets import Editor

SCALE = 2
SCREEN = "2560x1600x24"
BACKGROUND = "#dfe3ea"
EDITOR = (560, 420, 1500, 520)  # x, y, width and height
AFTERNOON = 15  # o'clock
# The middle of a tab in the settings, from the window's corner.
MICROPHONE_TAB = (414, 171)
MARGIN = 28  # around a window, in pixels of the picture

SENTENCE = "The train is late. I'll be there at half past six, please start without me."
FRAMES_PER_S = 12
MOVING_SIZE = "1000x480"
MOVING_QUALITY = 60

# Newest first: the hours that they lie back, and the texts.
HISTORY = (
    (0.1, SENTENCE),
    (1.2, "Could you send me the slides from this morning? I'd like to show page four to Maria."),
    (2.5, "Milk, oat flakes, two lemons, and something for Sunday."),
    (3.4, "The second paragraph repeats the first. I would start with the example instead."),
    (5.0, "Good morning, everybody. The meeting moves to eleven, the room stays the same."),
)
SETTINGS = "Tarq — Settings"
SHOWN_WINDOWS = {
    # Title, and the row of the bubble's menu that opens it.
    SETTINGS: 2,
    "Tarq — Profile": 0,
    "Tarq — About": 3,
}


class Album:
    """A desktop with Tarq in it, in front of a camera."""

    def __init__(self, desktop: VirtualDesktop, build: Path, directory: Path) -> None:
        self.desktop = desktop
        self.build = build
        self.directory = directory
        desktop.env |= {
            "QT_SCALE_FACTOR": str(SCALE),
            "TARQ_X11_DETECTABLE_REPEAT": "1",
            # Wherever it is, and whenever: an afternoon.
            "TZ": f"DAY{datetime.now(timezone.utc).hour - AFTERNOON:+d}",
        }
        desktop.run(["hsetroot", "-solid", BACKGROUND])
        self.microphone = Microphone(desktop).start()
        self.backend = Backend(desktop)
        self.tarq = Tarq(desktop, build / "bin" / "tarq-linux", self.backend)

    def login(self) -> None:
        self.tarq.start(signed_in=False)
        window = self.window("Tarq — Sign In")
        self.wait_alone()
        self.wait_still(window)
        self.photograph("login", window)
        self.tarq.stop()

    def sign_in(self) -> None:
        self.tarq.sign_in()
        now = datetime.now()
        entries = []
        for hours, text in HISTORY:
            at = int((now - timedelta(hours=hours)).timestamp() * 1000)
            entries.append({"id": at, "text": text, "createdAt": at})
        (self.tarq.config / "history.json").write_text(json.dumps({"entries": entries[1:]}))
        self.editor = Editor(self.desktop, self.build / "bin" / "harness-editor")
        frame = self.window("Notes")
        self.place(frame, *EDITOR)
        self.tarq.start()
        self.bubble = self.window("Tarq", size=(138, 110))
        self.wait_alone()
        # Beside the editor, and not at the edge of a screen that nobody sees.
        self.drag_bubble(2230, 560)
        self.editor.focus()
        self.hide_pointer()

    def dictation(self) -> None:
        """The moving picture: hold, speak, words appear."""
        self.backend.set_transcript(SENTENCE)
        self.backend.script([{"recognise": True, "delay_ms": 700}])
        film = self.desktop.tmp / "film.mkv"
        grab = ["-f", "x11grab", "-framerate", FRAMES_PER_S, "-draw_mouse", "0"]
        region = ["-video_size", "2000x960", "-i", f"{self.desktop.env['DISPLAY']}+440,320"]
        camera = self.desktop.spawn(
            ["ffmpeg", "-nostdin", "-loglevel", "error", *grab, *region, "-c:v", "ffv1", film]
        )
        self.desktop.wait_until(lambda: film.exists() and film.stat().st_size, "the camera")
        begin = time.monotonic()
        captions = []

        def caption(text: str) -> None:
            captions.append((time.monotonic() - begin, text))

        caption("")
        time.sleep(0.8)
        caption("Hold Super+Space…")
        self.desktop.run(["xdotool", "keydown", "super", "keydown", "space"])
        self.tarq.wait_recording()
        caption("…speak…")
        self.microphone.speak(SENTENCE)
        time.sleep(0.3)
        caption("…and let go.")
        self.desktop.run(["xdotool", "keyup", "space", "keyup", "super"])
        self.editor.wait_for_text(SENTENCE)
        time.sleep(2.5)
        camera.stop()
        length = time.monotonic() - begin
        self.develop(film, captions, length)
        self.crop("dictation", (440, 320, 2000, 960))

    def develop(self, film: Path, captions: list[tuple[float, str]], length: float) -> None:
        font = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
        # The camera was running before its first picture was on the disk.
        probe = ["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0"]
        lead = float(self.desktop.run([*probe, film]).stdout) - length
        filters = [f"trim=start={max(lead, 0):.2f}", "setpts=PTS-STARTPTS"]
        ends = [at for at, _ in captions[1:]] + [length]
        for (at, text), end in zip(captions, ends):
            if text:
                filters.append(
                    f"drawtext=fontfile={font}:text='{text}':fontsize=44:fontcolor=0x3a4254"
                    f":x=(w-text_w)/2:y=h-110:enable='between(t,{at:.2f},{end:.2f})'"
                )
        filters.append(f"scale={MOVING_SIZE.replace('x', ':')}:flags=lanczos")
        picture = self.directory / "dictation.webp"
        encode = ["-c:v", "libwebp_anim", "-quality", MOVING_QUALITY, "-loop", "0", "-an"]
        self.desktop.run(
            ["ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", film]
            + ["-vf", ",".join(filters), *encode, picture],
            timeout=120,
        )

    def states(self) -> None:
        """The bubble in each state and with its menu, side by side."""
        pictures = [self.photograph("idle", self.bubble, margin=0)]
        self.backend.set_transcript("Thank you.")
        self.backend.script([{"recognise": True, "delay_ms": 4000}])
        self.tarq.toggle()
        self.tarq.wait_recording()
        voice = self.microphone.start_speaking(SENTENCE)
        time.sleep(1.0)  # into the sentence, where the bars stand high
        pictures.append(self.photograph("recording", self.bubble, margin=0))
        voice.wait()
        self.tarq.toggle()
        time.sleep(0.6)  # the pill has its new width by then
        pictures.append(self.photograph("processing", self.bubble, margin=0))
        self.backend.requests(wait_for=2, answered=True)
        self.join("bubble", pictures)

    def clear_away(self) -> None:
        """Leave the editor where it has the focus and is behind no other window."""
        self.place(self.window("Notes"), 0, 1440, 400, 150)

    def history(self) -> None:
        self.tarq.command()
        window = self.window("Tarq", size=None, besides=self.bubble)
        self.wait_still(window)
        self.photograph("history", window)
        self.desktop.run(["xdotool", "windowclose", window])

    def other_windows(self) -> None:
        pictures = []
        for title, row in SHOWN_WINDOWS.items():
            self.choose(row)
            window = self.window(title)
            if title == SETTINGS:
                left, top, _, _ = self.geometry(window)
                self.wait_still(window)
                self.pointer(
                    "mousemove", left + MICROPHONE_TAB[0], top + MICROPHONE_TAB[1], "click", 1
                )
            self.hide_pointer()
            self.wait_still(window)
            pictures.append(self.photograph(title.split()[-1].lower(), window))
            self.desktop.run(["xdotool", "windowclose", window])
        self.join("windows", pictures)

    # The hand.

    def drag_bubble(self, x: int, y: int) -> None:
        left, top, width, height = self.geometry(self.bubble)
        from_x, from_y = left + width // 2, top + 43 * SCALE
        self.pointer("mousemove", from_x, from_y, "mousedown", 1)
        for step in range(1, 9):
            self.pointer(
                "mousemove", from_x + (x - from_x) * step // 8, from_y + (y - from_y) * step // 8
            )
        self.pointer("mouseup", 1)

    def choose(self, row: int) -> None:
        left, top, width, _ = self.geometry(self.bubble)
        self.pointer("mousemove", left + width // 2, top + 43 * SCALE, "click", 3)
        menu = self.window("", size=(180, 189))
        left, top, width, _ = self.geometry(menu)
        y = top + (4 + 36 * row + 18) * SCALE
        self.pointer("mousemove", left + width // 2, y, "click", 1)

    def place(self, window: str, x: int, y: int, width: int, height: int) -> None:
        self.desktop.run(["xdotool", "windowsize", window, str(width), str(height)])
        self.desktop.run(["xdotool", "windowmove", window, str(x), str(y)])

    def hide_pointer(self) -> None:
        self.pointer("mousemove", 2555, 1595)

    def pointer(self, *words: object) -> None:
        self.desktop.run(["xdotool", *words])

    # The eye.

    def wait_alone(self) -> None:
        self.desktop.wait_until(lambda: len(self.windows()) == 1, "the end of the splash")

    def windows(self) -> list[str]:
        search = ["xdotool", "search", "--onlyvisible", "--pid", self.tarq.process.pid]
        return self.desktop.run(search, check=False).stdout.split()

    def window(
        self, title: str, size: tuple[int, int] | None = None, besides: str | None = None
    ) -> str:
        """The shown window of this title and size, once it is there."""
        search = ["xdotool", "search", "--onlyvisible", "--name", f"^{title}$" if title else ""]

        def found() -> str | None:
            for window in self.desktop.run(search, check=False).stdout.split():
                width, height = self.geometry(window)[2:]
                if window != besides and size in (None, (width // SCALE, height // SCALE)):
                    return window
            return None

        return self.desktop.wait_until(found, f"the window {title!r}")

    def geometry(self, window: str) -> tuple[int, int, int, int]:
        shell = self.desktop.run(["xdotool", "getwindowgeometry", "--shell", window], check=False)
        values = dict(line.split("=") for line in shell.stdout.split() if "=" in line)
        return tuple(int(values.get(name, 0)) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def wait_still(self, window: str) -> None:
        """Wait until two looks at the window show the same."""
        looks: list[bytes] = []

        def still() -> bool:
            command = ["/usr/bin/import", "-window", window, "rgb:-"]
            looks.append(subprocess.check_output(command, env=self.desktop.env))
            time.sleep(0.2)
            return len(looks) > 2 and looks[-1] == looks[-2]

        self.desktop.wait_until(still, "the window to be still")

    def photograph(self, name: str, window: str, margin: int = MARGIN) -> Path:
        x, y, width, height = self.geometry(window)
        return self.crop(name, (x - margin, y - margin, width + 2 * margin, height + 2 * margin))

    def crop(self, name: str, region: tuple[int, int, int, int]) -> Path:
        x, y, width, height = region
        path = self.directory / f"{name}.png"
        self.desktop.screenshot(path)
        cut = ["-crop", f"{width}x{height}+{x}+{y}", "+repage", "-strip"]
        self.desktop.run(["/usr/bin/convert", path, *cut, path])
        return path

    def join(self, name: str, pictures: list[Path]) -> None:
        """One picture of several, in a row."""
        row = ["-background", BACKGROUND, "-gravity", "center", *pictures, "+append", "-strip"]
        self.desktop.run(["/usr/bin/convert", *row, self.directory / f"{name}.png"])
        for picture in pictures:
            picture.unlink()


def take(build: Path, directory: Path) -> int:
    directory.mkdir(parents=True, exist_ok=True)
    with VirtualDesktop(compositor=True, screen=SCREEN) as desktop:
        album = Album(desktop, build, directory)
        album.login()
        album.sign_in()
        album.dictation()
        album.states()
        album.clear_away()
        album.history()
        album.other_windows()
        album.tarq.stop()
    return 0
