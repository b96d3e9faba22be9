// Lets one vellumctl of the session at a time change a note: what one of them reads stays true until it has written.
#pragma once

#include "common/Handles.h"
#include "common/WideText.h"

namespace ctl {

class NoteLock {
  public:
    // Waits for other commands; throws Failure after a minute. `path` is the note's file.
    explicit NoteLock(const WideString& path);

  private:
    InstanceMutex mutex_;
};

}  // namespace ctl
