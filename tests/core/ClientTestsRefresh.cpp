#include "ClientTests.h"
#include "VEXA.Runtime.Http.h"

namespace podcasts {
namespace {

class ClientRefresh : public ClientTest {};

TEST_F(ClientRefresh, StartsWithTheFeedQueuedLastAndAnnouncesEachBeforeItsDataChange) {
    for (const QString name : {"b", "c", "a"}) {
        Subscribe(name, {{"1", "/" + name + "1.mp3"}});
        Server.Serve("/" + name, Document(name, {{"1", "/" + name + "1.mp3"}, {"2", "/" + name + "2.mp3"}}));
    }
    Heard->OnEvent = [&](const QString& event) {
        if (!event.startsWith("feed ")) return;
        EXPECT_EQ(EpisodeCount(event.sliced(5)), 1) << event.toStdString();
    };
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/c"), Server.Url("/A"), Server.Url("/b"), Server.Url("/c")});
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.join('|'), "refresh started|feed /b|feed /c|feed /a|refresh finished, new|changed");
    for (const char* path : {"/a", "/b", "/c"}) {
        EXPECT_EQ(Server.Count(path), 1);
        EXPECT_EQ(EpisodeCount(path), 2);
    }
}

TEST_F(ClientRefresh, VisitsAllFeedsByNameFromTheLastAndNotesItsTimeAtOnce) {
    for (const char* name : {"beta", "gamma", "alpha"}) Subscribe(name, {});
    Client->LastRefreshTime = 0;
    Client->RefreshFeeds();
    EXPECT_NE(Client->LastRefreshTime, 0u);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.filter("feed ").join('|'), "feed /gamma|feed /beta|feed /alpha");
}

TEST_F(ClientRefresh, IsDueByEitherClockAfterAnHourADayOrAWeek) {
    QDateTime now(QDate(2024, 8, 30), QTime(10, 0), Qt::UTC);
    std::uint32_t ticks = 5;
    TPodcastClient client(Folder.File("Other.db"), {[&] { return ticks; }, [&] { return now; }});
    const auto isDue = [&] {
        client.RefreshFeedsIfDue();
        const bool isRunning = client.RefreshTask() != 0;
        EXPECT_TRUE(tests::WaitUntil([&] { return client.RefreshTask() == 0; }));
        return isRunning;
    };
    EXPECT_TRUE(isDue()) << "the time of the last refresh is unknown";
    EXPECT_EQ(client.LastRefreshTime, ticks);
    EXPECT_EQ(client.LastRefreshDate, now);
    constexpr qint64 kHour = 60 * 60;
    for (const auto& [option, seconds] : {std::pair(1, kHour), {2, 24 * kHour}, {3, 7 * 24 * kHour}}) {
        client.Options().SetCheckUpdates(static_cast<std::uint8_t>(option));
        // While the machine is off only the calendar goes on; the tick count restarts.
        ticks = 5;
        now = now.addSecs(seconds);
        EXPECT_FALSE(isDue()) << option;
        now = now.addSecs(1);
        EXPECT_TRUE(isDue()) << option;
        // The tick count alone suffices, should the calendar stand still.
        ticks += static_cast<std::uint32_t>(1000 * seconds);
        EXPECT_FALSE(isDue()) << option;
        EXPECT_TRUE((++ticks, isDue())) << option;
        now = now.addSecs(-1);
        EXPECT_TRUE(isDue()) << option << ": set back";
        EXPECT_FALSE(isDue()) << option;
    }
}

TEST_F(ClientRefresh, BeginsByItselfWhenItIsDue) {
    TPodcastClient client(Folder.File("Other.db"), {.Interval = std::chrono::milliseconds(1)});
    EXPECT_TRUE(tests::WaitUntil([&] { return client.LastRefreshTime != 0; })) << "no refresh has begun";
    client.Options().SetCheckUpdates(0);
    EXPECT_FALSE(client.UpdateTimer().IsEnabled());
}

