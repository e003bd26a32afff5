"""What ./package makes, under Wine: installed, used, upgraded, repaired, removed. See ./package."""
import configparser
import email
import email.policy
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

TOP = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(os.environ.get("CORVESSA_WINDOWS_BUILD", TOP / "build/windows"))
MAKE = TOP / "packaging/windows/make.py"
ALICE = "alice@example.org"
PLUGIN = r"Software\Nimbra Communications\Corvessa Professional\Plugin"
VERSION_KEY = rf"HKLM\{PLUGIN}\Version"
GLOBAL_KEY = rf"HKCU\{PLUGIN}\Global"
ADD_IN_KEY = r"HKLM\Software\Microsoft\Office\Outlook\Addins\CorvessaPro_OL.Connect"
FOLDER = "Program Files/Corvessa"
PASSPHRASE = "secret-words-0815"
RIGHTS, OUTLOOK, OTHER, FAILED = 3, 4, 6, 2
# Wine's own, which change by themselves.
NOISE = re.compile(r"\[(Software\\\\(Wine|Microsoft\\\\(Windows\\\\CurrentVersion\\\\(Explorer|"
                   r"Internet Settings|Installer\\\\(Folders|UserData\\\\[^\\]+$|UserData$))|"
                   r"Cryptography\\\\RNG|Windows NT\\\\CurrentVersion\\\\(Print|ProfileList)))|"
                   r"Volatile|System\\\\|Printers|Hardware)", re.I)


def package(folder, *arguments, version, programs=BUILD):
    subprocess.run([MAKE, "--build", programs, "--output", folder, "--version", version,
                    *arguments], check=True, stdout=subprocess.DEVNULL,
                   env={**os.environ, "CORVESSA_DRAFT": "1"})


class Computer:
    """A Wine prefix in which programs are installed."""

    def __init__(self, folder):
        self.folder = folder
        self.drive = folder / "drive_c"
        self.environment = {**os.environ, "WINE_RUN_PREFIX": str(folder), "WINE_RUN_SECONDS": "300",
                            "WINEPREFIX": str(folder)}
        subprocess.run([TOP / "tools/wine-run.sh", BUILD / "tests/windows/as_user.exe"],
                       env=self.environment, check=False)
        self.run("reg", "add", r"HKCU\Software\Wine\Drivers", "/v", "Graphics", "/d", "null", "/f")
        self.settle()

    def run(self, program, *arguments):
        """Exit code and output."""
        if "/" not in str(program):
            program = self.drive / "windows/system32" / f"{program}.exe"
        done = subprocess.run([TOP / "tools/wine-run.sh", program, *arguments], text=True,
                              stdout=subprocess.PIPE, env=self.environment, check=False)
        return done.returncode, done.stdout

    def settle(self):
        """All programs have ended and the registry is on disk."""
        for option in "-k", "-w":
            subprocess.run(["wineserver", option], env=self.environment, check=False)

    def value(self, key, name):
        out = self.run("reg", "query", key, "/v", name)[1]
        found = re.search(rf"^    {name}    REG_\w+ *(.*?)\r?$", out, re.M)
        return found and found[1]

    def set(self, key, name, kind, data):
        assert self.run("reg", "add", key, "/v", name, "/t", kind, "/d", data, "/f")[0] == 0

    def state(self):
        """All files, and all keys of the registry with their values."""
        self.settle()
        files = {str(path.relative_to(self.drive)) for path in self.drive.rglob("*")
                 if "Temp" not in path.parts and "temp" not in path.parts}
        keys = {}
        for hive in ("system.reg", "user.reg"):
            text = (self.folder / hive).read_text(encoding="latin-1")
            for block in text.split("\n\n"):
                lines = [line for line in block.strip().splitlines() if not line.startswith("#")]
                if lines and lines[0].startswith("[") and not NOISE.match(lines[0]):
                    keys[hive + lines[0].rsplit("]", 1)[0]] = sorted(lines[1:])
        return files, keys

    def uninstall(self, *arguments):
        uninstaller = next(self.drive.rglob("uninstall.exe"))
        code, _ = self.run(uninstaller, "/S", *arguments)
        # The uninstaller works from a copy, so that it can delete itself.
        for _ in range(100):
            if not uninstaller.parent.exists():
                break
            time.sleep(0.1)
        return code


class PackageTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        # Beside the build, so that the files of the Wine template can be linked.
        cls.place = pathlib.Path(tempfile.mkdtemp(dir=BUILD))
        cls.addClassCleanup(shutil.rmtree, cls.place, ignore_errors=True)
        cls.dist = cls.place / "dist"
        for version in "0.9.0", "1.0.0":
            package(cls.dist, version=version)

    def computer(self):
        made = Computer(pathlib.Path(tempfile.mkdtemp(dir=self.place)) / "prefix")
        self.addCleanup(made.settle)
        return made

    def file(self, kind, version):
        return self.dist / (f"CorvessaSetup-{version}.exe" if kind == "setup"
                            else f"Corvessa-{version}.msi")

    def setup(self, computer, version="1.0.0", *arguments):
        return computer.run(self.file("setup", version), "/S", *arguments)

    def msi(self, computer, action, version="1.0.0", *arguments):
        return computer.run("msiexec", action, "Z:" + str(self.file("msi", version)), "/qn",
                            *arguments)[0]

    def assert_same_state(self, before, after):
        self.assertEqual(before[0] ^ after[0], set())
        different = {key: (before[1].get(key), after[1].get(key))
                     for key in before[1].keys() | after[1].keys()
                     if before[1].get(key) != after[1].get(key)}
        self.assertEqual(different, {})

    def session(self, computer):
        """A mail opened and one sent by the installed add-in, in the stand-in Outlook."""
        gpg_home = self.place / "gpg"
        gpg_home.mkdir(mode=0o700, exist_ok=True)
        self.addCleanup(subprocess.run, ["gpgconf", "--homedir", gpg_home, "--kill", "all"])

        def gpg(*arguments, data=None):
            return subprocess.run(
                ["gpg", "--homedir", gpg_home, "--batch", "--quiet", "--trust-model", "always",
                 "--pinentry-mode", "loopback", "--passphrase", "", *arguments],
                input=data, check=True, capture_output=True).stdout

        process = subprocess.Popen([TOP / "outlook", "--prefix", computer.folder], text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)

        def do(**command):
            process.stdin.write(json.dumps(command) + "\n")
            process.stdin.flush()
            answer = json.loads(process.stdout.readline())
            self.assertNotIn("error", answer)
            return answer

        secret = self.place / "secret"
        secret.write_text(PASSPHRASE + "\n")
        peer = self.place / "bob.asc"
        gpg("--quick-generate-key", "bob@example.net", "default", "default", "never")
        peer.write_bytes(gpg("--armor", "--export", "bob@example.net"))
        for command in (["key", "generate", ALICE, "--name", "Alice", "--passphrase-file",
                         f"Z:{secret}"], ["account", "add", ALICE, "--sign"],
                        ["key", "import", f"Z:{peer}"]):
            done = do(do="run", args=command)
            self.assertEqual(done["exit"], 0, done)
        gpg("--import", data=do(do="run", args=["key", "export", ALICE])["output"].encode())

        do(do="connect", version="11.0.5510")
        login = {"do": "answer", "form": "frmLogin", "set": {"txtPassword": PASSPHRASE},
                 "press": "cmdOK"}
        do(**login)
        mail = self.place / "in.eml"
        mail.write_bytes(b"From: bob@example.net\nTo: alice@example.org\nSubject: x\n\n" +
                         gpg("--armor", "--encrypt", "-r", ALICE, data=b"for Alice\n"))
        opened = do(do="open", eml=str(mail))
        self.assertEqual(opened["body"].strip(), "for Alice")
        window = do(do="compose", to=["Bob <bob@example.net>"], subject="s", body="for Bob\r\n")
        do(**login)
        out = self.place / "out.eml"
        sent = do(do="send", window=window["window"], eml=str(out))
        self.assertEqual(sent["cancelled"], False)
        text = email.message_from_bytes(out.read_bytes(), policy=email.policy.default)
        armoured = text.get_content().encode()
        self.assertIn(b"Version: Corvessa Professional for Outlook", armoured)
        self.assertIn(b"for Bob", gpg("--decrypt", data=armoured))
        do(do="disconnect")
        process.stdin.close()
        process.wait()
        process.stdout.close()


