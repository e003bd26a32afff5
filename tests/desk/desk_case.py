"""What the tests of the desk program share: two people with profiles, drafts, and gpg as a third."""

import email
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
from email import policy
from email.message import EmailMessage

import jsonschema

DESK = os.environ["CORVESSA_DESK"]
ALICE, BOB, GINA = "alice@example.org", "bob@example.com", "gina@example.net"
CANARY = "canary-7f3a"
TEXT = f"Dear Bob,\n\n– {CANARY} – ünïcode\n- a dash\nFrom here on\n"
FILES = {"Übersicht für 2026.pdf": bytes(range(256)) * 40, "t.csv": b"a;b\n1;2\n", "empty.bin": b""}


SCHEMA = json.loads((pathlib.Path(__file__).parents[2] / "docs/json.schema.json").read_text())
COMMANDS = {reference["$ref"].split("/")[-1] for reference in SCHEMA["anyOf"]}


def require_schema(arguments, out):
    """Fails unless each line is an object of the command's documented shape."""
    words = list(map(str, arguments))
    names = [name for word, after in zip(words, words[1:] + [""]) for name in (word, f"{word}-{after}") if name in COMMANDS]
    command = {name: definition for name, definition in SCHEMA.items() if name != "anyOf"} | {"$ref": f"#/$defs/{names[0] if names else 'error'}"}
    validator = jsonschema.Draft202012Validator(command)
    for line in out.splitlines():
        validator.validate(json.loads(line))


class Done:
    def __init__(self, process):
        self.code = process.returncode
        self.out = process.stdout.decode()
        self.err = process.stderr.decode()
        if "--json" in process.args:
            require_schema(process.args, self.out)

    def json(self):
        return json.loads(self.out)


def read_mail(path):
    return email.message_from_bytes(pathlib.Path(path).read_bytes(), policy=policy.SMTP)


def attachments_of(mail):
    return {part.get_filename(): part.get_payload(decode=True) for part in mail.iter_attachments()}


class DeskCase(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.template = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.template)
        cls.passphrase_file = cls.template / "passphrase"
        cls.passphrase_file.write_text("a horse & a battery\n")
        for address, name in ((ALICE, "alice"), (BOB, "bob")):
            cls.at(cls.template / name, "key", "generate", address, "--name", name.title(),
                   "--passphrase-file", cls.passphrase_file)
            cls.at(cls.template / name, "account", "add", address, "--sign")
            exported = cls.at(cls.template / name, "key", "export", address)
            (cls.template / f"{name}.asc").write_text(exported.out)
        cls.at(cls.template / "alice", "key", "import", cls.template / "bob.asc")
        cls.at(cls.template / "bob", "key", "import", cls.template / "alice.asc")

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        for name in ("alice", "bob"):
            shutil.copytree(self.template / name, self.folder / name)

    @staticmethod
    def at(profile, *arguments, **options):
        return Done(subprocess.run([DESK, "--profile", profile, *arguments], capture_output=True,
                                   stdin=options.pop("stdin", subprocess.DEVNULL), **options))

    def alice(self, *arguments, address=ALICE, **options):
        return self.at(self.folder / address.split("@")[0], "--passphrase",
                       f"{address}={self.passphrase_file}", *arguments, **options)

    def bob(self, *arguments, **options):
        return self.alice(*arguments, address=BOB, **options)

    def script(self, *lines):
        """Bob's shell over these lines."""
        with open(self.write("script", "\n".join(lines)), "rb") as script:
            return self.bob("shell", stdin=script)

    def assertDone(self, done, code=0, out=None, err=""):
        self.assertEqual((done.err, done.code), (err, code), done.out)
        if out is not None:
            self.assertEqual(done.out, out)

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def draft(self, name="draft.eml", to=BOB, text=TEXT, files=FILES, **fields):
        mail = EmailMessage(policy=policy.SMTP)
        mail["From"] = f"Alice <{ALICE}>"
        mail["To"] = to
        mail["Subject"] = "Plâns"
        for field, value in fields.items():
            mail[field.replace("_", "-")] = value
        mail.set_content(text)
        for file_name, content in files.items():
            mail.add_attachment(content, "application", "octet-stream", filename=file_name)
        return self.write(name, mail.as_bytes())

    def sent(self, *options, **draft):
        """Alice's draft as it travels."""
        path = self.folder / "sent.eml"
        self.assertDone(self.alice("send", self.draft(**draft), "--out", path, *options), out=None)
        return path

    def leftovers(self):
        """Files below the test's folder that hold the canary, drafts excepted."""
        return [str(path.relative_to(self.folder)) for path in sorted(self.folder.rglob("*"))
                if path.is_file() and "draft" not in path.name and CANARY.encode() in path.read_bytes()]


class Gpg:
    """The other implementation, with a home and a key of its own."""

    def __init__(self, test):
        self.home = pathlib.Path(tempfile.mkdtemp())
        test.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        test.addCleanup(subprocess.run, ["gpgconf", "--homedir", self.home, "--kill", "all"])
        self.home.chmod(0o700)
        self.run("--passphrase", "", "--quick-generate-key", f"Gina <{GINA}>", "future-default")

    def run(self, *arguments, data=b""):
        return subprocess.run(["gpg", "--homedir", self.home, "--batch", "--yes", "--quiet",
                               "--trust-model", "always", "--status-fd", "2", *arguments],
                              input=data, capture_output=True, check=True)

    def public_key(self):
        return self.run("--armor", "--export", GINA).stdout

    def secret_key(self):
        return self.run("--armor", "--export-secret-keys", GINA).stdout
