# SPDX-License-Identifier: GPL-3.0-or-later
"""Recordings as an independent reader sees them: Python's wave module and pandas, on a table of
dialects and on files that Debian packages ship."""

import json
import pathlib
import subprocess
import time
import wave

import pytest
from processes import program

pandas = pytest.importorskip("pandas")
VEGA = pathlib.Path("/usr/lib/python3/dist-packages/vega_datasets/_data")  # python3-vega-datasets
INF = float("inf")


def listed(device):
    done = subprocess.run([program("vantoscope"), "--list", device, "--json"],
                          capture_output=True, text=True, check=True)
    return json.loads(done.stdout)


def values_at(path, seconds, options=""):
    """Of each channel, so many seconds after the first line."""
    list_ = listed(f"{path}?start={time.time() - seconds:.3f}{options}")
    return [float(channel["value"]) for channel in list_["channels"]]


def agree(path, frame, times, rows, options=""):
    """The meter's values at the middle of each row's time are those of the reader; `times` are
    seconds, `frame` holds the channels' columns."""
    for row in rows:
        middle = (times[row] + times[row + 1]) / 2 if row + 1 < len(times) else times[row] + 5
        seen = values_at(path, middle - times[0], options)
        assert seen == pytest.approx([float(v) for v in frame.iloc[row]], nan_ok=True), row


def seconds_of(moments):
    return [moment.timestamp() for moment in moments]


ISO = ["2024-02-28 23:58:00", "2024-02-28 23:59:00", "2024-02-29 00:00:00", "2024-02-29 00:05:00"]
MOMENTS = pandas.to_datetime(pandas.Series(ISO), utc=True)
EPOCH = [int(second) for second in seconds_of(MOMENTS)]
NUMBERS = [1.5, -2.25, 1000.5, 0.001]


def written(form):
    """The moments as a logger writes them."""
    return [moment.strftime(form) for moment in MOMENTS]


def table(times, separator=",", head="time{0}a{0}b", numbers=NUMBERS, decimal="."):
    lines = [head.format(separator)] if head else []
    for moment, number in zip(times, numbers):
        shown = str(number).replace(".", decimal)
        lines.append(f"{moment}{separator}{shown}{separator}{len(lines)}")
    return "\n".join(lines) + "\n"


# name: text of the file, words for pandas.read_csv, how its column of times is read, and further
# options of the device.
DIALECTS = {
    "iso": (table(ISO), {}, {}, ""),
    "iso-T-Z": (table(written("%Y-%m-%dT%H:%M:%SZ")), {}, {}, ""),
    "offset": (table(written("%Y-%m-%dT%H:%M:%S+01:00")), {}, {}, ""),
    "milliseconds": (table(written("%Y-%m-%d %H:%M:%S.125")), {}, {}, ""),
    "German": (table(written("%d.%m.%Y %H:%M:%S"), ";", decimal=","),
               {"sep": ";", "decimal": ","}, {"dayfirst": True}, ""),
    "American": (table(written("%m/%d/%Y %H:%M:%S")), {}, {"format": "%m/%d/%Y %H:%M:%S"}, ""),
    "British": (table(written("%d/%m/%Y %H:%M:%S")), {}, {"format": "%d/%m/%Y %H:%M:%S"}, ""),
    "open-dates": (table(["01/02/2024", "02/02/2024", "03/02/2024", "04/02/2024"]), {},
                   {"format": "%d/%m/%Y"}, "&dates=dmy"),
    "AM-PM": (table(written("%m/%d/%Y %I:%M:%S %p")), {}, {"format": "%m/%d/%Y %I:%M:%S %p"}, ""),
    "epoch-s": (table(EPOCH), {}, {"unit": "s"}, ""),
    "epoch-ms": (table([f"{e}000" for e in EPOCH]), {}, {"unit": "ms"}, ""),
    "epoch-us": (table([f"{e}000000" for e in EPOCH]), {}, {"unit": "us"}, ""),
    "epoch-ns": (table([f"{e}000000000" for e in EPOCH]), {}, {"unit": "ns"}, ""),
    "seconds": (table([0, 60, 120, 420]), {}, {"unit": "s"}, ""),
    "tab": (table(ISO, "\t"), {"sep": "\t"}, {}, ""),
    "bar": (table(ISO, "|"), {"sep": "|"}, {}, ""),
    "blanks": (table([0, 60, 120, 420], "   "), {"sep": r"\s+"}, {"unit": "s"}, ""),
    "comments": ("# a logger\n# of ours\n" + table(ISO), {"comment": "#"}, {}, ""),
    "thousands": (table(ISO, ";", numbers=["1.000,5", "2.000,25", "-3.333.000,0", "4,0"], decimal="."),
                  {"sep": ";", "decimal": ",", "thousands": "."}, {}, ""),
    "missing": (table(ISO, numbers=[1.5, "NaN", "n/a", "#N/A"]), {}, {}, ""),
    "infinite": (table(ISO, numbers=[1.5, "Inf", "-Inf", 2]), {}, {}, ""),
    "exponents": (table(ISO, numbers=["1e-3", "-2.5E+6", "+.5", "4."]), {}, {}, ""),
    "quotes": (table([f'"{moment}"' for moment in ISO], numbers=['"1.5"', 2, '"3"', 4]), {}, {}, ""),
    "text-column": (table(ISO, numbers=["1,ok", "2,fail", "3,ok", "4,ok"], head="time,a,word,b"),
                    {"usecols": ["time", "a", "b"]}, {}, ""),
    "utf-16": (table(ISO), {"encoding": "utf-16"}, {}, ""),
    "latin-1": (table(ISO, head="time,Druck [µbar],b"), {"encoding": "latin-1"}, {}, ""),
}


