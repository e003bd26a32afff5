"""What ./package makes, under Wine: installed, used, upgraded, repaired, removed. See ./package."""
import email
import email.policy
import getpass
import http.server
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse

from computer import BUILD, TOP, VERSION, Computer, differences, windows_path

ALICE = "alice@example.org"
PLUGIN = r"Software\Nimbra Communications\Corvessa Professional\Plugin"
VERSION_KEY = rf"HKLM\{PLUGIN}\Version"
GLOBAL_KEY = rf"HKCU\{PLUGIN}\Global"
ADD_IN_KEY = r"HKLM\Software\Microsoft\Office\Outlook\Addins\CorvessaPro_OL.Connect"
FOLDER = "Program Files/Corvessa"
DATA = f"users/{getpass.getuser()}/AppData/Roaming/Nimbra Communications/Corvessa Professional"
FAILED, NO_RIGHTS, OUTLOOK_RUNS, OLD_SYSTEM, OTHER_INSTALLED, BAD_SWITCH = 2, 3, 4, 5, 6, 7
# msiexec's 1603, of which a program's exit code here keeps eight bits.
MSI_FAILED = 1603 & 0xFF


class KeyServer(http.server.BaseHTTPRequestHandler):
    keys = {}

    def do_GET(self):
        query = urllib.parse.parse_qs(urllib.parse.urlsplit(self.path).query)
        key = self.keys.get(query["search"][0].strip("<>"))
        self.send_response(200 if key else 404)
        self.end_headers()
        self.wfile.write(key or b"")

    def log_message(self, *_):
        pass


class PackageTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        # Beside the build, so that the files of the Wine template can be linked.
        cls.place = pathlib.Path(tempfile.mkdtemp(dir=BUILD))
        cls.addClassCleanup(shutil.rmtree, cls.place, ignore_errors=True)
        cls.dist = cls.place / "dist"
        for version in "0.9.0", VERSION:
            cls.package("--version", version)
        (cls.place / "gpg").mkdir(mode=0o700)
        cls.addClassCleanup(subprocess.run, ["gpgconf", "--homedir", cls.place / "gpg", "--kill",
                                             "all"])
        peers = "bob@example.net", "carol@example.com", "audit@example.net"
        for peer in peers:
            cls.gpg("--quick-generate-key", peer, "default", "default", "never")
        KeyServer.keys["carol@example.com"] = cls.gpg("--armor", "--export", "carol@example.com")
        cls.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), KeyServer)
        threading.Thread(target=cls.server.serve_forever, daemon=True).start()
        cls.addClassCleanup(cls.server.server_close)
        cls.addClassCleanup(cls.server.shutdown)

    @classmethod
    def package(cls, *arguments):
        subprocess.run([TOP / "packaging/windows/make.py", "--build", BUILD, "--output", cls.dist,
                        *arguments], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "CORVESSA_DRAFT": "1"})

    @classmethod
    def gpg(cls, *arguments, data=None):
        return subprocess.run(
            ["gpg", "--homedir", cls.place / "gpg", "--batch", "--quiet", "--trust-model", "always",
             "--pinentry-mode", "loopback", "--passphrase", "", *arguments],
            input=data, check=True, capture_output=True).stdout

    def computer(self):
        made = Computer(pathlib.Path(tempfile.mkdtemp(dir=self.place)) / "prefix")
        self.addCleanup(made.settle)
        return made

    def setup(self, computer, version=VERSION, *arguments, name="Corvessa"):
        return computer.run(self.dist / f"{name}Setup-{version}.exe", "/S", *arguments)

    def msi(self, computer, action, version=VERSION, *arguments):
        package = windows_path(self.dist / f"Corvessa-{version}.msi")
        return computer.run("msiexec", action, package, "/qn", *arguments)[0]

    def assert_values(self, computer, *expected):
        self.assertEqual([computer.value(key, name) for key, name, _ in expected],
                         [value for _, _, value in expected])

    def use(self, computer):
        """A user's way from the first start to protected mail, as the administrator has set it up."""
        computer.set(VERSION_KEY, "EngineLookupServer",
                     f"http://127.0.0.1:{self.server.server_port}")
        computer.set(VERSION_KEY, "ADKEnabled", 1)
        computer.set(GLOBAL_KEY, "LogDebuggingInfo", 1)
        (computer.drive / DATA).mkdir(parents=True, exist_ok=True)
        (computer.drive / DATA / "adk.txt").write_text("example.net: audit@example.net\n")
        browser, pages = self.place / "browser", self.place / "pages"
        browser.write_text(f"#!/bin/sh\necho \"$@\" >{pages}\n")
        browser.chmod(0o755)
        computer.set(r"HKCU\Software\Wine\WineBrowser", "Browsers", str(browser))
        computer.set(r"HKCR\.html", "", "htmlfile")

        outlook = subprocess.Popen([TOP / "outlook", "--prefix", computer.folder], text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)

        def do(command, **more):
            outlook.stdin.write(json.dumps({"do": command, **more}) + "\n")
            outlook.stdin.flush()
            answer = json.loads(outlook.stdout.readline())
            self.assertNotIn("error", answer)
            return answer

        do("answer", form="MessageBox", press="OK")
        do("answer", form="frmEMail", set={"edEmail": ALICE}, press="cmdOK")
        do("answer", form="MessageBox", press="OK")
        do("connect", version="11.0.5510")
        do("disconnect")
        # The browser is a program of its own.
        for _ in range(100):
            if pages.exists() and pages.read_text():
                break
            time.sleep(0.1)
        self.assertTrue(pages.read_text().endswith("/help/create-key.html\n"), pages.read_text())
        pages.unlink()

        # The two commands of that page, and one that imports keys.
        secret, keys = self.place / "secret", self.place / "keys.asc"
        secret.write_text("secret-words-0815\n")
        keys.write_bytes(self.gpg("--armor", "--export", "bob@example.net", "audit@example.net"))
        for command in (["key", "generate", ALICE, "--name", "Alice", "--passphrase-file",
                         f"Z:{secret}"], ["account", "add", ALICE, "--sign"],
                        ["key", "import", f"Z:{keys}"]):
            self.assertEqual(do("run", args=command)["exit"], 0)
        self.gpg("--import", data=do("run", args=["key", "export", ALICE])["output"].encode())

        do("connect", version="11.0.5510")
        login = {"form": "frmLogin", "set": {"txtPassword": "secret-words-0815"}, "press": "cmdOK"}
        do("answer", **login)
        mail = self.place / "in.eml"
        mail.write_bytes(b"From: bob@example.net\nTo: alice@example.org\nSubject: x\n\n" +
                         self.gpg("--armor", "--encrypt", "-r", ALICE, data=b"for Alice\n"))
        self.assertEqual(do("open", eml=str(mail))["body"].strip(), "for Alice")
        window = do("compose", to=["Bob <bob@example.net>", "Carol <carol@example.com>"],
                    subject="s", body="canary-4711\r\n")["window"]
        do("answer", **login)
        do("answer", form="MessageBox", press="OK")
        out = self.place / "out.eml"
        sent = do("send", window=window, eml=str(out))
        self.assertFalse(sent["cancelled"], sent)
        self.assertIn("will also be encrypted for:", json.dumps(sent["boxes"]))
        do("disconnect")
        outlook.stdin.close()
        outlook.wait()
        outlook.stdout.close()

        armoured = email.message_from_bytes(out.read_bytes(), policy=email.policy.default)
        armoured = armoured.get_content().encode()
        self.assertIn(b"Version: Corvessa Professional for Outlook", armoured)
        self.assertIn(b"canary-4711", self.gpg("--decrypt", data=armoured))
        # Alice, Bob, Carol from the key server, and the additional key.
        self.assertEqual(self.gpg("--list-packets", data=armoured).count(b":pubkey enc packet:"), 4)
        trace = computer.drive / "Nimbra_trace.txt"
        self.assertIn(b"About to encrypt text", trace.read_bytes())
        self.assertNotIn(b"canary-4711", trace.read_bytes())
        trace.unlink()


