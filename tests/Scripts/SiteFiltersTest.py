"""What Doxygen gets of headers and pages (docs/site), line by line."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

cRoot = pathlib.Path(__file__).resolve().parents[2]

cHeader = """\
// Time_Thing: one thing of time. It has
// a <second> sentence.
//
//     1|1  a drawing
//
// Units:   ticks, which
//          go on.
#pragma once

// Floats above nothing.

class KORA_API Time_Thing
{
public:
    // Adds 100% of "<it>".
    void Add(int iTick);
    void Add(double iTick);
    void Remove(); // takes it out

    // --- Edits

    void Edit() { // inside a body
        // stays a comment
    }
    enum EKind { eA, eB = 2 };

private:
    struct Hidden
    {
        int mSecret;
    };
    int mTick = 0; // of it
};

template <>
struct std::hash<Time_Thing>
{
    int operator()(const Time_Thing&) const;
};
// About the body.
inline void Time_Thing::Remove() {}
"""

cCHeader = """\
/* Thing.h: a thing, for C.
 * Threads: any.
 */
#pragma once

/* ---- Things ---- */

/* Makes 100% of <it>,
 * with a & b. */
int make(void);
enum { A = 1 }; /* of it, and more */
/* Floats above nothing. */

"""
cCExpected = """\
/* Thing.h: a thing, for C.
 * Threads: any.
 */
#pragma once

/* ---- Things ---- */

/** Makes 100\\% of \\<it\\>,
 * with a \\& b. */
int make(void);
enum { A = 1 }; /**< of it, and more */
/* Floats above nothing. */

"""

# what the row shows: a line of the header (from 1), and what becomes of it
cLines = {
    "the opening block stays a comment": (1, "// Time_Thing: one thing of time. It has"),
    "a comment above nothing does too": (10, "// Floats above nothing."),
    "a comment above a declaration documents it": (15, "    /// Adds 100\\% of \"<it>\"."),
    "the first of two overloads": (16, "    void Add(int iTick);"),
    "the second shares the comment": (17, "/** Adds 100\\% of \"<it>\". */     void Add(double iTick);"),
    "a comment behind a declaration documents it": (18, "    void Remove(); ///< takes it out"),
    "a section opens a group": (20, "/** \\name Edits */ /** \\{ */"),
    "a body is left alone": (23, "        // stays a comment"),
    "enumerators get a text": (25, "    enum EKind { eA, /**< &#160; */ eB = 2 /**< value 2 */ };"),
    "the group ends with the public part": (27, "/** \\} */ private:"),
    "a body below its class keeps its comment": (40, "// About the body."),
    "a private type goes": (30, ""),
    "what is specialised in std goes": (36, ""),
}

cPage = """\
# The page
## Two words
[a page](threads.md#listeners), [a place](#two-words), [a program](../examples/undo.cpp), [outside](https://x.y)
`[no](link.md)`
```
# no heading
[no](threads.md)
```
![a "picture"](pictures/menus.png)
"""
cExpectedPage = """\
# The page {#threads}
## Two words {#threads-two-words}
[a page](@ref threads-listeners), [a place](@ref threads-two-words), a program, [outside](https://x.y)
`[no](link.md)`
```
# no heading
[no](threads.md)
```
<img class="picture" src="menus.png" alt="a &quot;picture&quot;"/>
"""


def Filtered(name, path):
    return subprocess.run([sys.executable, cRoot / "docs" / "site" / name, path], capture_output=True, text=True, check=True,
                          cwd=cRoot).stdout


class SiteFiltersTest(unittest.TestCase):
    def test_a_header_keeps_its_lines(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "Time_Thing.h")
            path.write_text(cHeader, encoding="utf-8")
            lines = Filtered("filter-headers", path).split("\n")
        for name, (number, expected) in cLines.items():
            with self.subTest(name):
                self.assertEqual(lines[number - 1], expected)
        behind = "\n".join(lines[len(cHeader.split("\n")) - 1:])
        about = "\\brief One thing of time.\n\nIt has\na \\<second\\> sentence.\n\n\n~~~{.unparsed}\n    1|1  a drawing\n~~~\n\n\n" \
                "\\par Units\nTicks, which\ngo on.\n*/"
        self.assertEqual(behind.strip(), f"/** \\file\n{about}\n/** \\class Time_Thing\n{about}")

    def test_a_header_for_c_keeps_its_lines_too(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "Thing.h")
            path.write_text(cCHeader, encoding="utf-8")
            filtered = Filtered("filter-headers", path)
        self.assertEqual(filtered, cCExpected + "\n/** \\file Thing.h\n\\brief A thing, for C.\n\n\n\\par Threads\nAny.\n*/\n")

    def test_a_page_gets_names_and_references(self):
        with tempfile.TemporaryDirectory() as folder:
            # The filter knows pages by their place in the tree.
            house = pathlib.Path(folder)
            for path, text in {"docs/threads.md": cPage, "docs/site/filter-pages": "", "examples/undo.cpp": ""}.items():
                (house / path).parent.mkdir(parents=True, exist_ok=True)
                (house / path).write_text(text, encoding="utf-8")
            script = cRoot / "docs" / "site" / "filter-pages"
            (house / "docs" / "site" / "filter-pages").write_bytes(script.read_bytes())
            result = subprocess.run([sys.executable, house / "docs" / "site" / "filter-pages", house / "docs" / "threads.md"],
                                    capture_output=True, text=True, check=True, cwd=house)
        self.assertEqual(result.stdout.rstrip("\n"), cExpectedPage.rstrip("\n"))


if __name__ == "__main__":
    unittest.main()
