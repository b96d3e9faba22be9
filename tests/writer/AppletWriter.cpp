// Writes private queues as Vellumd expects other programs to write them, for the logon that it runs in. Tests and
// samples use it.
//
//     vellum-applet-writer queue                     makes the store and a queue, prints the queue's name
//     vellum-applet-writer note QUEUE ID TEXT        writes a note
//     vellum-applet-writer hold QUEUE SECONDS        holds the writer's lock, as while it writes
//     vellum-applet-writer stage PROGRAM             puts the program into the store and sets the auto-start value
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "applet/AppletContext.h"
#include "applet/QueueName.h"
#include "applet/StoreFiles.h"
#include "notes/NoteRecord.h"
#include "support/Text.h"

using namespace AppletNotes;

namespace {

bool failed(const char* what, DWORD err) {
    std::fprintf(stderr, "%s: Windows error %u\n", what, static_cast<unsigned>(err));
    return false;
}

class Writer {
  public:
    bool open() {
        DWORD err = ERROR_SUCCESS;
        if (!readAppletContext(context_, err, false)) return failed("this is no logon of a user", err);
        if (!store_.open(context_.storeRoot, sidOf(context_.userSid), true, err)) return failed("the store", err);
        return makeFolder(context_.storeRoot + TEXT("\\runtime"));
    }

    bool makeQueue() {
        const WideString name = formatQueueName(context_.identity);
        if (!makeFolder(files().pathOf(name))) return false;
        std::printf("%s\n", utf8(name).c_str());
        return true;
    }

    bool writeNote(const WideString& queue, const WideString& id, const WideString& text) {
        DWORD err = ERROR_SUCCESS;
        const OwnedHandle lock = takeLock(queue, err);
        if (!lock) return failed("the writer's lock", err);
        NoteRecord note = newNoteRecord(TEXT("writer"));
        note.id = id;
        note.title = id;
        note.content = text;
        const WideString name = id + TEXT(".json");
        if (!isPrivateNoteName(name)) return failed("the name of the note", ERROR_INVALID_NAME);
        return writeFile(files().pathOf(queue) + TEXT("\\") + name, serializeNote(note));
    }

    bool hold(const WideString& queue, int seconds) {
        DWORD err = ERROR_SUCCESS;
        const OwnedHandle lock = takeLock(queue, err);
        if (!lock) return failed("the writer's lock", err);
        std::printf("held\n");
        std::fflush(stdout);
        Sleep(static_cast<DWORD>(seconds) * 1000);
        return true;
    }

    bool stage(const std::string& program) {
        std::ifstream file(program, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        if (bytes.empty()) return failed(program.c_str(), ERROR_FILE_NOT_FOUND);
        const WideString folder = context_.storeRoot + TEXT("\\runtime\\") + WideString(64, TEXT('A'));
        const WideString path = folder + TEXT("\\Vellumd.exe");
        if (!makeFolder(folder) || !writeFile(path, bytes) || !setAutoStart(path)) return false;
        std::printf("%s\n", utf8(path).c_str());
        return true;
    }

  private:
    QueueStore::Impl& files() { return *store_.impl(); }
    OwnedHandle takeLock(const WideString& queue, DWORD& err) {
        return files().openLockFile(files().pathOf(queue) + TEXT("\\") + kWriterLock, err);
    }
    bool makeFolder(const WideString& path) {
        if (CreateDirectoryW(path.c_str(), &files().storeAttributes) || GetLastError() == ERROR_ALREADY_EXISTS)
            return true;
        return failed(utf8(path).c_str(), GetLastError());
    }
    bool writeFile(const WideString& path, const std::string& bytes) {
        OwnedHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, &files().storeAttributes, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD moved = 0;
        if (file && WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &moved, nullptr) &&
            moved == bytes.size())
            return true;
        return failed(utf8(path).c_str(), GetLastError());
    }
    static bool setAutoStart(const WideString& path) {
        const WideString command = TEXT("\"") + path + TEXT("\" --applet-recover");
        RegistryKey key;
        LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run"),
                                         0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr);
        if (status == ERROR_SUCCESS)
            status = RegSetValueExW(key.get(), TEXT("OmbrelAppletNotes"), 0, REG_SZ,
                                    reinterpret_cast<const BYTE*>(command.c_str()),
                                    static_cast<DWORD>((command.size() + 1) * sizeof(WCHAR)));
        return status == ERROR_SUCCESS || failed("the auto-start value", static_cast<DWORD>(status));
    }

    AppletContext context_;
    QueueStore store_;
};

bool run(const std::string& command, char** arguments, int count) {
    Writer writer;
    if (!writer.open()) return false;
    if (command == "queue" && count == 0) return writer.makeQueue();
    if (command == "note" && count == 3)
        return writer.writeNote(wide(arguments[0]), wide(arguments[1]), wide(arguments[2]));
    if (command == "hold" && count == 2) return writer.hold(wide(arguments[0]), std::atoi(arguments[1]));
    if (command == "stage" && count == 1) return writer.stage(arguments[0]);
    std::fprintf(stderr,
                 "usage: vellum-applet-writer queue | note QUEUE ID TEXT | hold QUEUE SECONDS | stage PROGRAM\n");
    return false;
}

}  // namespace

int main(int count, char** arguments) {
    return count >= 2 && run(arguments[1], arguments + 2, count - 2) ? 0 : 1;
}
