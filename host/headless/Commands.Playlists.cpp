// Commands about playlists.

#include "Commands.Functions.h"
#include "VEXA.Runtime.Threads.h"

#include <QJsonArray>

#include <chrono>

namespace vexa::host::commands {

namespace {

// How often to ask whether a playlist is still busy: no event tells when its files have been described.
constexpr std::chrono::milliseconds kPoll{20};

Ref<Playlist> Named(Host& host, const QString& name) {
    const Ref<Playlist> playlist = host.Playlists().Find(name);
    if (!playlist) throw CommandError(u"there is no playlist " + name + u": playlists lists them", E_INVALIDARG);
    return playlist;
}

QJsonObject List(Host& host) {
    QJsonArray list;
    for (const Ref<Playlist>& playlist : host.Playlists().All())
        list += QJsonObject{{QStringLiteral("name"), playlist->Name()},
                            {QStringLiteral("active"), playlist == host.Playlists().Active()},
                            {QStringLiteral("smart"), playlist->IsSmart()}};
    return {{QStringLiteral("playlists"), list}};
}

QJsonObject Add(Host& host, const QString& name, const QStringList& files) {
    Ref<Playlist> playlist = host.Playlists().Find(name);
    if (!playlist) playlist = host.Playlists().Create(name, false);
    if (playlist->IsSmart()) throw CommandError(name + u" follows a filter: nothing can be added to it");
    playlist->Add(files);
    return {{QStringLiteral("name"), playlist->Name()}};
}

QJsonObject SelectEntries(Host& host, const QString& name, const QStringList& numbers) {
    const Ref<Playlist> playlist = Named(host, name);
    std::vector<int> indexes;
    for (const QString& number : numbers) {
        bool isNumber = false;
        indexes.push_back(number.toInt(&isNumber));
        if (!isNumber || indexes.back() < 0 || indexes.back() >= playlist->Count())
            throw CommandError(u"the playlist has no entry " + number, E_INVALIDARG);
    }
    host.Playlists().Activate(playlist.Get());
    playlist->Select(indexes);
    playlist->FocusEntry(indexes.empty() ? -1 : indexes.front());
    return {};
}

QJsonObject ListEntries(Host& host, const QString& name) {
    const Ref<Playlist> playlist = Named(host, name);
    DrainMainThreadUntil([&] { return !host.Playlists().IsBusy(*playlist); }, kPoll);
    QJsonArray rows;
    for (const PlaylistEntry& entry : playlist->Entries())
        rows += QJsonObject{{QStringLiteral("file"), entry.File},
                            {QStringLiteral("text"), entry.Shown()},
                            {QStringLiteral("group"), entry.Group},
                            {QStringLiteral("selected"), entry.IsSelected}};
    return {{QStringLiteral("rows"), rows}, {QStringLiteral("focus"), playlist->FocusedEntry()}};
}

}  // namespace

QJsonObject Playlists(Host& host, const QStringList&) {
    return List(host);
}

QJsonObject PlaylistCommand(Host& host, const QStringList& arguments) {
    const QString& action = arguments[0];
    const QString& name = arguments[1];
    const QStringList more = arguments.mid(2);
    if (action == u"add") return Add(host, name, more);
    if (action == u"select") return SelectEntries(host, name, more);
    if (action == u"rows" && more.isEmpty()) return ListEntries(host, name);
    if (action == u"remove" && more.isEmpty()) return host.Playlists().Remove(*Named(host, name)), QJsonObject();
    throw CommandError(QStringLiteral("usage: playlist add NAME ADDRESS... | select NAME [INDEX...] | rows NAME | "
                                      "remove NAME"),
                       E_INVALIDARG);
}

}  // namespace vexa::host::commands
