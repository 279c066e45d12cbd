// Tool_Help: what --help prints.
#pragma once

inline constexpr char Tool_cHelp[] =
    R"(kora shows what the Kora library knows about a song, and keeps songs in documents.

Usage: kora song FILE [--rate HZ] [--timecode NAME] [--json]
       kora plot FILE [-o OUT.svg] [--from POS] [--to POS] [--width PX] [--height PX]
       kora convert FILE --from UNIT --to UNIT[,UNIT...] [--rate HZ] [--timecode NAME]
       kora grid FILE [--from POS] [--to POS] [--by DIVISION]
       kora click FILE [-o OUT.wav] [--from POS] [--to POS]
       kora xml FILE [--rate HZ] [--timecode NAME]
       kora export FILE.kora [-o OUT.mid] [--division TICKS]
       kora edit FILE -o OUT OPERATION... [--dry-run] [--json]
       kora save FILE OUT.kora [--scramble TYPE] [--rate HZ] [--timecode NAME]
       kora info FILE.kora [--json]
       kora check FILE.kora... [--all]
       kora repair FILE.kora OUT.kora
       kora COMMAND --help | --help | --version

Songs, from a MIDI file or a document:
  song        print tempo, meter and key changes and the end of a song
  plot        draw them as an SVG picture
  convert     turn positions into other units: bars, timecode, minutes, feet, samples and more
  grid        print the lines of a grid: bars, beats, note values, with their samples
  click       render the song's beats as a sound file
  xml         print the song's maps as XML
  save        save the song as a document
  export      write a document's song as a MIDI file
  edit        change tempo, meter and key, and delete, insert, move and repeat time

Documents:
  info        print what is in a document: header, streams, table of contents
  check       say whether documents are whole, and if not, where they are damaged
  repair      bring back what a damaged document still holds, into another file

FILE may be a pipe, a device or "-" for standard input, which are read whole, up to 268435456
bytes; in "kora convert" a "-" means that there is no file. "-" as the output of plot, click,
save, export and edit is standard output.

Try:

  kora song examples/songs/first-light.mid
  echo '10|1|0' | kora convert examples/songs/first-light.mid --from bars --to samples,timecode
  kora save examples/songs/first-light.mid first-light.kora && kora info first-light.kora

Exit codes: 0 good, 1 bad input (one line on the error stream says where and why), 2 wrong usage.
)";

inline constexpr char Tool_cSongHelp[] = R"(Prints the tempo, meter and key changes of a song, and its end.

