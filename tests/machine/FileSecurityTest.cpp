// Owner and DACL of files, links, and what open files below a folder mean to it. Wine adds an entry of its own to each
// DACL, cannot open a link as itself, lets folders with open files be renamed, and renames without the right to it.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <aclapi.h>

#include <csignal>
#include <cstring>

#include "common/Handles.h"
#include "machine/MachineFixture.h"
#include "support/Files.h"
#include "support/Text.h"

using namespace platform;

namespace {

constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kFolder = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
const std::string kOperator = "S-1-5-21-1004336348-1177238915-682003330-1001";

using Bytes = std::vector<BYTE>;

FileHandle open(const WCHAR* path, DWORD access, DWORD share = kAll, DWORD flags = kFolder) {
    return FileHandle(CreateFileW(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr));
}

std::string sidText(PSID sid) {
    std::string text = "S-1-" + std::to_string(static_cast<SID*>(sid)->IdentifierAuthority.Value[5]);
    for (DWORD i = 0; i < *GetSidSubAuthorityCount(sid); ++i)
        text += "-" + std::to_string(*GetSidSubAuthority(sid, i));
    return text;
}

// "owner: holder mask flags, holder mask flags", or the error.
std::string security(HANDLE file) {
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                        &owner, nullptr, &list, nullptr, &descriptor);
    if (error != 0) return "error " + std::to_string(error);
    std::string told = sidText(owner) + ":";
    for (DWORD i = 0; i < list->AceCount; ++i) {
        void* entry = nullptr;
        EXPECT_TRUE(GetAce(list, i, &entry));
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
        char numbers[32];
        std::snprintf(numbers, sizeof numbers, " %x %x", allowed->Mask, allowed->Header.AceFlags);
        told += " " + sidText(&allowed->SidStart) + numbers;
    }
    void* entry = nullptr;
    EXPECT_FALSE(GetAce(list, list->AceCount, &entry));
    LocalFree(descriptor);
    return told;
}

// A descriptor of one owner and one holder of all rights, who may be the same.
struct Private {
    Private(PSID owner, PSID holder) {
        EXPLICIT_ACCESSW entry = {FILE_ALL_ACCESS, SET_ACCESS, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE, {}};
        entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
        entry.Trustee.TrusteeType = TRUSTEE_IS_USER;
        entry.Trustee.ptstrName = static_cast<LPWSTR>(holder);
        EXPECT_EQ(SetEntriesInAclW(1, &entry, nullptr, &list), 0U);
        EXPECT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
        EXPECT_TRUE(SetSecurityDescriptorOwner(&descriptor, owner, FALSE));
        EXPECT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE));
        EXPECT_TRUE(SetSecurityDescriptorControl(&descriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED));
    }
    ~Private() { LocalFree(list); }
    PACL list = nullptr;
    SECURITY_DESCRIPTOR descriptor = {};
    SECURITY_ATTRIBUTES attributes = {sizeof(SECURITY_ATTRIBUTES), &descriptor, FALSE};
};

Bytes userSid() {
    WaitHandle token;
    Bytes data(100);
    DWORD needed = 0;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()));
    EXPECT_TRUE(GetTokenInformation(token.get(), TokenUser, data.data(), 100, &needed));
    TOKEN_USER user;
    std::memcpy(&user, data.data(), sizeof user);
    Bytes sid(GetLengthSid(user.User.Sid));
    CopySid(static_cast<DWORD>(sid.size()), sid.data(), user.User.Sid);
    return sid;
}

mode_t modeOf(const WCHAR* path) {
    struct stat status = {};
    EXPECT_EQ(stat(hostPath(path).c_str(), &status), 0);
    return status.st_mode & 0777;
}

// Another process, which does `body` and then waits to be ended.
class Other {
  public:
    template <typename Body>
    explicit Other(Body body) {
        int ready[2] = {-1, -1};
        EXPECT_EQ(pipe(ready), 0);
        child_ = fork();
        if (child_ == 0) {
            const bool done = body();
            [[maybe_unused]] const ssize_t told = write(ready[1], done ? "y" : "n", 1);
            for (;;)
                pause();
        }
        char answer = 0;
        EXPECT_EQ(read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(ready[0]);
        close(ready[1]);
    }
    ~Other() { end(); }
    void end() {
        if (child_ <= 0) return;
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        child_ = 0;
    }

  private:
    pid_t child_ = 0;
};

}  // namespace

