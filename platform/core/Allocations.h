// Memory that a call hands to its caller, who owes it to a release call. It is counted, so that a leak shows.
#pragma once

#include <cstddef>

namespace platform {

void* allocate(std::size_t bytes);
void release(void* memory);  // null is allowed

}  // namespace platform
