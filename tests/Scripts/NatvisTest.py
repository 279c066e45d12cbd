"""The natvis file is whole, and names classes and fields that the headers have: NatvisTest.py SOURCES NATVIS"""
import pathlib
import re
import sys
import xml.etree.ElementTree

sources, natvis = sys.argv[1:]
headers = [path.read_text(encoding="utf-8") for path in pathlib.Path(sources, "Kora/Time").rglob("*.h")]
cBases = {"Time_Typed": "Time_TypedBase", "Time_TypedLocal": "Time_TypedBase"}
cNamespace = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"
# Beside these a debugger shows what a host looks at most.
cNeeded = {"Time_Sample", "Time_Tick", "Time_Typed", "Time_BarBeatTick", "Time_Meter", "Time_KeySignature", "Time_SMPTE",
           "Time_Range", "Time_RangeSet", "Time_MeterChange", "Time_GridLine"}


def body(name):
    """The body of a class, by its name from the outermost class on; "" where there is none."""
    texts = headers
    for part in name.split("::"):
        shape = re.compile(rf"^( *)(?:class|struct) (?:\S+ )?{part}(?: :[^\n]*)?\n\1{{\n(.*?)^\1}};", re.MULTILINE | re.DOTALL)
        texts = [found[2] for text in texts for found in shape.finditer(text)]
    return "".join(texts)


problems = []
names = []
for shape in xml.etree.ElementTree.parse(natvis).getroot().iter(cNamespace + "Type"):
    name = shape.get("Name")
    names.append(name)
    if not body(name):
        problems.append(f"{name}: no such class")
    fields = body(cBases.get(name, name))
    shown = list(shape.iter(cNamespace + "DisplayString"))
    for part in shown + list(shape.iter(cNamespace + "ExpandedItem")):
        isText = part.tag.endswith("DisplayString")
        pieces = (re.findall(r"\{([^}]*)\}", part.text) if isText else [part.text]) + [part.get("Condition", "")]
        for field in re.findall(r"(?<!\.)\bm[A-Z]\w*", " ".join(pieces)):
            if not re.search(rf"^ +[\w:<>]+ {field}\b( = [^;]*)?;", fields, re.MULTILINE):
                problems.append(f"{name}: no field {field}")
    if not shown or shown[-1].get("Condition"):
        problems.append(f"{name}: values that no condition holds for are shown as nothing")
if len(names) != len(set(names)):
    problems.append("a class is named twice")
problems += [f"{name}: missing" for name in cNeeded - set(names)]
if problems:
    sys.exit("\n".join(problems))
