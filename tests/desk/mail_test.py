"""Mail that other programs compose and read: Python's email library and gpg."""

import email
import pathlib
import subprocess
import unittest
from email import policy
from email.message import EmailMessage

from desk_case import (ALICE, BOB, CANARY, FILES, GINA, TEXT, DeskCase, Gpg, attachments_of, read_mail)

CRLF_TEXT = TEXT.replace("\n", "\r\n")
EVERYTHING = {**FILES, **{name + ".sig": None for name in FILES}}
TEXTS = {"us-ascii": "plain\nlines\n", "windows-1252": "“quotes” – 5 €\n", "koi8-r": "Привет\n",
         "iso-2022-jp": "こんにちは、世界。\n", "gb18030": "你好\n", "utf-8": "🔑 ключ\n"}


def composed():
    """Mails in the forms that Python's email library gives them."""
    for charset, text in TEXTS.items():
        for encoding in ("quoted-printable", "base64"):
            mail = EmailMessage(policy=policy.SMTP)
            mail.set_content(text * 40, charset=charset, cte=encoding)
            mail["Subject"] = text.strip().replace("\n", " ") * 20
            yield f"{charset} in {encoding}", mail
    mail = EmailMessage(policy=policy.SMTP)
    mail["Subject"] = "=?utf-8?Q?not_a_word?= 日本語とéの mixed 🔑 subject"
    mail["X-Long"] = "x" * 1000
    mail.set_content("both bodies\n" + "w" * 1200 + "\nFrom me\n.\ntab\t\n-- \n")
    mail.add_alternative("<p>b\u00f6th <img src='cid:pic'></p>\n", subtype="html")
    mail.get_payload()[1].add_related(bytes(range(256)), "image", "png", cid="<pic>",
                                      filename="p.png", disposition="inline")
    for name in ("plain.pdf", "Übersicht für 2026 (endgültig).pdf", "日本語の長い名前" * 6 + ".pdf", 'quo"te.pdf'):
        mail.add_attachment(name.encode() * 100, "application", "pdf", filename=name)
    mail.add_attachment("té\n", subtype="csv", charset="latin-1", filename="t.csv")
    yield "everything", mail
    outer = EmailMessage(policy=policy.SMTP)
    outer.set_content("see the mail inside\n")
    outer.add_attachment(mail, filename="inner.eml")
    yield "nested", outer


def described(mail):
    """What a reader finds in a mail, whatever form it travels in."""
    bodies = [mail.get_body((kind,)) for kind in ("plain", "html")]

    def files(part):
        for inner in part.iter_parts() if part.is_multipart() else []:
            if inner.get_content_maintype() == "multipart":
                yield from files(inner)
            elif inner not in bodies:
                is_mail = inner.get_content_type() == "message/rfc822"
                content = (inner.get_content().as_bytes(policy=policy.SMTP) if is_mail
                           else inner.get_payload(decode=True))
                yield inner.get_filename(), inner["Content-ID"], content
    return ([str(mail[field]) for field in ("From", "To", "Cc", "Reply-To", "Date", "Subject", "X-Long")],
            [body and body.get_content().replace("\r\n", "\n") for body in bodies], list(files(mail)))


