#!/usr/bin/env python3
"""Makes the Debian package of the desk, from programs that are built already.

  make.py --build FOLDER [--output FOLDER]

./package calls it after building. Equal programs give equal packages, at any time.
"""
import argparse
import calendar
import gzip
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap
import time
from email.utils import formatdate

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parents[1]
PACKAGE = "corvessa-desk"
MAINTAINER = "Nimbra Communications <packages@nimbra.example>"
# Of the Debian packaging of one version.
REVISION = 1
DESCRIPTION = ("sign, encrypt, decrypt and verify mail files", """\
 Protects mail with OpenPGP: signs and encrypts a mail file before it is sent,
 decrypts and verifies one that was received. Other people read it with
 Thunderbird, gpg and many other programs.
 .
 It works on mail files, mbox files and Maildirs in a terminal and in scripts,
 as the add-in Corvessa Professional works in Outlook.
""")


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, text=True, **options)


def releases():
    """The versions in CHANGELOG.md, newest first: version, seconds since 1970, lines."""
    parts = re.split(r"^## ([0-9.]+) \(([0-9-]+)\)\n", (TOP / "CHANGELOG.md").read_text(), flags=re.M)
    for version, date, text in zip(*(parts[first::3] for first in (1, 2, 3))):
        yield version, calendar.timegm(time.strptime(date, "%Y-%m-%d")), text


def debian_changelog():
    entries = []
    for version, seconds, text in releases():
        items = [" ".join(item.split()) for item in re.split(r"^- ", text, flags=re.M)[1:]]
        lines = [textwrap.fill(item, 76, initial_indent="  * ", subsequent_indent="    ")
                 for item in items]
        entries.append(f"{PACKAGE} ({version}-{REVISION}) bookworm; urgency=medium\n\n"
                       + "\n".join(lines) + f"\n\n -- {MAINTAINER}  {formatdate(seconds)}\n")
    return "\n".join(entries)


def licence_text(package, name):
    """Of a header library, as Debian gives it."""
    text = pathlib.Path(f"/usr/share/doc/{package}/copyright").read_text()
    paragraph = re.search(rf"^License: {re.escape(name)}\n((?: .*\n)+)", text, re.M)[1]
    return re.sub(r"[ \t]+\n", "\n", paragraph)


def copyright_text():
    text = (HERE / "files/copyright").read_text()
    return text.replace("@BSD@\n", licence_text("libcli11-dev", "BSD-3-clause")).replace(
        "@EXPAT@\n", licence_text("nlohmann-json3-dev", "Expat"))


def write_compressed(path, content):
    path.write_bytes(gzip.compress(content, 9, mtime=0))
    path.chmod(0o644)


def add_debian_documents(root):
    for page in (root / "usr/share/man/man1").iterdir():
        write_compressed(page.with_name(page.name + ".gz"), page.read_bytes())
        page.unlink()
    documents = root / f"usr/share/doc/{PACKAGE}"
    changes = documents / "CHANGELOG.md"
    write_compressed(documents / "changelog.gz", changes.read_bytes())
    changes.unlink()
    write_compressed(documents / "changelog.Debian.gz", debian_changelog().encode())
    (documents / "copyright").write_text(copyright_text())


def library_dependencies(work, program):
    (work / "debian").mkdir()
    (work / "debian/control").write_text(f"Source: {PACKAGE}\n\nPackage: {PACKAGE}\nArchitecture: any\n")
    found = run("dpkg-shlibdeps", "-O", program, cwd=work, capture_output=True).stdout
    return found.strip().removeprefix("shlibs:Depends=")


def files_of(root):
    return sorted(path for path in root.rglob("*") if path.is_file() and "DEBIAN" not in path.parts)


def write_control(root, work, version):
    control = root / "DEBIAN"
    control.mkdir(mode=0o755)
    architecture = run("dpkg", "--print-architecture", capture_output=True).stdout.strip()
    size = sum(-(-path.stat().st_size // 1024) for path in files_of(root))
    short, long = DESCRIPTION
    (control / "control").write_text(
        f"Package: {PACKAGE}\nVersion: {version}\nArchitecture: {architecture}\n"
        f"Maintainer: {MAINTAINER}\nInstalled-Size: {size}\n"
        f"Depends: {library_dependencies(work, root / 'usr/bin' / PACKAGE)}\n"
        # The program loads libcurl only when it asks a key server.
        "Recommends: libcurl4, default-mta | mail-transport-agent\nSuggests: gpg, python3\n"
        f"Section: mail\nPriority: optional\nDescription: {short}\n{long}")
    (control / "md5sums").write_text("".join(
        f"{hashlib.md5(path.read_bytes()).hexdigest()}  {path.relative_to(root)}\n"
        for path in files_of(root)))
    return architecture


def make(build, output):
    version, seconds, _ = next(releases())
    seconds = int(os.environ.get("SOURCE_DATE_EPOCH", seconds))
    output.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as place:
        work = pathlib.Path(place)
        root = work / "root"
        run("cmake", "--install", build, "--prefix", "/usr", "--strip", stdout=subprocess.DEVNULL,
            env={**os.environ, "DESTDIR": str(root)})
        # Debian's zsh looks for the completions of packages there.
        (root / "usr/share/zsh/site-functions").rename(root / "usr/share/zsh/vendor-completions")
        add_debian_documents(root)
        architecture = write_control(root, work, f"{version}-{REVISION}")
        for path in [root, *root.rglob("*")]:
            path.chmod(0o755 if path.is_dir() or path.stat().st_mode & 0o100 else 0o644)
            os.utime(path, (seconds, seconds))
        package = output / f"{PACKAGE}_{version}-{REVISION}_{architecture}.deb"
        run("dpkg-deb", "--root-owner-group", "-Zxz", "--build", root, package,
            stdout=subprocess.DEVNULL, env={**os.environ, "SOURCE_DATE_EPOCH": str(seconds)})
    return package


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the build's folder")
    parser.add_argument("--output", type=pathlib.Path, default=TOP / "dist")
    options = parser.parse_args()
    print(make(options.build.resolve(), options.output.resolve()))


if __name__ == "__main__":
    sys.exit(main())
