#!/usr/bin/env python3
"""Makes the files that users and administrators install, from programs that are built already.

  make.py [--brand FOLDER] [--build FOLDER] [--output FOLDER] [--version VERSION]

./package calls it after building. Equal input gives equal files, from any folder and at any time.
"""
import argparse
import calendar
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parents[1]
sys.path.insert(0, str(HERE))

import edition as editions  # noqa: E402
import msi  # noqa: E402
import parts  # noqa: E402

PROGRAMS = ("src/windows/CorvessaPro_OL.dll", "src/windows_engine/corvessa_engine.dll",
            "src/windows_engine/corvessa-key.exe")
# Tests make many setups; compressing well takes most of the time.
DRAFT = "CORVESSA_DRAFT" in os.environ
SETUP_DLL = "src/windows/corvessa_setup.dll"


def project_version():
    return re.search(r"^project\(corvessa VERSION ([0-9.]+)", (TOP / "CMakeLists.txt").read_text(),
                     re.M)[1]


def release_seconds():
    """When the version was released, so that every build of it is the same."""
    if "SOURCE_DATE_EPOCH" in os.environ:
        return int(os.environ["SOURCE_DATE_EPOCH"])
    newest = re.search(r"^## ([0-9.]+) \(([0-9-]+)\)$", (TOP / "CHANGELOG.md").read_text(), re.M)
    if newest[1] != project_version():
        sys.exit(f"CHANGELOG.md begins with {newest[1]}, the version is {project_version()}.")
    return calendar.timegm(time.strptime(newest[2], "%Y-%m-%d"))


def strip(program, place):
    """Without symbols, which only the build machine can use."""
    subprocess.run(["i686-w64-mingw32-strip", "-o", place, program], check=True,
                   env={**os.environ, "SOURCE_DATE_EPOCH": str(release_seconds())})


def stage(edition, build, found, folder):
    """All that is installed."""
    for program in PROGRAMS:
        strip(build / program, folder / pathlib.Path(program).name)
    shutil.copyfile(HERE / "files/keys.cmd", folder / "keys.cmd")
    (folder / "Customization").mkdir()
    for name, *_ in editions.PICTURES:
        shutil.copyfile(edition.folder / "Customization" / name, folder / "Customization" / name)
    (folder / "help").mkdir()
    for name, page in edition.pages.items():
        if page.suffix == ".html":
            (folder / "help" / name).write_text(edition.page_text(page), encoding="utf-8")
        else:
            shutil.copyfile(page, folder / "help" / name)
    # Notepad of older systems shows lines only with both characters.
    (folder / "Third-party notices.txt").write_text(parts.notices(found), encoding="utf-8",
                                                    newline="\r\n")


def set_times(folder, seconds):
    for path in [folder, *folder.rglob("*")]:
        os.utime(path, (seconds, seconds))


def nsis_text(text):
    return text.replace("$", "$$").replace('"', '$\\"')


def edition_header(edition, version, files, setup_dll, output):
    """What setup.nsi includes."""
    size = sum(path.stat().st_size for path in files.rglob("*") if path.is_file())
    defines = {"VERSION": version, "EDITION": edition.name, "PUBLISHER": edition.publisher,
               "SHORT_NAME": edition.given["AppShortName"],
               "LONG_NAME": edition.given["AppLongName"], "OUTPUT": output, "FILES": files,
               "SETUP_DLL": setup_dll, "KILOBYTES": size // 1024,
               "COMPRESSOR": "zlib" if DRAFT else "/SOLID lzma"}
    lines = [f'!define {name} "{nsis_text(str(text))}"' for name, text in defines.items()]
    items = sorted([path.name for path in files.iterdir()] + ["uninstall.exe"])
    lines += ["!macro EachItem DO", *(f'  !insertmacro ${{DO}} "{item}"' for item in items),
              "!macroend", "!macro EachValue DO"]
    for name, kind, text in edition.values():
        keep = "named" if name in editions.NAMES else "kept"
        lines.append(f'  !insertmacro ${{DO}} {name} {kind} "{nsis_text(text)}" {keep}')
    return "\n".join([*lines, "!macroend", ""])


def make_setup(edition, version, files, setup_dll, output, work, seconds):
    (work / "edition.nsh").write_text(edition_header(edition, version, files, setup_dll, output),
                                      encoding="utf-8-sig")
    shutil.copyfile(HERE / "setup.nsi", work / "setup.nsi")
    subprocess.run(["makensis", "-V2", "-WX", "-NOCD", "-INPUTCHARSET", "UTF8", "setup.nsi"],
                   cwd=work, check=True, env={**os.environ, "SOURCE_DATE_EPOCH": str(seconds)})


def make(brand, build, output, version):
    edition = editions.Edition(brand, TOP / "docs/help")
    seconds = release_seconds()
    output.mkdir(parents=True, exist_ok=True)
    found = parts.libraries(TOP)
    with tempfile.TemporaryDirectory() as place:
        work = pathlib.Path(place)
        files = work / "files"
        files.mkdir()
        stage(edition, build, found, files)
        setup_dll = work / "corvessa_setup.dll"
        strip(build / SETUP_DLL, setup_dll)
        set_times(work, seconds)
        installed = [(path.relative_to(files).as_posix(), path)
                     for path in sorted(files.rglob("*")) if path.is_file()]
        setup = output / f"{edition.name}Setup-{version}.exe"
        package = output / f"{edition.name}-{version}.msi"
        make_setup(edition, version, files, setup_dll, setup, work, seconds)
        msi.make(edition, version, files, setup_dll, package, work, seconds)
        products = [setup, package]
        bill = output / f"{edition.name}-{version}.cdx.json"
        bill.write_text(parts.bill_of_materials(
            edition, version, time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds)), found,
            installed, [(path.name, path) for path in products]))
    sums = output / f"{edition.name}-{version}.sha256"
    sums.write_text("".join(f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n"
                            for path in [*products, bill]))
    return [*products, bill, sums]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--brand", type=pathlib.Path, default=TOP / "packaging/brand")
    parser.add_argument("--build", type=pathlib.Path, default=TOP / "build/windows")
    parser.add_argument("--output", type=pathlib.Path, default=TOP / "dist")
    parser.add_argument("--version", default=project_version())
    options = parser.parse_args()
    try:
        made = make(options.brand, options.build.resolve(), options.output.resolve(),
                    options.version)
    except editions.EditionError as problem:
        sys.exit(f"{options.brand} is not an edition:\n{problem}")
    for path in made:
        print(path)


if __name__ == "__main__":
    main()
