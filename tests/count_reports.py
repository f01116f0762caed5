"""Tells how many GoogleTest tests the reports of a cross-build comprise, and names all that was not run, each with its reason: skipped tests of programs and of
scripts, and tests that only the native build has. Fails when a test that stands in the sources, or that the native build has, is missing without a reason.

usage: count_reports.py BUILD NATIVE_BUILD    both configured; the tests of BUILD have been run since its folder test-reports was made
"""

import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

TEST = re.compile(r"^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)


def pairs(files):
    """The lines "name, tab, reason" of files."""
    return dict(line.split("\t", 1) for file in files for line in file.read_text().splitlines())


def ctests(build):
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True, text=True).stdout
    return {test["name"] for test in json.loads(listing)["tests"]}


def main(build, native_build):
    reports = pathlib.Path(build) / "test-reports"
    ran, skipped, programs, reported = 0, pairs(sorted(reports.glob("*.skipped"))), [], set()
    for report in sorted(reports.glob("*.xml")):
        programs.append(report.stem)
        for test in xml.etree.ElementTree.parse(report).getroot().iter("testcase"):
            name = f"{test.get('classname')}.{test.get('name')}"
            reported.add(f"{test.get('classname').split('/')[-1]}.{test.get('name').split('/')[0]}")  # without the names of parameters
            reason = test.find("skipped")
            if reason is None:
                ran += test.get("status") == "run"
            else:
                lines = (reason.get("message") or reason.text or "").strip().splitlines()
                skipped[name] = lines[-1] if lines else "no reason"
    left_out = pairs([pathlib.Path(build) / "left-out-tests.txt"])

    in_sources = {f"{suite}.{name}" for file in pathlib.Path(__file__).parent.rglob("*.cpp") for suite, name in TEST.findall(file.read_text())}
    here, native = ctests(build), ctests(native_build)
    of_programs = {name for name in native for program in programs if name == f"{program}_NOT_BUILT" or name.startswith(f"{program}.")}
    missing = sorted(in_sources - reported) + sorted(native - of_programs - here - left_out.keys())
    missing += [f"{name} (said to be left out)" for name in sorted(left_out.keys() & here)]

    print(*(f"skipped: {name}: {reason}" for name, reason in sorted(skipped.items())), sep="\n")
    print(*(f"left out: {name}: {reason}" for name, reason in sorted(left_out.items())), sep="\n")
    print(f"{ran} GoogleTest tests run; {len(skipped)} tests skipped, {len(left_out)} left out")
    if missing or not ran:
        sys.exit("\n".join(["not run, and nothing says why:", *missing]))


if __name__ == "__main__":
    main(*sys.argv[1:])
