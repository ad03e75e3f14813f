#pragma once
// Waits for the end of a request that a storage answers by events. Main thread.

#include "Commands.h"

#include <QEventLoop>

namespace vexa::host {

class Completion {
public:
    /// Nothing more will follow. May be called before the wait begins, or after it was given up.
    void Complete() {
        FIsComplete = true;
        if (FLoop) FLoop->quit();
    }
    /// Waits in an event loop, so that the host goes on working as a player with windows does. Throws CommandError if
    /// the program ends before; `what` says before what.
    void Wait(const QString& what) {
        if (!FIsComplete) {
            QEventLoop loop;
            FLoop = &loop;
            loop.exec();
            FLoop = nullptr;
        }
        if (!FIsComplete) throw CommandError(u"the program ends before " + what, E_ABORT);
    }

private:
    bool FIsComplete = false;
    QEventLoop* FLoop = nullptr;
};

}  // namespace vexa::host
