"""Mail where other programs keep it: several files, mbox files and Maildirs made by Python."""

import json
import mailbox
import signal
import subprocess
import unittest
from email.message import EmailMessage

from desk_case import ALICE, BOB, CANARY, DESK, TEXT, DeskCase


class Mailboxes(DeskCase):
    def setUp(self):
        super().setUp()
        plain = EmailMessage()
        plain["From"], plain["To"], plain["Subject"] = f"Älice <{ALICE}>", BOB, "Not protected"
        plain["Date"] = "Sun, 22 Nov 2026 10:00:00 +0000"
        plain.set_content("Dear Bob,\n\nFrom here on\n")
        self.mails = {"encrypted": self.sent().read_bytes(),
                      "signed": self.sent("--no-encrypt", files={}).read_bytes(), "plain": plain.as_bytes()}

    def fill(self, box):
        box.lock()
        for content in self.mails.values():
            box.add(content)
        box.close()

    def test_a_list_shows_how_each_mail_is_protected(self):
        self.fill(mailbox.mbox(self.folder / "box"))
        self.fill(mailbox.Maildir(self.folder / "dir"))
        for line, status in zip(self.bob("list", self.folder / "box").out.splitlines(), self.mails, strict=True):
            self.assertRegex(line, rf"\A[123]     {status} +\d{{4}}-\d\d-\d\d \d\d:\d\d  (Älice|Alice) +  (Plâns|Not protected)\Z")
        for path, form in ((self.folder / "dir", ("--json", "list")), (self.folder / "box", ("list", "--json"))):
            listed = [json.loads(line) for line in self.bob(*form, path).out.splitlines()]
            self.assertEqual(sorted((one["status"], one["from"]["address"]) for one in listed),
                             [(status, ALICE) for status in sorted(self.mails)])
        damaged = self.bob("--json", "list", self.folder / "box", self.write("no-mail", b"\n"), self.folder / "dir")
        self.assertEqual(damaged.code, 3)
        self.assertEqual([sorted(json.loads(line)) for line in damaged.out.splitlines()].count(["error", "file", "number"]), 1)
        self.assertEqual(len(damaged.out.splitlines()), 7)

    def test_a_reader_that_has_seen_enough_ends_a_list_quietly(self):
        self.fill(mailbox.mbox(self.folder / "box"))
        with subprocess.Popen([DESK, "--profile", self.folder / "bob", "list", self.folder / "box"],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as child:
            child.stdout.close()
            self.assertEqual((child.stderr.read(), child.wait()), (b"", -signal.SIGPIPE))

    def test_mails_of_a_box_are_opened_one_by_one_and_files_together(self):
        box = self.folder / "box"
        self.fill(mailbox.mbox(box))
        for form in ((), ("--json",)):
            self.assertEqual(self.bob("open", box, *form).out, self.bob("list", box, *form).out)
        first = self.bob("open", box, "--message", "1", "--json").json()
        self.assertEqual((first["decryptStatus"], first["signStatus"], first["body"].replace("\r\n", "\n")), (0, 0, TEXT))
        self.assertEqual(self.bob("open", box, "--message", "2", "--json").json()["signStatus"], 0)
        self.assertIn("\n\nDear Bob,\n\nFrom here on\n", self.bob("open", box, "--message", "3").out)
        self.assertDone(self.bob("open", box, "--message", "4"), 2, "", "corvessa-desk: there are only 3 mails\n")
        self.assertIn(CANARY, self.bob("reply", box, "--message", "1").out)
        files = [self.write(f"{name}.eml", content) for name, content in self.mails.items()]
        both = self.bob("open", files[0], self.folder / "missing", files[1], "--json")
        self.assertEqual([(one["resultCode"], one.get("signStatus")) for one in map(json.loads, both.out.splitlines())],
                         [(0, 0), (3, None), (0, 0)])
        self.assertEqual(both.code, 3)
        shown = self.bob("open", *files[:2]).out
        self.assertEqual(shown.count(CANARY), 2)
        self.assertTrue(shown.startswith(f"== {files[0]}\n") and f"\n\n== {files[1]}\n" in shown)


if __name__ == "__main__":
    unittest.main()
