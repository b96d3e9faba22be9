// The command line of vellumctl, parsed by CLI11. Nothing here touches a note. The build defines VELLUM_VERSION.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

#include "app/InstanceNames.h"
#include "common/Paths.h"
#include "ctl/Failure.h"
#include "ctl/LogTime.h"
#include "ctl/Request.h"
#include "notes/NoteRecord.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 no such note or a finding, 2 wrong command line, 3 a call of the system failed, "
    "4 the note is gone (wait), 5 the time is over (wait).";

// --- values

LONG readNumber(std::string_view text, const std::string& wanted) {
    LONG number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) throw CLI::ValidationError(wanted);
    return number;
}

// "12,34"
std::pair<LONG, LONG> readPair(const std::string& option, const std::string& text, const char* form) {
    const std::string wanted = option + ": '" + text + "' is not " + form;
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) throw CLI::ValidationError(wanted);
    const std::string_view all(text);
    return {readNumber(all.substr(0, comma), wanted), readNumber(all.substr(comma + 1), wanted)};
}

Point readPoint(const std::string& text) {
    const auto [x, y] = readPair("--at", text, "a place: write X,Y in pixels of the screen, for example 100,40");
    return {x, y};
}

Extent readExtent(const std::string& text) {
    const char* const form = "a size: write W,H in pixels, for example 300,200 (120 to 8000, 100 to 8000)";
    const auto [width, height] = readPair("--size", text, form);
    if (width < kLeastWidth || width > kLargestExtent || height < kLeastHeight || height > kLargestExtent)
        throw CLI::ValidationError("--size: '" + text + "' is not " + form);
    return {width, height};
}

COLORREF readColor(const std::string& text) {
    COLORREF color = 0;
    if (!parseColor(utf8ToWide(text), color))
        throw CLI::ValidationError("--color: '" + text +
                                   "' is not a colour: write #RRGGBB or #RGB, for example #FFCC00");
    return color;
}

WideString readId(const std::string& text) {
    constexpr std::size_t kMostUnits = 200;  // the path has to stay below 260
    WideString id = utf8ToWide(text);
    if (!id.empty() && isPlainStem(id) && id.size() <= kMostUnits) return id;
    throw CLI::ValidationError("'" + text +
                               "' cannot be an id: it names a file, so at most 200 characters and none of "
                               "\\ / : * ? \" < > |, and no name of a device");
}

std::string readTime(const std::string& text) {
    if (std::optional<std::string> since = readSince(text)) return *since;
    throw CLI::ValidationError("--since: '" + text +
                               "' is not a time: write UTC as 2026-03-14 or 2026-03-14T09:26:53Z, or a span before "
                               "now as 90s, 30m, 2h or 3d");
}

LogLevel readLevel(const std::string& text) {
    LogLevel level = LogLevel::Debug;
    if (logParseLevel(utf8ToWide(text).c_str(), &level)) return level;
    throw CLI::ValidationError("--level: '" + text + "' is not a level: write debug, info, warn or error");
}

// --- commands

void addTarget(CLI::App& command, Target& target) {
    const auto text = [](WideString& to) { return [&to](const std::string& given) { to = utf8ToWide(given); }; };
    CLI::Option* const folder = command.add_option_function<std::string>("--folder", text(target.folder),
                                                                         "The notes folder, as Vellumd has it");
    folder->type_name("DIR");
    command.add_option_function<std::string>("-i", text(target.instance), "The instance, as Vellumd has it")
        ->type_name("NAME");
    CLI::Option* const user = command.add_option_function<std::string>(
        "--user", text(target.user), "In the profile of this user, for administrators");
    user->type_name("NAME")->excludes(folder);
    CLI::Option* const all =
        command.add_flag("--all-users", target.allUsers, "In every user's profile, for administrators");
    all->excludes(folder)->excludes(user);
    command.add_flag("--new-users", target.newUsers, "In the profile that new users get a copy of, for administrators")
        ->excludes(folder)
        ->excludes(user);
}

