#include "ClientTests.h"

#include <thread>

namespace podcasts {
namespace {

class ClientRefresh : public ClientTest {};

TEST_F(ClientRefresh, TakesTheFeedQueuedLastFirstAndAnnouncesEachBeforeItsDataChange) {
    for (const std::string name : {"a", "b", "c"}) {
        Subscribe(name, {{"1", "/" + name + "1.mp3"}});
        Server.Serve("/" + name, Document(name, {{"1", "/" + name + "1.mp3"}, {"2", "/" + name + "2.mp3"}}));
    }
    Heard->OnEvent = [&](const QString& event) {
        if (!event.startsWith(u"feed ")) return;
        EXPECT_EQ(EpisodeCount(event.sliced(5).toStdString()), 1) << event.toStdString();
    };
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/b"), Server.Url("/A"), Server.Url("/c"), Server.Url("/b")});
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_EQ(Heard->Events.join(u'|'),
              QStringLiteral("refresh started|feed /c|feed /b|feed /a|refresh finished, new|changed"));
    EXPECT_EQ(Server.Paths(), (std::vector<std::string>{"/c", "/b", "/a"}));
    for (const char* path : {"/a", "/b", "/c"}) EXPECT_EQ(EpisodeCount(path), 2);
}

TEST_F(ClientRefresh, OfAllFeedsVisitsThemByNameFromTheLast) {
    for (const std::string name : {"beta", "gamma", "alpha"}) Subscribe(name, {});
    Client->LastRefreshTime = 0;
    Client->RefreshFeeds();
    EXPECT_NE(Client->LastRefreshTime, 0u);
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_EQ(Server.Paths(), (std::vector<std::string>{"/gamma", "/beta", "/alpha"}));
}

TEST_F(ClientRefresh, OfNothingStartsAndFinishes) {
    Client->RefreshFeeds();
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_EQ(Heard->Events.join(u'|'), QStringLiteral("refresh started|refresh finished|changed"));
}

TEST_F(ClientRefresh, KeepsStateAndFileOfKnownEpisodes) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    Client->UpdateState(Key("/1.mp3"), pesPostponed);
    Client->DB().SetCachedFile(Key("/1.mp3"), QStringLiteral("/somewhere/1.mp3"));
    Server.Serve("/a", Document("a", {{"2", "/2.mp3"}, {"1", "/1.mp3", "Renamed"}}));
    Heard->Events.clear();
    Refresh("/a");
    EXPECT_TRUE(Heard->Events.contains(QStringLiteral("refresh finished"))) << "nothing new";
    EXPECT_EQ(Episode("/1.mp3").Fields[pefTitle], QStringLiteral("Renamed"));
    EXPECT_EQ(Episode("/1.mp3").State, pesPostponed);
    EXPECT_EQ(CachedFile("/1.mp3"), QStringLiteral("/somewhere/1.mp3"));
    EXPECT_EQ(Episode("/2.mp3").State, pesNew);
}

TEST_F(ClientRefresh, StoresANewEpisodeAsNewAndUncached) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Server.Serve("/a", Document("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}}));
    Refresh("/a");
    EXPECT_TRUE(Heard->Events.contains(QStringLiteral("refresh finished, new")));
    EXPECT_EQ(Episode("/2.mp3").State, pesNew);
    EXPECT_EQ(CachedFile("/2.mp3"), QString());
    const auto outcomes = Client->RefreshOutcomes().From();
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].NewEpisodes, QStringList(MakeEpisodeKey(Episode("/2.mp3").FeedID, QStringLiteral("2"))));
}

TEST_F(ClientRefresh, KeepsTheMarkMadeAfterAnAudioAddressChanged) {
    Subscribe("a", {{"1", "/old.mp3"}});
    Client->UpdateState(Key("/old.mp3"), pesPostponed);
    Server.Serve("/a", Document("a", {{"1", "/new.mp3"}}));
    Refresh("/a");
    EXPECT_FALSE(Heard->Events.contains(QStringLiteral("refresh finished, new")));
    EXPECT_EQ(Episode("/new.mp3").State, pesPostponed) << "taken over from the old address";
    Client->UpdateState(Key("/new.mp3"), pesListened);
    for (const char* title : {"Once", "Twice"}) {
        Server.Serve("/a", Document("a", {{"1", "/new.mp3", title}}));
        Refresh("/a");
        EXPECT_EQ(Episode("/new.mp3").Fields[pefTitle], QString::fromUtf8(title));
        EXPECT_EQ(Episode("/new.mp3").State, pesListened) << title;
        EXPECT_EQ(Episode("/old.mp3").State, pesPostponed) << title;
    }
}

