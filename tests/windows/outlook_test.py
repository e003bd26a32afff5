"""The add-in inside the stand-in Outlook, with gpg as the other side of every mail."""
import email.message
import email.policy
import functools
import http.server
import itertools
import json
import os
import pathlib
import re
import subprocess
import threading
import time
import unittest

from outlook_case import (ALICE, BOB, CANARY, CAROL, IN_FULL, LARGE, LOGIN, NO_LOGIN, TEXT, TOP,
                          WAIT, OutlookCase, captions, forms)

BUILD = pathlib.Path(os.environ.get("CORVESSA_WINDOWS_BUILD", TOP / "build/windows"))
DLLS = (BUILD / "src/windows/CorvessaPro_OL.dll", BUILD / "src/windows_engine/corvessa_engine.dll")
# Another one could be planted beside the program that loads the library.
SYSTEM_LIBRARIES = {
    "advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "version.dll", "wininet.dll",
    "comdlg32.dll"}
# E_FAIL, RPC_E_SERVERFAULT, E_OUTOFMEMORY, REGDB_E_CLASSNOTREG
FAILURES = ("80004005", "80010105", "8007000E", "80040154")
ENCRYPTED, CLEAR = "Message is encrypted", "Message is not encrypted"
SIGNED, UNSIGNED = "Message is digitally signed", "Message is not digitally signed"
FORGED, FAILED = "Message has an invalid digital signature", "Message failed decryption (-1)"
ENCRYPT, SIGN = "Encrypt on send", "Sign on send"


