"""Compares the list of contents of a release with what its archives hold, unpacked by their own tools:

    compare-contents.py LIST ARCHIVE DIRECTORY [ARCHIVE DIRECTORY]...

Prints each difference, and ends with status 1 when there is any.
"""
from __future__ import annotations

import hashlib
import json
import sys
from pathlib import Path


def sha256(checksums: list[dict[str, str]]) -> str:
    return next(one["checksumValue"] for one in checksums if one["algorithm"] == "SHA256")


def main() -> int:
    document = json.loads(Path(sys.argv[1]).read_text())
    files = {file["SPDXID"]: file for file in document["files"]}
    packages = {package["SPDXID"]: package for package in document["packages"]}
    archives = {package.get("packageFileName"): key for key, package in packages.items()}
    differences = []
    if len(files) != len(document["files"]) or len(packages) != len(document["packages"]):
        differences.append("an identifier stands for two things")
    seen = set()
    for relation in document["relationships"]:
        if relation["relatedSpdxElement"] not in files | packages:
            differences.append(f"unknown: {relation['relatedSpdxElement']}")
    arguments = sys.argv[2:]
    for archive, directory in zip(map(Path, arguments[::2]), map(Path, arguments[1::2])):
        key = archives[archive.name]
        listed = {
            (file["fileName"], sha256(file["checksums"]))
            for relation in document["relationships"]
            if relation["spdxElementId"] == key and relation["relationshipType"] == "CONTAINS"
            for file in [files[relation["relatedSpdxElement"]]]
        }
        found = {
            (f"./{path.relative_to(directory).as_posix()}", hashlib.sha256(path.read_bytes()).hexdigest())
            for path in directory.rglob("*")
            if path.is_file()
        }
        if not found:
            differences.append(f"{archive.name}: empty")
        if sha256(packages[key]["checksums"]) != hashlib.sha256(archive.read_bytes()).hexdigest():
            differences.append(f"{archive.name}: another checksum")
        for name, _ in sorted(listed ^ found):
            differences.append(f"{archive.name}: {name}")
        seen.add(key)
    missing = {key for name, key in archives.items() if name is not None} - seen
    differences += [f"not there: {key}" for key in sorted(missing)]
    print("\n".join(differences), end="\n" if differences else "")
    return 1 if differences else 0


sys.exit(main())
