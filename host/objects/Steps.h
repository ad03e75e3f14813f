#pragma once
// Independent steps, such as those of a shutdown: each is executed even if earlier ones have failed.

#include "HostReasons.h"

namespace vexa::host {

class Steps {
public:
    template <class Step>
    void Take(Step step) {
        try {
            step();
        } catch (const std::exception& error) {
            FProblem = FProblem ? Reason(HostReason("Both"), {FProblem, ReasonOf(error)}) : ReasonOf(error);
        }
    }
    /// Throws ReasonError with the reasons of all steps that have failed.
    void ThrowIfFailed() const {
        if (FProblem) throw ReasonError(FProblem);
    }

private:
    Reason FProblem;
};

}  // namespace vexa::host
