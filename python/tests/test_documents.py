"""Documents: random trees against a plain model, turns, refusals, damage."""
import array
import contextlib
import gc
import os
import random
import subprocess
import sys
import weakref

import numpy as np
import pytest

import kora
from conftest import state

RANGES = {
    "uint8": (0, 255),
    "int16": (-(2**15), 2**15 - 1),
    "uint16": (0, 2**16 - 1),
    "int32": (-(2**31), 2**31 - 1),
    "uint32": (0, 2**32 - 1),
    "int64": (-(2**63), 2**63 - 1),
}
TEXTS = ("", "drums", "Größe ✓", "x" * 300)


class Tree:
    """Streams as plain lists, made at random, and what the table of contents is to have of them.

    A part is (kind, numbers), ("text", text) or ("stream", type, version, description, items or None, parts);
    items are (description, parts).
    """

    def __init__(self, seed):
        self._rng = random.Random(seed)
        self.contents = {}
        self._plain = set()  # ways of streams without a key, which may be the same; none has a key beside it
        self.roots = [self._stream((), 0, True) for _ in range(self._rng.randint(1, 6))]

    def _stream(self, way, depth, has_key=False):
        rng = self._rng
        is_list = depth < 4 and rng.random() < 0.4
        description = rng.choice(TEXTS) if has_key or rng.random() < 0.5 else None
        in_table = is_list or description is not None
        kind = rng.randint(-4, 9) or 10
        while kind == 2 or (*way, kind) in self.contents or (in_table and (*way, kind) in self._plain):
            kind = rng.randint(11, 32767)
        key = (*way, kind)
        items = None
        if is_list:
            items = [rng.choice((None, *TEXTS)) for _ in range(rng.randint(0, 3))]
        if not in_table:
            self._plain.add(key)
        else:
            texts = None if items is None else tuple(each or "" for each in items)
            self.contents[key] = kora.Entry(description or "", texts)
        if is_list:
            parts = [
                (text, self._parts((*way, (kind, index)), depth + 1, 1)) for index, text in enumerate(items)
            ]
        else:
            parts = self._parts(key, depth + 1, 0)
        return ("stream", kind, rng.randint(-32768, 32767), description, is_list, parts)

    def _parts(self, way, depth, fewest):
        return [self._part(way, depth) for _ in range(self._rng.randint(fewest, 3))]

    def _part(self, way, depth):
        rng = self._rng
        choice = rng.random()
        if choice < 0.4 and depth < 5:
            return self._stream(way, depth)
        if choice < 0.5:
            return ("text", rng.choice(TEXTS))
        if choice < 0.6:
            return ("float64", [rng.choice((0.1, -0.0, 1e308, float("inf"))) for _ in range(3)])
        kind = rng.choice(list(RANGES))
        return (
            kind,
            [rng.choice((*RANGES[kind], rng.randint(*RANGES[kind]))) for _ in range(rng.randint(1, 4))],
        )

    def write(self, document):
        for root in self.roots:
            self._write(document, root)

    def _write(self, document, part):
        kind, what = part[:2]
        if kind == "text":
            document.write_text(what)
        elif kind != "stream":
            document.write(kind, what)
        else:
            _, kind, version, description, is_list, parts = part
            if not is_list:
                with document.stream(kind, version, description):
                    for each in parts:
                        self._write(document, each)
                return
            with document.list(kind, len(parts), version, description):
                for text, inside in parts:
                    document.item(text)
                    for each in inside:
                        self._write(document, each)

    def read(self, source, parts):
        """Reads parts as they were written; stops early where the dice say so."""
        for part in parts:
            if part[0] == "text":
                assert source.text() == part[1]
            elif part[0] != "stream":
                assert source.read(part[0], len(part[1])) == part[1]
            else:
                assert source.next_type == part[1]
                with source.enter_next(self._rng.choice((part[1], None))) as stream:
                    self.read_stream(stream, part)
        assert source.bytes_left == 0 and source.next_type is None

    def read_stream(self, stream, part):
        _, kind, version, _, is_list, parts = part
        assert (stream.type, stream.version) == (kind, version)
        if self._rng.random() < 0.1:
            return  # unread; what stands behind it is found all the same
        if not is_list:
            self.read(stream, parts)
            return
        items = stream.items()
        assert len(items) == len(parts)
        order = list(range(len(parts)))
        self._rng.shuffle(order)
        for index in order + order[:1]:
            item = items[index]
            assert (item.index, item.description) == (index, parts[index][0] or "")
            self.read(item, parts[index][1])

    def streams(self):
        """Each stream that has a key, with the key."""

        def walk(parts, way):
            for part in parts:
                if part[0] != "stream":
                    continue
                key = (*way, part[1])
                if key in self.contents and (part[3] is not None or part[4]):
                    yield key, part
                if part[4]:
                    for index, (_, inside) in enumerate(part[5]):
                        yield from walk(inside, (*way, (part[1], index)))
                else:
                    yield from walk(part[5], key)

        return list(walk(self.roots, ()))


