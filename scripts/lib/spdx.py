"""Writes the list of contents of a release, in the format SPDX 2.3, to standard output:

    SOURCE_DATE_EPOCH=SECONDS spdx.py VERSION ARCHIVE...

It lists each file in the archives with its checksums and its licence, and each library of
packaging/libraries.json that is linked into a program with its version on this machine.
"""
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

VERSION = sys.argv[1]
SOURCES = Path(__file__).resolve().parents[2]
LIBRARIES = json.loads((SOURCES / "packaging/libraries.json").read_text())
AUTHORS = "Organization: KVL Launcher authors"
COPYRIGHT = "Copyright (c) 2026 the KVL Launcher authors"

# Other processors, and their names in Debian.
OTHERS = {"arm64": "arm64", "ppc64le": "ppc64el", "riscv64": "riscv64", "s390x": "s390x"}

Element = dict[str, Any]
packages: dict[str, Element] = {}
files: list[Element] = []
relationships: list[Element] = []


def relate(one: str, kind: str, other: str) -> None:
    relationships.append({"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other})


def spdx_id(*words: str) -> str:
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", "-".join(words))


def add_package(key: str, name: str, version: str, supplier: str, licence: str, copyright: str,
                **more: Any) -> Element:
    packages[key] = {"SPDXID": key, "name": name, "versionInfo": version, "supplier": supplier,
                     "downloadLocation": "NOASSERTION", "licenseDeclared": licence,
                     "licenseConcluded": licence, "copyrightText": copyright, **more}
    return packages[key]


def output_of(*command: str) -> bytes:
    return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout


def version_and_source(package: str) -> list[str]:
    """For an installed package, or, with ":" and a processor in its name, for one unpacked for that."""
    name, _, processor = package.partition(":")
    if not processor:
        return output_of("dpkg-query", "-W", "-f", "${Version} ${source:Package}", name).decode().split()
    control = SOURCES / "build" / processor / name / "DEBIAN/control"
    fields = dict(re.findall(r"^(\w+): (\S+)", control.read_text(), re.MULTILINE))
    return [fields["Version"], fields["Source"]]


def libraries_in(archive: str, name: str) -> list[Element]:
    """Returns the libraries linked into a program, in Debian's packages for its processor."""
    if archive.endswith("-source.tar.gz") or "/bin/" not in name:
        return []
    found = []
    for library in LIBRARIES:
        if Path(name).name in library["in"]:
            other = next((debian for name, debian in OTHERS.items() if name in archive), "")
            package = library["package"].format(cross=f"-{other}-cross" if other else "",
                                                unpacked=f":{other}" if other else "")
            version, source = version_and_source(package)
            found.append(add_package(
                spdx_id("Library", package), library["name"], version, "Organization: Debian",
                library["licence"], library["copyright"], filesAnalyzed=False,
                comment=f"from the Debian package {package}, source package {source}"))
    return found


def checksums_of(data: bytes) -> list[dict[str, str]]:
    return [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, data).hexdigest()}
            for name in ("sha1", "sha256")]


def add_file(archive: str, name: str, data: bytes) -> Element:
    libraries = libraries_in(archive, name)
    place = hashlib.sha1(f"{archive}/{name}".encode()).hexdigest()[:16]
    licences = {"MIT", *(one["licenseConcluded"] for one in libraries)}
    files.append({
        "SPDXID": spdx_id("File", place, Path(name).name), "fileName": f"./{name}",
        "fileTypes": ["BINARY" if libraries else "OTHER"], "checksums": checksums_of(data),
        "licenseConcluded": " AND ".join(sorted(licences)), "licenseInfoInFiles": ["NOASSERTION"],
        "copyrightText": "\n".join(dict.fromkeys([COPYRIGHT, *(one["copyrightText"] for one in libraries)])),
    })
    for one in libraries:
        relate(files[-1]["SPDXID"], "STATIC_LINK", one["SPDXID"])
    return files[-1]


def add_archive(archive: Path) -> None:
    data = tree = archive.read_bytes()
    if archive.suffix == ".deb":
        tree = output_of("dpkg-deb", "--fsys-tarfile", str(archive))
    elif archive.suffix == ".rpm":
        tree = output_of("bsdtar", "--create", "--file", "-", f"@{archive}")
    key, held = spdx_id("Archive", archive.name), []
    with tarfile.open(fileobj=io.BytesIO(tree)) as tar:
        for member in sorted(tar, key=lambda member: member.name):
            if opened := tar.extractfile(member):
                held.append(add_file(archive.name, member.name.removeprefix("./"), opened.read()))
    sums = "".join(sorted(file["checksums"][0]["checksumValue"] for file in held))
    licences = {one for file in held for one in file["licenseConcluded"].split(" AND ")}
    package = add_package(
        key, archive.name, VERSION, AUTHORS, "MIT", COPYRIGHT, packageFileName=archive.name,
        filesAnalyzed=True, checksums=checksums_of(data), licenseInfoFromFiles=["NOASSERTION"],
        packageVerificationCode={"packageVerificationCodeValue": hashlib.sha1(sums.encode()).hexdigest()})
    package["licenseConcluded"] = " AND ".join(sorted(licences))
    for file in held:
        relate(key, "CONTAINS", file["SPDXID"])
    relate("SPDXRef-DOCUMENT", "DESCRIBES", key)


for path in sys.argv[2:]:
    add_archive(Path(path))
made = datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), timezone.utc)
lists = {"packages": [packages[key] for key in sorted(packages)], "files": files, "relationships": relationships}
# Each list has its own name; equal contents give equal names.
digest = hashlib.sha256(json.dumps(lists).encode()).hexdigest()
print(json.dumps({
    "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
    "name": f"kvl-launcher-{VERSION}",
    "documentNamespace": f"https://kvl-launcher.invalid/spdx/{VERSION}/{digest}",
    "creationInfo": {"created": made.strftime("%Y-%m-%dT%H:%M:%SZ"),
                     "creators": [AUTHORS, f"Tool: kvl-launcher-scripts-{VERSION}"]},
    **lists,
}, indent=1))
