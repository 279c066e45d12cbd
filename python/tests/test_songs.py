"""Sequences, edits, undo, files and refusals."""
import gc
import os
import pickle
import random
import subprocess
import sys
import threading
import weakref

import pytest

import kora
from conftest import FIRST_LIGHT, random_edit, state


def test_keys_are_a_sorted_list():
    song = kora.Song()
    model = {}
    places = [song.start + kora.Ticks.quarters(4 * bar) for bar in range(12)]
    for number, place in enumerate(random.Random(7).sample(places[1:], 10)):
        song.keys.set(place, kora.Key(kora.Ticks(0), number - 5, number % 2 == 0))
        model[place.count] = (number - 5, number % 2 == 0)
    del song.keys[-2], model[sorted(model)[-2]]
    song.keys.clear(places[4], places[6])
    model = {tick: key for tick, key in model.items() if not places[4].count <= tick < places[6].count}
    keys = song.keys
    expected = [(tick, *model[tick]) for tick in sorted(model)]
    assert [(each.position.count, each.accidentals, each.is_major) for each in keys] == expected
    for cut in (slice(None), slice(-3, None, -1), slice(2, 5), slice(None, -1, 2)):
        assert keys[cut] == list(keys)[cut]
    assert len(keys) == len(expected) and keys.at(keys[3].position + kora.Ticks(1)) == keys[3]
    for ask in (keys.at, keys.remove):
        with pytest.raises(KeyError):
            ask(places[0])


@pytest.mark.parametrize("seed", range(8))
def test_undo_walks_through_every_state(seed):
    """Against a vector of snapshots: refused edits change nothing, steps go back and forth."""
    rng = random.Random(seed)
    song = kora.Song()
    told = []
    song.listen(told.append)
    states, place = [state(song)], 0
    for _ in range(120):
        choice = rng.random()
        told.clear()
        before = states[place]
        if choice < 0.15 and place:
            song.undo()
            place -= 1
        elif choice < 0.25 and place + 1 < len(states):
            song.redo()
            place += 1
        else:
            try:
                random_edit(song, rng)
            except (kora.Error, IndexError):
                assert state(song) == before
            if state(song) != before:
                states[place + 1 :] = [state(song)]
                place += 1
        now = state(song)
        assert now == states[place] and song.step == place and len(song.steps) == len(states) - 1
        changed = {name for name, old, new in zip(("tempos", "meters", "keys"), before, now) if old != new}
        assert changed <= set().union(*told)
    while place:
        song.undo()
        place -= 1
        assert state(song) == states[place]
    with pytest.raises(kora.NotFoundError):
        song.undo()


def test_a_step_that_fails_is_taken_back_whole(light):
    before = state(light)
    with pytest.raises(ZeroDivisionError):
        with light.edit("Never"):
            light.ramp("2|1", "4|1", 90, 120)
            light.keys.set("3|1", "Eb")
            1 / 0
    assert state(light) == before and light.steps == []
    with light.edit("Outer"):
        with pytest.raises(kora.BusyError):
            with light.edit("Inner"):
                pass
        with pytest.raises(kora.BusyError):
            kora.Song().set_tempo("1|1", 90)
        light.set_tempo("2|1", 90)
    assert light.steps == ["Outer"]
    for _ in range(3):
        with light.edit("Drag", merge=7):
            light.set_tempo("2|1", light.tempos.at("2|1").bpm + 1)
    assert light.steps == ["Outer", "Drag"]


def test_listeners_run_behind_the_step_and_may_edit(light, caplog):
    seen = []

    def slower(what):
        seen.append((sorted(what), light.steps[-1]))
        if len(seen) == 1:
            light.keys.set("2|1", "C")

    def broken(what):
        raise RuntimeError("not my day")

    end = light.listen(slower)
    light.listen(broken)
    light.set_tempo("2|1", 77)
    assert seen == [(["tempos"], "Set tempo"), (["keys"], "Set key")]
    assert "not my day" in caplog.text
    end()
    light.undo()
    assert len(seen) == 2


def test_what_the_library_asserts_is_logged(caplog):
    kora._handles._reporter(None, "größer@$^$@Time/Time_Tick".encode(), 7)
    assert caplog.messages == ["assertion: größer in Time/Time_Tick, line 7"]


@pytest.mark.parametrize(
    "edit, reason, nearest",
    [
        (lambda song: song.set_tempo("1|1", 1000), "out_of_limits", 500),
        (lambda song: song.ramp("5|1", "5|1", 100, 90), "empty_range", None),
        (lambda song: song.unlock("5|1"), "no_lock", None),
        (lambda song: song.lock("9|1", kora.Samples(5)), "out_of_limits", ...),
        (lambda song: song.lock("9|1", kora.Samples(0)), "lock_order", ...),
        (lambda song: song.move_time("5|1", "9|1", "7|1"), "inside_range", ...),
        (lambda song: song.fit("5|1", "9|1", 0), "empty_range", ...),
        (lambda song: song.parse("00:00:00:30"), None, None),
    ],
)
def test_refusals_say_why_and_what_is_nearest(light, edit, reason, nearest):
    before = state(light)
    with pytest.raises(kora.RefusedError) as caught:
        edit(light)
    assert caught.value.reason == reason and caught.value.status == 7
    assert nearest is ... or caught.value.nearest == nearest
    assert state(light) == before and light.steps == []


