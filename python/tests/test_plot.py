"""Pictures: whole SVG in which no two texts touch."""
import random
import xml.etree.ElementTree as tree

import pytest

import kora
from kora.plot import _width

SVG = "{http://www.w3.org/2000/svg}"


def boxes(picture):
    """The text boxes of a picture that stand upright, with the size that letters have at most."""
    root = tree.fromstring(picture.svg)
    for text in root.iter(SVG + "text"):
        if "transform" in text.attrib:
            continue
        width = _width(text.text) * (4 / 3 if text.get("class") == "head" else 1)
        x, y = float(text.get("x")), float(text.get("y"))
        left = x - {"start": 0, "middle": 0.5, "end": 1}[text.get("text-anchor")] * width
        yield left, y - 11, left + width, y + 3, text.text


def crowded(count, rng):
    song = kora.Song()
    with song.edit("Crowd"):
        for _ in range(count):
            place = kora.Bars(rng.randint(1, 60), rng.randint(1, 4))
            song.set_tempo(place, rng.uniform(20, 400))
            song.meters.set(kora.Bars(rng.randint(1, 60)), rng.randint(1, 12), rng.choice((4, 8, 16)))
            song.keys.set(place, rng.choice(("C# minor", "Eb", "F")))
    return song


@pytest.mark.parametrize("count, width", [(0, 300), (3, 900), (40, 500), (300, 1200)])
def test_no_two_texts_touch(count, width):
    song = crowded(count, random.Random(count))
    picture = song.plot('<Loud & "clear"> ' * (1 + count // 20), width)
    found = list(boxes(picture))
    for index, (left, top, right, bottom, text) in enumerate(found):
        assert left >= 0 and right <= width and top >= 0, text
        for other in found[index + 1 :]:
            assert right <= other[0] or other[2] <= left or bottom <= other[1] or other[3] <= top, (
                text,
                other[4],
            )
    assert {"key", "meter", "bar", "min:sec"} <= {each[4] for each in found}


def test_long_songs_make_small_pictures():
    song = kora.Song()
    song.lock("2|1", song.convert("2|1", "samples"))
    song.ramp("3|1", "2000|1", 60, 180, "s", 30000)
    svg = song.plot().svg
    assert len(song.tempos) > 30000 and len(svg) < 200_000 and 'class="lock"' in svg
