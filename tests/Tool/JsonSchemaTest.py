#!/usr/bin/env python3
"""What the command writes as JSON is what docs/json says, and what it says is tight.

Usage: JsonSchemaTest.py KORA SCHEMAS SONG DOCUMENT WORK

Exits with 77 where the module jsonschema is missing.
"""
import copy
import json
import os
import subprocess
import sys

try:
    from jsonschema import Draft202012Validator, RefResolver
except ImportError:
    print("skipped: no Python module jsonschema, expected the package python3-jsonschema")
    sys.exit(77)

kora, schema_folder, song, document, work = sys.argv[1:]
os.makedirs(work, exist_ok=True)
os.chdir(work)

cEdits = [
    [], ["--tempo", "5|1|0", "90"], ["--ramp", "2|1", "4|1", "120", "60", "--curve", "s", "--steps", "3"],
    ["--insert", "3|1", "2bars"], ["--delete", "3|1", "5|1"], ["--move", "3|1", "4|1", "7|1"], ["--repeat", "3|1", "4|1", "2"],
    ["--meter", "3|1", "7/8", "--key", "4|1", "C#m", "--scale", "120"],
]


def Run(*arguments, stream="stdout"):
    done = subprocess.run([kora, *arguments], capture_output=True, timeout=60)
    if done.returncode != 0:
        sys.exit(f"kora {' '.join(arguments)}: {done.stderr.decode()}")
    return json.loads(getattr(done, stream)) if stream else None


def Outputs():
    """(schema, what was run, its JSON)"""
    masked, unkeyed = "masked.kora", "unkeyed.kora"
    Run("save", song, masked, "--scramble", "4", "--rate", "47952.047952", "--timecode", "59.94drop", stream=None)
    with open(document, "rb") as whole, open("cut.kora", "wb") as cut:
        cut.write(whole.read()[:-100])
    Run("repair", "cut.kora", unkeyed, stream=None)
    for file in [song, document, masked]:
        for options in [[], ["--rate", "1000", "--timecode", "23.976"], ["--timecode", "29.97drop"]]:
            yield "song", [file, *options], Run("song", "--json", file, *options)
        for edit in cEdits:
            yield "edit", [file, *edit], Run("edit", file, "--dry-run", "--json", *edit)
    yield "edit", ["-o", "-"], Run("edit", song, "-o", "-", "--json", *cEdits[3], stream="stderr")
    yield "edit", ["-o", "out.mid"], Run("edit", song, "-o", "out.mid", "--json", *cEdits[4])
    for file in [document, masked, unkeyed]:
        yield "info", [file], Run("info", "--json", file)


def Objects(value, path=()):
    """Every object in a value, by the way that leads to it."""
    if isinstance(value, dict):
        yield path
    for key, inner in value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else []:
        yield from Objects(inner, (*path, key))


def Changed(value, path, change):
    value = copy.deepcopy(value)
    inner = value
    for key in path:
        inner = inner[key]
    change(inner)
    return value


cOptional = {"curve", "steps", "tolerance", "events"}  # an edit's operations have them where they apply

schemas = {}
for name in sorted(each for each in os.listdir(schema_folder) if each.endswith(".schema.json")):
    with open(os.path.join(schema_folder, name), encoding="utf-8") as file:
        schemas[name] = json.load(file)
    Draft202012Validator.check_schema(schemas[name])
faults, kinds, tried = [], set(), set()
for kind, what, output in Outputs():
    name = f"{kind}.schema.json"
    kinds.add(name)
    validator = Draft202012Validator(schemas[name], resolver=RefResolver(name, schemas[name], store=schemas))
    faults += [f"{kind} {what}: {list(error.absolute_path)}: {error.message}" for error in validator.iter_errors(output)]
    # Names that come or go must not pass unnoticed: once for each kind of object.
    for path in Objects(output):
        inner = output
        for key in path:
            inner = inner[key]
        shape = (kind, *[key for key in path if isinstance(key, str)], *inner)
        if shape in tried:
            continue
        tried.add(shape)
        if validator.is_valid(Changed(output, path, lambda o: o.update(unknown=1))):
            faults.append(f"{kind} {what}: an unknown name passes in {path}")
        for key in set(inner) - cOptional:
            if validator.is_valid(Changed(output, path, lambda o, key=key: o.pop(key))):
                faults.append(f"{kind} {what}: \"{key}\" may be missing from {path}")
if kinds != set(schemas):
    faults.append(f"no output for {set(schemas) - kinds}")
print("\n".join(faults) or f"{len(tried)} kinds of objects are as the schemas say")
sys.exit(1 if faults else 0)
