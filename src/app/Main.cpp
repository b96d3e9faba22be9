// Entry of the process: the contract query, or the App object through its life.
#include "app/App.h"
#include "app/ContractQuery.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandLine, int) {
    if (const std::optional<DWORD> answer = answerContractQuery()) return static_cast<int>(*answer);

    App app;
    const int exitCode = app.initialize(instance, commandLine == nullptr ? WideString() : WideString(commandLine));
    app.shutdown();
    return exitCode;
}
