// The environment of the process: the variables from machine.txt, overridden by the Linux environment.
#pragma once

#include <string>
#include <vector>

namespace platform {

void resetEnvironment();  // call it after moving to another machine
// "NAME=value" strings for a child process.
std::vector<std::string> environmentTexts();

// Null-terminated array of pointers for exec. `texts` must outlive the array.
inline std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace platform
