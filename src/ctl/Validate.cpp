#include "ctl/Validate.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "common/Paths.h"
#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Request.h"
#include "notes/FileIo.h"
#include "notes/NoteRecord.h"
#include "notes/Text.h"

namespace ctl {
namespace {

using Mistakes = std::vector<std::string>;

// --- values: each returns what is right, or an empty text for a good value

const char* checkText(const JsonValue& value) {
    return value.kind == JsonKind::String ? "" : "must be a string";
}

const char* checkFlag(const JsonValue& value) {
    return value.kind == JsonKind::Bool ? "" : "must be true or false, without quotes";
}

const char* checkColor(const JsonValue& value) {
    COLORREF color = 0;
    return parseColor(value.asString(), color) ? "" : "is not a colour: write \"#RRGGBB\" or \"#RGB\"";
}

// Two digits at `at`, from `least` to `most`.
bool isInRange(WideView text, std::size_t at, int least, int most) {
    const int number = (text[at] - TEXT('0')) * 10 + (text[at + 1] - TEXT('0'));
    return number >= least && number <= most;
}

const char* checkTime(const JsonValue& value) {
    constexpr const char* kWanted = "is not a time: write UTC as \"2026-03-14T09:26:53Z\"";
    constexpr WideView kForm = TEXT("0000-00-00T00:00:00Z");
    const WideString& text = value.asString();
    if (text.size() != kForm.size()) return kWanted;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= TEXT('0') && text[i] <= TEXT('9');
        if (kForm[i] == TEXT('0') ? !isDigit : text[i] != kForm[i]) return kWanted;
    }
    const bool isRight = isInRange(text, 5, 1, 12) && isInRange(text, 8, 1, 31) && isInRange(text, 11, 0, 23) &&
                         isInRange(text, 14, 0, 59) && isInRange(text, 17, 0, 59);
    return isRight ? "" : "is a time that does not exist";
}

// Characters, not units: a pair of surrogates counts once, as in the schema.
std::size_t characterCount(WideView text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](WCHAR unit) { return (unit & 0xFC00) != 0xDC00; }));
}

const char* checkId(const JsonValue& value) {
    constexpr std::size_t kMostCharacters = 200;
    if (characterCount(value.asString()) > kMostCharacters) return "is longer than 200 characters";
    return isPlainStem(value.asString()) ? "" : "cannot be the name of a file, so the note would take the file's name";
}

const char* checkLogo(const JsonValue& value) {
    if (value.kind != JsonKind::String) return checkText(value);
    const bool hasBlank = value.asString().find_first_of(TEXT(" \t\r\n")) != WideString::npos;
    return hasBlank ? "must not have blanks or line ends" : "";
}

bool isWholeNumber(const JsonValue& value, double least, double most) {
    return value.kind == JsonKind::Number && std::trunc(value.numberValue) == value.numberValue &&
           value.numberValue >= least && value.numberValue <= most;
}

const char* checkPixels(const JsonValue& value) {
    return isWholeNumber(value, INT32_MIN, INT32_MAX) ? "" : "must be a whole number of pixels";
}

const char* checkWidth(const JsonValue& value) {
    return isWholeNumber(value, kLeastWidth, kLargestExtent) ? "" : "must be a whole number from 120 to 8000";
}

const char* checkHeight(const JsonValue& value) {
    return isWholeNumber(value, kLeastHeight, kLargestExtent) ? "" : "must be a whole number from 100 to 8000";
}

// --- keys

struct Rule {
    const WCHAR* key;
    const char* (*check)(const JsonValue&);  // null for an object
    const struct Rules* members = nullptr;
};

struct Rules {
    const Rule* first;
    std::size_t count;
    const Rule* begin() const { return first; }
    const Rule* end() const { return first + count; }
};

template <std::size_t kCount>
constexpr Rules rulesOf(const Rule (&rules)[kCount]) {
    return {rules, kCount};
}

constexpr Rule kPositionRules[] = {
    {TEXT("x"), checkPixels}, {TEXT("y"), checkPixels}, {TEXT("width"), checkWidth}, {TEXT("height"), checkHeight}};
constexpr Rule kBoundsRules[] = {{TEXT("left"), checkPixels},
                                 {TEXT("top"), checkPixels},
                                 {TEXT("right"), checkPixels},
                                 {TEXT("bottom"), checkPixels}};
