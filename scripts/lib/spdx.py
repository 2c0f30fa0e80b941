"""Writes the list of contents of a release, in the format SPDX 2.3:

    SOURCE_DATE_EPOCH=SECONDS spdx.py VERSION PACKED OUT

OUT holds the archives and the Debian package, and gets the list. PACKED holds what the archives of the
programs hold, as scripts/lib/pack has left it there, and in "deb" what the package holds. Each file is listed with its checksums and its licence, each library that is
linked into a program with the version that is installed here.
"""
from __future__ import annotations

import hashlib
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
OUR_COPYRIGHT = "Copyright (c) 2026 the KVL Launcher authors"
SUPPLIER = "Organization: KVL Launcher authors"


class Library:
    """What is linked in; its version is that of the Debian package that it was taken from."""

    def __init__(self, name: str, package: str, licence: str, copyright_text: str) -> None:
        self.name = name
        self.package = package
        self.licence = licence
        self.copyright_text = copyright_text
        query = ["dpkg-query", "-W", "-f", "${Version} ${source:Package}", package]
        done = subprocess.run(query, check=True, capture_output=True, text=True)
        self.version, self.source = done.stdout.split()
        self.id = spdx_id("Library", package)

    def describe(self) -> dict[str, Any]:
        return {
            "SPDXID": self.id,
            "name": self.name,
            "versionInfo": self.version,
            "supplier": "Organization: Debian",
            "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False,
            "licenseConcluded": self.licence,
            "licenseDeclared": self.licence,
            "copyrightText": self.copyright_text,
            "comment": f"from the Debian package {self.package}, source package {self.source}",
        }


def checksums_of(data: bytes) -> list[dict[str, str]]:
    return [
        {"algorithm": "SHA1", "checksumValue": hashlib.sha1(data).hexdigest()},
        {"algorithm": "SHA256", "checksumValue": hashlib.sha256(data).hexdigest()},
    ]


def spdx_id(*words: str) -> str:
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", "-".join(words))


GLIBC = ("GNU C library", "LGPL-2.1-or-later")
GCC = ("libstdc++ and libgcc", "GPL-3.0-or-later WITH GCC-exception-3.1")
OF_FSF = "Copyright (C) Free Software Foundation, Inc."


def libraries_for(architecture: str) -> list[Library]:
    cross = "-arm64-cross" if architecture == "arm64" else ""
    return [
        Library(GLIBC[0], f"libc6-dev{cross}", GLIBC[1], OF_FSF),
        Library(GCC[0], f"libstdc++-12-dev{cross}", GCC[1], OF_FSF),
    ]


def companion_libraries() -> list[Library]:
    return [
        Library(
            "CLI11",
            "libcli11-dev",
            "BSD-3-Clause",
            "Copyright (c) 2017-2020 University of Cincinnati, developed by Henry Schreiner under"
            " NSF AWARD 1414736",
        ),
        Library(
            "JSON for Modern C++",
            "nlohmann-json3-dev",
            "MIT",
            "Copyright (c) 2013-2022 Niels Lohmann; Copyright (c) 2009 Florian Loitsch;"
            " Copyright (c) 2008-2009 Bjoern Hoehrmann",
        ),
    ]


