// Critical sections: pthread mutexes inside the caller's memory.
#include <pthread.h>

#include <winbase.h>
#include <new>

#include "core/Gate.h"

using namespace platform;

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION) &&
              alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

pthread_mutex_t* mutexOf(LPCRITICAL_SECTION section) {
    return reinterpret_cast<pthread_mutex_t*>(section->opaque);
}

}  // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section) {
    static constinit CallSite site{__func__};
    site.pass();
    pthread_mutexattr_t recursive;
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (section->opaque) pthread_mutex_t, &recursive);
    pthread_mutexattr_destroy(&recursive);
}

void EnterCriticalSection(LPCRITICAL_SECTION section) {
    static constinit CallSite site{__func__};
    site.pass();
    pthread_mutex_lock(mutexOf(section));
}

void LeaveCriticalSection(LPCRITICAL_SECTION section) {
    static constinit CallSite site{__func__};
    site.pass();
    pthread_mutex_unlock(mutexOf(section));
}