@pytest.mark.parametrize("seed", range(40))
def test_random_trees_come_back_from_files_and_memory(seed, tmp_path):
    tree = Tree(seed)
    with kora.Document.create() as made:
        tree.write(made)
    with kora.Document.create(tmp_path / "tree.kora") as document:
        tree.write(document)
    assert (tmp_path / "tree.kora").read_bytes() == made.to_bytes()
    assert kora.check(tmp_path / "tree.kora") == []
    with kora.Document.open(tmp_path / "tree.kora") as document:
        assert dict(document.contents) == tree.contents and len(document.contents) == len(tree.contents)
        streams = tree.streams()
        assert {key for key, _ in streams} == set(tree.contents)
        random.Random(seed).shuffle(streams)
        with contextlib.ExitStack() as opened:  # one inside the other, whatever is open
            for key, part in streams:
                tree.read_stream(opened.enter_context(document.enter(*key)), part)


@pytest.mark.parametrize(
    "kind, values, expected",
    [
        ("uint8", b"\0\xff", [0, 255]),
        ("int16", np.arange(6, dtype="i2")[::-2], [5, 3, 1]),
        ("int16", np.arange(4, dtype=">i2"), [0, 1, 2, 3]),
        ("int32", np.array([[1, 2], [3, 4]]).T, [1, 3, 2, 4]),
        ("uint32", array.array("I", [7, 2**32 - 1]), [7, 2**32 - 1]),
        ("int64", memoryview(array.array("q", [5, -6])), [5, -6]),
        ("int64", np.zeros(3, [("name", "S4"), ("at", "i8")])["at"], [0, 0, 0]),
        ("int64", np.int64(-5), [-5]),
        ("int64", b"\1\2", [1, 2]),
        ("float64", np.float32([0.5, 2]), [0.5, 2.0]),
        ("float64", (each / 2 for each in range(3)), [0, 0.5, 1]),
        ("float64", 3, [3.0]),
        ("uint8", [], []),
        ("uint8", np.array([True, False]), [1, 0]),
    ],
)
def test_numbers_of_any_memory(kind, values, expected):
    with kora.Document.create() as document:
        with document.stream(9, description=""):
            document.write(kind, values)
    with kora.Document.read(document.to_bytes()).enter(9) as stream:
        kept = stream.read(kind, len(expected))
        assert kept == expected and stream.bytes_left == 0


def test_numbers_are_read_into_memory():
    with kora.Document.create() as document:
        with document.stream(9, description=""):
            document.write("float64", range(6))
    with kora.Document.read(document.to_bytes()).enter(9) as stream:
        table = np.full((2, 2), 7.0)
        assert stream.read("float64", out=table) is table and table.tolist() == [[0, 1], [2, 3]]
        for wrong in (np.zeros(4)[::2], np.zeros(2, "f4"), np.broadcast_to(0.0, 1), [0.0], np.zeros(2, "i8")):
            with pytest.raises(TypeError):
                stream.read("float64", out=wrong)
        with pytest.raises(TypeError):
            stream.read("float64", 2, out=table)
        with pytest.raises(kora.FileError):
            stream.read("float64", out=table)
        assert stream.read("float64", out=array.array("d", [9, 9])).tolist() == [4, 5]


