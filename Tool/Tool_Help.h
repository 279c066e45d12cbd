// Tool_Help: what --help prints.
#pragma once

inline constexpr char Tool_cHelp[] = R"(kora shows what the Kora library knows about a song.

Usage: kora song FILE.mid [--rate HZ] [--timecode NAME] [--json]
       kora plot FILE.mid [-o OUT.svg]
       kora convert FILE.mid --from UNIT --to UNIT[,UNIT...] [--rate HZ] [--timecode NAME]
       kora --help | --version

  song        print tempo, meter and key changes and the end of a song
  plot        draw a song's tempo, meter and key changes as an SVG picture
  convert     turn positions into other units: ticks, samples, frames, bars, timecode, seconds

"kora song --help" and "kora convert --help" say more. Try:

  kora song examples/songs/first-light.mid
  echo '10|1|0' | kora convert examples/songs/first-light.mid --from bars --to samples,timecode

Exit codes: 0 good, 1 bad input (one line on the error stream says where and why), 2 wrong usage.
)";

inline constexpr char Tool_cSongHelp[] = R"(Prints the tempo, meter and key changes of a song, and its end.

Usage: kora song FILE.mid [--rate HZ] [--timecode NAME] [--json]

  FILE.mid          standard MIDI file, format 0 or 1, with a division in ticks to a quarter note
  --rate HZ         sample rate, 1000 to 768000 (default 44100)
  --timecode NAME   timecode format: 24, 25, 30, 50, 60, 23.976, 29.97, 59.94, 29.97drop, 30drop,
                    59.94drop or 60drop; the long names ("29.97 fps drop") are good too (default 30)
  --json            print one JSON object instead of the table

Where the song lies: its first tick is tick 1000000000000 of the time line, bar 1, and is locked to
sample 0, which is second 0 and timecode 00:00:00:00. A quarter note has 960000 ticks; a MIDI tick
becomes the nearest of them. Without events of its own a song starts at 120 beats a minute in 4/4.
Of several events at one tick, the last in the file holds.

The table shows positions as bar|beat|tick with 960 ticks to a quarter note, as sample, as timecode
(the label of the nearest frame) and as minutes:seconds. JSON positions have internal ticks.

A file is taken whole or not at all. It is refused when it is cut short, when its chunks and its
header disagree (more or fewer tracks than counted), when a track does not end with its end-of-track
event, or when an event means nothing (a tempo of 0, a time signature of 0 beats or of a denominator
above 2048, more than 7 sharps or flats). Chunks of unknown types are skipped.
)";

inline constexpr char Tool_cConvertHelp[] =
    R"(Reads positions from standard input, one a line, and prints each in other units, tab-separated.

Usage: kora convert FILE.mid --from UNIT --to UNIT[,UNIT...] [--rate HZ] [--timecode NAME]

  FILE.mid          the song whose tempo and meter hold, as for "kora song"; "-" stands for
                    120 beats a minute in 4/4 throughout
  --from UNIT       unit of the positions read
  --to UNIT,...     units to print, in this order
  --rate HZ         sample rate, 1000 to 768000 (default 44100)
  --timecode NAME   timecode format, as for "kora song" (default 30)

Units:
  ticks       internal ticks of the time line, 960000 to a quarter note; the song starts at
              1000000000000
  samples     samples from the song's start, which is sample 0
  frames      frames of the timecode format from sample 0, the nearest frame
  bars        bar|beat|tick with internal ticks, from 1|1|0; beats and ticks past the bar's end
              run on
  timecode    hh:mm:ss:ff, in drop formats hh:mm:ss;ff: the label of a frame, the same frame that
              "frames" gives; frame 0 is 00:00:00:00, and labels start again every 24 hours
  seconds     decimal seconds from sample 0, that is samples / sample rate; printed with 6
              decimals, read with any number of them and taken to the nearest sample, halves upward

Positions before the song's start are negative samples and seconds, and bar 0 and below; they have
no frames and no timecode. A position further from sample 0 than the time line reaches (34359738367
samples) is refused. Blanks around a position are ignored; an empty line is not a position. Nothing
is printed unless every line is understood.
)";

inline constexpr char Tool_cPlotHelp[] =
    R"(Draws a song: its tempo over time, and its meter and key changes, over bars and seconds.

Usage: kora plot FILE [-o OUT.svg] [--rate HZ] [--timecode NAME]

  FILE              the song, as for "kora song"
  -o, --output OUT  write the picture there instead of printing it; a file of that name is
                    replaced once the picture is complete
  --rate HZ         sample rate, 1000 to 768000 (default 44100)
  --timecode NAME   timecode format, as for "kora song" (default 30)

The picture is SVG that needs nothing else and follows a viewer's light or dark scheme. The tempo
is in quarter notes a minute, whatever the beat is. A change that cuts a bar short is marked in
orange. Pointing at a mark shows what changes there; labels that would run into the next mark are
left out.
)";
