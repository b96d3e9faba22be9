// Memory that a call allocates and its caller must free. The blocks are counted, so that tests find leaks.
#pragma once

#include <cstddef>

namespace platform {

void* allocate(std::size_t bytes);
void release(void* memory);  // accepts null

}  // namespace platform
