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

TOP = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(os.environ.get("CORVESSA_WINDOWS_BUILD", TOP / "build/windows"))
MAKE = TOP / "packaging/windows/make.py"
ALICE = "alice@example.org"
PLUGIN = r"Software\Nimbra Communications\Corvessa Professional\Plugin"
VERSION_KEY = rf"HKLM\{PLUGIN}\Version"
GLOBAL_KEY = rf"HKCU\{PLUGIN}\Global"
ADD_IN_KEY = r"HKLM\Software\Microsoft\Office\Outlook\Addins\CorvessaPro_OL.Connect"
DATA = f"users/{getpass.getuser()}/AppData/Roaming/Nimbra Communications/Corvessa Professional"
FOLDER = "Program Files/Corvessa"
PASSPHRASE = "secret-words-0815"
RIGHTS, OUTLOOK, OTHER, FAILED = 3, 4, 6, 2
# Wine's own, which change by themselves, and what the stand-in Outlook registers.
NOISE = re.compile(r"\[(Software\\\\(Wine|Microsoft\\\\(Windows\\\\CurrentVersion\\\\(Explorer|"
                   r"Internet Settings|Installer\\\\(Folders|UserData\\\\[^\\]+$|UserData$))|"
                   r"Cryptography\\\\RNG|Windows NT\\\\CurrentVersion\\\\(Print|ProfileList)))|"
                   r"Software\\\\Classes\\\\(SfMl|MAPI)\.|Volatile|System\\\\|Printers|Hardware)", re.I)


