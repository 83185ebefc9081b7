"""A virtual display with a window manager, programs on it, and the hand of a user.

    with Desktop(folder, 1920, 1080) as desktop:
        host = desktop.start(["ochrine-host", "--app", "ochrine", "clip.mov"], "host")
        desktop.wait_for("OK")
        desktop.drag_slider("hsl_master_saturation", 60)
        desktop.screenshot("session.png")
        desktop.click("OK")

Everything stands in the given folder: runtime and configuration folders, layout file, logs. Desktops in different
folders do not meet. Whatever was started with the desktop's environment is ended with it. Needs Xvfb, openbox,
xdotool and ImageMagick's import.

The application writes where its controls are into the file that OCHRINE_LAYOUT_FILE names, one line a visible control:
`name x y width height` in pixels of the root window, anew after each change; and the name of the one with the focus
into the file beside it that ends in ".focus".
"""
import collections
import ctypes
import os
import secrets
import shutil
import signal
import subprocess
import time

Box = collections.namedtuple("Box", "x y width height")


class Failure(Exception):
    """What went wrong, in words for a person."""


def die_with_parent():
    """In a child, before its program starts: it ends when we do, however we end."""
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)   # PR_SET_PDEATHSIG


def wait_until(condition, seconds, what):
    """Asks until the answer is true and returns it."""
    deadline = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise Failure(f"{what}: not within {seconds:g} s")
        time.sleep(0.02)


def is_running(pid):
    """False for a process that has ended, also while nobody has asked for its end."""
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
            return file.read().rpartition(")")[2].split()[0] not in "ZX"
    except (OSError, IndexError):
        return False


