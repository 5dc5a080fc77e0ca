"""The list of what a release consists of, in SPDX 2.3."""
import datetime
import hashlib
import json
import os
import subprocess

# What is linked into the programs: (name, package of Debian, licence).
LINKED = (("libstdc++", "g++-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1"),
          ("libgcc", "gcc-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1"),
          ("mingw-w64-runtime", "mingw-w64-x86-64-dev", "ZPL-2.1"),
          ("winpthreads", "mingw-w64-x86-64-dev", "MIT AND BSD-3-Clause"))
PROGRAMS = (".exe", ".com")


def build_time():
    return datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)


def version_of(package):
    return subprocess.run(["dpkg-query", "-W", "-f=${Version}", package], check=True,
                          capture_output=True, text=True).stdout


def package(identifier, name, version, licence, supplier):
    return {"SPDXID": f"SPDXRef-{identifier}", "name": name, "versionInfo": version,
            "supplier": supplier, "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": licence, "licenseDeclared": licence, "copyrightText": "NOASSERTION"}


def relation(one, kind, other):
    return {"spdxElementId": f"SPDXRef-{one}", "relationshipType": kind, "relatedSpdxElement": f"SPDXRef-{other}"}


def document(version, files):
    """files: {name in the zip: bytes}"""
    listed, relations = [], [relation("DOCUMENT", "DESCRIBES", "vorda")]
    for number, (name, content) in enumerate(sorted(files.items())):
        identifier = f"File-{number}"
        listed.append({"SPDXID": f"SPDXRef-{identifier}", "fileName": f"./{name}", "checksums": [
            {"algorithm": kind.upper(), "checksumValue": hashlib.new(kind, content).hexdigest()}
            for kind in ("sha1", "sha256")], "licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"})
        relations.append(relation("vorda", "CONTAINS", identifier))
        if name.endswith(PROGRAMS):
            relations += [relation(identifier, "STATIC_LINK", part[0].replace("+", "x")) for part in LINKED]
    packages = [package("vorda", "Vorda", version, "NOASSERTION", "Organization: Brixmoor")]
    packages += [package(name.replace("+", "x"), name, version_of(source), licence, "Organization: Debian")
                 for name, source, licence in LINKED]
    digest = hashlib.sha256(b"".join(content for _, content in sorted(files.items()))).hexdigest()
    return json.dumps({
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"Vorda {version}", "documentNamespace": f"https://www.brixmoor.example/spdx/vorda-{version}-{digest}",
        "creationInfo": {"created": build_time().strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: scripts/release"]},
        "packages": packages, "files": listed, "relationships": relations}, indent=1) + "\n"
