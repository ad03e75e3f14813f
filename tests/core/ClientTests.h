#pragma once
// Common parts of the client's tests: a client over a database file, a server for it, and a listener that records the
// notifications.

#include "LoopbackServer.h"
#include "PlainSqlite.h"
#include "Podcasts.Core.h"
#include "TempFolder.h"
#include "Texts.h"
#include "Waiting.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace podcasts {

struct Item {
    QString Guid, Audio;  // Audio is the path of the audio address
    QString Title = "Episode";
    QString Date{};
};

class Listener final : public vexa::RefCountedObject<IPodcastClientChangeListener, IPodcastClientDownloadsListener,
                                                     IPodcastClientRefreshFeedsListener> {
public:
    QStringList Events;  // all but the progress
    std::function<void(const QString&)> OnEvent;
    /// The last progress. Any thread may call it.
    QString Progress() const {
        const vexa::TLock lock(FMutex);
        return FProgress;
    }

    void DataChanged() override { Note("changed"); }
    void DownloadsStarted() override { Note("downloads started"); }
    void DownloadsFinished() override { Note("downloads finished"); }
    void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) override {
        const vexa::TLock lock(FMutex);
        FProgress = QString("%1 of %2: ").arg(position).arg(size) + caption;
    }
    void RefreshFeedsStarted() override { Note("refresh started"); }
    void RefreshFeed(const QString& feedURL) override { Note("feed /" + feedURL.section('/', 3)); }
    void RefreshFeedsFinished(bool hasNew) override { Note(hasNew ? "refresh finished, new" : "refresh finished"); }

private:
    void Note(const QString& event) {
        Events += event;
        if (OnEvent) OnEvent(event);
    }

    mutable vexa::TMutex FMutex;
    QString FProgress VEXA_GUARDED_BY(FMutex);
};

class ClientTest : public testing::Test {
protected:
    using Fault = tests::Fault;
    using Response = tests::Response;

    ClientTest() { Open(); }
    /// A client over the same database, as of another program.
    std::unique_ptr<TPodcastClient> MakeClient(TPodcastClocks clocks = {}) const {
        auto client = std::make_unique<TPodcastClient>(Folder.File("Podcasts.db"), std::move(clocks));
        client->Options().SetCacheFileNameTemplate(AudioFile("%FeedTitle%/%EpisodeFileName%"));
        return client;
    }
    void Open() {
        Client = MakeClient();
        Client->Listeners().Add(static_cast<IPodcastClientChangeListener*>(Heard.Get()));
    }
    /// Runs `sql` as another program; returns the rows that the database gives for it.
    QStringList Rows(const QString& sql) const { return PlainSqlite(Folder.File("Podcasts.db")).Rows(sql.toUtf8()); }

    Response Document(const QString& title, const std::vector<Item>& items) const {
        QString xml = "<rss version='2.0'><channel><title>" + title + "</title>";
        for (const Item& item : items)
            xml += QString("<item><guid>%1</guid><title>%2</title><enclosure url='%3'/><pubDate>%4</pubDate></item>")
                       .arg(item.Guid, item.Title, Server.Url(item.Audio), item.Date);
        return Response::Of((xml + "</channel></rss>").toUtf8());
    }
    /// Serves audio that consists of its path.
    void ServeAudio(const QStringList& paths) {
        for (const QString& path : paths) Server.Serve(path, Response::Of(path.toUtf8(), "audio/mpeg"));
    }
    /// Serves the feed at "/" + title, and subscribes to it.
    void Subscribe(const QString& title, const std::vector<Item>& items) {
        Server.Serve("/" + title, Document(title, items));
        Client->Subscribe(*TPodcastClient::FetchFeed(Server.Url("/" + title), {}, true));
        Server.Forget();
        Heard->Events.clear();
    }
    /// Stores an episode of the feed "a" a second time, as earlier versions did when its address changed.
    void StoreAgain(const QString& audio, const QString& newAudio) {
        TPodcastFeed feed;
        feed.Fields[pffURLFeed] = Server.Url("/a");
        TPodcastEpisode& again = feed.NewEpisode();
        again.Fields = Episode(audio).Fields;
        again.Fields[pefURI].clear();
        again.Fields[pefURLAudio] = Server.Url(newAudio);
        Client->DB().AddOrUpdate(feed);
        ASSERT_EQ(EpisodeCount("/a"), 2);
    }

    bool WaitForTasks() {
        return tests::WaitUntil([&] { return Client->RefreshTask() == 0 && Client->DownloadTask() == 0; });
    }
    bool WaitForRequest(const QString& path) {
        return tests::WaitUntil([&] { return Server.Count(path) > 0; });
    }
    void Refresh(const QString& path) {
        Client->RefreshFeeds({Server.Url(path)});
        ASSERT_TRUE(WaitForTasks());
    }
    void Download(const QStringList& keys) {
        Client->DownloadEpisodes(keys);
        ASSERT_TRUE(WaitForTasks());
    }
    /// What came of the last refresh and of the last download; of several, of the first.
    TPodcastRefreshOutcome LastRefresh() const { return Client->RefreshOutcomes().From().at(0); }
    TPodcastDownloadOutcome LastDownload() const { return Client->DownloadOutcomes().From().at(0); }

    QString Key(const QString& audio) const { return MakeURI(Server.Url(audio)); }
    TPodcastEpisode Episode(const QString& audio) {
        const auto episode = Client->DB().GetEpisode(Key(audio));
        EXPECT_TRUE(episode) << audio.toStdString();
        return episode ? *episode : TPodcastEpisode();
    }
    QString AudioFile(const QString& name) const { return Folder.File("audio/" + name); }
    QString CachedFile(const QString& audio) { return Episode(audio).Fields[pefURLAudioCached]; }
    TPodcastFeed Feed(const QString& path) {
        auto feed = Client->DB().GetFeed(Server.Url(path), true);
        if (!feed) throw std::runtime_error("there is no feed " + path.toStdString());
        return std::move(*feed);
    }
    int EpisodeCount(const QString& path) {
        return Client->DB().GetEpisodeCount(Client->DB().GetFeedID(Server.Url(path)));
    }

    tests::TempFolder Folder;
    tests::LoopbackServer Server;
    vexa::Ref<Listener> Heard{new Listener};
    std::unique_ptr<TPodcastClient> Client;
};

}  // namespace podcasts