@pytest.mark.parametrize(
    "wrong, error",
    [
        (lambda song: song.set_tempo(5, 100), TypeError),
        (lambda song: song.set_tempo("5|1", float("nan")), ValueError),
        (lambda song: song.insert_time("5|1", kora.Samples(5)), TypeError),
        (lambda song: song.repeat_time("5|1", "6|1", -1), ValueError),
        (lambda song: song.ramp("5|1", "6|1", 90, 91, "zigzag"), ValueError),
        (lambda song: song.meters.set("5|1", 2**33 + 3, 4), ValueError),
        (lambda song: song.keys.set("5|1", "H major"), ValueError),
        (lambda song: song.keys.set("5|1", kora.Key(song.start, 8, True)), ValueError),
        (lambda song: song.tempos[8], IndexError),
        (lambda song: song.tempos[-9], IndexError),
        (lambda song: song.tempos[2**64], IndexError),
        (lambda song: song.meters.remove("1|1"), ValueError),
        (lambda song: song.meters.__delitem__("2|1"), KeyError),
        (lambda song: song.edit("a\0b").__enter__(), ValueError),
        (lambda song: song.text("5|1", "runes"), ValueError),
        (lambda song: song.text("5|1", "feet", film=70), ValueError),
        (lambda song: song.parse("12"), ValueError),
        (lambda song: song.parse("5|1\0"), ValueError),
        (lambda song: song.save("a\0b"), ValueError),
        (lambda song: song.save("a.MID"), ValueError),
        (lambda song: song.save("/no/such/folder/song.kora"), OSError),
        (lambda song: song.export("/no/such/folder/song.mid"), OSError),
        (lambda song: song.plot(width=10), ValueError),
        (lambda song: kora.open("/no/such/song.mid"), FileNotFoundError),
        (lambda song: kora.open(__file__), kora.FileError),
        (lambda song: kora.read(b"MThd\0"), kora.FileError),
        (lambda song: kora.read(5), TypeError),
        (lambda song: kora.Song(rate=5), ValueError),
        (lambda song: kora.Song(timecode="31"), ValueError),
        (lambda song: kora.Ticks(1.5), TypeError),
        (lambda song: kora.Ticks(2**63), ValueError),
        (lambda song: kora.Ticks(1) < kora.Samples(2), TypeError),
        (lambda song: kora.Ticks(1) + 1, TypeError),
    ],
)
def test_wrong_arguments_are_the_exceptions_that_python_uses(light, wrong, error):
    before = state(light)
    with pytest.raises(error) as caught:
        wrong(light)
    assert str(caught.value) and "\n" not in str(caught.value)
    assert state(light) == before


def test_values_keep_to_their_unit():
    assert kora.Ticks(5) != kora.Samples(5) and len({kora.Ticks(5), kora.Samples(5), kora.Ticks(5)}) == 2
    assert kora.Ticks(7) // kora.Ticks(2) == 3 and -(kora.Ticks(7) // 2) == kora.Ticks(-3)
    assert pickle.loads(pickle.dumps(kora.Frames(9))) == kora.Frames(9) and not kora.Ticks(0)
    with pytest.raises(AttributeError):
        kora.Ticks(5).count = 6


def test_positions_of_every_kind_mean_the_same(light):
    tick = kora.Ticks(1000015360000)
    for same in ("5|1", kora.Bars(5), kora.Samples(504000), "0:11.429", kora.Frames(343)):
        assert abs(light.convert(same, "ticks").count - tick.count) < 60000, same
    for form in kora.FORMS:
        text = light.text("5|1", form)
        assert light.text(light.parse(text, form), form) == text


def test_songs_of_two_rates_stand_beside_one_another():
    slow, fast = kora.Song(48000, "25"), kora.Song(96000, "50")
    for _ in range(2):
        assert [song.convert(kora.Bars(2), "frames").count for song in (slow, fast)] == [50, 100]
        assert [song.timecode("2|1") for song in (slow, fast)] == ["00:00:02:00"] * 2
        assert slow.convert(kora.Frames(25), "seconds") == fast.convert(kora.Frames(50), "seconds") == 1.0


@pytest.mark.parametrize("seed", range(4))
def test_edits_do_not_hear_of_another_songs_rate(seed):
    alone, beside = kora.Song(48000, "25"), kora.Song(48000, "25")
    for song in (alone, beside):
        rng = random.Random(seed)
        for _ in range(60):
            if song is beside:
                kora.Song(96000, "60").timecode("2|1")
            try:
                random_edit(song, rng)
            except (kora.Error, IndexError):
                pass
    assert state(alone) == state(beside)
    assert alone.info == beside.info


