// What the objects of the Task Scheduler have in common: references, methods that nobody calls, setters and getters.
#pragma once

#include <oaidl.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "core/Counts.h"
#include "core/Gate.h"

namespace platform {

[[noreturn]] inline void abortUnbuilt(const char* method) {
    std::fprintf(stderr, "%s: the stand-in does not have this method\n", method);
    std::abort();
}

// A method that the product does not call. It aborts.
#define NOT_CALLED(method, ...)            \
    HRESULT method(__VA_ARGS__) override { \
        abortUnbuilt(#method);             \
    }

// A setter that stores the value.
#define PUTS(name, method, Type, member)                    \
    HRESULT method(Type value) override {                   \
        static constinit CallSite site{#name "::" #method}; \
        const HRESULT refused = site.hresult();             \
        if (SUCCEEDED(refused)) keep(member, value);        \
        return refused;                                     \
    }

// A getter that returns a new view of the same data.
#define GIVES(name, method, Type, View)                     \
    HRESULT method(Type** object) override {                \
        static constinit CallSite site{#name "::" #method}; \
        *object = nullptr;                                  \
        const HRESULT refused = site.hresult();             \
        if (SUCCEEDED(refused)) *object = new View(seen_);  \
        return refused;                                     \
    }

template <typename Value>
void keep(Value& member, Value value) {
    member = value;
}
inline void keep(std::u16string& member, BSTR value) {
    member = value == nullptr ? u"" : value;
}

// A new object has one reference, which belongs to the caller.
template <typename Interface, typename Seen>
class View : public Interface {
  public:
    explicit View(std::shared_ptr<Seen> seen) : seen_(std::move(seen)) { countOpened(Open::Interfaces); }

    NOT_CALLED(QueryInterface, REFIID, void**)
    ULONG AddRef() override {
        countOpened(Open::Interfaces);
        return ++own_;
    }
    ULONG Release() override {
        countClosed(Open::Interfaces);
        const ULONG left = --own_;
        if (left == 0) delete this;
        return left;
    }
    NOT_CALLED(GetTypeInfoCount, UINT*)
    NOT_CALLED(GetTypeInfo, UINT, LCID, ITypeInfo**)
    NOT_CALLED(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
    NOT_CALLED(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)

  protected:
    virtual ~View() = default;
    const std::shared_ptr<Seen> seen_;

  private:
    std::atomic<ULONG> own_{1};
};

}  // namespace platform
