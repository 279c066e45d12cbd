"""Plants one dead link at a time in a small site and sees scripts/check-links find it there, and only it."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

cChecker = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-links"

cSite = {
    "index.html": '<h1 id="start">Start</h1><a href="guide/ruler.html#draw">x</a><a href="#start">x</a><a href="#">x</a>'
                  '<a href="https://x.y/z#w">x</a><a href="javascript:go()">x</a><img src="a%20b.svg" alt="a picture"/>',
    "guide/ruler.html": '<a name="draw"></a><a href="../index.html">x</a><link href="../site.css"/>',
    "a b.svg": "<svg/>",
    "site.css": "a { background: url('a b.svg') } b { background: url(data:image/png;base64,AA) }",
    "menu.js": 'var menu = ["index.html", "guide/ruler.html#draw"];',
    "navtreeindex0.js": '"pages.html":[]',
    "navtreedata.js": 'var tree = ["index.html"];\nvar NAVTREEINDEX =\n[\n"index.html",\n"pages.html"\n];',
}

# name: (file, what is planted at its end, a piece of the finding)
cCases = {
    "a page that went": ("guide/ruler.html", '<a href="../undo.html">x</a>', "guide/ruler.html:1: leads to ../undo.html, which is not there"),
    "a place that went": ("index.html", '<a href="guide/ruler.html#zoom">x</a>', "no such place"),
    "a place of its own that went": ("index.html", '<a href="#end">x</a>', "leads to #end"),
    "a picture that went": ("index.html", '<img src="c.svg" alt="c"/>', "leads to c.svg"),
    "a picture without a text": ("index.html", '<img src="a%20b.svg"/>', "without a text"),
    "a file of one machine": ("index.html", '<a href="file:///home/me/x.html">x</a>', "one machine"),
    "a page that a menu leads to": ("menu.js", 'var more = ["undo.html"];', "menu.js:2: leads to undo.html"),
    "a picture of a style sheet": ("site.css", "c { background: url(c.svg) }", "site.css:2: leads to c.svg"),
}


class CheckLinksTest(unittest.TestCase):
    def Check(self, file="", planted=""):
        with tempfile.TemporaryDirectory() as folder:
            for path, text in cSite.items():
                target = pathlib.Path(folder, path)
                target.parent.mkdir(parents=True, exist_ok=True)
                separator = "" if path.endswith(".html") else "\n"
                target.write_text(text + (separator + planted if path == file else ""), encoding="utf-8")
            return subprocess.run([sys.executable, cChecker, folder], capture_output=True, text=True, check=False)

    def test_each_dead_link_is_found_alone(self):
        sound = self.Check()
        self.assertEqual((sound.stdout, sound.returncode), ("3 pages, 10 links, 0 findings\n", 0))
        for name, (file, planted, finding) in cCases.items():
            with self.subTest(name):
                result = self.Check(file, planted)
                self.assertEqual((len(result.stdout.splitlines()), result.returncode), (2, 1), result.stdout)
                self.assertIn(finding, result.stdout)

    def test_an_empty_site_is_none(self):
        with tempfile.TemporaryDirectory() as folder:
            result = subprocess.run([sys.executable, cChecker, folder], capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 1)


if __name__ == "__main__":
    unittest.main()
