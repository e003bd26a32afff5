"""The commands that need no mail, and the demo."""

import http.server
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import threading
import time
import unittest
import urllib.parse

from desk_case import ALICE, BOB, DESK, GINA, DeskCase, Done, Gpg


class Keys(DeskCase):
    def test_keys_go_to_gpg_and_come_back(self):
        gpg = Gpg(self)
        imported = self.alice("key", "import", self.write("g.asc", gpg.secret_key()))
        self.assertRegex(imported.out, rf"\A[0-9A-F]{{40}}  own, without passphrase  \S+  [-\d]+  valid\b.*\n    Gina <{GINA}>\n\Z")
        self.assertRegex(imported.err, r"\Acorvessa-desk: the secret key [0-9A-F]{40} has no passphrase: .*\n\Z")
        listed = self.alice("key", "list")
        self.assertDone(listed)
        self.assertEqual([line for line in listed.out.splitlines() if line.startswith(" ")],
                         [f"    Alice <{ALICE}>", f"    Bob <{BOB}>", f"    Gina <{GINA}>"])
        gpg.run("--passphrase", "", "--quick-generate-key", "signer@example.org", "ed25519", "sign")
        signer = gpg.run("--armor", "--export", "signer@example.org").stdout
        self.assertRegex(self.alice("key", "import", self.write("s.asc", signer)).out,
                         r"\A[0-9A-F]{40}  public  \S+  [-\d]+  valid(| until [-\d]+), cannot encrypt\n")
        secret = self.alice("key", "export", ALICE, "--secret")
        gpg.run("--pinentry-mode", "loopback", "--passphrase-file", self.passphrase_file,
                "--import", data=secret.out.encode())
        # So many bytes are hashed for each guess at its passphrase.
        packets = gpg.run("--list-packets", data=secret.out.encode()).stdout
        self.assertEqual(packets.count(b"protect count: 16777216 "), 2)
        fingerprint = listed.out.split()[0]
        another = ["key", "generate", ALICE, "--passphrase-file", self.passphrase_file]
        self.assertDone(self.alice(*another), 2, "", "corvessa-desk: no terminal to ask; use --yes\n")
        second = self.alice(*another, "--yes")
        self.assertEqual((second.err, second.code),
                         (f"corvessa-desk: {ALICE} already had the key {fingerprint}; mail "
                          "is encrypted to the new key from now on\n", 0))
        other = self.folder / "other"
        self.at(other, "key", "generate", BOB, "--passphrase-file", self.passphrase_file)
        bobs = self.write("other.asc", self.at(other, "key", "export", BOB).out)
        self.assertRegex(self.alice("key", "import", bobs).err,
                         rf"\Acorvessa-desk: the key [0-9A-F]{{40}} contains {BOB}, which also has the key "
                         r"[0-9A-F]{40}; mail is encrypted to [0-9A-F]{40}\n\Z")
        gpg.run("--quick-add-uid", GINA, f"Bob <{BOB}>")
        gained = self.alice("key", "import", self.write("g.asc", gpg.secret_key()))
        self.assertIn(f" contains {BOB}, which also has the key ", gained.err)
        self.assertIn(f"; mail is encrypted to {gained.out[:40]}\n", gained.err)
        own = self.write("own.asc", secret.out)
        self.at(other, "key", "import", self.template / "alice.asc")
        self.assertDone(self.at(other, "key", "import", own), 1, "",
                        f"corvessa-desk: {own}: The key {fingerprint} is known without this secret "
                        "half, which is taken only with its passphrase; nothing was taken; give it "
                        "with --passphrase ADDRESS=FILE or at a terminal\n")
        self.assertRegex(self.at(other, "--passphrase", f"{ALICE}={self.passphrase_file}", "key",
                                 "import", own).out, rf"\A{fingerprint}  own  ")
        self.assertDone(self.alice("key", "import", self.passphrase_file), 1, "",
                        f"corvessa-desk: {self.passphrase_file}: There is no OpenPGP key in this\n")
        self.assertIn(fingerprint.encode(), gpg.run("--list-secret-keys", "--with-colons").stdout)

    def test_a_key_is_shown_compared_with_its_owner_and_removed(self):
        key = self.bob("key", "list").out.split("\n")[0][:40]
        groups = " ".join(key[i:i + 4] for i in range(0, 40, 4))
        groups = groups[:24] + " " + groups[24:]
        shown = self.alice("key", "show", BOB)
        self.assertDone(shown)
        self.assertRegex(shown.out, rf"\A{groups}\n    Bob <{BOB}>\n  Kind:       public key\n  Algorithm:  EDDSA\n"
                         r"  Created:    \S+\n  Validity:   valid\n  Source:     imported from \S+bob\.asc on \S+\n"
                         rf'  Compared:   {BOB}: not compared; see "key verify {BOB}"\n\Z')
        self.assertIn("Source:     created here on", self.alice("key", "show", ALICE).out)
        self.assertDone(self.alice("key", "verify", BOB, "F" * 40), 1, "", "corvessa-desk: the fingerprints differ: "
                        f"the key of {BOB} here has {groups}; do not use it until you know why\n")
        self.assertEqual(self.alice("key", "verify", BOB, key[-16:]).code, 2)
        self.assertDone(self.alice("key", "verify", BOB, f"0x{groups.lower()}"),
                        out=f"The key of {BOB} was compared: {groups}\n")
        self.assertRegex(self.alice("key", "show", key).out, rf"{BOB}: compared on [-\d]+\n\Z")
        time.sleep(1)  # Mail is encrypted to the newer key, and seconds tell which that is.
        other = self.folder / "other"
        self.at(other, "key", "generate", BOB, "--passphrase-file", self.passphrase_file)
        another = self.alice("key", "import", self.write("other.asc", self.at(other, "key", "export", BOB).out))
        self.assertRegex(another.err, rf"\Acorvessa-desk: you compared another key of {BOB} on [-\d]+; compare the "
                         rf'new one with "key verify {BOB}"\n')
        self.assertRegex(self.alice("key", "show", another.out[:40]).out, f"you compared another key, {key}")
        self.assertRegex(self.alice("send", self.draft()).err, r'closed MessageBox "The key of bob@example\.com is not the one that '
                         rf'you compared on .*\n.*: not sent: the key of {BOB} was not compared; see "key verify {BOB}"\n\Z')
        self.assertDone(self.alice("send", self.draft(), "--answer", "MessageBox=OK"))
        self.assertDone(self.alice("key", "verify", BOB, another.out[:40]))
        self.assertDone(self.alice("send", self.draft()))
        self.assertEqual(self.alice("key", "verify", BOB, key).code, 1)
        self.assertDone(self.alice("key", "remove", BOB), 2, None, "corvessa-desk: no terminal to ask; use --yes\n")
        self.assertDone(self.alice("key", "remove", BOB, "--yes"))
        self.assertDone(self.alice("key", "show", BOB), 1, "", f'corvessa-desk: no key of {BOB}; see "key list"\n')
        self.assertEqual(self.alice("key", "remove", ALICE, "--yes").code, 2)
        removed = self.alice("key", "remove", ALICE, "--yes", "--secret")
        self.assertRegex(removed.out, rf"\A[0-9A-F]{{40}}  own  .*\n    Alice <{ALICE}>\nThe key was removed\.\n\Z")
        self.assertEqual(removed.err, f'corvessa-desk: {ALICE} is secured but has no own key; create one with '
                         f'"key generate {ALICE}" or end it with "account remove {ALICE}"\n')
        self.assertEqual(self.alice("key", "list").out, "")

    def test_keys_are_taken_from_gpg(self):
        gpg = Gpg(self)
        self.assertDone(self.alice("key", "import", "--from-gpg", self.passphrase_file), 2, "",
                        "corvessa-desk: --from-gpg takes one folder, gpg's home, or none\n")
        self.assertRegex(self.alice("key", "import", "--from-gpg", gpg.home).out, rf"\A[0-9A-F]{{40}}  public  .*\n    Gina <{GINA}>\n\Z")
        own = self.alice("key", "import", "--from-gpg", "--secret", env=os.environ | {"GNUPGHOME": str(gpg.home)})
        self.assertIn("  own, without passphrase  ", own.out)
        self.assertDone(self.alice("account", "add", GINA))
        gpg.run("--quick-set-expire", own.out[:40], "seconds=1")
        time.sleep(1.1)
        self.alice("key", "import", "--from-gpg", gpg.home)
        self.assertDone(self.alice("account", "add", GINA), 0, f"{GINA} is already secured.\n",
                        f'corvessa-desk: the key of {GINA} has expired; create a new one with "key generate {GINA}"\n')

    def test_publishing_reaches_the_key_server(self):
        posted = []

        class Server(http.server.BaseHTTPRequestHandler):
            log_message = lambda *_: None

            def do_POST(self):
                form = self.rfile.read(int(self.headers["Content-Length"])).decode()
                posted.append((self.path, urllib.parse.parse_qs(form)["keytext"][0].splitlines()[0]))
                self.send_response(200)
                self.end_headers()

        self.assertDone(self.alice("key", "publish", ALICE), 1, "",
                        "corvessa-desk: no key server is configured for publishing; set EngineUpdateServer\n")
        with http.server.HTTPServer(("127.0.0.1", 0), Server) as server:
            threading.Thread(target=server.handle_request, daemon=True).start()
            self.assertDone(self.alice("set", "EngineUpdateServer", f"http://127.0.0.1:{server.server_port}"))
            self.assertDone(self.alice("key", "publish", ALICE), out=f"The public key of {ALICE} was published.\n")
        self.assertEqual(posted, [("/pks/add", "-----BEGIN PGP PUBLIC KEY BLOCK-----")])
        self.assertEqual(self.alice("key", "publish", ALICE).code, 3)

    def test_every_command_answers_in_the_documented_shape(self):
        """desk_case.py checks each line against the schema."""
        sent, out, form = self.sent(), self.folder / "out.eml", "frmManageUserKeys"
        fingerprint = self.alice("key", "show", ALICE, "--json").json()["fingerprint"]
        password = ("--passphrase", f"{BOB}={self.passphrase_file}")
        new = ("x@example.org", "--passphrase-file", self.passphrase_file)
        for before in (True, False):
            profile = shutil.copytree(self.folder / "bob", self.folder / f"{before}" / "bob")
            for code, lines, *arguments in (
                    (0, 2, "key", "list"), (0, 1, "key", "generate", *new), (2, 1, "key", "generate", *new),
                    (0, 1, "key", "show", ALICE), (1, 1, "key", "verify", ALICE, "F" * 40), (0, 1, "key", "verify", ALICE, fingerprint),
                    (0, 1, "key", "show", fingerprint), (0, 1, "key", "export", BOB), (1, 1, "key", "publish", BOB),
                    (1, 2, "key", "import", self.template / "alice.asc", self.passphrase_file), (2, 1, "key", "remove", ALICE),
                    (0, 1, "key", "remove", ALICE, "--yes"), (1, 1, "key", "show", ALICE), (0, 1, "key", "import", self.template / "alice.asc"),
                    (0, 1, "account", "add", "y@example.org"), (0, 2, "account", "list"), (0, 1, "account", "remove", "y@example.org"),
                    (1, 1, "account", "remove", "y@example.org"), (0, 1, "get"), (0, 1, "get", "URLMain"), (2, 1, "get", "Nothing"),
                    (0, 1, "set", "passphrasememory", "5"), (2, 1, "set", "PassphraseMemory", "x"),
                    (0, 1, "settings", "--answer", f"{form}=cmdOK"), (0, 2, "open", sent, "--original", sent), (3, 1, "open", self.folder / "none"),
                    (0, 1, "reply", sent), (0, 1, "forward", sent, "--out", out), (0, 1, "list", sent), (3, 1, "list", self.folder / "none"),
                    (2, 1, "send", sent, "--out", sent), (0, 1, "send", self.draft(to=ALICE), "--out", out), (2, 1, "shell")):
                with self.subTest(arguments, before=before):
                    done = self.at(profile, *password, *(("--json", *arguments) if before else (*arguments, "--json")))
                    self.assertEqual((done.code, len(done.out.splitlines())), (code, lines), done.err + done.out)


