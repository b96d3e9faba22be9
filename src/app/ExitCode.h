// Exit codes of the process. docs/administration.md explains them to users. The contract query is the exception: it
// returns Windows error numbers.
#pragma once

enum ExitCode : int {
    kEnterMessageLoop = -1,  // not an exit code: the display role has started

    kSuccess = 0,
    kComFailed = 1,          // CoInitializeEx failed
    kNoNotesFolder = 2,      // no --folder, and the default folder is unknown
    kNotesFolderFailed = 3,  // the notes folder cannot be created
    kMutexFailed = 4,        // the mutex of the instance cannot be created
    kDrawingFailed = 5,      // GdiplusStartup failed
    kMessageWindowFailed = 6,
    kNoteClassFailed = 7,
    kDeleteFailed = 10,             // /delete
    kRegisterFailed = 11,           // /register
    kActionsCombined = 12,          // more than one of /register, /delete, --launch-user-sessions
    kDispatchFailed = 13,           // --launch-user-sessions: at least one session was not served
    kAppletArgumentsRejected = 14,  // the options do not fit an applet role
    kAppletStartFailed = 15,        // integrity level, context, store or lease refused
    kRecoveryFailed = 16,           // --applet-recover: a queue failed, or the pass itself
    kRecoveryIncomplete = 17,       // --applet-recover: nothing failed, but something is left for a later pass
};
