#pragma once
// The command line: global options, the command, its operands and options.

#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

namespace podcasts::cli {

class Session;
class Terminal;

/// Thrown for arguments that are wrong. Ends the program with status 2.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

struct Option {
    QString Name;         // "--limit"
    QString Placeholder;  // "N"; empty for an option without a value
    QString Help;
};

struct Arguments {
    QStringList Operands;
    std::map<QString, QString> Options;  // values by name; empty for an option without a value
    bool Json = false;

    bool Has(const QString& option) const { return Options.contains(option); }
    /// The option's value as a non-negative number; nothing when the option is not given. Throws UsageError for any
    /// other value.
    std::optional<qint64> Number(const QString& option) const;
};

struct Command {
    QString Name;
    QString Operands;  // as the synopsis shows them
    QString Summary;
    std::vector<Option> Options;
    int MinOperands;
    int MaxOperands;  // −1: any number
    bool HasJson;
    int (*Run)(Session& session, const Arguments& arguments);  // returns the exit status
    void (*Check)(const Arguments& arguments) = nullptr;       // called before a profile is opened; throws UsageError
    /// In place of Run, for commands that do not open the profile.
    int (*RunOnFolder)(const QString& profileFolder, Terminal& terminal, const Arguments& arguments) = nullptr;
};

/// Every command, in the order in which help shows them.
const std::vector<Command>& Commands();

struct Invocation {
    const Command* Chosen = nullptr;  // null: help or version of the program
    Arguments Given;
    QString Profile;
    bool IsWithoutBackup = false;
    bool WantsHelp = false;
    bool WantsVersion = false;
};

/// Throws UsageError.
Invocation ParseArguments(const QStringList& words);

QString HelpText(const Command* command);

}  // namespace podcasts::cli
