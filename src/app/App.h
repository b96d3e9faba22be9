// The application object. The entry function makes one, calls initialize once, runs the message loop if initialize says
// so, and calls shutdown once in every case.
//
// All state of the notes lives on the main thread and changes only in the handlers of the message window. The watcher
// thread and the note windows post the messages of common/Messages.h to it. A note window also asks a few questions
// directly, through window/NoteHost.h.
//
// Where the members are defined:
//     App.cpp            start, choice of the role, the task and dispatch roles
//     AppletRoles.cpp    the roles of the private queues
//     DisplayRole.cpp    the display role: start and shutdown
//     MessageWindow.cpp  the message window and its messages
//     NoteLifecycle.cpp  from files to open notes
//     NoteSaving.cpp     from open notes to files
//     NoteHost.cpp       what the note windows ask
#pragma once

#include <memory>

#include "app/CommandLine.h"
#include "app/OwnWrites.h"
#include "applet/QueueLease.h"
#include "common/Handles.h"
#include "common/MessageTable.h"
#include "common/OrderedMap.h"
#include "common/WideText.h"
#include "watch/FolderWatcher.h"
#include "window/NoteWindow.h"

// Keeps GDI+ running.
using DrawingToken = Guard<ValueTraits<ULONG_PTR, Gdiplus::GdiplusShutdown>>;

class App {
  public:
    App() = default;
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    // Reads the options, chooses the role and runs it. Returns the exit code of the process, or kEnterMessageLoop when
    // the display role has started. The options come from GetCommandLineW; `commandLine` is ignored. Failures are
    // logged; no message box appears.
    int initialize(HINSTANCE instance, const WideString& commandLine);

    // Undoes what initialize has done, in reverse order, also after initialize failed. Saves nothing: an edit that no
    // note window has reported is lost. The windows of the notes are destroyed when the process ends.
    void shutdown();

    // For the note windows.

    // The hidden message window; null before it is created and after shutdown.
    HWND messageWindow() const { return messageWindow_; }
    // The folder of the logo images that notes refer to by file name; empty when there is no notes folder.
    WideString logoFolder() const;
    // Returns `wanted` if it covers no open note, otherwise a free place near it, or `wanted` if there is none. The
    // note `except`, which may be null, does not count as an open note.
    RECT resolveOverlap(const RECT& wanted, const NoteWindow* except) const;
    // Saves every open note that differs from its file, before it returns: an edit that waits for its pause, a move
    // whose message is still queued, a change that an earlier save could not write.
    void saveUnsavedNotes();

  private:
    using NoteWindowPtr = std::unique_ptr<NoteWindow>;

    int startApplet(const CommandLineOptions& options);
    int startAppletDisplay(const CommandLineOptions& options);
    static int dispatchOrManageTask(const CommandLineOptions& options);

    int startDisplay(const CommandLineOptions& options);
    int openNotesFolder(const CommandLineOptions& options);
    bool claimInstance(const WideString& mutexName, int& exitCode);
    bool startDrawing();
    void registerAutoStart(const WideString& folderOption) const;
    bool createMessageWindow();
    void startWatching();

    static LRESULT CALLBACK messageWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT handleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    using Handler = void (App::*)(WPARAM wParam, LPARAM lParam);
    static const MessageRow<Handler> kHandled[];
    void onFileAddedMessage(WPARAM, LPARAM path);
    void onFileRemovedMessage(WPARAM, LPARAM path);
    void onNoteDismissMessage(WPARAM, LPARAM id);
    void onNoteSaveMessage(WPARAM, LPARAM id);
    void onNoteNewMessage(WPARAM, LPARAM);
    void onTimer(WPARAM, LPARAM);
    void onDestroy(WPARAM, LPARAM);
    void onEndSession(WPARAM isEnding, LPARAM);
    void onDisplayChange(WPARAM, LPARAM);
    void rescueFromOffScreen(NoteWindow& window);

    WideString notePath(WideView id) const;
    void scanFolder();
    void loadNote(const WideString& path);
    bool readNote(const WideString& path, NoteRecord& record, WideString& error) const;
    bool readPrivateNote(const WideString& path, NoteRecord& record, WideString& error) const;
    void openNote(NoteRecord record);
    void onFileChanged(const WideString& path);
    void onFileRemoved(const WideString& path);

    bool saveNote(NoteWindow* window);
    void createNewNote();
    bool writeNote(const WideString& path, const NoteRecord& note, WideString& error) const;
    void dismissNote(const WideString& id);
    void dismissPrivateNote(const WideString& id);
    void cleanupStartup(const WCHAR* occasion) const;
    void insertNote(NoteWindowPtr window);
    void eraseNote(const WideString& id);

    HINSTANCE hInstance_ = nullptr;
    HWND messageWindow_ = nullptr;
    InstanceMutex instanceMutex_;
    DrawingToken gdiplusToken_;
    bool comInitialized_ = false;
    WideString notesFolder_;
    bool noAutostart_ = false;
    AppletNotes::QueueLease lease_;  // active in the role --applet-queue only
    FolderWatcher watcher_;
    OrderedMap<NoteWindowPtr> notes_;
    OwnWrites ownWrites_;
};

// Runs until WM_QUIT, or until GetMessageW fails. Returns the exit code of the process.
int runMessageLoop();
