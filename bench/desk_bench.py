#!/usr/bin/env python3
"""What whole runs of the desk program cost, beside the gpg program on the same messages.

bench/desk_bench.py [PROGRAM]   (default: the release build's)

Each row: milliseconds from start to exit (the best of some runs, because the machine is shared), the
same of gpg, their ratio, and the program's peak of memory. The ring holds 1,000 keys. Every run
checks the passphrase. Checking it costs next to nothing here, so that the rows show the programs and
not the pause that OpenPGP programs make on purpose; in the row "usual passphrase" each program makes
the pause that it has chosen for its own keys. gpg leaves the work on secret keys to an agent that
runs already; in the row "gpg alone" it has to start one, as the desk does all by itself. gpg decrypts
only, where the desk checks the signature, too; in the rows "gpg verifies" it gets a message which it
signed and encrypted in one step, so that it does both.
"""

import email
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
from email import policy
from email.message import EmailMessage

HERE = pathlib.Path(__file__).resolve().parent
DESK = sys.argv[1] if len(sys.argv) > 1 else str(HERE.parent / "build/release/src/desk/corvessa-desk")
READER, WRITER, USUAL = "reader@example.org", "writer@example.org", "usual@example.org"


def run(arguments, **options):
    return subprocess.run([str(part) for part in arguments], check=True, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, **options).stdout


def measured(arguments, runs, before):
    """The best time in milliseconds and the peak of memory in MB."""
    best, peak = float("inf"), 0
    for _ in range(runs):
        before()
        with open(os.devnull, "r+b") as null:
            start = time.perf_counter()
            process = subprocess.Popen([str(part) for part in arguments], stdin=null, stdout=null, stderr=null)
            _, status, usage = os.wait4(process.pid, 0)
            best = min(best, (time.perf_counter() - start) * 1000)
            peak = max(peak, usage.ru_maxrss / 1024)
        if status != 0:
            sys.exit(f"failed: {' '.join(str(part) for part in arguments)}")
    return best, peak


def nothing():
    pass


def row(name, desk, gpg, runs, before=nothing, before_gpg=nothing):
    (time_taken, peak), (gpg_time, _) = measured(desk, runs, before), measured(gpg, runs, before_gpg)
    print(f"{name:<44}{time_taken:8.1f} ms{gpg_time:10.1f} ms{time_taken / gpg_time:8.2f}{peak:8.0f} MB")


def apart(work, *arguments):
    """Runs it in a process of its own: what this one holds would count as memory of its children."""
    pid = os.fork()
    if pid == 0:
        work(*arguments)
        os._exit(0)
    if os.waitpid(pid, 0)[1] != 0:
        sys.exit("the mails could not be made")


def write_draft(path, to, size):
    mail = EmailMessage(policy=policy.SMTP)
    mail["From"], mail["To"], mail["Subject"] = WRITER, to, "bench"
    mail.set_content("a line of text that says little\n" * 20)
    if size:
        mail.add_attachment(os.urandom(size), "application", "octet-stream", filename="a.bin")
    path.write_bytes(mail.as_bytes())


def write_part(path, mail, index):
    message = email.message_from_bytes(mail.read_bytes(), policy=policy.SMTP)
    parts = list(message.iter_parts()) if message.is_multipart() else [message]
    path.write_bytes(parts[index].get_payload(decode=True))


