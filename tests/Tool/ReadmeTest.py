#!/usr/bin/env python3
"""Runs each command line that the README shows with what it prints, in order, and compares.

Usage: ReadmeTest.py KORA SOURCES WORK

A line of "…" stands for any lines.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

kora, sources, work = map(pathlib.Path, sys.argv[1:])
shutil.rmtree(work, ignore_errors=True)
shutil.copytree(sources / "examples/songs", work / "examples/songs")
environment = {**os.environ, "LC_ALL": "C.UTF-8", "PATH": f"{kora.parent.resolve()}{os.pathsep}{os.environ['PATH']}"}
blocks = re.findall(r"^```\n(\$ .*?)^```$", (sources / "README.md").read_text(encoding="utf-8"), re.M | re.S)
shown = [run.split("\n", 1) for block in blocks for run in re.split(r"^\$ ", block, flags=re.M) if run]
faults = 0
for command, expected in shown:
    result = subprocess.run(["bash", "-c", command], cwd=work, env=environment, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, encoding="utf-8")
    pattern = "".join(r"(?:.*\n)*" if line.strip() == "…" else re.escape(line) + "\n" for line in expected.splitlines())
    if result.returncode not in (0, 1) or not re.fullmatch(pattern, result.stdout):
        faults += 1
        print(f"$ {command}\nprints, with exit code {result.returncode},\n{result.stdout}where the README has\n{expected}")
print(f"{len(shown)} command lines, {faults} of them with other outputs")
sys.exit(1 if faults or len(shown) < 5 else 0)
