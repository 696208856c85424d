#!/usr/bin/env python3
"""Prints what gcovr has counted: by folder and file, and the lines that did not run.

    coverage.py FILE.json
"""
import collections
import json
import sys

GOAL = 97.0


class Counts:
    """Lines and branches, and how many of them ran."""

    def __init__(self):
        self.lines = self.lines_run = self.branches = self.branches_run = 0

    def add(self, line):
        self.lines += 1
        self.lines_run += line["count"] > 0
        self.branches += len(line["branches"])
        self.branches_run += sum(branch["count"] > 0 for branch in line["branches"])

    def row(self, name):
        lines, branches = (100.0 * run / total if total else 100.0
                           for run, total in ((self.lines_run, self.lines),
                                              (self.branches_run, self.branches)))
        below = "  below the goal" if lines < GOAL and "/" not in name else ""
        return f"{name:44}{lines:7.1f} % of {self.lines:4}{branches:8.1f} % of {self.branches:4}{below}"


def ranges(numbers):
    """1 2 3 7 becomes 1-3, 7."""
    parts = []
    for number in numbers:
        if parts and parts[-1][1] == number - 1:
            parts[-1][1] = number
        else:
            parts.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in parts)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        files = json.load(file)["files"]
    folders = collections.defaultdict(Counts)
    rows, missing = [], []
    for file in sorted(files, key=lambda file: file["file"]):
        counts = Counts()
        lines = [line for line in file["lines"] if not line["gcovr/noncode"]]
        for line in lines:
            counts.add(line)
            folders[file["file"].split("/")[0]].add(line)
        rows.append(counts.row(file["file"]))
        not_run = sorted({line["line_number"] for line in lines if line["count"] == 0})
        if not_run:
            missing.append(f"{file['file']}: {ranges(not_run)}")
    print(f"{'':44}{'lines':>15}{'branches':>18}")
    print("\n".join(counts.row(name) for name, counts in sorted(folders.items())))
    print("\n" + "\n".join(rows))
    print("\nLines that did not run:\n" + "\n".join(missing))


main()
