// The entry point: answers the contract query, or runs the App object.
#include "app/App.h"
#include "app/ContractQuery.h"
#include "app/ExitCode.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandLine, int) {
    if (const std::optional<DWORD> answer = answerContractQuery()) return static_cast<int>(*answer);

    App app;
    int exitCode = app.initialize(instance, commandLine == nullptr ? WideString() : WideString(commandLine));
    if (exitCode == kEnterMessageLoop) exitCode = runMessageLoop();
    app.shutdown();
    return exitCode;
}
