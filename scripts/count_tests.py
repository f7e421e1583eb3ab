#!/usr/bin/env python3
"""count_tests.py FOLDER: counts the test cases of a run from the report of ctest and, beside it, the
reports that the test programs wrote themselves. Closes with 'N passed, N failed[, N skipped]' and
leaves the three numbers in FOLDER/total."""
import json
import pathlib
import sys
import xml.etree.ElementTree as xml


def cases_of_program(report):
    """Passed, failed and skipped cases of one test program."""
    counts = {"passed": 0, "failed": 0, "skipped": 0}
    for suite in json.loads(report.read_text())["testsuites"]:
        for case in suite["testsuite"]:
            if case["status"] == "NOTRUN":
                continue
            if case.get("failures"):
                counts["failed"] += 1
            elif case["result"] == "SKIPPED":
                counts["skipped"] += 1
            else:
                counts["passed"] += 1
    return counts


def main():
    folder = pathlib.Path(sys.argv[1])
    total = {"passed": 0, "failed": 0, "skipped": 0}
    for entry in xml.parse(folder / "ctest.xml").getroot().iter("testcase"):
        status = {"run": "passed", "fail": "failed"}.get(entry.get("status"), "skipped")
        report = folder / (entry.get("name") + ".json")
        counts = cases_of_program(report) if report.exists() else {status: 1}
        if status == "failed" and not counts.get("failed"):
            counts["failed"] = 1  # it crashed, or a sanitizer spoke after the last case
        for kind, count in counts.items():
            total[kind] += count
    skipped = f", {total['skipped']} skipped" if total["skipped"] else ""
    (folder / "total").write_text(" ".join(str(count) for count in total.values()) + "\n")
    print(f"{total['passed']} passed, {total['failed']} failed{skipped}")
    return 1 if total["failed"] or not total["passed"] else 0


if __name__ == "__main__":
    sys.exit(main())
