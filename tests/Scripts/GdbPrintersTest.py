"""gdb shows times as text: GdbPrintersTest.py GDB PRINTERS PROGRAM"""
import subprocess
import sys

cShown = {
    "gSample": "sample -48000",
    "gTick": "tick 1000000000000",
    "gDisplay": "480 display ticks long",
    "gTyped": "25 Frames",
    "gLength": "3 Samples long",
    "gPosition": "3|4|480000",
    "gDotted": "1/8 dotted",
}

gdb, printers, program = sys.argv[1:]
command = [gdb, "-nx", "-batch", "-ex", "source " + printers]
for name in cShown:
    command += ["-ex", f"print {name}"]
result = subprocess.run(command + [program], capture_output=True, text=True, check=False)
wanted = [f"${count} = {text}" for count, text in enumerate(cShown.values(), 1)]
if result.stdout.splitlines() != wanted:
    sys.exit(f"wanted:\n{wanted}\nshown:\n{result.stdout}{result.stderr}")
