// Tool_Help: what the help of each subcommand says beside its options, and so does its manual page.
//
// The first paragraph says what it does; the rest stands behind the options. Indented rows are a term and, two blanks or
// more behind it, what it means; other indented lines are shown as they are.
#pragma once

inline constexpr char Tool_cMainText[] =
    R"(kora shows what the Kora library knows about a song, and keeps songs in documents.

FILE may be a pipe, a device or "-" for standard input, which are read whole, up to 268435456
bytes; in "kora convert" a "-" means that there is no file. "-" as the output of plot, click,
save, export and edit is standard output.

Try, in examples/songs:

  kora song first-light.mid
  echo '10|1|0' | kora convert first-light.mid --from bars --to samples,timecode
  kora save first-light.mid - | kora info -
)";

inline constexpr char Tool_cExitText[] =
    "Exit codes: 0 good, 1 bad input (one line on the error stream says where and why), 2 wrong usage.\n";

inline constexpr char Tool_cSongText[] = R"(Prints the tempo, meter and key changes of a song, and its end.

Where a MIDI song lies: its first tick is tick 1000000000000 of the time line, bar 1, and is locked
to sample 0, which is second 0 and timecode 00:00:00:00. A quarter note has 960000 ticks; a MIDI
tick becomes the nearest of them. Without events of its own a song starts at 120 beats a minute in
4/4. Of several events at one tick, the last in the file holds.

The table shows positions as bar|beat|tick with 960 ticks to a quarter note, as sample, as timecode
(the label of the nearest frame) and as minutes:seconds. JSON positions have internal ticks.

A file is taken whole or not at all. A MIDI file is refused when it is cut short, when its chunks
and its header disagree (more or fewer tracks than counted), when a track does not end with its
end-of-track event, or when an event means nothing (a tempo of 0, a time signature of 0 beats or of
a denominator above 2048, more than 7 sharps or flats). Chunks of unknown types are skipped.
)";

inline constexpr char Tool_cExportText[] =
    R"(Writes the tempo, meter and key changes of a document's song as a standard MIDI file.

The file is of format 0: one track with all changes, which ends where the song ends. Its first tick
is the song's start. A change that lies between two file ticks goes to the nearest, half up; of
several that come to one tick the last holds. A tempo becomes whole microseconds to a quarter note,
half up. How many were rounded, and by how much at most, is told.

A song that no MIDI file can hold is refused: a meter of more than 255 beats or of a denominator
that is no power of two up to 2048, a key of more than 7 accidentals, a tempo below 3.58 quarter
notes a minute.
)";

inline constexpr char Tool_cEditText[] =
    R"(Changes a song: its tempo, meter and key, and its time, with the notes of a MIDI file.

Positions and lengths say what they are by their shape or their unit, and are read through the
song as the operation before left it:
  5|1|0   5|3                 bar|beat|tick with internal ticks, a position
  4bars                       a length, in bars of the meter at its place
  1:02.500   1:00:02.500      minutes:seconds, hours before them
  00:01:02:15                 timecode, ";" before the frames in drop formats
  62.5   62.5seconds   96000samples   1875frames   960000ticks
As positions, ticks count as in "kora convert": the song starts at 1000000000000. Where only a
time can stand (LENGTH of --fit, TIME, the lines of --beats), a whole number alone is seconds. A
beat that its bar does not have runs on into the next bar, for an operation before may have cut the
bar short. An inserted time lasts as long as it says, at the tempo just before AT.

The music stays whole. A deletion ends the notes that sound into it at its beginning, shortens
those that sound across it, and drops those that begin in it, with its texts, markers and sysex;
programs, controllers, bends, pressures, tempo, meter and key behind it are what they were, and so
they are at the beginning of what is repeated or moved. A note that sounds across an insertion
sounds on through it; one that ends at it ends there. What sets the song up at its very first tick
stays there. A file's division stays; ticks, and tempi in microseconds, are rounded once, when the
file is written.

What a lock holds where it is, --tempo, --ramp, --scale and --fit do not move: they are refused
before it. Deleting, inserting, moving and repeating time releases the locks behind it.

Other streams of a document stay as they are. A document out of a MIDI file has no notes.
)";

inline constexpr char Tool_cConvertText[] =
    R"(Reads positions from standard input, one a line, and prints each in other units, tab-separated.

Units:
  ticks       internal ticks of the time line, 960000 to a quarter note; the song starts at
              1000000000000
  samples     samples from the song's start, which is sample 0
  frames      frames of the timecode format from sample 0, the nearest frame
  bars        bar|beat|tick with internal ticks, from 1|1|0; "5|3" is 5|3|0 and "5" is 5|1|0; a
              beat past its bar, also one cut short, and a tick past its beat are refused
  timecode    hh:mm:ss:ff, in drop formats hh:mm:ss;ff: the label of a frame, the same frame that
              "frames" gives; frame 0 is 00:00:00:00, and labels start again every 24 hours
  seconds     decimal seconds from sample 0, that is samples / sample rate; printed with 6
              decimals, read with any number of them and taken to the nearest sample, halves upward
  minsec      minutes:seconds.milliseconds, with hours before them from one hour on; "1:02" is
              1:02.000 and a number alone is seconds
  subframes   timecode with hundredths of a frame, hh:mm:ss:ff.ss, the nearest one
  feet        feet+frames of film, the nearest frame; "90" is 90+00; they start again every 24
              hours

