#include "Podcasts.Core.Config.h"
#include "Podcasts.Core.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

class Options : public testing::Test {
protected:
    int Changes = 0;
    TPodcastClientOptions Tested{[this](TPodcastClientOptions&) { ++Changes; }};
};

TEST_F(Options, StartWithTheirDefaultsAndAnnounceNothing) {
    EXPECT_EQ(Changes, 0);
    EXPECT_EQ(Tested.CheckUpdates(), 2);
    EXPECT_FALSE(Tested.CheckUpdatesOnStartup());
    EXPECT_FALSE(Tested.DownloadNewEpisodesAutomatically());
    EXPECT_TRUE(Tested.ShowNotifications());
    EXPECT_TRUE(Tested.MarkEpisodesListenedOnStartPlayback);
    EXPECT_EQ(Tested.CacheFileNameTemplate(),
              qEnvironmentVariable("HOME") + u"/Music/Podcasts\\%FeedTitle%\\%EpisodeFileName%");
}

TEST_F(Options, AnnounceEachChangeOnceAndAnEqualValueNever) {
    const std::function<void()> changes[] = {
        [&] { Tested.SetCheckUpdates(0); },
        [&] { Tested.SetCheckUpdatesOnStartup(true); },
        [&] { Tested.SetDownloadNewEpisodesAutomatically(true); },
        [&] { Tested.SetShowNotifications(false); },
        [&] { Tested.SetCacheFileNameTemplate("/m/%feedtitle%"); },
        [&] { Tested.SetCacheFileNameTemplate("/m/%FeedTitle%"); },
    };
    for (const auto& change : changes) {
        Changes = 0;
        change();
        EXPECT_EQ(Changes, 1);
        change();
        EXPECT_EQ(Changes, 1);
    }
    Tested.MarkEpisodesListenedOnStartPlayback = false;
    EXPECT_EQ(Changes, 1);
}

TEST_F(Options, AssigningIsOneChangeAndOtherObjectsAreIgnored) {
    TPodcastClientOptions source;
    source.SetCheckUpdates(0);
    source.SetCheckUpdatesOnStartup(true);
    source.SetDownloadNewEpisodesAutomatically(true);
    source.SetShowNotifications(false);
    source.SetCacheFileNameTemplate("/m/x");
    source.MarkEpisodesListenedOnStartPlayback = false;
    Tested.Assign(source);
    EXPECT_EQ(Changes, 1);
    EXPECT_EQ(Tested.CheckUpdates(), 0);
    EXPECT_TRUE(Tested.CheckUpdatesOnStartup());
    EXPECT_TRUE(Tested.DownloadNewEpisodesAutomatically());
    EXPECT_FALSE(Tested.ShowNotifications());
    EXPECT_EQ(Tested.CacheFileNameTemplate(), "/m/x");
    EXPECT_FALSE(Tested.MarkEpisodesListenedOnStartPlayback);
    Tested.Assign(source);
    EXPECT_EQ(Changes, 1);

    struct : vexa::LockablePersistent {
        void DoAssign(const LockablePersistent&) override {}
        void DoChanged(int) override {}
    } stranger;
    Tested.Assign(stranger);
    EXPECT_EQ(Changes, 1);
    EXPECT_EQ(Tested.CheckUpdates(), 0);
}

TEST(UpdateTimer, ARefreshIsDueOnlyAfterTheIntervalAndTheCounterWraps) {
    constexpr std::uint32_t hour = 3600000, top = 0xFFFFFFFF;
    struct {
        std::uint32_t Now, Last, Interval;
        bool IsDue;
    } const cases[] = {{hour, 0, hour, false},  {hour + 1, 0, hour, true}, {5, top - 10, 16, false},
                       {6, top - 10, 16, true}, {top, top - 10, 16, true}, {top, 0, 7 * 24 * hour, true},
                       {0, 0, 0, false},        {top - 1, top, 0, false}};
    for (const auto& [now, last, interval, isDue] : cases) EXPECT_EQ(IsRefreshDue(now, last, interval), isDue) << now;
    const std::pair<std::uint8_t, std::uint32_t> intervals[] = {{0, 0},          {1, hour},       {2, 24 * hour},
                                                                {3, 168 * hour}, {4, 168 * hour}, {255, 168 * hour}};
    for (const auto& [value, interval] : intervals) EXPECT_EQ(UpdateInterval(value), interval);
}

/// Configuration in memory that keeps a log of what is asked and written.
class LoggedConfig final : public IPodcastConfig {
public:
    int ReadInteger(const QString& key, int value) override {
        return Read("int ", key, QString::number(value)).toInt();
    }
    bool ReadBool(const QString& key, bool value) override {
        return Read("bool ", key, QString::number(value)) == u"1";
    }
    QString ReadString(const QString& key, const QString& value) override { return Read("string ", key, value); }
    void WriteInteger(const QString& key, int value) override { Write("int ", key, QString::number(value)); }
    void WriteBool(const QString& key, bool value) override { Write("bool ", key, QString::number(value)); }
    void WriteString(const QString& key, const QString& value) override { Write("string ", key, value); }

