"""Reading from the screen which instant a camera shows: the strip of black and white cells in the demo pictures."""

CELLS = 40
_FRAMES_PER_SECOND = 15
_STRIP_MIDDLE = 80 / 720
_ASPECT = 16 / 9
_DARK, _BRIGHT = 96, 160


def picture_region(region):
    """Where the letterboxed 16:9 picture lies in a cell (x, y, width, height)."""
    x, y, width, height = region
    shown_width, shown_height = min(width, height * _ASPECT), min(height, width / _ASPECT)
    return x + (width - shown_width) / 2, y + (height - shown_height) / 2, shown_width, shown_height


def strip_region(picture):
    """The row of pixels in the region of a picture that tells the instant; it is read much faster than the whole."""
    x, y, width, height = picture
    return x, y + _STRIP_MIDDLE * height, width, 1


def _bits(cells, first, count):
    value = 0
    for cell in cells[first:first + count]:
        value = 2 * value + cell
    if sum(cells[first:first + count]) % 2 != cells[first + count]:
        return None
    return value


def read_instant(picture):
    """The instant, in seconds since the epoch, that a camera image, whole or its strip alone, shows; None if unreadable."""
    y = round(_STRIP_MIDDLE * picture.height)
    return instant_of_cells([sum(picture.pixel(int((cell + 0.5) * picture.width / CELLS), y)) / 3
                             for cell in range(CELLS)])


def instant_of_cells(greys):
    """The instant that the cells tell by how bright they are, 0 to 255 each; None if one of them is grey."""
    if any(_DARK < grey < _BRIGHT for grey in greys):
        return None
    cells = [int(grey >= _BRIGHT) for grey in greys]
    frame, second = _bits(cells, 1, 4), _bits(cells, 7, 32)
    if not cells[0] or cells[6] or frame is None or second is None or frame >= _FRAMES_PER_SECOND:
        return None
    return second + frame / _FRAMES_PER_SECOND
