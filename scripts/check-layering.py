#!/usr/bin/env python3
"""Checks that includes between the engine's folders point one way.

The order is the block between the "layers:" and "end of layers" lines of
kit/README.md, lowest layer first; folders on one line form one layer and may
not include each other. A folder includes only folders of lower layers; the
command line and the app sit above all of kit/. Every folder of kit/ must be
listed. With --counts, prints how many include lines go from each folder to
each other folder, then checks as usual.
"""

import collections
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
SOURCE_SUFFIXES = {".h", ".cpp"}


def read_layers():
    lines = (ROOT / "kit" / "README.md").read_text().splitlines()
    try:
        start = lines.index("layers:") + 1
        end = lines.index("end of layers", start)
    except ValueError:
        sys.exit("kit/README.md has no 'layers:' ... 'end of layers' block")
    layers = [line.split() for line in lines[start:end] if line.strip()]
    layers.append(["cli", "app"])
    return {folder: rank for rank, folders in enumerate(layers) for folder in folders}


def folder_of(path):
    """The layer folder a file of the repository belongs to; none outside kit/, cli/ and app/."""
    parts = path.relative_to(ROOT).parts
    if parts[0] == "kit" and len(parts) > 2:
        return parts[1]
    if parts[0] in ("cli", "app") and "tests" not in parts:
        return parts[0]
    return None


def included_folder(target):
    parts = target.split("/")
    if parts[0] == "kit" and len(parts) > 2:
        return parts[1]
    if parts[0] in ("cli", "app"):
        return parts[0]
    return None


def main():
    rank = read_layers()
    edges = collections.Counter()
    violations = []
    unlisted = {entry.name for entry in (ROOT / "kit").iterdir() if entry.is_dir() and entry.name not in rank}
    for top in ("kit", "cli", "app"):
        for path in sorted((ROOT / top).rglob("*")):
            source = folder_of(path)
            if path.suffix not in SOURCE_SUFFIXES or source is None:
                continue
            for target in INCLUDE.findall(path.read_text(errors="replace")):
                destination = included_folder(target)
                if destination is None or destination == source:
                    continue
                edges[(source, destination)] += 1
                for folder in (source, destination):
                    if folder not in rank:
                        unlisted.add(folder)
                if source in rank and destination in rank and rank[destination] >= rank[source]:
                    violations.append(f"{path.relative_to(ROOT)}: {source} includes {target}")

    if "--counts" in sys.argv[1:]:
        for (source, destination), count in sorted(edges.items()):
            print(f"{count:5d}  {source} -> {destination}")

    for folder in sorted(unlisted):
        print(f"kit/{folder} is not in the layers of kit/README.md", file=sys.stderr)
    for line in violations:
        print(line, file=sys.stderr)
    if unlisted or violations:
        print("layering: an include points against the order of kit/README.md", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
