#!/usr/bin/env python3
"""The user guide's test: every picture docs/guide.md shows is one a desktop test takes (named as
a literal "name.png" in tests/gui, or after a window of a table of windows photographed as
{"Window", ...}), and every text the guide quotes in double quotes is a caption of the program:
a string literal of its sources, its '&' mnemonic marks and outer blanks dropped. Code spans and
code blocks are not quoted captions. --self-test checks the checks on a small made-up guide."""

import pathlib
import re
import sys

IMAGE = re.compile(r"!\[[^\]]*\]\(images/([^)\s]+)\)")
QUOTED = re.compile(r'"([^"]+)"')
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
PROGRAM_FOLDERS = ("base", "platform", "ui", "image", "core", "movie", "capture", "net", "peripherals", "triggers",
                   "main_window", "gui", "apps")


def prose(guide):
    """The guide without its code, its blanks and line ends each one blank."""
    text = re.sub(r"```.*?```", " ", guide, flags=re.S)
    text = re.sub(r"`[^`]*`", " ", text)
    return re.sub(r"\s+", " ", text)


def literals(sources):
    found = set()
    for text in sources:
        for literal in LITERAL.findall(text):
            found.add(literal.replace('\\"', '"').replace("\\\\", "\\").replace("&", "").strip())
    return found


def faults(guide, program_sources, test_sources):
    tests = "\n".join(test_sources)
    captions = literals(program_sources)
    found = []
    for image in IMAGE.findall(guide):
        window = image.removesuffix(".png")
        if f'"{image}"' not in tests and f'{{"{window}",' not in tests:
            found.append(f"the guide shows images/{image}, which no desktop test takes")
    for quoted in QUOTED.findall(prose(guide)):
        if quoted.strip() not in captions:
            found.append(f'the guide quotes "{quoted}", which is no caption of the program')
    return found


def read_tree(root):
    program = [p.read_text(encoding="utf-8", errors="replace") for folder in PROGRAM_FOLDERS
               for p in sorted((root / folder).rglob("*")) if p.suffix in {".h", ".cpp"}]
    tests = [p.read_text(encoding="utf-8") for p in sorted((root / "tests" / "gui").glob("*.cpp"))]
    return (root / "docs" / "guide.md").read_text(encoding="utf-8"), program, tests


def self_test():
    guide = ('Press "&Start" then "Stop"; `"code"` is no caption.\n'
             '![a](images/taken.png) ![b](images/Window.png) ![c](images/stale.png)\n'
             'A caption over "two\nlines" and one "Missing".\n')
    program = ['Caption = "Sta&rt"; x = "Stop "; y = "two lines";']
    tests = ['Screenshot(w, "taken.png"); {"Window", open, nullptr},']
    expected = ["the guide shows images/stale.png, which no desktop test takes",
                'the guide quotes "&Start", which is no caption of the program',
                'the guide quotes "Missing", which is no caption of the program']
    got = faults(guide, program, tests)
    if got != expected:
        print("FAIL: the checks found", got, "instead of", expected)
        return 1
    print("PASS")
    return 0


def main(argv):
    if argv[1:] == ["--self-test"]:
        return self_test()
    found = faults(*read_tree(pathlib.Path(argv[1])))
    for fault in found:
        print(fault)
    print("FAIL" if found else "PASS")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
