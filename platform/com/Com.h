// COM: the apartment of a thread, GUIDs, streams over memory, and the strings and variants of automation. The one class
// that can be made is on a higher floor, in tasks/.
#pragma once

#include <objidl.h>

#include <vector>

namespace platform {

// Whether the calling thread has entered an apartment.
bool isInApartment();

// All bytes of a stream that CreateStreamOnHGlobal made.
std::vector<unsigned char> bytesOf(IStream* stream);

// For tests: the GUID that the next CoCreateGuid makes. Those behind it are random again.
void setNextGuid(const GUID& guid);

}  // namespace platform
