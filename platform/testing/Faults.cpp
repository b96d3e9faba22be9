// Parses faults: from VELLUM_FAULTS before main(), from the socket later.
#include "testing/Faults.h"

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace platform::faults {
namespace {

bool parseNumber(std::string_view text, unsigned& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool parseAction(std::string_view text, Fault& fault) {
    const std::size_t open = text.find('(');
    const std::string_view word = text.substr(0, open);
    if (word == "fail")
        fault.action = Action::Fail;
    else if (word == "short")
        fault.action = Action::Short;
    else if (word == "delay")
        fault.action = Action::Delay;
    else if (word == "kill")
        fault.action = Action::Kill;
    else
        return false;
    if (open == std::string_view::npos) return fault.action == Action::Fail || fault.action == Action::Kill;
    const bool isNumber = text.back() == ')' && parseNumber(text.substr(open + 1, text.size() - open - 2), fault.value);
    return isNumber && !(fault.action == Action::Fail && fault.value == 0);  // error 0 would be no failure
}

bool parseOne(std::string_view text, Fault& fault) {
    const std::size_t colon = text.find(':');
    const std::size_t equals = text.find('=');
    if (colon == std::string_view::npos || equals == std::string_view::npos || equals < colon) return false;
    fault.call = text.substr(0, colon);
    const std::string_view use = text.substr(colon + 1, equals - colon - 1);
    if (use == "every")
        fault.use = 0;
    else if (!parseNumber(use, fault.use) || fault.use == 0)
        return false;
    return !fault.call.empty() && parseAction(text.substr(equals + 1), fault);
}

}  // namespace

bool parse(std::string_view text, std::vector<Fault>& parsed) {
    while (!text.empty()) {
        const std::size_t end = text.find(';');
        Fault fault;
        if (!parseOne(text.substr(0, end), fault)) return false;
        parsed.push_back(std::move(fault));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return true;
}

void armFromEnvironment() {
    const char* const text = std::getenv("VELLUM_FAULTS");
    if (text == nullptr) return;
    std::vector<Fault> parsed;
    if (!parse(text, parsed)) {
        std::fprintf(stderr, "VELLUM_FAULTS is malformed; the form is call:use=action;...\n");
        _exit(2);
    }
    for (Fault& fault : parsed)
        arm(std::move(fault));
}

}  // namespace platform::faults
