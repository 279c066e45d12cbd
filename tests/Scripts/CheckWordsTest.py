"""Plants one dead name at a time in a small house and sees scripts/check-words find it there, and only it."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

cChecker = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-words"

cHouse = {
    "Kora/Time/Time_Tick.cpp": "// Deliberate: rounds down,\n// always. Test: Tick.RoundsDown\nint tick; // Deliberate: 0. Test: RoundsDown\n",
    "tests/Time/TickTest.cpp": "TEST_F(Tick, RoundsDown)\n",
    "README.md": "# House\n[time](docs/time.md#ticks), `Kora/Time`, `Kora/{Time,*}/Time_….cpp`, `build/dev/bin`, `a/b`, https://x.y/z\n"
                 "```\nset([](const char* iText) {}); // Kora/Time/Time_Tick.cpp\n```\n",
    "docs/time.md": "`scripts/test linux` and [back](../README.md)\n",
    "scripts/test": "",
}

# name: (file, what is planted at its end, a piece of the finding)
cCases = {
    "an oddity without a test": ("Kora/Time/Time_Tick.cpp", "// Deliberate: odd.\n\n// Test: RoundsDown", "without the test"),
    "a test that changed its name": ("Kora/Time/Time_Tick.cpp", "// Deliberate: odd. Test: RoundsUp", "no test is called RoundsUp"),
    "a test of another suite": ("Kora/Time/Time_Tick.cpp", "// Deliberate: odd. Test: Tock.RoundsDown", "no test is called Tock.RoundsDown"),
    "a link to nothing": ("docs/time.md", "[format](format.md)", "leads to format.md"),
    "a folder that went": ("README.md", "`Kora/Cmn`", "names Kora/Cmn"),
    "one of two that went": ("README.md", "`Kora/{Time,Cmn}`", "names Kora/Cmn"),
    "a command that went": ("docs/time.md", "```\nscripts/run fast\n```", "names scripts/run"),
}


class CheckWordsTest(unittest.TestCase):
    def Check(self, file="README.md", planted=""):
        with tempfile.TemporaryDirectory() as folder:
            for path, text in cHouse.items():
                target = pathlib.Path(folder, path)
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_text(text + (planted + "\n" if path == file else ""), encoding="utf-8")
            return subprocess.run([sys.executable, cChecker, folder], capture_output=True, text=True, check=False)

    def test_each_dead_name_is_found_alone(self):
        sound = self.Check()
        self.assertEqual((sound.stdout, sound.returncode), ("0 findings\n", 0))
        for name, (file, planted, finding) in cCases.items():
            with self.subTest(name):
                result = self.Check(file, planted)
                self.assertEqual((len(result.stdout.splitlines()), result.returncode), (2, 1), result.stdout)
                self.assertIn(finding, result.stdout)


if __name__ == "__main__":
    unittest.main()
