// The environment of the process: that of Linux, over what machine.txt gives every process.
#pragma once

#include <string>
#include <vector>

namespace platform {

void resetEnvironment();  // after a move to another machine
// "NAME=value", for a child.
std::vector<std::string> environmentTexts();

// Pointers for exec, with a null at the end, to texts that have to live on.
inline std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace platform
