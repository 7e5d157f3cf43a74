// The platform thread class in the form controllers build it: bodies and
// hooks as function<int>.
#pragma once

#include "foundation/Function.h"
#include "platform/KVThread.h"

#include <string>

// A named thread calling its body pass after pass (see KVThread). Its
// signature carries the library's function<int>, which is why it sits above
// the platform layer that does the work.
class GThread : public KVThread {
public:
    GThread(function<int> body, std::string const& name, function<int> startHook,
            function<int> stopHook);
    ~GThread() override;

    // The hook every controller passes: does nothing.
    static int emptyFun();
};

// Builds, unstarted, the thread a controller runs one of its member functions
// on: the body bound to `owner`, and GThread::emptyFun for both hooks. The
// caller owns the result and stops and deletes it before itself.
template <class C>
GThread* makeMemberThread(C* owner, int (C::*body)(), std::string const& name) {
    return new GThread(bind_member<int, C>(owner, body), name,
                       bind_function<int>(&GThread::emptyFun),
                       bind_function<int>(&GThread::emptyFun));
}
