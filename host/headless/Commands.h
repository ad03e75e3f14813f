#pragma once
// The commands of `vexa --headless`: what a line means, and what is answered. docs/headless.md lists them.
//
// To add one, write its function in one of the Commands.*.cpp, declare it in Commands.Functions.h, and give it a row in
// Commands.cpp.

#include "Host.h"

#include <QJsonObject>
#include <QStringList>

#include <span>
#include <stdexcept>

namespace vexa::host {

/// Why a command failed: {"ok":false,"error":…,"code":…}.
class CommandError : public std::runtime_error {
public:
    explicit CommandError(const QString& message, HResult code = E_FAIL)
        : std::runtime_error(message.toStdString()), FCode(code) {}
    HResult Code() const noexcept { return FCode; }

private:
    HResult FCode;
};

struct Command {
    /// Where it runs: calls of extensions that a host makes on threads of its own run on one.
    enum class Thread { Main, Worker };
    using Function = QJsonObject (*)(Host& host, const QStringList& arguments);

    const char* Name;
    const char* Arguments;  // "ADDRESS [open]"
    int Least, Most;        // how many
    const char* Help;
    Thread Where;
    Function Run;  // what is answered beside "ok"; throws CommandError
    bool EndsSession = false;
};

std::span<const Command> Commands();
/// Null for no command's name.
const Command* FindCommand(const QString& name);

/// The words of a line: separated by blanks, or between double quotes, in which "" is a quote.
QStringList SplitLine(const QString& line);

/// {"ok":true} with more.
QJsonObject Success(QJsonObject more);
QJsonObject Failure(const QString& message, HResult code);

/// Runs a command, if `arguments` are as many as it takes; never throws.
QJsonObject Answer(const Command& command, Host& host, const QStringList& arguments) noexcept;

}  // namespace vexa::host
