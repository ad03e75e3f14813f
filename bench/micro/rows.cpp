// The library's table and tree over a million episodes, requested as the host does: `rows FOLDER PLUGIN LANGUAGES` on
// the profile that `library FOLDER` has built. Prints the time of each request, first and warm, beside the time of
// SQLite's own first page; and the time of a page while another connection merges feeds.

#include "Rows.h"

#include "FileInfo.h"
#include "Host.h"
#include "Library.h"
#include "Podcasts.Core.DB.h"
#include "Tree.h"
#include "VEXA.Runtime.Threads.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

namespace {

using namespace vexa;
using namespace vexa::host;
using Clock = std::chrono::steady_clock;

double Milliseconds(const std::function<void()>& work) {
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double ResidentMegabytes(const char* field) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(field)) return line.simplified().split(' ')[1].toDouble() / 1024;
    return 0;
}

std::vector<RowOrder> By(const char16_t* field, bool descending = false) {
    return {
        {QString::fromUtf16(field), descending ? IVEXAMLSortDirection::Descending : IVEXAMLSortDirection::Ascending}};
}

class Bench {
public:
    explicit Bench(Host& host)
        : FStorage(host.Library()), FReader(FStorage), FProvider(FStorage.Presets()[0].Provider), FTree(FProvider) {}

    RowQuery Query(std::vector<RowOrder> sort, int offset = 0) const {
        return {.Fields = {QStringLiteral("ID"), QStringLiteral("Title"), QStringLiteral("Artist"),
                           QStringLiteral("FeedName")},
                .Tree = FProvider,
                .Sort = std::move(sort),
                .Offset = offset,
                .Limit = 100};
    }
    void Page(const char* what, const RowQuery& query) {
        Report(what, [&] { Check(FReader.ReadNow(query).Error); });
    }
    void Count(const char* what, const RowQuery& query) {
        Report(what, [&] { Check(FReader.CountNow(query).Error); });
    }
    void Nodes(const char* what, const std::vector<QString>& values) {
        Report(what, [&] {
            std::vector<TreeNode> way;
            for (const QString& value : values) {
                const auto nodes = way.empty() ? FTree.Children() : FTree.Children(way.back());
                way.push_back(*std::find_if(nodes.begin(), nodes.end(),
                                            [&](const TreeNode& node) { return node.Value() == value; }));
            }
            way.empty() ? FTree.Children() : FTree.Children(way.back());
        });
    }
    /// Reads a page repeatedly until `done`, and prints the median and the worst time.
    void While(const char* what, const RowQuery& query, const std::atomic<bool>& done) {
        std::vector<double> times;
        while (!done) times.push_back(Milliseconds([&] { Check(FReader.ReadNow(query).Error); }));
        std::sort(times.begin(), times.end());
        std::printf("| %s | %.1f | %.1f | %zu |\n", what, times[times.size() / 2], times.back(), times.size());
    }

private:
    static void Check(const Reason& error) {
        if (error) std::printf("failed: %s\n", qPrintable(error.English()));
    }
    void Report(const char* what, const std::function<void()>& work) {
        const double first = Milliseconds(work);
        work();
        std::vector<double> times(7);
        for (double& time : times) time = Milliseconds(work);
        std::sort(times.begin(), times.end());
        std::printf("| %s | %.1f | %.2f |\n", what, first, times[3]);
        std::fflush(stdout);
    }

    LibraryStorage FStorage;
    RowReader FReader;
    Ref<IVEXAMLGroupingTreeDataProvider> FProvider;
    Tree FTree;
};

void Merge(const QString& file, const std::atomic<bool>& stop) {
    podcasts::TPodcastsDB db(file);
    for (int i = 0; i < 200 && !stop; ++i) {
        podcasts::TPodcastFeed feed;
        feed.Fields[podcasts::pffTitle] = QStringLiteral("Merged %1").arg(i);
        feed.Fields[podcasts::pffURLFeed] = QStringLiteral("https://merged%1.example/").arg(i);
        for (int e = 0; e < 200; ++e) {
            auto& episode = feed.NewEpisode();
            episode.Fields[podcasts::pefGUID] = QStringLiteral("g%1").arg(e);
            episode.Fields[podcasts::pefTitle] = QStringLiteral("Merged episode %1").arg(e);
            episode.Fields[podcasts::pefDescription] = QString(1500, u'n');
            episode.Fields[podcasts::pefURLAudio] = QStringLiteral("https://merged%1.example/%2.mp3").arg(i).arg(e);
            episode.PublishDate = 40000 + e;
        }
        db.AddOrUpdate(feed);
    }
}

