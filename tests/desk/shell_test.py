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
# The prompt itself: the form above it has a label "Passphrase:" too, drawn while the echo is still on.
ASKED = "Passphrase (Enter for other choices): "
# Line editing needs a terminal that can do it, whatever started the tests.
XTERM = {**os.environ, "TERM": "xterm"}


class Shell(DeskCase):
    def spawn(self, profile, *arguments, **environment):
        child = pexpect.spawn(DESK, ["--profile", str(self.folder / profile), *map(str, arguments)],
                              encoding="utf-8", timeout=20, dimensions=(50, 100), env=XTERM | environment)
        self.addCleanup(child.close)
        return child

    def shell(self, *arguments):
        child = self.spawn("bob", "shell", *arguments)
        child.expect_exact("desk> ")
        return child

    def ended(self, child):
        """Waits for the end; gives the exit code, None after a signal."""
        child.expect(pexpect.EOF)
        child.close()
        return child.exitstatus

    def open(self, child, path):
        child.sendline(f"open {path}")
        self.log_in(child)
        child.expect_exact("desk> ")

    @staticmethod
    def execute(child, line):
        """Returns the output up to the next prompt, without cursor movements."""
        child.sendline(line)
        child.expect_exact("desk> ")
        return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|\r", "", child.before)

    def walk(self, child, *steps):
        """Executes each line; its output holds the text beside it."""
        for line, text in steps:
            self.assertIn(text, self.execute(child, line), line)

    def log_in(self, child, passphrase=PASSPHRASE):
        child.expect_exact(ASKED)
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
        windows = "1   from Alice: Plâns\n2 * from Alice: Plâns\n"
        # The passphrase is remembered for the session.
        self.walk(child, (f"open {sent}", "Message is digitally signed by alice@example.org"),
                  ("windows", windows), ("wait 1", ""), ("window 1", windows))
        child.sendline("click Message is encrypted")
        child.expect_exact("This message is encrypted")
        child.expect(r"Choose|>|:")
        # The line before comes back with the arrow key.
        self.walk(child, ("q", ""), (f"reply {answer}", "Corvessa Options: [x] Encrypt on send, [x] Sign on send\n"),
                  ("click sign ON send", "Corvessa Options: [x] Encrypt on send, [ ] Sign on send\n"),
                  (f"send {self.folder}/none/out.eml", "cannot be written"),
                  (f"send {out}", f"Sent encrypted, not signed: {out}\n"), ("opne", 'unknown command "opne"'),
                  ("windows", "1   from Alice"), ("\x1b[A", "1   from Alice"), ("close", ""), ("close", ""),
                  ("bars", "no window is open"))
        child.sendline("quit")
        self.assertEqual(self.ended(child), 0)
        opened = self.alice("open", out, "--json").json()
        self.assertTrue(opened["body"].startswith("Thanks\r\n\r\n\r\n-----Original Message-----\r\n"))
        self.assertEqual(self.leftovers(), [])

    def test_attachments_are_saved_and_drafts_of_both_kinds_sent(self):
        sent = self.sent()
        sent.write_bytes(b"Cc: dora@example.org\r\n" + sent.read_bytes())
        out = self.folder / "out.eml"
        child = self.shell("--answer", "frmNoKeysFound=cmdYes")
        self.open(child, sent)
        saved = self.folder / "saved"
        self.walk(child, (f"save {saved}", f"saved {saved}/t.csv\n"), ("replyall", ""),
                  ("windows", "1   from Alice: Plâns\n2 * draft: RE: Plâns\n"),
                  (f"send {out}", f"Sent signed, not encrypted: {out}\n"))
        self.assertEqual({name: (saved / name).read_bytes() for name in FILES}, FILES)
        self.assertEqual((read_mail(out)["To"], read_mail(out)["Cc"]), (f"Alice <{ALICE}>", "dora@example.org"))
        # In its window the user sees that the reply to an encrypted message is not.
        self.walk(child, ("reply", ""), ("click Encrypt on send", ""),
                  (f"send {out}", f"Sent signed, not encrypted: {out}\n"),
                  (f"compose {self.draft(to=ALICE, Bcc=BOB)}", "Corvessa Options: [x] Encrypt on send"),
                  (f"send {out}", f"blind copies to {BOB}"))
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
        self.assertIn("Status:  – Message is not encrypted\nStatus:  – Message is not digitally signed\n"
                      f"From:    {ALICE}\nTo:      {BOB}\nSubject: {'x' * 91}\n         Status: encrypted\n"
                      "Attachments:\n  – \"a', 1 bytes: is encrypted\", 4 bytes: not checked\n", shown)

    def test_tab_completes_and_the_history_has_no_passphrases(self):
        self.write("my mail.eml", self.sent(files={}).read_bytes())
        child = self.shell()
        child.send("wi\t\t")
        child.expect_exact("window   windows")
        child.expect_exact("desk> window")
        child.send("\x0c")
        child.expect_exact("\x1b[H\x1b[2J")
        child.expect_exact("desk> window")
        self.walk(child, ("\x15?", "  help [COMMAND]"), ("help cli\t", "usage: click CAPTION\n  click a button on a bar\n"))
        self.open(child, f"\x15op\t{self.folder}/m\t")
        child.sendline("click SHOW\t")
        child.expect_exact("-----END PGP MESSAGE-----")
        child.expect_exact("? = help): ")
        self.walk(child, ("c", "Close was pressed. The window is closed.\n"), ("wi\ts\t", "1 * from Alice: Plâns"),
                  ("\x1b[A\x1b[A\x1b[A\x1b[A\x1b[B", "Message is encrypted"),
                  ("forget", "All passphrases are forgotten.\n"))
        self.open(child, f'"{self.folder}/my mail.eml"')
        self.assertIn("✓ Message is encrypted", child.before)

    def test_a_form_says_what_can_be_done_and_what_was_done(self):
        child = self.shell()
        for line, text in (("settings", ""), ("?", "  r      press Remove\r\n"), ("s", "Sign outgoing mail by default: off.\r\n"),
                           ("h", "Help was pressed.\r\n"), ("2", "Chosen: Options.\r\n")):
            child.sendline(line)
            if line == "h":
                child.expect_exact("No address is configured for this page.")
                child.sendline("")
            child.expect_exact("? = help): ")
            self.assertIn(text, child.before, line)
        self.assertIn("Closed.\n", self.execute(child, "close"))

    def test_a_terminal_shows_statuses_by_sign_and_colour_and_dates_by_locale(self):
        sent = self.sent(files={})
        for environment, status in (({}, "\x1b[32m✓ Message is encrypted\x1b[0m\r\n"), ({"NO_COLOR": "1"}, " ✓ Message is encrypted\r\n")):
            child = self.spawn("bob", "open", sent, **environment)
            self.log_in(child)
            self.assertEqual(self.ended(child), 0)
            self.assertIn(status, child.before)
        child = self.spawn("bob", "list", sent, LC_ALL="C")
        self.assertEqual(self.ended(child), 0)
        self.assertRegex(child.before, r"1     encrypted  \d\d/\d\d/\d\d \d\d:\d\d    Alice ")

    def test_several_messages_ask_for_the_passphrase_once(self):
        sent = self.sent(files={})
        child = self.spawn("bob", "open", sent, sent)
        self.log_in(child)
        self.assertEqual(self.ended(child), 0)
        self.assertEqual(child.before.count(CANARY), 2)
        child = self.spawn("bob", "open", sent, sent)
        child.expect_exact(ASKED)
        child.sendintr()
        self.assertEqual((self.ended(child), child.before.count("== ")), (1, 0))

    def test_signals_end_a_session_cleanly(self):
        sent = self.sent(files={"secret.txt": CANARY.encode()})
        child = self.shell()
        child.send("not what I mean\x03")
        child.expect_exact("desk> ")
        self.open(child, sent)
        self.assertNotEqual(self.leftovers(), [])  # the attachments of the open message
        limits = pathlib.Path(f"/proc/{child.pid}/limits").read_text()
        self.assertRegex(limits, r"Max core file size +0 +0 ")
        child.kill(signal.SIGTERM)
        child.kill(signal.SIGHUP)
        self.assertIsNone(self.ended(child))
        # Either may arrive first.
        self.assertIn(child.signalstatus, (signal.SIGTERM, signal.SIGHUP))
        self.assertEqual(self.leftovers(), [])

    def test_a_passphrase_is_typed_unseen_until_a_signal_ends_the_question(self):
        sent = self.sent(files={})
        for ending in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            child = self.spawn("bob", "open", sent)
            child.expect_exact(ASKED)
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
        child = self.spawn("alice", "--passphrase", f"{ALICE}={self.passphrase_file}", "send", draft, "--out", out)
        child.expect_exact("Choice (")
        child.sendintr()
        self.assertEqual((self.ended(child), out.exists(), self.leftovers()), (1, False, []))

    def test_a_script_gets_the_exit_code_of_the_first_failure(self):
        sent, empty = self.sent(files={}), self.write("empty.eml", "")
        done = self.script(f"open {sent}", "send x.eml", "save none", "reply", "forward", "close", "close",
                           f"open {empty}", "quit")
        self.assertDone(done, 2, err="corvessa-desk: the front message was received; only a draft "
                                     "can be sent\ncorvessa-desk: the front message is a draft; only a "
                                     f"received one can be replied to or forwarded\ncorvessa-desk: {empty} is empty, not a mail message\n")
        self.assertIn(TEXT.replace("\n", "") + "No attachments.", done.out.replace("\n", ""))
        forged = self.write("forged.eml", self.sent("--no-encrypt", files={}).read_bytes().replace(b"Subject", b"X")
                            .replace(TEXT.split()[0].encode(), b"Never"))
        self.assertDone(self.script(f"open {forged}"), 1)
        self.assertDone(self.script(f"open {forged}", "reply"), 1,
                        err="corvessa-desk: the message has an invalid signature; no draft was made\n")

    def test_a_new_key_asks_twice_without_echo(self):
        for second, code in ((PASSPHRASE, 0), ("other", 1)):
            child = self.spawn("new", "key", "generate", BOB)
            if second != PASSPHRASE:
                child.expect_exact("Create another? [y/N] ")
                child.sendline("y")
            child.expect_exact("Passphrase for the new key: ")
            child.sendline(PASSPHRASE)
            child.expect_exact("Repeat the passphrase: ")
            child.sendline(second)
            self.assertEqual(self.ended(child), code)
            self.assertNotIn("horse", child.before)


if __name__ == "__main__":
    unittest.main()
