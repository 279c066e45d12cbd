"""gdb printers for Kora's times: positions, lengths, bar positions, meters and timecode.

    (gdb) source scripts/gdb/kora_printers.py
    (gdb) print at
    $1 = 3|4|480000
    (gdb) print start
    $2 = 48000 Samples

They read fields only and run no code of the program, so they work on core files too.
"""

import gdb
import gdb.printing

UNITS = ("Samples", "Ticks", "Frames")
NOTES = ("", "1/1", "1/2", "1/4", "1/8", "1/16", "1/32", "1/64")
# Indexed by ETimeCodeFormat; format 0 is shown as "global".
FORMATS = ("global", "24", "25", "29.97", "29.97 OMF", "29.97 drop", "29.97 drop OMF", "30", "30 drop",
           "23.976", "50", "59.94", "59.94 drop", "60", "60 drop")
DROP_FORMATS = (5, 8, 12, 14)


def _name(names, number):
    return names[number] if 0 <= number < len(names) else str(number)


def _ticks(value):
    return "%d%s" % (int(value["mLength"]), " display" if int(value["mTickType"]) == 1 else "")


def _typed(value):
    return "%d %s" % (int(value["mCount"]), _name(UNITS, int(value["mType"])))


def _note(value):
    text = _name(NOTES, int(value["mDuration"]))
    if value["mDotted"]:
        text += " dotted"
    if value["mTuplet"]:
        text += " %d:%d" % (int(value["mTupletCount"]), int(value["mTupletTime"]))
    return text


def _smpte(value):
    form = int(value["mFormat"])
    text = "%02d:%02d:%02d%s%02d" % (int(value["mHours"]), int(value["mMinutes"]), int(value["mSeconds"]),
                                     ";" if form in DROP_FORMATS else ":", int(value["mFrames"]))
    rest = float(value["mSubSamples"])
    return text + (" + %r samples" % rest if rest else "") + " [%s]" % _name(FORMATS, form)


SHAPES = {
    "Time_Sample": lambda v: "sample %d" % int(v["mSamples"]),
    "Time_SampleLength": lambda v: "%d samples long" % int(v["mSamples"]),
    "Time_Tick": lambda v: "tick %d" % int(v["mTicks"]),
    "Time_TickLength": lambda v: _ticks(v) + " ticks long",
    "Time_Typed": _typed,
    "Time_TypedLocal": lambda v: _typed(v) + " (local)",
    "Time_TypedLength": lambda v: _typed(v) + " long",
    "Time_BarBeatTick": lambda v: "%d|%d|%s" % (int(v["mBar"]), int(v["mBeat"]), _ticks(v["mTick"])),
    "Time_NotationDurationValue": _note,
    "Time_Meter": lambda v: "%d/%d click %s" % (int(v["mNumerator"]), int(v["mDenominator"]),
                                                _note(v["mClickInterval"])),
    "Time_SMPTE": _smpte,
}


class TimePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return SHAPES[self.value.type.strip_typedefs().name](self.value)


def build_printers():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("kora")
    for name in SHAPES:
        printers.add_printer(name, "^%s$" % name, TimePrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build_printers(), replace=True)
