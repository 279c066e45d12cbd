#!/usr/bin/env python3
"""What the shells complete with kora's scripts, asked of the shells themselves, and what manual readers say of its pages.

Usage: CompletionTest.py KORA WORK

A shell or a reader that is not installed is left out by name; bash is always there.
"""
import os
import pty
import re
import shutil
import subprocess
import sys

kora, work = os.path.abspath(sys.argv[1]), sys.argv[2]
shutil.rmtree(work, ignore_errors=True)
os.makedirs(work)
os.chdir(work)

cRows = [
    # what is typed                           what it becomes
    ("so", "song"),
    ("song --ti", "--timecode"),
    ("song --timecode 29.97d", "29.97drop"),
    ("song --timecode=29.97d", "--timecode=29.97drop"),
    ("convert - --from sa", "samples"),
    ("convert - --to samples,tim", "samples,timecode"),
    ("edit a.mid --curve li", "linear"),
    ("edit a.mid --as k", "kora"),
    ("completions f", "fish"),
    ("help conv", "convert"),
    ("plot tun", "tune.mid"),
    ("plot tune.mid -o pic", "picture.svg"),
    ("song --rate ", ""),
]
for name in ["tune.mid", "picture.svg"]:
    open(name, "w").close()


def Call(*arguments, **more):
    return subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60, **more).stdout


def Bash(line):
    words = ["kora", *re.split(" |(?<=.)(?==)|(?<==)", line)]  # at "=" too, as bash does
    script = 'source bash.sh; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kora; printf "%s\\n" "${COMPREPLY[@]}"'
    return Call("bash", "--norc", "-c", script, "bash", *words).split()


def Fish(line):
    out = Call("fish", "--no-config", "-c", "source fish.sh; complete -C 'kora %s'" % line)
    return [each.split("\t")[0] for each in out.splitlines()]


def Zsh(lines):
    """A shell on a terminal: kora is a function that prints what the tab key made of the line."""
    opening = "PS1='' PROMPT_EOL_MARK='' LISTMAX=1000; autoload -Uz compinit && compinit -D -u; source zsh.sh; " \
              "kora() { print -r -- \"<$argv[-1]>\" }\n"
    leader, follower = pty.openpty()
    shell = subprocess.Popen(["zsh", "-f", "-i"], stdin=follower, stdout=follower, stderr=follower, start_new_session=True,
                             env={**os.environ, "TERM": "dumb"})
    os.close(follower)
    results, text = [], b""
    try:
        for typed in [opening, *[f"kora {line}\t\n" for line in lines], "exit\n"]:
            os.write(leader, typed.encode())
            if typed.startswith("kora"):
                while len(found := re.findall(rb"<([^<>$]*)>", text)) < 1:
                    text += os.read(leader, 4096)
                results.append(found[0].decode())
                text = b""
    finally:
        shell.kill()
        shell.wait()
    return [[result] for result in results]


faults, left_out = [], []
for shell in ["bash", "zsh", "fish"]:
    with open(f"{shell}.sh", "w", encoding="utf-8") as file:
        file.write(Call(kora, "completions", shell))
    if not shutil.which(shell):
        left_out.append(shell)
        continue
    faults += [f"{shell}: {line}" for line in Call(shell, "-n", f"{shell}.sh").splitlines()]
    # zsh takes the line as it is where nothing fits, and fish offers files there.
    rows = [row for row in cRows if row[1] or shell == "bash"]
    asked = Zsh([line for line, _ in rows]) if shell == "zsh" else [(Bash if shell == "bash" else Fish)(line) for line, _ in rows]
    for (line, expected), got in zip(rows, asked):
        if shell == "bash":
            expected = expected.rpartition("=")[2]
        if got != expected.split():
            faults.append(f"{shell}: kora {line}: {got}, expected {expected}")

if shutil.which("shellcheck"):
    faults += Call("shellcheck", "-s", "bash", "bash.sh").splitlines()

# Each option that is offered is one that the command takes.
for command in Bash(""):
    for option in Bash(f"{command} -") if not command.startswith("-") else []:
        if "is no option" in Call(kora, command, option):
            faults.append(f"kora {command} {option} is offered and not taken")

os.mkdir("man")
Call(kora, "man", "--into", "man")
for page in sorted(os.listdir("man")):
    for reader in [["mandoc", "-Tlint"], ["groff", "-man", "-Tutf8", "-ww", "-z"]]:
        if shutil.which(reader[0]):
            faults += [f"{page}: {line}" for line in Call(*reader, os.path.join("man", page)).splitlines()]
        elif reader[0] not in left_out:
            left_out.append(reader[0])
print("\n".join(faults) or "all is completed as expected" + (f", without {', '.join(left_out)}" if left_out else ""))
sys.exit(1 if faults else 0)