TEST_F(MachineTest, modeBitsAreEntries) {
    writeFile(TEXT("C:\\f"), "x");
    const std::string full = " 1f01ff 0", admins = " S-1-5-32-544", everyone = " S-1-1-0";
    const struct {
        mode_t mode;
        std::string entries;
    } rows[] = {{0600, " " + kOperator + full},
                {0700, " " + kOperator + full},
                {0400, " " + kOperator + " 120089 0"},
                {0640, " " + kOperator + full + admins + " 120089 0"},
                {0602, " " + kOperator + full + everyone + " 120116 0"},
                {0004, everyone + " 120089 0"},
                {0000, ""}};
    for (const auto& row : rows) {
        chmod(hostPath(TEXT("C:\\f")).c_str(), row.mode);
        const FileHandle file = open(TEXT("C:\\f"), READ_CONTROL);
        EXPECT_EQ(security(file.get()), kOperator + ":" + row.entries) << std::oct << row.mode;
    }
    EXPECT_EQ(security(open(TEXT("C:\\f"), FILE_READ_ATTRIBUTES).get()), "error 5");
    CreateDirectoryW(TEXT("C:\\d"), nullptr);
    chmod(hostPath(TEXT("C:\\d")).c_str(), 0700);
    EXPECT_EQ(security(open(TEXT("C:\\d"), READ_CONTROL).get()), kOperator + ": " + kOperator + " 1f01ff 3");
    describe("[user operator]\nprofile = C:\\Users\\operator\nuid = 54321\n");
    const std::string somebody = "S-1-5-21-0-0-0-" + std::to_string(geteuid());
    EXPECT_EQ(security(open(TEXT("C:\\d"), READ_CONTROL).get()), somebody + ": " + somebody + " 1f01ff 3")
        << "an owner whom the machine does not know";
    EXPECT_EQ(faults::openAllocations(), 0U);
}

TEST_F(MachineTest, newFilesAndFoldersAreTheOwnersAlone) {
    const mode_t before = umask(0);
    Bytes user = userSid();
    Private own(user.data(), user.data());
    const FileHandle file(CreateFileW(TEXT("C:\\lock"), GENERIC_READ | READ_CONTROL, 0, &own.attributes, OPEN_ALWAYS,
                                      FILE_FLAG_OPEN_REPARSE_POINT | FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_EQ(security(file.get()), kOperator + ": " + kOperator + " 1f01ff 0");
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\store"), &own.attributes));
    umask(0777);
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\hidden"), &own.attributes));
    umask(before);
    EXPECT_EQ(modeOf(TEXT("C:\\lock")), 0600U);
    EXPECT_EQ(modeOf(TEXT("C:\\store")), 0700U);
    EXPECT_EQ(modeOf(TEXT("C:\\hidden")), 0700U);
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\store\\below"), nullptr));
    writeFile(TEXT("C:\\f"), "x");
    EXPECT_TRUE(FileHandle(CreateFileW(TEXT("C:\\store\\f"), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr)));
    EXPECT_EQ(modeOf(TEXT("C:\\store\\below")), 0700U) << "inherited";
    EXPECT_EQ(modeOf(TEXT("C:\\store\\f")), 0600U) << "inherited";
    chmod(hostPath(TEXT("C:\\f")).c_str(), 0644);
    EXPECT_TRUE(FileHandle(CreateFileW(TEXT("C:\\f"), GENERIC_READ, 0, &own.attributes, OPEN_ALWAYS, 0, nullptr)));
    EXPECT_EQ(modeOf(TEXT("C:\\f")), 0644U) << "what is there keeps its security";

    Bytes everyone = {1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0}, system = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0},
          unknown = {1, 1, 0, 0, 0, 0, 0, 5, 99, 0, 0, 0};
    Private open_(user.data(), everyone.data());
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\open"), &open_.attributes));
    EXPECT_EQ(modeOf(TEXT("C:\\open")), 0007U);
    Private others(user.data(), system.data()), nobodys(unknown.data(), user.data());
    EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\no"), &others.attributes));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_ACL});
    EXPECT_FALSE(
        FileHandle(CreateFileW(TEXT("C:\\no"), GENERIC_WRITE, 0, &nobodys.attributes, CREATE_NEW, 0, nullptr)));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_OWNER});
    EXPECT_FALSE(exists(TEXT("C:\\no")));
    if (geteuid() == 0) {  // others may give nothing away
        Private systems(system.data(), system.data());
        EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\system"), &systems.attributes));
        EXPECT_EQ(security(open(TEXT("C:\\system"), READ_CONTROL).get()), "S-1-5-18: S-1-5-18 1f01ff 3");
    }
}