Positions before the song's start are negative samples, seconds and minutes, and bar 0 and below;
they have no frames, no timecode, no subframes and no feet. A position further from sample 0 than
the time line reaches (34359738367 samples) is refused. Blanks around a position are ignored; an
empty line is not a position. Lines are answered as they come, a pipe's before the next is sent. The
first line that is refused ends it; what was printed before stands.
)";

inline constexpr char Tool_cGridText[] =
    R"(Prints the lines of a grid over a song, one a line: its bar|beat|tick, its sample, what it is.

Columns are separated by tabs. Ticks are internal, 960000 to a quarter note; the sample is the
nearest. A line is a "bar", a "beat" where it lies on one of the meter's own beats, or else a "sub".
Divisions begin anew at every barline, in bars that a change cuts short too. Positions are written
as for "kora edit": 5|1|0, 5|3, 1:02.500, 00:01:02:15, 62.5, 960000ticks.
)";

inline constexpr char Tool_cClickText[] =
    R"(Renders a song's beats as a sound file, so that its time can be heard.

A click is on each of the meter's own beats, at the very sample that "kora grid" prints for it; a
bar's is higher and louder. It rings for 30 ms at most, and silence stands before each. Positions
are written as for "kora edit".
)";

inline constexpr char Tool_cPlotText[] =
    R"(Draws a song: its tempo over time, its meter and key changes and its locks, over rulers.

The picture is SVG that needs nothing else and follows a viewer's light or dark scheme. Its rulers
count bars and beats, timecode and minutes:seconds; time is as wide everywhere. The tempo
is in quarter notes a minute, whatever the beat is. A change that cuts a bar short is marked in
orange. A label names what holds from there on to the next label; changes too close together for
labels of their own are counted ("60 meters") or, where there is no room for that, shown as "…".
Pointing at a mark shows what changes there.
)";

inline constexpr char Tool_cXmlText[] = R"(Prints a song's end, settings and maps as one XML document.

The maps are in the library's own form (GetAsXML), with all that it saves of them: the meter map's
changes with their clicks and bar numbers, the tempo map's segments with what they are locked to,
the key signatures. Positions are internal ticks.
)";

inline constexpr char Tool_cSaveText[] = R"(Saves a song as a document.

The document holds the meter map, the tempo map, the key map, and the song's end, sample rate and
timecode format. Notes and other streams of FILE do not come along, so a MIDI file and a document
with other streams are not saved over themselves, nor over another file that has such.
)";

inline constexpr char Tool_cInfoText[] =
    R"(Prints what is in a document: its header, its streams, the table of contents.

A row is one stream in the order of the file: its first byte, its size with the header, version and
type, the key that the table of contents has for it, and its description. What a stream holds is
indented below it. A name between quotes is a header that is no stream of the document but an
object inside one. Keys are paths of stream types from the outermost stream, "4[1]/7" for stream 7
in the first item of list 4. Entries of the table that name no stream follow at the end.
)";

inline constexpr char Tool_cCheckText[] = R"(Says whether documents are whole.

Reads every byte and checks the header, each stream's header, size and sum, and each entry of the
table of contents. Prints "FILE: good" with the number of streams, or one line on the error stream:
the first fault, the byte where it is, and what was expected there. After a bad file the next is
checked; the exit code is 1 when any is bad.
)";

inline constexpr char Tool_cRepairText[] =
    R"(Brings back what a damaged document still holds, into another file.

Streams that are whole are copied as they are; of a damaged stream, what is whole inside it. The
keys come from the old table of contents or, where that is gone, from the streams themselves, which
then have no descriptions. Prints how many streams were recovered, and a line for each place where
something was lost. Exit code 1, with nothing written, means that no stream was found.
)";

inline constexpr char Tool_cHelpText[] = R"(Shows how kora or one of its commands is used.

"kora COMMAND --help" shows the same as "kora help COMMAND".
)";

inline constexpr char Tool_cManText[] = R"(Prints a manual page, or writes all of them.

The pages say what the help says, in the form that man reads: "kora man song | man -l -" shows one.
An installed kora has them in their place: "man kora", "man kora-song".
)";

inline constexpr char Tool_cCompletionsText[] =
    R"(Prints what lets a shell complete kora's commands, options and values.

An installed kora has them in their places. Without one:

  bash  source <(kora completions bash)
  zsh   kora completions zsh >~/.zfunc/_kora, in a folder of fpath
  fish  kora completions fish | source
)";
