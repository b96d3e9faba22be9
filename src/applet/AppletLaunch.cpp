// Starts child processes for the applet roles, with the checks and the tokens for it. Main thread.
#include "applet/AppletLaunch.h"

#include <userenv.h>
#include <winsafer.h>

#include "applet/Error.h"
#include "applet/QueueName.h"
#include "applet/StoreFiles.h"

namespace AppletNotes {
namespace {

constexpr std::size_t kDriveUnits = 3;
constexpr UINT kRejectedExitCode = 5;

struct Child {
    OwnedHandle process;
    OwnedHandle thread;
};

// Holds this process's image and its folders open, so that nobody can replace, write or move them while the child is
// created.
struct PinnedImage {
    WideString path;
    std::vector<OwnedHandle> handles;

    bool pin(DWORD& err) {
        if (!readPath(err) || !pinFolder(path.substr(0, kDriveUnits), err)) return false;
        for (std::size_t end = path.find(TEXT('\\'), kDriveUnits); end != WideString::npos;
             end = path.find(TEXT('\\'), end + 1))
            if (!pinFolder(path.substr(0, end), err)) return false;
        OwnedHandle image = openExistingFile(path, GENERIC_READ, FILE_SHARE_READ, err);
        if (!image) return false;
        if (!verifyHandle(image.get(), false, nullptr, err)) return fail(err, ERROR_ACCESS_DENIED);
        handles.push_back(std::move(image));
        return true;
    }
    WideString folder() const { return path.substr(0, path.rfind(TEXT('\\'))); }

