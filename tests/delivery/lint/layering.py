#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the includes of the product to its layers: layering.py ROOT

A layer may include its own files, the public headers of the layer right below it, Apple's types
(platform/include) and base/. Inside the engine each folder of src/ is a layer, too. Exceptions stand
in EXCEPTIONS, each with its reason. The test also fails for an exception that nobody needs, and for
an include that it cannot find, so that it never checks less than it seems to.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()

# A layer: the folder of its files, the folders in which its quoted and named includes are looked up,
# and the layers whose files it may include.
LAYERS = {
    "base": ["base"],
    "engine interface": ["engine/include"],
    "engine rate": ["engine/src/sample_rate.h"],
    "engine cst": ["engine/src/cst"],
    "engine text": ["engine/src/text"],
    "engine synth protocol": [
        "engine/src/synth/synth_protocol.h",
        "engine/src/synth/synth_protocol.cpp",
    ],
    "engine synth": ["engine/src/synth"],
    "engine output": ["engine/src/output"],
    "engine job": ["engine/src/job"],
    "engine api": ["engine/src/api"],
    "kavrel-synth": ["engine/kavrel-synth"],
    "platform interface": ["platform/include"],
    "platform": ["platform/src"],
    "plug-in": ["interfaces/SpeechMgr"],
    "tools common": ["tools/common"],
    "kavrel-say": ["tools/kavrel-say"],
    "kavrel-ssml": ["tools/kavrel-ssml"],
}
ENGINE_COMMON = {"base", "engine interface", "engine rate", "engine cst"}
ALLOWED = {
    "base": set(),
    "engine interface": set(),
    "engine rate": set(),
    "engine cst": {"base", "engine interface"},
    "engine text": ENGINE_COMMON,
    "engine synth protocol": {"base"},
    "engine synth": ENGINE_COMMON | {"engine text", "engine synth protocol"},
    "engine output": ENGINE_COMMON,
    "engine job": ENGINE_COMMON | {"engine text", "engine synth", "engine output"},
    "engine api": ENGINE_COMMON
    | {"engine text", "engine synth", "engine output", "engine job"},
    "kavrel-synth": {"base", "engine synth protocol"},
    "platform interface": set(),
    "platform": {"base", "platform interface"},
    "plug-in": {"base", "engine interface", "platform interface"},
    "tools common": {"base"},
    "kavrel-say": {"base", "platform interface", "tools common"},
    "kavrel-ssml": {"base", "tools common"},
}
# Where an include is looked up, in order, after the folder of the file itself.
SEARCH = [
    "",
    "engine/include",
    "engine/src",
    "platform/include",
    "platform/src",
    "interfaces/SpeechMgr",
    "tools/common",
    "tools/kavrel-say",
    "tools/kavrel-ssml",
]
# Libraries that one layer alone may know.
LIBRARIES = {
    "espeak-ng/": {"kavrel-synth"},
    "seccomp.h": {"kavrel-synth"},
    "cubeb/": {"engine output"},
    "pulse/": {"engine output"},
    "sndfile.h": {"kavrel-say"},
    "samplerate.h": {"kavrel-say"},
    "unicode/": {"base"},
    "pugixml.hpp": {"platform"},
}
# (layer, header's layer or header) -> why.
EXCEPTIONS = {
    ("kavrel-say", "engine/include/kavrel_observer.h"): "the times of events are the engine's alone",
    ("kavrel-ssml", "plug-in"): "it is a client of the plug-in's converter, not of the Manager",
    ("kavrel-ssml", "platform/src/SpeechSynthesis/texts/TextAdapter.h"): "it shows what the Manager adapts",
    ("kavrel-say", "engine/include/kavrel.h"): "the Manager does not know sound devices; the engine lists them",
}

failures = []
used = set()


def layer_of(path):
    for layer, folders in LAYERS.items():
        if any(path == folder or path.startswith(folder + "/") for folder in folders):
            return layer
    return None


def find(name, folder, tracked):
    for root in [folder] + SEARCH:
        path = f"{root}/{name}" if root else name
        path = str(pathlib.PurePosixPath(path))
        if path in tracked:
            return path
    return None


def check(path, tracked):
    layer = layer_of(path)
    folder = str(pathlib.PurePosixPath(path).parent)
    text = (ROOT / path).read_text(encoding="utf-8")
    for number, line in enumerate(text.splitlines(), 1):
        match = re.match(r'\s*#\s*include\s*([<"])([^">]+)[">]', line)
        if not match:
            continue
        quoted, name = match.group(1) == '"', match.group(2)
        for library, owners in LIBRARIES.items():
            if name.startswith(library) and layer not in owners:
                failures.append(f"{path}:{number}: {name} belongs to {', '.join(sorted(owners))}")
        target = find(name, folder if quoted else "", tracked)
        if target is None:
            if quoted:
                failures.append(f"{path}:{number}: {name} is not a file of the project")
            continue
        other = layer_of(target)
        if other == layer or other in ALLOWED[layer]:
            continue
        for key in ((layer, target), (layer, other)):
            if key in EXCEPTIONS:
                used.add(key)
                break
        else:
            failures.append(f"{path}:{number}: {layer} must not include {target} ({other})")


def main():
    listed = subprocess.run(
        ["find", "."] + "-type f ( -name *.h -o -name *.cpp -o -name *.c )".split(),
        cwd=ROOT, capture_output=True, text=True, check=True).stdout.split()
    tracked = {name[2:] for name in listed if not name.startswith(("./build/", "./.git/"))}
    product = sorted(path for path in tracked if layer_of(path))
    for path in product:
        check(path, tracked)
    for path in sorted(tracked):
        top = path.split("/")[0]
        if top in ("base", "engine", "platform", "interfaces", "tools") and not layer_of(path):
            failures.append(f"{path}: belongs to no layer")
    for key in EXCEPTIONS:
        if key not in used:
            failures.append(f"the exception {key} is not needed")
    for failure in failures:
        print(failure)
    print(f"{len(product)} files, {len(failures)} failures")
    return 1 if failures or len(product) < 200 else 0


sys.exit(main())
