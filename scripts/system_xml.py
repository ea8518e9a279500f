#!/usr/bin/env python3
"""Compares the tool's standard mode with libxml2 on the machine's own XML files.

Usage: system_xml.py [--jobs N] [--list] TOOL [ROOT ...]

Finds every *.xml file under each ROOT (default /), leaving out /proc,
/sys, /dev, /run, /tmp and /work (scratch and the work trees), and reads
each one twice:

  vornxml --standard --select '//*' --count FILE
  xmllint --noout --nonet FILE            (accepted or not), then
  xmllint --nonet --noent --xpath 'count(//*)' FILE   (elements)

libxml2 fetches nothing (--nonet) and reads no external DTD (no
--loaddtd).  A file agrees when both accept it with the same number of
elements, or both refuse it.  The table counts each kind of outcome; with
--list the files that disagree are named.  Not a CI stage: it depends on
what the machine has installed.
"""

import argparse
import collections
import concurrent.futures
import os
import subprocess
import sys

SKIPPED = ("/proc", "/sys", "/dev", "/run", "/tmp", "/work")


def xml_files(roots):
    for root in roots:
        for folder, subfolders, files in os.walk(root):
            subfolders[:] = [s for s in subfolders if os.path.join(folder, s) not in SKIPPED]
            for name in files:
                path = os.path.join(folder, name)
                if name.endswith(".xml") and os.path.isfile(path) and not os.path.islink(path):
                    yield path


def run(args):
    try:
        done = subprocess.run(args, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, check=False)
    except subprocess.TimeoutExpired:
        return None, ""
    return done.returncode, done.stdout.decode("utf-8", "replace").strip()


def compare(tool, path):
    status, output = run([tool, "--standard", "--select", "//*", "--count", path])
    ours = int(output) if status == 0 and output.isdigit() else None
    status, _ = run(["xmllint", "--noout", "--nonet", path])
    theirs = None
    if status == 0:
        status, output = run(["xmllint", "--nonet", "--noent", "--xpath", "count(//*)", path])
        theirs = int(output) if status == 0 and output.isdigit() else None
    if ours is not None and theirs is not None:
        outcome = "both read, same elements" if ours == theirs else "both read, element counts differ"
    elif ours is None and theirs is None:
        outcome = "both refuse"
    elif ours is None:
        outcome = "libxml2 alone reads"
    else:
        outcome = "vornxml alone reads"
    return path, outcome, ours, theirs


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("tool")
    parser.add_argument("roots", nargs="*", default=["/"])
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--list", action="store_true", help="name the files that disagree")
    options = parser.parse_args()

    files = sorted(xml_files(options.roots))
    with concurrent.futures.ThreadPoolExecutor(max_workers=options.jobs) as pool:
        results = list(pool.map(lambda p: compare(options.tool, p), files))

    counts = collections.Counter(outcome for _, outcome, _, _ in results)
    print("| outcome | files |")
    print("| --- | ---: |")
    for outcome in ("both read, same elements", "both refuse", "both read, element counts differ",
                    "libxml2 alone reads", "vornxml alone reads"):
        print("| %s | %d |" % (outcome, counts[outcome]))
    agree = counts["both read, same elements"] + counts["both refuse"]
    print("%d files, %d agree, %d disagree" % (len(results), agree, len(results) - agree))
    if options.list:
        for path, outcome, ours, theirs in results:
            if outcome not in ("both read, same elements", "both refuse"):
                print("%s: %s (vornxml %s, libxml2 %s)" % (path, outcome, ours, theirs), file=sys.stderr)
    return 0 if agree == len(results) else 1


if __name__ == "__main__":
    sys.exit(main())