    QStringList Log;
    std::map<QString, QString> Values;

private:
    QString Read(const QString& kind, const QString& key, const QString& missing) {
        Log += kind + key + u'=' + missing;
        return Values.contains(key) ? Values[key] : missing;
    }
    void Write(const QString& kind, const QString& key, const QString& value) {
        Log += kind + key;
        Values[key] = value;
    }
};

TEST(Configuration, IsReadAndWrittenInItsOrdersWithItsDefaults) {
    const tests::TempFolder folder;
    TPodcastClient client(folder.File("Podcasts.db"));
    LoggedConfig config;
    ReadPodcastConfig(config, client);
    EXPECT_EQ(config.Log,
              QStringList(
                  {"int Podcasts\\CheckUpdatesLastTime=0",
                   "string Podcasts\\CacheFileNameTemplate=" + TPodcastClientOptions::GetDefaultCacheFileNameTemplate(),
                   "int Podcasts\\CheckUpdates=2", "bool Podcasts\\CheckUpdatesOnStartup=0",
                   "bool Podcasts\\DownloadNewEpisodesAutomatically=0", "bool Podcasts\\ShowNotifications=1",
                   "bool Podcasts\\MarkEpisodesListenedOnStartPlayback=1"}));
    config.Log.clear();
    client.LastRefreshTime = 0xFFFFFFFE;
    client.Options().SetCheckUpdates(3);
    client.Options().SetShowNotifications(false);
    client.Options().SetCacheFileNameTemplate("/m/x");
    WritePodcastConfig(config, client);
    EXPECT_EQ(config.Log,
              QStringList({"string Podcasts\\CacheFileNameTemplate", "int Podcasts\\CheckUpdates",
                           "int Podcasts\\CheckUpdatesLastTime", "bool Podcasts\\CheckUpdatesOnStartup",
                           "bool Podcasts\\DownloadNewEpisodesAutomatically",
                           "bool Podcasts\\MarkEpisodesListenedOnStartPlayback", "bool Podcasts\\ShowNotifications"}));
    EXPECT_EQ(config.Values["Podcasts\\CheckUpdatesLastTime"], "-2");

    const tests::TempFolder second;
    TPodcastClient reader(second.File("Podcasts.db"));
    ReadPodcastConfig(config, reader);
    EXPECT_EQ(reader.LastRefreshTime, 0xFFFFFFFE);
    EXPECT_EQ(reader.Options().CheckUpdates(), 3);
    EXPECT_FALSE(reader.Options().ShowNotifications());
    EXPECT_EQ(reader.Options().CacheFileNameTemplate(), "/m/x");
    EXPECT_TRUE(reader.UpdateTimer().IsEnabled());
    config.Values["Podcasts\\CheckUpdates"] = "256";  // only the low byte counts
    ReadPodcastConfig(config, reader);
    EXPECT_EQ(reader.Options().CheckUpdates(), 0);
    EXPECT_FALSE(reader.UpdateTimer().IsEnabled());
}

QStringList PopAll(TPodcastClientQueue& queue) {
    QStringList items;
    for (QString item; queue.Pop(item);) items += item;
    return items;
}

TEST(Queue, HandsOutTheLastFirstAndTakesTextsThatDifferInCaseForOne) {
    TPodcastClientQueue queue;
    queue.Add(QStringList({"A", "Жук", "C", "a"}));
    queue.Add("жУК");
    queue.Add("ss");
    queue.Add("ß");
    EXPECT_EQ(queue.Items(), QStringList({"A", "Жук", "C", "ss", "ß"}));
    QString item;
    EXPECT_TRUE(queue.Peek(item));
    EXPECT_EQ(item, "ß");
    EXPECT_EQ(PopAll(queue), QStringList({"ß", "ss", "C", "Жук", "A"}));
    item = "kept";
    EXPECT_FALSE(queue.Pop(item));
    EXPECT_EQ(item, "");
    queue.Add("a");  // what was taken may come again
    EXPECT_EQ(PopAll(queue), QStringList("a"));
}

TEST(Queue, RemovesAnItemInAnyCaseAndClears) {
    TPodcastClientQueue queue;
    queue.Add(QStringList({"one", "ÄPFEL", "three"}));
    queue.Remove("äpfel");
    queue.Remove("four");
    EXPECT_EQ(queue.Items(), QStringList({"one", "three"}));
    queue.Add("Äpfel");
    EXPECT_EQ(queue.Items().last(), "Äpfel");
    {
        const std::lock_guard lock(queue);  // reentrant
        queue.Clear();
    }
    EXPECT_EQ(PopAll(queue), QStringList());
}

}  // namespace
}  // namespace podcasts
