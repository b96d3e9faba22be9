// The notes that the benchmarks read and write.
#pragma once

#include <string>
#include <vector>

#include "notes/NoteRecord.h"

struct Document {
    const char* name;
    std::string bytes;
    NoteRecord record;
};

// "plain" has about 0.7 KB; "rich" about 24 KB, with RTF full of escapes and non-ASCII text; "logo" 2 MiB, with an
// image in base64. All are in the format that the program writes.
const std::vector<Document>& documents();
