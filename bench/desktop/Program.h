// A program under the stopwatch: a process of its own, watched from outside through its windows.
#pragma once

#include <map>
#include <vector>

#include "common/Handles.h"
#include "common/WideText.h"

struct Memory {
    double workingSet = 0;  // bytes
    double privateBytes = 0;
};

double nowInMilliseconds();

class Program {
  public:
    // Starts the executable that lies beside this one. Ends this process with a message when it cannot be started.
    Program(const WideString& executable, const WideString& arguments, const WideString& noteClass);
    // Ends the program.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Waits until so many notes are visible and they and their controls are painted; gives the milliseconds since
    // `since`. Ends this process with a message when that takes a minute.
    double waitForNotes(std::size_t count, double since);
    double startedAt() const { return startedAt_; }

    std::vector<HWND> notes() const;
    Memory memory() const;

  private:
    void findNotes();
    bool areShown(std::size_t count);
    void waitForNewTop();

    WideString noteClass_;
    std::map<HWND, bool> known_;  // every top-level window that was seen: whether it is a note of this program
    KernelHandle process_;
    DWORD id_ = 0;
    double startedAt_ = 0;
    bool hasBeenIdle_ = false;
    HWND top_ = nullptr;
};
