// The option table and what is derived from the options. App::initialize calls scanOptions once, on the main thread.
#include "app/CommandLine.h"

#include <algorithm>
#include <array>

#include "applet/QueueName.h"
#include "common/Arguments.h"

namespace {

using Options = CommandLineOptions;

enum class Value {
    None,
    NextArgument,  // the next argument, even if it looks like an option; at the end the option is unknown
    Rest,          // the rest of the same argument
};

struct Option {
    std::array<const WCHAR*, 3> names;  // unused ones are null
    Value value;
    void (*apply)(Options&, const WideString&);
};

void applyInstance(Options& options, const WideString& name) {
    options.instanceName = name;
}
void applyFolder(Options& options, const WideString& folder) {
    options.folderOption = folder;
}
void applyLevel(Options& options, const WideString& word) {
    logParseLevel(word.c_str(), &options.logLevel);
}

template <bool Options::*Flag>
void raise(Options& options, const WideString&) {
    options.*Flag = true;
}

// Names are compared exactly; the first match wins.
constexpr Option kOptions[] = {
    {{TEXT("-i")}, Value::NextArgument, applyInstance},
    {{TEXT("/register"), TEXT("--register")}, Value::None, raise<&Options::registerTask>},
    {{TEXT("/delete"), TEXT("--delete")}, Value::None, raise<&Options::deleteTask>},
    {{TEXT("--launch-user-sessions")}, Value::None, raise<&Options::launchSessions>},
    {{TEXT("--applet-queue")}, Value::None, raise<&Options::appletQueue>},
    {{TEXT("--applet-recover")}, Value::None, raise<&Options::appletRecover>},
    {{TEXT("-f"), TEXT("--folder"), TEXT("/folder")}, Value::NextArgument, applyFolder},
    {{TEXT("--folder=")}, Value::Rest, applyFolder},
    {{TEXT("--no-autostart")}, Value::None, raise<&Options::noAutostart>},
    {{TEXT("--log-level")}, Value::NextArgument, applyLevel},
    {{TEXT("--log-level=")}, Value::Rest, applyLevel},
    {{TEXT("-h"), TEXT("--help"), TEXT("/?")}, Value::None, raise<&Options::helpRequested>},
};

bool matches(const Option& option, const WideString& argument, bool isLast, WideString& value) {
    for (const WCHAR* name : option.names) {
        if (name == nullptr) continue;
        if (option.value == Value::Rest && argument.starts_with(name)) {
            value = argument.substr(WideView(name).size());
            return true;
        }
        if (option.value != Value::Rest && argument == name) return option.value == Value::None || !isLast;
    }
    return false;
}

}  // namespace

CommandLineOptions scanOptions(const std::vector<WideString>& arguments) {
    Options options;
    for (std::size_t i = 1; i < arguments.size() && !options.helpRequested; ++i) {
        const bool isLast = i + 1 == arguments.size();
        WideString value;
        const Option* const option =
            std::find_if(std::begin(kOptions), std::end(kOptions),
                         [&](const Option& candidate) { return matches(candidate, arguments[i], isLast, value); });
        if (option == std::end(kOptions)) {
            options.unknownSeen = true;
            continue;
        }
        if (option->value == Value::NextArgument) value = arguments[++i];
        option->apply(options, value);
    }
    return options;
}

bool appletArgumentsRejected(const CommandLineOptions& options) {
    AppletNotes::QueueName queue;
    if (options.registerTask || options.deleteTask || options.launchSessions || options.unknownSeen) return true;
    if (!options.folderOption.empty()) return true;
    if (options.appletQueue && options.appletRecover) return true;
    if (options.appletQueue) return !AppletNotes::parseQueueName(options.instanceName, queue);
    return !options.instanceName.empty();
}

WideString forwardedArguments(const CommandLineOptions& options) {
    WideString forwarded;
    if (!options.instanceName.empty()) forwarded += TEXT("-i ") + quoteArgument(options.instanceName) + TEXT(" ");
    if (!options.folderOption.empty()) forwarded += TEXT("--folder ") + quoteArgument(options.folderOption) + TEXT(" ");
    return forwarded += TEXT("--no-autostart");
}

WideString taskName(const WideString& instanceName) {
    const WideString name = TEXT("Ombrel Agent Display Notes");
    return instanceName.empty() ? name : name + TEXT(" - ") + instanceName;
}

// clang-format off
WideString helpText() {
    return TEXT("Vellumd - sticky notes daemon.\n")
           TEXT("\n")
           TEXT("Options:\n")
           TEXT("  -f, --folder <dir>     Folder where note JSON files live.\n")
           TEXT("                         Default: %LOCALAPPDATA%\\Quorvane\\Ombrel\\Notes\n")
           TEXT("  --no-autostart         Skip writing the HKCU Run key.\n")
           TEXT("  -i <instancename>     Instance name (affects log folder).\n")
           TEXT("  /register              Register all-session startup/recovery\n")
           TEXT("                         and launch now (requires elevation).\n")
           TEXT("  /delete                Remove recovery task (requires elevation).\n")
           TEXT("  --log-level <level>    debug|info|warn|error (default: info)\n")
           TEXT("                         Log: %PROGRAMDATA%\\OmbrelService_Common[_<instance>]\\Logs\\\n")
           TEXT("  -h, --help             Show this help.\n");
}
// clang-format on
