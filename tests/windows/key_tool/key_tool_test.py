"""corvessa-key.exe with gpg as the peer: what may differ from the desk, which shares its commands."""

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
        self.passphrase = self.folder / "passphrase"
        self.passphrase.write_bytes(b"a horse\n")
        shutil.copy(PROGRAM, self.folder)

    def run_tool(self, *arguments, stdin=b""):
        done = subprocess.run([WINE_RUN, self.folder / PROGRAM.name, *arguments], input=stdin,
                              capture_output=True)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def gpg(self, *arguments, data=b""):
        return subprocess.run(["gpg", "--homedir", self.gpg_home, "--batch", "--yes", "--quiet",
                               "--trust-model", "always", "--pinentry-mode", "loopback",
                               "--passphrase-file", self.passphrase, *arguments],
                              input=data, capture_output=True, check=True).stdout

    def test_keys_and_accounts_as_on_the_desk(self):
        generate = ("key", "generate", ALICE, "--passphrase-file", self.passphrase, "--name", "Älice")
        code, made, err = self.run_tool(*generate)
        self.assertEqual((code, err), (0, ""))
        self.assertRegex(made, rf"\A[0-9A-F]{{40}}  own  EDDSA  20[-\d]{{8}}  valid\n    Älice <{ALICE}>\n\Z")
        self.assertEqual(self.run_tool("key", "list"), (0, made, ""))
        secret = self.run_tool("key", "export", ALICE, "--secret")[1].encode()
        self.gpg("--import", data=secret)
        self.assertEqual(self.gpg("--decrypt", data=self.gpg("--encrypt", "-r", ALICE, data=b"x")), b"x")
        self.gpg("--quick-generate-key", "Gina <gina@example.net>", "future-default")
        for key in ([], ["--armor"]):
            code, out, err = self.run_tool("key", "import", "-", stdin=self.gpg(
                *key, "--export", "gina@example.net"))
            self.assertEqual((code, err), (0, ""))
            self.assertRegex(out, r"\A[0-9A-F]{40}  public  .*\n    Gina <gina@example.net>\n\Z")

        self.assertEqual(self.run_tool("account", "add", ALICE, "--sign"),
                         (0, f"{ALICE} is secured and signs.\n", ""))
        kept = subprocess.run(["wine", "reg", "query", f"{ACCOUNTS}\\{ALICE}"], capture_output=True,
                              env={**os.environ, "WINEPREFIX": str(self.folder / "corvessa-key.wine"),
                                   "WINEDEBUG": "-all"}).stdout.decode()
        self.assertRegex(kept, r"Sign\s+REG_DWORD\s+0xffffffff")
        self.assertEqual(self.run_tool("account", "list"), (0, f"{ALICE}  signs\n", ""))
        self.assertEqual(self.run_tool("account", "remove", ALICE),
                         (0, f"{ALICE} was removed; its keys remain.\n", ""))
        for arguments, code, complaint in (
                ([], 2, "A subcommand is required; see corvessa-key --help"),
                (generate[:3], 2, "no terminal to ask; use --yes"),
                (["key", "generate", "new@example.org"], 2,
                 "no terminal to ask for a passphrase; use --passphrase-file"),
                (["key", "export", "n@example.org"], 1, "No key for n@example.org")):
            self.assertEqual(self.run_tool(*arguments), (code, "", f"corvessa-key: {complaint}\n"))
        self.assertEqual(self.run_tool("key", "import", self.folder / "missing")[0], 3)


if __name__ == "__main__":
    unittest.main()
