"""Mail as other programs send it: what each opens as, and forgeries of each form.

corpus/ holds mails from Sam to Rita, made with gpg 2.2, sq 0.27 and OpenPGP.js 6 round parts that
Python's email library wrote; Rita's key has no passphrase."""

import base64
import pathlib
import re
import shutil
import tempfile
import unittest

from desk_case import GINA, DeskCase, Gpg

CORPUS = pathlib.Path(__file__).parent / "corpus"
RITA, SAM = "rita@example.net", "sam@example.net"
SUBJECT = "Der Plan – geheim"
TEXT = "Grüße aus Köln – the plan is in the safe.\r\n-- \r\nSam\r\n"
FILES = {"Übersicht 2026.bin": bytes(range(256)) * 3, "t.csv": b"a;b\n1;2\n"}
SIGNED_FILES = ["Übersicht 2026.bin", "t.csv", "signature.asc"]
NOT_PROTECTED = "| [Not protected:]\r\n"

# Mail, statuses and signers, subject, text, names of the attachments with their statuses.
BOTH, SEALED, SIGNED = (0, 0, [SAM]), (0, 2, []), (1, 0, [SAM])
PLAIN = (1, 2, [])
ENTITY = (SUBJECT, TEXT)
OPENS = {
    **{f"{maker}-encrypted.eml": (SEALED, *ENTITY, {name: SEALED for name in FILES})
       for maker in ("gpg", "sq", "openpgpjs")},
    **{f"{maker}-encrypted-signed.eml": (BOTH, *ENTITY, {name: BOTH for name in FILES})
       for maker in ("gpg", "sq", "openpgpjs")},
    **{f"{maker}-signed.eml": (SIGNED, *ENTITY, {name: SIGNED for name in SIGNED_FILES})
       for maker in ("gpg", "sq", "openpgpjs")},
    "gpg-signed-then-encrypted.eml": (BOTH, *ENTITY, {name: BOTH for name in SIGNED_FILES}),
    "gpg-html.eml": (SEALED, "...", "Grüße\r\n\r\nSam", {}),
    "mixed-up.eml": (SEALED, *ENTITY, {name: SEALED for name in FILES}),
    "list-signed.eml": (SIGNED, *ENTITY, {**{name: SIGNED for name in SIGNED_FILES},
                                          "ATT00004.txt": PLAIN}),
    "list-encrypted.eml": (SEALED, SUBJECT,
                           f"{NOT_PROTECTED}| ___\r\n| list@example.net\r\n\r\n{TEXT}",
                           {name: SEALED for name in FILES}),
    "below-text.eml": (SEALED, "Below", f"{NOT_PROTECTED}| Hello list,\r\n| see below.\r\n\r\n"
                       f"{TEXT}\r\n{NOT_PROTECTED}| footer\r\n", {}),
    "later-part.eml": (SEALED, "Later", f"{NOT_PROTECTED}| Disclaimer\r\n\r\n{TEXT}", {}),
}


def corpus(name):
    return (CORPUS / name).read_bytes()


def body_of(name):
    """The content type and the body of a mail in the corpus."""
    head, body = corpus(name).split(b"\r\n\r\n", 1)
    return re.search(rb"Content-Type: .*", head).group(), body


def mail(content, head=None):
    head = head or f"From: Sam <{SAM}>\r\nTo: {RITA}\r\nSubject: Spoof\r\nMIME-Version: 1.0\r\n"
    return head.encode() + content


def multipart(kind, *parts, boundary=b"out"):
    return (b"Content-Type: " + kind + b'; boundary="' + boundary + b'"\r\n\r\n' +
            b"".join(b"--" + boundary + b"\r\n" + part + b"\r\n" for part in parts) +
            b"--" + boundary + b"--\r\n")


def text_part(text=b"Pay Mallory.", kind=b"plain"):
    return b"Content-Type: text/" + kind + b"\r\n\r\n" + text


