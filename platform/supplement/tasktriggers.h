// Published interfaces of Task Scheduler 2.0 that mingw-w64's <taskschd.h> lacks. Both platforms use these
// declarations. If <taskschd.h> declares them, its version is used instead.
#pragma once

#include <taskschd.h>

#ifndef __ILogonTrigger_INTERFACE_DEFINED__

#ifndef STDMETHODCALLTYPE
#define STDMETHODCALLTYPE
#endif

enum TASK_SESSION_STATE_CHANGE_TYPE { TASK_CONSOLE_CONNECT = 1, TASK_REMOTE_CONNECT = 3, TASK_SESSION_UNLOCK = 8 };

inline constexpr GUID IID_ILogonTrigger = {
    0x72dade38, 0xfae4, 0x4b3e, {0xba, 0xf4, 0x5d, 0x00, 0x9a, 0xf0, 0x2b, 0x1c}};
inline constexpr GUID IID_IBootTrigger = {0x2a9c35da, 0xd357, 0x41f4, {0xbb, 0xc1, 0x20, 0x7a, 0xc1, 0xb1, 0xf3, 0xcb}};
inline constexpr GUID IID_ISessionStateChangeTrigger = {
    0x754da71b, 0x4385, 0x4475, {0x9d, 0xd9, 0x59, 0x82, 0x94, 0xfa, 0x36, 0x41}};

struct ILogonTrigger : ITrigger {
    virtual HRESULT STDMETHODCALLTYPE get_Delay(BSTR* delay) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Delay(BSTR delay) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UserId(BSTR* user) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_UserId(BSTR user) = 0;

  protected:
    ~ILogonTrigger() = default;
};

struct IBootTrigger : ITrigger {
    virtual HRESULT STDMETHODCALLTYPE get_Delay(BSTR* delay) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Delay(BSTR delay) = 0;

  protected:
    ~IBootTrigger() = default;
};

struct ISessionStateChangeTrigger : ITrigger {
    virtual HRESULT STDMETHODCALLTYPE get_Delay(BSTR* delay) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Delay(BSTR delay) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UserId(BSTR* user) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_UserId(BSTR user) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_StateChange(TASK_SESSION_STATE_CHANGE_TYPE* change) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_StateChange(TASK_SESSION_STATE_CHANGE_TYPE change) = 0;

  protected:
    ~ISessionStateChangeTrigger() = default;
};

#endif
