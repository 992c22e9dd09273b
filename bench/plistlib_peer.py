#!/usr/bin/env python3
"""Peer for bench_iphoto_parse: reads a property-list XML file with plistlib.

    plistlib_peer.py FILE

Prints "elapsed=<seconds> entries=<photos in Master Image List>"; the time
covers reading and parsing the file, not the interpreter's start."""

import plistlib
import sys
import time


def main():
    if len(sys.argv) != 2:
        sys.stderr.write(__doc__)
        return 2
    start = time.perf_counter()
    with open(sys.argv[1], "rb") as stream:
        root = plistlib.load(stream)
    elapsed = time.perf_counter() - start
    photos = root.get("Master Image List", {}) if isinstance(root, dict) else {}
    print("elapsed=%.6f entries=%d" % (elapsed, len(photos)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