def test_what_is_exported_reads_back_and_replaces_whole(light, tmp_path):
    target = tmp_path / "süß.mid"
    target.write_bytes(b"old")
    target.chmod(0o640)
    with open(target, "rb") as held:
        light.export(target)
        assert held.read() == b"old"
    assert target.stat().st_mode & 0o777 == 0o640 and os.listdir(tmp_path) == [target.name]
    assert target.read_bytes() == light.to_midi()
    with kora.open(target) as again:
        assert state(again)[1:] == state(light)[1:]
        assert [each.text for each in again.tempos] == [each.text for each in light.tempos]
    link, pipe, folder = (tmp_path / name for name in ("link.mid", "pipe.mid", "folder.mid"))
    target.write_bytes(b"old")
    link.symlink_to(target.name)
    light.export(link)
    assert link.is_symlink() and target.read_bytes() == light.to_midi()
    folder.mkdir()
    os.mkfifo(pipe)
    for refused in (folder, pipe, "/dev/null"):
        with pytest.raises(OSError):
            light.export(refused)
    assert sorted(os.listdir(tmp_path)) == sorted([target.name, link.name, pipe.name, folder.name])
    light.set_tempo("2|1", 99)
    assert not light.is_saved
    light.save(tmp_path / "song.kora")
    assert light.is_saved


def test_a_closed_song_says_so(light):
    tempos, keys = light.tempos, light.keys
    light.close()
    light.close()
    for ask in (
        lambda: light.info,
        lambda: len(tempos),
        lambda: tempos[0],
        lambda: keys.at(kora.Ticks(0)),
        light.undo,
        lambda: light.set_tempo(kora.Ticks(10**12), 90),
        lambda: light.convert(1, "ticks", "samples"),
        lambda: light.text(kora.Ticks(1)),
        lambda: light.convert([1], "ticks", "bars"),
        light.to_midi,
    ):
        with pytest.raises(kora.ClosedError):
            ask()
    assert repr(light) == "<kora.Song, closed>" and not light._handle and not light._tempi
    song = kora.Song()
    with pytest.raises(kora.ClosedError):
        with song.edit("Closed within"):
            song.close()
    kora.Song().set_tempo("1|1", 90)  # nothing is left recording


def test_songs_go_when_nobody_holds_them():
    song = kora.Song()
    song.listen(lambda what: None)
    gone = weakref.ref(song)
    tempos = song.tempos
    del song
    gc.collect()
    assert gone() is not None and len(tempos) == 1
    del tempos
    gc.collect()
    assert gone() is None


def test_songs_go_without_the_collector_after_whatever_was_refused(tmp_path):
    tries = [
        lambda song: song.set_tempo("2|1", 100000),
        lambda song: song.parse("1|9|0", "bars"),
        lambda song: song.tempos[7],
        lambda song: song.convert([1 << 62], "samples", "ticks"),
        lambda song: song.save(tmp_path / "missing" / "a.kora"),
        lambda song: song.ruler(measure=lambda text: 1 / 0),
        lambda song: song.undo(),
        lambda song: song.edit("zero \0").__enter__(),
        lambda song: song.grid("1/8").snap("x"),
    ]
    gc.collect()
    gc.disable()
    try:
        for number, attempt in enumerate(tries):
            song = kora.Song()
            song.listen(lambda what: None)
            with pytest.raises(Exception):
                attempt(song)
            gone = weakref.ref(song)
            del song
            assert gone() is None, number
    finally:
        gc.enable()


def test_songs_may_move_between_threads(light):
    answers = []

    def ask():
        answers.append(light.convert(10**12, "ticks", "samples"))
        light.set_tempo("2|1", 90)

    thread = threading.Thread(target=ask)
    thread.start()
    thread.join()
    assert answers == [0] and light.tempos.at("2|1").bpm == 90


def test_package_and_library_are_of_one_version():
    assert kora.loaded_version.split(".")[:2] == kora.__version__.split(".")[:2]


@pytest.mark.parametrize(
    "name, words", [("/no/such/library.so", "KORA_LIBRARY may name it"), ("libc.so.6", "no Kora library")]
)
def test_a_library_that_is_none_is_one_line(name, words):
    done = subprocess.run(
        [sys.executable, "-c", "import kora"],
        capture_output=True,
        text=True,
        env={**os.environ, "KORA_LIBRARY": name},
    )
    last = done.stderr.strip().splitlines()[-1]
    assert done.returncode == 1 and last.startswith("ImportError") and words in last


def test_a_process_ends_well_with_open_songs_and_steps():
    script = (
        "import atexit, kora\nsong = kora.Song()\n"
        "step = song.edit('Open'); step.__enter__(); song.set_tempo('2|1', 90)\n"
        "@atexit.register\ndef late():\n    print(song.bars('2|1'))\n"
    )
    done = subprocess.run([sys.executable, "-X", "dev", "-c", script], capture_output=True, text=True)
    assert (done.returncode, done.stdout, done.stderr) == (0, "2|1|0\n", "")
