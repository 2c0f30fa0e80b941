"""Writes the list of contents of a release, in the format SPDX 2.3, to standard output:

    SOURCE_DATE_EPOCH=SECONDS spdx.py VERSION ARCHIVE...

Each file in the archives is listed with its checksums and its licence, each library that is linked into
a program with the version that is installed here.
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

OURS = "MIT"
AUTHORS = "Organization: KVL Launcher authors"
COPYRIGHT = "Copyright (c) 2026 the KVL Launcher authors"
OF_FSF = "Copyright (C) Free Software Foundation, Inc."

Element = dict[str, Any]


def spdx_id(*words: str) -> str:
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", "-".join(words))


def library(name: str, package: str, licence: str, copyright_text: str) -> Element:
    """What is linked in; its version is that of the Debian package that it was taken from."""
    query = ["dpkg-query", "-W", "-f", "${Version} ${source:Package}", package]
    version, source = subprocess.run(query, check=True, capture_output=True, text=True).stdout.split()
    return {
        "SPDXID": spdx_id("Library", package), "name": name, "versionInfo": version,
        "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
        "licenseConcluded": licence, "licenseDeclared": licence, "copyrightText": copyright_text,
        "comment": f"from the Debian package {package}, source package {source}",
    }


def libraries_in(program: str, cross: str) -> list[Element]:
    found = [
        library("GNU C library", f"libc6-dev{cross}", "LGPL-2.1-or-later", OF_FSF),
        library("libstdc++ and libgcc", f"libstdc++-12-dev{cross}",
                "GPL-3.0-or-later WITH GCC-exception-3.1", OF_FSF),
    ]
    if program.endswith("/kvl-media"):
        found.append(library(
            "CLI11", "libcli11-dev", "BSD-3-Clause",
            "Copyright (c) 2017-2020 University of Cincinnati, developed by Henry Schreiner under"
            " NSF AWARD 1414736"))
        found.append(library(
            "JSON for Modern C++", "nlohmann-json3-dev", "MIT",
            "Copyright (c) 2013-2022 Niels Lohmann; Copyright (c) 2009 Florian Loitsch;"
            " Copyright (c) 2008-2009 Bjoern Hoehrmann"))
    return found


def checksums_of(data: bytes) -> list[dict[str, str]]:
    return [
        {"algorithm": "SHA1", "checksumValue": hashlib.sha1(data).hexdigest()},
        {"algorithm": "SHA256", "checksumValue": hashlib.sha256(data).hexdigest()},
    ]


def files_in(archive: Path) -> dict[str, bytes]:
    data = archive.read_bytes()
    if archive.suffix == ".deb":
        data = subprocess.run(["dpkg-deb", "--fsys-tarfile", archive], check=True, capture_output=True).stdout
    with tarfile.open(fileobj=io.BytesIO(data)) as tar:
        opened = {member.name.removeprefix("./"): tar.extractfile(member) for member in tar}
        return {name: file.read() for name, file in sorted(opened.items()) if file is not None}


class Document:
    def __init__(self) -> None:
        self.packages: dict[str, Element] = {}
        self.files: list[Element] = []
        self.relationships: list[dict[str, str]] = []

    def relate(self, one: str, kind: str, other: str) -> None:
        self.relationships.append(
            {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other})

    def add_file(self, archive: Path, name: str, data: bytes) -> Element:
        is_program = "/bin/" in name and not archive.name.endswith("-source.tar.gz")
        linked = libraries_in(name, "-arm64-cross" if "arm64" in archive.name else "") if is_program else []
        place = hashlib.sha1(f"{archive.name}/{name}".encode()).hexdigest()[:16]
        file: Element = {
            "SPDXID": spdx_id("File", place, name.rsplit("/", 1)[-1]), "fileName": f"./{name}",
            "fileTypes": ["BINARY" if linked else "OTHER"], "checksums": checksums_of(data),
            "licenseConcluded": " AND ".join(sorted({OURS, *(one["licenseConcluded"] for one in linked)})),
            "licenseInfoInFiles": ["NOASSERTION"],
            "copyrightText": "\n".join(dict.fromkeys([COPYRIGHT, *(one["copyrightText"] for one in linked)])),
        }
        self.files.append(file)
        for one in linked:
            self.packages[one["SPDXID"]] = one
            self.relate(file["SPDXID"], "STATIC_LINK", one["SPDXID"])
        return file

    def add_archive(self, version: str, archive: Path) -> None:
        files = [self.add_file(archive, name, data) for name, data in files_in(archive).items()]
        sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
        licences = {one for file in files for one in file["licenseConcluded"].split(" AND ")}
        key = spdx_id("Archive", archive.name)
        self.packages[key] = {
            "SPDXID": key, "name": archive.name, "versionInfo": version, "packageFileName": archive.name,
            "supplier": AUTHORS, "downloadLocation": "NOASSERTION", "filesAnalyzed": True,
            "packageVerificationCode": {
                "packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest()},
            "checksums": checksums_of(archive.read_bytes()),
            "licenseConcluded": " AND ".join(sorted(licences)), "licenseDeclared": OURS,
            "licenseInfoFromFiles": ["NOASSERTION"], "copyrightText": COPYRIGHT,
        }
        for file in files:
            self.relate(key, "CONTAINS", file["SPDXID"])
        self.relate("SPDXRef-DOCUMENT", "DESCRIBES", key)

    def text(self, version: str) -> str:
        made = datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), timezone.utc)
        packages = [self.packages[key] for key in sorted(self.packages)]
        lists = {"packages": packages, "files": self.files, "relationships": self.relationships}
        # A name of its own for each list: the same contents give the same one.
        digest = hashlib.sha256(json.dumps(lists).encode()).hexdigest()
        return json.dumps({
            "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"kvl-launcher-{version}",
            "documentNamespace": f"https://kvl-launcher.invalid/spdx/{version}/{digest}",
            "creationInfo": {
                "created": made.strftime("%Y-%m-%dT%H:%M:%SZ"),
                "creators": [AUTHORS, f"Tool: kvl-launcher-scripts-{version}"],
            },
            **lists,
        }, indent=1)


def main() -> None:
    document = Document()
    for archive in sys.argv[2:]:
        document.add_archive(sys.argv[1], Path(archive))
    print(document.text(sys.argv[1]))


main()