class Settings(DeskCase):
    def test_accounts_are_added_listed_and_removed(self):
        self.assertDone(self.alice("account", "add", " Second@Example.org", "--sign"),
                        out=f"second@example.org is secured and signs.\n"
                            f"{ALICE} no longer signs; only one account does.\n",
                        err="corvessa-desk: no own key for second@example.org yet; create one with "
                            "\"key generate second@example.org\"\n")
        self.assertDone(self.alice("account", "add", ALICE), out=f"{ALICE} is already secured.\n")
        self.assertDone(self.alice("account", "list"),
                        out=f"{ALICE}\nsecond@example.org  signs\n")
        self.assertDone(self.alice("account", "remove", ALICE),
                        out=f"{ALICE} was removed; its keys remain.\n")
        self.assertDone(self.alice("account", "list"), out="second@example.org  signs\n")
        self.assertDone(self.alice("account", "remove", ALICE), 1, "",
                        f"corvessa-desk: {ALICE} is not a secured address; see \"account list\"\n")

    def test_a_value_is_stored_by_its_kind_or_refused(self):
        for name, given, kept in (("LogDebuggingInfo", "on", "1"), ("PassphraseMemory", "-1", "-1"),
                                  ("applongname", "Änother", "Änother"), ("MailSupport", "1", "1")):
            self.assertDone(self.alice("set", name, given), out="")
            self.assertDone(self.alice("get", name), out=kept + "\n")
        registry = (self.folder / "alice/registry.reg").read_text()
        self.assertIn('"LogDebuggingInfo"=dword:ffffffff', registry)
        self.assertEqual(len(self.alice("get").out.splitlines()), 33)
        self.assertEqual(len(self.alice("get", "--json").json()), 33)
        for name, value, complaint in (
                ("Nothing", "1", 'unknown setting "Nothing"; "get" lists all settings'),
                ("ADKEnabled", "maybe", "ADKEnabled takes 1 or 0"),
                ("PassphraseMemory", "-2", "PassphraseMemory takes a number of minutes, 0 for the "
                                           'whole session or -1 for "forget after each use"'),
                ("URLMain", "x" * 255, "URLMain takes at most 254 bytes; a longer text reads as empty"),
                ("EnginePGPMessageHeader", "ä", "EnginePGPMessageHeader takes ASCII characters only"),
                ("URLMain", "a\x1bb", "URLMain takes one line of printable characters")):
            self.assertDone(self.alice("set", name, value), 2, "", f"corvessa-desk: {complaint}\n")

    def test_the_settings_dialog_is_answered_control_by_control(self):
        form = "frmManageUserKeys"
        answers = [f"{form}={control}" for control in ("tbsTabs:Options", "optRemember(1)", "cmdOK")]
        done = self.alice("settings", *[part for answer in answers for part in ("--answer", answer)])
        self.assertDone(done, out="")
        self.assertDone(self.alice("get", "PassphraseMemory"), out="-1\n")
        for control, problem in (("cmdNone", "no such control"),
                                 ("cmdProductUpdates", "the control is hidden or disabled"),
                                 ("lstvwAliases", "the control cannot be pressed")):
            self.assertDone(self.alice("settings", "--answer", f"{form}={control}"),
                            err=f"corvessa-desk: --answer {form}={control}: {problem}\n"
                                f"corvessa-desk: closed {form} \"{ALICE}\" unanswered; use --answer {form}="
                                "cmdAdd|cmdRemove|cmdProperties|cmdOK|cmdHelp|cmdAbout|cmdTools\n")
        self.assertIn('corvessa-desk: closed MessageBox "You have not configured any of your email accounts to '
                      'send or receive secure email.  Would you like to do this now?" unanswered; use --answer '
                      "MessageBox=OK|Cancel\n", self.at(self.folder / "new", "settings").err)
        unused = ("--answer", "frm\x1b[2JX=cmd\x07Y", "--answer", "frmNoKeyFound=txtLine:secret")
        self.assertDone(self.alice("settings", "--answer", f"{form}=cmdOK", *unused),
                        err="corvessa-desk: unused answer: frm[2JX=cmdY\n"
                            "corvessa-desk: unused answer: frmNoKeyFound=txtLine\n")

    def test_wrong_use_is_reported_in_one_line(self):
        empty, long = self.write("empty", "\nsesame\n"), self.write("pass=phrase", "x" * 4001)
        no_address = "is not an email address; write it as name@example.org"
        for arguments, complaint in (
                ([], "A subcommand is required; see corvessa-desk --help"),
                (["open"], "file is required; see corvessa-desk open --help"),
                (["opne", "x"], 'unknown command "opne"; see corvessa-desk --help'),
                (["key", "lits"], 'unknown command "lits"; see corvessa-desk key --help'),
                (["get", "--answer", "x"], "--answer takes FORM=CONTROL"),
                (["get", "--passphrase", "sesame"], "--passphrase takes ADDRESS=FILE"),
                (["get", "--passphrase", "=sesame"], "--passphrase takes ADDRESS=FILE"),
                (["get", "--passphrase", f"a={empty}"], f"the first line of the passphrase file {empty} is empty"),
                (["get", "--passphrase", f"a={long}"], f"the first line of the passphrase file {long} is too long"),
                (["set", "enginelookupserver", "http://a.example; keys.example.org"],
                 "\"keys.example.org\" is no http or https address of a key server"),
                (["get", "--profile", ""], "--profile: is empty; see corvessa-desk get --help"),
                (["key", "generate", BOB, "--name", "n" * 200, "--passphrase-file", self.passphrase_file],
                 "A name for a key takes, with the address, at most 128 bytes"),
                (["account", "add", "no address"], f'"no address" {no_address}'),
                (["account", "add", "x@y"], f'"x@y" {no_address}'),
                (["key", "generate", "x@example.org"],
                 "no terminal to ask for a passphrase; use --passphrase-file")):
            with self.subTest(arguments):
                self.assertDone(self.at(self.folder / "alice", *arguments), 2, "",
                                f"corvessa-desk: {complaint}\n")
        self.assertDone(self.alice("get", "EngineLookupServer"), out="\n")
        for wrong in (["--json", "opne"], ["open", "--json"], ["open", "--none", "--json"]):
            self.assertEqual(self.alice(*wrong).json()["resultCode"], 2)
        self.assertIn("--outlook 9|10|11 ", self.alice("send", "--help").out)
        self.assertEqual(self.alice("help", "key", "import").out, self.alice("key", "import", "--help").out)
        self.assertEqual(self.alice("help").out, self.alice("--help").out)
        self.assertDone(self.alice("help", "opne"), 2, "", 'corvessa-desk: unknown command "opne"\n')
        self.assertIn("Subcommands:\n", subprocess.run([DESK, "--help"], capture_output=True,
                                                       text=True, check=True).stdout)


class Demo(DeskCase):
    def test_the_whole_session_is_shown_and_kept(self):
        script = pathlib.Path(__file__).parents[2] / "src/desk/demo/corvessa-desk-demo"
        kept = self.folder / "kept here"
        done, again = (Done(subprocess.run([script, "--keep", kept], capture_output=True)) for _ in range(2))
        self.assertEqual((done.err, done.code), ("", 0))
        self.assertEqual(re.findall(r"^\d", done.out, re.M), list("123456789"))
        for line in ("   | Status:  Message is digitally signed by alice@example.org",
                     "   | Corvessa Options: [x] Encrypt on send, [x] Sign on send",
                     "   | Message failed decryption (-1)"):
            self.assertIn(line, done.out.splitlines())
        opened = subprocess.run([DESK, *shlex.split(done.out.splitlines()[-1])[1:]], capture_output=True, text=True)
        self.assertIn("Nobody else must see them yet.", opened.stdout)
        self.assertDone(again, 3, "", f"corvessa-desk-demo: {kept} is not empty; name a new folder\n")


if __name__ == "__main__":
    unittest.main()
