// The objects of the Task Scheduler. They are views of one task that is being made, or names of one that is kept.
#pragma once

#include <taskschd.h>

#include <cstring>

namespace platform {

inline bool isSame(const GUID& left, const GUID& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

// Owned by the caller, through its reference count.
ITaskService* makeTaskService();

}  // namespace platform
