// What is wrong with a note file, beyond what makes Vellumd refuse it. docs/note.schema.json says the same.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/WideText.h"

namespace ctl {

// Lines of plain text, UTF-8; empty for a file without mistakes. The first begins with "refused: " if Vellumd would not
// show the note. `name` is the file's name; `bytes` are its content.
std::vector<std::string> findMistakes(WideView name, std::string_view bytes);

}  // namespace ctl
