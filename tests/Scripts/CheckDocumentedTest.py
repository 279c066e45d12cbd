"""Shows scripts/check-documented one member at a time and sees which of them it wants a sentence for."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

cChecker = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-documented"

# what the row shows: (kind, name, arguments, what else is in the element, whether it needs a sentence)
cCases = {
    "a function": ("function", "Restore", "()", "", True),
    "a function with one": ("function", "Restore", "()", "<briefdescription><para>Back.</para></briefdescription>", False),
    "an accessor": ("function", "GetName", "() const", "", False),
    "one with a parameter is a question": ("function", "GetName", "(int iIndex) const", "", True),
    "a setter without a getter": ("function", "SetLimit", "(int iLimit)", "", True),
    "a setter beside its getter": ("function", "SetID", "(int iID)", "", False),
    "an override": ("function", "Restore", "()", "<reimplements>Restore</reimplements>", False),
    "what is deleted": ("function", "Restore", "()=delete", "", False),
    "a copy": ("function", "History", "(const History &)", "", False),
    "a constructor of something": ("function", "History", "(const Manager &iManager)", "", True),
    "a destructor": ("function", "~History", "()", "", False),
    "a comparison": ("function", "operator==", "(const History &) const", "", False),
    "a container's name": ("function", "begin", "() const", "", False),
    "a constant": ("variable", "cLimit", "", "", True),
    "data": ("variable", "mLimit", "", "", False),
    "one of a section that speaks for each": ("function", "Restore", "()", "section: <para>Each goes back.</para>", False),
    "one of any other section": ("function", "Restore", "()", "section: <para>Going back.</para>", True),
    "a private function": ("function", "Restore", "()", "private", False),
}


def Compound(folder, kind, name, arguments, extra):
    isPrivate = extra == "private"
    section = extra.removeprefix("section: ") if extra.startswith("section: ") else ""
    extra = "" if section else extra
    return f"""<doxygen><compounddef kind="class"><compoundname>History</compoundname><sectiondef>
<memberdef kind="function" id="get" prot="public"><name>GetID</name><argsstring>() const</argsstring>
<location file="{folder}/History.h" line="2"/></memberdef></sectiondef><sectiondef><description>{section}</description>
<memberdef kind="{kind}" id="one" prot="{'private' if isPrivate else 'public'}"><name>{name}</name>
<argsstring>{arguments.replace('&', '&amp;')}</argsstring>{'' if isPrivate else extra}
<location file="{folder}/History.h" line="7"/></memberdef></sectiondef></compounddef></doxygen>"""


class CheckDocumentedTest(unittest.TestCase):
    def Check(self, folder, case, *options):
        with tempfile.TemporaryDirectory() as path:
            pathlib.Path(path, "class.xml").write_text(Compound(folder, *case), encoding="utf-8")
            return subprocess.run([sys.executable, cChecker, *options, path], capture_output=True, text=True, check=False)

    def test_what_needs_a_sentence(self):
        for name, (*case, isNeeded) in cCases.items():
            with self.subTest(name):
                result = self.Check("Kora/Ndo", case)
                self.assertEqual(result.returncode, 1 if isNeeded else 0, result.stdout)
                self.assertEqual(f"Kora/Ndo/History.h:7: {case[1]} needs a sentence" in result.stdout, isNeeded)

    def test_other_folders_are_listed_and_do_not_fail(self):
        result = self.Check("Kora/New", cCases["a function"][:4], "--all")
        self.assertEqual(result.returncode, 0)
        self.assertIn("Kora/New/History.h:7: Restore has none yet", result.stdout)
        self.assertIn("Kora/New: 1 without\n", result.stdout)


if __name__ == "__main__":
    unittest.main()
