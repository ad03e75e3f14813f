#pragma once
// Steps that do not need one another, such as those at an end: each is taken, whatever became of those before it.

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
    /// Throws std::runtime_error with the messages of all that failed.
    void ThrowIfFailed() const {
        if (!FProblems.isEmpty()) throw std::runtime_error(FProblems.join(QStringLiteral("; ")).toStdString());
    }

private:
    QStringList FProblems;
};

}  // namespace vexa::host
