"""What the pages show is what comes out."""
import doctest
import re
import shutil
import subprocess
import sys

import pytest

import kora
from conftest import ROOT


def test_the_guide_runs_as_it_stands(tmp_path, monkeypatch):
    (tmp_path / "examples").mkdir()
    shutil.copytree(ROOT / "examples" / "songs", tmp_path / "examples" / "songs")
    monkeypatch.chdir(tmp_path)
    text = (ROOT / "docs" / "python.md").read_text()
    page = doctest.DocTestParser().get_doctest(text, {}, "python.md", "docs/python.md", 0)
    result = doctest.DocTestRunner().run(page)
    assert result.attempted > 25 and result.failed == 0


def test_the_performance_is_followed_as_its_page_says(tmp_path):
    examples = ROOT / "python" / "examples"
    done = subprocess.run(
        [
            sys.executable,
            str(examples / "follow_a_performance.py"),
            str(examples / "performance.txt"),
            str(tmp_path),
        ],
        capture_output=True,
        text=True,
    )
    assert done.stdout == (examples / "follow_a_performance.expected.txt").read_text(), done.stderr
    assert (tmp_path / "followed.svg").read_text() == (
        ROOT / "docs" / "pictures" / "followed.svg"
    ).read_text()
    wav = (tmp_path / "followed.wav").stat().st_size
    with kora.open(tmp_path / "followed.kora", 48000) as song:
        assert wav == 44 + 2 * (song.convert("9|1", "samples").count + 24000)


def test_the_guides_picture_is_the_songs(light):
    picture = ROOT / "docs" / "pictures" / "first-light-python.svg"
    assert picture.read_text() == light.plot("First light").svg


@pytest.mark.parametrize("page", ["docs/python.md", "docs/follow-a-performance.md", "python/README.md"])
def test_pages_name_only_what_there_is(page):
    for name in set(re.findall(r"\bkora\.([A-Za-z]\w*)", (ROOT / page).read_text())):
        assert hasattr(kora, name) or name in ("deb", "mid", "svg"), name


def test_the_package_has_the_librarys_version():
    header = (ROOT / "Kora" / "Kora_Version.h").read_text()
    assert f'#define KORA_VERSION_TEXT "{kora.__version__}"' in header