void Unmerge(const QString& file) {
    podcasts::TPodcastsDB db(file);
    for (int i = 0; i < 200; ++i) db.Remove(QStringLiteral("https://merged%1.example/").arg(i));
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    AttachMainThread();
    if (argc < 4) return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const QString file = folder + u"/Podcasts.db";
    {
        // For comparison, an empty profile. It comes first, because whichever loads first also loads the plug-in's
        // pages into memory.
        Host empty({.ProfileFolder = folder + u"/empty",
                    .LanguageFolder = QString::fromLocal8Bit(argv[3]),
                    .Language = {},
                    .MissingServices = {}});
        std::printf("loading the plug-in on an empty profile: %.1f ms\n",
                    Milliseconds([&] { empty.LoadPlugin(QString::fromLocal8Bit(argv[2])); }));
    }
    Host host({.ProfileFolder = folder,
               .LanguageFolder = QString::fromLocal8Bit(argv[3]),
               .Language = {},
               .MissingServices = {}});
    std::printf("loading the plug-in on the library: %.1f ms\n",
                Milliseconds([&] { host.LoadPlugin(QString::fromLocal8Bit(argv[2])); }));
    const double before = ResidentMegabytes("VmRSS");
    {
        // The time of a playlist of 10,000 episodes: each episode and its feed are looked up, and ten properties
        // written.
        LibraryStorage storage(host.Library());
        RowReader reader(storage);
        const RowPage page = reader.ReadNow({.Fields = {QStringLiteral("ID")}, .Limit = 10'000});
        const double time = Milliseconds([&] {
            for (const auto& row : page.Rows) {
                const Ref<FileInfo> info(new FileInfo);
                host.FileInfos().GetFileInfo(MakeString(row[0].Text).Get(), 0, info.Get());
            }
        });
        std::printf("file information of 10,000 episodes: %.0f ms\n", time);
    }
    {
        Bench bench(host);
        const auto date = By(u"PublishDate", true);
        std::printf("\n| request | first, ms | again, ms |\n|---|--:|--:|\n");
        bench.Page("first page by date", bench.Query(date));
        const QString node = QStringLiteral("Node");
        RowQuery fresh = bench.Query(date), feed = fresh, both = fresh, state = fresh, found = fresh;
        fresh.Node = {{node, PropertyValue(QStringLiteral("031"))}};
        feed.Node = {{node, PropertyValue(QStringLiteral("01"))},
                     {node, PropertyValue(QStringLiteral("04https://host500.example/feed.xml"))}};
        both.Node = {{node, PropertyValue(QStringLiteral("031"))},
                     {node, PropertyValue(QStringLiteral("04https://host500.example/feed.xml"))}};
        state.Where = {{.Field = QStringLiteral("State"), .Value1 = PropertyValue(QStringLiteral("2"))}};
        bench.Page("first page, the New group", fresh);
        bench.Page("first page, one feed", feed);
        bench.Page("first page, a feed in the New group", both);
        bench.Page("first page, a condition on the state", state);
        bench.Nodes("the tree's top level", {});
        bench.Nodes("the New group's children", {QStringLiteral("031")});
        bench.Nodes("all subscriptions", {QStringLiteral("01")});
        bench.Page("row 500,000 by date", bench.Query(date, 500000));
        bench.Page("row 500,000 by state", bench.Query(By(u"State"), 500000));
        bench.Page("first page by title", bench.Query(By(u"Title")));
        bench.Page("row 500,000 by title", bench.Query(By(u"Title"), 500000));
        bench.Count("number of rows", bench.Query(date));
        bench.Count("number of rows, the New group", fresh);
        bench.Count("number of rows, a feed in the New group", both);
        found.Search = QStringLiteral("episode 777 of feed 77");
        bench.Page("search, a rare phrase", found);
        found.Search = QStringLiteral("episode 9");
        bench.Page("search, a frequent word", found);
        bench.Count("its number of rows", found);
        std::printf("\nmemory above the empty library: %.0f MB\n", ResidentMegabytes("VmRSS") - before);

        std::printf("\n| while 200 feeds are merged | median, ms | worst, ms | pages |\n|---|--:|--:|--:|\n");
        for (const auto& [what, query] :
             {std::pair{"first page by date", bench.Query(date)}, std::pair{"the New group", fresh},
              std::pair{"row 500,000 by date", bench.Query(date, 500000)}}) {
            std::atomic<bool> done{false};
            std::thread writer([&] {
                Merge(file, done);
                done = true;
            });
            bench.While(what, query, done);
            writer.join();
            Unmerge(file);
        }
    }
    host.UnloadPlugins();
}
