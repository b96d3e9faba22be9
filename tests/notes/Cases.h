// The case files beside the test program.
#pragma once

#include <string>
#include <vector>

#include "common/Folders.h"
#include "common/Paths.h"
#include "support/Files.h"

struct Case {
    std::string left, right;  // around " => ", with their bytes
    std::string line;
};

// "<41>" is the byte 0x41.
inline std::string unescaped(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '<' && i + 3 < text.size() && text[i + 3] == '>') {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 3;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

inline std::string readTestFile(WideView name) {
    return readFile(joinPath(joinPath(parentPath(executablePath()), TEXT("test-data")), name));
}

inline std::vector<Case> readCases(WideView name) {
    std::vector<Case> cases;
    const std::string text = readTestFile(name);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        const std::string line = text.substr(at, end - at);
        at = end == std::string::npos ? text.size() : end + 1;
        const std::size_t arrow = line.find(" => ");
        if (line.empty() || line.front() == '#' || arrow == std::string::npos) continue;
        cases.push_back({unescaped(line.substr(0, arrow)), unescaped(line.substr(arrow + 4)), line});
    }
    return cases;
}