class Scenarios(OutlookCase):
    def test_mail_from_gpg_is_readable_while_it_is_open_and_only_then(self):
        files = {"list.txt": self.encrypted("eggs"), "list.txt.sig": self.signed("eggs", "-b"),
                 "bad.txt": self.encrypted("milk"), "bad.txt.sig": self.signed("eggs", "-b")}
        signed = self.signed(TEXT)
        rows = ((self.encrypted(TEXT), TEXT, ENCRYPTED, UNSIGNED),
                (self.encrypted(signed), TEXT, ENCRYPTED, SIGNED),
                (signed, TEXT, CLEAR, SIGNED),
                (self.encrypted(TEXT) + b"A list's footer\n", TEXT, ENCRYPTED, UNSIGNED),
                (signed.replace(b"canary", b"Canary"), None, CLEAR, FORGED),
                (self.encrypted("x", CAROL), None, FAILED, UNSIGNED),
                (b"-----BEGIN PGP MESSAGE-----\n\nwV4\n", None, FAILED, UNSIGNED))

        def play():
            self.do(**LOGIN)
            for body, text, *shown in rows:
                original = "\r\n".join(body.decode().splitlines())
                opened = self.open(body, files)
                buttons = captions(opened)["Corvessa Status"]
                self.assertEqual((opened["body"].strip(), [*buttons[:2], buttons[-1]]),
                                 ((text or original).strip(), [*shown, "Show original message"]))
                # What failed says why.
                self.assertEqual(len(buttons) > 3, shown[0] == FAILED or shown[1] == FORGED)
                if shown[1] == SIGNED:
                    self.assertIn(BOB, opened["bars"][0]["buttons"][1]["tooltip"])
                window = opened["window"]
                if shown[0] == ENCRYPTED:
                    saved = self.folder / "saved"
                    self.do(do="save-attachment", window=window, index=1, to=str(saved))
                    self.assertEqual(saved.read_text(), "eggs")
                self.assertEqual(self.do(do="close", window=window)["body"].strip(), original.strip())
        self.play_in_versions(play)

    def test_pgp_mime_opens_and_is_put_back(self):
        inside = email.message.EmailMessage(policy=email.policy.SMTP)
        inside["Subject"] = "Prüfung " + CANARY
        inside.set_content("Grüße\n" + TEXT, charset="utf-8")
        inside.add_attachment(CANARY.encode(), "application", "octet-stream", filename="Ü.bin")
        entity = inside.as_bytes()
        signature = self.gpg("--armor", "--detach-sign", "-u", BOB, data=entity)
        armour = self.gpg("--armor", "--encrypt", "--sign", "-u", BOB, "-r", ALICE, data=entity)
        head = f"From: Bob <{BOB}>\r\nTo: {ALICE}\r\nSubject: ...\r\n".encode()
        encrypted = self.write("encrypted.eml", head + (
            b"Content-Type: multipart/encrypted; boundary=b\r\n\r\n"
            b"--b\r\nContent-Type: application/pgp-encrypted\r\n\r\nVersion: 1\r\n"
            b"--b\r\nContent-Type: application/octet-stream; name=encrypted.asc\r\n\r\n") +
            armour + b"\r\n--b--\r\n")
        signed = self.write("signed.eml", head + (
            b"Content-Type: multipart/signed; boundary=b\r\n\r\n--b\r\n") + entity + (
            b"\r\n--b\r\nContent-Type: application/pgp-signature; name=signature.asc\r\n\r\n") +
            signature + b"\r\n--b--\r\n")

        def play():
            self.do(**LOGIN)
            opened = self.do(do="open", eml=encrypted)
            window = opened["window"]
            self.assertEqual((opened["body"].replace("\r\n", "\n"), opened["subject"]),
                             ("Grüße\n" + TEXT.replace("\r\n", "\n"), "Prüfung " + CANARY))
            self.assertEqual(captions(opened)["Corvessa Status"], [
                ENCRYPTED, SIGNED, "The subject is the protected one.", "Show original message"])
            self.assertEqual([one["name"] for one in opened["attachments"]], ["Ü.bin"])
            self.do(do="save-attachment", window=window, index=1, to=str(self.folder / "saved"))
            self.assertEqual((self.folder / "saved").read_text(), CANARY)
            (self.folder / "saved").unlink()
            reply = self.do(do="reply", window=window)
            self.assertEqual(reply["subject"], "RE: ...")
            closed = self.do(do="close", window=window)
            self.assertEqual(closed["body"].strip(), "")
            opened = self.do(do="open", eml=signed)
            self.assertIn("The signature of this PGP/MIME mail cannot be checked, because Outlook "
                          "does not keep the mail as it was sent.",
                          captions(opened)["Corvessa Status"])
            self.assertEqual(captions(opened)["Corvessa Status"][:2], [CLEAR, UNSIGNED])
            self.do(do="close", window=opened["window"])
        self.play_in_versions(play)

    def test_without_the_passphrase_a_mail_stays_encrypted_and_none_is_sent(self):
        wrong = {**LOGIN, "set": {"txtPassword": "wrong"}}

        def play():
            for answers in ((NO_LOGIN,), (wrong, NO_LOGIN)):
                for answer in answers * 2:
                    self.do(**answer)
                opened = self.open(self.encrypted(TEXT))
                self.assertEqual(captions(opened)["Corvessa Status"][0], FAILED)
                self.assertEqual(opened["body"][:27], "-----BEGIN PGP MESSAGE-----")
                kept = self.send(self.compose())
                self.assertTrue(kept["cancelled"])
                self.assertEqual((kept["mail"]["body"], kept["mail"]["attachments"]),
                                 (TEXT, [{"name": "plan.txt", "size": len(CANARY)}]))
        self.play(play)

    def test_what_is_sent_is_what_the_user_chose(self):
        asked, external = ("frmNoKeysFound", "cmdYes"), "frmSendFromExternalApplication"
        stranger = {"to": "nobody@example.com"}
        rows = (({}, (), True, True),
                ({"html": f"<p>{TEXT}"}, (), True, True),
                ({"click": [SIGN]}, (), True, False),
                ({"click": [ENCRYPT]}, (), False, True),
                ({"click": [ENCRYPT, SIGN]}, (), False, False),
                ({"external": True}, ((external, "cmdContinue"),), True, True),
                ({"external": True}, ((external, "closed"),), True, True),
                (stranger, (asked,), False, True),
                (stranger, (("frmNoKeysFound", "cmdNo"),), None, None),
                (stranger, (("frmNoKeysFound", "closed"),), None, None),
                # What looks encrypted is not, and a signature's name is taken.
                ({"click": [ENCRYPT], "body": "-----BEGIN PGP MESSAGE-----\r\n",
                  "files": ("plan.txt", "plan.txt.sig")},
                 (("MessageBox", "OK"), ("MessageBox", "OK"), ("MessageBox", "OK")), False, False))

        def play():
            self.do(**LOGIN)
            for mail, answers, is_encrypted, is_signed in rows:
                for form, press in answers:
                    if press != "closed":
                        self.do(do="answer", form=form, press=press)
                answer = self.send(self.compose(**mail))
                with self.subTest(mail=mail, answers=answers):
                    self.assertEqual([one for one in forms(answer) if one[0] != "frmLogin"],
                                     list(answers))
                    self.assertEqual(answer["cancelled"], is_encrypted is None)
                    if is_encrypted is None:
                        self.assertFalse((self.folder / "out.eml").exists())
                    elif "files" not in mail:
                        self.check_sent(mail.get("html", TEXT)[-len(TEXT):], is_encrypted, is_signed)
        self.play_in_versions(play)

    def test_responses_to_an_encrypted_mail_are_encrypted_and_blind_copies_name_no_key(self):
        def play():
            self.do(**LOGIN)
            opened = self.open(self.encrypted(self.signed(TEXT)), {"list.txt": self.encrypted("eggs")})
            for kind, more, subject, to, cc in (
                    ("reply", {}, "RE: hello", f"Bob <{BOB}>", None),
                    ("reply-all", {}, "RE: hello", f"Bob <{BOB}>", f"Carol <{CAROL}>"),
                    ("forward", {"to": [CAROL]}, "FW: hello", CAROL, None)):
                response = self.do(do=kind, window=opened["window"], **more)
                if kind == "forward":
                    self.do(do="click", window=response["window"], button=ENCRYPT)
                self.assertEqual(response["attachments"], [])
                self.assertEqual(response["fields"].get("X-Nimbra-Corvessa-Encrypted-Reply"),
                                 None if kind == "forward" else "True")
                self.assertFalse(self.send(response["window"])["cancelled"])
                mail = self.check_sent("\n\n-----Original Message-----\nFrom: Bob")
                self.assertEqual((mail["Subject"], mail["From"], mail["To"], mail["Cc"]),
                                 (subject, f"Alice <{ALICE}>", to, cc))
                self.check_sent()
            self.assertFalse(self.send(self.compose(bcc=[f"Carol <{CAROL}>"], click=[ENCRYPT]))["cancelled"])
            armour = self.check_sent().get_body().get_content().encode()
            packets = self.gpg("--list-packets", data=armour)
            self.assertEqual(packets.count(b"keyid 0000000000000000"), 3, packets)
        # Which a reply overrules.
        self.do(do="set", name="DisableOutgoingEncryption", value="1")
        self.addCleanup(self.do, do="set", name="DisableOutgoingEncryption", value="0")
        self.play(play, version="11.0.5510")

    def test_recipients_are_looked_up_in_the_address_lists(self):
        exchange = "/o=Corp/ou=Sales/cn=Recipients/cn=carol"
        lists = [[{"name": "Friends", "address": "Friends"}, {"name": "carol", "address": BOB}],
                 [{"name": "Carol", "address": exchange, "id": "00AB", "smtp": CAROL.upper()},
                  {"name": "Robert", "address": exchange + "2", "id": "00AC"},
                  {"name": "Robert", "address": BOB}]]
        rows = (*(({"name": name, "entry": name}, address) for name, address in
                   (("Carol", CAROL), ("Robert", BOB), ("Friends", None), ("CAROL", None))),
                ({"name": "C", "address": exchange.upper(), "id": "00AB"}, CAROL),
                ({"name": "R", "address": exchange + "2", "id": "00AC"}, None))

        def play(has_cdo):
            self.do(**LOGIN)
            self.do(do="stats")
            for to, address in rows:
                answer = self.send(self.compose(to))
                with self.subTest(to=to, has_cdo=has_cdo):
                    self.assertEqual(answer["cancelled"], not (address and has_cdo))
                    if not answer["cancelled"]:
                        self.check_sent()
                        armour = self.sent().get_body().get_content().encode()
                        key = re.search(rb"sub:.*?:([0-9A-F]{16}):",
                                        self.gpg("--with-colons", "-k", address)).group(1)
                        self.assertIn(key, self.gpg("--list-packets", data=armour))
                    elif has_cdo:
                        self.assertIn("unable to resolve", answer["boxes"][-1]["text"])
            self.assertEqual(self.do(do="stats")["calls"].get("Session.Logon", 0), int(has_cdo))
        self.play(lambda: play(True), lists=lists)
        self.play(lambda: play(False), times=1, lists=lists, missing=["MAPI.Session"])

    def test_what_is_switched_off_is_left_to_the_user(self):
        armour, eggs = self.encrypted(TEXT), {"list.txt": self.encrypted("eggs")}

        def decrypt_now():
            opened = self.open(armour)
            self.assertEqual(opened["body"][:27], "-----BEGIN PGP MESSAGE-----")
            shown = self.do(do="click", window=opened["window"], button="Decrypt/verify")
            self.assertEqual(shown["body"], TEXT)

        def decrypt_attachments():
            opened = self.open(armour, eggs)
            self.do(do="answer", form="frmSaveAttachments", press="cmdCancel")
            shown = self.do(do="click", window=opened["window"],
                            button="Decrypt/verify attachment(s)")
            self.assertEqual((opened["body"], shown["clicked"]), (TEXT, True))

        def send_in_clear():
            self.assertEqual(forms(self.send(self.compose())), [])
            self.check_sent(is_encrypted=False, is_signed=False)

        def trace():
            opened = self.open("hello\n", trace=True)["trace"]
            self.assertTrue(any(line.endswith(": Inspectors initialized...") for line in opened))
        for name, scenario in (("DisableAutoDecryptAndVerify", decrypt_now),
                               ("DisableAutoDecryptAttachments", decrypt_attachments),
                               ("DisableKVPEntirely", send_in_clear), ("LogDebuggingInfo", trace)):
            with self.subTest(name):
                self.do(do="set", name=name, value="1")
                try:
                    self.play(lambda: (self.do(**LOGIN), scenario()))
                finally:
                    self.do(do="set", name=name, value="0")

    def test_mails_that_are_none_and_large_ones_are_shown(self):
        many = {f"{i}.txt": b"x" for i in range(100)}
        pgp_mime = (b'Content-Type: multipart/encrypted; protocol="application/pgp-encrypted"; '
                    b"boundary=b\n\n--b\nContent-Type: application/pgp-encrypted\n\nVersion: 1\n--b\n"
                    b"Content-Type: application/octet-stream; name=e.asc\n\nwV4\n--b--\n")

        def play():
            for content, attachments in ((b"", 0), (bytes(range(256)), 0), (pgp_mime, 2),
                                         (b"Content-Type: multipart/mixed; boundary=b\n\n--b\n", 0)):
                opened = self.do(do="open", eml=self.write("bad.eml", content))
                self.assertEqual(captions(opened)["Corvessa Status"][0], CLEAR)
                self.assertEqual(len(opened["attachments"]), attachments, content)
            self.assertEqual(len(self.open("hello\n", many)["attachments"]), 100)
        self.play(play)

    def test_nothing_is_sent_while_the_key_ring_is_in_trouble(self):
        ring, = self.prefix.glob("drive_c/users/*/AppData/Roaming/*/*/keys/public.ring")
        whole, armour = ring.read_bytes(), self.encrypted(TEXT)
        kept = ring.with_name("public.ring.damaged")
        self.addCleanup(ring.write_bytes, whole)
        self.addCleanup(kept.unlink, missing_ok=True)

        def play():
            self.do(**LOGIN)
            sent = self.send(self.compose())
            self.assertEqual((sent["cancelled"], sent["mail"]["body"]), (True, TEXT))
            self.assertEqual([one["form"] for one in sent["boxes"]][1:], ["frmLogin", "MessageBox"])
            self.assertIn(trouble, sent["boxes"][-1]["text"])
            # Which needs the secret ring only.
            self.assertEqual(self.open(armour)["body"], TEXT)
        for content, trouble in ((b"X" + whole[1:], "was damaged"), (b"", "is empty")):
            kept.unlink(missing_ok=True)
            ring.write_bytes(content)
            self.play(play)

    def test_the_settings_are_changed_in_their_dialog(self):
        def wait_for(*answers):
            answered = []
            while len(answered) < len(answers):
                answered += forms(self.do(do="stats"))
            self.assertEqual(answered, list(answers))

        def change(is_signed):
            form, alias = "frmManageUserKeys", "frmAliasOptions"
            self.do(do="answer", form=alias, set={"chkSign": "on" if is_signed else "off"},
                    press="cmdOK")
            self.do(do="answer", form=form, press="cmdProperties")
            self.do(do="click", button="Corvessa")
            wait_for((form, "cmdProperties"), (alias, "cmdOK"))
            self.do(do="answer", form=form, press="cmdOK")
            wait_for((form, "cmdOK"))

        def play():
            self.do(**LOGIN)
            for is_signed in (False, True):
                change(is_signed)
                self.assertFalse(self.send(self.compose())["cancelled"])
                self.check_sent(is_signed=is_signed)
        self.play(play)

    def test_many_connections_leave_nothing_behind(self):
        armour = self.encrypted(TEXT)

        def play():
            self.do(**LOGIN)
            reply = self.do(do="reply", window=self.open(armour)["window"])["window"]
            self.assertFalse(self.send(reply)["cancelled"])
        self.play(play, times=100 if IN_FULL else 20)

    def test_outlook_of_another_version_is_left_alone(self):
        self.play(lambda: self.assertEqual(self.open(self.encrypted(TEXT))["bars"], []),
                  version="12.0.4518")

    def sweep(self, scenario, first=1, step=1):
        """Lets one call after the other into Outlook, Redemption and the engine fail, until there
        is none left to fail. The number of calls. CORVESSA_FULL_SWEEP leaves none out and lets each
        fail with all codes, which takes long."""
        for call in itertools.count(first, 1 if IN_FULL else step):
            for code in FAILURES if IN_FULL else [FAILURES[call % 4]]:
                self.do(do="fail", call=0)
                fail = functools.partial(self.do, do="fail", call=call, hresult=code)
                with self.subTest(call=call, code=code):
                    try:
                        scenario(fail)
                    except AssertionError as problem:
                        raise AssertionError(self.do(do="stats")["failed"]) from problem
                if not self.do(do="stats")["failed"]:
                    self.do(do="fail", call=0)
                    return call

    def test_a_mail_leaves_encrypted_or_stays_as_it_is_whichever_call_fails(self):
        def send(login, fail):
            window = self.compose(html="<p>" + CANARY)
            self.do(**login)
            self.do(do="answer", form="frmSendFromExternalApplication", press="cmdContinue")
            fail()
            answer = self.send(window)
            if login is LOGIN and not answer["cancelled"]:
                self.check_sent(CANARY)
                return
            self.assertTrue(answer["cancelled"])
            self.assertEqual((answer["mail"]["html"], answer["mail"]["attachments"]),
                             ("<p>" + CANARY, [{"name": "plan.txt", "size": len(CANARY)}]))
            self.do(do="close", window=window)
        self.connect()
        # A send that the user cancels is quick, and nothing may leave however it goes wrong.
        calls = self.sweep(functools.partial(send, NO_LOGIN))
        self.doCleanups()
        self.connect()
        self.sweep(functools.partial(send, LOGIN), first=calls * 2 // 3, step=3)

    def test_an_encrypted_mail_stays_what_it_is_whichever_call_fails(self):
        mail = self.mail_from_bob(self.encrypted(TEXT), {"list.txt": self.encrypted("eggs")})

        def open_and_close(fail):
            self.do(**LOGIN)
            fail()
            opened = self.do(do="open", eml=mail)
            self.assertIn(opened["body"][:10], ("-----BEGIN", CANARY[:10]))
            closed = self.do(do="close", window=opened["window"])
            self.assertEqual(closed["body"][:27], "-----BEGIN PGP MESSAGE-----")
        self.connect()
        self.sweep(open_and_close, step=3)

    def test_outlook_goes_on_whichever_call_fails_while_it_starts_and_ends(self):
        def session(fail):
            fail()
            self.do(do="connect")
            try:
                self.assertEqual(self.open("hello\n")["body"], "hello\r\n")
            finally:
                self.disconnect()
        self.sweep(session, step=2)

    def calls_of(self, action):
        """Calls into Outlook, Redemption's objects and calls into the engine."""
        self.do(do="stats")
        action()
        calls = self.do(do="stats")["calls"]
        engine = sum(count for call, count in calls.items() if call.startswith("Engine."))
        return [sum(calls.values()) - engine, calls.get("CoCreateInstance", 0), engine]

    def test_the_numbers_of_calls_are_those_that_bench_remembers(self):
        def open_mail(body, attachments=0):
            files = {f"{i}.txt": armour for i in range(attachments)}
            mail = self.mail_from_bob(body, files)
            return lambda: self.do(do="open", eml=mail)

        def send(recipients=1, attachments=0, sign=True):
            window = self.compose(", ".join(f"bob{i}@example.net" for i in range(recipients)),
                                  files=[f"plan{i}.txt" for i in range(attachments)],
                                  click=() if sign else [SIGN])
            return lambda: self.assertFalse(self.send(window)["cancelled"])

        def slope(make, **counts):
            """What each one more adds: the same each time."""
            name, first = counts.popitem()
            costs = [self.calls_of(make(**{name: first + more})) for more in range(3)]
            added = [[b - a for a, b in zip(one, other)] for one, other in zip(costs, costs[1:])]
            self.assertEqual(added[0], added[1])
            return added[0]

        self.connect()
        armour = self.encrypted(CANARY + "\r\n")
        self.do(**LOGIN)
        open_mail(armour)()
        send()()
        figures = {
            "open a plain mail": self.calls_of(open_mail("hello\n")),
            "open an encrypted mail": self.calls_of(open_mail(armour)),
            "each attachment more": slope(lambda attachments: open_mail(armour, attachments),
                                          attachments=1),
            "encrypt and sign a mail": self.calls_of(send()),
            "each recipient more": slope(send, recipients=1),
            "each attachment more, signed": slope(send, attachments=1),
            "each attachment more, not signed": slope(
                lambda attachments: send(attachments=attachments, sign=False), attachments=1),
        }
        self.assertEqual(figures, json.loads((TOP / "bench/windows/calls.json").read_text()))

    def meanwhile(self):
        """Another mail is opened, closed and sent."""
        other = self.open("hello\n")
        self.assertEqual(other["body"], "hello\r\n")
        self.assertTrue(self.do(do="close", window=other["window"])["closed"])
        self.assertFalse(self.send(self.compose(click=[ENCRYPT, SIGN]))["cancelled"])

    def test_events_come_in_while_a_dialog_waits_or_the_engine_works(self):
        def play(text, login):
            self.do(**login)
            later = self.open(self.encrypted(text), later=True)["later"]
            self.meanwhile()
            self.do(**LOGIN)
            self.assertEqual(self.do(do="result", later=later)["body"], text)
        self.play(lambda: play(TEXT, WAIT))
        self.play(lambda: play(LARGE, LOGIN), times=1)

    def test_outlook_may_quit_while_a_dialog_waits_or_the_engine_works(self):
        large = self.encrypted(LARGE)
        for login, start in ((WAIT, lambda: self.open(self.encrypted(TEXT), later=True)),
                             (WAIT, lambda: self.send(self.compose(), later=True)),
                             (LOGIN, lambda: self.open(large, later=True))):
            self.connect()
            self.do(**login)
            later = start()["later"]
            self.assertTrue(self.do(do="disconnect")["ended"])
            self.assertTrue(self.do(do="result", later=later)["cancelled"])
            self.doCleanups()

    def test_a_busy_outlook_is_asked_again_for_some_seconds(self):
        self.connect()
        mail = self.mail_from_bob("hello\n")
        for times in (3, 130):
            self.do(do="stats")
            # RPC_E_CALL_REJECTED
            self.do(do="fail", call=7, hresult="80010001", times=times)
            self.assertEqual(list(captions(self.do(do="open", eml=mail))), ["Corvessa Status"])
            calls = self.do(do="stats")["calls"]
            # The first one is given up at last.
            self.assertEqual([call for call, count in calls.items() if count > 10],
                             [] if times == 3 else ["Inspector.CommandBars", "MailItem.Body"])

    def test_other_programs_use_the_cryptographic_operations(self):
        self.assertEqual(self.do(do="crypto", address="alice@example.org"),
                         {"late": 1, "early": 1, "boxes": []})
        self.connect()
        window = self.compose()
        self.assertEqual(self.do(do="crypto", address="carol@example.org", window=window),
                         {"late": 0, "early": 0, "stored": True, "names": ["plan.txt"], "left": 0,
                          "refused": -2147024809, "boxes": []})

    def test_the_update_check_fetches_one_page_and_opens_another(self):
        class Updates(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.end_headers()
                self.wfile.write(b"<major>9</major><minor>8</minor><revision>7</revision>"
                                 b"<message>PRODUCT_NAME is old.</message>"
                                 b"<urlInfo>http://127.0.0.1/new?a=1&amp;b=2</urlInfo>")

            def log_message(self, *_):
                pass

        server = http.server.HTTPServer(("127.0.0.1", 0), Updates)
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        browser, page = self.folder / "browser", self.folder / "page"
        browser.write_text(f'#!/bin/sh\necho "$1" >{page}.new; mv {page}.new {page}\n')
        browser.chmod(0o700)
        subprocess.run([TOP / "tools/wine-run.sh", self.prefix / "drive_c/windows/system32/reg.exe",
                        "add", r"HKCU\Software\Wine\WineBrowser", "/v", "Browsers", "/d", browser],
                       env=dict(os.environ, WINE_RUN_PREFIX=str(self.prefix)), check=True,
                       stdout=subprocess.DEVNULL)
        self.do(do="set", name="URLUpdate", value=f"http://127.0.0.1:{server.server_port}/")
        self.addCleanup(self.do, do="set", name="URLUpdate", value="")
        self.do(do="answer", form="MessageBox", press="OK")
        self.addCleanup(self.disconnect)
        boxes = self.do(do="connect")["boxes"]
        self.assertIn("Corvessa Professional for Outlook is old.",
                      [box for box in boxes if box["form"] == "MessageBox"][0]["text"])
        for _ in range(100):
            if page.exists():
                break
            time.sleep(0.1)
        self.assertEqual(page.read_text(), "http://127.0.0.1/new?a=1&b=2\n")

    def test_the_libraries_are_linked_with_the_systems_protections(self):
        for dll in DLLS:
            headers = subprocess.run(["i686-w64-mingw32-objdump", "-p", dll], text=True,
                                     capture_output=True, check=True).stdout
            for protection in ("DYNAMIC_BASE", "NX_COMPAT"):
                self.assertIn(protection, headers, dll)
            self.assertIn(b"*** stack smashing detected ***", dll.read_bytes(), dll)
            imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
            self.assertEqual(imported - SYSTEM_LIBRARIES, set(), dll)

    def test_bad_input_is_answered_and_the_session_goes_on(self):
        for line, error in (
                ("hello", "JSONDecodeError: Expecting value: line 1 column 1 (char 0)"),
                ("[1]", "ValueError: not an object"), ("{}", "unknown command"),
                ('{"do":"nothing"}', "unknown command"), ('{"do":"open"}', "missing 'eml'"),
                ('{"do":"open","eml":"nowhere"}',
                 "FileNotFoundError: [Errno 2] No such file or directory: 'nowhere'"),
                ('{"do":"result","later":7}', "ValueError: no such command"),
                ('{"do":"send","window":1}', "not connected"),
                ('{"do":"set","name":"none"}', "no such setting"),
                ('{"do":"answer","form":"\\ud800"}', None), ('{"do":4}', None),
                ('{"do":"screenshot","to":"x.png"}', "there is no display")):
            answer = self.tell(line)
            self.assertEqual((answer["error"] if error else "", answer["boxes"]), (error or "", []))
        self.connect()
        self.assertEqual(self.tell('{"do":"close","window":7}')["error"], "no such window")
        self.assertIn("not connected", self.tell('{"do":"set","name":"LogDebuggingInfo"}')["error"])

    def test_the_session_of_the_readme_works_as_it_is_written(self):
        text = (TOP / "README.md").read_text()
        typed, text = re.search(r"\n\$ (printf .*)\n\$ \./outlook\n(.*?)\n```", text, re.S).groups()
        subprocess.run(typed, shell=True, cwd=self.folder, check=True)
        lines = text.split("\n")
        session = subprocess.run([TOP / "outlook"], input="\n".join(lines[::2]), text=True,
                                 capture_output=True, cwd=self.folder, check=True)
        answers = session.stdout.splitlines()
        self.assertEqual(len(answers), len(lines) // 2)
        for command, shown, answer in zip(lines[::2], lines[1::2], answers):
            self.assertRegex(answer, re.escape(shown).replace("…", ".*") + "$", command)
        self.assertEqual((self.folder / "windows.png").read_bytes()[1:4], b"PNG")


if __name__ == "__main__":
    unittest.main()
