"""A Wine prefix as a computer on which setup runs: programs, registry, and its state to compare."""
import os
import pathlib
import re
import subprocess
import time

TOP = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(os.environ.get("CORVESSA_WINDOWS_BUILD", TOP / "build/windows"))
VERSION = re.search(r"VERSION ([0-9.]+)", (TOP / "CMakeLists.txt").read_text().split("project(")[1])[1]
# Wine's own, which changes by itself, and what the stand-in Outlook and the tests register.
NOISE = re.compile(r"\[(Software\\\\(Wine|Microsoft\\\\(Windows\\\\CurrentVersion\\\\(Explorer|"
                   r"Internet Settings|Installer\\\\(Folders|UserData\\\\[^\\]+$|UserData$))|"
                   r"Cryptography\\\\RNG|Windows NT\\\\CurrentVersion\\\\(Print|ProfileList)))|"
                   r"Software\\\\Classes\\\\(SfMl|MAPI|\.html)|Console|Volatile|System\\\\|Printers|Hardware)",
                   re.I)


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Computer:
    def __init__(self, folder):
        self.folder = folder
        self.drive = folder / "drive_c"
        self.environment = {**os.environ, "WINE_RUN_PREFIX": str(folder), "WINE_RUN_SECONDS": "300",
                            "WINEPREFIX": str(folder)}
        # The first run makes the prefix.
        subprocess.run([TOP / "tools/wine-run.sh", BUILD / "tests/windows/as_user.exe"],
                       env=self.environment, check=False)
        self.set(r"HKCU\Software\Wine\Drivers", "Graphics", "null")
        self.settle()

    def start(self, program, *arguments, **options):
        if "/" not in str(program):
            program = self.drive / "windows/system32" / f"{program}.exe"
        return subprocess.Popen([TOP / "tools/wine-run.sh", program, *arguments],
                                env=self.environment, stdout=subprocess.PIPE, text=True, **options)

    def run(self, program, *arguments):
        """Exit code and output."""
        process = self.start(program, *arguments)
        output = process.communicate()[0]
        return process.returncode, output

    def settle(self):
        """All programs have ended and the registry is on disk."""
        for option in "-k", "-w":
            subprocess.run(["wineserver", option], env=self.environment, check=False)

    def value(self, key, name):
        found = re.search(rf"^    {name}    REG_\w+ *(.*?)\r?$",
                          self.run("reg", "query", key, "/v", name)[1], re.M)
        return found and found[1]

    def set(self, key, name, data):
        kind = "REG_DWORD" if isinstance(data, int) else "REG_SZ"
        assert self.run("reg", "add", key, *(["/v", name] if name else ["/ve"]), "/t", kind, "/d",
                        str(data), "/f")[0] == 0

    def state(self):
        """All files, and all keys of the registry with their values."""
        self.settle()
        files = {path.relative_to(self.drive).as_posix() for path in self.drive.rglob("*")
                 if not {"Temp", "temp", "Installer"} & set(path.parts)}
        keys = {}
        for hive in ("system.reg", "user.reg"):
            for block in (self.folder / hive).read_text(encoding="latin-1").split("\n\n"):
                lines = [line for line in block.strip().splitlines() if not line.startswith("#")]
                if lines and lines[0].startswith("[") and not NOISE.match(lines[0]):
                    keys[hive + lines[0].rsplit("]", 1)[0]] = sorted(lines[1:])
        return files, keys

    def uninstall(self, *arguments):
        uninstaller = next(self.drive.rglob("uninstall.exe"))
        code, _ = self.run(uninstaller, "/S", *arguments)
        # The uninstaller works from a copy, so that it can delete itself.
        for _ in range(100):
            if not uninstaller.parent.exists():
                break
            time.sleep(0.1)
        return code


def differences(before, after):
    """Files and registry keys that are not in both states, or not the same."""
    keys = {key for key in before[1].keys() | after[1].keys()
            if before[1].get(key) != after[1].get(key)}
    return before[0] ^ after[0] | keys
