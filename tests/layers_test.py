#!/usr/bin/env python3
"""The include test: every #include "..." of the tree, held against the layer table of
docs/architecture.md. A file belongs to the layer of the deepest folder in the table that holds
it; it may include files of its own layer and of the layers its row names (`*`: all). An include
of a folder outside the table, or of a layer the row does not name, fails the test with the
file, the line and the rule it breaks."""

import pathlib
import re
import sys

ROW = re.compile(r"^\| ([a-z_]+) \| `([a-z_/]+)/` \| ([a-z-]+) \| ([^|]*) \|")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')
SOURCE_SUFFIXES = {".h", ".cpp"}


def read_layers(doc):
    """The rows between the markers: layer name -> (folder, the layers it may include or None for all)."""
    layers = {}
    inside = False
    for line in doc.read_text(encoding="utf-8").splitlines():
        if "<!-- layers: begin -->" in line:
            inside = True
        elif "<!-- layers: end -->" in line:
            inside = False
        elif inside and (row := ROW.match(line)):
            name, folder, _part, allowed = row.groups()
            allowed = allowed.strip()
            layers[name] = (folder, None if allowed == "*" else set(re.findall(r"[a-z_]+", allowed)))
    return layers


def layer_of(path, layers):
    """The layer whose folder is the deepest to hold `path` (a path relative to the root)."""
    best = None
    for name, (folder, _) in layers.items():
        if path.startswith(folder + "/") and (best is None or len(folder) > len(layers[best][0])):
            best = name
    return best


def violations(root, layers):
    for file in sorted(root.rglob("*")):
        relative = file.relative_to(root).as_posix()
        if file.suffix not in SOURCE_SUFFIXES or relative.startswith(("build/", ".git/")):
            continue
        own = layer_of(relative, layers)
        if own is None:
            yield f"{relative}: the file is in no layer of the table"
            continue
        allowed = layers[own][1]
        for number, line in enumerate(file.read_text(encoding="utf-8", errors="replace").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            target = match.group(1)
            if not (root / target).exists():
                continue  # a header of a library found on the include path, or one next to the file
            included = layer_of(target, layers)
            if included is None:
                yield f"{relative}:{number}: includes {target}, which is in no layer of the table"
            elif included != own and allowed is not None and included not in allowed:
                yield f"{relative}:{number}: the {own} layer may not include {target} (the {included} layer)"


def self_test():
    """The check itself, on a small tree: an include down is kept, one up and one outside the
    table are reported, and a folder inside another layer's folder is a layer of its own."""
    import tempfile

    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        (root / "docs").mkdir()
        (root / "docs" / "architecture.md").write_text(
            "<!-- layers: begin -->\n"
            "| base | `base/` | logic | — | rules |\n"
            "| image | `image/` | logic | base | pictures |\n"
            "| image_windows | `image/windows/` | logic | base, image, core | windows |\n"
            "| core | `core/` | logic | base, image | program |\n"
            "<!-- layers: end -->\n",
            encoding="utf-8",
        )
        files = {
            "base/rules.h": "",
            "core/program.h": '#include "base/rules.h"\n#include "image/bmp.h"\n',
            "image/bmp.h": '#include "base/rules.h"\n#include <vector>\n#include "core/program.h"\n',
            "image/windows/image_window.h": '#include "core/program.h"\n',
            "stray/thing.h": "",
            "base/uses_stray.h": '#include "stray/thing.h"\n',
        }
        for name, text in files.items():
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_text(text, encoding="utf-8")
        found = list(violations(root, read_layers(root / "docs" / "architecture.md")))
        expected = [
            "base/uses_stray.h:1: includes stray/thing.h, which is in no layer of the table",
            "image/bmp.h:3: the image layer may not include core/program.h (the core layer)",
            "stray/thing.h: the file is in no layer of the table",
        ]
        if found != expected:
            print("the include check itself is wrong:", *found, sep="\n  ")
            return 1
    print("the include check finds what it should")
    return 0


def main():
    if len(sys.argv) > 1 and sys.argv[1] == "--self-test":
        return self_test()
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    layers = read_layers(root / "docs" / "architecture.md")
    if not layers:
        print("docs/architecture.md has no layer table between its markers")
        return 1
    found = list(violations(root, layers))
    for violation in found:
        print(violation)
    print(f"{len(found)} includes against the layer table" if found else "every include keeps to its layer")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
