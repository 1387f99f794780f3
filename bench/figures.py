# SPDX-License-Identifier: GPL-3.0-or-later
"""What all benchmarks share: how a figure, its ratio to a reference and a table are written."""

import json
import math
import os
import platform
import statistics
import sys


def figure(value):
    """Two digits of it, three where it begins with a one: 0.25, 1.04, 12.5, 20,000."""
    if value == 0 or not math.isfinite(value):
        return f"{value:g}"
    digits, exponent = f"{abs(value):.1e}".split("e")
    places = 1 - int(exponent) + digits.startswith("1")
    return f"{round(value, places):,.{max(0, places)}f}"


def beside(value, reference):
    """A figure and, in brackets, how many times the reference it is."""
    return f"{figure(value)} ({figure(value / reference)})" if reference else figure(value)


def table(header, rows):
    """Of Markdown; all cells are texts."""
    return "\n".join(f"| {' | '.join(cells)} |" if cells else "|---" * len(header) + "|"
                     for cells in (header, [], *rows))


def show(rows):
    """Prints what a benchmark has measured: dictionaries of one kind, as a table, or for bench/all
    as they are."""
    if os.environ.get("BENCH_JSON"):
        json.dump(rows, sys.stdout)
        return
    print(table(list(rows[0]), [[cell if isinstance(cell, str) else figure(cell)
                                 for cell in row.values()] for row in rows]), flush=True)


def medians(runs):
    """Row by row over several runs of one benchmark; texts are those of the first."""
    def median(cells):
        return cells[0] if isinstance(cells[0], str) else statistics.median(cells)
    return [{key: median([row[key] for row in same]) for key in same[0]}
            for same in zip(*runs)]


def machine():
    """One line: what the figures were measured on."""
    def first(path, key):
        try:
            with open(path, encoding="utf-8") as file:
                for line in file:
                    if line.startswith(key):
                        return line.split(":" if ":" in line else "=", 1)[1].strip().strip('"')
        except OSError:
            pass
        return "unknown"
    kernel = ".".join(platform.release().split(".")[:2])
    return (f"{os.cpu_count()} cores of {first('/proc/cpuinfo', 'model name')}, "
            f"{first('/etc/os-release', 'PRETTY_NAME')}, Linux {kernel}, windows on Xvfb with openbox "
            "and without a compositor")
