// A program that is measured: a separate process, observed through its windows.
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
    // Starts an executable in the folder of this one. On failure prints a message and ends this process.
    Program(const WideString& executable, const WideString& arguments, const WideString& noteClass);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Waits until `count` notes are visible and painted with their controls. Returns the milliseconds since `since`.
    // After a minute prints a message and ends this process.
    double waitForNotes(std::size_t count, double since);
    double startedAt() const { return startedAt_; }

    std::vector<HWND> notes() const;
    Memory memory() const;

  private:
    void findNotes();
    bool areShown(std::size_t count);
    void waitForNewTop();

    WideString noteClass_;
    std::map<HWND, bool> known_;  // every top-level window seen so far, and whether it is a note of this program
    KernelHandle process_;
    DWORD id_ = 0;
    double startedAt_ = 0;
    bool hasBeenIdle_ = false;
    HWND top_ = nullptr;
};
