"""docs/guide.md, done as it says by two people: one with the desk, one with gpg."""

import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import unittest

import pexpect
from aiosmtpd.controller import Controller

GUIDE = pathlib.Path(__file__).parents[2] / "docs/guide.md"
PASSPHRASE = "correct horse battery staple lamp"
FINGERPRINT = r"(?:[0-9A-F]{4} +){9}[0-9A-F]{4}"


class Inbox:
    async def handle_DATA(self, server, session, envelope):
        self.taken = (envelope.rcpt_tos, envelope.content.decode())
        return "250 taken"


def blocks(text):
    """The fenced blocks: kind, name, content and line."""
    for found in re.finditer(r"^```(\w+) ?(.*)\n((?s:.*?))^```$", text, re.M):
        yield found[1], found[2], found[3], text.count("\n", 0, found.start()) + 1


def plain(output):
    """As it stays on the screen: progress is overwritten, colours are not text."""
    output = re.sub(r"\x1b\[[0-9;?]*[a-zA-Z]", "", output).replace("\r\n", "\n")
    return [line.rstrip().rpartition("\r")[2] for line in output.split("\n")]


class Person:
    def __init__(self, home, mails):
        self.home, self.mails = home, mails
        home.mkdir()
        self.told = ""

    def run(self, script, friend):
        """Types what a person types who is asked, and returns what was shown. Without exit code 0,
        raises AssertionError."""
        environment = {"HOME": str(self.home), "TERM": "xterm", "LC_ALL": "C.UTF-8",
                       "PATH": f"{self.home.parent}/bin:{os.environ['PATH']}"}
        shell = pexpect.spawn("bash", ["-euo", "pipefail", "-c", script], cwd=str(self.mails), env=environment,
                              encoding="utf-8", timeout=30, dimensions=(40, 120), echo=False)
        asked = {r"(?i)passphrase[^\n]*: ?$": lambda: PASSPHRASE, r"\((y/N|Y/n)\) ?$": lambda: "y",
                 r"Fingerprint[^\n]*: ?$": lambda: friend.fingerprint()}
        output = ""
        while (found := shell.expect([*asked, pexpect.EOF])) < len(asked):
            output += shell.before + shell.after
            shell.sendline(list(asked.values())[found]())
        output += shell.before
        shell.close()
        self.told += output
        assert shell.exitstatus == 0, f"exit code {shell.exitstatus}:\n{output}"
        return plain(output)

    def fingerprint(self):
        return re.findall(FINGERPRINT, self.told)[-1]


class Guide(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp(dir="/tmp"))
        self.addCleanup(shutil.rmtree, self.place, ignore_errors=True)
        (self.place / "bin").mkdir()
        (self.place / "bin/corvessa-desk").symlink_to(os.environ["CORVESSA_DESK"])
        mails = self.place / "mails"
        mails.mkdir()
        self.you, self.friend = Person(self.place / "you", mails), Person(self.place / "friend", mails)
        gpg = self.friend.home / ".gnupg"
        gpg.mkdir(mode=0o700)
        # Asks on the terminal instead of in a window.
        (gpg / "gpg.conf").write_text("pinentry-mode loopback\n")
        self.addCleanup(subprocess.run, ["gpgconf", "--homedir", gpg, "--kill", "all"])
        with socket.create_server(("127.0.0.1", 0)) as free:
            self.port = free.getsockname()[1]
        self.inbox = Inbox()
        server = Controller(self.inbox, hostname="127.0.0.1", port=self.port)
        server.start()
        self.addCleanup(server.stop)

    def write(self, name, content):
        """A file that the guide shows. Here a server without TLS stands for the provider's."""
        if name.startswith("~/.msmtprc"):
            content, count = re.subn(r"^host .*\nport .*\ntls on\nauth on\nuser .*\n",
                                     f"host 127.0.0.1\nport {self.port}\n", content, flags=re.M)
            self.assertEqual(count, 1)
        path = self.you.home / name[2:] if name.startswith("~/") else self.you.mails / name
        path.write_text(content)

    def assert_shown(self, expected, shown):
        """The lines one below the other; "..." stands for any."""
        for part in expected.split("...\n"):
            text = "\n".join(shown)
            self.assertIn(part.rstrip("\n"), text)
            shown = text.partition(part.rstrip("\n"))[2].split("\n")

    def test_every_command_does_what_the_guide_says(self):
        shown = []
        for kind, name, content, line in blocks(GUIDE.read_text()):
            try:
                if kind == "output":
                    self.assert_shown(content, shown)
                elif kind != "sh":
                    self.write(name, content)
                elif name != "install":  # ./package --test does that
                    person, other = (self.friend, self.you) if name == "friend" else (self.you, self.friend)
                    shown = person.run(content, other)
            except AssertionError as error:
                raise AssertionError(f"{GUIDE.name}:{line}: {error}") from None
        recipients, content = self.inbox.taken
        self.assertEqual(recipients, ["friend@example.com"])
        self.assertNotIn("flowerpot", content)
        self.assertIn("Good signature", self.friend.told)


if __name__ == "__main__":
    unittest.main()