TEST_F(ClientRefresh, LeavesWhatIsStoredWhenNoWholeFeedArrives) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const Response whole = Document("other", {{"2", "/2.mp3"}, {"3", "/3.mp3"}});
    const std::string cut = whole.Body.substr(0, whole.Body.size() - 30);
    for (const Response& response :
         {Response::Of("<feed xmlns='http://www.w3.org/2005/Atom'><title>a</title></feed>"), Response::Of(cut),
          Response(whole).With(Fault::Close, 250), Response(whole).With(Fault::Reset, 250), Response::Redirect("/a"),
          Response::Of("<!doctype html><p>Moved"), Response::Of(""), Response::Failure(410, "Gone")}) {
        Server.Serve("/a", response);
        Heard->Events.clear();
        Refresh("/a");
        EXPECT_TRUE(Heard->Events.contains(QStringLiteral("refresh finished")));
        EXPECT_FALSE(Client->RefreshOutcomes().From().at(0).Error.isEmpty()) << response.Body;
        EXPECT_EQ(EpisodeCount("/a"), 1) << response.Body;
        EXPECT_EQ(Client->DB().GetFeed(Server.Url("/a"), false)->Fields[pffTitle], QStringLiteral("a"));
    }
}

TEST_F(ClientRefresh, DoesNotBringBackAFeedUnsubscribedDuringItsDownload) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Server.Serve("/a", Document("a", {{"2", "/2.mp3"}}).With(Fault::Wait, 20));
    Client->RefreshFeeds();
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->Unsubscribe(Server.Url("/a"), false);
    Server.Release("/a");
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_FALSE(Client->IsSubscribed(Server.Url("/a")));
    EXPECT_EQ(Client->DB().QueryInteger("SELECT COUNT(*) FROM PodcastEpisodes"), 0);
    EXPECT_FALSE(Heard->Events.contains(QStringLiteral("refresh finished, new")));
}

