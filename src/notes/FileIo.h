// Whole files: read, replaced atomically, deleted. Nothing here logs; after a false result GetLastError, read at once,
// tells the reason. The calls block for as long as the file system does.
#pragma once

#include <string>

#include "common/WideText.h"

// Reads the file into `bytes`, which are empty on failure. Others may have the file open for reading and writing, so a
// file that is being written can be read half-way. Files above 64 MiB are refused.
bool readFileBytes(const WideString& path, std::string& bytes);

// Replaces the file by these bytes: a reader sees the old file or the new one, never half of one. They go through
// "<path>.tmp", are flushed and renamed into place. On failure the old file stands and the temporary file is deleted.
bool writeFileAtomic(const WideString& path, std::string_view bytes);

// True when the file is gone now, also when it was not there.
bool deleteFile(const WideString& path);

// True for a file, false for a folder and for nothing.
bool fileExists(const WideString& path);
