"""Prints in Markdown what the benchmark's programs have written to the folder in the argument."""

import collections
import json
import math
import os
import statistics
import sys

SIZES = (10, 100, 1000, 10000)
JOBS = {
    "find": "Find one trunk by name",
    "list": "List the trunks to a master",
    "store": "Store a trunk, in memory",
    "store-disk": "Store a trunk, on the disk",
}
# Of the library's time to the floor's, by number of trunks.
TARGETS = {
    "find": (1.0, 0.80, 0.60, 0.60),
    "list": (1.15, 1.45, 1.7, 1.7),
    "store": (1.0, 1.0, 0.95, 0.95),
    "store-disk": (1.05, 1.05, 1.0, 1.0),
}
FIRST = ("limit", "floor", "raiklaik")


def in_order(contestants):
    return [name for name in FIRST if name in contestants] + sorted(
        set(contestants) - set(FIRST), key=str.lower)


def print_table(title, head, rows):
    print(f"\n**{title}**\n")
    print("| " + " | ".join(head) + " |")
    print("|---" * len(head) + "|")
    for row in rows:
        print("| " + " | ".join(row) + " |")


def three_digits(value):
    return f"{value:.{max(0, 2 - math.floor(math.log10(value)))}f}"


def read_times(folder):
    """Median microseconds by job, contestant and size."""
    with open(os.path.join(folder, "times.json"), encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    repetitions = collections.defaultdict(list)
    for run in runs:
        if run["run_type"] == "iteration":
            job, contestant, size = run["name"].split("/")[:3]
            elapsed = run["name"].endswith("/real_time")
            time = run["real_time" if elapsed else "cpu_time"]
            repetitions[job, contestant, int(size)].append(time / 1000)
    return {key: statistics.median(times) for key, times in repetitions.items()}


def print_times(times):
    for job, title in JOBS.items():
        rows = []
        for contestant in in_order({key[1] for key in times}):
            medians = [times[job, contestant, size] for size in SIZES]
            ratios = [median / times[job, "floor", size] for median, size in zip(medians, SIZES)]
            exponent = math.log10(medians[3] / medians[2])
            rows.append([contestant]
                        + [f"{three_digits(median)} ({ratio:.2f})"
                           for median, ratio in zip(medians, ratios)]
                        + [f"{exponent:.2f}"])
            if contestant == "raiklaik":
                rows.append(["*target*"] + [f"({ratio:.2f})" for ratio in TARGETS[job]] + ["1.05"])
        head = [""] + [f"{size} trunks" for size in SIZES] + ["exponent"]
        print_table(f"{title}: microseconds (ratio to the floor)", head, rows)


def read_lines(folder, name):
    """The lines of a file as lists of words, by contestant, job and number."""
    lines = collections.defaultdict(list)
    with open(os.path.join(folder, name), encoding="utf-8") as file:
        for contestant, job, number, *values in map(str.split, file):
            lines[contestant, job, int(number)].append([float(value) for value in values])
    return lines


def print_counts(counts):
    for job in ("find", "list", "store"):
        rows = []
        for contestant in in_order({key[0] for key in counts} - {"limit"}):
            row = [contestant]
            for size in SIZES:
                allocations, peak, _, _ = counts[contestant, job, size][0]
                row.append(f"{allocations:.0f}, {three_digits(peak / 1024)} KiB")
            rows.append(row)
        targets = []
        for size in SIZES:
            allocations = {"find": 5, "store": 6, "list": 6 + 2 * size // 2}[job]
            file_size = counts["raiklaik", job, size][0][3]
            peak = "" if job == "list" else f", {three_digits(file_size / 1024 + 8)} KiB"
            targets.append(f"{allocations}{peak}")
        rows.insert(2, ["*target*"] + targets)
        head = [""] + [f"{size} trunks" for size in SIZES]
        print_table(f"{JOBS[job].split(',')[0]}: allocations of one operation, and their peak",
                    head, rows)


def print_contention(contention):
    rows = []
    for _, job, processes in (key for key in contention if key[0] == "raiklaik"):
        cells = []
        rates = {}
        for contestant in ("floor", "raiklaik"):
            rounds = contention[contestant, job, processes]
            rates[contestant] = statistics.median(rate for rate, _, _ in rounds)
            fairness = statistics.median(least / most for _, least, most in rounds)
            cells += [f"{rates[contestant]:.0f}", f"{fairness:.2f}"]
        ratio = rates["raiklaik"] / rates["floor"]
        rows.append([f"{job}, {processes}", *cells, f"{ratio:.2f}"])
    rows.append(["*target*", "", "", "", "0.90", "1.00"])
    print_table("Processes at once, 1000 trunks: operations per second of all, least to most",
                ["", "floor", "evenness", "raiklaik", "evenness", "ratio"], rows)


def print_sizes(folder, counts):
    stripped = os.path.getsize(os.path.join(folder, "stripped")) / 1024
    rows = [["library file, stripped", f"{stripped:.0f} KiB", "140 KiB"]]
    for job in ("find", "list", "store"):
        resident = counts["raiklaik", job, 1000][0][2] / 1024
        rows.append([f"resident memory that a first {job} adds, 1000 trunks",
                     f"{resident:.0f} KiB", "500 KiB"])
    print_table("Sizes", ["", "raiklaik", "*target*"], rows)


def main():
    folder = sys.argv[1]
    counts = read_lines(folder, "counts")
    print_times(read_times(folder))
    print_counts(counts)
    print_contention(read_lines(folder, "contention"))
    print_sizes(folder, counts)


main()
