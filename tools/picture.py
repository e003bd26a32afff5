#!/usr/bin/python3
"""Makes docs/session.svg: a session with the desk as it looks in a terminal.

  picture.py DESK [FILE]

Types the commands into a shell, answers the prompts and draws the screen at the end. Needs
python3-pexpect, python3-pyte and gpg, which is the friend.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
from xml.sax.saxutils import escape

import pexpect
import pyte

COLUMNS, ROWS = 78, 70
WIDTH, HEIGHT, MARGIN = 8.4, 18, 14
PASSPHRASE = "correct horse battery staple"
COLOURS = {"default": "#d8dee9", "black": "#4c566a", "red": "#ff7b72", "green": "#7ee787",
           "brown": "#e3b341", "blue": "#79c0ff", "magenta": "#d2a8ff", "cyan": "#76e3ea",
           "white": "#ffffff"}
PROMPT = "$ "
DRAFT = """\
From: You <you@example.org>
To: Friend <friend@example.com>
Subject: Sunday

Come at eight. The key is under the third flowerpot.
"""
SESSION = ("cat draft.eml", "corvessa-desk send draft.eml --out sent.eml",
           "grep -A 3 BEGIN sent.eml", "corvessa-desk open answer.eml")


def prepare(home, desk):
    """Two people who have each other's keys, and the friend's answer."""
    (home / "bin").mkdir()
    (home / "bin/corvessa-desk").symlink_to(desk)
    (home / ".gnupg").mkdir(mode=0o700)
    environment = {"HOME": str(home), "PATH": f"{home}/bin:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
                   "TERM": "xterm-256color", "PS1": PROMPT, "PASSPHRASE": PASSPHRASE}
    (home / "draft.eml").write_text(DRAFT)
    subprocess.run(["bash", "-euo", "pipefail", "-c", """
        echo "$PASSPHRASE" > passphrase
        corvessa-desk key generate you@example.org --name You --passphrase-file passphrase
        corvessa-desk account add you@example.org --sign
        corvessa-desk key export you@example.org > my-key.asc
        gpg="gpg --batch --quiet --trust-model always"
        $gpg --passphrase "" --quick-generate-key "Friend <friend@example.com>"
        $gpg --import my-key.asc
        $gpg --armor --export friend@example.com | corvessa-desk key import -
        {
          printf 'From: Friend <friend@example.com>\\nTo: You <you@example.org>\\nSubject: Re: Sunday\\n\\n'
          echo "I will bring the cake." | $gpg --armor --sign --encrypt --recipient you@example.org
        } > answer.eml
        gpgconf --kill all"""], cwd=home, env=environment, check=True, stdout=subprocess.DEVNULL)
    return environment


def record(home, environment):
    """What the terminal received."""
    shell = pexpect.spawn("bash", ["--norc", "--noprofile"], cwd=str(home), env=environment,
                          encoding="utf-8", timeout=30, dimensions=(ROWS, COLUMNS))
    received = []
    at_prompt = r"\r?\n?\x1b\[\?2004h\$ $"
    for command in (None, *SESSION):
        if command:
            shell.sendline(command)
        while shell.expect([at_prompt, r"Passphrase[^\n]*: $"]) == 1:
            received.append(shell.before + shell.after)
            shell.sendline(PASSPHRASE)
        received.append(shell.before + shell.after)
    shell.close()
    return "".join(received)


def screen_of(received):
    screen = pyte.Screen(COLUMNS, ROWS)
    pyte.Stream(screen).feed(received)
    rows = [[screen.buffer[y][x] for x in range(COLUMNS)] for y in range(ROWS)]
    while rows and not "".join(cell.data for cell in rows[-1]).strip(" $"):
        rows.pop()
    return rows


def colour_of(cell):
    return COLOURS.get(cell.fg) or f"#{cell.fg}"


def runs(row):
    """Neighbours that look alike: column, colour, weight and text."""
    begin = 0
    for x in range(1, len(row) + 1):
        if x < len(row) and (row[x].fg, row[x].bold) == (row[begin].fg, row[begin].bold):
            continue
        text = "".join(cell.data for cell in row[begin:x])
        if text.strip():
            yield begin, colour_of(row[begin]), row[begin].bold, text.rstrip()
        begin = x


def draw(rows):
    width, height = COLUMNS * WIDTH + 2 * MARGIN, len(rows) * HEIGHT + 2 * MARGIN
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:g} {height:g}" '
             f'width="{width:g}" height="{height:g}" role="img" '
             'font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="14">',
             "<title>A message is encrypted, and the answer to it is read.</title>",
             '<rect width="100%" height="100%" rx="8" fill="#1b2028"/>']
    for y, row in enumerate(rows):
        is_typed = "".join(cell.data for cell in row).startswith(PROMPT)
        for x, colour, bold, text in runs(row):
            weight = ' font-weight="bold"' if bold or is_typed else ""
            # The length keeps the columns, whatever font is used.
            lines.append(f'<text x="{MARGIN + x * WIDTH:g}" y="{MARGIN + (y + 0.75) * HEIGHT:g}" '
                         f'fill="{colour}"{weight} '
                         f'textLength="{len(text) * WIDTH:g}" lengthAdjust="spacingAndGlyphs" '
                         f'xml:space="preserve">{escape(text)}</text>')
    return "\n".join([*lines, "</svg>", ""])


def main(desk, file=pathlib.Path(__file__).resolve().parents[1] / "docs/session.svg"):
    with tempfile.TemporaryDirectory() as place:
        home = pathlib.Path(place)
        environment = prepare(home, pathlib.Path(desk).resolve())
        pathlib.Path(file).write_text(draw(screen_of(record(home, environment))))


if __name__ == "__main__":
    if not 2 <= len(sys.argv) <= 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