def part(name):
    return b"\r\n\r\n".join(body_of(name))


def joined(*texts, bad=None):
    """One armoured block with the signatures at the ends of texts, that of one text made a bad one."""
    packets = b""
    for text in texts:
        block = text[text.index(b"-----BEGIN PGP SIGNATURE-----"):].replace(b"\r", b"")
        lines = block.split(b"\n\n", 1)[1].split(b"\n-----END")[0].split(b"\n")
        packets += base64.b64decode(b"".join(line for line in lines if not line.startswith(b"=")))
        if text is bad:
            packets = packets[:-1] + bytes([packets[-1] ^ 1])
    return (b"-----BEGIN PGP SIGNATURE-----\r\n\r\n" + base64.encodebytes(packets) +
            b"-----END PGP SIGNATURE-----\r\n").replace(b"\r", b"").replace(b"\n", b"\r\n")


class ForeignMail(DeskCase):
    @classmethod
    def setUpClass(cls):
        cls.template = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.template)
        cls.passphrase_file = cls.template / "passphrase"
        cls.passphrase_file.write_text("anything\n")
        for name in ("alice", "bob"):
            (cls.template / name).mkdir()
        for key in ("rita.asc", "sam.asc"):
            cls.at(cls.template / "rita", "key", "import", CORPUS / key)
        cls.at(cls.template / "rita", "account", "add", RITA, "--sign")

    def rita(self, *arguments):
        return self.at(self.template / "rita", "--passphrase", f"{RITA}={self.passphrase_file}",
                       *arguments)

    def opened(self, path):
        report = self.rita("open", path, "--json", "--save-attachments", self.folder / "saved").json()
        saved = {one["name"]: pathlib.Path(one["savedAs"]).read_bytes()
                 for one in report["attachments"] if one["savedAs"]}
        shutil.rmtree(self.folder / "saved", ignore_errors=True)
        return report, saved

    @staticmethod
    def status(one):
        return one["decryptStatus"], one["signStatus"], one["signers"]

    def test_what_each_program_sends_opens(self):
        for name, (status, subject, text, attachments) in OPENS.items():
            with self.subTest(name):
                report, saved = self.opened(CORPUS / name)
                self.assertEqual((self.status(report), report["reason"]), (status, None))
                self.assertEqual((report["subject"], report["body"]), (subject, text))
                self.assertEqual({one["name"]: self.status(one) for one in report["attachments"]},
                                 attachments)
                for file, content in FILES.items():
                    if file in attachments:
                        self.assertEqual(saved[file], content)
                self.assertEqual(report["subjectProtected"], subject == SUBJECT)
                self.assertEqual(report["marksUnprotected"], NOT_PROTECTED in text)
                self.assertEqual((report["from"], report["cc"]),
                                 ({"name": "Sam", "address": SAM},
                                  [{"name": "", "address": "carl@example.net"}]))

    def test_no_forgery_of_a_form_is_called_signed(self):
        signed, other = part("gpg-signed.eml"), part("sq-signed.eml")
        changed = signed.replace(b"safe", b"sofa")
        signature = signed[signed.index(b"Content-Type: application/pgp-signature"):]
        signature = signature[:signature.index(b"\r\n--sig--")]
        before = signed[:signed.index(b"-----BEGIN PGP SIGNATURE")]
        forgeries = {
            "a letter changed": (changed, 1),
            "signed text behind another": (multipart(b"multipart/mixed", text_part(), signed), 2),
            "signed text as the second form": (
                multipart(b"multipart/alternative", text_part(), signed), 2),
            "HTML outside": (
                multipart(b"multipart/alternative", signed, text_part(b"<b>Pay</b>", b"html")), 0),
            "a third part": (signed.replace(b"\r\n--sig--", b"\r\n--sig\r\n" + text_part() +
                                            b"\r\n--sig--"), 2),
            "the text in front of the parts": (
                signed.replace(b"\r\n\r\n--sig", b"\r\n\r\nPay Mallory.\r\n--sig", 1), 0),
            "a mail inside": (multipart(b"multipart/mixed", text_part(),
                                        b"Content-Type: message/rfc822\r\n\r\n" +
                                        corpus("gpg-signed.eml")), 2),
            "a signature of something else outside a good one": (
                multipart(b"multipart/signed", signed, signature), 1),
            "a bad one inside": (multipart(b"multipart/signed", changed, signature), 1),
            "the boundary of another part": (
                multipart(b"multipart/mixed", text_part(), signed, boundary=b"sig"), 2),
            "a bad signature beside the good one": (
                before + joined(signed, other, bad=other) + b"--sig--\r\n", 1),
            "the good signature beside a bad one": (
                before + joined(other, signed, bad=other) + b"--sig--\r\n", 1),
            "signed by sq beside a text": (multipart(b"multipart/mixed", text_part(), other), 2),
        }
        for name, (content, status) in forgeries.items():
            with self.subTest(name):
                report, _ = self.opened(self.write("spoof.eml", mail(content)))
                self.assertEqual(report["signStatus"], status, report)
                # Good only with exactly the text that Sam signed, and never HTML.
                if status == 0:
                    self.assertEqual(report["body"], TEXT)
                self.assertEqual(report["signers"], [SAM] if status == 0 else [])

    def test_what_surrounds_an_encrypted_part_is_told_apart(self):
        encrypted = part("gpg-encrypted-signed.eml")
        report, _ = self.opened(self.write("spoof.eml", mail(
            multipart(b"multipart/mixed", text_part(), encrypted))))
        self.assertEqual(self.status(report), SEALED)
        self.assertEqual(report["partSigners"], [SAM])
        self.assertEqual(report["body"], f"{NOT_PROTECTED}| Pay Mallory.\r\n\r\n{TEXT}")
        armour = corpus("gpg-encrypted.eml").index(b"\r\n\r\nhF4D") + 600
        damaged = bytearray(corpus("gpg-encrypted.eml"))
        damaged[armour] ^= 1
        report, saved = self.opened(self.write("spoof.eml", bytes(damaged)))
        self.assertNotEqual(report["decryptStatus"], 0)
        self.assertEqual((report["signStatus"], report["body"], report["subject"]), (2, "", "..."))
        self.assertTrue(report["reason"])

    def test_no_text_round_a_block_is_called_signed(self):
        gpg = Gpg(self)
        gpg.run("--import", CORPUS / "rita.asc")
        shutil.copytree(self.template / "rita", self.folder / "rita")
        self.at(self.folder / "rita", "key", "import", self.write("gina.asc", gpg.public_key()))

        def clear_signed(text):
            return gpg.run("--clearsign", data=text).stdout

        pay, wrong, bob = b"Pay Mallory.\n\n", b"\nPay Mallory, too.\n", "Pay Bob."
        signed, other = clear_signed(b"Pay Bob.\n"), clear_signed(b"Pay Eve.\n")
        head = signed[:signed.index(b"-----BEGIN PGP SIGNATURE")]
        sealed = gpg.run("--armor", "--sign", "--encrypt", "-r", RITA, data=b"Pay Bob.\n").stdout
        fake = gpg.run("--armor", "--encrypt", "-r", RITA, data=signed.replace(b"Bob", b"Eve")).stdout
        above = f"{NOT_PROTECTED}| Pay Mallory.\r\n\r\n"
        below = f"\r\n{NOT_PROTECTED}| Pay Mallory, too.\r\n"
        cases = {
            "above and below": (pay + signed + wrong, PLAIN, [GINA], above + bob + "\r\n" + below),
            "below the first line": (signed + wrong, (1, 0, [GINA]), [], bob),
            "a second block": (pay + signed + other, PLAIN, [GINA], None),
            "a changed block": (pay + signed.replace(b"Bob", b"Eve"), (1, 1, []), [], None),
            "a bad signature beside the good one": (
                pay + head + joined(signed, other), (1, 1, []), [], None),
            "the good signature beside a bad one": (head + joined(other, signed), (1, 1, []), [], None),
            "a block in a signed text": (clear_signed(pay + signed), (1, 0, [GINA]), [],
                                         (pay + signed).decode().strip().replace("\n", "\r\n")),
            "a block in an unsigned one": (pay + head + signed, None, [], None),
            "a quoted block": (pay + signed.replace(b"\n", b"\n> ").replace(b"--", b"> --", 1), PLAIN, [],
                               None),
            "the words for what is not protected": (
                NOT_PROTECTED.encode() + pay + signed, PLAIN, [GINA],
                f"{NOT_PROTECTED}| {NOT_PROTECTED}| Pay Mallory.\r\n\r\n{bob}"),
            "encrypted below": (pay + sealed + wrong, SEALED, [GINA], above + bob + "\n" + below),
            "encrypted with a changed block": (pay + fake, (0, 1, []), [], None),
        }
        for name, (content, status, signers, body) in cases.items():
            with self.subTest(name):
                path = self.write("spoof.eml", mail(b"Content-Type: text/plain\r\n\r\n" + content))
                report = self.at(self.folder / "rita", "--passphrase", f"{RITA}={self.passphrase_file}",
                                 "open", path, "--json").json()
                if status:
                    self.assertEqual(self.status(report), status, report)
                self.assertEqual(report["partSigners"], signers)
                if body:
                    self.assertEqual(report["body"], body)
                elif "Mallory" in report["body"]:
                    self.assertNotEqual(report["signStatus"], 0, report)

    def test_the_passphrase_asked_for_is_that_of_the_address_it_is_encrypted_to(self):
        shutil.copytree(self.template / "rita", self.folder / "two")
        for arguments in (("key", "generate", "anna@example.net", "--name", "Anna", "--passphrase-file",
                           self.passphrase_file), ("account", "add", "anna@example.net")):
            self.assertEqual(self.at(self.folder / "two", *arguments).code, 0)
        for name in ("gpg-encrypted.eml", "below-text.eml"):
            opened = self.at(self.folder / "two", "open", CORPUS / name, "--json",
                             "--passphrase", f"anna@example.net={self.passphrase_file}",
                             "--passphrase", f"{RITA}={self.passphrase_file}").json()
            self.assertEqual((self.status(opened), [box["name"] for box in opened["boxes"]].count("frmLogin")),
                             (SEALED, 1))

    def test_the_rest_is_named(self):
        forwarded = mail(multipart(b"multipart/mixed", text_part(b"see"),
                                   b'Content-Type: application/pkcs7-mime; name="smime.p7m"\r\n\r\nx'))
        report, _ = self.opened(self.write("smime.eml", forwarded))
        self.assertEqual(report["notRead"], [
            {"name": "smime.p7m", "reason": "S/MIME is not supported, only OpenPGP."}])
        other = corpus("gpg-signed-then-encrypted.eml").replace(b"From: Sam <sam@", b"From: Sam <eve@")
        report, _ = self.opened(self.write("other.eml", other))
        self.assertEqual((self.status(report), report["signerIsSender"]), (BOTH, False))
        self.assertIn("The message was sent from eve@example.net, but signed by somebody else.",
                      report["remarks"])

    def test_a_reply_keeps_the_protected_subject_secret(self):
        draft = self.folder / "draft.eml"
        self.rita("reply", CORPUS / "gpg-encrypted.eml", "--out", draft)
        self.assertIn(b"Subject: RE: ...", draft.read_bytes())
        self.assertIn(b"X-Nimbra-Corvessa-Encrypted-Reply: True", draft.read_bytes())


if __name__ == "__main__":
    unittest.main()
