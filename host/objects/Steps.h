#pragma once
// Independent steps, such as those of a shutdown: each is executed even if earlier ones have failed.

#include <QStringList>

#include <stdexcept>

namespace vexa::host {

class Steps {
public:
    template <class Step>
    void Take(Step step) {
        try {
            step();
        } catch (const std::exception& error) {
            FProblems += QString::fromUtf8(error.what());
        }
    }
    /// Throws std::runtime_error with the messages of all steps that have failed.
    void ThrowIfFailed() const {
        if (!FProblems.isEmpty()) throw std::runtime_error(FProblems.join(QStringLiteral("; ")).toStdString());
    }

private:
    QStringList FProblems;
};

}  // namespace vexa::host
