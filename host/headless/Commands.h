#pragma once
// The commands of `vexa --headless`: how a line is parsed, and what is answered. docs/headless.md lists them.
//
// To add one, write its function in one of the Commands.*.cpp, declare it in Commands.Functions.h, and give it a row in
// Commands.cpp.

#include "Host.h"

#include <QJsonObject>
#include <QStringList>

#include <span>
#include <stdexcept>

namespace vexa::host {

/// Why a command failed; answered as {"ok":false,"error":…,"code":…}.
class CommandError : public std::runtime_error {
public:
    explicit CommandError(const QString& message, HResult code = E_FAIL)
        : std::runtime_error(message.toStdString()), FCode(code) {}
    HResult Code() const noexcept { return FCode; }

private:
    HResult FCode;
};

struct Command {
    /// The thread a command runs on. Commands that call extensions which a host calls on its own threads run on a
    /// worker.
    enum class Thread { Main, Worker };
    using Function = QJsonObject (*)(Host& host, const QStringList& arguments);

    const char* Name;
    const char* Arguments;  // "ADDRESS [open]"
    int MinArguments, MaxArguments;
    const char* Help;
    Thread RunsOn;
    Function Run;  // returns what is answered beside "ok"; throws CommandError
    bool EndsSession = false;
};

std::span<const Command> Commands();
/// The command of that name; null when there is none.
const Command* FindCommand(const QString& name);

/// The words of a line. They are separated by blanks, or enclosed in double quotes, within which "" is a quote.
QStringList SplitLine(const QString& line);

/// {"ok":true} and the members of `more`.
QJsonObject Success(QJsonObject more);
QJsonObject Failure(const QString& message, HResult code);

/// Runs a command and returns its answer, or a failure, such as for a wrong number of arguments.
QJsonObject Answer(const Command& command, Host& host, const QStringList& arguments) noexcept;

}  // namespace vexa::host