NONE = contextlib.nullcontext


@pytest.mark.parametrize(
    "around, wrong, error",
    [
        (NONE, lambda made: made.write("int64", 5), kora.RefusedError),
        (NONE, lambda made: made.write_text("a"), kora.RefusedError),
        (NONE, lambda made: made.item("a"), kora.RefusedError),
        (NONE, lambda made: made.to_bytes(), kora.RefusedError),
        (NONE, lambda made: made.stream(0).__enter__(), ValueError),
        (NONE, lambda made: made.stream(2**32 + 5).__enter__(), ValueError),
        (NONE, lambda made: made.stream(32768).__enter__(), ValueError),
        (NONE, lambda made: made.stream(1.5).__enter__(), TypeError),
        (NONE, lambda made: made.stream(5, 2**15).__enter__(), ValueError),
        (NONE, lambda made: made.stream(5, 1, "a\0b").__enter__(), ValueError),
        (NONE, lambda made: made.list(5, -1).__enter__(), ValueError),
        (NONE, lambda made: made.list(5, 2**32).__enter__(), ValueError),
        (NONE, lambda made: made.stream(1, 1, "again").__enter__(), kora.RefusedError),
        (NONE, lambda made: made.stream(5).__enter__(), kora.RefusedError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.commit(), kora.RefusedError),
        (lambda made: made.stream(9, 1, ""), lambda made: kora.Song().write_to(made), kora.RefusedError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.item(), kora.RefusedError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.write_text("a\0b"), ValueError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.write("int8", 5), ValueError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.write("uint8", [1, 256]), ValueError),
        (
            lambda made: made.stream(9, 1, ""),
            lambda made: made.write("int64", np.uint64([2**63])),
            ValueError,
        ),
        (lambda made: made.stream(9, 1, ""), lambda made: made.write("int64", [0.5]), TypeError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.write("int64", np.float64([1])), TypeError),
        (lambda made: made.stream(9, 1, ""), lambda made: made.write("int64", "12"), TypeError),
    ],
)
def test_what_cannot_be_written_changes_nothing(around, wrong, error):
    def write(refused):
        with kora.Document.create() as made:
            with made.stream(1, description="first"):
                made.write("int16", 5)
            with around(made):
                if refused:
                    with pytest.raises(error):
                        wrong(made)
        return made.to_bytes()

    assert write(True) == write(False)


def test_streams_end_and_are_left_from_the_innermost_outward(takes):
    made = kora.Document.create()
    outer, inner = made.stream(5, 1, "outer"), made.stream(6)
    outer.__enter__(), inner.__enter__()
    with pytest.raises(kora.RefusedError):
        outer.__exit__(None, None, None)
    with pytest.raises(kora.RefusedError):
        made.commit()
    with takes.enter(100) as stream:
        with takes.enter(100) as again:
            second = again.items()[1]
            inside = second.streams() if second.read("int64") else None
            assert next(inside).text() == "voice"  # it is held, and left with what is around it
        first = stream.items()[0]
        inside.close()
        assert first.read("int64") == 0 and first.next_type == 101


def test_an_exception_drops_the_new_document(tmp_path):
    path = tmp_path / "takes.kora"
    path.write_bytes(b"old")
    with pytest.raises(ZeroDivisionError):
        with kora.Document.create(path) as made:
            with made.stream(5, description="half"):
                1 / 0
    assert path.read_bytes() == b"old" and os.listdir(tmp_path) == [path.name] and made.closed
    with pytest.raises(kora.RefusedError):  # half a stream, whatever was caught around it
        with kora.Document.create(path) as made:
            with contextlib.suppress(ZeroDivisionError):
                with made.stream(5, description="half"):
                    1 / 0
    with kora.Document.create(path) as made:
        made.close()
    kora.Document.create(path)  # nobody holds it
    assert path.read_bytes() == b"old" and os.listdir(tmp_path) == [path.name]
    script = (
        f"import kora; made = kora.Document.create({str(path)!r}); s = made.stream(5, 1, ''); s.__enter__()"
    )
    done = subprocess.run([sys.executable, "-X", "dev", "-c", script], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "") and os.listdir(tmp_path) == [path.name]
    with kora.Document.create(path) as made:
        made.commit()
    with pytest.raises(kora.ClosedError):
        made.write_text("late")
    assert len(kora.Document.open(path).contents) == 0


