"""Prints in Markdown what script/bench measured, and writes the data of the plots.

The argument is the folder of the measurements, to which the data goes as well.
"""

import collections
import json
import math
import pathlib
import statistics
import sys

SIZES = (10, 100, 1000, 10000)
JOBS = ("find", "list", "store")


def read_times(path):
    """Median microseconds by job, contestant and size."""
    repetitions = collections.defaultdict(list)
    for run in json.loads(path.read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            job, contestant, size, *elapsed = run["name"].split("/")
            time = run["real_time" if elapsed else "cpu_time"]
            repetitions[job, contestant, int(size)].append(time / 1000)
    return {key: statistics.median(times) for key, times in repetitions.items()}


def read_counts(path):
    """Thousand instructions by job, contestant and size."""
    counts = {}
    for contestant, job, size, count in map(str.split, path.open()):
        counts[job, contestant, int(size)] = int(count) / 1000
    return counts


def read_heap(path):
    """Allocations and bytes beside the file's by job and size."""
    heap = {}
    for line in path.open():
        job, size, allocations, peak, file = line.split()[:5]
        heap[job, int(size)] = int(allocations), int(peak) - int(file)
    return heap


def print_table(head, rows):
    print("\n| " + " | ".join(head) + " |")
    print("|---" * len(head) + "|")
    for row in rows:
        print("| " + " | ".join(row) + " |")


def three_digits(value):
    return f"{value:,.{max(0, 2 - math.floor(math.log10(value)))}f}"


def rows_of(title, measured, jobs):
    rows = []
    for job in jobs:
        row = [f"{title}: {job.replace('-', ', ')}"]
        for size in SIZES:
            value = measured[job, "raiklaik", size]
            row.append(f"{three_digits(value)} ({value / measured[job, 'floor', size]:.2f})")
        rows.append(row)
    return rows


def ratios(measured, contestant, size=1000):
    return [f"{measured[job, contestant, size] / measured[job, 'floor', size]:.2f}" for job in JOBS]


def peers(measured):
    contestants = {contestant for _, contestant, _ in measured}
    return sorted(contestants - {"floor", "raiklaik"}, key=str.lower)


def print_memory(folder):
    heap = read_heap(folder / "heap-arm")
    listed = {size: heap["list", size][0] for size in (10, 10000)}
    arm, x86_64 = ((folder / f"stripped-{processor}").stat().st_size / 1024
                   for processor in ("arm", "x86_64"))
    per_record = (listed[10000] - listed[10]) / (5000 - 5)
    print(f"\nFrom the heap a find allocates {heap['find', 1000][0]} times, a store "
          f"{heap['store', 1000][0]} times, a list {listed[10] - 5 * per_record:.0f} times and "
          f"{per_record:.0f} more for each record. With 1000 trunks a find takes "
          f"{heap['find', 1000][1] / 1024:.1f} KiB beside the file's text, a store "
          f"{heap['store', 1000][1] / 1024:.1f} KiB (32-bit ARM). The stripped library has "
          f"{arm:.0f} KiB on 32-bit ARM, {x86_64:.0f} KiB on x86-64.")


def write_plot(folder, name, measured):
    for job in JOBS:
        with open(folder / f"{name}-{job}.dat", "w", encoding="utf-8") as data:
            contestants = ["raiklaik", "floor", *peers(measured)]
            print("trunks", *contestants, file=data)
            for size in SIZES:
                print(size, *(measured[job, each, size] for each in contestants), file=data)


def main():
    folder = pathlib.Path(sys.argv[1])
    arm = read_counts(folder / "arm")
    times = read_times(folder / "times.json")
    print("Thousand instructions on 32-bit ARM, microseconds on x86-64 (ratio to the floor):")
    print_table([""] + [f"{size} trunks" for size in SIZES],
                rows_of("32-bit ARM", arm, JOBS)
                + rows_of("x86-64", times, [*JOBS, "store-on disk"]))
    plain = read_times(folder / "times-plain.json")
    others = {"time on x86-64 compiled without SSE2": ratios(plain, "raiklaik")}
    if (folder / "aarch64").exists():
        aarch64 = read_counts(folder / "aarch64")
        others["instructions on AArch64"] = ratios(aarch64, "raiklaik")
    print("\nRatio to the floor of find, list and store with 1000 trunks: "
          + "; ".join(f"{name} {', '.join(values)}" for name, values in others.items()) + ".")
    print("\nBeside other libraries, ratio to the floor with 1000 trunks:")
    print_table([""] + [f"{name}: {job}" for name in ("ARM", "x86-64") for job in JOBS],
                [[each] + (ratios(arm, each) if ("find", each, 1000) in arm else [""] * 3)
                 + ratios(times, each) for each in ["raiklaik", *peers(times)]])
    print_memory(folder)
    write_plot(folder, "arm", arm)
    write_plot(folder, "x86_64", times)


main()
