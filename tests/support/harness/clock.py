"""Reading from the screen which instant a camera shows: the strip of black and white cells in the demo pictures."""

_CELLS = 40
_FRAMES_PER_SECOND = 15
_STRIP_MIDDLE = 80 / 720
_ASPECT = 16 / 9
_DARK, _BRIGHT = 96, 160


def picture_region(region):
    """Where the letterboxed 16:9 picture lies in a cell (x, y, width, height)."""
    x, y, width, height = region
    shown_width, shown_height = min(width, height * _ASPECT), min(height, width / _ASPECT)
    return x + (width - shown_width) / 2, y + (height - shown_height) / 2, shown_width, shown_height


def _bits(cells, first, count):
    value = 0
    for cell in cells[first:first + count]:
        value = 2 * value + cell
    if sum(cells[first:first + count]) % 2 != cells[first + count]:
        return None
    return value


def read_instant(picture):
    """The instant, in seconds since the epoch, that a picture of a whole camera image shows; None if unreadable."""
    y = round(_STRIP_MIDDLE * picture.height)
    cells = []
    for cell in range(_CELLS):
        grey = sum(picture.pixel(int((cell + 0.5) * picture.width / _CELLS), y)) / 3
        if _DARK < grey < _BRIGHT:
            return None
        cells.append(int(grey >= _BRIGHT))
    frame, second = _bits(cells, 1, 4), _bits(cells, 7, 32)
    if not cells[0] or cells[6] or frame is None or second is None or frame >= _FRAMES_PER_SECOND:
        return None
    return second + frame / _FRAMES_PER_SECOND
