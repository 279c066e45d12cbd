#!/usr/bin/env python3
"""Holds scripts/abi: what breaks programs fails and is named, what is added is told, what is private says nothing.

Usage: AbiTest.py compiler
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

cRoot = pathlib.Path(__file__).resolve().parents[2]
cHeader = """#pragma once
enum EKind { eBar = 1, eBeat = 2 };
struct Hidden;
struct Line { int mTick; virtual ~Line(); virtual int Draw(EKind iKind); Hidden* mHidden; };
int Count(const Line& iLine);
"""
cSource = """#include "lines.h"
#include <vector>
struct Hidden { int mCount; };
template class std::vector<Hidden*>;
Line::~Line() = default;
int Line::Draw(EKind iKind) { return iKind; }
int Count(const Line& iLine) { return iLine.mHidden->mCount; }
"""

# name: (what is replaced in both files, by what, a piece of what is said, or None where it passes in silence)
cCases = {
    "nothing": ("", "", None),
    "a function goes": ("int Count(", "int CountAll(", "FAILED: the binary interface: int Count(const Line&) is gone, see"),
    "a member more": ("int mTick;", "int mTick; int mEnd;", "FAILED: the binary interface: struct Line changed"),
    "a virtual more": ("virtual int Draw", "virtual int Hit() { return 0; } virtual int Draw", "FAILED: the binary interface: "),
    "an enumerator's value": ("eBeat = 2", "eBeat = 3", "FAILED: the binary interface: enum EKind changed"),
    "a result": ("int Count(", "long Count(", "FAILED: the binary interface: "),
    "an enumerator more": ("eBeat = 2", "eBeat = 2, eSub = 3", None),
    "a private layout": ("int mCount;", "int mTick; int mCount;", None),
    "a standard template goes": ("template class std::vector<Hidden*>;", "", None),
    "a function more": ("int Count(const Line& iLine)", "int Width(int); int Count(const Line& iLine)", None),
    "a function made": ("Line::~Line()", "int Width(int iPixels) { return iPixels; }\nLine::~Line()",
                        "Added to the binary interface: int Width(int)"),
}


class AbiTest(unittest.TestCase):
    def Build(self, folder, name, old, new):
        for file, text in ("lines.h", cHeader), ("lines.cpp", cSource):
            (folder / file).write_text(text.replace(old, new) if old else text, encoding="utf-8")
        library = folder / f"lib{name}.so"
        subprocess.run([cCompiler, "-std=c++20", "-g", "-shared", "-fPIC", folder / "lines.cpp", "-o", library], check=True)
        return library

    def Compare(self, old, new, folder):
        return subprocess.run([cRoot / "scripts/abi", "--between", old, new, folder], capture_output=True, text=True, check=False)

    def test_each_change_is_judged(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            before = self.Build(folder, "Before", "", "")
            for what, (old, new, said) in cCases.items():
                with self.subTest(what):
                    after = self.Build(folder, "After", old, new)
                    result = self.Compare(before, after, folder)
                    last = (result.stdout + result.stderr).splitlines()[-1]
                    self.assertEqual(result.returncode, 1 if said and said.startswith("FAILED") else 0, result.stderr)
                    self.assertIn(said or "comparing", last)

    def test_a_library_that_cannot_be_read_is_no_equal_one(self):
        with tempfile.TemporaryDirectory() as name:
            library = self.Build(pathlib.Path(name), "Before", "", "")
            self.assertEqual(self.Compare(library, library.with_name("missing.so"), name).returncode, 1)


if __name__ == "__main__":
    cCompiler = sys.argv.pop(1)
    unittest.main()
