"""gdb finds the printers of an installed library: GdbInstalledTest.py GDB CMAKE BUILD LIBRARY PROGRAM"""
import pathlib
import shutil
import subprocess
import sys
import tempfile

gdb, cmake, build, library, program = sys.argv[1:]
library = pathlib.Path(library).resolve()
with tempfile.TemporaryDirectory() as made:
    prefix = pathlib.Path(made).resolve()
    subprocess.run([cmake, "--install", build, "--component", "development", "--prefix", prefix], check=True,
                   stdout=subprocess.DEVNULL)
    scripts = list(prefix.rglob(library.name + "-gdb.py"))
    if len(scripts) != 1:
        sys.exit(f"no script for {library.name}, or several: {scripts}")
    if not list(prefix.rglob("kora.natvis")):
        sys.exit("no natvis file")
    # The script's folder below the auto-load folder is the library's own.
    autoload = prefix / "share/gdb/auto-load"
    place = pathlib.Path("/") / scripts[0].parent.relative_to(autoload)
    if prefix not in place.parents:
        sys.exit(f"the script is for a library in {place}, not below {prefix}")
    place.mkdir(parents=True, exist_ok=True)
    shutil.copy(library, place)
    # The program knows the library of the build by its path; the copy is preloaded in its place.
    result = subprocess.run(
        [gdb, "-nx", "-batch", "-iex", f"set auto-load safe-path {prefix}",
         "-iex", f"set auto-load scripts-directory {autoload}", "-ex", "set startup-with-shell off",
         "-ex", f"set environment LD_PRELOAD {place / library.name}", "-ex", "break main", "-ex", "run",
         "-ex", "print gSample", "-ex", "print gPosition", program], capture_output=True, text=True, check=False)
if [line for line in result.stdout.splitlines() if line.startswith("$")] != ["$1 = sample -48000", "$2 = 3|4|480000"]:
    sys.exit(f"shown:\n{result.stdout}{result.stderr}")