class Setup(PackageTest):
    def test_upgrade_use_repair_and_removal(self):
        computer = self.computer()
        before = computer.state()
        code, said = self.setup(computer, "0.9.0")
        self.assertEqual(code, 0, said)
        for missing in "SfMl.SfMailItem", "MAPI.Session":
            self.assertIn(f"({missing}) is not registered", said)
        computer.set(VERSION_KEY, "EngineLookupServer", "REG_SZ", "hkps://keys.example.org")
        computer.set(VERSION_KEY, "AppLongName", "REG_SZ", "An older name")
        computer.set(GLOBAL_KEY, "PassphraseMemory", "REG_DWORD", "7")

        values = self.place / "values.ini"
        values.write_text("[values]\nADKEnabled = 1\n")
        self.assertEqual(self.setup(computer, "1.0.0", f"/VALUES=Z:{values}")[0], 0)
        for key, name, expected in (
                (VERSION_KEY, "EngineLookupServer", "hkps://keys.example.org"),
                (VERSION_KEY, "AppLongName", "Corvessa Professional for Outlook"),
                (VERSION_KEY, "ADKEnabled", "0x1"), (GLOBAL_KEY, "PassphraseMemory", "0x7"),
                (ADD_IN_KEY, "LoadBehavior", "0x3")):
            self.assertEqual(computer.value(key, name), expected, name)
        self.session(computer)

        self.assertEqual(self.setup(computer, "0.9.0")[0], OTHER)
        code = self.msi(computer, "/i")
        self.assertEqual(code, 1603 & 0xFF)

        installed = computer.state()
        (computer.drive / FOLDER / "CorvessaPro_OL.dll").unlink()
        self.assertEqual(self.setup(computer)[0], 0)
        self.assert_same_state(installed, computer.state())

        self.assertEqual(computer.uninstall(), 0)
        files, keys = computer.state()
        left = {path for path in files - before[0]}
        self.assertEqual({path for path in left if "Corvessa Professional/keys" not in path},
                         {"users/root/AppData/Roaming/Nimbra Communications",
                          "users/root/AppData/Roaming/Nimbra Communications/Corvessa Professional"})
        self.assertEqual({key for key in keys if before[1].get(key) != keys[key]
                          and "Nimbra" not in key}, set())
        self.assertTrue(all(key.startswith("user.reg") for key in keys if "Nimbra" in key))
        self.assertTrue(any(path.endswith("keys/secring.pgp") or "keys/" in path for path in left))

        self.assertEqual(self.setup(computer)[0], 0)
        self.assertEqual(computer.uninstall("/purge"), 0)
        self.assert_same_state(before, computer.state())

    def test_refusals_and_a_failed_step_change_nothing(self):
        computer = self.computer()
        fresh = computer.state()
        code, said = computer.run(BUILD / "tests/windows/as_user.exe", "--",
                                  "Z:" + str(self.file("setup", "1.0.0")), "/S")
        self.assertEqual(code, RIGHTS)
        self.assertIn("needs the rights of an administrator", said)

        outlook = computer.drive / "OUTLOOK.EXE"
        shutil.copy(BUILD / "tests/windows/stand_in_outlook.exe", outlook)
        process = subprocess.Popen([TOP / "tools/wine-run.sh", outlook], env=computer.environment,
                                   stdin=subprocess.PIPE)
        process.stdin.write(b'{"do":"stats","id":1}\n')
        process.stdin.flush()
        time.sleep(3)
        code, said = self.setup(computer)
        self.assertEqual((code, said.startswith("Outlook is running. Nothing was changed.")),
                         (OUTLOOK, True))
        self.assertEqual(self.msi(computer, "/i"), 1603 & 0xFF)
        process.stdin.close()
        process.wait()
        outlook.unlink()
        self.assert_same_state(fresh, computer.state())

        broken = self.place / "broken"
        for program in ("src/windows/CorvessaPro_OL.dll", "src/windows/corvessa_setup.dll",
                        "src/windows_engine/corvessa_engine.dll",
                        "src/windows_engine/corvessa-key.exe"):
            (broken / program).parent.mkdir(parents=True, exist_ok=True)
            # A DLL that cannot be registered takes the add-in's place.
            shutil.copy(BUILD / program.replace("CorvessaPro_OL", "corvessa_setup"),
                        broken / program)
        package(self.dist, version="1.1.0", programs=broken)
        code, said = self.setup(computer, "1.1.0")
        self.assertEqual(code, FAILED)
        self.assertIn("failed at registering CorvessaPro_OL.dll. Everything was put back", said)
        self.assert_same_state(fresh, computer.state())
        self.assertEqual(self.setup(computer)[0], 0)
        installed = computer.state()
        self.assertEqual(self.setup(computer, "1.1.0")[0], FAILED)
        self.assert_same_state(installed, computer.state())

    def test_a_folder_of_any_script_with_blanks(self):
        computer = self.computer()
        batch = computer.drive / "install.bat"
        folder = computer.drive / "Eigene Prüfung/Ключ"
        batch.write_bytes("@chcp 65001 >nul\r\n@Z:{} /S /D=C:\\Eigene Prüfung\\Ключ\r\n".format(
            str(self.file("setup", "1.0.0")).replace("/", "\\")).encode())
        computer.run("cmd", "/c", "C:\\install.bat")
        self.assertTrue((folder / "help/index.html").exists(), list(computer.drive.iterdir()))
        registered = computer.run("reg", "query", r"HKCR\CLSID\{a70726fb-bd88-43d1-b8e0-6134682ca5be}"
                                  r"\InprocServer32", "/ve")[1]
        self.assertIn("CorvessaPro_OL.dll", registered)
        self.assertEqual(computer.run(folder / "corvessa-key.exe", "--version"),
                         (0, "corvessa-key 1.0.0\n"))
        self.assertEqual(computer.uninstall(), 0)
        self.assertFalse(folder.exists())