def package(folder, *arguments, version, programs=BUILD):
    subprocess.run([MAKE, "--build", programs, "--output", folder, "--version", version,
                    *arguments], check=True, stdout=subprocess.DEVNULL,
                   env={**os.environ, "CORVESSA_DRAFT": "1"})


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


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
                 if not {"Temp", "temp", "Installer"} & set(path.parts)}
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
        return computer.run("msiexec", action, windows_path(self.file("msi", version)), "/qn",
                            *arguments)[0]

    def assert_same_state(self, before, after):
        self.assertEqual(before[0] ^ after[0], set())
        different = {key: (before[1].get(key), after[1].get(key))
                     for key in before[1].keys() | after[1].keys()
                     if before[1].get(key) != after[1].get(key)}
        self.assertEqual(different, {})

    def gpg(self, *arguments, data=None):
        return subprocess.run(
            ["gpg", "--homedir", self.place / "gpg", "--batch", "--quiet", "--trust-model", "always",
             "--pinentry-mode", "loopback", "--passphrase", "", *arguments],
            input=data, check=True, capture_output=True).stdout

    def key_server(self, keys):
        """The address of a server that has the key of each address."""
        class Server(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                query = urllib.parse.parse_qs(urllib.parse.urlsplit(self.path).query)
                key = keys.get(query["search"][0].strip("<>"))
                self.send_response(200 if key else 404)
                self.end_headers()
                self.wfile.write(key or b"")

            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        return f"http://127.0.0.1:{server.server_port}"

    def session(self, computer):
        """A mail opened and one sent by the installed add-in, with what an administrator has set."""
        (self.place / "gpg").mkdir(mode=0o700, exist_ok=True)
        self.addCleanup(subprocess.run, ["gpgconf", "--homedir", self.place / "gpg", "--kill", "all"])
        peers = "bob@example.net", "carol@example.com", "audit@example.net"
        for peer in peers:
            if peer.encode() not in self.gpg("--list-keys"):
                self.gpg("--quick-generate-key", peer, "default", "default", "never")
        keys = {peer: self.gpg("--armor", "--export", peer) for peer in peers}
        server = self.key_server({"carol@example.com": keys["carol@example.com"]})
        computer.set(VERSION_KEY, "EngineLookupServer", "REG_SZ", server)
        computer.set(VERSION_KEY, "ADKEnabled", "REG_DWORD", "1")
        computer.set(GLOBAL_KEY, "LogDebuggingInfo", "REG_DWORD", "1")
        data = computer.drive / DATA
        data.mkdir(parents=True, exist_ok=True)
        (data / "adk.txt").write_text("example.net: audit@example.net\n")

        process = subprocess.Popen([TOP / "outlook", "--prefix", computer.folder], text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)

        def do(**command):
            process.stdin.write(json.dumps(command) + "\n")
            process.stdin.flush()
            answer = json.loads(process.stdout.readline())
            self.assertNotIn("error", answer)
            return answer

        secret, imported = self.place / "secret", self.place / "peers.asc"
        secret.write_text(PASSPHRASE + "\n")
        imported.write_bytes(keys["bob@example.net"] + keys["audit@example.net"])
        # The two commands of the help pages.
        for command in (["key", "generate", ALICE, "--name", "Alice", "--passphrase-file",
                         f"Z:{secret}"], ["account", "add", ALICE, "--sign"],
                        ["key", "import", f"Z:{imported}"]):
            done = do(do="run", args=command)
            self.assertEqual(done["exit"], 0, done)
        self.gpg("--import", data=do(do="run", args=["key", "export", ALICE])["output"].encode())

        do(do="connect", version="11.0.5510")
        login = {"do": "answer", "form": "frmLogin", "set": {"txtPassword": PASSPHRASE},
                 "press": "cmdOK"}
        do(**login)
        mail = self.place / "in.eml"
        mail.write_bytes(b"From: bob@example.net\nTo: alice@example.org\nSubject: x\n\n" +
                         self.gpg("--armor", "--encrypt", "-r", ALICE, data=b"for Alice\n"))
        self.assertEqual(do(do="open", eml=str(mail))["body"].strip(), "for Alice")
        window = do(do="compose", to=["Bob <bob@example.net>", "Carol <carol@example.com>"],
                    subject="s", body="canary-4711\r\n")
        do(**login)
        do(do="answer", form="MessageBox", press="OK")
        out = self.place / "out.eml"
        sent = do(do="send", window=window["window"], eml=str(out))
        self.assertEqual(sent["cancelled"], False, sent)
        self.assertIn("will also be encrypted for:\r\n\r\naudit@example.net", json.dumps(
            sent["boxes"], ensure_ascii=False).replace("\\r\\n", "\r\n"))
        text = email.message_from_bytes(out.read_bytes(), policy=email.policy.default)
        armoured = text.get_content().encode()
        self.assertIn(b"Version: Corvessa Professional for Outlook", armoured)
        self.assertIn(b"canary-4711", self.gpg("--decrypt", data=armoured))
        readers = self.gpg("--list-packets", data=armoured).count(b":pubkey enc packet:")
        self.assertEqual(readers, 4)  # Alice, Bob, Carol from the key server, the additional key
        do(do="disconnect")
        process.stdin.close()
        process.wait()
        process.stdout.close()
        trace = (computer.drive / "Nimbra_trace.txt").read_bytes()
        self.assertIn(b"About to encrypt text", trace)
        self.assertNotIn(b"canary-4711", trace)
        (computer.drive / "Nimbra_trace.txt").unlink()


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
        self.assertEqual(self.setup(computer, "1.0.0", "/VALUES=" + windows_path(values))[0], 0)
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
        left = {path for path in files - before[0] if not path.startswith(DATA + "/keys/")}
        self.assertEqual(left, {str(pathlib.Path(DATA).parent), DATA, DATA + "/keys",
                                DATA + "/adk.txt"})
        self.assertTrue(any((computer.drive / DATA / "keys").iterdir()))
        self.assertEqual({key for key in keys if before[1].get(key) != keys[key]
                          and "Nimbra" not in key}, set())
        self.assertTrue(all(key.startswith("user.reg") for key in keys if "Nimbra" in key))
        self.assertEqual(self.setup(computer)[0], 0)
        self.assertEqual(computer.uninstall("/purge"), 0)
        self.assert_same_state(before, computer.state())

    def test_refusals_and_a_failed_step_change_nothing(self):
        computer = self.computer()
        fresh = computer.state()
        code, said = computer.run(BUILD / "tests/windows/as_user.exe", "--",
                                  windows_path(self.file("setup", "1.0.0")), "/S")
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

    def test_folders_with_blanks_and_of_any_script(self):
        computer = self.computer()
        program = windows_path(self.file("setup", "1.0.0"))
        # A folder with blanks must not be quoted, which only a batch file leaves as it is.
        (computer.drive / "install.bat").write_text(f"@{program} /S /D=C:\\My Programs\\My Mail\r\n")
        for folder, command in (("My Programs/My Mail", ["cmd", "/c", r"C:\install.bat"]),
                                ("Prüfung/Ключ", [self.file("setup", "1.0.0"), "/S",
                                                  r"/D=C:\Prüfung\Ключ"])):
            place = computer.drive / folder
            computer.run(*command)
            self.assertEqual(computer.run(place / "corvessa-key.exe", "--version"),
                             (0, "corvessa-key 1.0.0\n"))
            self.assertEqual(computer.uninstall(), 0)
            self.assertFalse(place.exists())


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
        # What /f does; Wine's msiexec lacks it.
        self.assertEqual(self.msi(computer, "/i", "1.0.0", "REINSTALL=ALL", "REINSTALLMODE=omus"), 0)
        self.assertTrue((computer.drive / FOLDER / "CorvessaPro_OL.dll").exists())

        self.assertEqual(self.msi(computer, "/x"), 0)
        files, keys = computer.state()
        self.assertEqual({path for path in files - before[0] if "Nimbra" not in path}, set())
        self.assertEqual({key: keys[key] for key in keys if before[1].get(key) != keys[key]
                          and not (key.startswith("user.reg") and "Nimbra" in key)
                          and not key.endswith(r"Outlook\\Addins")
                          and not (keys[key] == [] and "Installer" in key)}, {})


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=sys.argv)
