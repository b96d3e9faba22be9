// What a command line of vellumctl asks for. Values only: reading them fails before anything is touched.
#pragma once

#include <windows.h>

#include <optional>
#include <variant>
#include <vector>

#include "common/Logger.h"
#include "common/WideText.h"
#include "ctl/Console.h"
#include "ctl/Failure.h"

namespace ctl {

// Whose notes. Without any option: those of the user who runs the command.
struct Target {
    WideString folder;    // --folder
    WideString instance;  // -i
    WideString user;      // --user
    bool allUsers = false;
    bool newUsers = false;
};

struct Point {
    LONG x = 0, y = 0;
};

struct Extent {
    LONG width = 0, height = 0;
};

// Prints a text: help, or the version.
struct TextRequest {
    std::string text;
};

// What is not given keeps its value in an existing note, and its default in a new one.
struct PostRequest {
    Target target;
    WideString id;  // empty: a new one
    std::optional<WideString> title, text, author;
    bool textFromInput = false;
    WideString rtfFile, logoFile;  // empty: none
    std::optional<COLORREF> color;
    std::optional<Point> at;
    std::optional<Extent> size;
    std::optional<bool> editable, newNote;
    bool waits = true;
};

struct RemoveRequest {
    Target target;
    std::vector<WideString> ids;
    bool waits = true;
};

struct ListRequest {
    Target target;
    bool asJson = false;
};

struct ShowRequest {
    Target target;
    WideString id;
};

struct WaitRequest {
    Target target;
    WideString id;
    std::optional<double> seconds;
};

struct ValidateRequest {
    std::vector<WideString> files;
};

// For administrators.
struct StatusRequest {
    bool asJson = false;
};

struct LogRequest {
    std::optional<WideString> instance;  // nothing: all
    std::string since;                   // a time as in the log, or the beginning of one; empty: no limit
    LogLevel level = LogLevel::Debug;
};

using Request = std::variant<TextRequest, PostRequest, RemoveRequest, ListRequest, ShowRequest, WaitRequest,
                             ValidateRequest, StatusRequest, LogRequest>;

// `arguments` without the name of the program. Throws Failure with kUsage.
Request readRequest(const std::vector<WideString>& arguments);

// Carry a request out and return the exit code. They throw Failure.
inline int run(const TextRequest& request) {
    printOut(request.text);
    return kDone;
}
int run(const PostRequest& request);
int run(const RemoveRequest& request);
int run(const ListRequest& request);
int run(const ShowRequest& request);
int run(const WaitRequest& request);
int run(const ValidateRequest& request);
int run(const StatusRequest& request);
int run(const LogRequest& request);

}  // namespace ctl
