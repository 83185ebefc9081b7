#!/usr/bin/env python3
"""Renders a picture with a grade (.ocgrade or .ocpreset), through libochrine; render_picture.c does the same.

    ffmpeg -i in.png -f rawvideo -pix_fmt bgra - | render_picture.py GRADE WIDTH HEIGHT > out.bgra

OCHRINE_LIBRARY names the library where it is not installed.
"""
import os
import sys
from ctypes import CDLL, POINTER, Structure, addressof, byref, c_char, c_char_p, c_int32, c_size_t, c_uint32, c_void_p


class Image(Structure):
    _fields_ = [("pixels", c_void_p), ("size", c_size_t), ("width", c_uint32), ("height", c_uint32),
                ("format", c_uint32), ("orientation", c_uint32), ("row_bytes", c_size_t), ("plane_bytes", c_size_t)]


ochrine = CDLL(os.environ.get("OCHRINE_LIBRARY", "libochrine.so.1"))
ochrine.ochrine_error_text.restype = c_char_p
ochrine.ochrine_render.argtypes = [c_void_p, POINTER(Image), POINTER(Image), c_uint32]


def check(result):
    if result != 0:
        sys.exit("render_picture.py: " + ochrine.ochrine_error_text(c_int32(result)).decode())


width, height = int(sys.argv[2]), int(sys.argv[3])
pixels = bytearray(sys.stdin.buffer.read(width * height * 4))  # a word a pixel: blue, green, red, alpha
memory = addressof((c_char * len(pixels)).from_buffer(pixels))
image = Image(memory, len(pixels), width, height, 32, 0, width * 4, 0)  # OCHRINE_ARGB8, OCHRINE_TOP_DOWN
grade, renderer = c_void_p(), c_void_p()
check(ochrine.ochrine_grade_create(byref(grade)))
check(ochrine.ochrine_grade_load(grade, os.fsencode(sys.argv[1])))
check(ochrine.ochrine_renderer_create(0, byref(renderer)))
check(ochrine.ochrine_renderer_set_grade(renderer, grade))
check(ochrine.ochrine_render(renderer, byref(image), byref(image), 0))  # in place; a short picture is refused
ochrine.ochrine_renderer_destroy(renderer)
ochrine.ochrine_grade_destroy(grade)
sys.stdout.buffer.write(pixels)
