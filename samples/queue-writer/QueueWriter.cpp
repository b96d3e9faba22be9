// A writer of private queues, as a model for others. It uses calls of Windows only. docs/private-queues.md describes
// what a writer must do, samples/recover-queues.sh shows this one at work.
#include <windows.h>

#include <aclapi.h>
#include <ntsecapi.h>
#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* kUsage =
    "usage: vellum-queue-writer [OPTION...] PROGRAM [FILE...]\n"
    "Puts notes into the private queue of this logon, prints its name, and starts PROGRAM (Vellumd) to show it.\n"
    "Each FILE is a note in JSON with a name like note_1.json\n"
    "  --no-display    starts no display\n"
    "  --queue NAME    uses this queue, which may be another logon's, and starts no display\n"
    "  --hold          after writing prints \"held\" and holds the lock of the queue until its input ends\n"
    "Exit codes: 0 done, 1 wrong arguments, 2 failed, 3 the queue is in use, try again later\n";
enum ExitCode { kDone, kWrongArguments, kFailed, kInUse };
using Text = std::basic_string<WCHAR>;
using Bytes = std::vector<BYTE>;
constexpr std::size_t kMostNotes = 128, kMostNoteBytes = 2 << 20, kMostQueueBytes = 32 << 20;

void print(std::FILE* stream, const Text& line) {
    std::string bytes(line.size() * 3, '\0');  // UTF-8 needs no more
    const int size = WideCharToMultiByte(CP_UTF8, 0, line.data(), static_cast<int>(line.size()), bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, nullptr);
    std::fprintf(stream, "%.*s\n", size, bytes.c_str());
    std::fflush(stream);
}

Text hex(ULONGLONG value, int digits) {
    Text text;
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        text += TEXT("0123456789ABCDEF")[(value >> shift) & 15];
    return text;
}

struct Failure {
    Text reason;
    ExitCode code = kFailed;
};

[[noreturn]] void fail(const Text& what, DWORD error) {
    const std::string number = std::to_string(error);
    throw Failure{what + TEXT(": Windows error ") + Text(number.begin(), number.end())};
}

void require(bool isDone, const Text& what) {
    if (!isDone) fail(what, GetLastError());
}

struct Closer {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, Closer>;

Handle openFile(const Text& path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD how) {
    const HANDLE file = CreateFileW(path.c_str(), access, share, security, how, FILE_ATTRIBUTE_NORMAL, nullptr);
    return Handle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

// For two seconds. Afterwards the last error is that of the last attempt.
template <typename Attempt>
bool tryAgain(Attempt attempt) {
    for (int i = 0; i < 40; ++i) {
        if (i > 0) Sleep(50);
        if (attempt()) return true;
    }
    return false;
}

Bytes tokenData(TOKEN_INFORMATION_CLASS what) {
    HANDLE token = nullptr;
    require(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token), TEXT("the token"));
    const Handle owned(token);
    DWORD size = 0;
    GetTokenInformation(token, what, nullptr, 0, &size);
    Bytes data(size);
    require(GetTokenInformation(token, what, data.data(), size, &size), TEXT("the token"));
    return data;
}

// Session and logon id may come again after a restart, but not with the same time. A name with 0 stops every pass.
Text queueOfLogon() {
    DWORD session = 0;
    require(ProcessIdToSessionId(GetCurrentProcessId(), &session), TEXT("the session"));
    LUID id = reinterpret_cast<const TOKEN_STATISTICS*>(tokenData(TokenStatistics).data())->AuthenticationId;
    SECURITY_LOGON_SESSION_DATA* data = nullptr;
    const NTSTATUS status = LsaGetLogonSessionData(&id, &data);
    if (status != 0 || data == nullptr) fail(TEXT("the logon session"), LsaNtStatusToWinError(status));
    const ULONGLONG time = static_cast<ULONGLONG>(data->LogonTime.QuadPart);
    LsaFreeReturnBuffer(data);
    if (session == 0 || (id.LowPart == 0 && id.HighPart == 0) || time == 0)
        throw Failure{TEXT("this process is in no logon of a user at a desktop")};
    return TEXT("applet-") + hex(session, 8) + TEXT("-") + hex(static_cast<DWORD>(id.HighPart), 8) +
           hex(id.LowPart, 8) + TEXT("-") + hex(time, 16);
}

// O:<user>D:P(A;OICI;FA;;;<user>), made once. It names the owner because files of an elevated process otherwise belong
// to the group Administrators, and Vellumd refuses those.
SECURITY_ATTRIBUTES* userAlone() {
    static const Bytes user = tokenData(TokenUser);
    static PACL list = nullptr;
    static SECURITY_DESCRIPTOR descriptor = {};
    static SECURITY_ATTRIBUTES attributes = {sizeof attributes, &descriptor, FALSE};
    if (list != nullptr) return &attributes;
    const PSID sid = reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
    const TRUSTEE_W trustee = {nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_SID, TRUSTEE_IS_USER, static_cast<LPWSTR>(sid)};
    EXPLICIT_ACCESS_W entry = {FILE_ALL_ACCESS, SET_ACCESS, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE, trustee};
    const DWORD error = SetEntriesInAclW(1, &entry, nullptr, &list);
    if (error != ERROR_SUCCESS) fail(TEXT("the access list"), error);
    require(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) &&
                SetSecurityDescriptorOwner(&descriptor, sid, FALSE) &&
                SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE) &&
                SetSecurityDescriptorControl(&descriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED),
            TEXT("the security descriptor"));
    return &attributes;
}

