// A window's message table: which member function handles which message.
#pragma once

#include <windows.h>

#include <cstddef>

template <typename Handler>
struct MessageRow {
    UINT message;
    Handler handler;
};

// True if no message has two rows. For a static_assert: a second row would never be used.
template <typename Handler, std::size_t kCount>
constexpr bool areDistinct(const MessageRow<Handler> (&rows)[kCount]) {
    for (std::size_t i = 0; i < kCount; ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (rows[i].message == rows[j].message) return false;
    return true;
}

// Null when the table has no row for the message.
template <typename Handler, std::size_t kCount>
Handler handlerOf(const MessageRow<Handler> (&rows)[kCount], UINT message) {
    for (const MessageRow<Handler>& row : rows)
        if (row.message == message) return row.handler;
    return nullptr;
}
