"""The other mail program: composes mails for the tests and tells what it reads in a mail file.

peer.py compose FOLDER   writes NAME.eml and, as NAME.txt, what it reads in it itself
peer.py read FILE        prints what it reads
"""

import email
import pathlib
import random
import sys
from email import policy
from email.message import EmailMessage

SMTP = policy.SMTP


def escaped(text):
    return text.replace("\r", "\\r").replace("\n", "\\n")


def mailboxes(message, field):
    return [
        f"{field.lower()}: {address.display_name}|{address.addr_spec}"
        for header in message.get_all(field, [])
        for address in header.addresses
    ]


def text_of(part):
    if part is None:
        return ""
    text = part.get_payload(decode=True).decode(part.get_content_charset("us-ascii"))
    return text.replace("\r\n", "\n").replace("\n", "\r\n")


def data_of(part):
    if part.get_content_type() == "message/rfc822":
        return part.get_content().as_bytes(policy=SMTP)
    return part.get_payload(decode=True)


def attachments(message, bodies):
    for part in message.iter_parts() if message.is_multipart() else []:
        if part.get_content_maintype() == "multipart":
            yield from attachments(part, bodies)
        elif part not in bodies:
            yield part


def described(message):
    bodies = [message.get_body((kind,)) for kind in ("plain", "html")]
    lines = []
    for field in ("From", "To", "Cc", "Bcc", "Reply-To"):
        lines += mailboxes(message, field)
    lines.append("subject: " + str(message["Subject"] or ""))
    date = message["Date"]
    lines.append(f"date: {int(date.datetime.timestamp()) if date else ''}")
    for name, value in message.items():
        if name.startswith("X-"):
            lines.append(f"{name}: {value}")
    lines += [f"{kind}: {escaped(text_of(body))}" for kind, body in zip(("text", "html"), bodies)]
    for part in attachments(message, bodies):
        inline = " inline" if part.get_content_disposition() == "inline" else ""
        lines.append(
            f"attachment: {part.get_filename('')}|{part.get_content_type()}|"
            f"{(part['Content-ID'] or '').strip('<>')}{inline}|{data_of(part).hex()}"
        )
    return "\n".join(lines) + "\n"


def new_mail(subject="A subject"):
    message = EmailMessage(policy=SMTP)
    message["From"] = "Zoë Müller <zoe@example.org>"
    message["To"] = 'bob@example.com, "Quoted, Name" <q@example.com>, 山田太郎 <taro@example.jp>'
    message["Subject"] = subject
    message["Date"] = "Sat, 21 Nov 2026 03:14:27 +0100"
    return message


def texts():
    for charset, text in {
        "us-ascii": "plain\nlines\n",
        "windows-1252": "“quotes” – 5 €\n",
        "iso-2022-jp": "こんにちは、世界。\n",
        "koi8-r": "Привет\n",
        "gb18030": "你好\n",
        "utf-8": "🔑 ключ\n",
    }.items():
        for transfer in ("quoted-printable", "base64"):
            mail = new_mail(text.replace("\n", " ").strip() * 20)
            mail.set_content(text * 40, charset=charset, cte=transfer)
            yield f"{charset}-{transfer}", mail


def structures():
    mail = new_mail()
    mail.set_content("both bodies\n")
    mail.add_alternative("<p>b\u00f6th <img src='cid:pic'></p>\n", subtype="html")
    mail.get_payload()[1].add_related(b"\x89PNG\0\r\n", "image", "png", cid="<pic>", filename="p.png", disposition="inline")
    for name in ("plain.pdf", "Übersicht für 2026 (endgültig).pdf", "日本語の長い名前" * 6 + ".pdf", 'quo"te.pdf'):
        mail.add_attachment(random.Random(name).randbytes(3000), "application", "pdf", filename=name)
    mail.add_attachment("té\n", subtype="csv", charset="latin-1", filename="t.csv")
    yield "everything", mail

    outer = new_mail("Outer")
    outer.set_content("see the mail inside\n")
    outer.add_attachment(mail, filename="inner.eml")
    yield "nested", outer

    html = new_mail()
    html.set_content("<b>only html</b>", subtype="html")
    yield "html", html


def compose(folder):
    for name, message in [*texts(), *structures()]:
        raw = message.as_bytes()
        (folder / f"{name}.eml").write_bytes(raw)
        read = email.message_from_bytes(raw, policy=SMTP)
        (folder / f"{name}.txt").write_text(described(read), encoding="utf-8")


if __name__ == "__main__":
    command, path = sys.argv[1], pathlib.Path(sys.argv[2])
    if command == "compose":
        compose(path)
    else:
        raw = path.read_bytes()
        sys.stdout.buffer.write(described(email.message_from_bytes(raw, policy=SMTP)).encode())
