// An open file, or one of the standard streams.
#pragma once

#include <unistd.h>

#include <utility>

#include "objects/HandleTable.h"

namespace platform {

class Descriptor {
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    int get() const { return descriptor_; }
    int release() {
        const int descriptor = descriptor_;
        descriptor_ = -1;
        return descriptor;
    }

  private:
    int descriptor_;
};

struct FileObject : Object {
    FileObject(Descriptor opened, DWORD accessRights) : descriptor(std::move(opened)), access(accessRights) {}

    Descriptor descriptor;
    DWORD access;  // FILE_READ_DATA, FILE_WRITE_DATA, FILE_APPEND_DATA and DELETE, as granted
};

}  // namespace platform
