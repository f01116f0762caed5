"""Tells how many GoogleTest tests the reports in a folder comprise, and names those that were skipped, each with its reason."""

import pathlib
import sys
import xml.etree.ElementTree

ran, skipped = 0, []
for report in sorted(pathlib.Path(sys.argv[1]).glob("*.xml")):
    for test in xml.etree.ElementTree.parse(report).getroot().iter("testcase"):
        reason = test.find("skipped")
        if reason is None:
            ran += test.get("status") == "run"
        else:
            lines = (reason.get("message") or reason.text or "").strip().splitlines()
            skipped.append(f"skipped: {test.get('classname')}.{test.get('name')}: {lines[-1] if lines else 'no reason'}")
print(*sorted(skipped), f"{ran} tests run, {len(skipped)} skipped", sep="\n")