Bytes readFile(const Text& path) {
    const Handle file = openFile(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING);
    LARGE_INTEGER size = {};
    require(file && GetFileSizeEx(file.get(), &size), path);
    Bytes bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD moved = 0;
    require(ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &moved, nullptr), path);
    if (bytes.empty() || moved != bytes.size()) throw Failure{path + TEXT(": empty, or not read to its end")};
    return bytes;
}

bool isNoteName(const Text& name) {
    constexpr const WCHAR* kAllowed = TEXT("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.");
    return name.size() >= 10 && name.size() <= 96 && name.starts_with(TEXT("note_")) && name.ends_with(TEXT(".json")) &&
           name.find(TEXT("..")) == Text::npos && name.find_first_not_of(kAllowed) == Text::npos;
}

struct Note {
    Text name;
    Bytes bytes;
};

Note readNote(const Text& file) {
    const Text name = file.substr(file.find_last_of(TEXT("\\/")) + 1);
    if (!isNoteName(name)) throw Failure{name + TEXT(": a private note cannot have this name")};
    Note note = {name, readFile(file)};
    if (note.bytes.size() > kMostNoteBytes) throw Failure{file + TEXT(": larger than 2 MiB")};
    return note;
}

// Free to choose (SHA-256, say), but other ones for another program: Windows does not replace a program that runs.
Text digitsFor(const Bytes& program) {
    ULONGLONG sum = 0xCBF29CE484222325;  // FNV-1a
    for (const BYTE byte : program)
        sum = (sum ^ byte) * 0x100000001B3;
    return hex(sum, 16) + Text(48, TEXT('0'));
}

class Store {
  public:
    Store() {
        WCHAR path[MAX_PATH];
        const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path);
        if (FAILED(result)) fail(TEXT("the folder for local data"), static_cast<DWORD>(result));
        root_ = path + Text(TEXT("\\OmbrelAppletNotes"));
        makeFolder(root_);
        makeFolder(pathOf(TEXT("runtime")));
    }
    Text pathOf(const Text& name) const { return root_ + TEXT("\\") + name; }

    void makeFolder(const Text& path) {
        require(CreateDirectoryW(path.c_str(), userAlone()) || GetLastError() == ERROR_ALREADY_EXISTS, path);
    }

    // The file appears whole or not at all. Nobody looks for the temporary file in "runtime", but one that a writer
    // leaves in a queue when it dies counts as content for good.
    void writeWhole(const Text& path, const Bytes& bytes) {
        const Text temporary = pathOf(TEXT("runtime\\") + hex(GetCurrentProcessId(), 8) + TEXT(".tmp"));
        Handle file = openFile(temporary, GENERIC_WRITE, 0, userAlone(), CREATE_ALWAYS);
        DWORD moved = 0;
        bool isDone = file && WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &moved, nullptr) &&
                      moved == bytes.size() && FlushFileBuffers(file.get());
        DWORD error = GetLastError();
        file.reset();
        if (isDone)
            tryAgain([&] {  // 5: a display reads the note that this one replaces
                isDone =
                    MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
                error = GetLastError();
                return isDone || error != ERROR_ACCESS_DENIED;
            });
        if (isDone) return;
        DeleteFileW(temporary.c_str());
        fail(path, error);
    }

    Text stage(const Text& program) {
        const Bytes bytes = readFile(program);
        const Text folder = pathOf(TEXT("runtime\\") + digitsFor(bytes)), copy = folder + TEXT("\\Vellumd.exe");
        makeFolder(folder);
        if (GetFileAttributesW(copy.c_str()) == INVALID_FILE_ATTRIBUTES) writeWhole(copy, bytes);
        return copy;
    }

    // Vellumd shows no queue that is above its limits.
    void requireRoom(const Text& queue, const std::vector<Note>& notes) const {
        std::size_t count = notes.size(), sum = 0;
        for (const Note& note : notes)
            sum += note.bytes.size();
        WIN32_FIND_DATAW entry = {};
        const HANDLE search = FindFirstFileW(pathOf(queue + TEXT("\\*.json")).c_str(), &entry);
        for (bool found = search != INVALID_HANDLE_VALUE; found; found = FindNextFileW(search, &entry)) {
            if (std::ranges::find(notes, entry.cFileName, &Note::name) != notes.end()) continue;  // will be replaced
            ++count;
            sum += entry.nFileSizeLow;
        }
        if (search != INVALID_HANDLE_VALUE) FindClose(search);
        if (count > kMostNotes || sum > kMostQueueBytes)
            throw Failure{TEXT("the queue would have more than 128 notes or 32 MiB")};
    }

    // A lock is a file that is open without sharing. While one is held (32), this process does not keep the others.
    std::vector<Handle> lock(const std::vector<Text>& names) {
        std::vector<Handle> locks;
        const bool isDone = tryAgain([&] {
            locks.clear();
            for (const Text& name : names) {
                locks.push_back(openFile(pathOf(name), GENERIC_READ, 0, userAlone(), OPEN_ALWAYS));
                require(locks.back() || GetLastError() == ERROR_SHARING_VIOLATION, pathOf(name));
                if (!locks.back()) return false;
            }
            return true;
        });
        if (!isDone) throw Failure{TEXT("the queue is in use: Windows error 32"), kInUse};
        return locks;
    }

    bool isDisplayed(const Text& queue) const {
        const DWORD any = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        return !openFile(pathOf(queue + TEXT("\\.display.lock")), GENERIC_READ, any, nullptr, OPEN_EXISTING) &&
               GetLastError() == ERROR_SHARING_VIOLATION;
    }

  private:
    Text root_;
};

