// Resources of a native executable: data that CMake compiled into it (native_resource in NativeResources.cmake).
#pragma once

#include <cstddef>

namespace platform {

struct NativeResource {
    unsigned type;
    const char16_t* name;
    const unsigned char* bytes;
    std::size_t size;
};

// Registers one resource. Instances are static, so they register before main.
struct RegisterResource {
    explicit RegisterResource(const NativeResource& resource);
};

}  // namespace platform