  private:
    bool readPath(DWORD& err) {
        if (!readOwnPath(path, err)) return false;
        const bool hasDrive = path.size() >= kDriveUnits && path[1] == TEXT(':') && path[2] == TEXT('\\');
        return hasDrive || fail(err, ERROR_BAD_PATHNAME);
    }
    bool pinFolder(const WideString& name, DWORD& err) {
        OwnedHandle handle = openDirectory(name, 0, nullptr, err);
        if (!handle) return false;
        handles.push_back(std::move(handle));
        return true;
    }
};

class Environment {
  public:
    explicit Environment(HANDLE token) {
        if (!CreateEnvironmentBlock(&block_, token, FALSE)) block_ = nullptr;
    }
    ~Environment() {
        if (block_ != nullptr && !DestroyEnvironmentBlock(block_))
            OutputDebugStringW(TEXT("AppletNotes: environment release failed\n"));
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    void* get() const { return block_; }

  private:
    void* block_ = nullptr;
};

// Only a queue of this logon may be launched: one of another logon must be claimed first.
DWORD checkQueue(const AppletContext& context, const WideString& queueName) {
    if (queueName.empty()) return ERROR_SUCCESS;
    QueueName parsed;
    if (!parseQueueName(queueName, parsed)) return ERROR_INVALID_PARAMETER;
    const bool own = isValid(parsed.identity) && isValid(context.identity) && parsed.identity == context.identity;
    return own ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

WideString childCommand(const WideString& image, const WideString& queueName) {
    const WideString arguments = queueName.empty() ? WideString(TEXT("--applet-recover"))
                                                   : TEXT("--applet-queue -i ") + queueName + TEXT(" --no-autostart");
    return TEXT("\"") + image + TEXT("\" ") + arguments;
}

bool createSuspended(const PinnedImage& image, const WideString& queueName, HANDLE token, Child& child, DWORD& err) {
    WideString command = childCommand(image.path, queueName);
    const WideString folder = image.folder();
    WCHAR desktop[] = TEXT("winsta0\\default");
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.lpDesktop = desktop;
    PROCESS_INFORMATION made = {};
    if (token == nullptr) {
        if (!CreateProcessW(image.path.c_str(), command.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr,
                            folder.c_str(), &startup, &made))
            return failWithLastError(err);
    } else {
        const Environment environment(token);
        if (environment.get() == nullptr) return failWithLastError(err);
        if (!CreateProcessAsUserW(token, image.path.c_str(), command.data(), nullptr, nullptr, FALSE,
                                  CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT, environment.get(), folder.c_str(),
                                  &startup, &made))
            return failWithLastError(err);
    }
    child.process.reset(made.hProcess);
    child.thread.reset(made.hThread);
    return true;
}

// Resumes the child if its token belongs to the expected user and logon.
bool resumeIfExpected(const Child& child, const AppletContext& context, DWORD& err) {
    OwnedHandle token;
    if (!OpenProcessToken(child.process.get(), TOKEN_QUERY, token.put())) return failWithLastError(err);
    LogonIdentity identity;
    SidBytes userSid;
    if (!readTokenIdentity(token.get(), identity, userSid, err, false)) return false;
    if (!isSameLogon(identity, userSid, context)) return fail(err, ERROR_ACCESS_DENIED);
    return ResumeThread(child.thread.get()) != static_cast<DWORD>(-1) || failWithLastError(err);
}

DWORD startChild(const AppletContext& context, const WideString& queueName, HANDLE token) {
    PinnedImage image;
    Child child;
    DWORD err = ERROR_SUCCESS;
    if (!image.pin(err) || !createSuspended(image, queueName, token, child, err)) return err;
    if (resumeIfExpected(child, context, err)) return ERROR_SUCCESS;
    if (!TerminateProcess(child.process.get(), kRejectedExitCode))
        OutputDebugStringW(TEXT("AppletNotes: rejected child termination failed\n"));
    return err;
}

OwnedHandle computeNormalUser(HANDLE processToken, DWORD& err) {
    OwnedHandle token;
    Guard<ValueTraits<SAFER_LEVEL_HANDLE, SaferCloseLevel>> level;
    if (!SaferCreateLevel(SAFER_SCOPEID_USER, SAFER_LEVELID_NORMALUSER, SAFER_LEVEL_OPEN, level.put(), nullptr)) {
        err = GetLastError();
        return token;
    }
    err = ERROR_SUCCESS;
    if (!SaferComputeTokenFromLevel(level.get(), processToken, token.put(), 0, nullptr)) err = GetLastError();
    if (!SaferCloseLevel(level.release()) && err == ERROR_SUCCESS) err = GetLastError();
    if (err == ERROR_SUCCESS && !token) err = ERROR_INVALID_HANDLE;
    if (err != ERROR_SUCCESS) token.reset();
    return token;
}

bool setMediumIntegrity(HANDLE token) {
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD bytes = sizeof sid;
    if (!CreateWellKnownSid(WinMediumLabelSid, nullptr, sid, &bytes)) return false;
    TOKEN_MANDATORY_LABEL label = {};
    label.Label.Sid = sid;
    label.Label.Attributes = SE_GROUP_INTEGRITY;
    const DWORD size = static_cast<DWORD>(sizeof label) + GetLengthSid(sid);
    return SetTokenInformation(token, TokenIntegrityLevel, &label, size) != FALSE;
}

}  // namespace

OwnedHandle makeMediumToken(HANDLE processToken, DWORD& err) {
    constexpr DWORD kAccess =
        TOKEN_ASSIGN_PRIMARY | TOKEN_DUPLICATE | TOKEN_IMPERSONATE | TOKEN_QUERY | TOKEN_ADJUST_DEFAULT;
    const OwnedHandle normal = computeNormalUser(processToken, err);
    if (!normal) return OwnedHandle();
    OwnedHandle restricted, primary;
    const bool made =
        CreateRestrictedToken(normal.get(), DISABLE_MAX_PRIVILEGE, 0, nullptr, 0, nullptr, 0, nullptr,
                              restricted.put()) &&
        DuplicateTokenEx(restricted.get(), kAccess, nullptr, SecurityImpersonation, TokenPrimary, primary.put()) &&
        setMediumIntegrity(primary.get());
    if (!made) {
        err = GetLastError();
        primary.reset();
    }
    return primary;
}

DWORD launchApplet(const AppletContext& context, const WideString& queueName, HANDLE token) {
    if (const DWORD err = checkQueue(context, queueName)) return err;
    return startChild(context, queueName, token);
}

bool startAtMediumIntegrity(const WideString& queueName, bool& relaunched, DWORD& err) {
    relaunched = false;
    AppletContext context;
    if (readAppletContext(context, err, false)) return true;
    if (!readAppletContext(context, err, true)) return false;

    OwnedHandle processToken;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, processToken.put()))
        return failWithLastError(err);
    const OwnedHandle medium = makeMediumToken(processToken.get(), err);
    LogonIdentity identity;
    SidBytes userSid;
    if (!medium || !readTokenIdentity(medium.get(), identity, userSid, err, false)) return false;
    if (!isSameLogon(identity, userSid, context)) return fail(err, ERROR_ACCESS_DENIED);
    err = launchApplet(context, queueName, medium.get());
    relaunched = err == ERROR_SUCCESS;
    return relaunched;
}

DWORD dispatchQueue(const WideString& queueName) {
    QueueName parsed;
    if (!parseQueueName(queueName, parsed)) return ERROR_INVALID_PARAMETER;
    DWORD err = ERROR_SUCCESS;
    AppletContext context;
    if (!readAppletContext(context, err, false)) return err;
    return launchApplet(context, queueName, nullptr);
}

}  // namespace AppletNotes
