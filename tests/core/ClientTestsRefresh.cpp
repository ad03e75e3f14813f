#include "ClientTests.h"

namespace podcasts {
namespace {

class ClientRefresh : public ClientTest {};

TEST_F(ClientRefresh, TakesTheFeedQueuedLastFirstAndAnnouncesEachBeforeItsDataChange) {
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
    EXPECT_EQ(Server.Paths(), QStringList({"/b", "/c", "/a"}));
    for (const char* path : {"/a", "/b", "/c"}) EXPECT_EQ(EpisodeCount(path), 2);
}

TEST_F(ClientRefresh, OfAllFeedsVisitsThemByNameFromTheLastAndIsNotedAtOnce) {
    for (const char* name : {"beta", "gamma", "alpha"}) Subscribe(name, {});
    Client->LastRefreshTime = 0;
    Client->RefreshFeeds();
    EXPECT_NE(Client->LastRefreshTime, 0u);
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Server.Paths(), QStringList({"/gamma", "/beta", "/alpha"}));
}

TEST_F(ClientRefresh, KeepsFileAndMarkAlsoOfAnAudioAddressThatChanged) {
    Subscribe("a", {{"1", "/old.mp3"}});
    Client->UpdateState(Key("/old.mp3"), pesPostponed);
    Server.Serve("/a", Document("a", {{"1", "/new.mp3"}}));
    Refresh("/a");
    EXPECT_FALSE(Heard->Events.contains("refresh finished, new"));
    EXPECT_EQ(Episode("/new.mp3").State, pesPostponed) << "taken over from the old address";
    Client->UpdateState(Key("/new.mp3"), pesListened);
    Client->DB().SetCachedFile(Key("/new.mp3"), "/somewhere/1.mp3");
    Server.Serve("/a", Document("a", {{"1", "/new.mp3", "Renamed"}}));
    Refresh("/a");
    EXPECT_EQ(Episode("/new.mp3").Fields[pefTitle], "Renamed");
    EXPECT_EQ(CachedFile("/new.mp3"), "/somewhere/1.mp3");
    EXPECT_EQ(Episode("/new.mp3").State, pesListened);
    Server.Serve("/a", Document("a", {{"1", "/old.mp3"}}));
    Refresh("/a");
    EXPECT_EQ(Episode("/old.mp3").State, pesPostponed) << "each address keeps its own mark";
    EXPECT_EQ(Episode("/new.mp3").State, pesListened);
}

TEST_F(ClientRefresh, LeavesWhatIsStoredWhenNoWholeFeedArrives) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const Response whole = Document("other", {{"2", "/2.mp3"}, {"3", "/3.mp3"}});
    for (const Response& response :
         {Response::Of("<feed xmlns='http://www.w3.org/2005/Atom'><title>a</title></feed>"),
          Response::Of(whole.Body.chopped(30)), whole.With(Fault::Close, 250), whole.With(Fault::Reset, 250),
          Response::Redirect("/a"), Response::Of("<!doctype html><p>Moved"), Response::Of(""),
          Response::Failure("410 Gone")}) {
        Server.Serve("/a", response);
        Heard->Events.clear();
        Refresh("/a");
        EXPECT_TRUE(Heard->Events.contains("refresh finished"));
        EXPECT_FALSE(Client->RefreshOutcomes().From().at(0).Error.isEmpty()) << response.Body.toStdString();
        EXPECT_EQ(EpisodeCount("/a"), 1) << response.Body.toStdString();
        EXPECT_EQ(Client->DB().GetFeed(Server.Url("/a"), false)->Fields[pffTitle], "a");
    }
}

TEST_F(ClientRefresh, TakesRequestsMadeWhileItRunsAndStartsAgainForOneMadeDuringItsCompletion) {
    Heard->OnEvent = [&](const QString& event) {
        if (event == "refresh finished" && Server.Count("/c") == 0) Client->RefreshFeeds({Server.Url("/c")});
    };
    Server.Serve("/a", Document("a", {}).With(Fault::Wait));
    Client->RefreshFeeds({Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->RefreshFeeds({Server.Url("/b")});
    Server.Release("/a");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.join('|'),
              "refresh started|feed /a|feed /b|refresh finished|changed|"
              "refresh started|feed /c|refresh finished|changed");
}

TEST_F(ClientRefresh, DropsTheQueueWhenCancelledAndEndsQuietlyWithTheClient) {
    Server.Serve("/a", Document("a", {}).With(Fault::Wait));
    Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->CancelRefresh();
    EXPECT_EQ(Heard->Events.join('|'), "refresh started|feed /a|refresh finished|changed");
    EXPECT_EQ(Client->RefreshQueue().Items(), QStringList());
    for (const auto& outcome : Client->RefreshOutcomes().From()) EXPECT_FALSE(outcome.Error.isEmpty());
    Refresh("/b");
    EXPECT_EQ(Server.Count("/b"), 1);
    for (int round = 0; round < 10; ++round) {  // ended at whatever point it is
        Server.Forget();
        const vexa::Link<TPodcastClient> link(Client->Links());
        Client->RefreshFeeds({Server.Url("/b"), Server.Url("/a")});
        if (round % 2 == 0) {
            EXPECT_TRUE(WaitForRequest("/a"));
        }
        Heard->Events.clear();
        Client.reset();
        EXPECT_EQ(Heard->Events, QStringList());
        EXPECT_EQ(Server.Count("/b"), 0);
        EXPECT_EQ(link.Get(), nullptr);
        Open();
    }
}

TEST_F(ClientRefresh, DropsItsGuessAtTheNextFeedWhenAnotherIsQueuedFirst) {
    for (const QString name : {"a", "b", "c"}) Subscribe(name, {{"1", "/" + name + "1.mp3"}});
    const Response answer = Document("a", {{"1", "/a1.mp3"}, {"2", "/a2.mp3"}});
    Server.Serve("/a", answer.With(Fault::Wait));
    // While this thread holds the database, b cannot be stored, but a is on its way already.
    auto lock = Client->DB().Lock();
    Client->RefreshFeeds({Server.Url("/a"), Server.Url("/b")});
    ASSERT_TRUE(WaitForRequest("/a"));
    Client->RefreshFeeds({Server.Url("/c")});
    Server.Serve("/a", answer);
    lock.unlock();
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Heard->Events.join('|'), "refresh started|feed /b|feed /c|feed /a|refresh finished, new|changed");
    EXPECT_EQ(Server.Paths(), QStringList({"/b", "/a", "/c", "/a"}));
    EXPECT_EQ(EpisodeCount("/a"), 2);
}

TEST_F(ClientRefresh, TellsEveryListenerAlsoWhenOneLeavesAndOneThrows) {
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
