"""Checks the resources, imports and headers of the built Vellumd.exe."""
import pathlib
import re
import struct
import xml.etree.ElementTree as tree

ROOT = pathlib.Path(__file__).resolve().parents[2]

# DLLs that every Windows since 7 ships and that showing notes needs. The program loads other DLLs when it first uses
# them, and looks up newer functions at run time.
ALLOWED_DLLS = {
    "advapi32.dll",
    "comctl32.dll",
    "gdi32.dll",
    "gdiplus.dll",
    "kernel32.dll",
    "msvcrt.dll",
    "ole32.dll",
    "shell32.dll",
    "user32.dll",
    "wtsapi32.dll",
}
# Functions newer than Windows 7 that careless code or a newer tool chain could import.
NEWER_THAN_WINDOWS_7 = {
    "CreateFile2",
    "GetDpiForMonitor",
    "GetDpiForSystem",
    "GetDpiForWindow",
    "GetSystemTimePreciseAsFileTime",
    "GetTempPath2W",
    "SetProcessDpiAwarenessContext",
    "SetThreadDescription",
    "WaitOnAddress",
}


def version():
    text = (ROOT / "CMakeLists.txt").read_text()
    return re.search(r"project\(Vellumd VERSION ([0-9.]+)", text).group(1)


def test_loads_only_what_windows_ships_and_notes_need(image):
    dlls = {entry.dll.decode().lower() for entry in image.DIRECTORY_ENTRY_IMPORT}
    assert dlls <= ALLOWED_DLLS


def test_imports_nothing_newer_than_windows_7(image):
    names = {i.name.decode() for entry in image.DIRECTORY_ENTRY_IMPORT for i in entry.imports if i.name}
    assert not names & NEWER_THAN_WINDOWS_7
    assert (image.OPTIONAL_HEADER.MajorSubsystemVersion, image.OPTIONAL_HEADER.MinorSubsystemVersion) <= (6, 1)


def test_is_a_hardened_gui_program(image):
    header = image.OPTIONAL_HEADER
    assert header.Magic == 0x20B, "64 bits"
    assert header.Subsystem == 2, "no console"
    assert header.IMAGE_DLLCHARACTERISTICS_NX_COMPAT
    assert header.IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE
    assert header.IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA
    assert hasattr(image, "DIRECTORY_ENTRY_BASERELOC"), "it can be loaded anywhere"


def test_carries_the_contract(resource):
    assert resource(10, "OMBREL_APPLET_NOTES_CONTRACT", 1033) == struct.pack("<I", 2)


def test_carries_the_manifest(resource):
    text = resource(24, 1, 1033).decode()
    manifest = tree.fromstring(text)
    found = {}
    for element in manifest.iter():
        tag = element.tag.split("}")[1]
        found.setdefault(tag, []).append(element)
    level = found["requestedExecutionLevel"][0]
    assert (level.get("level"), level.get("uiAccess")) == ("asInvoker", "false")
    identities = {e.get("name"): e.get("version") for e in found["assemblyIdentity"]}
    assert identities == {"Vellumd": version() + ".0", "Microsoft.Windows.Common-Controls": "6.0.0.0"}
    settings = {tag: found[tag][0].text for tag in ("dpiAware", "dpiAwareness", "longPathAware", "activeCodePage")}
    assert settings == {
        "dpiAware": "True/PM",
        "dpiAwareness": "PerMonitorV2,PerMonitor",
        "longPathAware": "true",
        "activeCodePage": "UTF-8",
    }
    assert {e.get("Id") for e in found["supportedOS"]} == {
        "{35138b9a-5d96-4fbd-8e2d-a2440225f93a}",
        "{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}",
        "{1f676c76-80e1-4239-95bb-83d0f6d0da78}",
        "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}",
    }


def test_carries_one_version_everywhere(image):
    numbers = [int(part) for part in version().split(".")] + [0]
    fixed = image.VS_FIXEDFILEINFO[0]
    assert fixed.FileVersionMS == numbers[0] << 16 | numbers[1]
    assert fixed.FileVersionLS == numbers[2] << 16 | numbers[3]
    assert fixed.ProductVersionMS == fixed.FileVersionMS
    strings = {}
    for info in image.FileInfo[0]:
        for table in getattr(info, "StringTable", []):
            strings.update(table.entries)
    assert strings[b"FileVersion"].decode() == strings[b"ProductVersion"].decode() == version()


def test_carries_an_icon_in_every_common_size(resource):
    group = resource(14, 1, 1033)
    count = struct.unpack_from("<H", group, 4)[0]
    sizes = {group[6 + 14 * i] or 256 for i in range(count)}
    assert sizes == {16, 20, 24, 32, 48, 64, 256}
