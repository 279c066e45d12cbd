"""gdb shows times as text: GdbPrintersTest.py GDB PRINTERS PROGRAM"""
import subprocess
import sys

cOfTheFile = {
    "gSample": "sample -48000",
    "gTick": "tick 1000000000000",
    "gDisplay": "480 display ticks long",
    "gTyped": "25 Frames",
    "gLength": "3 Samples long",
    "gPosition": "3|4|480000",
    "gDotted": "1/8 dotted",
    "gRange": "[-4, 48000) Frames",
    "gLine": "3|1|480 at tick 7680000, between beats",
    "gKeys": "{C major (0 sharps), C# major (7 sharps), Eb major (3 flats), Cb major (7 flats), A minor (0 sharps), "
             "F# minor (3 sharps), Ab minor (7 flats), minor (9 sharps)}",
}
# Arguments of Show, which are references; a vector's elements are there when the program runs.
cOfTheProcess = {
    "iRanges": "[-4, 48000) [50000, 60000) Frames",
    "iTimes": "{" + "7, " * 100 + "2 more} Ticks long",
    "iChange": "2| 6/8 click 1/4 at tick 1000000000005, off the barline",
}

gdb, printers, program = sys.argv[1:]
command = [gdb, "-nx", "-batch", "-iex", "set startup-with-shell off", "-ex", "source " + printers]
command += [part for name in cOfTheFile for part in ("-ex", f"print {name}")]
command += ["-ex", "break Show", "-ex", "run"]
command += [part for name in cOfTheProcess for part in ("-ex", f"print {name}")]
result = subprocess.run(command + ["-ex", "kill", program], capture_output=True, text=True, check=False)
# What a reference is bound to shows as its type, its address and the value.
shown = [line.split(" = ", 1)[1].rsplit("0x", 1)[-1].split(": ", 1)[-1] for line in result.stdout.splitlines()
         if line.startswith("$")]
wanted = list(cOfTheFile.values()) + list(cOfTheProcess.values())
if shown != wanted:
    sys.exit(f"wanted:\n{wanted}\nshown:\n{result.stdout}{result.stderr}")
