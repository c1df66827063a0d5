"""Writes the winget manifest of a .zip into the folder winget beside it, and checks it.

    winget.py ZIP VERSION URL

URL is the folder that the .zip is published in. The checks are those of winget's documentation for
manifests of version 1.6.0. The published JSON schemas decide; where WINGET_SCHEMAS names a folder with
them (manifest.TYPE.1.6.0.json), the manifest is validated against them as well.
"""
import hashlib
import json
import os
import pathlib
import sys
import zipfile

import jsonschema
import yaml

IDENTIFIER = "MOLDEX.MOLDEX"
COMMON = {"PackageIdentifier": IDENTIFIER, "ManifestVersion": "1.6.0"}


def text(shortest, longest, pattern=""):
    return {"type": "string", "minLength": shortest, "maxLength": longest, "pattern": pattern}


def record(**fields):
    """Exactly these fields."""
    return {"type": "object", "properties": fields, "required": list(fields), "additionalProperties": False}


def one(schema):
    return {"type": "array", "items": schema, "minItems": 1}


PART = r'[^.\s\\/:*?"<>|\x01-\x1f]{1,32}'
ALWAYS = {
    "PackageIdentifier": text(1, 128, rf"^{PART}(\.{PART}){{1,7}}$"),
    "PackageVersion": text(1, 128, r'^[^\\/:*?"<>|\x01-\x1f]+$'),
    "ManifestVersion": {"const": "1.6.0"},
}
DOCUMENTED = {
    "version": record(
        **ALWAYS, ManifestType={"const": "version"}, DefaultLocale=text(2, 20, r"^[a-z]{2,3}-[A-Z]{2}$")
    ),
    "defaultLocale": record(
        **ALWAYS,
        ManifestType={"const": "defaultLocale"},
        PackageLocale=text(2, 20, r"^[a-z]{2,3}-[A-Z]{2}$"),
        Publisher=text(2, 256),
        PackageName=text(2, 256),
        License=text(3, 512),
        ShortDescription=text(3, 256),
    ),
    "installer": record(
        **ALWAYS,
        ManifestType={"const": "installer"},
        MinimumOSVersion=text(1, 32, r"^[0-9]{1,5}(\.[0-9]{1,5}){0,3}$"),
        InstallerType={"const": "zip"},
        NestedInstallerType={"const": "portable"},
        NestedInstallerFiles=one(
            record(RelativeFilePath=text(1, 512, r"^[^/]+$"), PortableCommandAlias=text(1, 40))
        ),
        Installers=one(
            record(
                Architecture={"enum": ["x86", "x64", "arm", "arm64", "neutral"]},
                InstallerUrl=text(1, 2048, r"^https?://.+$"),
                InstallerSha256=text(64, 64, r"^[A-Fa-f0-9]{64}$"),
            )
        ),
    ),
}


def manifests(archive, version, url):
    """The manifest's three files: their names' endings, types and contents."""
    with zipfile.ZipFile(archive) as content:
        program = next(name for name in content.namelist() if name.endswith("/moldex.exe"))
    checksum = hashlib.sha256(archive.read_bytes()).hexdigest().upper()
    yield "", "version", {"DefaultLocale": "en-US"}
    yield ".locale.en-US", "defaultLocale", {
        "PackageLocale": "en-US",
        "Publisher": "The MOLDEX maintainers",
        "PackageName": "MOLDEX",
        "License": "MIT",
        "ShortDescription": "Archiver for files, directories and shortcuts",
    }
    yield ".installer", "installer", {
        "MinimumOSVersion": "10.0.0.0",
        "InstallerType": "zip",
        "NestedInstallerType": "portable",
        "NestedInstallerFiles": [
            {"RelativeFilePath": program.replace("/", "\\"), "PortableCommandAlias": "moldex"}
        ],
        "Installers": [
            {"Architecture": "x64", "InstallerUrl": f"{url}/{archive.name}", "InstallerSha256": checksum}
        ],
    }


def main():
    archive, version, url = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3].rstrip("/")
    published = os.environ.get("WINGET_SCHEMAS")
    folder = archive.parent / "winget"
    folder.mkdir(exist_ok=True)
    for ending, kind, fields in manifests(archive, version, url):
        path = folder / f"{IDENTIFIER}{ending}.yaml"
        fields = COMMON | {"PackageVersion": version, "ManifestType": kind} | fields
        path.write_text(yaml.safe_dump(fields, sort_keys=False))
        written = yaml.safe_load(path.read_text())
        jsonschema.validate(written, DOCUMENTED[kind])
        if published:
            schema = pathlib.Path(published) / f"manifest.{kind}.1.6.0.json"
            jsonschema.validate(written, json.loads(schema.read_text()))
    if not published:
        print("winget.py: the manifest passes the documented rules. It was not validated against the "
              "published schemas: WINGET_SCHEMAS names no folder with them.")


if __name__ == "__main__":
    main()
