// A library of a million episodes: `library FOLDER [EPISODES [FEEDS]]` builds it once and prints the time of each
// look-up, list and first page, the cost of each index, and the time that opening takes.

#include "Podcasts.Core.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

namespace {

using namespace podcasts;
using Clock = std::chrono::steady_clock;

double Milliseconds(const std::function<void()>& work) {
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Prints the median of five runs, after one run to warm up.
void Report(const char* what, const std::function<void()>& work) {
    work();
    std::vector<double> times(5);
    for (double& time : times) time = Milliseconds(work);
    std::sort(times.begin(), times.end());
    std::printf("| %s | %.2f |\n", what, times[2]);
    std::fflush(stdout);
}

/// A feed with `count` episodes, of which one in ten is new.
std::unique_ptr<TPodcastFeed> MakeFeed(int number, int count) {
    auto feed = std::make_unique<TPodcastFeed>();
    feed->Fields[pffTitle] = QStringLiteral("Feed %1").arg(number, 5, 10, QChar(u'0'));
    feed->Fields[pffURLFeed] = QStringLiteral("https://host%1.example/feed.xml").arg(number);
    const QString notes = QString(600, u'n');
    for (int i = 0; i < count; ++i) {
        auto& episode = feed->NewEpisode();
        episode.Fields[pefGUID] = QStringLiteral("https://host%1.example/episode/%2").arg(number).arg(i);
        episode.Fields[pefTitle] = QStringLiteral("Episode %1 of feed %2").arg(i).arg(number);
        episode.Fields[pefArtist] = QStringLiteral("Artist %1").arg(number % 97);
        episode.Fields[pefDescription] = notes;
        episode.Fields[pefURLAudio] = QStringLiteral("https://host%1.example/audio/%2.mp3").arg(number).arg(i);
        episode.PublishDate = 40000 + i + number * 0.001;
        episode.Duration = 1800;
        episode.State = i % 10 == 0 ? pesNew : pesListened;
    }
    return feed;
}

double CostOfIndex(TPodcastsDB& db, const std::string& name, const std::string& definition, int firstFeed, int feeds) {
    auto insert = [&](int from) {
        std::vector<std::unique_ptr<TPodcastFeed>> made;
        for (int i = 0; i < feeds; ++i) made.push_back(MakeFeed(from + i, 200));
        return Milliseconds([&] {
            for (auto& feed : made) db.AddOrUpdate(*feed);
        });
    };
    auto remove = [&](int from) {
        for (int i = 0; i < feeds; ++i) db.Remove(MakeFeed(from + i, 0)->Fields[pffURLFeed]);
    };
    constexpr int kRounds = 5;
    auto median = [&] {
        std::vector<double> times(kRounds);
        for (double& time : times) {
            time = insert(firstFeed);
            remove(firstFeed);
        }
        std::sort(times.begin(), times.end());
        return times[kRounds / 2];
    };
    const double with = median();
    db.ExecuteSQL("DROP INDEX " + name);
    const double without = median();
    db.ExecuteSQL("CREATE INDEX " + name + " ON " + definition);
    return with / without;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    vexa::AttachMainThread();
    if (argc < 2) return 2;
    const int episodes = argc > 2 ? std::atoi(argv[2]) : 1'000'000;
    const int feeds = argc > 3 ? std::atoi(argv[3]) : 1000;
    const QString file = QString::fromLocal8Bit(argv[1]) + u"/Podcasts.db";
    if (!QFile::exists(file)) {
        TPodcastsDB db(file);
        const double time = Milliseconds([&] {
            for (int i = 0; i < feeds; ++i) db.AddOrUpdate(*MakeFeed(i, episodes / feeds));
        });
        std::printf("built in %.1f s\n", time / 1000);
    }
    std::printf("%d episodes in %d feeds, one in ten new\n\n| work | median ms |\n|---|--:|\n", episodes, feeds);
    Report("open and close", [&] { TPodcastsDB db(file); });
    Report("open and close an empty one", [&] { TPodcastsDB db(file + u".empty"); });
    TPodcastClient client(file);
    TPodcastsDB& db = client.DB();
    const auto sample = MakeFeed(feeds / 2, 200);
    const QString address = sample->Fields[pffURLFeed];
    const int id = db.GetFeedID(address);
    int a = 0, b = 0;
    auto page = [&](const TPodcastEpisodeFilter& filter) { db.EnumEpisodes(filter, [](auto&, auto&) {}); };
    Report("find a feed", [&] { db.GetFeedID(address); });
    Report("find an episode by GUID", [&] { db.GetEpisode(MakeEpisodeKey(id, sample->Episodes(7).Fields[pefGUID])); });
    Report("find an episode by URI", [&] { db.GetEpisode(MakeURI(sample->Episodes(7).Fields[pefURLAudio])); });
    Report("all feeds by name", [&] { db.EnumFeeds([](auto&, auto&, int) {}); });
    Report("feeds with new episodes", [&] { db.EnumFeedsWithState(pesNew, [](auto&, auto&, int) {}); });
    Report("all feeds with their numbers", [&] { db.EnumFeedSummaries([](int, auto&, auto&, int, int, int) {}); });
    Report("numbers of new and postponed", [&] { db.GetEpisodeCounts(0, a, b); });
    Report("the same of one feed", [&] { db.GetEpisodeCounts(id, a, b); });
    Report("first page, all", [&] { page({0, -1, {}, 50, 0}); });
    Report("first page, new", [&] { page({0, pesNew, {}, 50, 0}); });
    Report("first page, one feed", [&] { page({id, -1, {}, 50, 0}); });
    Report("first page, one feed, new", [&] { page({id, pesNew, {}, 50, 0}); });
    Report("page at 500,000", [&] { page({0, -1, {}, 50, 500000}); });
    Report("search, frequent word", [&] { page({0, -1, QStringLiteral("episode 9"), 50, 0}); });
    Report("search, nothing found", [&] { page({0, -1, QStringLiteral("zebra"), 50, 0}); });
    Report("new episodes without a file (100,000)", [&] { db.EnumNewEpisodes([](auto&) {}); });
    Report("check files (none recorded)", [&] { db.ResetMissingCachedFiles(); });
    {
        QStringList keys;
        for (int i = 0; i < 20000; ++i) keys += MakeEpisodeKey(1, QStringLiteral("https://host.example/%1").arg(i));
        Report("queue 20,000 episodes", [&] {
            client.DownloadQueue().Add(keys);
            client.DownloadQueue().Clear();
        });
    }
    std::printf("\n| index | × time to insert 20 feeds of 200 | MB |\n|---|--:|--:|\n");
    for (const auto& [name, definition] : TPodcastsDB::Indexes()) {
        const double factor = CostOfIndex(db, std::string(name), std::string(definition), feeds + 1, 20);
        const int megabytes =
            db.QueryInteger("SELECT sum(pgsize) / 1000000 FROM dbstat WHERE name = '" + std::string(name) + "'");
        std::printf("| %s | %.2f | %d |\n", std::string(definition).c_str(), factor, megabytes);
        std::fflush(stdout);
    }
    Report("numbers of new and postponed, all episodes new", [&, first = true]() mutable {
        if (std::exchange(first, false)) db.ExecuteSQL("UPDATE PodcastEpisodes SET State = 1");
        db.GetEpisodeCounts(0, a, b);
    });
    Report("feeds with new episodes, all episodes new",
           [&] { db.EnumFeedsWithState(pesNew, [](auto&, auto&, int) {}); });
    db.ExecuteSQL("UPDATE PodcastEpisodes SET State = 0 WHERE rowid % 10 <> 1");
}