void addIds(CLI::App& command, std::vector<WideString>& ids) {
    command
        .add_option_function<std::vector<std::string>>(
            "ID",
            [&ids](const std::vector<std::string>& given) {
                for (const std::string& text : given)
                    ids.push_back(readId(text));
            },
            "Ids of notes")
        ->required();
}

void addId(CLI::App& command, WideString& id) {
    command
        .add_option_function<std::string>(
            "ID", [&id](const std::string& text) { id = readId(text); }, "Id of the note")
        ->required();
}

void addTexts(CLI::App& command, PostRequest& post) {
    const auto text = [](std::optional<WideString>& to) {
        return [&to](const std::string& given) { to = utf8ToWide(given); };
    };
    command.add_option_function<std::string>("--title", text(post.title), "The title");
    command.add_option_function<std::string>(
        "--text",
        [&post](const std::string& given) {
            post.textFromInput = given == "-";
            if (!post.textFromInput) post.text = utf8ToWide(given);
        },
        "The text; - reads it from standard input, as UTF-8");
    command
        .add_option_function<std::string>(
            "--rtf", [&post](const std::string& path) { post.rtfFile = utf8ToWide(path); },
            "A file of Rich Text to show")
        ->type_name("FILE");
    command.add_option_function<std::string>("--author", text(post.author), "Who wrote it; without it, you");
}

void addLooks(CLI::App& command, PostRequest& post) {
    command.add_option_function<std::string>(
        "--color", [&post](const std::string& given) { post.color = readColor(given); },
        "The background, #RRGGBB or #RGB");
    command
        .add_option_function<std::string>(
            "--at", [&post](const std::string& given) { post.at = readPoint(given); },
            "The place on the screen; without it an existing note keeps its own")
        ->type_name("X,Y");
    command
        .add_option_function<std::string>(
            "--size", [&post](const std::string& given) { post.size = readExtent(given); }, "Width and height")
        ->type_name("W,H");
    command.add_flag_function(
        "--editable,!--read-only", [&post](std::int64_t count) { post.editable = count > 0; },
        "Whether the user may change the text; a new note is read-only");
    command.add_flag_function(
        "--new-note,!--no-new-note", [&post](std::int64_t count) { post.newNote = count > 0; },
        "Whether the note has a button for a new note; a new note has none");
    command
        .add_option_function<std::string>(
            "--logo", [&post](const std::string& path) { post.logoFile = utf8ToWide(path); },
            "An image to show: PNG, JPEG, BMP or GIF")
        ->type_name("FILE");
}

void addNoWait(CLI::App& command, bool& waits) {
    command.add_flag_callback(
        "--no-wait", [&waits] { waits = false; },
        "Do not wait. For three seconds after the user has changed a note, Vellumd takes no "
        "notice of its file; without this option the command waits for the end of that time");
}

// One field for each command; the parser fills the one that is named.
struct Requests {
    PostRequest post;
    RemoveRequest remove;
    ListRequest list;
    ShowRequest show;
    WaitRequest wait;
    ValidateRequest validate;
    StatusRequest status;
    LogRequest log;
};

void describePost(CLI::App& command, PostRequest& post) {
    command.add_option_function<std::string>(
        "--id", [&post](const std::string& text) { post.id = readId(text); },
        "The id: the name of the file. A new one by default");
    addTexts(command, post);
    addLooks(command, post);
    addTarget(command, post.target);
    addNoWait(command, post.waits);
}

void describeWait(CLI::App& command, WaitRequest& wait) {
    addId(command, wait.id);
    command.add_option("--timeout", wait.seconds, "Give up after so many seconds")
        ->type_name("S")
        ->check(CLI::Range(0.0, 31536000.0));
    addTarget(command, wait.target);
}

