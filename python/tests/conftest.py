"""What all tests share: songs of random edits, and the answers of the kora command."""
import os
import random
import subprocess
from pathlib import Path

import pytest

import kora

ROOT = Path(__file__).resolve().parents[2]
FIRST_LIGHT = ROOT / "examples" / "songs" / "first-light.mid"


class Command:
    """The kora command, in C++, on a song's file."""

    def __init__(self, program):
        self._program = program

    def convert(self, path, source, target, values, *options):
        text = self._run(
            "convert",
            str(path),
            "--from",
            source,
            "--to",
            target,
            *options,
            given="".join(f"{value}\n" for value in values),
        )
        return text.splitlines()

    def grid(self, path, division):
        return self._run("grid", str(path), "--by", division).splitlines()

    def faults(self, path):
        """Lines of offset and text."""
        done = subprocess.run([self._program, "check", "--all", path], capture_output=True, text=True)
        return [] if done.returncode == 0 else done.stdout.splitlines()

    def _run(self, *arguments, given=""):
        done = subprocess.run([self._program, *arguments], input=given, capture_output=True, text=True)
        assert done.returncode == 0, done.stderr
        return done.stdout


@pytest.fixture(scope="session")
def command():
    program = os.environ.get("KORA_COMMAND", str(ROOT / "build" / "release" / "bin" / "kora"))
    if not os.path.exists(program):
        pytest.skip("the kora command is not built; KORA_COMMAND names it")
    return Command(program)


@pytest.fixture
def light():
    with kora.open(FIRST_LIGHT) as song:
        yield song


def random_place(rng):
    return kora.Bars(rng.randint(1, 40), rng.randint(1, 2), rng.choice((0, 0, 320000)))


def random_edit(song, rng):
    """One edit of any kind, which may be refused; gives its name."""
    start, end = sorted((random_place(rng), random_place(rng)))
    edits = {
        "set_tempo": lambda: song.set_tempo(start, rng.choice((60, 93.7, 120, 480))),
        "ramp": lambda: song.ramp(
            start, end, rng.randint(40, 200), rng.randint(40, 200), rng.choice(("bars", "linear", "s")), 7
        ),
        "scale": lambda: song.scale(start, end, rng.choice((0.5, 0.9, 1.1, 3))),
        "offset": lambda: song.offset(start, end, rng.choice((-10, 5, 25))),
        "fit": lambda: song.fit(start, end, rng.uniform(1, 60)),
        "lock": lambda: song.lock(
            start, kora.Samples(song.convert(start, "samples").count + rng.randint(-5000, 5000))
        ),
        "unlock": lambda: song.unlock(start),
        "insert_time": lambda: song.insert_time(start, kora.Ticks.quarters(rng.randint(1, 9))),
        "delete_time": lambda: song.delete_time(start, end),
        "repeat_time": lambda: song.repeat_time(start, min(end, start._replace(bar=start.bar + 2)), 1),
        "move_time": lambda: song.move_time(start, end, random_place(rng)),
        "meter": lambda: song.meters.set(start, rng.randint(1, 9), rng.choice((2, 4, 8))),
        "key": lambda: song.keys.set(start, rng.choice(("Eb", "C# minor", "C", "A minor"))),
        "remove": lambda: song.meters.remove(start),
        "del": lambda: song.keys.__delitem__(rng.randrange(3)),
    }
    name = rng.choice(list(edits))
    edits[name]()
    return name


def state(song):
    """All that edits change."""
    return list(song.tempos), list(song.meters), list(song.keys)


@pytest.fixture(params=range(6))
def random_song(request):
    rng = random.Random(request.param)
    with kora.Song(*rng.choice(((44100, "30"), (48000, "29.97drop"), (95904, "59.94")))) as song:
        for _ in range(40):
            try:
                random_edit(song, rng)
            except (kora.Error, IndexError):
                pass
        yield song
