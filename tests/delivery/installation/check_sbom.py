#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Whether an SPDX 2.3 document is sound and describes a tree: check_sbom.py DOCUMENT ROOT"""

import hashlib
import json
import os
import re
import subprocess
import sys

failures = 0


def expect(what, condition):
    global failures
    if not condition:
        failures += 1
        print(f"FAILED: {what}")


def has_fields(what, element, names):
    for name in names:
        expect(f"{what} has {name}", element.get(name) not in (None, "", []))


def check_identifiers(document):
    elements = [document] + document["packages"] + document["files"]
    known = [element["SPDXID"] for element in elements]
    for one in known:
        expect(f"{one} is an identifier", re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", one))
    expect("identifiers are unique", len(set(known)) == len(known))
    for relation in document["relationships"]:
        for end in ("spdxElementId", "relatedSpdxElement"):
            expect(f"{relation[end]} is known", relation[end] in known)


def check_files(document, root):
    listed = {}
    for entry in document["files"]:
        has_fields(entry["fileName"], entry, ["licenseConcluded", "licenseInfoInFiles"])
        listed[entry["fileName"]] = {
            c["algorithm"]: c["checksumValue"] for c in entry["checksums"]
        }
    if os.path.exists(os.path.join(root, ".git")):
        out = subprocess.run(
            ["git", "-C", root, "ls-files", "-z"], check=True, capture_output=True
        ).stdout.decode()
        tracked = {"./" + name for name in out.split("\0") if name}
        expect(f"lists every tracked file: {tracked ^ set(listed)}", tracked == set(listed))
    expect("lists files", len(listed) > 100)
    for name, sums in listed.items():
        with open(os.path.join(root, name), "rb") as file:
            data = file.read()
        expect(f"SHA1 of {name}", sums.get("SHA1") == hashlib.sha1(data).hexdigest())
        expect(f"SHA256 of {name}", sums.get("SHA256") == hashlib.sha256(data).hexdigest())
    licences = {entry["fileName"]: entry["licenseConcluded"] for entry in document["files"]}
    expect("reads SPDX lines", licences["./CMakeLists.txt"] == "Apache-2.0")
    copyleft = {name for name, licence in licences.items() if licence == "GPL-3.0-or-later"}
    folders = ("./engine/kavrel-synth/", "./bench/anchor_synth/")
    programs = {name for name in licences if name.startswith(folders)}
    expect(
        f"GPL files are those of the programs with espeak-ng: {copyleft ^ programs}",
        copyleft == programs,
    )


def check_packages(document):
    for package in document["packages"]:
        has_fields(
            package["name"],
            package,
            ["versionInfo", "downloadLocation", "licenseConcluded", "licenseDeclared"],
        )
    sums = sorted(
        c["checksumValue"]
        for entry in document["files"]
        for c in entry["checksums"]
        if c["algorithm"] == "SHA1"
    )
    project = document["packages"][0]
    code = project["packageVerificationCode"]["packageVerificationCodeValue"]
    expect("verification code", code == hashlib.sha1("".join(sums).encode()).hexdigest())
    relations = {
        (r["relationshipType"], r["relatedSpdxElement"]) for r in document["relationships"]
    }
    expect("describes the project", ("DESCRIBES", project["SPDXID"]) in relations)


# What each installed file is linked with, starts or reads, besides the C and C++ libraries; by the
# start of the name.
EXPECTED = {
    "kavrel-synth": ["espeak-ng-data", "libespeak-ng1", "libseccomp2"],
    "libkavrel.so": ["kavrel-synth", "libcubeb0", "libicu", "libpulse0"],
    "libSpeechManager.so": ["libicu", "libpugixml"],
    "KavrelSpeech.so": ["libSpeechManager.so", "libkavrel.so"],
    "kavrel-say": [
        "libSpeechManager.so",
        "libcli11-dev",
        "libicu",
        "libkavrel.so",
        "libsamplerate0",
        "libsndfile1",
        "nlohmann-json3-dev",
    ],
    "kavrel-ssml": ["libSpeechManager.so", "libcli11-dev", "libicu", "libkavrel.so"],
}
RUNTIME = ("libc6", "libgcc-s1", "libstdc++6")


def check_binaries(document):
    by_id = {package["SPDXID"]: package for package in document["packages"]}
    project = document["packages"][0]["SPDXID"]
    made = set()
    dependencies = {identifier: set() for identifier in by_id}
    for relation in document["relationships"]:
        one, other = relation["spdxElementId"], relation["relatedSpdxElement"]
        if relation["relationshipType"] == "GENERATED_FROM" and other == project:
            made.add(one)
        if relation["relationshipType"] == "DEPENDS_ON":
            dependencies[one].add(by_id[other]["name"])
    expect("lists what is made of the project", len(made) == len(EXPECTED))
    needed = set().union(*dependencies.values()) | {by_id[one]["name"] for one in made}
    for identifier in by_id:
        name = by_id[identifier]["name"]
        expect(f"{name} is used", identifier == project or name in needed)
    for identifier in made:
        name = by_id[identifier]["name"]
        start = next((one for one in EXPECTED if name.startswith(one)), None)
        expect(f"knows {name}", start is not None)
        found = sorted(one for one in dependencies[identifier] if one not in RUNTIME)
        expected = sorted(EXPECTED.get(start, []))
        same = len(found) == len(expected) and all(map(str.startswith, found, expected))
        expect(f"{name} depends on {expected}, found {found}", same)
        licence = "GPL-3.0-or-later" if start == "kavrel-synth" else "Apache-2.0"
        expect(f"{name} is {licence}", by_id[identifier]["licenseDeclared"] == licence)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        document = json.load(file)
    has_fields("the document", document, ["name", "documentNamespace", "creationInfo"])
    expect("version", document["spdxVersion"] == "SPDX-2.3")
    expect("licence of the data", document["dataLicense"] == "CC0-1.0")
    created = document["creationInfo"]["created"]
    expect("time", re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", created))
    for creator in document["creationInfo"]["creators"]:
        expect("creator", re.match(r"(Tool|Organization|Person): .", creator))
    check_identifiers(document)
    check_files(document, sys.argv[2])
    check_packages(document)
    check_binaries(document)
    sys.exit(1 if failures else 0)


main()