@pytest.mark.parametrize("name", DIALECTS)
def test_a_dialect_reads_as_pandas_reads_it(tmp_path, name):
    """Values, times and rate: the steps are unequal, so each row has to stand at its own time."""
    text, words, how, options = DIALECTS[name]
    path = tmp_path / "run.csv"
    path.write_bytes(text.encode(words.get("encoding", "utf-8")))
    frame = pandas.read_csv(path, **words)
    times = seconds_of(pandas.to_datetime(frame.pop("time"), utc=True, **how))
    assert listed(f"{path}?{options.strip('&')}")["rate"] == pytest.approx(
        1 / pandas.Series(times).diff().median())
    agree(path, frame, times, range(len(times)), options)


def test_what_pandas_does_not_read_is_as_the_logger_means_it(tmp_path):
    """Over range, glued units, the minus of typography; an empty field is the value before."""
    path = tmp_path / "run.csv"
    path.write_text(table(ISO, head="time,a,b", numbers=["3.5 V", "OL", "\N{MINUS SIGN}2.5 V", ""]))
    frame = pandas.DataFrame({"a": [3.5, INF, -2.5, -2.5], "b": [1, 2, 3, 4]})
    agree(path, frame, EPOCH, range(4))


PACKAGED = {
    # name of the file and of its column of times: hourly, with a line lost to summer time; the
    # times behind the values; daily, with a column of words; monthly
    "seattle-temps": "date", "sf-temps": "date", "seattle-weather": "date",
    "us-employment": "month",
}


@pytest.mark.parametrize("name", PACKAGED)
def test_a_file_of_a_package_reads_as_pandas_reads_it(name):
    path = VEGA / f"{name}.csv"
    if not path.exists():
        pytest.skip(f"{path} is not there")
    frame = pandas.read_csv(path)
    times = seconds_of(pandas.to_datetime(frame.pop(PACKAGED[name]), utc=True))
    frame = frame.select_dtypes("number")
    agree(path, frame, times, [0, 1, len(times) // 3, len(times) - 2])
    seen = listed(path)
    assert [channel["name"] for channel in seen["channels"]] == list(frame)
    assert seen["rate"] == pytest.approx(1 / pandas.Series(times).diff().median(), rel=0.02)


def test_a_sound_of_a_package_reads_as_the_standard_library_reads_it():
    path = pathlib.Path("/usr/share/sounds/alsa/Front_Center.wav")  # package alsa-utils
    if not path.exists():
        pytest.skip(f"{path} is not there")
    with wave.open(str(path)) as sound:
        words = memoryview(sound.readframes(sound.getnframes())).cast("h")
        seen = listed(path)
        assert seen["rate"] == sound.getframerate() and "16-bit words" in seen["description"]
    for place in (0, len(words) // 2, len(words) - 1):
        # Replayed so slowly that a sample stands for 1000 s.
        [value] = values_at(path, 1000 * (place + 0.5), "&rate=0.001")
        assert value * 32768 == words[place]