// Windows then recovers the queues at each logon. Vellumd removes the value when every queue is empty.
void setRunValue(const Text& program) {
    const Text command = TEXT("\"") + program + TEXT("\" --applet-recover");
    const DWORD size = static_cast<DWORD>((command.size() + 1) * sizeof(WCHAR));
    HKEY key = nullptr;
    LSTATUS error = RegCreateKeyExW(HKEY_CURRENT_USER, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run"), 0,
                                    nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
    const BYTE* const bytes = reinterpret_cast<const BYTE*>(command.c_str());
    if (error == ERROR_SUCCESS) error = RegSetValueExW(key, TEXT("OmbrelAppletNotes"), 0, REG_SZ, bytes, size);
    RegCloseKey(key);
    if (error != ERROR_SUCCESS) fail(TEXT("the value in the Run key"), static_cast<DWORD>(error));
}

// A display exits with 15 if another process works in the store when it starts, so look whether one stays.
void show(const Store& store, const Text& program, const Text& queue) {
    Text command = TEXT("\"") + program + TEXT("\" --applet-queue -i ") + queue;
    const auto isShown = [&] { return store.isDisplayed(queue); };
    for (int i = 0; i < 3 && !isShown(); ++i) {
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION made = {};
        require(CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                               &made),
                program);
        const Handle thread(made.hThread), process(made.hProcess);
        if (tryAgain(isShown)) return;
    }
    if (!isShown()) throw Failure{TEXT("the queue is written, but its display exits: ") + program};
}

struct Options {
    Text queue;
    bool hold = false, noDisplay = false;
    std::vector<Text> words;  // the program, the notes
};

bool readOptions(Options& options) {
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i) {
        const Text argument = arguments[i];
        if (argument == TEXT("--no-display"))
            options.noDisplay = true;
        else if (argument == TEXT("--queue") && i + 1 < count)
            options.queue = arguments[++i];
        else if (argument == TEXT("--hold"))
            options.hold = true;
        else
            options.words.push_back(argument);
    }
    LocalFree(arguments);
    if (!options.queue.empty() && !options.queue.starts_with(TEXT("applet-"))) return false;
    return !options.words.empty() && !options.words.front().starts_with(TEXT("--"));
}

void run(const Options& options) {
    std::vector<Note> notes;
    for (std::size_t i = 1; i < options.words.size(); ++i)
        notes.push_back(readNote(options.words[i]));
    const Text queue = options.queue.empty() ? queueOfLogon() : options.queue;
    Store store;
    if (options.queue.empty()) store.makeFolder(store.pathOf(queue));
    const Text program = store.stage(options.words.front());
    {
        std::vector<Handle> locks = store.lock({TEXT(".lifecycle.lock"), queue + TEXT("\\.writer.lock")});
        store.requireRoom(queue, notes);
        setRunValue(program);
        // Vellumd removes the value under this lock, but not while somebody writes or a queue has notes.
        locks.front().reset();
        for (const Note& note : notes)
            store.writeWhole(store.pathOf(queue + TEXT("\\") + note.name), note.bytes);
        if (options.hold) print(stdout, TEXT("held"));
        if (options.hold) std::getchar();
    }
    print(stdout, queue);
    if (!options.noDisplay && options.queue.empty()) show(store, program, queue);
}

}  // namespace

int main() {
    Options options;
    if (!readOptions(options)) {
        std::fputs(kUsage, stderr);
        return kWrongArguments;
    }
    try {
        run(options);
    } catch (const Failure& failure) {
        print(stderr, TEXT("vellum-queue-writer: ") + failure.reason);
        return failure.code;
    }
    return kDone;
}