TEST_F(ClientRefresh, ListenersAreToldOfEachChangeOnce) {
    const QString address = Server.Url("/a"), other = Server.Url("/b");
    Subscribe("a", {{"1", "/1.mp3"}});
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = Server.Url("/c");
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"a subscription", [&] { Client->Subscribe(feed); }},
        {"a mark", [&] { Client->UpdateState(Key("/1.mp3"), pesListened); }},
        {"a search for missing files", [&] { Client->CheckLocalCopies(); }},
        {"another address", [&] { Client->ChangeFeedURL(address, other); }},
        {"the end of a subscription", [&] { Client->Unsubscribe(other, false); }},
    };
    for (const auto& [what, change] : changes) {
        Heard->Events.clear();
        change();
        EXPECT_EQ(Heard->Events, QStringList("changed")) << what;
    }
}

TEST_F(ClientRefresh, MovesASpareFileOfAnEpisodeThatWasStoredTwiceToTheTrash) {
    Subscribe("a", {{"1", "/1.mp3?t=1"}});
    StoreAgain("/1.mp3?t=1", "/1.mp3?t=2");
    const QString older = Folder.File("older.mp3"), newer = Folder.File("newer.mp3");
    for (const auto& [audio, file] : {std::pair("/1.mp3?t=1", older), {"/1.mp3?t=2", newer}}) {
        WriteWhole(file, "sound");
        Client->DB().SetCachedFile(Key(audio), file);
    }
    Server.Serve("/a", Document("a", {{"1", "/1.mp3?t=2"}}));
    Refresh("/a");
    EXPECT_EQ(EpisodeCount("/a"), 1);
    EXPECT_EQ(CachedFile("/1.mp3?t=2"), newer);
    EXPECT_TRUE(QFile::exists(newer));
    EXPECT_FALSE(QFile::exists(older));
}

TEST_F(ClientRefresh, AnnouncesAnEpisodeOnceItCanBePlayed) {
    Subscribe("a", {});
    const QString feed = "<rss version='2.0'><channel><item><guid>1</guid>%1</item></channel></rss>";
    for (const QString& audio : {QString(), QString("<enclosure url='" + Server.Url("/1.mp3") + "'/>")}) {
        Server.Serve("/a", Response::Of(feed.arg(audio).toUtf8()));
        Refresh("/a");
        const auto announced = LastRefresh().NewEpisodes.size();
        EXPECT_EQ(announced, audio.isEmpty() ? 0 : 1);
        EXPECT_EQ(Client->NewEpisodesToDownload().size(), announced);
    }
}

TEST_F(ClientRefresh, SaysWhatADocumentIsIfItIsNotAFeed) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const std::pair<QByteArray, const char*> rows[] = {
        {"<feed xmlns='http://www.w3.org/2005/Atom'/>", "an Atom feed;"},
        {"<rdf:RDF xmlns='http://purl.org/rss/1.0/'><channel/></rdf:RDF>", "an RSS 1.0 (RDF) feed;"},
        {"<rss version='0.92'><channel/></rss>", "an RSS feed of version \"0.92\";"},
        {"<rss><channel/></rss>", "an RSS feed without a version;"},
        {"<rss version='2.0'/>", "an RSS document without a channel,"},
        {"<RSS VERSION='2.0'><CHANNEL/></RSS>", "an RSS feed whose tags are not in small letters;"},
        {"<opml version='2.0'><body/></opml>", "an OPML list of subscriptions,"},
        {"<?xml version='1.0'?><html><body/></html>", "an HTML page,"},
        {"<!doctype html><p>Moved<br>", "an HTML page,"},
        {"<meta charset=utf-8><title>x</title>", "an HTML page,"},
        {" {\"version\": \"https://jsonfeed.org/version/1.1\"}", "a JSON document,"},
        {"ID3 sound", "an audio or video file,"},
        {"<x/>", "neither an RSS 2.0 feed nor a feed of the iTunes store"},
        {"<b>Warning</b><rss version='2.0'><channel><item>", "not well-formed XML at line 1"},
        {"<rss version='2.0'><channel><item/><item</x></channel></rss><!--<item <item >-->",
         "the document is damaged: only 1 of its 3 items can be read"}};
    for (const auto& [body, message] : rows) {
        Server.Serve("/a", Response::Of(body));
        Refresh("/a");
        const std::string error = LastRefresh().Error.English().toStdString();
        EXPECT_NE(error.find(message), std::string::npos) << error;
    }
    EXPECT_EQ(EpisodeCount("/a"), 1);
}

