#!/usr/bin/env python3
"""What the command shows on a terminal, and nowhere else: colours, and a line for work that takes long.

Usage: TerminalTest.py KORA SONG DOCUMENT
"""
import os
import pty
import subprocess
import sys

kora, song, document = sys.argv[1:]
faults = []


def Start(arguments, terminals, **more):
    """The command with a terminal as the streams of those names, and pipes as the others."""
    leader, follower = pty.openpty()
    environment = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
    environment.update({"TERM": "xterm", **more})
    streams = {name: follower if name in terminals else subprocess.PIPE for name in ["stdin", "stdout", "stderr"]}
    process = subprocess.Popen([kora, *arguments], env=environment, **streams)
    os.close(follower)
    return process, leader


def ReadTerminal(leader, until=None):
    """All that comes, or up to what is waited for."""
    text = b""
    while until is None or until not in text:
        try:
            block = os.read(leader, 4096)
        except OSError:  # the other end is closed
            block = b""
        if not block:
            break
        text += block
    return text.decode()


def Show(arguments, terminals, **more):
    process, leader = Start(arguments, terminals, **more)
    out, err = process.communicate(timeout=60) if "stdout" not in terminals else ("", "")
    shown = ReadTerminal(leader)
    process.wait(timeout=60)
    return shown, ((out or b"") + (err or b"")).decode()


cWrong = ["song"]
cRows = [
    # what the row shows                       arguments                     terminals      environment       colours
    ("an error on a terminal",                 cWrong,                       ["stderr"],    {},               True),
    ("an error on a terminal, without",        cWrong,                       ["stderr"],    {"NO_COLOR": "1"}, False),
    ("an empty NO_COLOR is none",              cWrong,                       ["stderr"],    {"NO_COLOR": ""}, True),
    ("a terminal that knows no sequences",     cWrong,                       ["stderr"],    {"TERM": "dumb"}, False),
    ("an error in a pipe, output seen",        cWrong,                       ["stdout"],    {},               False),
    ("a song's table",                         ["song", song],               ["stdout"],    {},               True),
    ("a song's table in a pipe, errors seen",  ["song", song],               ["stderr"],    {},               False),
    ("a document's table",                     ["info", document],           ["stdout"],    {},               True),
    ("an edit's table",                        ["edit", song, "--dry-run", "--tempo", "2|1", "90"], ["stdout"], {}, True),
    ("help",                                   ["help", "song"],             ["stdout"],    {},               True),
    ("JSON",                                   ["song", song, "--json"],     ["stdout"],    {},               False),
    ("a picture",                              ["plot", song],               ["stdout"],    {},               False),
    ("a manual page",                          ["man"],                      ["stdout"],    {},               False),
]
for name, arguments, terminals, environment, has_colours in cRows:
    shown, piped = Show(arguments, terminals, **environment)
    if ("\x1b[" in shown) != has_colours or "\x1b[" in piped:
        faults.append(f"{name}: {shown!r} and {piped!r}")
    plain, _ = Show(arguments, terminals, **{**environment, "NO_COLOR": "1"})
    if shown.replace("\x1b[1;31m", "").replace("\x1b[1m", "").replace("\x1b[0m", "") != plain:
        faults.append(f"{name}: the words are others without colours")

# Work that waits for a pipe: the line comes, follows, and is gone before the end; what it answers is as ever.
cConvert = ["convert", "-", "--from", "samples", "--to", "samples"]
process, leader = Start(cConvert, ["stderr"])
process.stdin.write(b"1\n2\n")
process.stdin.flush()
seen = ReadTerminal(leader, b"converting, 2 lines")
process.stdin.write(b"3\nx\n")
process.stdin.close()
seen += ReadTerminal(leader)
before, _, after = seen.replace("\r\n", "\n").rpartition("\r")
if not before.startswith("\rconverting, 2 lines") or not after.startswith("\x1b[1;31mkora:\x1b[0m standard input: line 4"):
    faults.append(f"a line for long work: {seen!r}")
if before.rpartition("\r")[2].strip():
    faults.append(f"a line that is not removed: {seen!r}")
if process.stdout.read() != b"1\n2\n3\n" or process.wait(timeout=60) != 1:
    faults.append("answers beside a line for long work are others")

print("\n".join(faults) or "terminals show what they should, pipes nothing more")
sys.exit(1 if faults else 0)