constexpr Rules kPosition = rulesOf(kPositionRules), kBounds = rulesOf(kBoundsRules);
constexpr Rule kMonitorRules[] = {{TEXT("device"), checkText}, {TEXT("bounds"), nullptr, &kBounds}};
constexpr Rules kMonitor = rulesOf(kMonitorRules);
constexpr Rule kNoteRules[] = {{TEXT("$schema"), checkText},
                               {TEXT("id"), checkId},
                               {TEXT("title"), checkText},
                               {TEXT("content"), checkText},
                               {TEXT("contentRtf"), checkText},
                               {TEXT("author"), checkText},
                               {TEXT("created"), checkTime},
                               {TEXT("modified"), checkTime},
                               {TEXT("bgColor"), checkColor},
                               {TEXT("titleBarBGColor"), checkColor},
                               {TEXT("noteTitleColor"), checkColor},
                               {TEXT("noteBodyColor"), checkColor},
                               {TEXT("position"), nullptr, &kPosition},
                               {TEXT("monitor"), nullptr, &kMonitor},
                               {TEXT("editable"), checkFlag},
                               {TEXT("allowNewNote"), checkFlag},
                               {TEXT("logo"), checkLogo}};
constexpr Rules kNote = rulesOf(kNoteRules);

// How many letters one has to change, add or leave out to get from one word to the other.
std::size_t editDistance(WideView left, WideView right) {
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j <= right.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t changed = diagonal + (left[i - 1] == right[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({changed, row[j] + 1, row[j - 1] + 1}));
        }
    }
    return row.back();
}

std::string describeUnknown(const WideString& key, const Rules& rules) {
    constexpr std::size_t kLongestGuess = 40, kMostEdits = 2;
    const std::string unknown = "\"" + wideToUtf8(key) + "\" is not a key of a note";
    if (key.size() > kLongestGuess) return unknown;
    for (const Rule& rule : rules)
        if (equalsIgnoreCase(key, rule.key) || editDistance(key, rule.key) <= kMostEdits)
            return unknown + "; did you mean \"" + wideToUtf8(rule.key) + "\"?";
    return unknown;
}

void checkMembers(const JsonValue& object, const Rules& rules, const std::string& where, Mistakes& out) {
    for (const JsonMember& member : object.members) {
        const auto rule = std::find_if(rules.begin(), rules.end(),
                                       [&](const Rule& candidate) { return sameText(member.key, candidate.key); });
        const std::string name = "\"" + where + wideToUtf8(member.key) + "\" ";
        if (rule == rules.end()) {
            out.push_back(describeUnknown(member.key, rules));
        } else if (rule->members == nullptr) {
            if (const std::string wanted = rule->check(member.value); !wanted.empty()) out.push_back(name + wanted);
        } else if (member.value.kind != JsonKind::Object) {
            out.push_back(name + "must be an object");
        } else {
            checkMembers(member.value, *rule->members, where + wideToUtf8(member.key) + ".", out);
        }
    }
}

void checkBytes(std::string_view bytes, Mistakes& out) {
    if (bytes.starts_with("\xEF\xBB\xBF")) out.push_back("begins with a byte order mark: write UTF-8 without one");
    if (wideToUtf8(utf8ToWide(bytes)) != bytes) out.push_back("holds bytes that are not UTF-8; they become U+FFFD");
}

void checkName(const WideString& leaf, const WideString& id, Mistakes& out) {
    if (lowerExtension(leaf) != TEXT("json"))
        out.push_back("the name of the file has to end in \".json\"");
    else if (!equalsIgnoreCase(leaf.substr(0, leaf.size() - 5), id))
        out.push_back("the id \"" + wideToUtf8(id) + "\" is not the name of the file, which wins");
}

}  // namespace

std::vector<std::string> findMistakes(WideView name, std::string_view bytes) {
    Mistakes mistakes;
    JsonValue value;
    WideString error;
    if (!parseJsonUtf8(bytes, value, &error)) return {"refused: " + wideToUtf8(error)};
    if (value.kind != JsonKind::Object) return {"refused: invalid note structure: it is not an object"};
    const WideString& id = value.find(TEXT("id")).asString();
    if (id.empty()) return {"refused: invalid note structure: \"id\" has to be a string that is not empty"};
    checkBytes(bytes, mistakes);
    checkName(leafName(name), id, mistakes);
    checkMembers(value, kNote, "", mistakes);
    return mistakes;
}

int run(const ValidateRequest& request) {
    int code = kDone;
    std::string report;
    for (const WideString& path : request.files) {
        const std::string name = wideToUtf8(path);
        std::string bytes;
        if (!readFileBytes(path, bytes)) {
            printError(lastFailure("cannot read", path).text);
            code = kFailed;
            continue;
        }
        const Mistakes mistakes = findMistakes(path, bytes);
        if (!mistakes.empty() && code == kDone) code = kNo;
        if (mistakes.empty()) report += name + ": good\n";
        for (const std::string& mistake : mistakes)
            report += name + ": " + mistake + "\n";
    }
    printOut(report);
    return code;
}

}  // namespace ctl
