#!/usr/bin/env python3
"""Fails when a source or public header includes a header of an area above its own.

The areas and their order come from the README's table of areas (lowest
first), so the order is written down once.
"""
import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent
readme = (root / "README.md").read_text()
table = readme[readme.index("| Area | What |"):]
areas = []
for line in table.splitlines()[2:]:
    row = re.match(r"\| `(\w+)` \|", line)
    if row is None:
        break
    areas.append(row.group(1))
rank = {area: i for i, area in enumerate(areas)}

include = re.compile(r'#include\s+[<"](?:brelldata/)?(\w+)/')
failures = []
for top in ("src", "include/brelldata"):
    for path in sorted((root / top).rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        area = path.relative_to(root / top).parts[0]
        if area not in rank:
            if len(path.relative_to(root / top).parts) > 1:
                failures.append(f"{path.relative_to(root)}: area {area} is not in the README's table of areas")
            continue
        for number, line in enumerate(path.read_text().splitlines(), 1):
            match = include.match(line)
            if match and match.group(1) in rank and rank[match.group(1)] > rank[area]:
                failures.append(f"{path.relative_to(root)}:{number}: {area} includes {match.group(1)}, an area above it")

for failure in failures:
    print(failure)
print(f"{len(areas)} areas, {len(failures)} upward includes")
sys.exit(1 if failures else 0)
