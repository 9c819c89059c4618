"""Pixels of the screen within a millisecond or two, for what has to be read at a known moment."""

from ctypes import CDLL, POINTER, Structure, c_char_p, c_int, c_uint, c_ulong, c_void_p, string_at

_ALL_PLANES, _Z_PIXMAP = 0xFFFFFFFF, 2


class _Image(Structure):
    _fields_ = ([(name, c_int) for name in ("width", "height", "offset", "format")] + [("data", c_void_p)]
                + [(name, c_int) for name in ("byte_order", "unit", "bit_order", "pad", "depth", "line", "pixel_bits")])


def _xlib():
    xlib = CDLL("libX11.so.6")
    for name, result, *arguments in (
            ("XOpenDisplay", c_void_p, c_char_p), ("XCloseDisplay", c_int, c_void_p),
            ("XDefaultRootWindow", c_ulong, c_void_p), ("XDestroyImage", c_int, POINTER(_Image)),
            ("XGetImage", POINTER(_Image), c_void_p, c_ulong, c_int, c_int, c_uint, c_uint, c_ulong, c_int)):
        function = getattr(xlib, name)
        function.restype, function.argtypes = result, arguments
    return xlib


class Snapshots:
    def __init__(self, display):
        self._xlib = _xlib()
        self._display = self._xlib.XOpenDisplay(display.encode())
        self._root = self._xlib.XDefaultRootWindow(self._display)

    def take(self, x, y, width, height):
        """The pixels of a part of the screen, three bytes each: red, green, blue."""
        image = self._xlib.XGetImage(self._display, self._root, x, y, width, height, _ALL_PLANES, _Z_PIXMAP)
        if image.contents.pixel_bits != 32 or image.contents.line != 4 * width:
            raise RuntimeError("the screen's pixels are laid out in an unknown way")
        blue_green_red = string_at(image.contents.data, 4 * width * height)
        self._xlib.XDestroyImage(image)
        pixels = bytearray(3 * width * height)
        for colour in range(3):
            pixels[colour::3] = blue_green_red[2 - colour::4]
        return pixels

    def close(self):
        self._xlib.XCloseDisplay(self._display)
