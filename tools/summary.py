#!/usr/bin/env python3
"""Adds up JUnit reports and prints one closing line. Exit status 1 when a test failed, or none ran."""
import sys
import xml.etree.ElementTree as tree

passed = failed = skipped = 0
for path in sys.argv[1:]:
    try:
        cases = list(tree.parse(path).getroot().iter("testcase"))
    except (OSError, tree.ParseError) as error:
        print(f"{path}: no report ({error})")
        failed += 1
        continue
    ran = 0
    for case in cases:
        if case.find("failure") is not None or case.find("error") is not None or case.get("status") == "fail":
            failed += 1
            ran += 1
            print(f"FAILED {path}: {case.get('classname')} {case.get('name')}")
        elif case.find("skipped") is not None or case.get("status") in ("notrun", "disabled"):
            skipped += 1
            reason = case.find("skipped")
            print(f"SKIPPED {path}: {case.get('name')} {'' if reason is None else reason.get('message')}")
        else:
            passed += 1
            ran += 1
    if ran == 0:
        print(f"{path}: no test ran")
        failed += 1
print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""))
sys.exit(1 if failed or not passed else 0)
