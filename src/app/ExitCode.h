// Exit codes of the process. The contract query alone answers with Windows error numbers instead.
#pragma once

enum ExitCode : int {
    kEnterMessageLoop = -1,  // no exit: the display role has started

    kSuccess = 0,
    kComFailed = 1,
    kNoNotesFolder = 2,
    kNotesFolderFailed = 3,
    kMutexFailed = 4,
    kDrawingFailed = 5,
    kMessageWindowFailed = 6,
    kNoteClassFailed = 7,
    kDeleteFailed = 10,
    kRegisterFailed = 11,
    kActionsCombined = 12,
    kDispatchFailed = 13,
    kAppletArgumentsRejected = 14,
    kAppletStartFailed = 15,
    kRecoveryFailed = 16,      // a queue, or the pass itself
    kRecoveryIncomplete = 17,  // nothing failed, but something is left for a later pass
};
