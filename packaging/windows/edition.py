"""An edition: the folder that holds a brand's names, values, pictures and pages."""
import configparser
import pathlib
import re

# The fixed values that the add-in reads. A switch is a number, all others are texts.
REQUIRED = ("AppShortName", "AppLongName", "EnginePGPMessageHeader", "EnginePGPSignatureHeader",
            "URLMain", "URLHelp", "URLHelpAddInstructions", "URLTools", "URLKeyGen",
            "URLPassphrase")
OPTIONAL = ("EngineCustomerID", "EngineLookupServer", "EngineUpdateServer", "URLIMAPInfo",
            "URLIMAPCheck", "URLUpdate")
SWITCHES = ("DisableInternetMode", "DisableCorporateOrWorkgroupMode",
            "DisableAutoDecryptAttachments", "DisableKeyGen", "NoToolbarButtonText", "ADKEnabled")
# What names the edition; a setup always writes these, and keeps all others that it finds.
NAMES = ("AppShortName", "AppLongName")
# What stands round each help page: the head and the menu.
FRAME = "frame.html"
# The add-in reads texts into a buffer of 255 bytes.
LONGEST = 254


class EditionError(Exception):
    pass


def bmp_size(data):
    if data[:2] == b"BM" and len(data) > 26:
        return int.from_bytes(data[18:22], "little"), abs(int.from_bytes(data[22:26], "little",
                                                                         signed=True))
    return None


def gif_size(data):
    if data[:6] in (b"GIF87a", b"GIF89a") and len(data) > 10:
        return int.from_bytes(data[6:8], "little"), int.from_bytes(data[8:10], "little")
    return None


def jpeg_size(data):
    if data[:2] != b"\xff\xd8":
        return None
    at = 2
    while at + 9 < len(data) and data[at] == 0xFF:
        marker, length = data[at + 1], int.from_bytes(data[at + 2:at + 4], "big")
        if 0xC0 <= marker <= 0xCF and marker not in (0xC4, 0xC8, 0xCC):
            return (int.from_bytes(data[at + 7:at + 9], "big"),
                    int.from_bytes(data[at + 5:at + 7], "big"))
        at += 2 + length
    return None


# Name, kind, what reads its size, and the largest width; the height is part of the name.
PICTURES = (("16x16Icon.bmp", "BMP", bmp_size, 16, 16), ("48hLogo.gif", "GIF", gif_size, 320, 48),
            ("59hSplashImage.jpg", "JPEG", jpeg_size, 400, 59))


class Edition:
    """Reads and checks a folder. Raises EditionError with all that is wrong, a line each."""

    def __init__(self, folder, default_pages):
        self.folder = pathlib.Path(folder)
        self.default_pages = pathlib.Path(default_pages)
        self.problems = []
        parser = configparser.ConfigParser(interpolation=None)
        # Names of values are case-sensitive.
        parser.optionxform = str
        try:
            if not parser.read(self.folder / "edition.ini", encoding="utf-8"):
                raise EditionError(f"{self.folder / 'edition.ini'} is missing")
            self.given = dict(parser["values"])
            self.name = parser.get("edition", "name", fallback="")
            self.publisher = parser.get("edition", "publisher", fallback="")
        except (configparser.Error, KeyError, UnicodeDecodeError) as problem:
            raise EditionError(f"edition.ini: {problem}") from problem
        self.pages = {page.name: page for place in (self.default_pages, self.folder / "help")
                      if place.is_dir() for page in sorted(place.iterdir()) if page.is_file()}
        self.frame = self.pages.pop(FRAME)
        self.check_names()
        self.check_values()
        self.check_pictures()
        if self.problems:
            raise EditionError("\n".join(self.problems))

    def check_names(self):
        if not re.fullmatch(r"[A-Za-z0-9][A-Za-z0-9-]*", self.name):
            self.problems.append(f"edition.ini: name is \"{self.name}\"; it needs letters, digits "
                                 "and hyphens only")
        if not self.publisher:
            self.problems.append("edition.ini: publisher is missing")

    def check_values(self):
        for name in self.given:
            if name not in REQUIRED + OPTIONAL + SWITCHES:
                self.problems.append(f"edition.ini: {name} is not a value of the product")
        for name in REQUIRED:
            if not self.given.get(name):
                self.problems.append(f"edition.ini: {name} is missing")
        for name, text in self.given.items():
            if len(text.encode("utf-8")) > LONGEST:
                self.problems.append(f"edition.ini: {name} is longer than {LONGEST} bytes")
            if name in SWITCHES and text not in ("0", "1"):
                self.problems.append(f"edition.ini: {name} is \"{text}\"; it must be 0 or 1")
            if any(character in text for character in "\"$`[]"):
                self.problems.append(f"edition.ini: {name} holds one of \" $ ` [ ]")
            if name.startswith("URL") and text and not self.is_page(text):
                self.problems.append(f"edition.ini: {name} is \"{text}\"; it must be an http or "
                                     "https address or help:PAGE with a page of the edition")

    def is_page(self, text):
        if text.startswith("help:"):
            return text[5:] in self.pages
        return re.match(r"https?://[^\s/]", text) is not None

    def check_pictures(self):
        for name, kind, size_of, width, height in PICTURES:
            path = self.folder / "Customization" / name
            size = size_of(path.read_bytes()) if path.is_file() else None
            if not path.is_file():
                self.problems.append(f"Customization/{name} is missing")
            elif size is None:
                self.problems.append(f"Customization/{name} is not a {kind} picture")
            elif size[1] != height or not 0 < size[0] <= width:
                self.problems.append(f"Customization/{name} is {size[0]} x {size[1]} pixels; it "
                                     f"must be {height} high and at most {width} wide")

    def values(self):
        """Name, kind ("Str" or "DWORD") and what setup writes, in a fixed order."""
        return ([(name, "Str", self.given.get(name, "")) for name in REQUIRED + OPTIONAL] +
                [(name, "DWORD", self.given.get(name, "0")) for name in SWITCHES])

    def page_text(self, path):
        """A page as it is installed: in the frame that all share, unless it is whole by itself. The
        product's pages name the product; those of another edition name that."""
        text = path.read_text(encoding="utf-8")
        title = re.match(r"<h1>(.*?)</h1>\n", text)
        if title:
            frame = self.frame.read_text(encoding="utf-8")
            text = frame.replace("@TITLE@", title[1]).replace("@CONTENT@", text)
        text = text.replace("Corvessa Professional for Outlook", self.given["AppLongName"])
        return text.replace("Corvessa", self.given["AppShortName"])
