"""The package for administrators: what wixl makes it from, and what wixl leaves open."""
import pathlib
import struct
import subprocess
import uuid
from xml.sax.saxutils import quoteattr

from edition import NAMES
from parts import NAMESPACE

PLUGIN = r"Software\Nimbra Communications\Corvessa Professional\Plugin"
# Editions and versions replace each other.
UPGRADE_CODE = "5d3b1c0f-7c0d-4f5e-9a55-3f0e2a7d9b61"
PROGRAMS = ("CorvessaPro_OL.dll", "corvessa_engine.dll", "corvessa-key.exe")
SUMMARY = bytes.fromhex("e0859ff2f94f6810ab9108002b27b3d9")


def identifier(*names):
    """One that stays the same from build to build; Windows Installer wants upper case."""
    return str(uuid.uuid5(NAMESPACE, "\n".join(names))).upper()


def tag(name, children="", **attributes):
    text = "".join(f" {key}={quoteattr(str(value))}" for key, value in attributes.items())
    return f"<{name}{text}>{children}</{name}>\n"


def value(root_key, name, text):
    return tag("RegistryValue", Root="HKLM", Key=root_key, Name=name, Type="string", Value=text)


def file_components(folder, top, numbers):
    """The elements of a folder's content, and the names of its components."""
    elements, names = "", []
    for path in sorted(folder.iterdir()):
        number = f"{next(numbers):03}"
        if path.is_dir():
            inner, inner_names = file_components(path, top, numbers)
            elements += tag("Directory", inner, Id=f"D{number}", Name=path.name)
            names += inner_names
            continue
        relative = path.relative_to(top).as_posix()
        elements += tag("Component",
                        tag("File", Id=f"F{number}", Name=path.name, Source=path.relative_to(top.parent), KeyPath="yes"),
                        Id=f"C{number}", Guid=identifier("component", relative))
        names.append(f"C{number}")
    return elements, names


def kept_values(edition):
    """Those that an installation keeps as it finds them, unless the command line gives them."""
    return [one for one in edition.values() if one[0] not in NAMES]


def properties(edition):
    """A search replaces what the command line says, so it has a property of its own."""
    elements, actions = "", ""
    for number, (name, kind, default) in enumerate(kept_values(edition)):
        text = f"#{default}" if kind == "DWORD" else default
        given = {"Value": text} if text else {}
        elements += tag("Property",
                        tag("RegistrySearch", Id=f"Find{name}", Root="HKLM",
                            Key=PLUGIN + r"\Version", Name=name, Type="raw"),
                        Id=f"FOUND{name.upper()}", **given)
        elements += tag("CustomAction", Id=f"Set{name}", Property=name.upper(),
                        Value=f"[FOUND{name.upper()}]")
        # After AppSearch, which is number 50.
        actions += tag("Custom", f"NOT {name.upper()}", Action=f"Set{name}", Sequence=51 + number)
    return elements, actions


def source(edition, version, files, setup_dll):
    numbers = iter(range(1000))
    elements, names = file_components(files, files, numbers)
    values = "".join(
        value(PLUGIN + r"\Version", name, default if name in NAMES else f"[{name.upper()}]")
        for name, _, default in edition.values()) + value(PLUGIN + r"\Setup", "InstalledBy", "msi")
    elements += tag("Component", values, Id="Values", Guid=identifier("component", "values"))
    menu = tag("Component",
               tag("Shortcut", Id="Help", Name="Help", Target=r"[INSTALLDIR]help\index.html") +
               tag("Shortcut", Id="Keys", Name="Keys", Target="[SystemFolder]cmd.exe",
                   Arguments='/k "[INSTALLDIR]keys.cmd"') +
               tag("RemoveFolder", Id="RemoveMenu", On="uninstall") +
               value(PLUGIN + r"\Setup", "Menu", "1"),
               Id="Menu", Guid=identifier("component", "menu"))
    menu = tag("Directory", tag("Directory", menu, Id="MenuFolder",
                                Name=edition.given["AppShortName"]), Id="ProgramMenuFolder")
    folders = tag("Directory", tag("Directory", tag("Directory", elements, Id="INSTALLDIR",
                                                    Name=edition.name), Id="ProgramFilesFolder") +
                  menu, Id="TARGETDIR", Name="SourceDir")
    long_name = edition.given["AppLongName"]
    searches, actions = properties(edition)
    product = (
        tag("Package", InstallerVersion=200, Compressed="yes", InstallScope="perMachine",
            Description=long_name, Manufacturer=edition.publisher, Comments=version) +
        tag("MajorUpgrade", DowngradeErrorMessage="A newer version is installed.") +
        tag("Media", Id=1, Cabinet="files.cab", EmbedCab="yes") +
        tag("Condition", "Privileged",
            Message=f"{long_name} is installed for all users of this computer. That needs the "
                    "rights of an administrator.") +
        tag("Condition", "VersionNT &gt;= 600", Message=f"{long_name} needs Windows Vista or later.") +
        tag("Condition", "Installed OR NOT (INSTALLEDBY = \"setup\")",
            Message=f"{long_name} was installed with its setup program. Remove it first.") +
        tag("Property", tag("RegistrySearch", Id="FindInstalledBy", Root="HKLM",
                            Key=PLUGIN + r"\Setup", Name="InstalledBy", Type="raw"),
            Id="INSTALLEDBY") +
        tag("Property", Id="ARPNOMODIFY", Value="1") +
        searches + folders +
        tag("Binary", Id="SetupDll", SourceFile=setup_dll.name) +
        tag("CustomAction", Id="CheckOutlook", BinaryKey="SetupDll",
            DllEntry="RefuseWhileOutlookRuns", Execute="immediate", Return="check") +
        tag("CustomAction", Id="ReportMissing", BinaryKey="SetupDll",
            DllEntry="ReportMissingLibraries", Execute="immediate", Return="ignore") +
        tag("InstallExecuteSequence",
            actions + tag("Custom", Action="CheckOutlook", Sequence=110) +
            # After InstallFinalize, which is number 6600.
            tag("Custom", "NOT REMOVE", Action="ReportMissing", Sequence=6610)) +
        tag("Feature", "".join(tag("ComponentRef", Id=name) for name in [*names, "Values", "Menu"]),
            Id="All", Level=1, Title=long_name))
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + tag(
        "Wix", tag("Product", product, Id=identifier("product", long_name, version), Name=long_name,
                   Language=1033, Version=version, Manufacturer=edition.publisher,
                   UpgradeCode=UPGRADE_CODE.upper()),
        xmlns="http://schemas.microsoft.com/wix/2006/wi")


