"""Whether recorded pictures of a dictation show what others of the same sentences show.

Pictures are RGB, row by row. Two recordings are never in step, so the overlay's words and the level
in it differ honestly; they are asked only whether they are there.
"""

from typing import NamedTuple

# The side of the squares whose colours are compared, in pixels, and how far a colour may be off.
SIDE = 4
NEAR = 24
# What may differ of all squares outside the overlay: the editor's blinking cursor, which is at most
# half of it.
MOST_DIFFERENCE = 0.001
# How much more one of two overlays may have of ink, or of paper.
MOST_TIMES = 2
# Of all channels the red one, of what is printed in black and of the paper around it.
INK, PAPER = range(50), range(200, 256)
MOMENTS = ("at first", "at the end of the first sentence", "at the end of the second sentence",
           "at last")


class Scene(NamedTuple):
    """What is where in a picture `width` pixels wide: frames (x, y, width, height), and the colour
    of the key cap while it is held."""

    width: int
    key: tuple
    overlay: tuple
    held: tuple

    def is_held(self, pixels):
        """Whether the key is seen to be held."""
        rows = list(self._rows(pixels, self.key))
        colours = (row[at:at + 3] for row in rows for at in range(0, len(row), 3))
        return 2 * sum(_near(colour, self.held) for colour in colours) > self.key[2] * self.key[3]

    def written_columns(self, pixels):
        """In how many columns of pixels the overlay has ink: few of them are the level's."""
        reds = (row[::3] for row in self._rows(pixels, self.overlay))
        return sum(any(value in INK for value in column) for column in zip(*reds))

    def paper(self, pixels):
        """How many pixels the overlay covers."""
        return sum(value in PAPER for row in self._rows(pixels, self.overlay) for value in row[::3])

    def squares(self, pixels):
        """The mean colours of all squares, row by row."""
        line = 3 * self.width
        for top in range(0, len(pixels), SIDE * line):
            rows = [pixels[start:start + line] for start in range(top, top + SIDE * line, line)]
            for left in range(0, line, 3 * SIDE):
                yield tuple(sum(sum(row[left + channel:left + 3 * SIDE:3]) for row in rows)
                            // SIDE ** 2 for channel in range(3))

    def hides(self, number):
        """Whether a part of the square of this number lies in the overlay's frame."""
        y, x = (SIDE * part for part in divmod(number, self.width // SIDE))
        left, top, width, height = self.overlay
        return left - SIDE < x < left + width and top - SIDE < y < top + height

    def _rows(self, pixels, frame):
        left, top, width, height = frame
        for row in range(top, top + height):
            start = 3 * (row * self.width + left)
            yield pixels[start:start + 3 * width]


def _near(one, other):
    return all(abs(a - b) <= NEAR for a, b in zip(one, other))


def differences(scene, shown, taken, spoken):
    """What differs between two pictures of one moment, one line each; `spoken` says whether it is
    one at which the overlay shows words, and no overlay is there otherwise."""
    if len(shown) != len(taken):
        yield "the size is another"
        return
    pairs = [pair for number, pair in enumerate(zip(scene.squares(shown), scene.squares(taken)))
             if not (spoken and scene.hides(number))]
    differ = sum(not _near(*pair) for pair in pairs)
    if differ > MOST_DIFFERENCE * len(pairs):
        yield f"{differ} of {len(pairs)} squares differ"
    if spoken:
        for what, measure in (("words", scene.written_columns), ("size", scene.paper)):
            ours, theirs = measure(shown), measure(taken)
            if max(ours, theirs) > MOST_TIMES * min(ours, theirs):
                yield f"the overlay's {what}: {ours}, not some {theirs}"


def moments(scene, frames):
    """The frames of a film that every recording has: the first, the last of each stretch with the
    key held, the last."""
    held = [scene.is_held(frame) for frame in frames]
    ends = [frame for frame, now, then in zip(frames, held, held[1:]) if now and not then]
    return [frames[0], *ends, frames[-1]]


def film_differences(scene, shown, taken):
    """What differs between two films of the same two sentences, one line each."""
    ours, theirs = moments(scene, shown), moments(scene, taken)
    for film in (ours, theirs):
        if len(film) != len(MOMENTS):
            yield f"the key is let go {len(film) - 2} times"
            return
    for number, moment in enumerate(MOMENTS):
        for line in differences(scene, ours[number], theirs[number],
                                spoken=0 < number < len(MOMENTS) - 1):
            yield f"{moment} {line}"
