#include "VEXA.Runtime.Classes.h"

#include <utility>

namespace vexa {

LockablePersistent::~LockablePersistent() = default;

void LockablePersistent::Assign(const LockablePersistent& source) {
    BeginUpdate();
    try {
        DoAssign(source);
    } catch (...) {
        EndUpdate();
        throw;
    }
    EndUpdate();
}

void LockablePersistent::BeginUpdate() {
    ++FUpdateDepth;
}

void LockablePersistent::EndUpdate() {
    if (--FUpdateDepth == 0 && FPendingChanges != 0) DoChanged(std::exchange(FPendingChanges, 0));
}

void LockablePersistent::CancelUpdate() {
    if (--FUpdateDepth == 0) FPendingChanges = 0;
}

void LockablePersistent::Changed(int changes) {
    if (FUpdateDepth > 0)
        FPendingChanges |= changes;
    else
        DoChanged(changes);
}

}  // namespace vexa
