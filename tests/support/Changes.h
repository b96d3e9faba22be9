// A folder that is open for reading its changes, one read at a time.
#pragma once

#include <windows.h>

#include <string>

#include "common/Handles.h"
#include "support/Text.h"

struct Changes {
    explicit Changes(const WideString& folder)
        : directory(CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr)),
          done(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
        overlapped.hEvent = done.get();
    }
    ~Changes() {
        if (directory && CancelIoEx(directory.get(), &overlapped)) WaitForSingleObject(done.get(), 30000);
    }
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;

    // Starts a read.
    bool begin(DWORD bufferBytes = sizeof(DWORD) * 4096,
               DWORD filter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE) {
        ResetEvent(done.get());
        DWORD bytes = 0;
        return ReadDirectoryChangesW(directory.get(), buffer, bufferBytes, FALSE, filter, &bytes, &overlapped, nullptr);
    }
    bool isFinished() const { return WaitForSingleObject(done.get(), 0) == WAIT_OBJECT_0; }
    // Waits for the read. Each record is a sign and the name, with a blank between two: + added, - removed, = changed,
    // < and > the old and the new name of a rename. "lost" for no bytes, else "error" and the number.
    std::string finish() {
        DWORD bytes = 0;
        if (WaitForSingleObject(done.get(), 30000) != WAIT_OBJECT_0) return "silence";
        if (!GetOverlappedResult(directory.get(), &overlapped, &bytes, FALSE))
            return "error " + std::to_string(GetLastError());
        return bytes == 0 ? "lost" : records();
    }
    // Reads on until this record has come, or a read fails or is refused.
    std::string readUntil(const std::string& record) {
        std::string all;
        while (all.find(record) == std::string::npos && all.find("silence") == std::string::npos) {
            const std::string told = begin() ? finish() : "error " + std::to_string(GetLastError());
            all += (all.empty() ? "" : " ") + told;
            if (told.starts_with("error")) break;
        }
        return all;
    }

    // Reads write into these: they outlive the folder's handle.
    alignas(DWORD) BYTE buffer[sizeof(DWORD) * 4096] = {};
    OVERLAPPED overlapped = {};
    FileHandle directory;
    WaitHandle done;

  private:
    std::string records() const {
        std::string text;
        for (const BYTE* at = buffer;;) {
            const auto& record = *reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(at);
            const WideView name(record.FileName, record.FileNameLength / sizeof(WCHAR));
            text += (text.empty() ? "" : " ") + std::string(1, "?+-=<>"[record.Action]) + utf8(name);
            if (record.NextEntryOffset == 0) return text;
            at += record.NextEntryOffset;
        }
    }
};
