// The same whole work with other libraries: the bytes of a file in, a filled record with UTF-16 text out; and the way
// back, pretty.
#pragma once

#include <string>

#include "notes/NoteRecord.h"

void readWithNlohmann(const std::string& bytes, NoteRecord& record);
void readWithRapidJson(const std::string& bytes, NoteRecord& record);
void readWithSimdjson(const std::string& bytes, NoteRecord& record);

std::string writeWithNlohmann(const NoteRecord& record);
std::string writeWithRapidJson(const NoteRecord& record);