class Sending(DeskCase):
    def test_gpg_and_python_read_what_is_sent(self):
        gpg = Gpg(self)
        gpg.run("--import", data=(self.template / "alice.asc").read_bytes())
        self.assertEqual(self.alice("key", "import", self.write("gina.asc", gpg.public_key())).code, 0)
        path = self.folder / "sent.eml"
        done = self.alice("send", self.draft(to=f"Gina <{GINA}>", Bcc=f"Bob <{BOB}>", X_Own="kept"),
                          "--out", path)
        self.assertDone(done, out=f"Sent encrypted and signed: {path}\n",
                        err=f"corvessa-desk: blind copies to {BOB}: the mail does not name them; "
                            "pass them to your mail server\n")
        mail = read_mail(path)
        self.assertEqual(
            [(name, value) for name, value in mail.items()
             if name not in ("Date", "Message-ID", "Content-Type")],
            [("From", f"Alice <{ALICE}>"), ("To", f"Gina <{GINA}>"), ("Subject", "Plâns"),
             ("X-Own", "kept"), ("X-Nimbra-NoEncrypt", "False"), ("X-Nimbra-NoSign", "False"),
             ("MIME-Version", "1.0")])
        self.assertTrue(mail["Date"].datetime and mail["Message-ID"].endswith("@example.org>"))
        self.assertTrue(all(byte < 128 for byte in path.read_bytes()))
        self.assertNotIn(b"iso-8859", path.read_bytes().lower())
        self.assertEqual(self.leftovers(), [])

        decrypted = gpg.run("--decrypt", data=mail.get_body().get_payload(decode=True)).stdout
        verified = gpg.run("--decrypt", data=decrypted)
        # A clear-signed text has no last line end of its own; gpg writes one.
        self.assertEqual(verified.stdout.decode().replace("\r\n", "\n"), TEXT + "\n")
        self.assertIn(b"GOODSIG", verified.stderr)
        attached = attachments_of(mail)
        self.assertEqual(set(attached), set(EVERYTHING))
        for name, content in FILES.items():
            plain = self.write("plain", gpg.run("--decrypt", data=attached[name]).stdout)
            self.assertEqual(plain.read_bytes(), content)
            signature = self.write("plain.sig", attached[name + ".sig"])
            self.assertIn(b"GOODSIG", gpg.run("--verify", signature, plain).stderr)

    def test_what_python_composed_travels_unchanged(self):
        path = self.folder / "sent.eml"
        for name, mail in composed():
            with self.subTest(name):
                mail["From"] = "Zoë Müller <zoe@example.org>"
                mail["To"] = 'bob@example.com, "Comma, Name" <q@example.com>, 山田太郎 <taro@example.jp>'
                mail["Cc"] = ", ".join(["A person with a long name <long.address@example.com>"] * 30)
                mail["Reply-To"] = '"odd local"@example.com'
                mail["Date"] = "Sat, 21 Nov 2026 03:14:27 +0000"
                draft = self.write("draft.eml", mail.as_bytes())
                self.assertDone(self.alice("send", draft, "--no-encrypt", "--no-sign", "--out", path))
                raw = path.read_bytes()
                self.assertRegex(raw, rb"\A([\t -~]{0,998}\r\n)*[\t -~]{0,998}\Z")
                self.assertEqual(described(read_mail(path)), described(read_mail(draft)))

    def test_choices_are_pressed_on_the_bar_or_in_the_form_without_a_window(self):
        draft, path = self.draft(), self.folder / "sent.eml"
        answer = ("--external", "--answer", "frmSendFromExternalApplication=cmdContinue")
        for external in ((), answer):
            for choice, told in (((), "encrypted and signed"),
                                 (("--no-encrypt", "--no-sign"), "neither encrypted nor signed")):
                self.assertDone(self.alice("send", draft, "--out", path, "--outlook", "11", *choice, *external),
                                out=f"Sent {told}: {path}\n")
                self.assertEqual(attachments_of(read_mail(path)) == FILES, bool(choice))
        self.assertDone(self.alice("send", draft, "--external", "--out", path),
                        out=f"Sent encrypted and signed: {path}\n",
                        err="corvessa-desk: closed frmSendFromExternalApplication unanswered, with its current "
                            "options; use --answer frmSendFromExternalApplication=cmdContinue\n")

    def test_html_is_encrypted_as_its_text(self):
        mail = EmailMessage(policy=policy.SMTP)
        mail["To"], mail["Subject"] = BOB, "html"
        mail.set_content(" \n")
        mail.add_alternative(f"<p>Hello <b>{CANARY}</b><tr><td>1</td><td>2</td></tr></p>", subtype="html")
        inner = EmailMessage(policy=policy.SMTP)
        inner["From"], inner["Subject"] = ALICE, "not for all to read"
        mail.add_attachment(inner)
        mail.get_payload()[-1].replace_header("Content-Disposition", "attachment")
        # As some editors save it.
        report = self.alice("send", self.write("draft.eml", b"\xef\xbb\xbf" + mail.as_bytes()), "--json").json()
        self.assertEqual((report["sent"], report["resultCode"], report["recipients"]), (True, 0, [BOB]))
        self.assertNotIn("not for all", report["message"])
        opened = self.bob("open", self.write("sent.eml", report["message"]), "--json").json()
        self.assertEqual(opened["body"].strip(), f"Hello {CANARY}\r\n1\t2")
        self.assertEqual([entry["name"] for entry in opened["attachments"]], ["ATT00001.eml", "ATT00001.eml.sig"])

    def test_nothing_is_sent_when_the_add_in_cancels(self):
        path = self.folder / "sent.eml"
        nobody = self.draft("nobody.draft.eml", to="carol@example.net")
        self.assertDone(
            self.alice("send", nobody, "--out", path), 1, "",
            'corvessa-desk: closed frmNoKeysFound "The following recipients are not registered to '
            "receive secure email: carol@example.net Would you like to send this email without "
            'encryption?" unanswered; use --answer frmNoKeysFound=cmdYes|cmdNo\n'
            "corvessa-desk: not sent: cancelled by the add-in; the draft is unchanged\n")
        report = self.alice("send", nobody, "--json", "--answer", "frmNoKeysFound=cmdNo")
        failed = report.json()
        box = failed.pop("boxes")[-1]
        self.assertEqual((report.code, failed),
                         (1, {"sent": False, "encrypted": False, "signed": False, "recipients": [], "resultCode": 1,
                              "error": "not sent: cancelled by the add-in; the draft is unchanged"}))
        self.assertEqual(box,
                         {"name": "frmNoKeysFound", "caption": "Sending Email", "answer": "cmdNo",
                          "text": "The following recipients are not registered to receive secure "
                                  "email:\ncarol@example.net\nWould you like to send this email without encryption?"})
        wrong = self.at(self.folder / "alice", "send", self.draft(), "--out", path, "--passphrase",
                        f"{ALICE}={self.write('wrong', 'wrong')}")
        self.assertEqual((wrong.code, path.exists()), (1, False))
        self.assertNotIn("horse", wrong.err)
        agreed = self.alice("send", nobody, "--out", path, "--answer", "frmNoKeysFound=cmdYes")
        self.assertDone(agreed, out=f"Sent signed, not encrypted: {path}\n")

    def test_a_switched_off_add_in_sends_nothing_in_clear_without_consent(self):
        path = self.folder / "sent.eml"
        self.assertDone(self.alice("set", "DisableKVPEntirely", "1"))
        self.assertDone(self.alice("send", self.draft(), "--out", path), 1, "",
                        "corvessa-desk: not sent: it would have left unencrypted; use --no-encrypt to "
                        "allow that\n")
        self.assertFalse(path.exists())
        self.assertDone(self.alice("send", self.draft(), "--no-encrypt", "--out", path),
                        out=f"Sent neither encrypted nor signed: {path}\n")
        self.assertDone(self.alice("send", self.draft(to=""), "--no-encrypt", "--out", path), 1, "",
                        "corvessa-desk: not sent: no recipients\n")

    def test_text_that_only_looks_protected_is_not_reported_as_protected(self):
        path = self.folder / "sent.eml"
        pasted = read_mail(self.sent("--no-encrypt", files={})).get_content()
        notes = {"a.txt": b"x", "a.txt.sig": b"no signature, so that signing fails"}
        for text in ("-----BEGIN PGP MESSAGE-----\n", pasted):
            for subtype in ("plain", "html"):
                draft = self.draft(text=f"<pre>{text}</pre>" if subtype == "html" else text, files=notes)
                draft.write_bytes(draft.read_bytes().replace(b"text/plain", b"text/" + subtype.encode()))
                self.assertDone(self.alice("send", draft, "--no-encrypt", "--answer", "MessageBox=OK",
                                           "--out", path), out=f"Sent neither encrypted nor signed: {path}\n",
                                err='corvessa-desk: The attachment "a.txt" cannot be signed: another one has '
                                    "the name of its signature.\n"
                                    "corvessa-desk: Failed to sign message:  Unexpected error with signature.\n")


