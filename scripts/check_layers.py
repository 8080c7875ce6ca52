#!/usr/bin/env python3
"""Checks that every layer under src/ includes only its own headers and those
of the layers it may use (see ARCHITECTURE.md, "Layers").

Usage: check_layers.py SRC_DIR   -- exits 1 and lists each offending include.
"""
import pathlib
import re
import sys

# layer -> layers it may include besides itself
ALLOWED = {
    "foundation": set(),
    "model": {"foundation"},
    "midi": {"model", "foundation"},
    "audio": {"model", "foundation"},
    "document": {"audio", "midi", "model", "foundation"},
    "render": {"document", "audio", "midi", "model", "foundation"},
    "cli": {"render", "document", "audio", "midi", "model", "foundation"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"/]+)/')


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    src = pathlib.Path(sys.argv[1])
    faults = []
    for layer, allowed in ALLOWED.items():
        folder = src / layer
        if not folder.is_dir():
            continue
        for path in sorted(folder.rglob("*")):
            if path.suffix not in {".h", ".hpp", ".cpp", ".inl"}:
                continue
            lines = path.read_text(encoding="utf-8", errors="replace").splitlines()
            for number, line in enumerate(lines, 1):
                match = INCLUDE.match(line)
                if not match:
                    continue
                target = match.group(1)
                if target in ALLOWED and target != layer and target not in allowed:
                    faults.append(f"{path}:{number}: layer '{layer}' includes '{target}': {line.strip()}")
    for fault in faults:
        print(fault)
    if faults:
        print(f"{len(faults)} include(s) reach above their layer", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
