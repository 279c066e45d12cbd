"""Threads with songs of their own, callbacks that are in the way, and processes that fork."""
import array
import os
import subprocess
import sys
import threading

import pytest

import kora
from kora._library import lib, turns

# The library's own lock is held while a listener runs Python, which lets other threads run.
SLOW_LISTENERS = """
import sys, threading, time
import kora

class Slow(list):
    def __getitem__(self, index):
        time.sleep(0.001)
        return super().__getitem__(index)

def work():
    song = kora.Song()
    song._changes = Slow([0])
    song.listen(lambda what: None)
    for bar in range(2, 12):
        try:
            song.set_tempo(kora.Bars(bar), 90)
        except kora.BusyError:
            pass

threads = [threading.Thread(target=work) for _ in range(4)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()
"""

FORKS = """
import os, threading
import kora

done = False

def work():
    song = kora.Song()
    while not done:
        try:
            song.set_tempo("2|1", 90)
            song.undo()
        except kora.BusyError:
            pass

thread = threading.Thread(target=work)
thread.start()
codes = []
for _ in range(20):
    child = os.fork()
    if child == 0:
        kora.Song().tempos
        os._exit(7)
    codes.append(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
done = True
thread.join()
assert codes == [7] * 20, codes
"""


@pytest.mark.parametrize("program", [SLOW_LISTENERS, FORKS], ids=["listeners", "forks"])
def test_threads_do_not_wait_for_one_another_for_ever(program):
    if "fork" in program and not hasattr(os, "fork"):
        pytest.skip("this system does not fork")
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stderr


def test_a_song_of_another_rate_on_another_thread_does_not_come_between(monkeypatch):
    """It asks in the moment between this song's rate and this song's question."""
    song, other = kora.Song(48000, "25"), kora.Song(44100, "30")
    frames = kora.Frames(100)
    questions = {
        "_convert_one": lambda: song.convert(100, "frames", "samples"),
        "kora_format_write": lambda: song.timecode("3|1"),
        "kora_format_read": lambda: song.parse("00:00:04:00"),
        "kora_to_bars": lambda: song.bars(frames),
        "kora_from_bars": lambda: song.convert(kora.Bars(3, 1), "frames"),
        "kora_convert_all": lambda: song.convert([1, 100], "frames", "samples"),
        "kora_grid_find": lambda: song.clock_grid("timecode").snap("3|1").number,
    }
    for name, ask in questions.items():
        owner = kora.song if name.startswith("_") else lib
        expected, call, asked = ask(), getattr(owner, name), []

        def interrupted(*arguments):
            if not asked:
                asked.append(threading.Thread(target=lambda: other.timecode("2|1")))
                asked[0].start()
                asked[0].join(0.2)
            return call(*arguments)

        monkeypatch.setattr(owner, name, interrupted)
        assert ask() == expected, name
        asked[0].join()
        monkeypatch.undo()
    other.timecode("2|1")
    assert song.text(frames, "bars_exact") == str(song.bars(frames))


def test_a_measure_that_asks_a_song_of_another_rate_gets_back_to_this_one():
    other = kora.Song(96000, "24")
    song = kora.Song(48000, "25")

    def labels(measure):
        ruler = song.ruler("timecode", "time", last=kora.Samples(48000 * 60), measure=measure)
        return ruler.show(kora.Samples(0), kora.Samples(480000), 500).draw(500)

    def ask(text):
        other.timecode("9|1")
        return 7.2 * len(text)

    assert labels(ask) == labels(None)


def test_what_a_callback_raises_is_raised_behind_the_call(light, monkeypatch):
    ruler = light.ruler().show("1|1", "9|1", 600)

    def broken(*_):
        raise KeyboardInterrupt

    monkeypatch.setattr("kora.grid.RulerLine", broken)
    with pytest.raises(KeyboardInterrupt):
        ruler.draw(600)
    monkeypatch.undo()
    assert ruler.draw(600)

    class Broken(list):
        def __getitem__(self, _):
            raise KeyboardInterrupt

    light._changes = Broken([0])
    light.listen(lambda what: None)
    with pytest.raises(KeyboardInterrupt):
        light.set_tempo("3|1", 90)
    assert light.tempos.at("3|1").bpm == 90


def test_a_step_that_is_stopped_in_its_end_leaves_the_song_ready(monkeypatch):
    song = kora.Song()
    before = list(song.tempos)
    end = lib.kora_history_end

    def no_memory(*_):
        return 10

    def interrupted(*arguments):
        assert end(*arguments) == 0
        raise KeyboardInterrupt

    monkeypatch.setattr(lib, "kora_history_end", no_memory)
    with pytest.raises(kora.OutOfMemoryError):
        song.set_tempo("2|1", 90)
    assert list(song.tempos) == before and song.steps == []
    monkeypatch.setattr(lib, "kora_history_end", interrupted)
    with pytest.raises(KeyboardInterrupt):
        song.set_tempo("2|1", 90)
    assert song.steps == ["Set tempo"]
    monkeypatch.undo()
    song.undo()
    song.set_tempo("2|1", 80)
    assert song.steps == ["Set tempo"] and song.tempos.at("2|1").bpm == 80


@pytest.mark.parametrize(
    "wrong, error",
    [
        (lambda song: song.set_tempo("2|1", 90, beat=kora.Samples(480000)), TypeError),
        (lambda song: song.edit("drag", merge=1 << 64).__enter__(), ValueError),
        (lambda song: song.grid("1/8", swing=1 << 32), ValueError),
        (lambda song: song.grid("1/8\0t"), ValueError),
        (lambda song: song.ruler().scroll_by(1 << 64), ValueError),
        (lambda song: song.convert("1|1", "samples", out=array.array("q", [0])), TypeError),
        (lambda song: song.convert([0, 1], "samples", "seconds", out=array.array("d", [0])), ValueError),
    ],
)
def test_what_would_be_taken_for_something_else_is_refused(wrong, error):
    with pytest.raises(error):
        wrong(kora.Song())


def test_narrow_floats_are_as_exact_as_the_number_that_they_are():
    numpy = pytest.importorskip("numpy")
    song = kora.Song()
    for kind in (numpy.float16, numpy.float32, numpy.int32):
        values = numpy.array([1, 777, 1023.5, 2000], kind)
        for unit, to in (("seconds", "samples"), ("quarters", "ticks")):
            assert song.convert(values, unit, to).tolist() == song.convert(values.tolist(), unit, to)


def test_a_song_is_saved_while_a_step_is_open(light, tmp_path):
    other = kora.Song()
    with other.edit("of another song"):
        light.save(tmp_path / "light.kora")
        assert light.is_saved
    light.set_tempo("3|1", 90)
    with light.edit("of its own"):
        light.set_tempo("4|1", 90)
        light.save(tmp_path / "half.kora")
        light.set_tempo("6|1", 90)
    assert not light.is_saved and light.steps[-1] == "of its own"
    assert len(kora.open(tmp_path / "half.kora").tempos) == len(light.tempos) - 1


def test_the_collector_does_not_wait_for_another_threads_turn():
    song = kora.Song()
    handle = song._handle
    is_held, may_end = threading.Event(), threading.Event()

    def hold():
        with turns:
            is_held.set()
            may_end.wait()

    thread = threading.Thread(target=hold)
    thread.start()
    is_held.wait()
    del song  # comes back at once
    assert handle.value is not None
    may_end.set()
    thread.join()
    kora.Song().set_tempo("2|1", 90)
    assert handle.value is None
