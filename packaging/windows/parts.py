"""What is inside: the libraries linked in, as notices for people and as CycloneDX for programs."""
import hashlib
import json
import pathlib
import re
import subprocess
import tarfile
import uuid

NAMESPACE = uuid.UUID("663e1805-243c-4436-8159-21cdc0835c20")
# Where a library can be linked.
KEY_TOOL = ("corvessa-key.exe",)
ENGINE = ("corvessa_engine.dll", *KEY_TOOL)
ALL = ("CorvessaPro_OL.dll", *ENGINE)

# Debian's source packages that tools/windows-libraries.sh builds: the licence and where it is linked.
BUILT = {
    "rnp": ("BSD-2-Clause AND Apache-2.0", ENGINE),
    "botan": ("BSD-2-Clause", ENGINE),
    "json-c": ("MIT", ENGINE),
    "bzip2": ("bzip2-1.0.6", ENGINE),
    "uchardet": ("MPL-1.1 OR GPL-2.0-or-later OR LGPL-2.1-or-later", ENGINE),
}
# Debian's binary packages that are linked in.
INSTALLED = {
    "libz-mingw-w64-dev": ("Zlib", ENGINE),
    "g++-mingw-w64-i686-posix": ("GPL-3.0-or-later WITH GCC-exception-3.1", ALL),
    "mingw-w64-i686-dev": ("ZPL-2.1 AND MIT", ALL),
    "libcli11-dev": ("BSD-3-Clause", KEY_TOOL),
    "nsis": ("Zlib", ("uninstall.exe",)),
}


def built_versions(top):
    text = (top / "tools/windows-libraries.sh").read_text()
    return dict(re.findall(r"^  ([a-z0-9-]+)=(\S+)$", text, re.M))


def built_notice(top, name, version):
    """Debian's summary of a source package, which quotes every licence in it."""
    pattern = f"{name}_{version}.debian.tar.*"
    archive, = (top / "build/windows-libraries/sources").glob(pattern)
    with tarfile.open(archive) as opened:
        return opened.extractfile("debian/copyright").read().decode("utf-8")


def installed_notice(package):
    return pathlib.Path(f"/usr/share/doc/{package}/copyright").read_text(encoding="utf-8")


def installed_version(package):
    return subprocess.run(["dpkg-query", "-W", "-f=${Version}", package], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def libraries(top):
    """Name, version, licence, the files it is in, its notice, and whether it is a source package."""
    versions = built_versions(top)
    found = [(name, versions[name], *BUILT[name], built_notice(top, name, versions[name]), True)
             for name in BUILT]
    return found + [(name, installed_version(name), *INSTALLED[name], installed_notice(name), False)
                    for name in INSTALLED]


def notices(found):
    """One text for users. Licences that the summaries refer to follow once, whole."""
    parts = ["THIRD-PARTY NOTICES\n\nThis product contains the following software of others.\n"]
    referred = set()
    for name, version, licence, files, notice, _ in found:
        parts.append(f"{name} {version} ({licence}), in {', '.join(files)}\n\n{notice.strip()}\n")
        referred |= set(re.findall(r"/usr/share/common-licenses/([A-Za-z0-9.-]*[A-Za-z0-9])", notice))
    for name in sorted(referred):
        path = pathlib.Path("/usr/share/common-licenses", name)
        if path.exists():
            parts.append(f"The licence \"{name}\"\n\n{path.read_text(encoding='utf-8').strip()}\n")
    return ("\n" + "=" * 78 + "\n\n").join(parts)


def bill_of_materials(edition, version, time, found, files, products):
    """CycloneDX 1.5: `files` are installed, `products` contain them all."""

    def digest(path):
        return [{"alg": "SHA-256", "content": hashlib.sha256(path.read_bytes()).hexdigest()}]

    def library(name, release, licence, *_, is_source):
        # CycloneDX takes either one licence's name or an expression.
        kind = ({"expression": licence} if " " in licence else {"license": {"id": licence}})
        arch = "source" if is_source else "all"
        return {"type": "library", "bom-ref": name, "name": name, "version": release,
                "licenses": [kind],
                "purl": f"pkg:deb/debian/{name.replace('+', '%2B')}@{release.replace('+', '%2B')}"
                        f"?arch={arch}&distro=bookworm"}

    main = edition.given["AppLongName"]
    document = {
        "bomFormat": "CycloneDX",
        "specVersion": "1.5",
        "serialNumber": "urn:uuid:" + str(uuid.uuid5(NAMESPACE, f"{main} {version} {time}")),
        "version": 1,
        "metadata": {
            "timestamp": time,
            "component": {"type": "application", "bom-ref": "product", "name": main,
                          "version": version, "supplier": {"name": edition.publisher}},
        },
        "components": [library(*one[:4], is_source=one[5]) for one in found] +
                      [{"type": "file", "bom-ref": f"file:{name}", "name": name,
                        "hashes": digest(path)} for name, path in files + products],
        "dependencies": [{"ref": "product", "dependsOn": [f"file:{name}" for name, _ in files]}] +
                        [{"ref": f"file:{name}",
                          "dependsOn": [one[0] for one in found if name in one[3]]}
                         for name, _ in files if any(name in one[3] for one in found)],
    }
    return json.dumps(document, indent=2, sort_keys=True) + "\n"