def table(name, columns, types, rows, keys=1):
    lines = ["\t".join(columns), "\t".join(types), "\t".join([name, *columns[:keys]])]
    return "\r\n".join(lines + ["\t".join(map(str, row)) for row in rows]) + "\r\n"


def file_identifiers(package):
    exported = subprocess.run(["msiinfo", "export", package, "File"], check=True, text=True,
                              stdout=subprocess.PIPE).stdout
    rows = [line.rstrip("\r").split("\t") for line in exported.split("\n")[3:] if line.strip()]
    return {row[2].split("|")[-1]: row[0] for row in rows}


def fix_summary(package, code, seconds):
    """Replaces wixl's random package code and the times. Lengths stay, so that the file does."""
    data = bytearray(package.read_bytes())
    base = data.index(SUMMARY) - 28
    section = base + struct.unpack_from("<I", data, base + 44)[0]
    filetime = (seconds + 11644473600) * 10_000_000
    for index in range(struct.unpack_from("<I", data, section + 4)[0]):
        offset = struct.unpack_from("<I", data, section + 12 + 8 * index)[0] + section
        kind, = struct.unpack_from("<I", data, offset)
        if kind == 64:
            struct.pack_into("<Q", data, offset + 4, filetime)
        elif kind == 30 and data[offset + 8:offset + 9] == b"{":
            data[offset + 8:offset + 46] = ("{" + code + "}").encode()
    package.write_bytes(data)


def complete(edition, version, package, work):
    """What wixl has no words for."""
    # Windows Installer registers the DLLs by itself, and takes that back when a later step fails.
    ids = file_identifiers(package)
    order = [(ids["corvessa_engine.dll"], 1), (ids["CorvessaPro_OL.dll"], 2)]
    (work / "SelfReg.idt").write_text(table("SelfReg", ("File_", "Cost"), ("s72", "I2"), order))
    subprocess.run(["msibuild", package, "-i", work / "SelfReg.idt"], check=True)
    # The values that an administrator may give reach the part that has an administrator's rights.
    secure = ";".join(["WIX_DOWNGRADE_DETECTED", "WIX_UPGRADE_DETECTED",
                       *(name.upper() for name, _, _ in kept_values(edition))])
    for query in (
            "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) "
            "VALUES ('SelfUnregModules', 2200)",
            "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) "
            "VALUES ('SelfRegModules', 5600)",
            # Within the transaction, so that the old version comes back when the new one fails.
            "UPDATE `InstallExecuteSequence` SET `Sequence` = 1510 "
            "WHERE `Action` = 'RemoveExistingProducts'",
            # Else Windows Installer takes any file with a version for newer than these.
            *(f"UPDATE `File` SET `Version` = '{version}.0', `Language` = '1033' "
              f"WHERE `File` = '{ids[name]}'" for name in PROGRAMS),
            f"UPDATE `Property` SET `Value` = '{secure}' "
            "WHERE `Property` = 'SecureCustomProperties'"):
        subprocess.run(["msibuild", package, "-q", query], check=True)


def make(edition, version, files, setup_dll, output, work, seconds):
    text = source(edition, version, files, setup_dll)
    (work / "corvessa.wxs").write_text(text, encoding="utf-8")
    subprocess.run(["wixl", "-o", output, "corvessa.wxs"], cwd=work, check=True)
    complete(edition, version, output, work)
    content = "\n".join(path.read_bytes().hex() for path in sorted(pathlib.Path(files).rglob("*"))
                        if path.is_file())
    fix_summary(output, identifier("package", text, content), seconds)
