"""Makes a song's tempo map follow a performance whose beats are known, and puts a click beside it.

Usage: follow_a_performance.py [BEATS [FOLDER]]

BEATS has the time of each beat in seconds, one a line, as a beat tracker or tapping gives them. The folder
gets followed.wav, followed.mid, followed.kora and followed.svg.
"""
import array
import math
import sys
import wave
from pathlib import Path

import kora

BEATS_IN_A_BAR = 4


## [beats]
def read_beats(path):
    """Seconds from the first beat on."""
    times = [float(line) for line in path.read_text().split()]
    return [time - times[0] for time in times]


## [beats]


## [follow]
def follow(song, beats):
    """Each beat is where the player had it: the tempi between follow from the locks. One step to undo."""
    places = [kora.Bars(1 + n // BEATS_IN_A_BAR, 1 + n % BEATS_IN_A_BAR) for n in range(len(beats))]
    song.meters.set("1|1", BEATS_IN_A_BAR, 4)
    with song.edit("Follow the performance"):
        for place, time in zip(places[1:], beats[1:]):  # the first is the song's start, at sample 0
            song.lock(place, time)
        song.set_tempo(places[-1], song.tempos[-2].bpm)  # it goes on as the last beat was
    return places


## [follow]


## [click]
def write_click(path, samples, rate):
    """A short tone at each sample, higher on the first beat of a bar."""
    sound = array.array("h", bytes(2 * (samples[-1] + rate // 2)))
    for n, first in enumerate(samples):
        pitch = 1760 if n % BEATS_IN_A_BAR == 0 else 880
        for i in range(rate // 20):
            sound[first + i] = round(
                12000 * math.exp(-90 * i / rate) * math.sin(2 * math.pi * pitch * i / rate)
            )
    with wave.open(str(path), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(sound.tobytes())


## [click]


def main(beats_file, folder):
    rate = 48000
    beats = read_beats(beats_file)
    song = kora.Song(rate)
    places = follow(song, beats)

    ## [table]
    print("bar      time      tempo")
    for place in places[::BEATS_IN_A_BAR]:
        print(f"{place.bar:3}  {song.text(place, 'minsec'):>8}  {song.tempos.at(place).bpm:9.3f}")
    ## [table]

    ## [check]
    samples = song.convert(places, "bars", "samples")
    worst = max(abs(sample - time * rate) for sample, time in zip(samples, beats))
    print(f"{len(beats)} beats, {len(song.tempos)} tempos; no beat is off by more than {worst:.2f} samples")
    ## [check]

    ## [files]
    write_click(folder / "followed.wav", samples, rate)
    song.export(folder / "followed.mid")
    song.save(folder / "followed.kora")
    song.plot("A performance, followed").save(folder / "followed.svg")
    ## [files]

    ## [again]
    for name in ("followed.kora", "followed.mid"):
        with kora.open(folder / name, rate) as again:
            moved = [abs(a - b) for a, b in zip(again.convert(places, "bars", "samples"), samples)]
            locks = sum(tempo.locked is not None for tempo in again.tempos)
            print(f"{name}: locks {locks}, beats moved by at most {max(moved)} samples")
    ## [again]

    ## [undo]
    song.undo()
    print(f"undone: {song.tempos[0].text}, {len(song.tempos)} tempo")
    ## [undo]


if __name__ == "__main__":
    main(
        Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).with_name("performance.txt")),
        Path(sys.argv[2] if len(sys.argv) > 2 else "."),
    )
