#pragma once
// Programs that a test starts.

#include <QProcess>

namespace tests {

constexpr int kLongest = 120000;  // ms; only a program that hangs takes longer

struct Result {
    int Status = -1;  // the exit status; -1 after a crash, -2 when the program hangs
    QString Out, Error;
};

/// Waits for a program's end.
inline Result Finish(QProcess& program) {
    if (program.state() != QProcess::NotRunning && !program.waitForFinished(kLongest))
        return {-2, "", "it did not end"};
    const int status = program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    return {status, QString::fromUtf8(program.readAllStandardOutput()),
            QString::fromUtf8(program.readAllStandardError())};
}

}  // namespace tests
