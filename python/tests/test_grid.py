"""Grids against the command's lines and a plain search, rulers against their own rules."""
import numpy as np
import pytest

import kora
from conftest import FIRST_LIGHT


@pytest.mark.parametrize("division", ["bars", "beats", "1/4", "1/8t", "1/16", "1/8.", "1/16(4:5)"])
def test_lines_are_the_commands(command, light, division):
    said = [line.split("\t") for line in command.grid(FIRST_LIGHT, division)]
    grid = light.grid(division)
    mine = list(grid)
    assert [[str(each.place), str(each.sample.count), each.kind] for each in mine] == said
    table = grid.array()
    assert table["tick"].tolist() == [each.position.count for each in mine]
    assert [kora.Bars(*each) for each in table[["bar", "beat", "ticks"]].tolist()] == [
        each.place for each in mine
    ]


@pytest.mark.parametrize(
    "make",
    [
        lambda song: song.grid("beats"),
        lambda song: song.grid("1/16", swing=320),
        lambda song: song.clock_grid("milliseconds", 250),
        lambda song: song.clock_grid("timecode", 10),
        lambda song: song.clock_grid("samples", 5000),
        lambda song: song.clock_grid("film", 16, film=16),
    ],
)
def test_what_snaps_is_the_line_that_a_search_finds(light, make):
    """Beside the one in the middle, and on it; where is between, the library's own tests say."""
    grid = make(light)
    lines = list(grid.lines(light.start, light.convert("30|1", "samples")))[:9]
    here = lines[4].sample if lines[4].place is None else lines[4].position
    searches = ("before", "at_or_before", "nearest", "at_or_after", "after")
    for offset, expected in ((-1, [3, 3, 4, 4, 4]), (0, [3, 4, 4, 4, 5]), (1, [4, 4, 4, 5, 5])):
        place = type(here)(here.count + offset)
        assert [lines.index(grid.snap(place, search)) for search in searches] == expected, offset


def test_pieces_make_one_whole(light):
    """More lines than are asked for at once, by bars and by the clock."""
    for grid, step in ((light.grid("1/64(4:5)"), None), (light.clock_grid("samples", 100), 100)):
        lines = list(grid)
        assert len(lines) > 1200
        if step:
            assert [line.number for line in lines] == list(range(0, lines[-1].number + 1, step))
        halfway = lines[1100].sample if step else lines[1100].position
        assert list(grid.lines(None, halfway)) + list(grid.lines(halfway)) == lines
        assert grid.array()["sample"].tolist() == [line.sample.count for line in lines]
    assert len(light.grid().array("3|1", "3|1")) == 0


def test_grids_follow_edits_and_end_with_the_song(light):
    grid, ruler = light.grid("bars"), light.ruler()
    light.meters.set("2|1", 2, 4)
    assert [line.position for line in grid.lines("2|1", "4|1")] == [
        light.convert(kora.Bars(bar), "ticks") for bar in (2, 3)
    ]
    light.close()
    for ask in (
        lambda: list(grid),
        lambda: grid.snap(kora.Ticks(10**12)),
        lambda: ruler.draw(100),
        light.grid,
    ):
        with pytest.raises(kora.ClosedError):
            ask()


@pytest.mark.parametrize("form", ["bars", "timecode", "minsec", "samples", "feet"])
@pytest.mark.parametrize("axis", ["bars", "time"])
def test_rulers_have_room_for_labels_and_go_back(random_song, form, axis):
    width = 9.0
    ruler = random_song.ruler(form, axis, measure=lambda text: width * len(text))
    ruler.show("1|1", "20|1", 1200)
    place = ruler.to_pixel("5|1")
    ruler.zoom(place, 1.3)
    ruler.scroll_by(-30)
    assert abs(ruler.to_pixel("5|1") - place - 30) < 0.01
    lines = ruler.draw(1200)
    assert any(line.label for line in lines) and any(line.is_major for line in lines)
    free = -1e9
    for line in lines:
        assert abs(ruler.to_pixel(line.time) - line.pixel) <= 1
        if line.label:
            assert line.pixel >= free - 1
            free = line.pixel + width * len(line.label)
    ruler.scroll_to("5|1", 100)
    assert abs(ruler.to_pixel("5|1") - 100) < 0.01
    later = random_song.convert("6|1", "ticks" if axis == "bars" else "samples")
    assert ruler.to_time(ruler.to_pixel(later), later.unit) == later


@pytest.mark.parametrize(
    "wrong, error",
    [
        (lambda song: song.grid("1/0"), kora.RefusedError),
        (lambda song: song.grid("beats", swing=2000), ValueError),
        (lambda song: song.clock_grid("fortnights"), ValueError),
        (lambda song: song.clock_grid("samples", 0), ValueError),
        (lambda song: song.grid().snap("2|1", "sideways"), ValueError),
        (lambda song: song.clock_grid("timecode").snap(kora.Samples(-5), "before"), KeyError),
        (lambda song: song.grid().snap(5), TypeError),
        (lambda song: song.ruler("runes"), ValueError),
        (lambda song: song.ruler(axis="sideways"), ValueError),
        (lambda song: song.ruler().zoom(5, -1), ValueError),
        (lambda song: song.ruler().draw(2e6), ValueError),
        (lambda song: song.ruler(measure=lambda text: 1 / 0), ZeroDivisionError),
    ],
)
def test_what_is_no_grid_is_refused(light, wrong, error):
    with pytest.raises(error):
        wrong(light)
    assert np.all(light.grid().array()["tick"] > 0)
