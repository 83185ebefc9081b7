"""A host that lies: random fields, sizes and offsets in its block, before a session and in the middle of it.

The host is this program; the application is the real one. Whatever it is told, it refuses, says so, or runs and ends in
order; it does not crash, does not hang, and leaves no object. A failure names its visit and the seed:

    OC_FUZZ_SECONDS=600 OC_FUZZ_SEED=… OCHRINE_HOST=… OCHRINE_APP=… python3 tests/session/blockfuzz.py
"""
import array
import collections
import mmap
import os
import random
import signal
import socket
import struct
import time
import unittest

import harness

BLOCK_BYTES, PIXELS = 86628, 86624
SETTINGS, SETTINGS_BYTES = 53044, 33556
COMM_NAME = 52944
READY, FAILED, DONE, REFUSED = 1, 2, 4, 11
INLINE, CHUNKED = 1, 2
# Name, offset, format.
FIELDS = [("version", 0, "I"), ("signature", 4, "I"), ("pixelFlags", 8, "I"), ("timeDisplayFormat", 28, "B"),
          ("framesPerFoot", 29, "B"), ("dropFrameMode", 30, "B"), ("frameRate100", 32, "H"), ("startFrame", 34, "H"),
          ("clipCount", 52848, "i"), ("frameWidth", 52860, "I"), ("frameHeight", 52864, "I"),
          ("frameRowBytes", 52868, "I"), ("frameTime", 52872, "i"), ("frameStep", 52876, "i"),
          ("frameTimeMax", 52880, "i"), ("framePixelFormat", 52888, "I"), ("chunkBytes", 52896, "I"),
          ("bytesRemaining", 52900, "i"), ("pixelAspect", 52912, "I"), ("hostProcessHigh", 52916, "I"),
          ("hostProcessID", 52920, "I"), ("hostApp", 52928, "I"), ("adjustMode", 53008, "I"),
          ("adjustBlack", 53012, "I"), ("adjustWhite", 53016, "I"), ("adjustGamma", 53020, "I")]
PLACE = {name: (offset, kind) for name, offset, kind in FIELDS}
WORDS = [0, 1, 2, 3, 4, 7, 15, 16, 17, 100, 255, 256, 2047, 4096, 65535, 65536, 86624, 1 << 24, 0x4F436333, 0x12343210,
         (1 << 31) - 1, 1 << 31, (1 << 31) + 1, (1 << 32) - 2, (1 << 32) - 1,
         0x3F800000, 0x7F800000, 0xFF800000, 0x7FC00000, 0x00000001, 0x33633443]   # floats, and a turned signature
FORMATS = [32, 200, 201, 202, 203, 205, 206, 207, 208, 209, 210, 215, 216, 217, 218, 0x42475241, 0x62363461, 0x72343038]
PIXEL_LIMIT, TAKEN_PIXELS = 1 << 27, 1 << 22
ANSWER_SECONDS = 15


