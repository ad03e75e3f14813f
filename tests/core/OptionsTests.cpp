#include "Podcasts.Core.Config.h"
#include "Podcasts.Core.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <map>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

TEST(Options, AnnounceEachChangeOnceAndAnEqualValueNever) {
    using Options = TPodcastClientOptions;
    int count = 0;
    Options tested([&](Options&) { ++count; }), source;
    EXPECT_EQ(tested.CacheFileNameTemplate(),
              qEnvironmentVariable("HOME") + u"/Music/Podcasts\\%FeedTitle%\\%EpisodeFileName%");
    const std::function<void(Options&)> changes[] = {
        [](auto& o) { o.SetCheckUpdates(0); },
        [](auto& o) { o.SetCheckUpdatesOnStartup(true); },
        [](auto& o) { o.SetDownloadNewEpisodesAutomatically(true); },
        [](auto& o) { o.SetShowNotifications(false); },
        [](auto& o) { o.SetCacheFileNameTemplate("/m/%feedtitle%"); },
        [](auto& o) { o.SetCacheFileNameTemplate("/m/%FeedTitle%"); },
    };
    int expected = 0;
    for (const auto& change : changes) {
        change(source);
        change(tested);
        EXPECT_EQ(count, ++expected);
        change(tested);
        EXPECT_EQ(count, expected);
    }
    // Assign is one change, however many options differ.
    source.SetCheckUpdates(1);
    source.SetShowNotifications(true);
    for (int i = 0; i < 2; ++i) tested.Assign(source);
    EXPECT_EQ(count, expected + 1);
}

/// A configuration in memory that stores numbers as texts.
class MapConfig final : public IPodcastConfig {
public:
    std::map<QString, QString> Values;

    int ReadInteger(const QString& key, int otherwise) override {
        return Values.contains(key) ? Values[key].toInt() : otherwise;
    }
    bool ReadBool(const QString& key, bool otherwise) override { return ReadInteger(key, otherwise ? 1 : 0) != 0; }
    QString ReadString(const QString& key, const QString& otherwise) override {
        return Values.contains(key) ? Values[key] : otherwise;
    }
    void WriteInteger(const QString& key, int value) override { Values[key] = QString::number(value); }
    void WriteBool(const QString& key, bool value) override { WriteInteger(key, value ? 1 : 0); }
    void WriteString(const QString& key, const QString& value) override { Values[key] = value; }
};

TEST(ConfigKeys, EveryOptionIsReadAssignedAndWritten) {
    tests::TempFolder folder;
    TPodcastClient client(folder.File("Podcasts.db"));
    MapConfig defaults, changed, written;
    WritePodcastConfig(defaults, client);
    for (const TPodcastConfigKey& key : PodcastConfigKeys()) {
        if (!key.IsOption) continue;
        const QString value = defaults.Values[key.KeyPath()];
        const bool isText =
            key.Type == TPodcastConfigKey::Kind::String || key.Type == TPodcastConfigKey::Kind::FileName;
        changed.Values[key.KeyPath()] = isText ? QString(value + "x") : QString(value == "1" ? "0" : "1");
    }
    TPodcastClientOptions options;
    ReadPodcastOptions(changed, options);
    client.Options().Assign(options);
    WritePodcastConfig(written, client);
    for (const auto& [key, value] : changed.Values) EXPECT_EQ(written.Values[key], value) << key.toStdString();
}

TEST(ConfigKeys, TheTimeOfTheLastRefreshIsATickCountAndADateInUTC) {
    tests::TempFolder folder;
    const QDateTime now(QDate(2024, 8, 30), QTime(10, 0), Qt::UTC);
    TPodcastClient client(folder.File("Podcasts.db"));
    MapConfig config;
    const auto written = [&]() -> QString {
        WritePodcastConfig(config, client);
        return config.Values[u"Podcasts\\CheckUpdatesLastTime"_s] + ' ' +
               config.Values[u"Podcasts\\CheckUpdatesLastDate"_s];
    };
    EXPECT_EQ(written(), "0 ");
    client.LastRefreshTime = 77;
    client.LastRefreshDate = now;
    EXPECT_EQ(written(), "77 2024-08-30T10:00:00Z");
    const std::pair<QString, QDateTime> texts[] = {{"2024-08-30T10:00:00Z", now},
                                                   {"2024-08-30T12:00:00+02:00", now},
                                                   {"2024-08-30T10:00:00", now},
                                                   {"", {}},
                                                   {"yesterday", {}}};
    for (const auto& [text, date] : texts) {
        config.Values[u"Podcasts\\CheckUpdatesLastDate"_s] = text;
        ReadPodcastConfig(config, client);
        EXPECT_EQ(client.LastRefreshDate, date) << text.toStdString();
    }
}

TEST(UpdateTimer, ARefreshIsDueOnlyAfterTheIntervalAndTheCounterWraps) {
    constexpr std::uint32_t hour = 3600000, top = 0xFFFFFFFF;
    const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, bool> cases[] = {
        {hour, 0, hour, false},    {hour + 1, 0, hour, true},     {5, top - 10, 16, false}, {6, top - 10, 16, true},
        {top, top - 10, 16, true}, {top, 0, 7 * 24 * hour, true}, {0, 0, 0, false},         {top - 1, top, 0, false}};
    for (const auto& [now, last, interval, isDue] : cases) EXPECT_EQ(IsRefreshDue(now, last, interval), isDue) << now;
    const std::pair<std::uint8_t, std::uint32_t> intervals[] = {{0, 0},          {1, hour},       {2, 24 * hour},
                                                                {3, 168 * hour}, {4, 168 * hour}, {255, 168 * hour}};
    for (const auto& [value, interval] : intervals) EXPECT_EQ(UpdateInterval(value), interval);
}

TEST(Queue, ReturnsTheLastFirstAndIgnoresCase) {
    TPodcastClientQueue queue;
    for (const QString& text : QStringList{"A", "Жук", "C", "a", "жУК", "ss", "ß"}) queue.Add(text);
    EXPECT_EQ(queue.Items(), QStringList({"A", "Жук", "C", "ss", "ß"}));
    queue.Remove("жук");
    queue.Remove("four");
    queue.Add("ЖУК");
    QString item;
    EXPECT_FALSE(queue.TakeNext("A")) << "it is not the next one";
    EXPECT_TRUE(queue.Peek(item));
    EXPECT_EQ(item, "ЖУК");
    QStringList taken;
    while (queue.Pop(item)) taken += item;
    EXPECT_EQ(taken, QStringList({"ЖУК", "ß", "ss", "C", "A"}));
    EXPECT_EQ(item, "");
    const vexa::TLock lock(queue.Mutex());  // reentrant
    queue.Add("a");                         // a text that was taken may be added again
    EXPECT_EQ(queue.Items(), QStringList("a"));
    queue.Clear();
    EXPECT_FALSE(queue.Pop(item));
}

}  // namespace
}  // namespace podcasts
