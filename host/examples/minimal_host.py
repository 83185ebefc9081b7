#!/usr/bin/env python3
"""The smallest host in Python: one frame, one session, the grade that comes back. Standard library only.

    minimal_host.py APPLICATION GRADE-FILE

It hands a computed picture of ten frames over, starts the application, answers its requests for other frames, and
writes the grade into a file after OK. docs/host-protocol.md tells what every step is for.

Exit codes: 0 a changed grade was written, 1 cancelled, 2 the application could not take the data or died, 3 set-up.
"""
import mmap
import os
import select
import socket
import struct
import subprocess
import sys
import time

WIDTH, HEIGHT, FRAMES, STEP = 640, 360, 10, 1
ROW = WIDTH * 4
FRAME = ROW * HEIGHT

# Offsets in the block, in bytes.
VERSION, SIGNATURE, PIXEL_FLAGS, STATUS = 0, 4, 8, 12
TIME_FORMAT, DROP_FRAME, RATE_100 = 28, 30, 32
GEOMETRY = 52860          # frameWidth, frameHeight, frameRowBytes
TIME = 52872              # frameTime, frameStep, frameTimeMax
PIXEL_FORMAT, PIXEL_ASPECT, PROCESS, HOST_APP = 52888, 52912, 52920, 52928
CHANNEL, SETTINGS, PIXELS = 52944, 53044, 86624
GRADE_BYTES, GRADE_SIGNATURE = 33556, 0x12343210

# Values of the status word.
DATA_READY, FAILED, DONE, REQUEST, REFUSED = 1, 2, 4, 9, 11


def paint(frame):
    """A ramp that moves with the frame number: blue, green, red, alpha in memory."""
    rows = []
    for y in range(HEIGHT):
        blue, green = 255 * y // HEIGHT, 128 + frame * 10
        rows.append(b"".join(bytes((blue, green, 255 * x // WIDTH, 255)) for x in range(WIDTH)))
    return b"".join(rows)


def lives(process):
    try:
        os.kill(process, 0)
    except ProcessLookupError:
        return False
    except (PermissionError, OverflowError):
        pass
    return True


def make_block(path, size):
    """Makes the object; one that a dead host left is replaced, the block of a live host is respected."""
    flags = os.O_RDWR | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW
    try:
        file = os.open(path, flags, 0o600)
    except FileExistsError:
        with open(path, "rb") as old:
            owner = old.read(PROCESS + 4)[PROCESS:]
        if len(owner) < 4 or struct.unpack("=I", owner)[0] == 0 or lives(struct.unpack("=I", owner)[0]):
            raise SystemExit(3) from None
        os.unlink(path)
        file = os.open(path, flags, 0o600)
    try:
        os.ftruncate(file, size)
        return mmap.mmap(file, size)
    finally:
        os.close(file)


class Block:
    """The shared words. One assignment to `words` is one store of 32 bits, in program order on x86-64."""

    def __init__(self, memory):
        self.memory = memory
        self.words = memoryview(memory).cast("I")

    @property
    def status(self):
        return self.words[STATUS // 4]

    @status.setter
    def status(self, value):
        self.words[STATUS // 4] = value

    def put(self, offset, form, *values):
        struct.pack_into("=" + form, self.memory, offset, *values)

    def get(self, offset, form):
        return struct.unpack_from("=" + form, self.memory, offset)[0]


def send_frame(folder, block, pixels):
    """Sends a frame over the application's channel and waits until it lets go; False when that fails."""
    name = bytes(block.memory[CHANNEL:CHANNEL + 64]).split(b"\0")[0]
    if not name or len(name) > 63 or b"/" in name:
        return False
    memory = os.memfd_create("frame")
    channel = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    try:
        with os.fdopen(os.dup(memory), "wb") as file:
            file.write(pixels)
        channel.connect(os.path.join(folder.encode(), name))
        socket.send_fds(channel, [struct.pack("=II", 9, len(pixels))], [memory])
        poll = select.poll()
        poll.register(channel, select.POLLRDHUP)
        return bool(poll.poll(5000))
    except OSError:
        return False
    finally:
        channel.close()
        os.close(memory)


def fill(block):
    """Everything but the status word."""
    block.put(VERSION, "I", 7)
    block.put(PROCESS, "I", os.getpid())
    block.put(SIGNATURE, "I", 0x4F436333)
    block.put(PIXEL_FLAGS, "I", 1)            # the whole frame inline
    block.put(TIME_FORMAT, "B", 1)            # timecode
    block.put(DROP_FRAME, "B", 1)             # non-drop
    block.put(RATE_100, "H", 2500)
    block.put(GEOMETRY, "3I", WIDTH, HEIGHT, ROW)
    block.put(TIME, "3i", 0, STEP, (FRAMES - 1) * STEP)
    block.put(PIXEL_FORMAT, "I", 32)
    block.put(PIXEL_ASPECT, "f", 1.0)
    block.put(HOST_APP, "4s", b"PYHO")
    block.memory[PIXELS:PIXELS + FRAME] = paint(0)
    # The settings stay zero: the application begins with a fresh grade.


def session(folder, block, application, grade_file):
    while True:
        # Dead is looked at before the status: an application that stores 4 and ends in between is done.
        dead = application.poll() is not None
        status = block.status
        if status == DONE:
            grade = bytes(block.memory[SETTINGS:SETTINGS + GRADE_BYTES])
            if struct.unpack_from("=I", grade)[0] != GRADE_SIGNATURE:
                return 1                      # we gave none: one is there only after OK
            with open(grade_file, "wb") as file:
                file.write(grade)
            return 0
        if status == FAILED or dead:
            return 2
        if status == REQUEST:
            frame = min(max(block.get(TIME, "i") // STEP, 0), FRAMES - 1)
            if not send_frame(folder, block, paint(frame)):
                block.status = REFUSED
        else:
            time.sleep(0.005)


def main():
    if len(sys.argv) != 3 or "XDG_RUNTIME_DIR" not in os.environ:
        print("usage: minimal_host.py APPLICATION GRADE-FILE, with XDG_RUNTIME_DIR set", file=sys.stderr)
        return 3
    folder = os.path.join(os.environ["XDG_RUNTIME_DIR"], "ochrine")
    os.makedirs(folder, 0o700, exist_ok=True)
    path = os.path.join(folder, "Ochrine3CommBlock")
    block = Block(make_block(path, PIXELS + FRAME))
    try:
        fill(block)
        block.status = DATA_READY
        return session(folder, block, subprocess.Popen([sys.argv[1]]), sys.argv[2])
    finally:
        os.unlink(path)


if __name__ == "__main__":
    sys.exit(main())
