// The version of an executable file: on Linux a section of the ELF file, which native_version of NativeResources.cmake
// compiles in. A version block is that section, a VS_FIXEDFILEINFO. Stateless.
#include <elf.h>
#include <windows.h>
#include <winver.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/Error.h"
#include "core/Gate.h"
#include "machine/NativePath.h"

namespace platform {
namespace {

constexpr std::string_view kSection = ".version";

// Reads one structure; false at the end of the file.
template <typename Value>
bool readAt(std::ifstream& file, std::uint64_t offset, Value& value) {
    file.seekg(static_cast<std::streamoff>(offset));
    return static_cast<bool>(file.read(reinterpret_cast<char*>(&value), sizeof value));
}

bool isNamed(std::ifstream& file, const Elf64_Shdr& names, const Elf64_Shdr& section) {
    char name[kSection.size() + 1] = {};
    return readAt(file, names.sh_offset + section.sh_name, name) &&
           std::string_view(name, sizeof name) == std::string_view(kSection.data(), sizeof name);
}

// False, with the last error set, for a file without a version.
bool readVersion(LPCWSTR path, VS_FIXEDFILEINFO& version) {
    std::string native;
    if (!nativePath(path, native)) return false;
    std::ifstream file(native, std::ios::binary);
    if (!file) return setFileError(errno, native);
    Elf64_Ehdr header;
    Elf64_Shdr names, section;
    if (!readAt(file, 0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        !readAt(file, header.e_shoff + header.e_shstrndx * sizeof names, names))
        return refuse(ERROR_RESOURCE_DATA_NOT_FOUND);
    for (unsigned i = 0; i < header.e_shnum; ++i)
        if (readAt(file, header.e_shoff + i * sizeof section, section) && isNamed(file, names, section) &&
            section.sh_size == sizeof version)
            return readAt(file, section.sh_offset, version) || refuse(ERROR_RESOURCE_DATA_NOT_FOUND);
    return refuse(ERROR_RESOURCE_TYPE_NOT_FOUND);
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD GetFileVersionInfoSizeW(LPCWSTR path, DWORD* unused) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (unused != nullptr) *unused = 0;
    VS_FIXEDFILEINFO version;
    return readVersion(path, version) ? sizeof version : 0;
}

BOOL GetFileVersionInfoW(LPCWSTR path, DWORD, DWORD size, LPVOID block) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    VS_FIXEDFILEINFO version;
    if (!readVersion(path, version)) return FALSE;
    std::memcpy(block, &version, std::min<std::size_t>(size, sizeof version));
    return TRUE;
}

// Finds only the root value: no texts are stored.
BOOL VerQueryValueW(LPCVOID block, LPCWSTR name, LPVOID* value, UINT* size) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (std::u16string_view(name) != u"\\") return refuse(ERROR_RESOURCE_TYPE_NOT_FOUND);
    *value = const_cast<LPVOID>(block);
    *size = sizeof(VS_FIXEDFILEINFO);
    return TRUE;
}
