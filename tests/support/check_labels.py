# SPDX-License-Identifier: GPL-3.0-or-later
"""Compares the labels of a build's tests with their table, tests/labels.txt.

    check_labels.py CTEST BUILD_FOLDER LABELS_FILE

Prints a line for each test that has not exactly one label of what it needs, and for each line of the table that is no
label and pattern, or whose pattern fits no test. Fails when there are any.
"""
import fnmatch
import json
import subprocess
import sys

NEEDS = {"unit", "desktop", "sound"}
LABELS = NEEDS | {"slow"}


def labels_of(test):
    for entry in test["properties"]:
        if entry["name"] == "LABELS":
            return set(entry["value"])
    return set()


def problems_of_tests(tests):
    for name, labels in tests.items():
        if len(labels & NEEDS) != 1 or not labels <= LABELS:
            yield f"{name} has the labels {sorted(labels)}, not exactly one of {sorted(NEEDS)}"


def problems_of_table(table, tests):
    with open(table, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            words = line.split()
            if line.startswith("#") or not words:
                continue
            if len(words) != 2 or words[0] not in LABELS:
                yield f"{table}:{number}: not a label and a pattern"
            elif not fnmatch.filter(tests, words[1]):
                yield f"{table}:{number}: no test is called {words[1]}"


def main(ctest, folder, table):
    shown = subprocess.run([ctest, "--test-dir", folder, "--show-only=json-v1"], check=True, capture_output=True)
    tests = {test["name"]: labels_of(test) for test in json.loads(shown.stdout)["tests"]}
    problems = [f"{name}: build all tests first" for name in tests if name.endswith("_NOT_BUILT")]
    problems = problems or [*problems_of_tests(tests), *problems_of_table(table, tests)]
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
