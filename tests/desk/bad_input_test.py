"""Bad input and failing disks: one clear line, the right exit code, nothing lost or half-written."""

import os
import pathlib
import resource
import shutil
import subprocess
import unittest
from email import policy
from email.message import EmailMessage

from desk_case import ALICE, BOB, CANARY, DESK, TEXT, DeskCase, read_mail


def small_files():
    resource.setrlimit(resource.RLIMIT_FSIZE, (16384, 16384))


class Files(DeskCase):
    def test_files_that_are_not_mail(self):
        for name, content, complaint in (("empty", b"", "is empty, not a mail message"),
                                         ("rubbish", bytes(range(256)) * 64, "is not a mail message"),
                                         ("nothing", None, "cannot be read: No such file or directory")):
            path = self.folder / name
            if content is not None:
                path.write_bytes(content)
            for command in ("open", "send", "reply", "forward"):
                self.assertDone(self.alice(command, path), 3, "", f"corvessa-desk: {path} {complaint}\n")
        listed = self.alice("open", self.folder)
        self.assertEqual((listed.code, len(listed.err.splitlines())), (3, 2))
        profile = self.folder / "rubbish"
        self.assertDone(self.at(profile, "get"), 3, "",
                        f"corvessa-desk: Cannot create the profile {profile}: File exists\n")

    def test_a_truncated_mail_is_shown_but_not_sent(self):
        whole = self.sent().read_bytes()
        cut = self.write("cut.eml", whole[:len(whole) // 2])
        opened = self.bob("open", cut, "--json")
        self.assertIn(f"corvessa-desk: {cut} is truncated or damaged; showing what is there\n", opened.err)
        self.assertEqual((opened.code, opened.json()["resultCode"], opened.json()["endsEarly"]), (1, 1, True))
        draft = self.write("cut.draft.eml", self.draft().read_bytes()[:900])
        self.assertDone(self.alice("send", draft), 3, "",
                        f"corvessa-desk: {draft} is truncated or damaged; not sent\n")

    def test_many_attachments_and_long_headers(self):
        parts = b"".join(b"--b\r\nContent-Type: text/plain; name=n%d.txt\r\nContent-Disposition: "
                         b"attachment\r\n\r\n%d\r\n" % (i, i) for i in range(10_000))
        raw = (f"From: {ALICE}\r\nTo: {BOB}\r\nSubject: {'x' * 1_000_000}\r\nContent-Type: "
               "multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nmany\r\n").encode() + parts + b"--b--\r\n"
        report = self.bob("open", self.write("many.eml", raw), "--json")
        self.assertEqual((report.err, report.code), ("", 0))
        attachments = report.json()["attachments"]
        self.assertEqual((len(attachments), attachments[9999]["name"], attachments[9999]["size"],
                          len(report.json()["subject"])), (10_000, "n9999.txt", 4, 1_000_000))

    def test_text_cannot_steer_the_terminal(self):
        mail = EmailMessage(policy=policy.SMTP)
        mail["From"], mail["To"] = ALICE, BOB
        mail.set_content("a\x1b]0;title\x07b\x1b[2Jc\u202egpj\n")
        self.assertIn("\na]0;titleb[2Jcgpj\n", self.bob("open", self.write("m.eml", mail.as_bytes())).out)

    def test_a_fifo_in_place_of_a_profile_file_fails_at_once(self):
        self.assertDone(self.alice("set", "ADKEnabled", "1"))
        draft = self.draft(files={})
        for name, code in (("registry.reg", 3), ("lock", 3), ("adk.txt", 1), ("keys/public.ring", 1),
                           ("keys/secret.ring", 1)):
            with self.subTest(name):
                profile = self.folder / name.replace("/", "-")
                shutil.copytree(self.folder / "alice", profile)
                (profile / name).unlink(missing_ok=True)
                os.mkfifo(profile / name)
                done = self.at(profile, "--passphrase", f"{ALICE}={self.passphrase_file}", "send", draft,
                               timeout=20)
                self.assertEqual((done.code, done.out), (code, ""), done.err)
                self.assertIn("ot a regular file", done.err)


class Disk(DeskCase):
    def full_disk(self, folder):
        """Puts the folder on a disk of a few pages; None if that cannot be mounted."""
        folder.mkdir(exist_ok=True)
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16k", "none", folder],
                                 capture_output=True)
        if mounted.returncode != 0:
            return None
        self.addCleanup(subprocess.run, ["umount", "-l", folder])
        return folder

    def test_a_full_disk_gets_no_partial_mail_or_attachment(self):
        draft = self.draft(files={"big.bin": bytes(100_000)})
        sent = self.sent(files={"big.bin": bytes(100_000)})
        small = self.full_disk(self.folder / "small")
        complaint = "the disk is full" if small else "the limit on the size of files is reached"
        limit = {} if small else {"preexec_fn": small_files}
        folder = small or self.folder / "small"
        old = folder / "out.eml"
        old.write_bytes(b"old")
        done = self.alice("send", draft, "--no-encrypt", "--no-sign", "--out", old, **limit)
        self.assertDone(done, 3, "", f"corvessa-desk: {old} cannot be written: {complaint}\n")
        self.assertEqual([(path.name, path.read_bytes()) for path in folder.iterdir()],
                         [("out.eml", b"old")])
        if small:
            done = self.bob("open", sent, "--save-attachments", folder)
            self.assertDone(done, 3, err=f"corvessa-desk: {folder}/big.bin cannot be written: the disk is full\n")
            self.assertIn(TEXT, done.out)
            self.assertEqual({path.name for path in folder.iterdir()}, {"big.bin.sig", "out.eml"})

    def test_a_full_disk_under_the_profile_is_told_and_leaves_no_decrypted_file(self):
        sent = self.sent(files={"big.bin": bytes(os.urandom(100_000))})
        temporary = self.folder / "bob/drive_c/Temp"
        limited = self.bob("open", sent, "--json", preexec_fn=small_files)
        self.assertEqual((limited.code, limited.json()["resultCode"]), (3, 3))
        self.assertEqual(list(temporary.iterdir()), [])
        if self.full_disk(temporary):
            done = self.bob("open", sent, "--json")
            self.assertEqual((done.code, done.json()["resultCode"]), (3, 3))
            # The add-in reports a failure; only the desk knows the cause.
            self.assertIn("corvessa-desk: the cause is a disk failure: No space left on device\n", done.err)

    def test_output_that_cannot_be_written(self):
        for redirection in (">/dev/full", ">&-"):
            done = subprocess.run(["sh", "-c", f'exec "$0" --profile "$1" get {redirection}', DESK,
                                   self.folder / "alice"], capture_output=True)
            self.assertEqual((done.returncode, done.stderr), (3, b"corvessa-desk: cannot write the output\n"))
        draft = self.draft()
        for target, code, complaint in (("/dev/full", 3, "/dev/full exists and is not a regular file"),
                                        (draft, 2, f"{draft} is an input file; choose another file to write")):
            self.assertDone(self.alice("send", draft, "--out", target), code, "",
                            f"corvessa-desk: {complaint}\n")
        self.assertTrue(pathlib.Path("/dev/full").is_char_device())
        sent, text = self.sent(), self.write("text", "Thanks\n")
        for out in (sent, text):
            self.assertEqual(self.bob("reply", sent, "--text", text, "--out", out).code, 2)


class Processes(DeskCase):
    def test_a_profile_in_use_and_one_left_by_a_killed_session(self):
        profile = self.folder / "bob"
        shell = subprocess.Popen([DESK, "--profile", profile, "--passphrase",
                                  f"{BOB}={self.passphrase_file}", "shell"],
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        shell.stdin.write(f"open {self.sent(files={'secret.txt': CANARY.encode()})}\n")
        shell.stdin.flush()
        while "Attachments:" not in shell.stdout.readline():
            pass
        self.assertDone(self.bob("get"), 3, "", f"corvessa-desk: The profile {profile} is in use by "
                                                "another program\n")
        self.assertTrue(self.leftovers())
        shell.kill()
        shell.communicate()
        unfinished, others = (".corvessa-a1B2c3", "keys/.corvessa-a1B2c3"), ("mail12", "keys/mail12")
        for name in unfinished + others:
            (profile / name).write_text("x")
        self.assertDone(self.bob("get", "PassphraseMemory"))
        self.assertEqual(self.leftovers(), [])
        self.assertEqual([name for name in unfinished + others if (profile / name).exists()], list(others))

    def test_trouble_with_a_key_ring_is_told_alike_and_sends_nothing_in_clear(self):
        ring = self.folder / "alice" / "keys" / "public.ring"
        whole, draft, out = ring.read_bytes(), self.draft(), self.folder / "out.eml"
        kept = ring.with_name("public.ring.damaged")
        lost = "; keys may be missing. Restore it from a backup or import the keys again"
        for content, trouble in (
                (b"X" + whole[1:], "was damaged; keys may be missing. The damaged ring is kept as "
                                   f"{kept}. Restore the keys, then delete that file"),
                (b"", "is empty" + lost), (None, "is missing" + lost)):
            with self.subTest(trouble):
                ring.unlink(missing_ok=True)
                if content is not None:
                    ring.write_bytes(content)
                told = f"corvessa-desk: The key ring {ring} {trouble}\n"
                self.assertDone(self.alice("key", "list"), err=told)
                sent = self.alice("send", draft, "--out", out, "--answer", "frmNoKeysFound=cmdYes",
                                  "--answer", "frmGeneric=cmdOK")
                self.assertEqual((sent.code, out.exists()), (1, False))
                self.assertIn(told, sent.err)
                self.assertNotIn("frmNoKeysFound", sent.err.replace("frmNoKeysFound=cmdYes", ""))
                self.assertIn(told, self.alice("open", draft).err)
                if kept.exists():
                    self.assertEqual(kept.read_bytes(), content)
                    kept.unlink()


if __name__ == "__main__":
    unittest.main()
