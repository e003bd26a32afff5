"""Making an edition: what is refused, what is in it, and that equal input gives equal files."""
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from computer import BUILD, TOP, VERSION

EXAMPLE = TOP / "packaging/example-brand"


def make(brand, output, top=TOP):
    return subprocess.run([top / "packaging/windows/make.py", "--brand", brand, "--build", BUILD,
                           "--output", output], text=True, capture_output=True, check=False,
                          env={**os.environ, "CORVESSA_DRAFT": "1"})


class Edition(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def test_what_is_wrong_is_named(self):
        brand = self.folder / "brand"
        shutil.copytree(EXAMPLE, brand)
        pictures = brand / "Customization"
        (pictures / "16x16Icon.bmp").unlink()
        shutil.copy(pictures / "59hSplashImage.jpg", pictures / "48hLogo.gif")
        logo = (EXAMPLE / "Customization/48hLogo.gif").read_bytes()
        (pictures / "48hLogo.gif").write_bytes(logo[:8] + b"\x31\x00" + logo[10:])
        shutil.copy(EXAMPLE / "Customization/48hLogo.gif", pictures / "59hSplashImage.jpg")
        text = (brand / "edition.ini").read_text()
        for old, new in (("name = HarborMail", "name = Harbor Mail"), ("URLHelp = help:index.html", ""),
                         ("ADKEnabled = 1", "ADKEnabled = yes\nAdkEnabled = 1"),
                         ("help:add-address.html", "help:../add-address.html"),
                         ("https://www.harbor.example/new-key", "file:///c:/x"),
                         ("EnginePGPMessageHeader = Harbor Mail",
                          "EnginePGPMessageHeader = " + "x" * 255)):
            self.assertIn(old, text)
            text = text.replace(old, new)
        (brand / "edition.ini").write_text(text)
        page = "it must be an http or https address or help:PAGE with a page of the edition"
        done = make(brand, self.folder / "dist")
        self.assertEqual((done.returncode, done.stderr.splitlines()), (1, [
            f"{brand} is not an edition:",
            'edition.ini: name is "Harbor Mail"; it needs letters, digits and hyphens only',
            "edition.ini: AdkEnabled is not a value of the product",
            "edition.ini: URLHelp is missing",
            "edition.ini: EnginePGPMessageHeader is longer than 254 bytes",
            f'edition.ini: URLHelpAddInstructions is "help:../add-address.html"; {page}',
            f'edition.ini: URLKeyGen is "file:///c:/x"; {page}',
            'edition.ini: ADKEnabled is "yes"; it must be 0 or 1',
            "Customization/16x16Icon.bmp is missing",
            "Customization/48hLogo.gif is 240 x 49 pixels; it must be 48 high and at most 320 wide",
            "Customization/59hSplashImage.jpg is not a JPEG picture"]))
        self.assertFalse((self.folder / "dist").exists())

    def test_equal_input_gives_equal_files_with_their_sums_and_parts(self):
        copy = self.folder / "elsewhere"
        for part in "packaging", "docs":
            shutil.copytree(TOP / part, copy / part)
        for part in "CMakeLists.txt", "CHANGELOG.md", "tools/windows-libraries.sh":
            (copy / part).parent.mkdir(exist_ok=True)
            shutil.copy(TOP / part, copy / part)
        (copy / "build").mkdir()
        (copy / "build/windows-libraries").symlink_to(TOP / "build/windows-libraries")
        made = []
        for top, dist in (TOP, self.folder / "one"), (copy, self.folder / "two"):
            done = make(top / "packaging/example-brand", dist, top)
            self.assertEqual(done.returncode, 0, done.stderr)
            made.append({path.name: hashlib.sha256(path.read_bytes()).hexdigest()
                         for path in sorted(dist.iterdir())})
        self.assertEqual(made[0], made[1])
        self.assertEqual(list(made[0]), [f"HarborMail-{VERSION}.cdx.json", f"HarborMail-{VERSION}.msi",
                                         f"HarborMail-{VERSION}.sha256",
                                         f"HarborMailSetup-{VERSION}.exe"])
        subprocess.run(["sha256sum", "--check", "--quiet", f"HarborMail-{VERSION}.sha256"], check=True,
                       cwd=self.folder / "one")

        bill = json.loads((self.folder / f"one/HarborMail-{VERSION}.cdx.json").read_text())
        files = {one["name"] for one in bill["components"] if one["type"] == "file"}
        extracted = self.folder / "inside"
        subprocess.run(["msiextract", "-C", extracted, self.folder / f"one/HarborMail-{VERSION}.msi"],
                       check=True, stdout=subprocess.DEVNULL)
        inside = next(extracted.rglob("help")).parent
        installed = {path.relative_to(inside).as_posix() for path in inside.rglob("*")
                     if path.is_file()}
        self.assertEqual(files - installed, {f"HarborMail-{VERSION}.msi",
                                             f"HarborMailSetup-{VERSION}.exe"})
        self.assertEqual(installed - files, set())
        notices = (inside / "Third-party notices.txt").read_text(encoding="utf-8")
        for one in bill["components"]:
            if one["type"] == "library":
                self.assertIn(f"{one['name']} {one['version']}", notices)
        # The libraries that CMake links. Another one needs a line in packaging/windows/parts.py.
        linked = {pathlib.Path(archive).name for libraries in re.findall(
            r"^build src/[^\n]*(?:CorvessaPro_OL|corvessa_engine|corvessa-key)\.(?:dll|exe):"
            r".*?LINK_LIBRARIES = (.*?)$", (BUILD / "build.ninja").read_text(), re.M | re.S)
                  for archive in libraries.split() if archive.endswith(".a")
                  and not archive.startswith("src/")}
        self.assertEqual(linked, {"libz.a", "librnp.a", "libbotan-2.a", "libjson-c.a", "libbz2.a",
                                  "libuchardet.a"})
        page = (inside / "help/index.html").read_text()
        self.assertIn("Harbor Mail for Outlook signs and encrypts", page)
        self.assertNotIn("Corvessa", page)
        self.assertIn("call 555-0100", (inside / "help/tools.html").read_text())


if __name__ == "__main__":
    unittest.main()