TEST_F(ClientRefresh, ServesRequestsMadeWhileItRunsAndRestartsForOneMadeAtItsCompletion) {
    Heard->OnEvent = [&](const QString& event) {
        if (event == "refresh finished" && Server.Count("/c") == 0) Client->RefreshFeeds({Server.Url("/c")});
    };
    Server.Serve("/a", Document("a", {}).With(Fault::Wait));
    Client->RefreshFeeds({Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    // The document is requested before the feed's turn comes.
    ASSERT_TRUE(tests::WaitUntil([&] { return Client->RefreshQueue().Items().isEmpty(); }));
    Client->RefreshFeeds({Server.Url("/b")});
    Server.Release("/a");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.join('|'),
              "refresh started|feed /a|feed /b|refresh finished|changed|"
              "refresh started|feed /c|refresh finished|changed");
}

TEST_F(ClientRefresh, DropsTheQueueWhenCancelledAndEndsQuietlyWithTheClient) {
    for (const char* title : {"a", "b"}) {
        Subscribe(title, {});
        Server.Serve(QString("/") + title, Document(title, {{"1", QString("/%1.mp3").arg(title)}}).With(Fault::Wait));
    }
    Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
    for (const char* path : {"/a", "/b"}) ASSERT_TRUE(WaitForRequest(path)) << path;
    Server.Release("/b");
    Heard->OnEvent = [&](const QString& event) {
        if (event == "refresh finished") Client->RefreshFeeds({Server.Url("/b")});  // dropped with the rest
    };
    Client->CancelRefresh();
    Heard->OnEvent = nullptr;
    EXPECT_EQ(Heard->Events.join('|'), "refresh started|refresh finished|changed");
    EXPECT_EQ(Client->RefreshQueue().Items(), QStringList());
    EXPECT_EQ(Client->RefreshOutcomes().From().size(), 2u);
    for (const auto& outcome : Client->RefreshOutcomes().From()) EXPECT_TRUE(outcome.Error);
    EXPECT_EQ(EpisodeCount("/b"), 0) << "although its document had arrived";
    Refresh("/b");
    EXPECT_EQ(EpisodeCount("/b"), 1);
    for (int round = 0; round < 10; ++round) {  // the refresh is ended at a different point in each round
        Server.Forget();
        const vexa::Link<TPodcastClient> link(Client->Links());
        if (round % 2 == 0) {
            Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
            EXPECT_TRUE(WaitForRequest("/a"));
        } else {
            Client->RefreshFeeds({Server.Url("/b")});
            // The task waits for the main thread, to tell of its feed.
            while (!Client->RefreshQueue().Items().isEmpty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        Heard->Events.clear();
        Client.reset();
        EXPECT_EQ(Heard->Events, QStringList());
        EXPECT_EQ(link.Get(), nullptr);
        Open();
    }
}

TEST_F(ClientRefresh, ServesNewlyQueuedFeedsBeforeThoseBeingFetched) {
    for (const QString name : {"a", "b", "c"}) Subscribe(name, {{"1", "/" + name + "1.mp3"}});
    Server.Serve("/a", Document("a", {{"1", "/a1.mp3"}, {"2", "/a2.mp3"}}));
    // While this thread locks the database, b cannot be stored; a has already been fetched.
    vexa::TLock lock(Client->DB().Mutex());
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/b")});
    ASSERT_TRUE(tests::WaitUntil([&] { return Heard->Events.contains("feed /b") && Server.Count("/a") == 1; }));
    Client->RefreshFeeds({Server.Url("/c")});
    lock.Unlock();
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.join('|'), "refresh started|feed /b|feed /c|feed /a|refresh finished, new|changed");
    EXPECT_EQ(Server.Count("/a"), 1) << "fetched once";
    EXPECT_EQ(EpisodeCount("/a"), 2);
}

TEST_F(ClientRefresh, AFeedUnsubscribedWhileBeingFetchedIsNeitherAnnouncedNorStored) {
    for (const QString name : {"a", "b"}) Subscribe(name, {{"1", "/" + name + "1.mp3"}});
    Server.Serve("/b", Document("b", {}).With(Fault::Wait));
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/b")});
    for (const char* path : {"/a", "/b"}) ASSERT_TRUE(WaitForRequest(path)) << path;
    Client->Unsubscribe(Server.Url("/a"), false);
    Server.Release("/b");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.filter("feed ").join('|'), "feed /b");
    EXPECT_FALSE(Client->IsSubscribed(Server.Url("/a")));
    EXPECT_EQ(Client->DB().QueryInteger("SELECT Count(*) FROM PodcastEpisodes"), 1);
}

TEST_F(ClientRefresh, AFeedWhoseServerIsSilentComesLastAndIsAnnouncedOnce) {
    tests::LoopbackServer silent;
    silent.Serve("/b", Document("b", {{"1", "/b1.mp3"}}).With(Fault::Wait));
    Subscribe("a", {});
    Subscribe("c", {});
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = silent.Url("/b");
    Client->Subscribe(feed);
    Heard->Events.clear();
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/c"), silent.Url("/b")});
    ASSERT_TRUE(tests::WaitUntil([&] { return Heard->Events.contains("feed /a"); }));
    EXPECT_FALSE(Heard->Events.contains("feed /b")) << "not before it is taken";
    silent.Release("/b");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.join('|'), "refresh started|feed /c|feed /a|feed /b|refresh finished, new|changed");
    EXPECT_EQ(silent.Count("/b"), 1) << "the transfer was kept";
}

