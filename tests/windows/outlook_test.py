"""The add-in inside the stand-in Outlook, with gpg as the other side of every mail."""
import email
import email.policy
import itertools
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
CANARY = "canary-4711"
PASSPHRASE = "secret-words-0815"
LOGIN = {"do": "answer", "form": "frmLogin", "set": {"txtPassword": PASSPHRASE}, "press": "cmdOK"}


class OutlookCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.prefix = cls.folder / "prefix"
        (cls.folder / "gpg").mkdir(mode=0o700)
        cls.environment = dict(os.environ, GNUPGHOME=str(cls.folder / "gpg"))
        cls.outlook = subprocess.Popen([TOP / "outlook", "--prefix", cls.prefix], text=True,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        cls.addClassCleanup(cls.end)
        cls.gpg("--quick-generate-key", "bob@example.net", "default", "default", "never")
        cls.do(do="account", address="alice@example.org", sign=True)
        cls.do(do="key", action="generate", name="Alice", address="alice@example.org",
               passphrase=PASSPHRASE)
        key = cls.do(do="key", action="export", address="alice@example.org")["text"]
        cls.gpg("--import", data=key.encode())
        bob = cls.folder / "bob.asc"
        bob.write_bytes(cls.gpg("--armor", "--export", "bob@example.net"))
        cls.do(do="key", action="import", path=str(bob))

    @classmethod
    def end(cls):
        cls.outlook.stdin.close()
        cls.outlook.wait()
        cls.outlook.stdout.close()
        subprocess.run(["gpgconf", "--kill", "all"], env=cls.environment, check=False)

    @classmethod
    def gpg(cls, *arguments, data=b""):
        done = subprocess.run(["gpg", "--batch", "--quiet", "--trust-model", "always",
                               "--pinentry-mode", "loopback", "--passphrase", "", *arguments],
                              input=data, capture_output=True, env=cls.environment, check=False)
        if done.returncode != 0:
            raise AssertionError(done.stderr.decode())
        return done.stdout

    @classmethod
    def do(cls, **command):
        cls.outlook.stdin.write(json.dumps(command) + "\n")
        cls.outlook.stdin.flush()
        answer = json.loads(cls.outlook.stdout.readline())
        if "error" in answer:
            raise AssertionError(f"{command}: {answer}")
        return answer

    def connect(self, version="9.0.0.2711"):
        self.do(do="stats")
        self.do(do="connect", version=version)
        self.addCleanup(self.disconnect)

    def disconnect(self):
        """Nothing stays behind, whatever a test did."""
        left = self.do(do="disconnect")
        self.assertEqual((left["references"], left["objects"], left["windows"], left["loaded"]),
                         (0, 0, 0, False))
        temporary = [str(path) for path in (self.prefix / "drive_c").glob("users/*/Temp/*")
                     if not path.name.startswith("~")]
        self.assertEqual(temporary, [])
        for path in self.prefix.rglob("*"):
            if path.is_file() and not path.is_symlink() and path.suffix in (".txt", ".reg", ".tmp"):
                content = path.read_bytes()
                for secret in (CANARY, PASSPHRASE):
                    self.assertNotIn(secret.encode(), content, path)

    def mail_from_bob(self, body, attachments=()):
        message = email.message.EmailMessage(policy=email.policy.SMTP)
        message["From"] = "Bob <bob@example.net>"
        message["To"] = "Alice <alice@example.org>"
        message["Subject"] = "hello"
        message["Date"] = "Mon, 02 Feb 2026 10:00:00 +0000"
        message.set_content(body)
        for name, content in attachments:
            message.add_attachment(content, maintype="application", subtype="octet-stream",
                                   filename=name)
        path = self.folder / "in.eml"
        path.write_bytes(message.as_bytes())
        return str(path)

    def encrypted(self, text):
        return self.gpg("--armor", "--encrypt", "-r", "alice@example.org", data=text.encode())

    def encrypted_mail(self):
        return self.mail_from_bob(self.encrypted(CANARY + "\r\n").decode(),
                                  [("note.txt", self.encrypted(CANARY))])

    def sent(self):
        return email.message_from_bytes((self.folder / "out.eml").read_bytes(),
                                        policy=email.policy.default)

    def compose(self, **more):
        attachment = self.folder / "plan.txt"
        attachment.write_text(CANARY)
        return self.do(do="compose", to=["Bob <bob@example.net>"], subject="s",
                       body=CANARY + "\r\n", attachments=[str(attachment)], **more)["window"]

    def send(self, window):
        return self.do(do="send", window=window, eml=str(self.folder / "out.eml"))


def captions(answer):
    return {bar["name"]: [button["caption"] for button in bar["buttons"]]
            for bar in answer["bars"]}


class Scenarios(OutlookCase):
    def test_a_received_mail_is_readable_while_it_is_open_and_only_then(self):
        self.connect()
        self.do(**LOGIN)
        opened = self.do(do="open", eml=self.encrypted_mail())
        self.assertEqual(opened["body"], CANARY + "\r\n")
        self.assertEqual(captions(opened), {"Corvessa Status": [
            "Message is encrypted", "Message is not digitally signed", "Show original message"]})
        saved = self.folder / "saved"
        self.do(do="save-attachment", window=opened["window"], index=1, to=str(saved))
        self.assertEqual(saved.read_text(), CANARY)

        reply = self.do(do="reply", window=opened["window"])
        self.assertEqual(reply["fields"]["X-Nimbra-Corvessa-Encrypted-Reply"], "True")
        forward = self.do(do="forward", window=opened["window"])
        self.assertEqual(forward["attachments"], [])

        closed = self.do(do="close", window=opened["window"])
        self.assertTrue(closed["body"].startswith("-----BEGIN PGP MESSAGE-----"))

    def test_a_signed_mail_names_its_signer(self):
        self.connect("11.0.5510")
        text = self.gpg("--clearsign", "-u", "bob@example.net", data=b"plain\n").decode()
        opened = self.do(do="open", eml=self.mail_from_bob(text))
        self.assertEqual(captions(opened)["Corvessa Status"][1], "Message is digitally signed")
        tooltip = opened["bars"][0]["buttons"][1]["tooltip"]
        self.assertIn("bob@example.net", tooltip)

    def test_what_is_sent_is_encrypted_and_signed(self):
        for version in ("9.0.0.2711", "10.0.2627", "11.0.5510"):
            with self.subTest(version):
                self.connect(version)
                self.do(**LOGIN)
                window = self.compose(html="<p>" + CANARY)
                self.assertFalse(self.send(window)["cancelled"])
                self.assertNotIn(CANARY.encode(), (self.folder / "out.eml").read_bytes())
                mail = self.sent()
                text = self.gpg("--decrypt", data=mail.get_body().get_content().encode())
                self.assertIn(CANARY.encode(), self.gpg("--decrypt", data=text))
                attached, signature = mail.iter_attachments()
                self.assertEqual((attached.get_filename(), signature.get_filename()),
                                 ("plan.txt", "plan.txt.sig"))
                data = self.folder / "plan"
                data.write_bytes(self.gpg("--decrypt", data=attached.get_payload(decode=True)))
                self.assertEqual(data.read_text(), CANARY)
                self.gpg("--verify", "-", str(data), data=signature.get_payload(decode=True))
                self.doCleanups()

    def test_without_a_passphrase_nothing_leaves_and_nothing_is_lost(self):
        self.connect()
        answer = self.send(self.compose())
        self.assertTrue(answer["cancelled"])
        self.assertEqual(answer["mail"]["body"], CANARY + "\r\n")
        self.assertEqual([one["name"] for one in answer["mail"]["attachments"]], ["plan.txt"])

    def test_a_mail_whose_protection_was_not_decided_stays_whichever_call_fails(self):
        self.connect()
        continued = {"do": "answer", "form": "frmSendFromExternalApplication",
                     "press": "cmdContinue"}
        for call in itertools.count(1):
            window = self.compose(html="<p>" + CANARY)
            self.do(do="answer", form="frmLogin", press="cmdCancel")
            self.do(**continued)
            self.do(do="fail", call=call)
            answer = self.send(window)
            failed = self.do(do="stats")["failed"]
            with self.subTest(call=call, failed=failed):
                self.assertTrue(answer["cancelled"])
                self.assertEqual(answer["mail"]["html"], "<p>" + CANARY)
                self.assertEqual([one["name"] for one in answer["mail"]["attachments"]],
                                 ["plan.txt"])
            self.do(do="fail", call=0)
            self.do(do="close", window=window)
            if not failed:
                break

    def test_a_mail_that_is_not_to_be_protected_leaves(self):
        for name, value in (("", ""), ("DisableKVPEntirely", "1")):
            self.do(do="set", name="DisableKVPEntirely", value=value or "0")
            self.connect()
            window = self.compose()
            for button in () if name else ("Encrypt on send", "Sign on send"):
                self.do(do="click", window=window, button=button)
            answer = self.send(window)
            self.doCleanups()
            self.do(do="set", name="DisableKVPEntirely", value="0")
            with self.subTest(name):
                self.assertFalse(answer["cancelled"])
                self.assertEqual(answer["boxes"], [])
                self.assertIn(CANARY, (self.folder / "out.eml").read_text())

    def test_outlook_of_another_version_is_left_alone(self):
        self.connect("12.0.4518")
        opened = self.do(do="open", eml=self.encrypted_mail())
        self.assertEqual(opened["bars"], [])

    def test_a_plain_mail_costs_no_engine_call_and_few_others(self):
        self.connect()
        self.do(do="stats")
        self.do(do="open", eml=self.mail_from_bob("hello\n"))
        calls = self.do(do="stats")["calls"]
        self.assertEqual(calls["CoCreateInstance"], 2)
        self.assertLessEqual(sum(calls.values()), 110)

    def test_events_come_in_while_a_dialog_waits(self):
        self.connect()
        mail = self.encrypted_mail()
        self.do(do="answer", form="frmLogin", press="leave")
        later = self.do(do="open", eml=mail, later=True)["later"]
        other = self.do(do="open", eml=self.mail_from_bob("hello\n"))
        self.assertEqual(other["body"], "hello\r\n")
        self.assertTrue(self.do(do="close", window=other["window"])["closed"])
        self.do(**LOGIN)
        self.assertEqual(self.do(do="result", later=later)["body"], CANARY + "\r\n")

    def test_connecting_again_leaves_nothing_behind(self):
        for _ in range(10):
            self.connect()
            self.do(**LOGIN)
            self.do(do="open", eml=self.encrypted_mail())
            self.doCleanups()


if __name__ == "__main__":
    unittest.main()
