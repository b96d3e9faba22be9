// Reading, atomically replacing and deleting whole files. Nothing here logs. After a false result GetLastError has the
// reason. The calls block as long as the file system does.
#pragma once

#include <string>

#include "common/WideText.h"

// Reads the file; `bytes` is empty on failure. Other processes may write the file meanwhile, so the bytes may be half
// old and half new. Fails with ERROR_FILE_TOO_LARGE above 64 MiB.
bool readFileBytes(const WideString& path, std::string& bytes);

// Replaces the content of the file: a reader sees all of the old content or all of the new. Writes and flushes
// "<path>.tmp", then renames it over the file. On failure the file is unchanged and the temporary file is deleted.
bool writeFileAtomic(const WideString& path, std::string_view bytes);

// Deletes the file. True also when there was none.
bool deleteFile(const WideString& path);

// Whether `path` exists and is not a folder.
bool fileExists(const WideString& path);