TEST_F(MachineTest, linksAreOpenedAsThemselvesOrFollowed) {
    CreateDirectoryW(TEXT("C:\\real"), nullptr);
    writeFile(TEXT("C:\\real\\f"), "x");
    std::filesystem::create_directory_symlink(folder() / "drive_c/real", folder() / "drive_c/junction");
    std::filesystem::create_symlink(folder() / "drive_c/real/f", folder() / "drive_c/link");
    std::filesystem::create_symlink(folder() / "drive_c/none", folder() / "drive_c/dangling");
    const DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT, kDirectory = FILE_ATTRIBUTE_DIRECTORY;
    const struct {
        const WCHAR* path;
        DWORD flags, error, attributes;
    } rows[] = {
        {TEXT("C:\\junction"), kFolder, 0, kLink | kDirectory},
        {TEXT("C:\\junction"), FILE_FLAG_BACKUP_SEMANTICS, 0, kDirectory},
        {TEXT("C:\\junction"), FILE_FLAG_OPEN_REPARSE_POINT, ERROR_ACCESS_DENIED, 0},
        {TEXT("C:\\junction\\f"), FILE_FLAG_OPEN_REPARSE_POINT, 0, 0},
        {TEXT("C:\\link"), FILE_FLAG_OPEN_REPARSE_POINT, 0, kLink},
        {TEXT("C:\\link"), 0, 0, 0},
        {TEXT("C:\\dangling"), FILE_FLAG_OPEN_REPARSE_POINT, 0, kLink},
        {TEXT("C:\\dangling"), 0, ERROR_FILE_NOT_FOUND, 0},
    };
    for (const auto& row : rows) {
        const FileHandle file = open(row.path, READ_CONTROL, kAll, row.flags);
        EXPECT_EQ(file ? 0 : GetLastError(), row.error) << utf8(row.path) << row.flags;
        BY_HANDLE_FILE_INFORMATION told = {};
        EXPECT_EQ(GetFileInformationByHandle(file.get(), &told) != FALSE, row.error == 0);
        EXPECT_EQ(told.dwFileAttributes & (kLink | kDirectory), row.attributes) << utf8(row.path) << row.flags;
    }
    for (const DWORD flags : {DWORD{0}, DWORD{FILE_FLAG_OPEN_REPARSE_POINT}}) {
        EXPECT_FALSE(FileHandle(CreateFileW(TEXT("C:\\link"), GENERIC_WRITE, 0, nullptr, CREATE_NEW, flags, nullptr)));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_EXISTS});
    }
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(TEXT("C:\\junctio*"), &entry));
    EXPECT_EQ(entry.dwFileAttributes, kLink | kDirectory);
}

TEST_F(MachineTest, openFileKeepsAllFoldersAboveIt) {
    std::filesystem::create_directories(folder() / "drive_c/a/b");
    writeFile(TEXT("C:\\a\\b\\f"), "x");
    FileHandle claimed = open(TEXT("C:\\a"), FILE_LIST_DIRECTORY, 3);
    const std::u16string target = u"C:\\c";
    Bytes request(offsetof(FILE_RENAME_INFO, FileName) + 8);
    request[offsetof(FILE_RENAME_INFO, FileNameLength)] = 8;
    std::memcpy(request.data() + offsetof(FILE_RENAME_INFO, FileName), target.data(), 8);
    const auto rename = [&] {
        return SetFileInformationByHandle(claimed.get(), FileRenameInfo, request.data(), 28) ? 0 : GetLastError();
    };
    EXPECT_EQ(rename(), DWORD{ERROR_ACCESS_DENIED}) << "a handle without DELETE";
    claimed.reset();
    claimed = open(TEXT("C:\\a"), FILE_LIST_DIRECTORY | DELETE, 3);
    ASSERT_TRUE(claimed);
    {
        Other other([] { return open(TEXT("C:\\a\\b\\f"), READ_CONTROL).release() != INVALID_HANDLE_VALUE; });
        EXPECT_EQ(rename(), DWORD{ERROR_ACCESS_DENIED});
    }
    {
        const FileHandle below = open(TEXT("C:\\a\\b"), FILE_LIST_DIRECTORY);
        EXPECT_EQ(rename(), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_EQ(rename(), 0U);
    EXPECT_TRUE(exists(TEXT("C:\\c\\b\\f")));
}

TEST_F(MachineTest, folderPinsHoldBetweenProcessesAndEndWithThem) {
    CreateDirectoryW(TEXT("C:\\a"), nullptr);
    CreateDirectoryW(TEXT("C:\\a\\queue"), nullptr);
    const auto claim = [] { return open(TEXT("C:\\a\\queue"), FILE_LIST_DIRECTORY | DELETE, 3) ? 0 : GetLastError(); };
    const auto move = [](const WCHAR* path) { return MoveFileExW(path, TEXT("C:\\moved"), 0) ? 0 : GetLastError(); };
    Other other([] { return open(TEXT("C:\\a\\queue"), FILE_LIST_DIRECTORY, 3).release() != INVALID_HANDLE_VALUE; });
    EXPECT_EQ(claim(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(move(TEXT("C:\\a\\queue")), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(move(TEXT("C:\\a")), DWORD{ERROR_ACCESS_DENIED}) << "nor a folder above it";
    other.end();
    EXPECT_EQ(claim(), 0U);
    EXPECT_EQ(move(TEXT("C:\\a")), 0U);
}
