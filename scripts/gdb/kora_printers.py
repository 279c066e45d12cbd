"""gdb printers for Kora's times: positions, lengths, ranges, bar positions, meters, grid lines, keys and timecode.

    (gdb) source scripts/gdb/kora_printers.py
    (gdb) print at
    $1 = 3|4|480000
    (gdb) print start
    $2 = 48000 Samples

They read fields only and run no code of the program, so they work on core files too.
"""

import gdb
import gdb.printing
import gdb.types

UNITS = ("Samples", "Ticks", "Frames")
NOTES = ("", "1/1", "1/2", "1/4", "1/8", "1/16", "1/32", "1/64")
# Indexed by ETimeCodeFormat; format 0 is shown as "global".
FORMATS = ("global", "24", "25", "29.97", "29.97 OMF", "29.97 drop", "29.97 drop OMF", "30", "30 drop",
           "23.976", "50", "59.94", "59.94 drop", "60", "60 drop")
DROP_FORMATS = (5, 8, 12, 14)
CONTEXTS = ("", " (local)", " long")
LINES = ("barline", "beat", "between beats")
MOST_SHOWN = 100  # of the elements of a vector


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


def _position(value):
    return "%d|%d|%s" % (int(value["mBar"]), int(value["mBeat"]), _ticks(value["mTick"]))


def _meter(value):
    return "%d/%d click %s" % (int(value["mNumerator"]), int(value["mDenominator"]), _note(value["mClickInterval"]))


def _change(value):
    bar = int(value["mBarNumber"])
    text = "%d| %s at tick %d" % (bar, _meter(value["mMeter"]), int(value["mTick"]["mTicks"]))
    if value["mIsOffBarline"]:
        text += ", off the barline"
    if value["mIsCarriedIn"]:
        text += ", carried in"
    position = _position(value["mBBT"])
    return text + (", BBT " + position if position != "%d|1|0" % bar else "")


def _line(value):
    return "%s at tick %d, %s" % (_position(value["mPosition"]), int(value["mTick"]["mTicks"]),
                                  _name(LINES, int(value["mKind"])))


def _key(value):
    count = int(value["mAccidentals"])
    isMajor, isSharps = bool(value["mIsMajor"]), bool(value["mIsSharps"])
    text = "major" if isMajor else "minor"
    if count <= 7:
        # Fifths from F up: a sharp more is a fifth up, and a minor key's tonic three above the major's.
        fifths = 1 + (count if isSharps else -count) + (0 if isMajor else 3)
        text = "FCGDAEB"[fifths % 7] + "b" * -(fifths // 7) + "#" * (fifths // 7) + " " + text
    return "%s (%d %s)" % (text, count, "sharps" if isSharps else "flats")


def _bounds(start, end):
    return "[%d, %d)" % (int(start), int(end))


def _range(value):
    start = value["mStart"]
    return "%s %s" % (_bounds(start["mCount"], value["mEnd"]["mCount"]), _name(UNITS, int(start["mType"])))


def _elements(vector, show):
    """The first elements of a std::vector of GCC's library as texts, and how many are behind them."""
    first = vector["_M_impl"]["_M_start"]
    count = int(vector["_M_impl"]["_M_finish"] - first)
    return [show(first[i]) for i in range(min(count, MOST_SHOWN))], max(count - MOST_SHOWN, 0)


def _ranges(value):
    pieces, more = _elements(value["mPieces"], lambda piece: _bounds(piece["mFrom"], piece["mTo"]))
    return " ".join(pieces + ["%d more" % more] * bool(more) + [_name(UNITS, int(value["mType"]))])


def _times(value):
    counts, more = _elements(value["mCounts"], lambda count: str(int(count)))
    return "{%s} %s%s" % (", ".join(counts + ["%d more" % more] * bool(more)), _name(UNITS, int(value["mType"])),
                          _name(CONTEXTS, int(value["mContext"])))


SHAPES = {
    "Time_Sample": lambda v: "sample %d" % int(v["mSamples"]),
    "Time_SampleLength": lambda v: "%d samples long" % int(v["mSamples"]),
    "Time_Tick": lambda v: "tick %d" % int(v["mTicks"]),
    "Time_TickLength": lambda v: _ticks(v) + " ticks long",
    "Time_Typed": _typed,
    "Time_TypedLocal": lambda v: _typed(v) + " (local)",
    "Time_TypedLength": lambda v: _typed(v) + " long",
    "Time_TypedVector": _times,
    "Time_Range": _range,
    "Time_RangeSet": _ranges,
    "Time_BarBeatTick": _position,
    "Time_NotationDurationValue": _note,
    "Time_Meter": _meter,
    "Time_MeterChange": _change,
    "Time_GridLine": _line,
    "Time_KeySignature": _key,
    "Time_SMPTE": _smpte,
}


class TimePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        # What an argument's reference is bound to has the type; the reference itself has none by name.
        kind = gdb.types.get_basic_type(self.value.type)
        if not kind.fields():
            return "(%s: its fields are in the library's symbols)" % kind.name
        return SHAPES[kind.name](self.value)


def build_printers():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("kora")
    for name in SHAPES:
        printers.add_printer(name, "^%s$" % name, TimePrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build_printers(), replace=True)
