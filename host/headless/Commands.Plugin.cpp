// Commands that load, describe and unload a plug-in, and end the session.

#include "Commands.Functions.h"
#include "Installation.h"

namespace vexa::host::commands {

namespace {

const Plugin& Loaded(const Host& host) {
    if (host.Plugins().empty()) throw CommandError(QStringLiteral("no plug-in is loaded: load one first"));
    return host.Plugins().front();
}

}  // namespace

QJsonObject Load(Host& host, const QStringList& arguments) {
    if (!host.Plugins().empty()) throw CommandError(QStringLiteral("a plug-in is loaded already: unload it first"));
    try {
        host.LoadPlugin(arguments.value(0, PodcastsPlugin()));
    } catch (const PluginError& error) {
        throw CommandError(QString::fromUtf8(error.what()), error.Code());
    }
    return Describe(host, {});
}

QJsonObject Without(Host& host, const QStringList& arguments) {
    if (!host.Plugins().empty())
        throw CommandError(QStringLiteral("a plug-in is loaded already: hide services before load"));
    if (!host.PluginCore().HideService(arguments[0]))
        throw CommandError(u"there is no service " + arguments[0] + u": take one of " +
                               host.PluginCore().ServiceNames().join(QStringLiteral(", ")),
                           E_INVALIDARG);
    return {{QStringLiteral("without"), arguments[0]}};
}

QJsonObject Describe(Host& host, const QStringList&) {
    const Plugin& plugin = Loaded(host);
    return {{QStringLiteral("name"), plugin.Information(IVEXAPlugin::Name)},
            {QStringLiteral("author"), plugin.Information(IVEXAPlugin::Author)},
            {QStringLiteral("description"), plugin.Information(IVEXAPlugin::ShortDescription)},
            {QStringLiteral("categories"), static_cast<qint64>(plugin.Categories())},
            {QStringLiteral("file"), plugin.FileName()}};
}

QJsonObject Unload(Host& host, const QStringList&) {
    Loaded(host);
    return Quit(host, {});
}

QJsonObject Quit(Host& host, const QStringList&) {
    const QString problem = host.UnloadPlugins();
    if (!problem.isEmpty()) throw CommandError(u"all is unloaded, but " + problem);
    return {};
}

}  // namespace vexa::host::commands
