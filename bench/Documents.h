// The notes that are measured.
#pragma once

#include <string>
#include <vector>

#include "notes/NoteRecord.h"

struct Document {
    const char* name;
    std::string bytes;
    NoteRecord record;
};

// "plain" of about 0.7 KB, "rich" of about 24 KB with RTF full of escapes and text beyond ASCII, "logo" of 2 MiB with
// an image as base64 text. All as the program itself writes them.
const std::vector<Document>& documents();