void describeValidate(CLI::App& command, ValidateRequest& validate) {
    command
        .add_option_function<std::vector<std::string>>(
            "FILE",
            [&validate](const std::vector<std::string>& given) {
                for (const std::string& path : given)
                    validate.files.push_back(utf8ToWide(path));
            },
            "Note files")
        ->required();
}

void describeLog(CLI::App& command, LogRequest& log) {
    command
        .add_option_function<std::string>(
            "--since", [&log](const std::string& text) { log.since = readTime(text); },
            "Nothing older: a UTC time, or a span before now such as 90s, 30m, 2h or 3d")
        ->type_name("T");
    command
        .add_option_function<std::string>(
            "--level", [&log](const std::string& text) { log.level = readLevel(text); },
            "This level and above: debug, info, warn or error")
        ->type_name("L");
    command
        .add_option_function<std::string>(
            "-i", [&log](const std::string& name) { log.instance = utf8ToWide(name); }, "Only this instance")
        ->type_name("NAME");
}

// Adds the commands, and to `results` how each one's request is had.
using Results = std::vector<std::pair<const CLI::App*, std::function<Request()>>>;

void describe(CLI::App& app, Requests& requests, Results& results) {
    const auto add = [&](const char* name, const char* text, auto& request) -> CLI::App& {
        CLI::App* const command = app.add_subcommand(name, text);
        results.emplace_back(command, [&request] { return Request(request); });
        return *command;
    };
    describePost(
        add("post", "Write a note: a new one, or new values for an existing one. Prints its id", requests.post),
        requests.post);
    CLI::App& remove = add("remove", "Take notes away", requests.remove);
    addIds(remove, requests.remove.ids);
    addTarget(remove, requests.remove.target);
    addNoWait(remove, requests.remove.waits);
    CLI::App& list = add("list", "List the notes", requests.list);
    list.add_flag("--json", requests.list.asJson, "As an array of notes");
    addTarget(list, requests.list.target);
    CLI::App& show = add("show", "Show one note with its text", requests.show);
    addId(show, requests.show.id);
    addTarget(show, requests.show.target);
    describeWait(
        add("wait", "Wait until the user has edited the note (prints the new text) or it is gone", requests.wait),
        requests.wait);
    describeValidate(
        add("validate", "Say what Vellumd would make of files, and what is wrong with them", requests.validate),
        requests.validate);
    add("status", "Say whether every session has its notes; exits with 1 if something needs attention", requests.status)
        .add_flag("--json", requests.status.asJson, "As JSON");
    describeLog(add("log", "Print the lines of all log files in order of time", requests.log), requests.log);
}

std::vector<std::string> reversed(const std::vector<WideString>& arguments) {
    std::vector<std::string> out;
    for (const WideString& argument : arguments)
        out.push_back(wideToUtf8(argument));
    std::reverse(out.begin(), out.end());
    return out;
}

// The parser's messages can have several lines.
Failure usageFailure(const CLI::App& app, const CLI::Error& error) {
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    const auto named = app.get_subcommands();
    const std::string command = named.empty() ? "" : " " + named.front()->get_name();
    return {kUsage, text + " (vellumctl" + command + " --help)"};
}

}  // namespace

Request readRequest(const std::vector<WideString>& arguments) {
    Requests requests;
    Results results;
    CLI::App app("Puts sticky notes on the screen, takes them away and says what became of them.", "vellumctl");
    app.set_version_flag("--version", "vellumctl " VELLUM_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    describe(app, requests, results);
    try {
        app.parse(reversed(arguments));
    } catch (const CLI::CallForHelp&) {
        return TextRequest{app.help()};
    } catch (const CLI::CallForVersion& version) {
        return TextRequest{std::string(version.what()) + "\n"};
    } catch (const CLI::Error& error) {
        throw usageFailure(app, error);
    }
    for (const auto& [command, request] : results)
        if (command->parsed()) return request();
    throw Failure{kUsage, "no command"};
}

}  // namespace ctl