class Document:
    def __init__(self, version: str) -> None:
        self.version = version
        self.packages: list[dict[str, Any]] = []
        self.files: list[dict[str, Any]] = []
        self.relationships: list[dict[str, str]] = []
        self.known: set[str] = set()

    def relate(self, one: str, kind: str, other: str) -> None:
        self.relationships.append(
            {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}
        )

    def add_library(self, library: Library) -> None:
        if library.id not in self.known:
            self.known.add(library.id)
            self.packages.append(library.describe())

    def add_archive(self, archive: Path, contents: dict[str, bytes], architecture: str) -> None:
        """An archive or package; `architecture` is that of the programs in it, empty for sources."""
        archive_id = spdx_id("Archive", archive.name)
        sums, licences = [], {OURS}
        for name, data in sorted(contents.items()):
            linked: list[Library] = []
            if architecture and "/bin/" in name:
                linked = libraries_for(architecture)
                if name.endswith("/kvl-media"):
                    linked += companion_libraries()
            in_it = sorted({OURS, *(library.licence for library in linked)})
            licences.update(in_it)
            place = hashlib.sha1(f"{archive.name}/{name}".encode()).hexdigest()[:16]
            file_id = spdx_id("File", place, name.rsplit("/", 1)[-1])
            checksums = checksums_of(data)
            sums.append(checksums[0]["checksumValue"])
            copyrights = [OUR_COPYRIGHT, *(library.copyright_text for library in linked)]
            self.files.append(
                {
                    "SPDXID": file_id,
                    "fileName": f"./{name}",
                    "fileTypes": ["BINARY" if linked else "OTHER"],
                    "checksums": checksums,
                    "licenseConcluded": " AND ".join(in_it),
                    "licenseInfoInFiles": ["NOASSERTION"],
                    "copyrightText": "\n".join(dict.fromkeys(copyrights)),
                }
            )
            self.relate(archive_id, "CONTAINS", file_id)
            for library in linked:
                self.add_library(library)
                self.relate(file_id, "STATIC_LINK", library.id)
        code = hashlib.sha1("".join(sorted(sums)).encode()).hexdigest()
        self.packages.append(
            {
                "SPDXID": archive_id,
                "name": archive.name,
                "versionInfo": self.version,
                "packageFileName": archive.name,
                "supplier": SUPPLIER,
                "downloadLocation": "NOASSERTION",
                "filesAnalyzed": True,
                "packageVerificationCode": {"packageVerificationCodeValue": code},
                "checksums": checksums_of(archive.read_bytes()),
                "licenseConcluded": " AND ".join(sorted(licences)),
                "licenseDeclared": OURS,
                "licenseInfoFromFiles": ["NOASSERTION"],
                "copyrightText": OUR_COPYRIGHT,
            }
        )
        self.relate("SPDXRef-DOCUMENT", "DESCRIBES", archive_id)

    def text(self) -> str:
        made = datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), timezone.utc)
        lists = {
            "packages": sorted(self.packages, key=lambda one: one["SPDXID"]),
            "files": self.files,
            "relationships": self.relationships,
        }
        # A name of its own for each list: the same contents give the same one.
        digest = hashlib.sha256(json.dumps(lists).encode()).hexdigest()
        document = {
            "spdxVersion": "SPDX-2.3",
            "dataLicense": "CC0-1.0",
            "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"kvl-launcher-{self.version}",
            "documentNamespace": f"https://kvl-launcher.invalid/spdx/{self.version}/{digest}",
            "creationInfo": {
                "created": made.strftime("%Y-%m-%dT%H:%M:%SZ"),
                "creators": [SUPPLIER, f"Tool: kvl-launcher-scripts-{self.version}"],
            },
            **lists,
        }
        return json.dumps(document, indent=1, sort_keys=False) + "\n"


def files_below(top: Path, parent: Path) -> dict[str, bytes]:
    paths = (path for path in top.rglob("*") if path.is_file())
    return {path.relative_to(parent).as_posix(): path.read_bytes() for path in paths}


def files_in(archive: Path) -> dict[str, bytes]:
    contents = {}
    with tarfile.open(archive) as tar:
        for member in tar:
            file = tar.extractfile(member)
            if file is not None:
                contents[member.name] = file.read()
    return contents


def main() -> None:
    version, packed, out = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
    document = Document(version)
    for architecture in ("x86_64", "arm64"):
        name = f"kvl-launcher-{version}-{architecture}"
        contents = files_below(packed / name, packed)
        document.add_archive(out / f"{name}.tar.gz", contents, architecture)
    package = out / f"kvl-launcher_{version}_amd64.deb"
    document.add_archive(package, files_below(packed / "deb", packed / "deb"), "x86_64")
    source = out / f"kvl-launcher-{version}-source.tar.gz"
    document.add_archive(source, files_in(source), "")
    (out / f"kvl-launcher-{version}.spdx.json").write_text(document.text())


main()
