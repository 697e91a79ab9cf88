#!/usr/bin/env python3
"""Runs the file system benchmarks side by side and prints their ratios.

Usage: bench/ratios.py [build/release/bench]
A ratio above 1 means the library is faster than what it is compared with.
"""
import json
import os
import subprocess
import sys

BENCH_DIR = sys.argv[1] if len(sys.argv) > 1 else "build/release/bench"

# (program, library benchmark, reference benchmark, measure, goal)
PAIRS = [
    ("archiveread_bench", "BM_ArchiveMemberRawRead", "BM_PlainFileFread",
     "64 MB member, raw Read in 64 KB blocks, against fread", "at least 0.9"),
    ("smallmembers_bench", "BM_SmallMembersFromArchive", "BM_SmallFilesOnDisk",
     "1000 x 4 KB members, open/read/close, against files on disk", "-"),
    ("smallmembers_bench", "BM_SmallFilesOnDiskThroughFileIO", "BM_SmallFilesOnDisk",
     "1000 x 4 KB files on disk, open/read/close through CFileIO, against fopen", "-"),
    ("smallmembers_bench", "BM_SmallMembersFromArchive", "BM_SmallMembersFromPhysfsZip",
     "1000 x 4 KB members, open/read/close, against PhysicsFS on a store-only zip",
     "at least 1.0"),
    ("archiveread_bench", "BM_ReadIntOneAtATime", "BM_FreadFourBytes",
     "a million Read(int &), against fread of 4 bytes", "at least 0.5"),
    ("listing_bench", "BM_ListDirectoryOnDisk", "BM_ScannerOnDisk",
     "10k-file tree on disk walked through ListDirectory, against the scanner", "-"),
    ("listing_bench", "BM_ListDirectoryInArchive", "BM_ScannerOnDisk",
     "10k-file tree in an archive walked through ListDirectory, against the scanner on disk",
     "-"),
    ("listing_bench", "BM_ListDirectoryDiskAndArchive", "BM_ScannerOnDisk",
     "10k-file tree on disk and in an archive, merged by ListDirectory, against the scanner",
     "-"),
]


def run(program):
    path = os.path.join(BENCH_DIR, program)
    if not os.path.exists(path):
        return None
    output = subprocess.run([path, "--benchmark_format=json", "--benchmark_repetitions=5",
                             "--benchmark_report_aggregates_only=true"],
                            check=True, capture_output=True, text=True).stdout
    times = {}
    for result in json.loads(output)["benchmarks"]:
        if result.get("aggregate_name") == "median":
            times[result["run_name"]] = result["real_time"]
    return times


results = {}
for program, mine, theirs, what, goal in PAIRS:
    if program not in results:
        results[program] = run(program)
    times = results[program]
    if times is None or mine not in times or theirs not in times:
        print(f"{what}: not measured ({program} missing)")
        continue
    print(f"{what}: {times[theirs] / times[mine]:.2f} (goal {goal}; "
          f"{times[mine]:.2f} ms against {times[theirs]:.2f} ms)")
