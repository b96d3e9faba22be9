// FindFirstFileW and FindNextFileW.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>

#include "common/Handles.h"
#include "support/Files.h"
#include "support/Text.h"

TEST(FindFiles, patternIgnoresCaseAndResultsAreSorted) {
    const TempFolder folder;
    std::filesystem::create_directory(hostPath(folder / TEXT("d.json")));
    for (const WideView name : {TEXT("_.json"), TEXT("a-.json"), TEXT("a.json"), TEXT("B.JSON"), TEXT("c0.json"),
                                TEXT("c.y.json"), TEXT("c.json"), TEXT("\u017e.json"), TEXT("\u017d1.json"),
                                TEXT("Z.json"), TEXT("json"), TEXT("a.txt"), TEXT("a.json.tmp"), TEXT("ajson")})
        writeFile(folder / name, name == TEXT("a.json") ? "12345" : "");
    std::string found;
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW((folder / TEXT("*.json")).c_str(), &entry));
    ASSERT_TRUE(search);
    do {
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const DWORD size = entry.nFileSizeLow + entry.nFileSizeHigh;
        found += utf8(entry.cFileName) + (isFolder ? " folder" : size > 0 ? " " + std::to_string(size) : "") + "\n";
    } while (FindNextFileW(search.get(), &entry));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_EQ(found,
              "a-.json\na.json 5\nB.JSON\nc.json\nc.y.json\nc0.json\nd.json folder\nZ.json\n_.json\n"
              "\xC5\xBE.json\n\xC5\xBD"
              "1.json\n");
}
