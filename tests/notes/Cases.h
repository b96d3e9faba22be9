// Reads the case files next to the test program.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "common/Folders.h"
#include "common/Paths.h"
#include "support/Files.h"

struct Case {
    std::string left, right;  // the two sides of " => ", unescaped
};

// Replaces "<41>" by the byte 0x41, and so on.
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

// Splits a list of texts at the separator "||".
inline std::vector<std::string> texts(const std::string& side) {
    std::vector<std::string> all;
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 4) {
        end = side.find(" || ", at);
        all.push_back(unescaped(side.substr(at, end - at)));
    }
    return all;
}

inline std::string readTestFile(WideView name) {
    return readFile(joinPath(joinPath(parentPath(executablePath()), TEXT("test-data")), name));
}

// Reads each line that is not a comment. Combines each text of the left side with each text of the right side.
inline std::vector<Case> readCases(WideView name) {
    std::vector<Case> cases;
    std::istringstream file(readTestFile(name));
    for (std::string line; std::getline(file, line);) {
        const std::size_t arrow = line.find(" => ");
        if (line.starts_with('#') || arrow == std::string::npos) continue;
        for (const std::string& left : texts(line.substr(0, arrow)))
            for (const std::string& right : texts(line.substr(arrow + 4)))
                cases.push_back({left, right == "=" ? left : right});
    }
    return cases;
}
