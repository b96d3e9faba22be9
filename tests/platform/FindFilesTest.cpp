// Listing a folder.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <map>

#include "common/Handles.h"
#include "support/Files.h"
#include "support/Text.h"

TEST(FindFiles, patternIsMatchedWhateverItsCase) {
    const TempFolder folder;
    std::filesystem::create_directory(hostPath(folder / TEXT("d.json")));
    writeFile(folder / TEXT("a.json"), "12345");
    writeFile(folder / TEXT("B.JSON"), "");
    writeFile(folder / TEXT("x.y.json"), "1");
    for (const WideView other : {TEXT("json"), TEXT("a.txt"), TEXT("a.json.tmp"), TEXT("ajson")})
        writeFile(folder / other, "");
    std::map<std::string, std::string> found;
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW((folder / TEXT("*.json")).c_str(), &entry));
    ASSERT_TRUE(search);
    do {
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        found[utf8(entry.cFileName)] = isFolder ? "folder" : std::to_string(entry.nFileSizeLow + entry.nFileSizeHigh);
    } while (FindNextFileW(search.get(), &entry));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    const std::map<std::string, std::string> expected = {
        {"a.json", "5"}, {"B.JSON", "0"}, {"x.y.json", "1"}, {"d.json", "folder"}};
    EXPECT_EQ(found, expected);
}