@pytest.fixture
def takes():
    """A list of two takes, each a number and a stream of a text."""
    with kora.Document.create() as made:
        with made.list(100, 2, 3, "takes"):
            for number, name in enumerate(("drums", "voice")):
                made.item(name)
                made.write("int64", number)
                with made.stream(101):
                    made.write_text(name)
    with kora.Document.read(made.to_bytes()) as document:
        yield document


def test_reading_out_of_turn_is_refused(takes):
    with takes.enter(100) as stream:
        first, second = stream.items()[0], stream.items()[-1]
        with pytest.raises(kora.RefusedError):
            first.read("int64")
        for ask in (stream.text, lambda: stream.bytes_left, lambda: stream.next_type):
            with pytest.raises(kora.RefusedError):
                ask()
        first = stream.items()[0]
        assert first.read("int64") == 0 and first.bytes_left > 0
        with first.enter_next() as inside:
            for ask in (first.text, lambda: stream.items()[1], lambda: list(first.streams())):
                with pytest.raises(kora.RefusedError):
                    ask()
            with takes.enter(100) as again:
                assert [take.read("int64") for take in again.items()] == [0, 1]
            assert inside.text() == "drums"
        with pytest.raises(kora.FileError):
            first.read("uint8")  # the next item is not read into
        with pytest.raises(kora.FileError):
            first.text()
        with pytest.raises(kora.RefusedError):
            inside.text()
        for item in stream.items():
            item.read("int64")
            for each in item.streams():
                assert each.text() == item.description
                break
    with pytest.raises(kora.RefusedError):
        stream.items()[0]


@pytest.mark.parametrize(
    "wrong, error",
    [
        (lambda document, item: document.enter(101).__enter__(), KeyError),
        (lambda document, item: document.enter((100, 2), 101).__enter__(), KeyError),
        (lambda document, item: document.enter().__enter__(), ValueError),
        (lambda document, item: document.enter((100, 0)).__enter__(), ValueError),
        (lambda document, item: document.enter(2**32 + 100).__enter__(), ValueError),
        (lambda document, item: document.contents[101], KeyError),
        (lambda document, item: kora.Song.from_document(document), kora.RefusedError),
        (lambda document, item: item.enter_next(102).__enter__(), kora.FileError),
        (lambda document, item: item.read("int64", -1), ValueError),
        (lambda document, item: item.read("int64", 2**62), kora.FileError),
        (lambda document, item: item.read("int8"), ValueError),
        (lambda document, item: kora.Document.read(b"no document"), kora.FileError),
        (lambda document, item: kora.Document.read(5), TypeError),
        (lambda document, item: kora.Document.open("/no/such.kora"), FileNotFoundError),
        (lambda document, item: kora.Document.create("/no/such/folder/takes.kora"), OSError),
        (lambda document, item: kora.check("/no/such.kora"), FileNotFoundError),
        (lambda document, item: kora.repair("/no/such.kora", "/tmp/x"), FileNotFoundError),
    ],
)
def test_wrong_questions_change_nothing(takes, wrong, error):
    with takes.enter(100) as stream:
        items = stream.items()
        with pytest.raises(IndexError):
            items[2]
        item = items[1]
        item.read("int64")
        with pytest.raises(error) as caught:
            wrong(takes, item)
        assert str(caught.value)
        with item.enter_next(101) as inside:
            assert inside.text() == "voice"


