"""Fixtures that read the released executable."""
import pathlib

import pefile
import pytest

BUILD = pathlib.Path(__file__).resolve().parents[2] / "build" / "windows"


@pytest.fixture(scope="session")
def image():
    return pefile.PE(str(BUILD / "Vellumd.exe"))


@pytest.fixture(scope="session")
def resource(image):
    """Returns a function that finds a resource by type, name or id, and language. It fails if there is none."""

    def find(kind, name, language):
        for by_type in image.DIRECTORY_ENTRY_RESOURCE.entries:
            if by_type.id != kind:
                continue
            for by_name in by_type.directory.entries:
                if name not in (by_name.id, str(by_name.name) if by_name.name else None):
                    continue
                for by_language in by_name.directory.entries:
                    if by_language.id == language:
                        data = by_language.data.struct
                        return image.get_data(data.OffsetToData, data.Size)
        pytest.fail(f"no resource {kind} {name} {language}")

    return find
