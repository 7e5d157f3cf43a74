// Platform thread with function<int> bodies.
#include "foundation/GThread.h"

GThread::GThread(function<int> body, std::string const& name, function<int> startHook,
                 function<int> stopHook)
    : KVThread([body] { return body(); }, name, [startHook] { return startHook(); },
               [stopHook] { return stopHook(); }) {}

GThread::~GThread() {
    stop();
}

int GThread::emptyFun() {
    return 0;
}
