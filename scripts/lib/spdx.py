"""Writes the list of contents of a release, in the format SPDX 2.3, to standard output:

    SOURCE_DATE_EPOCH=SECONDS spdx.py VERSION ARCHIVE...

Each file in the archives is listed with its checksums and its licence, each library of
packaging/libraries.json that is linked into a program with the version that is installed here.
"""
from __future__ import annotations

import hashlib
import io
import json
import os
import re
import subprocess
import sys
import tarfile
from datetime import datetime, timezone
from pathlib import Path
from typing import Any

LIBRARIES = json.loads((Path(__file__).resolve().parent.parent.parent / "packaging/libraries.json").read_text())
AUTHORS = "Organization: KVL Launcher authors"
COPYRIGHT = "Copyright (c) 2026 the KVL Launcher authors"

Element = dict[str, Any]


def spdx_id(*words: str) -> str:
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", "-".join(words))


def describe(library: dict[str, str], cross: str) -> Element:
    """`cross` is what Debian puts behind the names of packages for another processor."""
    package = library["package"].format(cross=cross)
    query = ["dpkg-query", "-W", "-f", "${Version} ${source:Package}", package]
    version, source = subprocess.run(query, check=True, capture_output=True, text=True).stdout.split()
    return {
        "SPDXID": spdx_id("Library", package), "name": library["name"], "versionInfo": version,
        "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
        "licenseConcluded": library["licence"], "licenseDeclared": library["licence"],
        "copyrightText": library["copyright"],
        "comment": f"from the Debian package {package}, source package {source}",
    }


def linked_into(archive: str, name: str) -> list[Element]:
    if archive.endswith("-source.tar.gz") or "/bin/" not in name:
        return []
    cross = "-arm64-cross" if "arm64" in archive else ""
    return [describe(library, cross) for library in LIBRARIES if Path(name).name in library["in"]]


def checksums_of(data: bytes) -> list[dict[str, str]]:
    return [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, data).hexdigest()}
            for name in ("sha1", "sha256")]


def files_in(archive: Path) -> dict[str, bytes]:
    data = archive.read_bytes()
    if archive.suffix == ".deb":
        data = subprocess.run(["dpkg-deb", "--fsys-tarfile", archive], check=True, capture_output=True).stdout
    with tarfile.open(fileobj=io.BytesIO(data)) as tar:
        opened = {member.name.removeprefix("./"): tar.extractfile(member) for member in tar}
        return {name: file.read() for name, file in sorted(opened.items()) if file is not None}


class Document:
    def __init__(self, version: str) -> None:
        self.version = version
        self.packages: dict[str, Element] = {}
        self.files: list[Element] = []
        self.relationships: list[dict[str, str]] = []

    def relate(self, one: str, kind: str, other: str) -> None:
        self.relationships.append(
            {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other})

    def add_file(self, archive: str, name: str, data: bytes) -> Element:
        linked = linked_into(archive, name)
        place = hashlib.sha1(f"{archive}/{name}".encode()).hexdigest()[:16]
        file: Element = {
            "SPDXID": spdx_id("File", place, Path(name).name), "fileName": f"./{name}",
            "fileTypes": ["BINARY" if linked else "OTHER"], "checksums": checksums_of(data),
            "licenseConcluded": " AND ".join(sorted({"MIT", *(one["licenseConcluded"] for one in linked)})),
            "licenseInfoInFiles": ["NOASSERTION"],
            "copyrightText": "\n".join(dict.fromkeys([COPYRIGHT, *(one["copyrightText"] for one in linked)])),
        }
        self.files.append(file)
        for one in linked:
            self.packages[one["SPDXID"]] = one
            self.relate(file["SPDXID"], "STATIC_LINK", one["SPDXID"])
        return file

    def add_archive(self, archive: Path) -> None:
        files = [self.add_file(archive.name, name, data) for name, data in files_in(archive).items()]
        sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
        licences = {one for file in files for one in file["licenseConcluded"].split(" AND ")}
        key = spdx_id("Archive", archive.name)
        self.packages[key] = {
            "SPDXID": key, "name": archive.name, "versionInfo": self.version, "packageFileName": archive.name,
            "supplier": AUTHORS, "downloadLocation": "NOASSERTION", "filesAnalyzed": True,
            "packageVerificationCode": {
                "packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest()},
            "checksums": checksums_of(archive.read_bytes()),
            "licenseConcluded": " AND ".join(sorted(licences)), "licenseDeclared": "MIT",
            "licenseInfoFromFiles": ["NOASSERTION"], "copyrightText": COPYRIGHT,
        }
        for file in files:
            self.relate(key, "CONTAINS", file["SPDXID"])
        self.relate("SPDXRef-DOCUMENT", "DESCRIBES", key)

    def text(self) -> str:
        made = datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), timezone.utc)
        packages = [self.packages[key] for key in sorted(self.packages)]
        lists = {"packages": packages, "files": self.files, "relationships": self.relationships}
        # A name of its own for each list: the same contents give the same one.
        digest = hashlib.sha256(json.dumps(lists).encode()).hexdigest()
        return json.dumps({
            "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"kvl-launcher-{self.version}",
            "documentNamespace": f"https://kvl-launcher.invalid/spdx/{self.version}/{digest}",
            "creationInfo": {"created": made.strftime("%Y-%m-%dT%H:%M:%SZ"),
                             "creators": [AUTHORS, f"Tool: kvl-launcher-scripts-{self.version}"]},
            **lists,
        }, indent=1)


contents = Document(sys.argv[1])
for path in sys.argv[2:]:
    contents.add_archive(Path(path))
print(contents.text())
