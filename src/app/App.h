// The one object of the process. The entry function makes it, calls initialize once, runs the message loop if
// initialize says so, and calls shutdown once in every case.
//
// All state of the notes lives on the main thread and changes only in the handlers of the message window. Everybody
// else (the watcher's thread, the note windows) reaches it by posting one of the messages in common/Messages.h.
//
// App.cpp has the roles, AppletRoles.cpp those of the private queues, DisplayRole.cpp the way from the options to the
// first note and back, MessageWindow.cpp the messages, NoteLifecycle.cpp how the open notes follow the files,
// NoteSaving.cpp how changes go back, NoteHost.cpp what the note windows ask.
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

// Of GDI+, which runs while the token is held.
using DrawingToken = Guard<ValueTraits<ULONG_PTR, Gdiplus::GdiplusShutdown>>;

class App {
  public:
    App() = default;
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    // Reads the options, decides the role and runs it. Returns the exit code of the process, or kEnterMessageLoop
    // when the display role has started. The options come from the system's own copy of the command line;
    // `commandLine` is taken and not used. Failures are in the log, and with them nothing is shown to the user.
    int initialize(HINSTANCE instance, const WideString& commandLine);

    // Undoes what initialize has done, in order, also after a failure. Saves nothing: what an open note has not
    // reported is lost, and native windows of notes go with the process.
    void shutdown();

    // For the note windows.

    // Hidden; null before it is made and after shutdown.
    HWND messageWindow() const { return messageWindow_; }
    // Where the images lie that notes name; empty when there is no notes folder.
    WideString logoFolder() const;
    // Where a note that wants this rectangle goes without covering an open note: a free place near it, or the
    // rectangle itself. `except`, which may be null, is not in the way.
    RECT resolveOverlap(const RECT& wanted, const NoteWindow* except) const;
    // Saves every open note with a change that its file lacks, before it returns: an edit that waits for its pause, a
    // move whose message is still in the queue, what an earlier save could not write.
    void saveUnsavedNotes();

  private:
    using NoteWindowPtr = std::unique_ptr<NoteWindow>;

    int startApplet(const CommandLineOptions& options);
    int startAppletDisplay(const CommandLineOptions& options);
    int dispatchOrManageTask(const CommandLineOptions& options);

    int startDisplay(const CommandLineOptions& options);
    int openNotesFolder(const CommandLineOptions& options);
    bool claimInstance(const WideString& mutexName, int& exitCode);
    bool startDrawing();
    void registerAutoStart(const WideString& folderOption);
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
    bool writeNote(const WideString& path, const NoteRecord& record, WideString& error) const;
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
    AppletNotes::QueueLease lease_;  // held in the applet display role, and in no other
    FolderWatcher watcher_;
    OrderedMap<NoteWindowPtr> notes_;
    OwnWrites ownWrites_;
};

// Runs until the quit message, or until messages cannot be had; gives the exit code of the process.
int runMessageLoop();