class Setup(PackageTest):
    def test_upgrade_use_repair_and_removal(self):
        computer = self.computer()
        before = computer.state()
        code, said = self.setup(computer, "0.9.0")
        self.assertEqual(code, 0, said)
        for missing in "SfMl.SfMailItem", "MAPI.Session":
            self.assertIn(f"({missing}) is not registered", said)
        computer.set(VERSION_KEY, "EngineLookupServer", "hkps://keys.example.org")
        computer.set(VERSION_KEY, "AppLongName", "An older name")
        computer.set(GLOBAL_KEY, "PassphraseMemory", 7)
        values = self.place / "values.ini"
        values.write_text("[values]\nADKEnabled = 1\n")
        self.assertEqual(self.setup(computer, VERSION, "/VALUES=" + windows_path(values))[0], 0)
        self.assert_values(computer, (VERSION_KEY, "EngineLookupServer", "hkps://keys.example.org"),
                           (VERSION_KEY, "AppLongName", "Corvessa Professional for Outlook"),
                           (VERSION_KEY, "ADKEnabled", "0x1"),
                           (GLOBAL_KEY, "PassphraseMemory", "0x7"),
                           (ADD_IN_KEY, "FriendlyName", "Corvessa Professional for Outlook"),
                           (ADD_IN_KEY, "Description", "Corvessa Professional for Outlook"),
                           (ADD_IN_KEY, "LoadBehavior", "0x3"))
        self.use(computer)

        self.assertEqual(self.setup(computer, "0.9.0")[0], OTHER_INSTALLED)
        self.assertEqual(self.msi(computer, "/i"), MSI_FAILED)
        installed = computer.state()
        (computer.drive / FOLDER / "CorvessaPro_OL.dll").unlink()
        self.assertEqual(self.setup(computer)[0], 0)
        self.assertEqual(differences(installed, computer.state()), set())

        self.assertEqual(computer.uninstall(), 0)
        left = differences(before, computer.state())
        self.assertTrue(any((computer.drive / DATA / "keys").iterdir()))
        self.assertEqual({one for one in left if not one.startswith("user.reg[Software\\\\Nimbra")
                          and not one.startswith(str(pathlib.Path(DATA).parent))}, set())
        self.assertEqual(self.setup(computer)[0], 0)
        self.assertEqual(computer.uninstall("/purge"), 0)
        self.assertEqual(differences(before, computer.state()), set())

    def test_refusals_and_a_failed_step_change_nothing(self):
        computer = self.computer()
        fresh = computer.state()
        code, said = computer.run(BUILD / "tests/windows/as_user.exe", "--",
                                  windows_path(self.dist / f"CorvessaSetup-{VERSION}.exe"), "/S")
        self.assertEqual(code, NO_RIGHTS)
        self.assertIn("needs the rights of an administrator", said)

        self.assertEqual(self.setup(computer, VERSION, r"/VALUES=C:\missing.ini"), (
            BAD_SWITCH, r"The file of values, C:\missing.ini, was not found." + "\n"))
        computer.set(r"HKCU\Software\Wine", "Version", "winxp")
        self.assertEqual(self.setup(computer), (
            OLD_SYSTEM, "Corvessa Professional for Outlook needs Windows Vista or later.\n"))
        computer.set(r"HKCU\Software\Wine", "Version", "win10")

        program = computer.drive / "OUTLOOK.EXE"
        shutil.copy(BUILD / "tests/windows/stand_in_outlook.exe", program)
        outlook = computer.start(program, stdin=subprocess.PIPE)
        outlook.stdin.write('{"do":"stats","id":1}\n')
        outlook.stdin.flush()
        outlook.stdout.readline()
        code, said = self.setup(computer)
        self.assertEqual((code, said.split(". C")[0]),
                         (OUTLOOK_RUNS, "Outlook is running. Nothing was changed"))
        self.assertEqual(self.msi(computer, "/i"), MSI_FAILED)
        outlook.communicate()
        program.unlink()
        self.assertEqual(differences(fresh, computer.state()), set())

        # A DLL that cannot be registered takes the add-in's place.
        broken = self.place / "broken"
        shutil.copytree(BUILD / "src", broken / "src", ignore=lambda folder, names: [
            name for name in names if not (pathlib.Path(folder, name).is_dir() or
                                           name.endswith((".dll", ".exe")))])
        shutil.copy(broken / "src/windows/corvessa_setup.dll",
                    broken / "src/windows/CorvessaPro_OL.dll")
        self.package("--version", "99.0.0", "--build", broken)
        code, said = self.setup(computer, "99.0.0")
        self.assertEqual((code, said), (FAILED, (
            "Setup failed at registering CorvessaPro_OL.dll. Everything was put back; "
            "Corvessa Professional for Outlook is not installed.\n")))
        self.assertEqual(differences(fresh, computer.state()), set())
        self.assertEqual(self.setup(computer)[0], 0)
        installed = computer.state()
        self.assertEqual(self.setup(computer, "99.0.0")[0], FAILED)
        self.assertEqual(differences(installed, computer.state()), set())

        # Waited for, the uninstaller cannot delete itself.
        (computer.drive / "remove.bat").write_text(
            f"@\"C:\\{FOLDER}\\uninstall.exe\" /S _?=C:\\{FOLDER}\r\n".replace("/C", "\\C"))
        self.assertEqual(computer.run("cmd", "/c", r"C:\remove.bat")[0], 0)
        self.assertEqual(os.listdir(computer.drive / FOLDER), ["uninstall.exe"])

    def test_other_folders_and_another_edition(self):
        self.package("--brand", TOP / "packaging/example-brand")
        computer = self.computer()
        program = self.dist / f"CorvessaSetup-{VERSION}.exe"
        # A folder with blanks must not be quoted, which only a batch file leaves as it is.
        (computer.drive / "install.bat").write_text(
            f"@{windows_path(program)} /S /D=C:\\My Programs\\My Mail\r\n")
        for folder, command in (("My Programs/My Mail", ["cmd", "/c", r"C:\install.bat"]),
                                ("Prüfung/Ключ", [program, "/S", r"/D=C:\Prüfung\Ключ"])):
            place = computer.drive / folder
            computer.run(*command)
            self.assertEqual(computer.run(place / "corvessa-key.exe", "--version"),
                             (0, f"corvessa-key {VERSION}\n"))
            self.assertEqual(self.setup(computer, name="HarborMail")[0], 0)
            self.assert_values(computer, (VERSION_KEY, "AppLongName", "Harbor Mail for Outlook"))
            self.assertIn("call 555-0100", (place / "help/tools.html").read_text())
            self.assertEqual(computer.uninstall(), 0)
            self.assertFalse(place.exists())


