#!/usr/bin/env python3
"""Renders a picture with a grade, through libochrine: render_picture.py GRADE IN.ppm OUT.ppm

GRADE is an .ocgrade or .ocpreset file, the pictures are binary PPM of 8 bits. OCHRINE_LIBRARY names the library when it
is not installed. The same in C: render_picture.c.
"""
import ctypes
import os
import re
import sys
from ctypes import POINTER, byref, c_char_p, c_int32, c_size_t, c_uint32, c_void_p

ARGB8, TOP_DOWN = 32, 0  # a word a pixel: in memory blue, green, red, alpha


class Image(ctypes.Structure):
    _fields_ = [("pixels", c_void_p), ("size", c_size_t), ("width", c_uint32), ("height", c_uint32),
                ("format", c_uint32), ("orientation", c_uint32), ("row_bytes", c_size_t), ("plane_bytes", c_size_t)]


ochrine = ctypes.CDLL(os.environ.get("OCHRINE_LIBRARY", "libochrine.so.1"))
ochrine.ochrine_error_text.restype = c_char_p
ochrine.ochrine_grade_load.argtypes = [c_void_p, c_char_p]
ochrine.ochrine_renderer_set_grade.argtypes = [c_void_p, c_void_p]
ochrine.ochrine_render.argtypes = [c_void_p, POINTER(Image), POINTER(Image), c_uint32]
ochrine.ochrine_renderer_destroy.argtypes = ochrine.ochrine_grade_destroy.argtypes = [c_void_p]


def check(result):
    if result != 0:
        sys.exit("render_picture.py: " + ochrine.ochrine_error_text(c_int32(result)).decode())


def main(grade_file, source, target):
    data = open(source, "rb").read()
    head = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    width, height = int(head[1]), int(head[2])
    colours = bytearray(data[head.end():head.end() + width * height * 3])
    words = bytearray(width * height * 4)
    for c in range(3):
        words[2 - c::4] = colours[c::3]
    buffer = (ctypes.c_char * len(words)).from_buffer(words)
    image = Image(ctypes.addressof(buffer), len(words), width, height, ARGB8, TOP_DOWN, width * 4, 0)
    grade, renderer = c_void_p(), c_void_p()
    check(ochrine.ochrine_grade_create(byref(grade)))
    check(ochrine.ochrine_grade_load(grade, os.fsencode(grade_file)))
    check(ochrine.ochrine_renderer_create(0, byref(renderer)))
    check(ochrine.ochrine_renderer_set_grade(renderer, grade))
    check(ochrine.ochrine_render(renderer, byref(image), byref(image), 0))
    ochrine.ochrine_renderer_destroy(renderer)
    ochrine.ochrine_grade_destroy(grade)
    for c in range(3):
        colours[c::3] = words[2 - c::4]
    open(target, "wb").write(b"P6\n%d %d\n255\n" % (width, height) + colours)


if __name__ == "__main__":
    main(*sys.argv[1:4])
