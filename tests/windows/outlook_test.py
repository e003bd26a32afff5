"""The add-in inside the stand-in Outlook, with gpg as the other side of every mail."""
import email
import email.policy
import functools
import http.server
import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import threading
import time
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
CANARY = "canary-4711"
PASSPHRASE = "secret-words-0815"
LOGIN = {"do": "answer", "form": "frmLogin", "set": {"txtPassword": PASSPHRASE}, "press": "cmdOK"}


BUILD = pathlib.Path(os.environ.get("CORVESSA_WINDOWS_BUILD", TOP / "build/windows"))
DLLS = (BUILD / "src/windows/CorvessaPro_OL.dll", BUILD / "src/windows_engine/corvessa_engine.dll")
# Another one could be planted beside the program that loads the library.
SYSTEM_LIBRARIES = {
    "advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "version.dll", "wininet.dll",
    "comdlg32.dll"}
# E_FAIL, RPC_E_SERVERFAULT, E_OUTOFMEMORY, REGDB_E_CLASSNOTREG
FAILURES = ("80004005", "80010105", "8007000E", "80040154")


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

    def test_a_pgp_mime_mail_opens_and_is_put_back(self):
        inside = email.message.EmailMessage(policy=email.policy.SMTP)
        inside["Subject"] = "Prüfung " + CANARY
        inside.set_content("Grüße\n")
        inside.add_attachment(CANARY.encode(), "application", "octet-stream", filename="Ü.bin")
        entity = inside.as_bytes()
        armour = self.gpg("--armor", "--encrypt", "-r", "alice@example.org", data=entity)
        signature = self.gpg("--armor", "--detach-sign", "-u", "bob@example.net", data=entity)
        head = "From: Bob <bob@example.net>\r\nTo: alice@example.org\r\nSubject: ...\r\n"
        encrypted = self.folder / "encrypted.eml"
        encrypted.write_bytes(head.encode() + (
            b"Content-Type: multipart/encrypted; boundary=b\r\n\r\n"
            b"--b\r\nContent-Type: application/pgp-encrypted\r\n\r\nVersion: 1\r\n"
            b"--b\r\nContent-Type: application/octet-stream; name=encrypted.asc\r\n\r\n") +
            armour + b"\r\n--b--\r\n")
        signed = self.folder / "signed.eml"
        signed.write_bytes(head.encode() + b"Content-Type: multipart/signed; boundary=b\r\n\r\n--b\r\n" +
                           entity + b"\r\n--b\r\nContent-Type: application/pgp-signature; "
                           b"name=signature.asc\r\n\r\n" + signature + b"\r\n--b--\r\n")
        self.connect()
        self.do(**LOGIN)
        opened = self.do(do="open", eml=str(encrypted))
        self.assertEqual((opened["body"], opened["subject"]), ("Grüße\r\n", "Prüfung " + CANARY))
        self.assertEqual(captions(opened), {"Corvessa Status": [
            "Message is encrypted", "Message is not digitally signed",
            "The subject is the protected one.", "Show original message"]})
        self.assertEqual([one["name"] for one in opened["attachments"]], ["Ü.bin"])
        saved = self.folder / "saved"
        self.do(do="save-attachment", window=opened["window"], index=1, to=str(saved))
        self.assertEqual(saved.read_text(), CANARY)
        reply = self.do(do="reply", window=opened["window"])
        self.assertEqual(reply["subject"], "RE: ...")
        closed = self.do(do="close", window=opened["window"])
        self.assertEqual((closed["body"].strip(), closed["subject"]), ("", "..."))
        self.assertEqual([one["name"] for one in closed["attachments"]][1:], ["encrypted.asc"])

        opened = self.do(do="open", eml=str(signed))
        self.assertIn("The signature of this PGP/MIME mail cannot be checked, because Outlook does "
                      "not keep the mail as it was sent.", captions(opened)["Corvessa Status"])
        self.assertEqual(captions(opened)["Corvessa Status"][1], "Message is not digitally signed")
        self.do(do="close", window=opened["window"])

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

    def test_a_reply_to_an_encrypted_mail_is_encrypted_and_blind_copies_name_no_key(self):
        self.gpg("--quick-generate-key", "carol@example.net", "default", "default", "never")
        key = self.folder / "carol.asc"
        key.write_bytes(self.gpg("--armor", "--export", "carol@example.net"))
        self.do(do="key", action="import", path=str(key))
        self.connect("11.0.5510")
        self.do(**LOGIN)
        opened = self.do(do="open", eml=self.encrypted_mail())
        reply = self.do(do="reply", window=opened["window"])["window"]
        copied = self.compose(bcc=["Carol <carol@example.net>"])
        for window, text, anonymous in ((reply, b"-----Original Message-----", 0),
                                        (copied, CANARY.encode(), 3)):
            self.do(**LOGIN)
            self.assertFalse(self.send(window)["cancelled"])
            self.assertNotIn(CANARY.encode(), (self.folder / "out.eml").read_bytes())
            armour = self.sent().get_body().get_content().encode()
            self.assertIn(text, self.gpg("--decrypt", data=armour))
            packets = self.gpg("--list-packets", data=armour)
            self.assertEqual(packets.count(b"keyid 0000000000000000"), anonymous, packets)

    def test_without_a_passphrase_nothing_leaves_and_nothing_is_lost(self):
        self.connect()
        answer = self.send(self.compose())
        self.assertTrue(answer["cancelled"])
        self.assertEqual(answer["mail"]["body"], CANARY + "\r\n")
        self.assertEqual([one["name"] for one in answer["mail"]["attachments"]], ["plan.txt"])

    def sweep(self, scenario, first=1, step=1):
        """Lets one call after the other into Outlook, Redemption and the engine fail, until there
        is none left to fail. The number of calls. CORVESSA_FULL_SWEEP leaves none out and lets each
        fail with all codes, which takes long."""
        in_full = bool(os.environ.get("CORVESSA_FULL_SWEEP"))
        for call in itertools.count(first, 1 if in_full else step):
            codes = FAILURES if in_full else [FAILURES[call % 4]]
            for code in codes:
                self.do(do="stats")
                self.do(do="fail", call=0)
                fail = functools.partial(self.do, do="fail", call=call, hresult=code)
                with self.subTest(call=call, code=code):
                    try:
                        scenario(fail)
                    except AssertionError as problem:
                        raise AssertionError(self.do(do="stats")["failed"]) from problem
                if not self.do(do="stats")["failed"]:
                    return call

    def assert_kept(self, answer):
        """A mail that was not sent is what its author wrote."""
        self.assertEqual(answer["mail"]["html"], "<p>" + CANARY)
        self.assertEqual([(one["name"], one["size"]) for one in answer["mail"]["attachments"]],
                         [("plan.txt", len(CANARY))])

    def assert_encrypted(self):
        self.assertNotIn(CANARY.encode(), (self.folder / "out.eml").read_bytes())
        mail = self.sent()
        text = self.gpg("--decrypt", data=mail.get_body().get_content().encode())
        self.assertIn(CANARY.encode(), text)
        data = next(mail.iter_attachments()).get_payload(decode=True)
        self.assertEqual(self.gpg("--decrypt", data=data).decode(), CANARY)

    def test_a_mail_leaves_encrypted_or_stays_as_it_is_whichever_call_fails(self):
        def send(login, fail):
            window = self.compose(html="<p>" + CANARY)
            self.do(**login)
            self.do(do="answer", form="frmSendFromExternalApplication", press="cmdContinue")
            fail()
            answer = self.send(window)
            if login is LOGIN and not answer["cancelled"]:
                self.assert_encrypted()
                return
            self.assertTrue(answer["cancelled"])
            self.assert_kept(answer)
            self.do(do="close", window=window)
        self.connect()
        # A send that the user cancels is quick, and nothing may leave however it goes wrong.
        cancel = {"do": "answer", "form": "frmLogin", "press": "cmdCancel"}
        calls = self.sweep(functools.partial(send, cancel))
        self.doCleanups()
        self.connect()
        self.sweep(functools.partial(send, LOGIN), first=calls * 2 // 3, step=3)

    def test_an_encrypted_mail_stays_what_it_is_whichever_call_fails(self):
        mail = self.encrypted_mail()

        def open_and_close(fail):
            self.do(**LOGIN)
            fail()
            opened = self.do(do="open", eml=mail)
            self.assertIn(opened["body"][:10], ("-----BEGIN", CANARY[:10]))
            closed = self.do(do="close", window=opened["window"])
            self.assertEqual(closed["body"][:27], "-----BEGIN PGP MESSAGE-----")
        self.connect()
        self.sweep(open_and_close)

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

    def calls_of(self, action):
        """Calls into Outlook, Redemption's objects and calls into the engine."""
        self.do(do="stats")
        action()
        calls = self.do(do="stats")["calls"]
        engine = sum(count for call, count in calls.items() if call.startswith("Engine."))
        return [sum(calls.values()) - engine, calls.get("CoCreateInstance", 0), engine]

    def test_the_numbers_of_calls_are_those_that_bench_remembers(self):
        def open_mail(body, attachments=0):
            encrypted = [(f"{i}.txt", self.encrypted(CANARY)) for i in range(attachments)]
            mail = self.mail_from_bob(body, encrypted)
            return lambda: self.do(do="open", eml=mail)

        def send(recipients=1, attachments=0, sign=True):
            paths = [self.folder / f"plan{i}.txt" for i in range(attachments)]
            for path in paths:
                path.write_text(CANARY)
            window = self.do(do="compose", to=[f"bob{i}@example.net" for i in range(recipients)],
                             attachments=[str(path) for path in paths], body=CANARY)["window"]
            if not sign:
                self.do(do="click", window=window, button="Sign on send")
            return lambda: self.assertFalse(self.send(window)["cancelled"])

        def slope(make, **counts):
            """What each one more adds: the same each time."""
            name, first = counts.popitem()
            costs = [self.calls_of(make(**{name: first + more})) for more in range(3)]
            added = [[b - a for a, b in zip(one, other)] for one, other in zip(costs, costs[1:])]
            self.assertEqual(added[0], added[1])
            return added[0]

        for i in range(3):
            self.gpg("--quick-generate-key", f"bob{i}@example.net", "default", "default", "never")
            key = self.folder / "key.asc"
            key.write_bytes(self.gpg("--armor", "--export", f"bob{i}@example.net"))
            self.do(do="key", action="import", path=str(key))
        self.connect()
        armour = self.encrypted(CANARY + "\r\n").decode()
        self.do(**LOGIN)
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

    def test_outlook_may_quit_while_a_dialog_waits(self):
        for start in (lambda: self.do(do="open", eml=self.encrypted_mail(), later=True),
                      lambda: self.do(do="send", window=self.compose(), later=True)):
            self.connect()
            self.do(do="answer", form="frmLogin", press="leave")
            later = start()["later"]
            self.assertTrue(self.do(do="disconnect")["ended"])
            self.assertTrue(self.do(do="result", later=later)["cancelled"])
            self.doCleanups()

    def test_events_come_in_while_the_engine_works(self):
        """A mail of 20 MB keeps it busy for some seconds."""
        text = (CANARY + "\r\n") * 1_500_000
        large = self.encrypted(text).decode()
        for quits in (False, True):
            self.connect()
            self.do(**LOGIN)
            later = self.do(do="open", eml=self.mail_from_bob(large), later=True)["later"]
            if quits:
                self.assertTrue(self.do(do="disconnect")["ended"])
                self.assertTrue(self.do(do="result", later=later)["cancelled"])
            else:
                other = self.do(do="open", eml=self.mail_from_bob("hello\n"))
                self.assertEqual(other["body"], "hello\r\n")
                self.do(do="close", window=other["window"])
                self.assertEqual(self.do(do="result", later=later)["body"], text)
            self.doCleanups()

    def test_another_mail_is_sent_while_a_dialog_waits(self):
        self.connect()
        self.do(do="answer", form="frmLogin", press="leave")
        later = self.do(do="open", eml=self.encrypted_mail(), later=True)["later"]
        window = self.compose()
        for button in ("Encrypt on send", "Sign on send"):
            self.do(do="click", window=window, button=button)
        self.assertFalse(self.send(window)["cancelled"])
        self.do(**LOGIN)
        self.assertEqual(self.do(do="result", later=later)["body"], CANARY + "\r\n")

    def test_a_busy_outlook_is_asked_again_for_some_seconds(self):
        self.connect()
        mail = self.mail_from_bob("hello\n")
        for times, bars in ((3, ["Corvessa Status"]), (1000, [])):
            # RPC_E_CALL_REJECTED, of the reading of the sender's name.
            self.do(do="fail", call=7, hresult="80010001", times=times)
            opened = self.do(do="open", eml=mail)
            self.assertEqual(list(captions(opened)), bars)
            self.do(do="fail", call=0)

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
        boxes = self.do(do="connect")["boxes"]
        self.addCleanup(self.disconnect)
        self.assertIn("Corvessa Professional for Outlook is old.",
                      [box for box in boxes if box["form"] == "MessageBox"][0]["text"])
        for _ in range(100):
            if page.exists():
                break
            time.sleep(0.1)
        self.assertEqual(page.read_text(), "http://127.0.0.1/new?a=1&b=2\n")

    def test_a_recipient_without_an_address_is_looked_for_in_the_address_books(self):
        self.connect()
        self.do(**LOGIN)
        window = self.do(do="compose", to=["Carol"], body=CANARY)["window"]
        self.do(do="stats")
        answer = self.send(window)
        calls = self.do(do="stats")["calls"]
        self.assertEqual((calls["Session.Logon"], calls["SafeAddressLists.Count"]), (1, 2))
        self.assertTrue(answer["cancelled"])
        self.assertIn("unable to resolve", answer["boxes"][-1]["text"])

    def test_a_hundred_connections_leave_nothing_behind(self):
        """A hundred for each scenario when the whole sweep is asked for."""
        def open_mail(mail):
            return self.do(do="open", eml=mail)["window"]

        scenarios = (lambda: open_mail(self.mail_from_bob("hello\n")),
                     lambda: open_mail(self.encrypted_mail()),
                     lambda: self.do(do="reply", window=open_mail(self.encrypted_mail())),
                     lambda: self.assertFalse(self.send(self.compose())["cancelled"]))
        for scenario in scenarios:
            memory = []
            for _ in range(100 if "CORVESSA_FULL_SWEEP" in os.environ else 25):
                self.do(do="connect")
                self.do(**LOGIN)
                self.do(**LOGIN)
                scenario()
                self.assertEqual(self.do(do="disconnect"), {"references": 0, "objects": 0, "windows": 0,
                                                            "loaded": False, "boxes": []})
                memory.append(self.do(do="stats")["memory"])
            # A bitmap that stays for each connection would be 3 MB after 25 of them.
            self.assertLess(memory[-1] - memory[9], 1 << 20)

    def test_the_libraries_are_linked_with_the_systems_protections(self):
        for dll in DLLS:
            headers = subprocess.run(["i686-w64-mingw32-objdump", "-p", dll], text=True,
                                     capture_output=True, check=True).stdout
            for protection in ("DYNAMIC_BASE", "NX_COMPAT"):
                self.assertIn(protection, headers, dll)
            imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
            self.assertEqual(imported - SYSTEM_LIBRARIES, set(), dll)


if __name__ == "__main__":
    unittest.main()
