// The same work with other libraries: from the bytes of a file to a filled record with UTF-16 text, and back to
// pretty-printed bytes.
#pragma once

#include <string>

#include "notes/NoteRecord.h"

void readWithNlohmann(const std::string& bytes, NoteRecord& record);
void readWithRapidJson(const std::string& bytes, NoteRecord& record);
void readWithSimdjson(const std::string& bytes, NoteRecord& record);

std::string writeWithNlohmann(const NoteRecord& record);
std::string writeWithRapidJson(const NoteRecord& record);
