#include "Arguments.h"

#include "VEXA.Runtime.Files.h"

#include <algorithm>

namespace podcasts::cli {

namespace {

const std::vector<Option> kGlobalOptions = {
    {QStringLiteral("--profile"), QStringLiteral("DIR"), QStringLiteral("folder of Podcasts.db and Settings.ini")},
    {QStringLiteral("--json"), {}, QStringLiteral("print one JSON document on standard output")},
    {QStringLiteral("--help"), {}, QStringLiteral("show help, also after a command")},
    {QStringLiteral("--version"), {}, QStringLiteral("show the version")},
};

const Option* FindOption(const std::vector<Option>& options, const QString& name) {
    const auto found = std::find_if(options.begin(), options.end(), [&](auto& option) { return option.Name == name; });
    return found == options.end() ? nullptr : &*found;
}

const Command* FindCommand(const QString& name) {
    const auto& all = Commands();
    const auto found = std::find_if(all.begin(), all.end(), [&](auto& command) { return command.Name == name; });
    return found == all.end() ? nullptr : &*found;
}

QString WithPlaceholder(const Option& option) {
    return option.Placeholder.isEmpty() ? option.Name : option.Name + u' ' + option.Placeholder;
}

QString Row(const QString& left, const QString& right) {
    return u"  " + left.leftJustified(26) + u' ' + right + u'\n';
}

void CheckOperands(const Command& command, const Arguments& given) {
    const auto count = given.Operands.size();
    if (count >= command.FewestOperands && (command.MostOperands < 0 || count <= command.MostOperands)) return;
    throw UsageError(QStringLiteral("usage: podcasts ") + command.Name + u' ' + command.Operands);
}

}  // namespace

std::optional<qint64> Arguments::Number(const QString& option) const {
    const auto found = Options.find(option);
    if (found == Options.end()) return std::nullopt;
    bool isNumber = false;
    const qint64 value = found->second.toLongLong(&isNumber);
    if (!isNumber || value < 0) throw UsageError(option + u" needs a number, not \"" + found->second + u'"');
    return value;
}

Invocation ParseArguments(const QStringList& words) {
    Invocation invocation;
    bool onlyOperands = false;
    std::vector<std::pair<QString, std::optional<QString>>> options;  // name, value after "="
    QStringList operands;
    // The command determines which options take a value, so find it first: it is the first word that is neither an
    // option nor the value of a global option.
    for (qsizetype i = 0; i < words.size() && !invocation.Chosen; ++i) {
        if (words[i] == u"--profile")
            ++i;
        else if (!words[i].startsWith(u'-')) {
            invocation.Chosen = FindCommand(words[i]);
            if (!invocation.Chosen) throw UsageError(u"there is no command \"" + words[i] + u"\"; see podcasts --help");
        }
    }
    bool commandSeen = false;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (onlyOperands || !word.startsWith(u'-') || word == u"-") {
            if (!commandSeen)
                commandSeen = true;  // the word is the command's name
            else
                invocation.Given.Operands += word;
            continue;
        }
        if (word == u"--") {
            onlyOperands = true;
            continue;
        }
        const QString name = word.section(u'=', 0, 0);
        const Option* option = FindOption(kGlobalOptions, name);
        if (!option && invocation.Chosen) option = FindOption(invocation.Chosen->Options, name);
        if (!option) throw UsageError(u"there is no option " + name + u" here; see podcasts --help");
        QString value;
        if (option->Placeholder.isEmpty()) {
            if (word.contains(u'=')) throw UsageError(name + u" takes no value");
        } else if (word.contains(u'=')) {
            value = word.section(u'=', 1);
        } else if (i + 1 < words.size()) {
            value = words[++i];
        } else {
            throw UsageError(name + u" needs a value: " + WithPlaceholder(*option));
        }
        if (name == u"--profile")
            invocation.Profile = value;
        else if (name == u"--json")
            invocation.Given.Json = true;
        else if (name == u"--help")
            invocation.WantsHelp = true;
        else if (name == u"--version")
            invocation.WantsVersion = true;
        else
            invocation.Given.Options[name] = value;
    }
    if (invocation.WantsHelp || invocation.WantsVersion) return invocation;
    if (!invocation.Chosen) throw UsageError(QStringLiteral("say what to do; see podcasts --help"));
    if (invocation.Given.Json && !invocation.Chosen->HasJson)
        throw UsageError(u"podcasts " + invocation.Chosen->Name + u" has no JSON output");
    CheckOperands(*invocation.Chosen, invocation.Given);
    if (invocation.Chosen->Check) invocation.Chosen->Check(invocation.Given);
    return invocation;
}

QString HelpText(const Command* command) {
    QString text;
    if (command) {
        text = u"usage: podcasts " + command->Name + u' ' + command->Operands + u"\n\n" + command->Summary + u"\n";
        if (!command->Options.empty()) text += u"\nOptions:\n";
        for (const Option& option : command->Options) text += Row(WithPlaceholder(option), option.Help);
    } else {
        text = QStringLiteral("usage: podcasts [OPTION…] COMMAND [ARGUMENT…]\n\nCommands:\n");
        for (const Command& each : Commands()) text += Row(each.Name, each.Summary.section(u'\n', 0, 0));
    }
    text += u"\nGlobal options, before or after the command:\n";
    for (const Option& option : kGlobalOptions) text += Row(WithPlaceholder(option), option.Help);
    text +=
        u"\nFEED is a feed's address or its id; KEY is what \"podcasts episodes\" prints, or an episode's podcast://\n"
        u"address; \"-\" reads keys from standard input. Without --profile the folder is\n" +
        vexa::DefaultProfileFolder() + u".\nExit status: 0 done, 1 something failed, 2 wrong usage.\n";
    return text;
}

}  // namespace podcasts::cli