Usage: kora song FILE [--rate HZ] [--timecode NAME] [--json]

  FILE              standard MIDI file, format 0 or 1, with a division in ticks to a quarter note,
                    or a document; the file's bytes say which; "-" for standard input
  --rate HZ         sample rate, 1000 to 768000 (default: the document's, 44100 for MIDI)
  --timecode NAME   timecode format: 24, 25, 30, 50, 60, 23.976, 29.97, 59.94, 29.97drop, 30drop,
                    59.94drop or 60drop; the long names ("29.97 fps drop") are good too (default:
                    the document's, 30 for MIDI)
  --json            print one JSON object instead of the table

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

inline constexpr char Tool_cExportHelp[] =
    R"(Writes the tempo, meter and key changes of a document's song as a standard MIDI file.

Usage: kora export FILE.kora [-o OUT.mid] [--division TICKS]

  FILE.kora         the document; "-" for standard input
  -o OUT.mid        the MIDI file, which takes the place of one that is there; without it, or for
                    "-", standard output
  --division TICKS  file ticks to a quarter note, 1 to 32767 (default: 960)

The file is of format 0: one track with all changes, which ends where the song ends. Its first tick
is the song's start. A change that lies between two file ticks goes to the nearest, half up; of
several that come to one tick the last holds. A tempo becomes whole microseconds to a quarter note,
half up. How many were rounded, and by how much at most, is told.

A song that no MIDI file can hold is refused: a meter of more than 255 beats or of a denominator
that is no power of two up to 2048, a key of more than 7 accidentals, a tempo below 3.58 quarter
notes a minute.
)";

inline constexpr char Tool_cEditHelp[] =
    R"(Changes a song: its tempo, meter and key, and its time, with the notes of a MIDI file.

Usage: kora edit FILE -o OUT OPERATION... [--dry-run] [--json] [--as KIND] [--division TICKS]
                 [--rate HZ] [--timecode NAME]

  FILE              the song, a MIDI file or a document; "-" for standard input
  -o, --output OUT  what comes out; its ending says its kind: .mid, .midi or .kora. It may be FILE
                    and takes its place in one step; "-" is standard output
  --as KIND         the kind for "-": mid or kora (default: FILE's)
  --dry-run         print what would change and write nothing
  --json            print what changed as one JSON object
  --division TICKS  for a MIDI file out of a document: file ticks to a quarter note (default: 960)
  --rate HZ         sample rate, as for "kora song"
  --timecode NAME   timecode format, as for "kora song"

Operations, done in the order given:
  --tempo POS BPM             the tempo from POS on, in quarter notes a minute, 5 to 500
  --ramp FROM TO BPM BPM      from one tempo to another, in steps of equal length in ticks, each
                              with the tempo that makes it last as long as the curve does over it
      --curve CURVE           bars: the tempo is linear in ticks (default); linear: in time;
                              s: half a cosine in ticks
      --steps N               default: 16 a bar
  --scale PERCENT [FROM TO]   all tempi, or those in a range
  --fit FROM TO LENGTH        scales the tempi of a range so that it lasts LENGTH
  --lock POS TIME             POS is at this time: the stretch since the lock before, or the start,
                              gets the one tempo that fits, and so does the one to the next lock
  --beats FILE                the n-th beat is at the time in the n-th line, less that of the first
      --tolerance MS          one tempo for neighbours while no beat moves by more (default: 0)
  --insert AT LENGTH          empty time; what is at AT or later moves
  --delete FROM TO            takes time out; what is at TO or later moves
  --move FROM TO POS          takes time out and puts it before POS, which is read before the cut
  --repeat FROM TO N          N copies behind TO
  --meter POS N/D             from POS on; later changes stay where they are
  --key POS NAME              from POS on: "Eb major" or Eb, "C# minor" or C#m

Positions and lengths say what they are by their shape or their unit, and are read through the
song as the operation before left it:
  5|1|0   5|3                 bar|beat|tick with internal ticks, a position
  4bars                       a length, in bars of the meter at its place
  1:02.500   1:00:02.500      minutes:seconds, hours before them
  00:01:02:15                 timecode, ";" before the frames in drop formats
  62.5   62.5seconds   96000samples   1875frames   960000ticks
As positions, ticks count as in "kora convert": the song starts at 1000000000000. Where only a
time can stand (LENGTH of --fit, TIME, the lines of --beats), a whole number alone is seconds. An
inserted time lasts as long as it says, at the tempo just before AT.

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

inline constexpr char Tool_cConvertHelp[] =
    R"(Reads positions from standard input, one a line, and prints each in other units, tab-separated.

Usage: kora convert FILE --from UNIT --to UNIT[,UNIT...] [--rate HZ] [--timecode NAME]
                    [--film-rate FPS] [--film-offset FRAMES] [--gauge 35|16]

  FILE              the song whose tempo and meter hold, as for "kora song", a file or a pipe
                    other than standard input; "-" stands for 120 beats a minute in 4/4
                    throughout
  --from UNIT       unit of the positions read
  --to UNIT,...     units to print, in this order
  --rate HZ         sample rate, as for "kora song"
  --timecode NAME   timecode format, as for "kora song"
  --film-rate FPS   frames of film a second, 1 to 1000 (default: 24)
  --film-offset N   the frame of film at sample 0 (default: 0)
  --gauge 35|16     film with 16 frames a foot (35 mm, the default) or 40 (16 mm)

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

inline constexpr char Tool_cGridHelp[] =
    R"(Prints the lines of a grid over a song, one a line: its bar|beat|tick, its sample, what it is.

Usage: kora grid FILE [--from POS] [--to POS] [--by DIVISION] [--rate HZ] [--timecode NAME]

  FILE              the song, as for "kora song"
  --from POS        the first place of the range (default: the song's start)
  --to POS          where it ends, itself no part of it (default: the song's end)
  --by DIVISION     bars, beats (default), or a note value: 1/4, 1/8t for triplets, 1/8. for dotted
                    ones, 1/16(4:5) for other tuplets
  --rate HZ         sample rate, as for "kora song"
  --timecode NAME   timecode format, as for "kora song"

Columns are separated by tabs. Ticks are internal, 960000 to a quarter note; the sample is the
nearest. A line is a "bar", a "beat" where it lies on one of the meter's own beats, or else a "sub".
Divisions begin anew at every barline, in bars that a change cuts short too. Positions are written
as for "kora edit": 5|1|0, 5|3, 1:02.500, 00:01:02:15, 62.5, 960000ticks.
)";

inline constexpr char Tool_cClickHelp[] =
    R"(Renders a song's beats as a sound file, so that its time can be heard.

Usage: kora click FILE [-o OUT.wav] [--from POS] [--to POS] [--rate HZ] [--timecode NAME]

  FILE              the song, as for "kora song"
  -o, --output OUT  the WAV file (16 bits, mono), which takes the place of one that is there;
                    without it, or for "-", standard output
  --from POS        where the file begins (default: the song's start)
  --to POS          where it ends (default: the song's end)
  --rate HZ         sample rate, a whole number, 1000 to 768000 (default: the document's, 44100
                    for MIDI)
  --timecode NAME   timecode format, as for "kora song"

A click is on each of the meter's own beats, at the very sample that "kora grid" prints for it; a
bar's is higher and louder. It rings for 30 ms at most, and silence stands before each. Positions
are written as for "kora edit".
)";

inline constexpr char Tool_cPlotHelp[] =
    R"(Draws a song: its tempo over time, its meter and key changes and its locks, over rulers.

Usage: kora plot FILE [-o OUT.svg] [--from POS] [--to POS] [--width PX] [--height PX]
                 [--rate HZ] [--timecode NAME]

  FILE              the song, as for "kora song"
  -o, --output OUT  write the picture there instead of printing it; a file of that name is
                    replaced once the picture is complete; "-" prints it; a name that ends in .png
                    is a PNG picture where the program rsvg-convert is there to make it (Linux)
  --from POS        where the picture begins and ends, in positions as for "kora edit" (default:
  --to POS          the whole song)
  --width PX        320 to 16000 pixels (default: 960); a narrow picture shows fewer labels, in
                    letters as large
  --height PX       300 to 16000 pixels (default: 432)
  --rate HZ         sample rate, as for "kora song"
  --timecode NAME   timecode format, as for "kora song"

The picture is SVG that needs nothing else and follows a viewer's light or dark scheme. Its rulers
count bars and beats, timecode and minutes:seconds; time is as wide everywhere. The tempo
is in quarter notes a minute, whatever the beat is. A change that cuts a bar short is marked in
orange. A label names what holds from there on to the next label; changes too close together for
labels of their own are counted ("60 meters") or, where there is no room for that, shown as "…".
Pointing at a mark shows what changes there.
)";

inline constexpr char Tool_cXmlHelp[] = R"(Prints a song's end, settings and maps as one XML document.

Usage: kora xml FILE [--rate HZ] [--timecode NAME]

  FILE              the song, as for "kora song"
  --rate HZ         sample rate, as for "kora song"
  --timecode NAME   timecode format, as for "kora song"

The maps are in the library's own form (GetAsXML), with all that it saves of them: the meter map's
changes with their clicks and bar numbers, the tempo map's segments with what they are locked to,
the key signatures. Positions are internal ticks.
)";

inline constexpr char Tool_cSaveHelp[] = R"(Saves a song as a document.

Usage: kora save FILE OUT.kora [--scramble TYPE] [--rate HZ] [--timecode NAME]

  FILE              the song, as for "kora song"; from a document this is how it gets another
                    scrambling or other settings
  OUT.kora          the document; one of that name is replaced in one step, once the new one is
                    safely on the disk; "-" writes the document to standard output and prints
                    nothing else, unless something is left out: that goes to the error stream
  --scramble TYPE   0 for plain bytes (default), 1 to 5 for the masks that documents may have
  --rate HZ         sample rate, as for "kora song"; kept in the document
  --timecode NAME   timecode format, as for "kora song"; kept in the document

The document holds the meter map, the tempo map, the key map, and the song's end, sample rate and
timecode format. Notes and other streams of FILE do not come along, so a MIDI file and a document
with other streams are not saved over themselves.
)";

inline constexpr char Tool_cInfoHelp[] =
    R"(Prints what is in a document: its header, its streams, the table of contents.

Usage: kora info FILE.kora [--json]

  FILE.kora         the document; "-" for standard input
  --json            print one JSON object instead of the table

A row is one stream in the order of the file: its first byte, its size with the header, version and
type, the key that the table of contents has for it, and its description. What a stream holds is
indented below it. A name between quotes is a header that is no stream of the document but an
object inside one. Keys are paths of stream types from the outermost stream, "4[1]/7" for stream 7
in the first item of list 4. Entries of the table that name no stream follow at the end.
)";

inline constexpr char Tool_cCheckHelp[] = R"(Says whether documents are whole.

Usage: kora check FILE.kora... [--all]

  FILE.kora...      one document or several; "-" for standard input
  --all             print every fault, one a line, in the order of the file; of several files
                    with "FILE: " in front

Reads every byte and checks the header, each stream's header, size and sum, and each entry of the
table of contents. Prints "FILE: good" with the number of streams, or one line on the error stream:
the first fault, the byte where it is, and what was expected there. After a bad file the next is
checked; the exit code is 1 when any is bad.
)";

inline constexpr char Tool_cRepairHelp[] =
    R"(Brings back what a damaged document still holds, into another file.

Usage: kora repair FILE.kora OUT.kora

  FILE.kora         the damaged document, which stays as it is; "-" for standard input
  OUT.kora          the new one; must be another file, which is replaced in one step

Streams that are whole are copied as they are; of a damaged stream, what is whole inside it. The
keys come from the old table of contents or, where that is gone, from the streams themselves, which
then have no descriptions. Prints how many streams were recovered, and a line for each place where
something was lost. Exit code 1, with nothing written, means that no stream was found.
)";
