#include "Arguments.h"

#include "VEXA.Runtime.Files.h"

#include <QCommandLineParser>

#include <algorithm>

namespace podcasts::cli {

namespace {

const std::vector<Option> kGlobalOptions = {
    {QStringLiteral("--profile"), QStringLiteral("DIR"), QStringLiteral("folder of Podcasts.db and Settings.ini")},
    {QStringLiteral("--json"), {}, QStringLiteral("print one JSON document on standard output")},
    {QStringLiteral("--without-backup"), {}, QStringLiteral("go on where a backup is due and cannot be made")},
    {QStringLiteral("--help"), {}, QStringLiteral("show help, also after a command")},
    {QStringLiteral("--version"), {}, QStringLiteral("show the version")},
};

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

/// The option's name without "--", as the parser uses it.
QString WithoutDashes(const QString& option) {
    return option.sliced(2);
}

void AddOptions(QCommandLineParser& parser, const std::vector<Option>& options) {
    for (const Option& option : options)
        parser.addOption({WithoutDashes(option.Name), option.Help, option.Placeholder});
}

/// The reason why the parser has refused the words.
QString ReasonForRefusal(const QCommandLineParser& parser, const QStringList& words,
                         const std::vector<Option>& options) {
    const QStringList unknown = parser.unknownOptionNames();
    for (const QString& word : words) {
        const QString name = word.section(u'=', 0, 0);
        const bool isLong = name.startsWith(u"--");
        if (isLong ? unknown.contains(WithoutDashes(name)) : name.startsWith(u'-') && unknown.contains(name.mid(1, 1)))
            return u"there is no option " + name + u" here; see podcasts --help";
    }
    for (const Option& option : options) {
        if (!option.Placeholder.isEmpty() && words.last() == option.Name)
            return option.Name + u" needs a value: " + WithPlaceholder(option);
        for (const QString& word : words)
            if (option.Placeholder.isEmpty() && word.startsWith(QString(option.Name + u'=')))
                return option.Name + u" takes no value";
    }
    return parser.errorText();
}

void CheckOperands(const Command& command, const Arguments& given) {
    const auto count = given.Operands.size();
    if (count >= command.MinOperands && (command.MaxOperands < 0 || count <= command.MaxOperands)) return;
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
    const QStringList line = QStringList(QStringLiteral("podcasts")) + words;
    // The command determines the valid options, so find it first, by parsing with the global options only.
    QCommandLineParser parser;
    AddOptions(parser, kGlobalOptions);
    parser.parse(line);
    std::vector<Option> options = kGlobalOptions;
    Invocation invocation;
    if (const QStringList operands = parser.positionalArguments(); !operands.isEmpty()) {
        invocation.Chosen = FindCommand(operands.first());
        if (!invocation.Chosen)
            throw UsageError(u"there is no command \"" + operands.first() + u"\"; see podcasts --help");
        AddOptions(parser, invocation.Chosen->Options);
        options.insert(options.end(), invocation.Chosen->Options.begin(), invocation.Chosen->Options.end());
    }
    if (!parser.parse(line)) throw UsageError(ReasonForRefusal(parser, words, options));

    invocation.Profile = parser.value(QStringLiteral("profile"));
    invocation.Given.Json = parser.isSet(QStringLiteral("json"));
    invocation.IsWithoutBackup = parser.isSet(QStringLiteral("without-backup"));
    invocation.WantsHelp = parser.isSet(QStringLiteral("help"));
    invocation.WantsVersion = parser.isSet(QStringLiteral("version"));
    if (invocation.WantsHelp || invocation.WantsVersion) return invocation;
    if (!invocation.Chosen) throw UsageError(QStringLiteral("say what to do; see podcasts --help"));
    invocation.Given.Operands = parser.positionalArguments().sliced(1);
    if (invocation.Given.Json && !invocation.Chosen->HasJson)
        throw UsageError(u"podcasts " + invocation.Chosen->Name + u" has no JSON output");
    for (const Option& option : invocation.Chosen->Options)
        if (parser.isSet(WithoutDashes(option.Name)))
            invocation.Given.Options[option.Name] = parser.value(WithoutDashes(option.Name));
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