class Msi(PackageTest):
    def test_upgrade_use_repair_and_removal(self):
        computer = self.computer()
        before = computer.state()
        self.assertEqual(self.msi(computer, "/i", "0.9.0", "ADKENABLED=#1"), 0)
        computer.set(VERSION_KEY, "EngineLookupServer", "hkps://keys.example.org")
        self.assertEqual(self.msi(computer, "/i", VERSION, "DISABLEAUTODECRYPTATTACHMENTS=#1", "/l*v",
                                  r"C:\log.txt"), 0)
        log = (computer.drive / "log.txt").read_bytes().replace(b"\0", b"").decode()
        for missing in "SfMl.SfMailItem", "MAPI.Session":
            self.assertIn(f"({missing}) is not registered", log)
        (computer.drive / "log.txt").unlink()
        self.assert_values(computer, (VERSION_KEY, "EngineLookupServer", "hkps://keys.example.org"),
                           (VERSION_KEY, "ADKEnabled", "0x1"),
                           (VERSION_KEY, "DisableAutoDecryptAttachments", "0x1"),
                           (VERSION_KEY, "URLHelp", "help:index.html"),
                           (VERSION_KEY, "AppLongName", "Corvessa Professional for Outlook"),
                           (ADD_IN_KEY, "LoadBehavior", "0x3"))
        self.use(computer)
        self.assertEqual(self.setup(computer)[0], OTHER_INSTALLED)

        (computer.drive / FOLDER / "CorvessaPro_OL.dll").unlink()
        # What /f does; Wine's msiexec lacks it.
        self.assertEqual(self.msi(computer, "/i", VERSION, "REINSTALL=ALL", "REINSTALLMODE=omus"), 0)
        self.assertTrue((computer.drive / FOLDER / "CorvessaPro_OL.dll").exists())

        self.assertEqual(self.msi(computer, "/x"), 0)
        # Users' data, and the empty keys that Windows Installer and the DLLs leave.
        self.assertEqual({one for one in differences(before, computer.state()) if not (
            "Nimbra" in one and not one.startswith("system.reg") or "Installer" in one or
            one.endswith(r"Outlook\\Addins"))}, set())


    def test_without_rights_it_says_so_and_changes_nothing(self):
        # Wine takes everybody for an administrator. So an action of the test takes the rights back
        # that Windows would not have given.
        package = self.dist / "Corvessa-0.0.0.msi"
        shutil.copy(self.dist / f"Corvessa-{VERSION}.msi", package)
        for query in ("INSERT INTO `CustomAction` (`Action`, `Type`, `Source`) "
                      "VALUES ('NoRights', 51, 'Privileged')",
                      "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) "
                      "VALUES ('NoRights', 1)"):
            subprocess.run(["msibuild", package, "-q", query], check=True)
        computer = self.computer()
        before = computer.state()
        self.assertEqual(self.msi(computer, "/i", "0.0.0"), MSI_FAILED)
        self.assertEqual(differences(before, computer.state()), set())
        # Windows shows and logs these; Wine only shows them.
        said = subprocess.run(["msiinfo", "export", package, "LaunchCondition"], check=True,
                              stdout=subprocess.PIPE, text=True).stdout
        self.assertIn("Privileged\tCorvessa Professional for Outlook is installed for all users of "
                      "this computer. That needs the rights of an administrator.", said)