TEST_F(ClientRefresh, AServerThatDoesNotAnswerInTimeIsAskedAgainAtTheEnd) {
    Subscribe("a", {});
    Subscribe("b", {});
    const Response answer = Document("a", {{"1", "/a1.mp3"}});
    Server.Serve("/a", answer.With(Fault::Wait));
    vexa::HttpTimeouts timeouts;
    timeouts.Stalled = std::chrono::seconds(1);
    vexa::SetHttpTimeouts(timeouts);
    Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    vexa::SetHttpTimeouts({});
    Server.Serve("/a", answer.With(Fault::Wait));  // for the second attempt
    ASSERT_TRUE(tests::WaitUntil([&] { return Server.Count("/a") == 2; }));
    Client->RefreshFeeds({Server.Url("/c")});
    ASSERT_TRUE(tests::WaitUntil([&] { return Heard->Events.contains("feed /c"); }));
    Server.Release("/a");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.filter("feed ").join('|'), "feed /a|feed /b|feed /c");
    EXPECT_EQ(Server.Count("/a"), 2) << "a feed queued meanwhile leaves the second attempt alone";
    EXPECT_EQ(EpisodeCount("/a"), 1);
    const auto outcomes = Client->RefreshOutcomes().From();
    ASSERT_EQ(outcomes.size(), 3u);
    EXPECT_EQ(outcomes[2].FeedURL, Server.Url("/a"));
    EXPECT_EQ(outcomes[2].NewEpisodes.size(), 1);
}

TEST_F(ClientRefresh, NotifiesEveryListenerEvenIfOneLeavesAndOneThrows) {
    QString calls;
    const vexa::Ref<Listener> leaves(new Listener), throws(new Listener), hears(new Listener);
    for (const auto& listener : {leaves, throws, hears})
        Client->Listeners().Add(static_cast<IPodcastClientChangeListener*>(listener.Get()));
    leaves->OnEvent = [&](const QString&) {
        calls += "leaves ";
        Client->Listeners().Remove(static_cast<IPodcastClientChangeListener*>(leaves.Get()));
    };
    throws->OnEvent = [&](const QString&) {
        calls += "throws ";
        throw std::runtime_error("on purpose");
    };
    hears->OnEvent = [&](const QString&) { calls += "hears "; };
    Client->NotifyDataChanged();
    Client->NotifyDataChanged();
    EXPECT_EQ(calls, "leaves throws hears throws hears ");
}

}  // namespace
}  // namespace podcasts
