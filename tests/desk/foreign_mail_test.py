"""Mail as other programs send it: what each opens as, and forgeries of each form.

corpus/ holds mails from Sam to Rita, made with gpg 2.2, sq 0.27 and OpenPGP.js 6 round parts that
Python's email library wrote; Rita's key has no passphrase."""

import pathlib
import re
import shutil
import tempfile
import unittest

from desk_case import DeskCase

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