class Opening(DeskCase):
    def test_a_message_is_shown_with_status_text_and_attachments(self):
        sent = self.sent()
        before = sent.read_bytes()
        date = self.bob("open", sent, "--json")
        opened = self.bob("open", sent, "--save-attachments", self.folder / "saved", "--original")
        self.assertEqual((opened.err, opened.code), ("", 0))
        # Nothing of the message can steer a terminal.
        self.assertTrue(date.out.removesuffix("\n").isascii() and date.out.removesuffix("\n").isprintable())
        lines = opened.out.splitlines()
        # The add-in's status comes before the sender's text.
        self.assertEqual([line for line in lines[:6] if not line.startswith("Date:")],
                         ["Status:  Message is encrypted",
                          "Status:  Message is digitally signed by alice@example.org",
                          "From:    Alice <alice@example.org>", "To:      bob@example.com",
                          "Subject: Plâns"])
        start = lines.index("") + 1
        self.assertIn("  \"t.csv\", 8 bytes: is encrypted, is digitally signed by alice@example.org", lines[:start])
        self.assertEqual("\n".join(lines[start:start + 5]) + "\n", TEXT)
        saved = {path.name: path.read_bytes() for path in (self.folder / "saved").iterdir()}
        self.assertEqual(set(saved), set(EVERYTHING))
        self.assertEqual({name: saved[name] for name in FILES}, FILES)
        self.assertIn("Original message:\n-----BEGIN PGP MESSAGE-----", opened.out)
        self.assertEqual(sent.read_bytes(), before)
        with subprocess.Popen(["cat", sent], stdout=subprocess.PIPE) as cat:
            self.assertEqual(self.bob("open", "-", "--json", stdin=cat.stdout).json() | {"file": str(sent)}, date.json())

        report = date.json()
        expected = {"decryptStatus": 0, "signStatus": 0, "signers": [ALICE], "body": CRLF_TEXT, "resultCode": 0,
                    "statusText": f"Message is encrypted; Message is digitally signed by {ALICE}"}
        self.assertEqual({key: report[key] for key in expected}, expected)
        self.assertEqual(report["attachments"][0],
                         {"name": "Übersicht für 2026.pdf", "size": 10240, "decryptStatus": 0,
                          "signStatus": 0, "signers": [ALICE], "savedAs": None, "reason": None, "reasonCode": None,
                          "signerKeyID": None})
        self.assertEqual([button["caption"] for bar in report["bars"] for button in bar["buttons"]],
                         ["Message is encrypted", "Message is digitally signed", "Show original message"])
        self.assertEqual([(box["name"], box["answer"]) for box in report["boxes"]],
                         [("frmSplashScreen", ""), ("frmProgress", ""), ("frmLogin", "cmdOK")])
        self.assertEqual(self.leftovers(), [])
        self.assertEqual(list((self.folder / "bob/drive_c/Temp").iterdir()), [])

    def test_a_trace_covers_its_own_command_and_leaves_the_setting_alone(self):
        sent = self.sent(files={})
        log = self.folder / "bob/drive_c/Nimbra_trace.txt"
        before = b""
        for switch in ("0", "1"):
            self.assertDone(self.bob("set", "LogDebuggingInfo", switch))
            opened = self.bob("open", sent, "--trace")
            written = log.read_bytes().removeprefix(before).decode().replace("\r\n", "\n")
            self.assertDone(opened, err=written)
            self.assertIn(": Inspectors initialized...\n", written)
            self.assertDone(self.bob("get", "LogDebuggingInfo"), out=f"{switch}\n")
            before = log.read_bytes()

    def test_attachments_left_to_the_button_are_saved_through_the_dialog(self):
        sent = self.sent()
        self.assertDone(self.bob("set", "DisableAutoDecryptAttachments", "1"))
        opened = self.bob("open", sent, "--save-attachments", self.folder / "saved", "--json")
        self.assertEqual((opened.err, opened.code), ("", 0))
        self.assertEqual(opened.json()["attachments"][0],
                         {"name": "Übersicht für 2026.pdf", "size": 10240, "decryptStatus": 0,
                          "signStatus": 0, "signers": [ALICE], "reason": None, "reasonCode": None, "signerKeyID": None,
                          "savedAs": f"{self.folder}/saved/Übersicht für 2026.pdf"})
        saved = {entry["name"]: pathlib.Path(entry["savedAs"]).read_bytes()
                 for entry in opened.json()["attachments"]}
        self.assertEqual({name: saved[name] for name in FILES}, FILES)
        again = self.bob("open", sent, "--save-attachments", self.folder / "saved")
        self.assertDone(again, 3, "", f"corvessa-desk: {self.folder}/saved/Übersicht für 2026.pdf "
                                      "already exists; nothing was saved\n")
        self.assertDone(self.bob("open", sent), 1, err="corvessa-desk: attachments not decrypted "
                        "because DisableAutoDecryptAttachments is on; --save-attachments saves them "
                        "decrypted\n")

    def test_saved_attachments_are_neither_hidden_nor_taken_for_options(self):
        sent = self.sent(files={".bashrc": b"1", "-rf": b"2"})
        for switch in ("0", "1"):
            self.assertDone(self.bob("set", "DisableAutoDecryptAttachments", switch))
            folder = self.folder / f"saved{switch}"
            self.assertDone(self.bob("open", sent, "--save-attachments", folder), out=None)
            self.assertEqual({path.name: path.read_bytes() for path in folder.iterdir()
                              if path.suffix != ".sig"}, {"_.bashrc": b"1", "_-rf": b"2"})

    def test_a_message_left_to_its_button_is_a_failure(self):
        sent = self.sent()
        self.assertDone(self.bob("set", "DisableAutoDecryptAndVerify", "1"))
        off = "because DisableAutoDecryptAndVerify is on; "
        opened = self.bob("open", sent, "--save-attachments", self.folder / "saved", "--json")
        self.assertEqual((opened.err, opened.code, opened.json()["decryptStatus"],
                          (self.folder / "saved").exists()),
                         (f'corvessa-desk: not decrypted {off}the shell can click "Decrypt/verify"\n',
                          1, None, False))
        self.assertDone(self.bob("set", "DisableKVPEntirely", "1"))
        self.assertDone(self.bob("open", sent), 1, err="corvessa-desk: neither decrypted nor verified: "
                        "the add-in is switched off or refuses this mail mode; see DisableKVPEntirely, "
                        "DisableInternetMode, DisableCorporateOrWorkgroupMode\n")
        self.assertDone(self.bob("set", "DisableKVPEntirely", "0"))
        self.assertDone(self.bob("reply", sent), 1, "",
                        f"corvessa-desk: the message was not decrypted {off}no draft was made\n")
        shown = self.script(f"open {sent}", "click Decrypt/verify", "show")
        self.assertDone(shown)
        self.assertIn(f"Status:  Message is encrypted\nStatus:  Message is digitally signed by {ALICE}\n",
                      shown.out)
        self.assertIn(f"\n\n{TEXT}", shown.out)

    def test_unreadable_and_forged_messages_are_refused(self):
        sent = self.sent()
        unanswered = self.at(self.folder / "bob", "open", sent, "--save-attachments",
                             self.folder / "no", "--json")
        report = unanswered.json()
        self.assertEqual((unanswered.code, report["decryptStatus"], report["resultCode"]), (1, -1, 1))
        self.assertEqual([entry["decryptStatus"] for entry in report["attachments"]], [None] * 6)
        self.assertEqual(list((self.folder / "no").iterdir()), [])
        self.assertIn('corvessa-desk: closed frmLogin "Please enter your Corvessa passphrase." '
                      "unanswered; use --passphrase ADDRESS=FILE\n", unanswered.err)
        self.assertTrue(unanswered.err.endswith(
            "\ncorvessa-desk: no attachment was saved: the message could not be decrypted\n"))
        self.assertEqual(unanswered.err.count("attachment"), 1)
        footer = sent.read_bytes().replace(b"-----END PGP MESSAGE-----",
                                           b"-----END PGP MESSAGE-----\r\n<p>A list's footer")
        html = footer.replace(b"text/plain", b"text/html", 1).replace(b"-----BEGIN", b"<pre>-----BEGIN", 1)
        told = "corvessa-desk: more text follows the protected part; use --original to see it\n"
        for mail in (footer, html):
            footed = self.write("footer.eml", mail)
            opened = self.bob("open", footed, "--json")
            self.assertDone(opened, err=told)
            self.assertEqual((opened.json()["goesOn"], opened.json()["signers"]), (True, [ALICE]))
            self.assertDone(self.script(f"open {footed}"), err=told)
        nothing = self.bob("open", self.folder / "nothing", "--json")
        self.assertEqual((nothing.json()["resultCode"], nothing.code), (3, 3))
        self.assertIn("cannot be read", nothing.json()["error"])

        signed = self.sent("--no-encrypt", files={"t.csv": b"1;2\n"}).read_bytes()
        for true, false, statuses, signers in ((b"a dash", b"A dash", [1, 0], []),
                                               (b"MTsyCg==", b"MTszCg==", [0, 1], [ALICE])):
            self.assertIn(true, signed)
            forged = self.write("forged.eml", signed.replace(true, false))
            done = self.bob("open", forged, "--json")
            report = done.json()
            self.assertEqual((done.code, [report["signStatus"], report["attachments"][0]["signStatus"]],
                              report["signers"]), (1, statuses, signers))

    def test_gpg_writes_what_is_opened(self):
        gpg = Gpg(self)
        gpg.run("--import", data=(self.template / "alice.asc").read_bytes())
        self.alice("key", "import", self.write("gina.asc", gpg.public_key()))
        text = f"- {CANARY} – from gpg\r\nFrom me, grüß\r\n\r\nlast\r\n"
        signed = gpg.run("--armor", "--clearsign", data=text.encode()).stdout
        both = gpg.run("--armor", "--encrypt", "-r", ALICE, data=signed).stdout
        sealed = gpg.run("--armor", "--encrypt", "-r", ALICE, data=text.encode()).stdout
        in_one_step = gpg.run("--armor", "--sign", "--encrypt", "-r", ALICE, data=text.encode()).stdout
        opaque = gpg.run("--armor", "--sign", data=text.encode()).stdout
        in_koi8 = gpg.run("--armor", "--sign", "--encrypt", "-r", ALICE,
                          data="Привет, как дела?".encode("koi8-r")).stdout
        symmetric = ("--symmetric", "--pinentry-mode", "loopback", "--passphrase", "open sesame")
        with_passphrase = gpg.run("--armor", *symmetric, data=text.encode()).stdout
        inner = {"inner.bin": gpg.run("--sign", "--encrypt", "-r", ALICE, data=b"inner").stdout,
                 "own.bin": gpg.run(*symmetric, data=b"own").stdout}
        contents = {"inner.bin": (0, 0, [GINA]), "own.bin": (0, 2, [])}
        own = self.write("own", "open sesame\n")
        for armour, decrypted, signature, signers, shown in (
                (in_one_step, 0, 0, [GINA], text), (opaque, 1, 0, [GINA], text),
                (in_koi8, 0, 0, [GINA], "Привет, как дела?"), (with_passphrase, 0, 2, [], text)):
            mail = EmailMessage(policy=policy.SMTP)
            mail["From"], mail["To"] = GINA, ALICE
            mail.set_content(armour.decode())
            for name, content in inner.items():
                mail.add_attachment(content, "application", "octet-stream", filename=name)
            for file in (mail.as_bytes(), armour,
                         b"Content-Type: text/plain; charset=utf-8\r\n\r\n" + armour):
                report = self.alice("--passphrase", f"message={own}", "open",
                                    self.write("g.eml", file), "--json").json()
                self.assertEqual((report["decryptStatus"], report["signStatus"], report["signers"],
                                  report["body"].strip()),
                                 (decrypted, signature, signers, shown.strip()))
                if armour is not opaque:
                    self.assertEqual({entry["name"]: (entry["decryptStatus"], entry["signStatus"],
                                                      entry["signers"])
                                      for entry in report["attachments"]},
                                     contents if b"own.bin" in file else {})
        content = bytes([0x80]) * 100_000
        files = {"report.bin": gpg.run("--encrypt", "-r", ALICE, data=content).stdout,
                 "report.bin.sig": gpg.run("--detach-sign", data=content).stdout,
                 "list.txt": gpg.run("--armor", "--encrypt", "-r", ALICE, data=b"eggs").stdout,
                 "list.txt.sig": gpg.run("--armor", "--detach-sign", data=b"milk").stdout}
        for armour, signature, signers in ((both, 0, [GINA]), (sealed, 2, []), (signed, 0, [GINA])):
            mail = EmailMessage(policy=policy.SMTP)
            mail["From"], mail["To"] = GINA, ALICE
            mail.set_content(armour.decode())
            for name, content in files.items():
                mail.add_attachment(content, "application", "octet-stream", filename=name)
            report = self.alice("open", self.write("g.eml", mail.as_bytes()), "--json").json()
            self.assertEqual((report["signStatus"], report["signers"], report["body"].strip()),
                             (signature, signers, text.strip()))
            if armour is both:
                self.assertEqual([(entry["name"], entry["signStatus"], entry["signers"])
                                  for entry in report["attachments"]],
                                 [("report.bin", 0, [GINA]), ("report.bin.sig", 0, [GINA]),
                                  ("list.txt", 1, []), ("list.txt.sig", 1, [])])
                self.assertEqual([entry["size"] for entry in report["attachments"][::2]],
                                 [100_000, 4])


