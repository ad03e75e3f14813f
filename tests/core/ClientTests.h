#pragma once
// What the tests of the client share: a client over a database file, a server it talks to, and a listener that writes
// down what it hears.

#include "LoopbackServer.h"
#include "Podcasts.Core.h"
#include "Printing.h"
#include "TempFolder.h"
#include "Waiting.h"

#include <gtest/gtest.h>

#include <mutex>

namespace podcasts {

struct Item {
    std::string Guid, Audio;  // the path of its audio address
    std::string Title = "Episode";
    std::string Date = "2024-05-17";
};

class Listener final : public vexa::RefCountedObject<IPodcastClientChangeListener, IPodcastClientDownloadsListener,
                                                     IPodcastClientRefreshFeedsListener> {
public:
    QStringList Events;  // but for the progress
    std::function<void(const QString&)> OnEvent;

    void DataChanged() override { Note(QStringLiteral("changed")); }
    void DownloadsStarted() override { Note(QStringLiteral("downloads started")); }
    void DownloadsFinished() override { Note(QStringLiteral("downloads finished")); }
    void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) override {
        const std::lock_guard lock(FMutex);
        FProgress = QStringLiteral("%1 of %2: ").arg(position).arg(size) + caption;
    }
    void RefreshFeedsStarted() override { Note(QStringLiteral("refresh started")); }
    void RefreshFeed(const QString& feedURL) override { Note(u"feed /" + feedURL.section(u'/', 3)); }
    void RefreshFeedsFinished(bool hasNewEpisodes) override {
        Note(hasNewEpisodes ? QStringLiteral("refresh finished, new") : QStringLiteral("refresh finished"));
    }
    QString LastProgress() const {
        const std::lock_guard lock(FMutex);
        return FProgress;
    }

private:
    void Note(const QString& event) {
        Events += event;
        if (OnEvent) OnEvent(event);
    }
    mutable std::mutex FMutex;
    QString FProgress;  // guarded by FMutex
};

class ClientTest : public testing::Test {
protected:
    using Fault = tests::Fault;
    using Response = tests::Response;

    ClientTest() { Open(); }

    void Open() {
        Client = std::make_unique<TPodcastClient>(Folder.File(QStringLiteral("Podcasts.db")));
        Client->Options().SetCacheFileNameTemplate(Folder.File(QStringLiteral("audio/%FeedTitle%/%EpisodeFileName%")));
        Client->Listeners().Add(static_cast<IPodcastClientChangeListener*>(Heard.Get()));
    }

    Response Document(const std::string& title, const std::vector<Item>& items) const {
        std::string xml = "<rss version='2.0'><channel><title>" + title + "</title>";
        for (const Item& item : items)
            xml.append("<item><guid>" + item.Guid + "</guid><title>" + item.Title + "</title><pubDate>" + item.Date +
                       "</pubDate><enclosure url='" + Server.Url(item.Audio).toStdString() + "'/></item>");
        return Response::Of(xml + "</channel></rss>");
    }

    /// Serves the feed at "/" + title, and subscribes to it.
    void Subscribe(const std::string& title, const std::vector<Item>& items) {
        Server.Serve("/" + title, Document(title, items));
        Client->Subscribe(*TPodcastClient::FetchFeed(Server.Url("/" + title), {}, true));
        Server.Forget();
        Heard->Events.clear();
    }

    bool WaitForRefresh() {
        return tests::WaitUntil([&] { return Client->RefreshTask() == 0; });
    }
    bool WaitForDownloads() {
        return tests::WaitUntil([&] { return Client->DownloadTask() == 0; });
    }
    /// Waits with the event loop running.
    bool WaitForRequest(const std::string& path) {
        return tests::WaitUntil([&] { return Server.Count(path) > 0; });
    }
    void Refresh(const std::string& path) {
        Client->RefreshFeeds({Server.Url(path)});
        ASSERT_TRUE(WaitForRefresh());
    }
    void Download(const std::string& audio) {
        Client->DownloadEpisode(Key(audio));
        ASSERT_TRUE(WaitForDownloads());
    }

    QString Key(const std::string& audio) const { return MakeURI(Server.Url(audio)); }
    TPodcastEpisode Episode(const std::string& audio) {
        const auto episode = Client->DB().GetEpisode(Key(audio));
        EXPECT_TRUE(episode) << audio;
        return episode ? *episode : TPodcastEpisode();
    }
    QString CachedFile(const std::string& audio) { return Episode(audio).Fields[pefURLAudioCached]; }
    int EpisodeCount(const std::string& path) {
        return Client->DB().GetEpisodeCount(Client->DB().GetFeedID(Server.Url(path)));
    }
    QString AudioFile(const QString& name) const { return Folder.File(u"audio/" + name); }

    tests::TempFolder Folder;
    tests::LoopbackServer Server;
    vexa::Ref<Listener> Heard{new Listener};
    std::unique_ptr<TPodcastClient> Client;
};

}  // namespace podcasts