class Pages(PackageTest):
    def test_a_browser_shows_each_page_and_each_link_leads_to_one(self):
        subprocess.run(["msiextract", "-C", self.place, self.dist / f"Corvessa-{VERSION}.msi"],
                       check=True, stdout=subprocess.DEVNULL)
        pages = sorted(next(self.place.rglob("help")).glob("*.html"))
        self.assertEqual(len(pages), 5)
        pictures = BUILD / "help-pages"  # To be looked at.
        shutil.rmtree(pictures, ignore_errors=True)
        pictures.mkdir()
        for page in pages:
            picture = pictures / f"{page.stem}.png"
            subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu",
                            "--window-size=760,900", f"--screenshot={picture}", page.as_uri()],
                           check=True, capture_output=True, timeout=120)
            self.assertTrue(picture.read_bytes().startswith(b"\x89PNG"))
            for link in re.findall(r"href=\"([^\"]*)\"", page.read_text()):
                self.assertTrue((page.parent / link).is_file(), f"{page.name}: {link}")


class Reproduction(unittest.TestCase):
    def test_another_folder_makes_the_same_files(self):
        with tempfile.TemporaryDirectory() as place:
            copy = pathlib.Path(place, "copy")
            shutil.copytree(TOP, copy, ignore=shutil.ignore_patterns("build", "dist", ".git"))
            (copy / "build").mkdir()
            (copy / "build/windows-libraries").symlink_to(TOP / "build/windows-libraries")
            environment = {**os.environ, "CCACHE_DISABLE": "1"}
            subprocess.run([TOP / "package"], env=environment, check=True)
            del environment["CORVESSA_WINDOWS_BUILD"]
            subprocess.run([copy / "package"], env=environment, check=True)
            sums = [next((top / "dist").glob("Corvessa-*.sha256")).read_text()
                    for top in (TOP, copy)]
            self.assertEqual(sums[0], sums[1])


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=sys.argv)