class Responding(DeskCase):
    def test_drafts_quote_the_decrypted_text_and_are_sent_encrypted(self):
        sent = self.sent(Message_ID="<first@example.org>")
        sent.write_bytes(b"Cc: dora@example.org\r\n" + sent.read_bytes())
        answer = self.write("answer.txt", "Thanks – Bob\n")
        self.bob("set", "DisableOutgoingEncryption", "1")
        draft = self.folder / "reply.draft.eml"
        self.assertDone(self.bob("reply", sent, "--all", "--text", answer, "--out", draft),
                        out=f"Draft written to {draft}\n")
        mail = read_mail(draft)
        self.assertEqual((mail["To"], mail["Cc"], mail["Subject"], mail["In-Reply-To"],
                          mail["X-Nimbra-Corvessa-Encrypted-Reply"]),
                         (f"Alice <{ALICE}>", "dora@example.org", "RE: Plâns", "<first@example.org>",
                          "True"))
        body = mail.get_body().get_content().replace("\r\n", "\n")
        self.assertTrue(body.startswith("Thanks – Bob\n\n\n-----Original Message-----\nFrom: Alice"))
        self.assertTrue(body.endswith("\n\n" + TEXT))
        for brand in ("A Brand", "Corvessa"):  # and what one has written, the other does not send
            self.assertEqual(self.bob("reply", sent, "--out", draft).code, 0)
            self.assertDone(self.bob("set", "AppShortName", brand))
            self.assertDone(self.bob("send", draft, "--external", "--answer",
                                     "frmSendFromExternalApplication=cmdContinue"), 1, "",
                            "corvessa-desk: not sent: it would have left unencrypted; use --no-encrypt to "
                            "allow that\n")
        self.assertEqual(self.bob("reply", sent, "--out", draft).code, 0)
        # Also as other programs write it back.
        mark = b"X-Nimbra-Corvessa-Encrypted-Reply: True"
        for other in (mark, mark.lower(), mark + b" (Bob)", mark + b"\r\n" + mark.replace(b"True", b"False")):
            edited = self.write("edited.draft.eml", draft.read_bytes().replace(mark, other))
            reply = self.bob("send", edited, "--json").json()
            self.assertEqual((reply["encrypted"], reply["signed"]), (True, True), other)

        forward = self.bob("forward", sent)
        self.assertEqual((forward.err, forward.code), ("", 0))
        mail = email.message_from_string(forward.out, policy=policy.SMTP)
        self.assertEqual((mail["To"], mail["Subject"], attachments_of(mail)), (None, "FW: Plâns", {}))
        refused = self.at(self.folder / "bob", "reply", sent, "--out", self.folder / "none.eml", "--json")
        self.assertEqual((refused.code, (self.folder / "none.eml").exists()), (1, False))
        self.assertEqual([refused.json()["error"]] + [box["name"] for box in refused.json()["boxes"]],
                         ["the message could not be decrypted; no draft was made", "frmSplashScreen",
                          "frmProgress", "frmLogin"])
        self.assertTrue(refused.err.endswith("the message could not be decrypted; no draft was made\n"))


if __name__ == "__main__":
    unittest.main()
