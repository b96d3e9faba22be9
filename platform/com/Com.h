// COM: thread apartments, GUIDs, memory streams, BSTRs and VARIANTs. The only class that CoCreateInstance can create is
// implemented in tasks/.
#pragma once

#include <objidl.h>

#include <vector>

namespace platform {

// Whether the calling thread has entered an apartment.
bool isInApartment();

// Returns all bytes of a stream that CreateStreamOnHGlobal made.
std::vector<unsigned char> bytesOf(IStream* stream);

// For tests: sets the GUID that the next CoCreateGuid call returns. Later calls return random GUIDs again.
void setNextGuid(const GUID& guid);

}  // namespace platform
