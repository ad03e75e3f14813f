#include "Commands.h"

#include "Commands.Functions.h"
#include "Library.h"

#include <QJsonArray>

#include <limits>

namespace vexa::host {

namespace {

using enum Command::Thread;

constexpr int kAny = std::numeric_limits<int>::max();
#define VEXA_ROW_OPTIONS                                                                               \
    "[--node VALUE]... [--where FIELD OP VALUE [VALUE2]]... [--search TEXT] [--sort FIELD[:desc]]... " \
    "[--range OFFSET,COUNT] [--fields A,B,C]"
constexpr char kRowOptions[] = VEXA_ROW_OPTIONS, kPreviewOptions[] = "ADDRESS " VEXA_ROW_OPTIONS;

constexpr Command kCommands[] = {
    {"load", "[FILE]", 0, 1, "load a plug-in; without a file, the podcasts", Main, commands::Load},
    {"without", "SERVICE", 1, 1, "hide a service of the host from plug-ins, before load", Main, commands::Without},
    {"plugin", "", 0, 0, "what the plug-in says of itself", Main, commands::Describe},
    {"resolve", "ADDRESS", 1, 1, "how decoders and hooks answer, and the source that would be played", Worker,
     commands::Resolve},
    {"info", "ADDRESS", 1, 1, "what is known of a file or address", Worker, commands::Info},
    {"art", "ADDRESS", 1, 1, "size, format and bytes of its picture", Worker, commands::Art},
    {"folder", "ADDRESS [open]", 1, 2, "whether its folder can be opened; with open, opens it", Worker,
     commands::Folder},
    {"present", "ADDRESS", 1, 1, "what an address is called now, and how many have moved", Worker, commands::Present},
    {"config", "get KEY [DEFAULT] | set KEY VALUE", 2, 3, "read or set a setting, such as Player\\SkipBack", Main,
     commands::Config},
    {"text", "KEY [PART]", 1, 2, "a text of the language, such as Player\\Play, or one of its parts", Main,
     commands::Text},
    {"storages", "", 0, 0, "the music library's storages", Main, commands::Storages},
    {"fields", "[SCHEMA]", 0, 1, "the fields of the storage that shows, or their names for a purpose", Main,
     commands::Fields},
    {"tree", "[NODEVALUE...]", 0, kAny, "the nodes below a node; without one, the top level", Main, commands::ListTree},
    {"rows", kRowOptions, 0, kAny, "rows of the storage that shows", Main, commands::Rows},
    {"count", kRowOptions, 0, kAny, "how many rows there are, whatever the range", Main, commands::Count},
    {"find", "ADDRESS", 1, 1, "the node that holds a file", Main, commands::Find},
    {"search", "[WORD...] [--limit N]", 0, kAny, "what the storage finds by words that it could add, and wait", Main,
     commands::Search},
    {"preview", kPreviewOptions, 1, kAny, "the rows to which an address leads, without adding them, and wait", Main,
     commands::Preview},
    {"play", "ADDRESS", 1, 1, "start a file, without sound", Main, commands::Play},
    {"tasks", "", 0, 0, "what goes on in the background, and how the last tasks went", Main, commands::Tasks},
    {"click-notification", "[BUTTON]", 0, 1, "click the notification that shows, or its button", Main,
     commands::ClickNotification},
    {"cancel", "TASKID", 1, 1, "cancel a task", Main, commands::Cancel},
    {"subscribe", "ADDRESS...", 1, kAny, "subscribe to feeds, and wait until that is done", Main, commands::Subscribe},
    {"import", "FILE", 1, 1, "subscribe to the feeds of an OPML file, and wait", Main, commands::Import},
    {"export", "FILE", 1, 1, "write the subscriptions to an OPML file", Main, commands::Export},
    {"menu", "NUMBER", 1, 1, "prepare a menu (32, 51, 71 or 80) to be shown, and list it", Main, commands::Menu},
    {"run", "ID | ID/INDEX", 1, 1, "run an action as a shortcut would, or an entry of its submenu", Main,
     commands::Run},
    {"select", "[--node VALUE...] [--files ADDRESS...] [--focus ADDRESS]", 0, kAny,
     "what is selected in the library, in place of what was", Main, commands::Select},
    {"playlists", "", 0, 0, "the playlists", Main, commands::Playlists},
    {"playlist", "add NAME ADDRESS... | select NAME [INDEX...] | rows NAME | remove NAME", 2, kAny,
     "fill, select in, list or remove a playlist", Main, commands::PlaylistCommand},
    {"unload", "", 0, 0, "end the plug-in and write the settings", Main, commands::Unload},
    {"quit", "", 0, 0, "unload, and end", Main, commands::Quit, true},
    {"help", "", 0, 0, "list the commands", Main, commands::Help},
};

QString Usage(const Command& command) {
    return QString(QString::fromLatin1(command.Name) + u' ' + QString::fromLatin1(command.Arguments)).trimmed();
}

}  // namespace

std::span<const Command> Commands() {
    return kCommands;
}

const Command* FindCommand(const QString& name) {
    for (const Command& command : kCommands)
        if (name == QLatin1String(command.Name)) return &command;
    return nullptr;
}

QStringList SplitLine(const QString& line) {
    QStringList words;
    bool isInWord = false, isQuoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (c.isSpace() && !isQuoted) {
            isInWord = false;
            continue;
        }
        if (!isInWord) words += QString();
        isInWord = true;
        if (c != u'"')
            words.last() += c;
        else if (isQuoted && i + 1 < line.size() && line[i + 1] == u'"')
            words.last() += line[++i];
        else
            isQuoted = !isQuoted;
    }
    return words;
}

QJsonObject Success(QJsonObject more) {
    more.insert(QStringLiteral("ok"), true);
    return more;
}

QJsonObject Failure(const QString& message, HResult code) {
    return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), message}, {QStringLiteral("code"), ToHex(code)}};
}

QJsonObject Answer(const Command& command, Host& host, const QStringList& arguments) noexcept {
    try {
        if (arguments.size() < command.MinArguments || arguments.size() > command.MaxArguments)
            return Failure(u"usage: " + Usage(command), E_INVALIDARG);
        return Success(command.Run(host, arguments));
    } catch (const CommandError& error) {
        return Failure(QString::fromUtf8(error.what()), error.Code());
    } catch (const LibraryError& error) {
        return Failure(error.Why().English(), E_FAIL);
    } catch (const std::exception& error) {
        return Failure(QString::fromUtf8(error.what()), E_UNEXPECTED);
    }
}

QJsonObject commands::Help(Host&, const QStringList&) {
    QJsonArray list;
    for (const Command& command : kCommands)
        list += QJsonObject{{QStringLiteral("command"), Usage(command)},
                            {QStringLiteral("help"), QString::fromLatin1(command.Help)}};
    return {{QStringLiteral("commands"), list}};
}

}  // namespace vexa::host
