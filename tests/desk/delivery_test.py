"""Sent mail handed to the system: a real client of a mail server, and a server that takes it."""

import email
import socket
import stat
import unittest

from aiosmtpd.controller import Controller
from desk_case import ALICE, BOB, CANARY, GINA, DeskCase, Gpg


class Inbox:
    def __init__(self):
        self.taken = []

    async def handle_DATA(self, server, session, envelope):
        self.taken.append((envelope.mail_from, envelope.rcpt_tos, envelope.content))
        return "250 taken"


class Delivery(DeskCase):
    def setUp(self):
        super().setUp()
        self.inbox = Inbox()
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        server = Controller(self.inbox, hostname="127.0.0.1", port=port)
        server.start()
        self.addCleanup(server.stop)
        account = self.write("msmtprc", f"account default\nhost 127.0.0.1\nport {port}\n")
        account.chmod(stat.S_IRUSR | stat.S_IWUSR)
        self.assertDone(self.alice("set", "DeliveryCommand", f"msmtp  -C {account}"))

    def test_one_delivery_reaches_all_recipients_and_a_copy_stays(self):
        gpg = Gpg(self)
        self.alice("key", "import", self.write("gina.asc", gpg.public_key()))
        copies = self.folder / "Sent"
        for part in ("cur", "new", "tmp"):
            (copies / part).mkdir(parents=True)
        sent = self.alice("send", self.draft(Bcc=GINA, text=f"{CANARY}\n.\nbelow a dot\n", files={}),
                          "--deliver", "--sent", copies)
        self.assertDone(sent, 0, "Delivered encrypted and signed\n")
        [(sender, recipients, content)] = self.inbox.taken
        self.assertEqual((sender, recipients), (ALICE, [BOB, GINA]))
        self.assertNotIn(GINA.encode(), content)
        [copy] = (copies / "cur").iterdir()
        self.assertRegex(copy.name, r"\A\d{8}-\d{6}-\S+\.eml:2,S\Z")
        self.assertEqual(email.message_from_bytes(copy.read_bytes())["Message-ID"],
                         email.message_from_bytes(content)["Message-ID"])
        self.assertEqual(self.leftovers(), [])
        for reader, file in ((self.alice, copy), (self.bob, self.write("arrived.eml", content))):
            self.assertIn(f"{CANARY}\n.\nbelow a dot\n", reader("open", file).out)

    def test_what_cannot_be_delivered_is_kept(self):
        unsent = self.folder / "alice" / "unsent"
        for command, why in (("false", "the delivery command failed with exit code 1"),
                             ("no-such-program", "there is no program no-such-program; set DeliveryCommand")):
            self.assertDone(self.alice("set", "DeliveryCommand", command))
            refused = self.alice("send", self.draft(), "--deliver", "--sent", self.folder / "Sent")
            [kept] = unsent.iterdir()
            self.assertDone(refused, 3, "", f"corvessa-desk: not sent: {why}; kept as {kept}\n")
            self.assertIn(CANARY, self.bob("open", kept).out)
            kept.unlink()
        self.assertFalse((self.folder / "Sent").exists())
        self.assertEqual(self.inbox.taken, [])


if __name__ == "__main__":
    unittest.main()
