#!/usr/bin/env python3
"""Runs the stream and file system benchmarks side by side and prints their ratios.

Usage: bench/ratios.py [build/release/bench] [repetitions]
A ratio is the library's time over its peer's: below 1 means the library is faster.
Times are CPU times (user and system) of the benchmark process, medians over the
repetitions, which run interleaved in random order; on a machine shared with other
work they move far less than wall-clock times do. The noise printed beside each
figure is the larger of the two relative standard deviations.
"""
import json
import os
import subprocess
import sys

BENCH_DIR = sys.argv[1] if len(sys.argv) > 1 else "build/release/bench"
REPETITIONS = int(sys.argv[2]) if len(sys.argv) > 2 else 7

# (program, library benchmark, peer benchmark, what, goal for the ratio)
PAIRS = [
    ("smallmembers_bench", "BM_SmallMembersFromArchive", "BM_SmallMembersFromPhysfsZip",
     "1000 x 1 KB archive members open/read/close, against PhysicsFS on a store-only zip",
     1.0),
    ("smallmembers_bench", "BM_SmallFilesOnDiskThroughFileIO", "BM_SmallFilesOnDisk",
     "1000 x 1 KB files on disk open/read/close through CFileIO, against fopen/fread/fclose",
     1.2),
    ("smallmembers_bench", "BM_SmallMembersFromArchive", "BM_SmallFilesOnDisk",
     "1000 x 1 KB archive members through CFileIO, against the same files with fopen", None),
    ("archiveread_bench", "BM_ArchiveMemberRawRead", "BM_PlainFileFread",
     "64 MB member, raw Read in 64 KB blocks, against fread", 1.1),
    ("archiveread_bench", "BM_ReadIntOneAtATime", "BM_FreadFourBytes",
     "1M Read(int &), against fread of 4 bytes", 1.0),
    ("archiveread_bench", "BM_WriteIntOneAtATime", "BM_FwriteFourBytes",
     "1M Write(int), against fwrite of 4 bytes", 1.2),
    ("property_bench", "BM_ManagerWriteFile", "BM_ManagerFwrite",
     "property manager of 100,000 entries stored to a file, against fwrite of its pieces", 1.2),
    ("property_bench", "BM_ParamsWriteFile", "BM_ParamsFwrite",
     "parameter list of 100,000 elements stored to a file, against fwrite of its pieces", 1.2),
    ("listing_bench", "BM_ListDirectoryOnDisk", "BM_ScannerOnDisk",
     "10k-file tree on disk walked through ListDirectory, against the scanner", None),
    ("listing_bench", "BM_ListDirectoryInArchive", "BM_ScannerOnDisk",
     "10k-file tree in an archive walked through ListDirectory, against the scanner on disk",
     None),
    ("listing_bench", "BM_ListDirectoryDiskAndArchive", "BM_ScannerOnDisk",
     "10k-file tree on disk and in an archive, merged by ListDirectory, against the scanner",
     None),
]


def run(program, names):
    path = os.path.join(BENCH_DIR, program)
    if not os.path.exists(path):
        return None
    pattern = "^(" + "|".join(sorted(names)) + ")$"
    output = subprocess.run([path, "--benchmark_format=json",
                             f"--benchmark_filter={pattern}",
                             f"--benchmark_repetitions={REPETITIONS}",
                             "--benchmark_enable_random_interleaving=true",
                             "--benchmark_report_aggregates_only=true"],
                            check=True, capture_output=True, text=True).stdout
    times = {}
    for result in json.loads(output)["benchmarks"]:
        entry = times.setdefault(result["run_name"], {})
        entry[result.get("aggregate_name")] = result["cpu_time"]
    return times


names_of = {}
for program, mine, theirs, _, _ in PAIRS:
    names_of.setdefault(program, set()).update([mine, theirs])
results = {program: run(program, names) for program, names in names_of.items()}

for program, mine, theirs, what, goal in PAIRS:
    times = results[program]
    if times is None or mine not in times or theirs not in times:
        print(f"{what}: not measured ({program} missing)")
        continue
    ratio = times[mine]["median"] / times[theirs]["median"]
    noise = max(times[name]["stddev"] / times[name]["median"] for name in (mine, theirs))
    verdict = "" if goal is None else (" met" if ratio <= goal else " NOT met")
    goal_text = "-" if goal is None else f"at most {goal}"
    print(f"{what}: {ratio:.2f} (goal {goal_text}{verdict}; {times[mine]['median']:.2f} "
          f"against {times[theirs]['median']:.2f} ms, noise {100 * noise:.0f}%)")