TEST_F(ClientRefresh, TakesRequestsMadeWhileItRuns) {
    Server.Serve("/a", Document("a", {}).With(Fault::Wait));
    Client->RefreshFeeds({Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->RefreshFeeds({Server.Url("/b")});
    Server.Release("/a");
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_EQ(Heard->Events.join(u'|'), QStringLiteral("refresh started|feed /a|feed /b|refresh finished|changed"));
}

TEST_F(ClientRefresh, StartsAgainForARequestMadeDuringItsCompletion) {
    Heard->OnEvent = [&](const QString& event) {
        if (event == u"refresh finished" && Server.Count("/b") == 0) Client->RefreshFeeds({Server.Url("/b")});
    };
    Client->RefreshFeeds({Server.Url("/a")});
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_EQ(Heard->Events.join(u'|'), QStringLiteral("refresh started|feed /a|refresh finished|changed|"
                                                       "refresh started|feed /b|refresh finished|changed"));
}

TEST_F(ClientRefresh, DropsTheQueueWhenCancelledAndWorksAgainAfterwards) {
    Server.Serve("/a", Document("a", {}).With(Fault::Wait));
    Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->CancelRefresh();
    EXPECT_EQ(Heard->Events.join(u'|'), QStringLiteral("refresh started|feed /a|refresh finished|changed"));
    EXPECT_EQ(Client->RefreshQueue().Items(), QStringList());
    for (const auto& outcome : Client->RefreshOutcomes().From()) EXPECT_FALSE(outcome.Error.isEmpty());
    Refresh("/b");
    EXPECT_EQ(Server.Count("/b"), 1);
}

TEST_F(ClientRefresh, DropsItsGuessAtTheNextFeedWhenAnotherIsQueuedFirst) {
    for (const std::string name : {"a", "b", "c"}) Subscribe(name, {{"1", "/" + name + "1.mp3"}});
    Server.Serve("/a", [&](const tests::Request&) {
        Response response = Document("a", {{"1", "/a1.mp3"}, {"2", "/a2.mp3"}});
        return Server.Count("/a") == 1 ? std::move(response).With(Fault::Wait) : response;
    });
    // While this thread holds the database, b cannot be stored, but a is on its way already.
    auto lock = Client->DB().Lock();
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/b")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->RefreshFeeds({Server.Url("/c")});
    lock.unlock();
    ASSERT_TRUE(WaitForRefresh());
    EXPECT_EQ(Heard->Events.join(u'|'),
              QStringLiteral("refresh started|feed /b|feed /c|feed /a|refresh finished, new|changed"));
    EXPECT_EQ(Server.Paths(), (std::vector<std::string>{"/b", "/a", "/c", "/a"}));
    EXPECT_EQ(EpisodeCount("/a"), 2);
}

TEST_F(ClientRefresh, LosesNoMarkThatTwoThreadsMakeMeanwhile) {
    constexpr int kEpisodes = 60;
    auto audio = [](int i) { return std::string("/").append(std::to_string(i)).append(".mp3"); };
    auto document = [&](const std::string& title) {
        std::vector<Item> items;
        for (int i = 0; i < kEpisodes; ++i) items.push_back({std::to_string(i), audio(i), title});
        return items;
    };
    Subscribe("a", document("first"));
    Server.Serve("/a", [&](const tests::Request&) {  // every row changes at every refresh
        return Document("a", document("refreshed " + std::to_string(Server.Count("/a"))));
    });
    std::atomic<int> running{2};
    auto mark = [&](int first) {
        for (int i = first; i < kEpisodes; i += 2)
            Client->DB().UpdateState({Key(audio(i))}, first ? pesPostponed : pesListened);
        --running;
    };
    std::thread even(mark, 0), odd(mark, 1);
    do Refresh("/a");
    while (running > 0);
    even.join(), odd.join();
    Refresh("/a");
    for (int i = 0; i < kEpisodes; ++i) EXPECT_EQ(Episode(audio(i)).State, i % 2 ? pesPostponed : pesListened) << i;
}

TEST_F(ClientRefresh, EndsQuietlyWithTheClient) {
    Server.Serve("/a", Document("a", {}).With(Fault::Wait, 20));
    const vexa::Link<TPodcastClient> link(Client->Links());
    Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Heard->Events.clear();
    Client.reset();
    EXPECT_EQ(Heard->Events, QStringList());
    EXPECT_EQ(Server.Count("/b"), 0);
    EXPECT_EQ(link.Get(), nullptr);
    for (int round = 0; round < 10; ++round) {  // at whatever point the task is
        Open();
        Server.Forget();
        Client->RefreshFeeds({Server.Url("/c"), Server.Url("/b")});
        if (round % 2) {
            EXPECT_TRUE(WaitForRequest("/b"));
        }
        Client.reset();
    }
}

class OnChange final : public vexa::RefCountedObject<IPodcastClientChangeListener> {
public:
    explicit OnChange(std::function<void(OnChange*)> call) : FCall(std::move(call)) {}
    void DataChanged() override { FCall(this); }

private:
    std::function<void(OnChange*)> FCall;
};

TEST_F(ClientRefresh, TellsEveryListenerAlsoWhenOneLeavesAndOneThrows) {
    std::string calls;
    auto& listeners = Client->Listeners();
    listeners.Add(new OnChange([&](OnChange* self) {
        calls += "leaves ";
        listeners.Remove(self);
    }));
    listeners.Add(new OnChange([&](OnChange*) {
        calls += "throws ";
        throw std::runtime_error("on purpose");
    }));
    listeners.Add(new OnChange([&](OnChange*) { calls += "hears "; }));
    Client->NotifyDataChanged();
    Client->NotifyDataChanged();
    EXPECT_EQ(calls, "leaves throws hears throws hears ");
}

}  // namespace
}  // namespace podcasts