def test_a_closed_document_says_so(takes):
    contents = takes.contents
    with takes.enter(100) as stream:
        item = stream.items()[0]
        takes.close()
        for ask in (
            lambda: item.read("int64"),
            item.text,
            lambda: stream.items()[0],
            lambda: contents[100],
            lambda: takes.enter(100).__enter__(),
            lambda: kora.Song.from_document(takes),
        ):
            with pytest.raises(kora.ClosedError, match="the document is closed"):
                ask()
    assert repr(takes) == "<kora.Document, closed>"
    made = kora.Document.create()
    made.close()
    with pytest.raises(kora.ClosedError):
        kora.Song().write_to(made)


def test_songs_stand_beside_other_streams(random_song, tmp_path):
    with kora.Document.create(tmp_path / "both.kora") as made:
        with made.stream(100, description="before"):
            made.write("int64", 1)
        random_song.write_to(made)
        with made.stream(101, description="behind"):
            made.write("int64", 2)
    random_song.save(tmp_path / "song.kora")
    assert random_song.to_bytes() == (tmp_path / "song.kora").read_bytes()
    with kora.Document.open(tmp_path / "both.kora") as document:
        assert 100 in document.contents and (101,) in document.contents
        one = kora.Song.from_document(document)
        with document.enter(101) as behind:
            assert behind.read("int64") == 2
    for song in (one, kora.read(random_song.to_bytes()), kora.open(tmp_path / "both.kora")):
        assert state(song) == state(random_song) and song.info == random_song.info


@pytest.mark.parametrize("seed", range(3))
def test_damage_is_noticed_told_and_repaired(seed, tmp_path, command):
    """Turns bits all over a file: each is told as the command tells it, and repair leaves a whole one."""
    path, whole = tmp_path / "takes.kora", tmp_path / "whole.kora"
    tree = Tree(seed)
    with kora.Document.create(path) as made:
        tree.write(made)
    sound = path.read_bytes()
    rng = random.Random(seed)
    noticed = 0
    for offset in sorted(rng.sample(range(len(sound)), min(60, len(sound)))):
        broken = bytearray(sound)
        broken[offset] ^= 1 << rng.randrange(8)
        path.write_bytes(broken)
        faults = kora.check(path)
        assert [f"byte {fault.offset}: {fault.text}" for fault in faults] == command.faults(path)
        noticed += bool(faults)
        try:
            repaired = kora.repair(path, whole)
        except kora.NotFoundError:  # of a tree with one stream, that one is damaged
            assert len(tree.roots) == 1 and not whole.exists()
            continue
        assert kora.check(whole) == [] and len(repaired.lost) >= bool(faults)
        whole.unlink()
    assert noticed > 50 or noticed == len(sound)


def test_a_text_ends_inside_its_item():
    with kora.Document.create() as made:
        with made.list(5, 3):
            for number, text in ((3, "ab"), (1, "c"), (0, "")):
                made.item()
                made.write("uint32", number)
                made.write("uint8", text.encode())
    with kora.Document.read(made.to_bytes()).enter(5) as stream:
        items = stream.items()
        with pytest.raises(kora.FileError):
            items[0].text()  # of three bytes, in an item with two
        assert [items[index].text() for index in (2, 1)] == ["", "c"]
        with pytest.raises(kora.RefusedError):
            stream.read("uint8")


def test_a_document_goes_when_nobody_holds_it(tmp_path):
    path = tmp_path / "takes.kora"
    with kora.Document.create(path) as made:
        with made.list(100, 2, description="takes"):
            for name in ("drums", "voice"):
                made.item(name)
                made.write("int64", 7)
    gc.collect()
    gc.disable()  # what is in a circle would stay, with its file
    try:
        document = kora.Document.open(path)
        contents = document.contents
        with document.enter(100) as takes:
            for item in takes.items():
                assert item.description and item.read("int64") == 7
            first = takes.items()[0]
            takes.items()[1]
            with pytest.raises(kora.RefusedError):
                first.read("int64")
        gone = weakref.ref(document)
        del document, takes, item, first
        assert contents[100].items == ("drums", "voice"), "which holds the document"
        del contents
        assert gone() is None
    finally:
        gc.enable()
