"""corvessa-key.exe as its users run it, each with a Wine prefix of their own; gpg is the peer."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

PROGRAM = pathlib.Path(os.environ["CORVESSA_KEY_TOOL"])
WINE_RUN = os.environ["CORVESSA_WINE_RUN"]
ALICE = "alice@example.org"
ACCOUNTS = r"HKCU\Software\Nimbra Communications\Corvessa Professional\Plugin\Accounts"


class KeyTool(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        # Beside the program, so that the files of the Wine template can be linked.
        self.folder = pathlib.Path(tempfile.mkdtemp(dir=PROGRAM.parent))
        self.addCleanup(shutil.rmtree, self.folder)
        self.gpg_home = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.gpg_home, ignore_errors=True)
        self.addCleanup(subprocess.run, ["gpgconf", "--homedir", self.gpg_home, "--kill", "all"])
        self.passphrase = self.write("passphrase", b"a horse\n")

    def write(self, name, content):
        (self.folder / name).write_bytes(content)
        return self.folder / name

    def run_as(self, user, *arguments, stdin=b""):
        program = self.folder / user / "corvessa-key.exe"
        if not program.exists():
            program.parent.mkdir()
            shutil.copy(PROGRAM, program)
        done = subprocess.run([WINE_RUN, program, *arguments], input=stdin, capture_output=True)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def gpg(self, *arguments, data=b""):
        return subprocess.run(["gpg", "--homedir", self.gpg_home, "--batch", "--yes", "--quiet",
                               "--trust-model", "always", "--pinentry-mode", "loopback",
                               "--passphrase-file", self.passphrase, *arguments],
                              input=data, capture_output=True, check=True).stdout

    def test_keys_and_accounts_as_on_the_desk(self):
        code, made, err = self.run_as("alice", "key", "generate", ALICE, "--name", "Älice",
                                      "--passphrase-file", self.passphrase)
        self.assertEqual((code, err), (0, ""))
        self.assertRegex(made, rf"\A[0-9A-F]{{40}}  own  EDDSA  20[-\d]{{8}}  valid\n    Älice <{ALICE}>\n\Z")
        self.assertEqual(self.run_as("alice", "key", "list"), (0, made, ""))
        fingerprint = made[:40]

        secret = self.run_as("alice", "key", "export", ALICE, "--secret")[1]
        self.gpg("--import", data=secret.encode())
        self.assertEqual(self.gpg("--decrypt", data=self.gpg("--encrypt", "-r", ALICE, data=b"x")), b"x")
        self.gpg("--quick-generate-key", "Gina <gina@example.net>", "future-default")
        for key in ([], ["--armor"]):
            code, out, err = self.run_as("alice", "key", "import", "-", stdin=self.gpg(
                *key, "--export", "gina@example.net"))
            self.assertEqual((code, err), (0, ""))
            self.assertRegex(out, r"\A[0-9A-F]{40}  public  .*\n    Gina <gina@example.net>\n\Z")
        own = self.write("own.asc", secret.encode())
        self.assertEqual(self.run_as("bob", "key", "import", own), (0, made, ""))
        self.assertEqual(self.run_as("bob", "key", "list"), (0, made, ""))
        second = self.run_as("alice", "key", "generate", ALICE, "--passphrase-file", self.passphrase)
        self.assertEqual(second[2], f"corvessa-key: {ALICE} already had the key {fingerprint}; mail is "
                                    "encrypted to the new key from now on\n")

        self.assertEqual(self.run_as("alice", "account", "add", " Alice@Example.org", "--sign"),
                         (0, f"{ALICE} is secured and signs.\n", ""))
        self.assertEqual(self.run_as("alice", "account", "add", "b@example.org"),
                         (0, "b@example.org is secured.\n",
                          "corvessa-key: no own key for b@example.org yet; create one with "
                          "\"key generate b@example.org\"\n"))
        self.assertEqual(self.run_as("alice", "account", "list"),
                         (0, f"{ALICE}  signs\nb@example.org\n", ""))
        kept = subprocess.run(["wine", "reg", "query", f"{ACCOUNTS}\\{ALICE}"], capture_output=True,
                              env={**os.environ, "WINEPREFIX": str(self.folder / "alice/corvessa-key.wine"),
                                   "WINEDEBUG": "-all"}).stdout.decode()
        self.assertRegex(kept, r"Sign\s+REG_DWORD\s+0xffffffff")
        self.assertEqual(self.run_as("alice", "account", "remove", ALICE),
                         (0, f"{ALICE} was removed; its keys remain.\n", ""))

        for arguments, code, complaint in (
                ([], 2, "A subcommand is required; see corvessa-key --help"),
                (["key", "lits"], 2, 'unknown command "lits"; see corvessa-key key --help'),
                (["account", "add", "x@y"], 2,
                 "\"x@y\" is not an email address; write it as name@example.org"),
                (["key", "generate", "x@example.org"], 2,
                 "no terminal to ask for a passphrase; use --passphrase-file"),
                (["account", "remove", ALICE], 1,
                 f"{ALICE} is not a secured address; see \"account list\""),
                (["key", "export", "n@example.org"], 1, "No key for n@example.org"),
                (["key", "import", self.passphrase], 1,
                 f"{self.passphrase}: There is no OpenPGP key in this"),
                (["key", "publish", ALICE], 1,
                 "no key server is configured for publishing; set EngineUpdateServer")):
            with self.subTest(arguments):
                self.assertEqual(self.run_as("alice", *arguments),
                                 (code, "", f"corvessa-key: {complaint}\n"))
        self.assertEqual(self.run_as("alice", "key", "import", self.folder / "missing")[0], 3)


if __name__ == "__main__":
    unittest.main()