class Msi(PackageTest):
    def test_upgrade_use_repair_and_removal(self):
        computer = self.computer()
        before = computer.state()
        self.assertEqual(self.msi(computer, "/i", "0.9.0", "ADKENABLED=#1"), 0)
        computer.set(VERSION_KEY, "EngineLookupServer", "REG_SZ", "hkps://keys.example.org")
        self.assertEqual(self.msi(computer, "/i", "1.0.0", "DISABLEKEYGEN=#1"), 0)
        for name, expected in (("EngineLookupServer", "hkps://keys.example.org"),
                               ("ADKEnabled", "0x1"), ("DisableKeyGen", "0x1"),
                               ("URLHelp", "help:index.html"),
                               ("AppLongName", "Corvessa Professional for Outlook")):
            self.assertEqual(computer.value(VERSION_KEY, name), expected, name)
        self.assertEqual(computer.value(ADD_IN_KEY, "LoadBehavior"), "0x3")
        self.session(computer)
        self.assertEqual(self.setup(computer)[0], OTHER)

        (computer.drive / FOLDER / "CorvessaPro_OL.dll").unlink()
        self.assertEqual(self.msi(computer, "/fa"), 0)
        self.assertTrue((computer.drive / FOLDER / "CorvessaPro_OL.dll").exists())

        self.assertEqual(self.msi(computer, "/x"), 0)
        files, keys = computer.state()
        self.assertEqual({path for path in files - before[0] if "Nimbra" not in path}, set())
        self.assertEqual({key: keys[key] for key in keys if before[1].get(key) != keys[key]
                          and not (key.startswith("user.reg") and "Nimbra" in key)}, {})


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=sys.argv)
