#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks how files are written, beyond what clang-format and shellcheck see: tree.py ROOT

- Every source, script and build file names its licence in its first three lines. It is the one that
  packaging/copyright gives for the file: GPL-3.0-or-later for the two programs that are linked with
  espeak-ng, one of which is only for the benchmark, and Apache-2.0 everywhere else.
- No two source files share a name, so that a name says which file is meant. Except the headers that
  only include another one, for clients that include it without its folder.
- No build file compiles a source by a path into another folder.
- CMake files have no damaged comments, tabs, odd indentation or overlong lines.
- Section rulers have one form, "// ---- Title".
- The product reads the environment with secure_getenv(), so that nobody can steer a program that has
  other privileges than the user who starts it.
"""
import fnmatch
import os
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
SKIPPED = {"build", ".git", "corpus", "vectors", "regress"}
SOURCES = {".h", ".cpp", ".c"}
LICENSED = SOURCES | {".sh", ".bash", ".fish", ".cmake", ".py", ".map", ".in", ".1"}
SPDX = re.compile(r"SPDX-License-Identifier: (\S+)$")
PRODUCT = ("base/", "engine/", "interfaces/", "platform/", "tools/")
FORWARDING_HEADERS = {
    f"platform/include/{name}.h" for name in ("ApplicationServices", "FixMath", "SpeechSynthesis")
}
GPL_FOLDERS = ("engine/kavrel-synth/", "bench/anchor_synth/")

failures = []


def fail(path, line, what):
    failures.append(f"{path.relative_to(ROOT)}:{line}: {what}")


def files():
    for folder, folders, names in os.walk(ROOT):
        folders[:] = sorted(name for name in folders if name not in SKIPPED)
        for name in sorted(names):
            yield pathlib.Path(folder) / name


def lines_of(path):
    try:
        return path.read_text(encoding="utf-8").split("\n")
    except UnicodeDecodeError:
        return []


def licence_of(path):
    """The licence that a file must name."""
    inside = path.relative_to(ROOT).as_posix().startswith(GPL_FOLDERS)
    return "GPL-3.0-or-later" if inside else "Apache-2.0"


def check_licence(path, lines, packaged):
    found = [SPDX.search(line.rstrip(" *>-/")) for line in lines[:3]]
    named = [match.group(1) for match in found if match]
    is_script = bool(lines) and lines[0].startswith("#!")
    if path.suffix not in LICENSED and path.name != "CMakeLists.txt" and not is_script and not named:
        return False
    wanted = licence_of(path)
    if named != [wanted]:
        fail(path, 1, f"the first three lines do not name {wanted} (SPDX-License-Identifier), once")
    relative = path.relative_to(ROOT).as_posix()
    # The last matching stanza counts.
    matching = [licence for pattern, licence in packaged if fnmatch.fnmatchcase(relative, pattern)]
    if matching[-1:] != [wanted]:
        fail(path, 1, f"packaging/copyright does not give {wanted} for it")
    return True


def packaged_licences():
    """The patterns of packaging/copyright with their licences, in order."""
    packaged = []
    for stanza in re.split(r"\n\n+", (ROOT / "packaging/copyright").read_text(encoding="utf-8")):
        fields = dict(re.findall(r"^([A-Za-z-]+): *(.*)$", stanza, re.MULTILINE))
        packaged += [(name, fields["License"]) for name in fields.get("Files", "").split()]
    return packaged


def check_cmake(path, lines):
    for number, line in enumerate(lines, 1):
        if re.match(r"\s*#[^ !\[#]", line):
            fail(path, number, "a comment begins with '# '")
        if "\t" in line or line != line.rstrip():
            fail(path, number, "tab, or blank at the end of the line")
        if len(line) > 110:
            fail(path, number, "longer than 110 characters")
        if (len(line) - len(line.lstrip(" "))) % 2 == 1:
            fail(path, number, "indented by an odd number of blanks")
        if re.search(r"(^|[\s\"])(\.\./)+[^\s\"]*\.(cpp|c|h)\b", line):
            fail(path, number, "a source of another folder; make it a library of testkit/")


def check_rulers(path, lines):
    for number, line in enumerate(lines, 1):
        if re.match(r"\s*(//|#) ?-{5,}", line) or re.match(r"\s*(//|#) ---- .*-{4,}\s*$", line):
            fail(path, number, "a section begins with '// ---- Title' and nothing else")


def check_environment(path, lines):
    if not path.relative_to(ROOT).as_posix().startswith(PRODUCT):
        return
    for number, line in enumerate(lines, 1):
        if re.search(r"(?<!secure_)getenv\(", line):
            fail(path, number, "reads the environment with getenv() instead of secure_getenv()")


def main():
    names = {}
    packaged = packaged_licences()
    checked = 0
    for path in files():
        lines = lines_of(path)
        checked += check_licence(path, lines, packaged)
        if path.suffix == ".cmake" or path.name == "CMakeLists.txt":
            check_cmake(path, lines)
        if path.suffix in SOURCES or path.suffix in (".sh", ".py"):
            check_rulers(path, lines)
        if path.suffix in SOURCES:
            check_environment(path, lines)
        if path.suffix in SOURCES and path.relative_to(ROOT).as_posix() not in FORWARDING_HEADERS:
            names.setdefault(path.name.lower(), []).append(path)
    for same in names.values():
        for path in same[1:]:
            fail(path, 1, f"has the name of {same[0].relative_to(ROOT)}")
    for failure in failures:
        print(failure)
    print(f"{checked} files, {len(failures)} failures")
    return 1 if failures or checked < 300 else 0


sys.exit(main())
