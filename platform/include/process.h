// Threads.
#pragma once

#include <windef.h>

using ThreadFunction = unsigned(WINAPI*)(void*);

std::uintptr_t _beginthreadex(void* security, unsigned stackBytes, ThreadFunction function, void* argument,
                              unsigned flags, unsigned* threadId);
