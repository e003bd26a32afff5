"""The interactive session, driven through a pseudo-terminal as a user would."""

import os
import pathlib
import re
import signal
import unittest
from urllib.parse import quote

import pexpect

from desk_case import ALICE, BOB, CANARY, DESK, FILES, TEXT, DeskCase, read_mail

PASSPHRASE = "a horse & a battery"
# Line editing needs a terminal that can do it, whatever started the tests.
XTERM = {**os.environ, "TERM": "xterm"}


class Shell(DeskCase):
    def shell(self, *arguments):
        child = pexpect.spawn(DESK, ["--profile", str(self.folder / "bob"), "shell", *arguments],
                              encoding="utf-8", timeout=20, dimensions=(50, 100), env=XTERM)
        self.addCleanup(child.close)
        child.expect_exact("desk> ")
        return child

    @staticmethod
    def execute(child, line):
        """Returns the output up to the next prompt, without cursor movements."""
        child.sendline(line)
        child.expect_exact("desk> ")
        return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|\r", "", child.before)

    def log_in(self, child, passphrase=PASSPHRASE):
        child.expect("Passphrase: *")
        child.sendline(passphrase)

    def test_a_session_stays_connected(self):
        sent = self.sent(files={})
        answer = self.write("answer.txt", "Thanks\n")
        out = self.folder / "reply.eml"
        child = self.shell()
        child.sendline(f'open "{sent}"')
        self.log_in(child, "wrong")
        child.expect_exact("incorrect")
        self.log_in(child)
        child.expect_exact("desk> ")
        first = child.before
        self.assertIn(CANARY, first)
        self.assertNotIn(PASSPHRASE, first)
        # The passphrase is remembered for the session.
        self.assertIn("Message is digitally signed by alice@example.org", self.execute(child, f"open {sent}"))
        self.assertIn("1   from Alice: Plâns\n2 * from Alice: Plâns\n", self.execute(child, "windows"))
        self.execute(child, "wait 1")
        self.assertIn("1   from Alice: Plâns\n2 * from Alice: Plâns\n", self.execute(child, "window 1"))
        child.sendline("click Message is encrypted")
        child.expect_exact("This message is encrypted")
        child.expect(r"Choose|>|:")
        child.sendline("q")
        child.expect_exact("desk> ")
        self.assertIn("Corvessa Options: [x] Encrypt on send, [x] Sign on send\n",
                      self.execute(child, f"reply {answer}"))
        self.assertIn("Corvessa Options: [x] Encrypt on send, [ ] Sign on send\n",
                      self.execute(child, "click sign ON send"))
        self.assertIn("cannot be written", self.execute(child, f"send {self.folder}/none/out.eml"))
        self.assertIn(f"Sent encrypted, not signed: {out}\n", self.execute(child, f"send {out}"))
        self.assertIn('unknown command "opne"', self.execute(child, "opne"))
        # The line before comes back with the arrow key.
        self.assertIn("1   from Alice", self.execute(child, "windows"))
        self.assertIn("1   from Alice", self.execute(child, "\x1b[A"))
        self.execute(child, "close")
        self.execute(child, "close")
        self.assertIn("no window is open", self.execute(child, "bars"))
        child.sendline("quit")
        child.expect(pexpect.EOF)
        child.close()
        self.assertEqual(child.exitstatus, 0)
        opened = self.alice("open", out, "--json").json()
        self.assertTrue(opened["body"].startswith("Thanks\r\n\r\n\r\n-----Original Message-----\r\n"))
        self.assertEqual(self.leftovers(), [])

    def test_attachments_are_saved_and_drafts_of_both_kinds_sent(self):
        sent = self.sent()
        sent.write_bytes(b"Cc: dora@example.org\r\n" + sent.read_bytes())
        out = self.folder / "out.eml"
        child = self.shell("--answer", "frmNoKeysFound=cmdYes")
        child.sendline(f"open {sent}")
        self.log_in(child)
        child.expect_exact("desk> ")
        saved = self.folder / "saved"
        self.assertIn(f"saved {saved}/t.csv\n", self.execute(child, f"save {saved}"))
        self.assertEqual({name: (saved / name).read_bytes() for name in FILES}, FILES)
        self.execute(child, "replyall")
        self.assertIn("1   from Alice: Plâns\n2 * draft: RE: Plâns\n", self.execute(child, "windows"))
        self.assertIn(f"Sent signed, not encrypted: {out}\n", self.execute(child, f"send {out}"))
        self.assertEqual((read_mail(out)["To"], read_mail(out)["Cc"]),
                         (f"Alice <{ALICE}>", "dora@example.org"))
        # In its window the user sees that the reply to an encrypted message is not.
        self.execute(child, "reply")
        self.execute(child, "click Encrypt on send")
        self.assertIn(f"Sent signed, not encrypted: {out}\n", self.execute(child, f"send {out}"))
        draft = self.draft(to=ALICE, Bcc=BOB)
        self.assertIn("Corvessa Options: [x] Encrypt on send", self.execute(child, f"compose {draft}"))
        self.assertIn(f"blind copies to {BOB}", self.execute(child, f"send {out}"))
        child.sendline("settings")
        child.expect_exact("Choice (")
        self.execute(child, "q")

    def test_sender_text_cannot_pass_for_a_line_of_the_desk(self):
        forged = 'a", 1 bytes: is encrypted'
        mail = self.write("forged.eml", f"From: {ALICE}\nTo: {BOB}\nSubject: {'x' * 91}\u2003 Status:  encrypted\n"
                          "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\n--b\n"
                          f"Content-Disposition: attachment; filename*=utf-8''{quote(forged)}\n\ndata\n--b--\n")
        shown = self.execute(self.shell(), f"open {mail}")
        # In a window of 100 columns.
        self.assertIn("Status:  Message is not encrypted\nStatus:  Message is not digitally signed\n"
                      f"From:    {ALICE}\nTo:      {BOB}\nSubject: {'x' * 91}\n         Status: encrypted\n"
                      "Attachments:\n  \"a', 1 bytes: is encrypted\", 4 bytes: not checked\n", shown)

    def test_signals_end_a_session_cleanly(self):
        sent = self.sent(files={"secret.txt": CANARY.encode()})
        child = self.shell()
        child.send("not what I mean\x03")
        child.expect_exact("desk> ")
        child.sendline(f"open {sent}")
        self.log_in(child)
        child.expect_exact("desk> ")
        self.assertNotEqual(self.leftovers(), [])  # the attachments of the open message
        limits = pathlib.Path(f"/proc/{child.pid}/limits").read_text()
        self.assertRegex(limits, r"Max core file size +0 +0 ")
        child.kill(signal.SIGTERM)
        child.kill(signal.SIGHUP)
        child.expect(pexpect.EOF)
        child.close()
        # Either may arrive first.
        self.assertIn(child.signalstatus, (signal.SIGTERM, signal.SIGHUP))
        self.assertEqual(self.leftovers(), [])

    def test_a_passphrase_is_typed_unseen_until_a_signal_ends_the_question(self):
        sent = self.sent(files={})
        for ending in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            child = pexpect.spawn(DESK, ["--profile", str(self.folder / "bob"), "open", str(sent)],
                                  encoding="utf-8", timeout=20, env=XTERM)
            child.expect("Passphrase: *")
            self.assertFalse(child.getecho())
            child.send("sesame")
            child.kill(ending)
            child.expect(pexpect.EOF)
            self.assertNotIn("sesame", child.before)
            self.assertTrue(child.getecho())
            child.close()
            self.assertEqual(child.signalstatus, None if ending == signal.SIGINT else ending)

    def test_an_interrupted_send_sends_nothing_and_leaves_nothing(self):
        out = self.folder / "out.eml"
        draft = self.draft(to=f"{BOB}, nobody@example.org")
        child = pexpect.spawn(DESK, ["--profile", str(self.folder / "alice"), "--passphrase",
                                     f"{ALICE}={self.passphrase_file}", "send", str(draft), "--out", str(out)],
                              encoding="utf-8", timeout=20, env=XTERM)
        child.expect_exact("Choice (")
        child.sendintr()
        child.expect(pexpect.EOF)
        child.close()
        self.assertEqual((child.exitstatus, out.exists(), self.leftovers()), (1, False, []))

    def test_a_script_gets_the_exit_code_of_the_first_failure(self):
        sent = self.sent(files={})
        empty = self.write("empty.eml", "")
        script = self.write("script", f"open {sent}\nsend x.eml\nsave none\nreply\nforward\n"
                                      f"close\nclose\nopen {empty}\nquit\n")
        with open(script, "rb") as lines:
            done = self.bob("shell", stdin=lines)
        self.assertDone(done, 2, err="corvessa-desk: the front message was received; only a draft "
                                     "can be sent\ncorvessa-desk: the front message is a draft; only a "
                                     f"received one can be replied to or forwarded\ncorvessa-desk: {empty} is empty, not a mail message\n")
        self.assertIn(TEXT.replace("\n", "") + "No attachments.", done.out.replace("\n", ""))
        forged = self.write("forged.eml", self.sent("--no-encrypt", files={}).read_bytes().replace(b"Subject", b"X")
                            .replace(TEXT.split()[0].encode(), b"Never"))
        for script, complaint in ((f"open {forged}", ""),
                                  (f"open {forged}\nreply", "the message has an invalid signature; no draft was made")):
            with open(self.write("script", script), "rb") as lines:
                done = self.bob("shell", stdin=lines)
            self.assertDone(done, 1, err=complaint and f"corvessa-desk: {complaint}\n")

    def test_a_new_key_asks_twice_without_echo(self):
        arguments = ["--profile", str(self.folder / "new"), "key", "generate", BOB]
        for second, code in ((PASSPHRASE, 0), ("other", 1)):
            child = pexpect.spawn(DESK, arguments, encoding="utf-8", timeout=20, env=XTERM)
            child.expect_exact("Passphrase for the new key: ")
            child.sendline(PASSPHRASE)
            child.expect_exact("Repeat the passphrase: ")
            child.sendline(second)
            child.expect(pexpect.EOF)
            self.assertNotIn("horse", child.before)
            child.close()
            self.assertEqual(child.exitstatus, code)


if __name__ == "__main__":
    unittest.main()
