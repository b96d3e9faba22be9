// Streams over blocks of memory.
#pragma once

#include <objidl.h>

#include <vector>

namespace platform {

// All bytes of a stream that CreateStreamOnHGlobal made.
std::vector<unsigned char> bytesOf(IStream* stream);

}  // namespace platform
