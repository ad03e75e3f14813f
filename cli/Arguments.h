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

/// What was asked for in a way that cannot be understood. Ends the program with status 2.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

struct Option {
    QString Name;         // "--limit"
    QString Placeholder;  // "N"; empty for an option without value
    QString Help;
};

struct Arguments {
    QStringList Operands;
    std::map<QString, QString> Options;  // by name; the value is empty for one without value
    bool Json = false;

    bool Has(const QString& option) const { return Options.contains(option); }
    /// A number that is not negative; nothing when the option is not given. Throws UsageError.
    std::optional<qint64> Number(const QString& option) const;
};

struct Command {
    QString Name;
    QString Operands;  // as the synopsis shows them
    QString Summary;
    std::vector<Option> Options;
    int FewestOperands;
    int MostOperands;  // −1: any number
    bool HasJson;
    int (*Run)(Session& session, const Arguments& arguments);  // the exit status
    void (*Check)(const Arguments& arguments) = nullptr;       // throws UsageError, before any profile is touched
};

/// Every command, in the order in which help shows them.
const std::vector<Command>& Commands();

struct Invocation {
    const Command* Chosen = nullptr;  // null: help or version of the program
    Arguments Given;
    QString Profile;
    bool WantsHelp = false;
    bool WantsVersion = false;
};

/// Throws UsageError.
Invocation ParseArguments(const QStringList& words);

QString HelpText(const Command* command);

}  // namespace podcasts::cli