class Desktop:
    def __init__(self, folder, width, height):
        self.folder = os.path.abspath(folder)
        self.width, self.height = width, height
        self.children = []
        self.env = None
        self.layout_file = os.path.join(self.folder, "layout.txt")

    # Start and end.

    def __enter__(self):
        try:
            self._begin()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def _begin(self):
        for program in ("Xvfb", "xauth", "openbox", "xdotool", "import"):
            if not shutil.which(program):
                raise Failure(f"{program} is not installed")
        places = {"XDG_RUNTIME_DIR": "runtime", "XDG_CONFIG_HOME": "config", "XDG_DATA_HOME": "data",
                  "XDG_STATE_HOME": "state", "HOME": "home"}
        env = {k: v for k, v in os.environ.items()
               if not k.startswith(("XDG_", "QT_", "OCHRINE_", "DBUS_")) and k not in ("DISPLAY", "WAYLAND_DISPLAY")}
        for name, place in places.items():
            env[name] = os.path.join(self.folder, place)
            os.makedirs(env[name], exist_ok=True)
            os.chmod(env[name], 0o700)
        env |= {"QT_QPA_PLATFORM": "xcb", "LC_ALL": "C.UTF-8", "OCHRINE_LAYOUT_FILE": self.layout_file,
                "XAUTHORITY": os.path.join(self.folder, "xauthority")}
        self.env = env

        # Only who knows the cookie may connect. The server takes any entry of the file, clients look for their display.
        cookie = secrets.token_hex(16)
        self._xauth(":0", cookie)
        read_end, write_end = os.pipe()
        server = ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{self.width}x{self.height}x24", "-dpi", "96",
                  "-nolisten", "tcp", "-noreset", "-auth", env["XAUTHORITY"]]
        self._spawn(server, "xvfb", pass_fds=(write_end,))
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise Failure(f"Xvfb did not start: {self.log('xvfb')}")
        env["DISPLAY"] = ":" + number
        self._xauth(env["DISPLAY"], cookie)
        self._spawn(["openbox", "--sm-disable"], "openbox")
        wait_until(self._is_managed, 20, "the window manager")

    def _xauth(self, display, cookie):
        subprocess.run(["xauth", "-q", "-f", self.env["XAUTHORITY"], "add", display, ".", cookie], check=True,
                       env=self.env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def _is_managed(self):
        # A window manager announces itself; without one the question fails.
        done = subprocess.run(["xdotool", "get_num_desktops"], env=self.env, capture_output=True, text=True)
        return done.returncode == 0 and done.stdout.strip().isdigit() and int(done.stdout) > 0

    def _spawn(self, command, name, **more):
        with open(os.path.join(self.folder, name + ".log"), "ab") as log:
            streams = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log} | more
            child = subprocess.Popen(command, env=more.get("env", self.env), start_new_session=True,
                                     preexec_fn=die_with_parent, **{k: v for k, v in streams.items() if k != "env"})
        self.children.append(child)
        return child

    def close(self):
        """Ends everything, the display last."""
        for pid in self.processes():
            if pid not in [c.pid for c in self.children[:2]]:
                self.kill(pid)
        for child in reversed(self.children):
            if child.poll() is None:
                child.kill()
            child.wait()
        self.children = []

    # Programs.

    def start(self, command, name, env=None, **streams):
        """Starts a program on the display; its output goes to NAME.log in the folder, unless told otherwise."""
        return self._spawn(command, name, env=self.env | (env or {}), **streams)

    def log(self, name):
        try:
            with open(os.path.join(self.folder, name + ".log"), encoding="utf-8", errors="replace") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def processes(self, program=None):
        """Ids of running processes that carry our environment, of a program by the name of its file or of all."""
        if not self.env:
            return []
        mark = b"XDG_RUNTIME_DIR=" + os.fsencode(self.env["XDG_RUNTIME_DIR"])
        found = []
        for entry in os.listdir("/proc"):
            if not entry.isdigit() or int(entry) == os.getpid():
                continue
            try:
                with open(f"/proc/{entry}/environ", "rb") as file:
                    ours = mark in file.read().split(b"\0")
                name = os.path.basename(os.readlink(f"/proc/{entry}/exe")).removesuffix(" (deleted)")
            except OSError:
                continue
            if ours and is_running(entry) and program in (None, name):
                found.append(int(entry))
        return sorted(found)

    @staticmethod
    def kill(pid, number=signal.SIGKILL):
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            pass

    # What the screen shows.

    def layout(self):
        """Boxes of the visible controls by name."""
        boxes = {}
        try:
            with open(self.layout_file, encoding="utf-8") as file:
                for line in file:
                    words = line.rstrip("\n").rsplit(" ", 4)
                    if len(words) == 5:
                        boxes[words[0]] = Box(*(int(word) for word in words[1:]))
        except (FileNotFoundError, ValueError):
            return {}
        return boxes

    def focus(self):
        """The name of the control with the keyboard's focus; empty without one that has a name."""
        try:
            with open(self.layout_file + ".focus", encoding="utf-8") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def layout_stamp(self):
        """Tells one report of the layout from the next; None before the first."""
        try:
            status = os.stat(self.layout_file)
        except FileNotFoundError:
            return None
        return status.st_ino, status.st_mtime_ns

    def wait_for(self, name, seconds=60, alive=None, newer_than=None):
        """The box of a control, once it has stood still for a moment, in a report after that of the stamp.

        `alive` must go on being true meanwhile.
        """
        deadline = time.monotonic() + seconds
        last, since = None, 0.0
        while True:
            box = self.layout().get(name) if self.layout_stamp() != newer_than else None
            now = time.monotonic()
            if box != last:
                last, since = box, now
            if box and now - since > 0.3:
                return box
            if alive is not None and not alive():
                raise Failure(f"the session ended before {name} was on the screen")
            if now > deadline:
                raise Failure(f"{name} was not on the screen within {seconds:g} s; there is: "
                              + (", ".join(sorted(self.layout())) or "nothing"))
            time.sleep(0.05)

    def windows(self, title):
        """Ids of visible windows whose title matches."""
        done = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], env=self.env,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True)
        return done.stdout.split()

    def screenshot(self, path):
        subprocess.run(["import", "-silent", "-window", "root", "png:" + os.path.abspath(path)], env=self.env,
                       check=True, stdin=subprocess.DEVNULL, timeout=60)

    # The hand.

    def hand(self, *words):
        """One chain of xdotool's commands."""
        done = subprocess.run(["xdotool", *map(str, words)], env=self.env, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=120)
        if done.returncode != 0:
            raise Failure(f"xdotool {' '.join(map(str, words))}: {done.stderr.strip()}")
        return done.stdout

    def _point(self, where):
        if isinstance(where, str):
            where = self.wait_for(where)
        return (where.x + where.width // 2, where.y + where.height // 2) if isinstance(where, Box) else where

    def move(self, where):
        self.hand("mousemove", "--sync", *self._point(where), "sleep", "0.05")

    def click(self, where, button=1, modifier=None):
        """Clicks into the middle of a control, a box, or at a point."""
        x, y = self._point(where)
        words = ["mousemove", x, y, "sleep", "0.1"]
        words += ["keydown", modifier] if modifier else []
        words += ["mousedown", button, "sleep", "0.06", "mouseup", button]
        words += ["sleep", "0.06", "keyup", modifier] if modifier else []
        self.hand(*words)

    def drag(self, start, end, steps=12, pause=0.03):
        """Presses at the first point, moves in steps, lets go at the second."""
        words = ["mousemove", *start, "sleep", "0.1", "mousedown", "1", "sleep", "0.06"]
        for k in range(1, steps + 1):
            words += ["mousemove", round(start[0] + (end[0] - start[0]) * k / steps),
                      round(start[1] + (end[1] - start[1]) * k / steps), "sleep", pause]
        self.hand(*words, "mouseup", "1")

    def scroll(self, where, notches):
        """Turns the wheel over a control, away from the user for positive counts."""
        button = 4 if notches > 0 else 5
        x, y = self._point(where)
        words = ["mousemove", x, y, "sleep", "0.1"]
        for _ in range(abs(notches)):
            words += ["mousedown", button, "mouseup", button, "sleep", "0.03"]
        self.hand(*words)

    def drag_slider(self, name, percent, steps=12):
        """Drags a slider to so many percent of its track. A press on the track fetches the thumb to the pointer."""
        track = self.wait_for(name + ".track")
        x, y = self._point(track)
        self.drag((x, y), (track.x + round((track.width - 1) * percent / 100), y), steps)

    def type(self, text):
        self.hand("type", "--delay", "40", "--", text)

    def key(self, *names):
        for name in names:
            self.hand("key", name, "sleep", "0.05")
