// The bytes of a note file and the record that Vellumd makes of them.
#pragma once

#include <string>
#include <string_view>

#include "notes/NoteRecord.h"

namespace ctl {

// False where Vellumd would refuse the file; `reason`, which may be null, is then what its log would say.
bool parseNote(std::string_view bytes, NoteRecord& record, WideString* reason);

// Unlike a note that Vellumd saves, one without a stored place has none here: Vellumd then chooses it.
JsonValue documentOf(const NoteRecord& record);

// The file's text. It ends with a line feed, which those that Vellumd writes do not have.
std::string formatNote(const NoteRecord& record);

// Whether the bytes are what Vellumd itself writes.
bool isWrittenByProgram(std::string_view bytes);

}  // namespace ctl