class Bench:
    def __init__(self, folder):
        self.folder = folder
        self.home = self.make_home(folder / "gpg", "s2k-count 65536\n")
        self.usual_home = self.make_home(folder / "usual-gpg", "")
        self.secret = folder / "passphrase"
        self.secret.write_text("horse\n")
        self.profile = folder / "profile"
        self.make_keys()

    @staticmethod
    def make_home(home, options):
        home.mkdir(mode=0o700)
        (home / "gpg-agent.conf").write_text(options + "default-cache-ttl 0\nmax-cache-ttl 0\n")
        return home

    def gpg(self, *arguments, home=None):
        return ["gpg", "--homedir", home or self.home, "--batch", "--yes", "--quiet", "--trust-model", "always",
                "--pinentry-mode", "loopback", "--passphrase-file", self.secret, *arguments]

    def desk(self, *arguments):
        return [DESK, "--profile", self.profile, *arguments]

    def make_keys(self):
        blocks = "".join(f"Key-Type: EDDSA\nKey-Curve: ed25519\nSubkey-Type: ECDH\nSubkey-Curve: cv25519\n"
                         f"Name-Email: p{i}@example.net\n%no-protection\n%commit\n" for i in range(1000))
        run(self.gpg("--generate-key"), input=blocks.encode())
        public = run(self.gpg("--export"))
        for address in (READER, WRITER):
            run(self.gpg("--quick-generate-key", address, "future-default"))
        for name, keys in (("many", public), ("own", run(self.gpg("--export-secret-keys", READER, WRITER)))):
            (self.folder / name).write_bytes(keys)
            run(self.desk("key", "import", self.folder / name))
        run(self.desk("key", "generate", USUAL, "--passphrase-file", self.secret))
        exported = self.folder / "usual"
        exported.write_bytes(run(self.desk("key", "export", USUAL, "--secret")))
        run(self.gpg("--import", exported, home=self.usual_home))
        run(self.gpg("--import", self.folder / "many", home=self.usual_home))

    def draft(self, to, size):
        path = self.folder / f"draft{size}.eml"
        apart(write_draft, path, to, size)
        return path

    def sent(self, to, size):
        run(self.desk("account", "add", WRITER, "--sign"))
        out = self.folder / f"sent-{to}-{size}.eml"
        run(self.desk("send", self.draft(to, size), "--passphrase", f"{WRITER}={self.secret}", "--out", out))
        run(self.desk("account", "remove", WRITER))
        run(self.desk("account", "add", to))
        return out

    def part(self, mail, index):
        """One part of a mail as gpg gets it."""
        path = self.folder / f"part{index}"
        apart(write_part, path, mail, index)
        return path

    def stop_agent(self):
        subprocess.run(["gpgconf", "--homedir", self.home, "--kill", "gpg-agent"], check=True)

    def signed_by_gpg(self, to):
        """The text of a mail signed and encrypted by gpg in one step."""
        path = self.folder / "gpg-signed"
        run(self.gpg("--armor", "--sign", "-u", WRITER, "--encrypt", "-r", to, "--output", path,
                     self.part(self.draft(to, 0), 0)))
        return path

    def open(self, name, to, size, runs, home=None, before_gpg=nothing, gpg_verifies=False):
        mail = self.sent(to, size)
        saved = self.folder / "saved"
        for_gpg = self.signed_by_gpg(to) if gpg_verifies else self.part(mail, 1 if size else 0)
        row(name, self.desk("open", mail, "--passphrase", f"{to}={self.secret}",
                            *(("--save-attachments", saved) if size else ())),
            self.gpg("--decrypt", "--output", self.folder / "plain", for_gpg, home=home),
            runs, lambda: shutil.rmtree(saved, ignore_errors=True), before_gpg)
        run(self.desk("account", "remove", to))

    def send(self, name, size, runs):
        run(self.desk("account", "add", WRITER, "--sign"))
        draft = self.draft(READER, size)
        plain = self.part(draft, 1 if size else 0)
        row(name, self.desk("send", draft, "--passphrase", f"{WRITER}={self.secret}", "--out", self.folder / "o"),
            self.gpg("--sign", "-u", WRITER, "--encrypt", "-r", READER, "--output", self.folder / "g", plain), runs)
        run(self.desk("account", "remove", WRITER))


def main():
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(pathlib.Path(folder))
        try:
            print(f"{'':<44}{'desk':>11}{'gpg':>13}{'ratio':>8}{'peak':>11}")
            bench.open("open 2 KB, encrypted and signed", READER, 0, 20)
            bench.open("the same, gpg alone", READER, 0, 20, before_gpg=bench.stop_agent)
            bench.open("the same, gpg verifies", READER, 0, 20, gpg_verifies=True)
            bench.open("the same, gpg verifies, alone", READER, 0, 20, before_gpg=bench.stop_agent,
                       gpg_verifies=True)
            bench.open("the same, usual passphrase", USUAL, 0, 10, bench.usual_home)
            bench.send("send 2 KB", 0, 20)
            big = 25 << 20
            bench.open("open and save 25 MB", READER, big, 2)
            bench.send("send 25 MB", big, 2)
        finally:
            for home in (bench.home, bench.usual_home):
                subprocess.run(["gpgconf", "--homedir", str(home), "--kill", "all"], check=False)


if __name__ == "__main__":
    main()