class Fuzz(harness.Session):
    def setUp(self):
        super().setUp()
        # The same visits each time; a seed of 0 draws others, for a long search.
        self.seed = int(os.environ.get("OC_FUZZ_SEED") or 1) or random.SystemRandom().randrange(1, 1 << 32)
        self.dice = random.Random(self.seed)
        self.outcomes = collections.Counter()
        self.block_path = self.path("runtime", "ochrine", "Ochrine3CommBlock")
        os.makedirs(os.path.dirname(self.block_path), mode=0o700, exist_ok=True)
        self.map = None
        self.app = None
        self.starts = 0
        self.sockets = []

    def check_logs(self):
        """As elsewhere, but for two offences that are ours, and told as such."""
        for number in range(1, self.starts + 1):
            text = self.desktop.log(f"app{number}")
            for rule in ("clipCount >= 0", "curve->points.xy.pointCount <= 16"):
                text = text.replace(f"Assert ({rule}) failed.", "")
            for word in ("Assert (", "Sanitizer", "runtime error:", "terminate called"):
                self.assertNotIn(word, text)

    # The block.

    def any_word(self):
        kind = self.dice.random()
        if kind < 0.6:
            return self.dice.choice(WORDS)
        return self.dice.getrandbits(32 if kind < 0.8 else self.dice.randrange(1, 33))

    def sane_fields(self):
        width, height = self.dice.choice((1, 2, 17, 64, 192, 333)), self.dice.choice((1, 2, 9, 64, 108))
        return {"version": 7, "signature": 0x4F436333, "pixelFlags": self.dice.choice((INLINE, INLINE, CHUNKED)),
                "timeDisplayFormat": 1, "framesPerFoot": 16, "dropFrameMode": 1, "frameRate100": 2400, "startFrame": 0,
                "clipCount": 1, "frameWidth": width, "frameHeight": height, "frameRowBytes": width * 4, "frameTime": 0,
                "frameStep": 100, "frameTimeMax": 900, "framePixelFormat": 32, "chunkBytes": width * 4 * height,
                "bytesRemaining": 0, "pixelAspect": 0x3F800000, "hostProcessHigh": 0, "hostProcessID": os.getpid(),
                "hostApp": 0x435A5546, "adjustMode": 0, "adjustBlack": 0, "adjustWhite": 255,
                "adjustGamma": 0x3F800000}

    def mutate(self, fields):
        for _ in range(self.dice.choice((0, 1, 1, 2, 3, 8))):
            name = self.dice.choice([name for name, _, _ in FIELDS])
            if name in ("version", "signature") and self.dice.random() < 0.8:
                continue   # most of these end at the first look
            fields[name] = self.dice.choice(FORMATS) if name == "framePixelFormat" and self.dice.random() < 0.7 \
                else self.any_word()
        # A size that is near the limit is taken, with gigabytes. The machine is not ours alone.
        if TAKEN_PIXELS < fields["frameWidth"] * fields["frameHeight"] <= PIXEL_LIMIT:
            fields["frameHeight"] = 1
        if fields["frameWidth"] * fields["frameHeight"] <= PIXEL_LIMIT and fields["frameWidth"] > TAKEN_PIXELS:
            fields["frameWidth"] = 64

    def put(self, name, value):
        offset, kind = PLACE[name]
        value &= (1 << 8 * struct.calcsize(kind)) - 1
        struct.pack_into("<" + kind.upper(), self.map, offset, value)

    def status(self, value=None):
        if value is not None:
            struct.pack_into("<I", self.map, 12, value)
        return struct.unpack_from("<I", self.map, 12)[0]

    def any_grade(self):
        grade = bytearray(SETTINGS_BYTES)
        for offset in range(0, SETTINGS_BYTES, 4):
            if self.dice.random() < 0.2:
                struct.pack_into("<I", grade, offset, self.any_word())
        struct.pack_into("<I", grade, 0, 0x12343210 if self.dice.random() < 0.8 else self.any_word())
        return grade

    def make_block(self):
        fields = self.sane_fields()
        right_bytes = fields["frameRowBytes"] * fields["frameHeight"]
        self.mutate(fields)
        size = BLOCK_BYTES + max(0, right_bytes + self.dice.choice((0, 0, 0, 0, 4, 8, 4096, -1, -4, -right_bytes)))
        if self.dice.random() < 0.04:
            size = self.dice.choice((0, 1, 12, 4096, BLOCK_BYTES - 1))   # too short
        file = os.open(self.block_path, os.O_RDWR | os.O_CREAT | os.O_EXCL, 0o600)
        os.ftruncate(file, max(size, BLOCK_BYTES))
        self.map = mmap.mmap(file, max(size, BLOCK_BYTES))
        self.file, self.frame = file, (fields["frameRowBytes"], fields["frameHeight"])
        for name, value in fields.items():
            self.put(name, value)
        for record in range(self.dice.choice((0, 1, 3, 200))):
            path = self.dice.choice((b"/clips/a.mov", b"/clips/%d.mov" % record, b"", b"x" * 260, b"\xff\x01/%s%n\n\x7f"))
            self.map[48 + 264 * record:48 + 264 * record + len(path)] = path
        if self.dice.random() < 0.4:
            self.map[SETTINGS:SETTINGS + SETTINGS_BYTES] = bytes(self.any_grade())
        noise = self.dice.randbytes(min(len(self.map) - PIXELS, 100000))
        if fields["pixelFlags"] & 3 or self.dice.random() < 0.5:
            self.map[PIXELS:PIXELS + len(noise)] = noise
        if size < BLOCK_BYTES:
            os.ftruncate(file, size)
            self.map = None   # nothing there to write to
        else:
            self.status(READY)

    def drop_block(self):
        if os.path.exists(self.block_path):
            os.unlink(self.block_path)
        if self.map:
            self.map.close()
        self.map = None
        os.close(self.file)
        for connection in self.sockets:
            connection.close()
        self.sockets = []

    # The application.

    def start_app(self):
        self.starts += 1
        if os.path.exists(self.desktop.layout_file):
            os.unlink(self.desktop.layout_file)
        self.app = self.desktop.start([self.app_program], f"app{self.starts}")

    def app_lives(self):
        if self.app and self.app.poll() is not None:
            self.assertGreaterEqual(self.app.returncode, 0, f"the application was killed, visit {self.visit}")
            self.app = None
        return self.app is not None

    def key(self, name):
        self.desktop.hand("key", name)

    # The host's side.

    def serve(self):
        """Answers what is asked, rightly or not. True when something was asked."""
        if not self.map:
            return False
        status = self.status()
        if status == harness.CHUNK_CONSUMED:
            self.put("chunkBytes", self.dice.choice((self.frame[0], self.frame[0] * self.frame[1], self.any_word())))
            self.put("bytesRemaining", self.dice.choice((0, 0, 0, self.frame[0], self.any_word())))
            self.status(self.dice.choice((harness.CHUNK_READY,) * 5 + (REFUSED, harness.CHUNK_CONSUMED)))
            self.refusals = self.refusals + 1
            if self.refusals > 12:
                self.status(REFUSED)
            return True
        if status != harness.REQUEST_FRAME:
            return False
        if self.dice.random() < 0.6:
            self.send_frame()
        if self.dice.random() < 0.5:
            self.status(self.dice.choice((REFUSED, REFUSED, self.any_word())))
        self.refusals = self.refusals + 1
        if self.refusals > 12 and self.status() == harness.REQUEST_FRAME:
            self.status(REFUSED)
        return True

    def send_frame(self):
        name = bytes(self.map[COMM_NAME:COMM_NAME + 64]).split(b"\0")[0].decode("latin-1")
        path = self.path("runtime", "ochrine", name)
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET | socket.SOCK_NONBLOCK)
        self.sockets.append(connection)
        right = self.frame[0] * self.frame[1]
        held = max(0, right + self.dice.choice((0, 0, 0, -1, 4, 1 << 20)))
        descriptor = os.memfd_create("frame")
        try:
            if 0 < held < 1 << 24:
                os.ftruncate(descriptor, held)
            folder = os.open(os.path.dirname(path), os.O_RDONLY)
            try:
                connection.connect(f"/proc/self/fd/{folder}/{name}")
            finally:
                os.close(folder)
            words = struct.pack("<II", self.dice.choice((9, 9, 9, 9, self.any_word())),
                                self.dice.choice((held & 0xFFFFFFFF, right & 0xFFFFFFFF, self.any_word())))
            words = words[:self.dice.choice((8, 8, 8, 8, 0, 3))] + b"x" * self.dice.choice((0, 0, 0, 5))
            count = self.dice.choice((1, 1, 1, 1, 0, 2, 12))
            rights = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [descriptor] * count))] if count else []
            connection.sendmsg([words], rights)
            if self.dice.random() < 0.2:
                os.ftruncate(descriptor, held // 2)   # while it is read
        except (OSError, ValueError):
            pass   # a name that is none, a full channel: what a broken host would meet
        finally:
            os.close(descriptor)

    def poke(self):
        """Changes something under the application's hands."""
        kind = self.dice.random()
        if kind < 0.6:
            self.put(self.dice.choice([name for name, _, _ in FIELDS if name != "hostProcessID"]), self.any_word())
        elif kind < 0.7:
            self.status(self.dice.choice((0, 1, 2, 3, 4, 5, 6, 9, 11, self.any_word())))
        elif kind < 0.85:
            offset = self.dice.randrange(0, len(self.map) - 64)
            if offset + 64 <= 12 or offset > 16:   # not the status
                self.map[offset:offset + 64] = self.dice.randbytes(64)
        else:
            self.map[COMM_NAME:COMM_NAME + 64] = self.dice.choice((b"\0" * 64, b"x" * 64, b"../../etc/passwd" + b"\0" * 48,
                                                                   self.dice.randbytes(64)))

    # A visit.

    def attach(self):
        """Waits for what the application does with the block: attached, refused, ended, or ignored."""
        begin = time.monotonic()
        pressed = begin
        fresh = self.app is None
        if fresh:
            self.start_app()
        self.refusals, self.before, running_since = 0, self.farewells(), None
        while time.monotonic() - begin < ANSWER_SECONDS:
            if not self.app_lives():
                return "ended"
            self.serve()
            status = self.status() if self.map else READY
            box = self.desktop.layout().get("Cancel")
            if status == FAILED:
                return "refused"
            if status != harness.RUNNING:
                running_since = None
            elif running_since is None:
                running_since = time.monotonic()
            # Where a window was before, it may still become 2.
            if running_since is not None and box and time.monotonic() - running_since > (0 if fresh else 0.4):
                return "attached"
            if status == DONE and box:
                return "attached"
            now = time.monotonic()
            if not fresh and status == READY and now - begin > 1:
                return "ignored"
            if now - pressed > 0.8:
                pressed = now
                self.key("Return")   # a box may wait
            time.sleep(0.01)
        self.fail(f"no answer to visit {self.visit}, status {self.status() if self.map else None}, seed {self.seed}")

    def disturb(self):
        """Some time of a session in which the user works and the host does as it likes."""
        until = time.monotonic() + self.dice.uniform(0.1, 0.6)
        keys = ("End", "Home", "Left", "Right", "space", "ctrl+z", "p", "u", "ctrl+c", "ctrl+v", "shift+ctrl+z")
        while time.monotonic() < until and self.app_lives() and self.map:
            if self.dice.random() < 0.5:
                self.key(self.dice.choice(keys))
            for _ in range(self.dice.randrange(4)):
                self.poke()
            for _ in range(5):
                self.serve()
                time.sleep(0.01)

    def leave(self):
        """Ends the visit, one way or another; afterwards nobody is attached."""
        if self.farewells() > self.before:
            return   # a key of the user has ended it
        how = self.dice.choice(("Cancel",) * 6 + ("OK", "unlink", "truncate", "exit", "signal"))
        if how == "unlink":
            os.unlink(self.block_path)
        elif how == "truncate":
            os.ftruncate(self.file, self.dice.randrange(len(self.map)))
            self.map = None
        elif how == "signal":
            self.desktop.kill(self.app.pid, self.dice.choice((signal.SIGTERM, signal.SIGHUP, signal.SIGINT)))
        begin = tried = time.monotonic()
        while self.app_lives() and self.farewells() == self.before and time.monotonic() - begin < ANSWER_SECONDS:
            if self.map:
                self.status(REFUSED)   # whatever stands there by now: it may hide a request that nobody answered
            now = time.monotonic()
            if now > tried:
                tried = now + 0.7
                layout = self.desktop.layout()
                if self.dice.random() < 0.5:
                    self.key("Return")   # a box may stand before the window
                if "recover_no" in layout:
                    self.desktop.click(layout["recover_no"])
                elif how in ("unlink", "truncate"):
                    self.key("Return")
                elif how == "exit":
                    self.key("ctrl+q")
                elif how != "signal" and how in layout:
                    self.desktop.click(layout[how])
            time.sleep(0.02)
        if self.app_lives() and self.farewells() == self.before:
            self.fail(f"visit {self.visit} does not end by {how}, seed {self.seed}")
        self.outcomes["left by " + how] += 1

    def farewells(self):
        """How often the application has gone resident."""
        return self.desktop.log(f"app{self.starts}").count(" was clicked")

    def one_visit(self):
        self.make_block()
        try:
            outcome = self.attach()
            self.outcomes[outcome] += 1
            if outcome == "attached":
                self.disturb()
                if self.app_lives():
                    self.leave()
        finally:
            self.drop_block()
        self.check_logs()

    def test_whatever_a_host_says_it_is_refused_or_served_and_ends_in_order(self):
        seconds = float(os.environ.get("OC_FUZZ_SECONDS") or 32)
        print(f"seed {self.seed}", flush=True)
        begin = time.monotonic()
        self.visit = 0
        while time.monotonic() - begin < seconds:
            self.visit += 1
            self.one_visit()
        if self.app_lives():
            self.app.terminate()
            self.assertEqual(self.wait_ended(self.app, 10), 0)
        self.assertEqual(self.left_behind(), [])
        print(f"{self.visit} visits, {self.starts} applications: " +
              ", ".join(f"{n} {what}" for what, n in sorted(self.outcomes.items())))
        self.assertGreater(self.outcomes["attached"], 0)


if __name__ == "__main__":
    unittest.main()
