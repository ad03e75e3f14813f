// The player's window over a library: `window FOLDER PLUGIN LANGUAGES [load]` on a profile. Prints the time until the
// first rows are painted, and the memory needed. With `load`, 200 feeds are fetched and merged, and episodes downloaded
// from a server on this machine, while the table is scrolled: prints how long the event loop was blocked, and how long
// the table waited for rows. The subscriptions stay in the profile, so use a copy.

#include "MainWindow.h"
#include "Subscriber.h"
#include "VEXA.Runtime.Threads.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QScrollBar>
#include <QTableView>

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <thread>

namespace {

using namespace vexa;
using namespace vexa::host;

constexpr int kFeeds = 200, kDownloaded = 10, kEpisodes = 50, kBeat = 2;  // milliseconds
constexpr std::size_t kAudio = 200'000;                                   // bytes

double PeakMegabytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM")) return line.simplified().split(' ')[1].toDouble() / 1024;
    return 0;
}

/// A server of feeds and their audio files. The destructor stops it.
class Site {
public:
    Site() {
        FServer.Get(R"(/(\d+)\.xml)", [this](const httplib::Request& request, httplib::Response& response) {
            std::string document =
                "<rss version='2.0'><channel><title>Loaded " + std::string(request.matches[1]) + "</title>";
            for (int i = 0; i < kEpisodes; ++i) {
                const std::string n = std::to_string(i);
                document += "<item><title>Loaded episode " + n + "</title><guid>" + n + "</guid><description>" +
                            std::string(1500, 'n') + "</description><enclosure url='" + Address(request.matches[1], n) +
                            "' type='audio/mpeg'/></item>";
            }
            response.set_content(document + "</channel></rss>", "application/rss+xml");
        });
        FServer.Get(R"(/\d+-\d+\.mp3)", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(std::string(kAudio, 'a'), "audio/mpeg");
        });
        FPort = FServer.bind_to_any_port("127.0.0.1");
        FThread = std::thread([this] { FServer.listen_after_bind(); });
    }
    ~Site() {
        FServer.stop();
        FThread.join();
    }
    QStringList Feeds() const {
        QStringList addresses;
        for (int i = 0; i < kFeeds; ++i) addresses += QStringLiteral("http://127.0.0.1:%1/%2.xml").arg(FPort).arg(i);
        return addresses;
    }

private:
    std::string Address(const std::string& feed, const std::string& episode) const {
        return "http://127.0.0.1:" + std::to_string(FPort) + "/" + feed + "-" + episode + ".mp3";
    }

    httplib::Server FServer;
    int FPort = 0;
    std::thread FThread;
};

void Print(const char* what, std::vector<double> times) {
    if (times.empty()) return;
    std::sort(times.begin(), times.end());
    std::printf("| %s | %.1f | %.1f | %.1f | %zu |\n", what, times[times.size() / 2], times[times.size() * 99 / 100],
                times.back(), times.size());
}

void Wait(const std::function<bool()>& done) {
    while (!done()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
}

/// Downloads episodes of the first feeds as a user does: searches for them, selects them and chooses the menu command.
void Download(Host& host, QTableView& rows, QLineEdit& search) {
    search.setText(QStringLiteral("Loaded episode"));
    Wait([&] { return rows.model()->rowCount() == kDownloaded * kEpisodes; });
    rows.selectAll();
    const auto menu = host.Menus().BuiltIn(kMenuLibraryTable);
    host.Menus().PrepareToShow(*menu, 96);
    for (const auto& item : host.Menus().Children(*menu))
        if (host.Menus().ID(*item) == QStringLiteral("VEXA.Podcasts.Actions.CachedFilesControl"))
            host.Menus().Trigger(*item);
    search.clear();
    Wait([&] { return rows.model()->rowCount() > kDownloaded * kEpisodes; });
}

void Load(Host& host, MainWindow& window) {
    auto* const rows = window.findChild<QTableView*>(QStringLiteral("Rows"));
    auto& model = static_cast<TableModel&>(*rows->model());
    Site site;
    Subscriber subscriber(host);
    bool isSubscribed = false;
    QObject::connect(&subscriber, &Subscriber::Finished, [&] { isSubscribed = true; });

    // If a beat is late, the event loop was blocked.
    std::vector<double> waits, awaited;
    QElapsedTimer sinceBeat, sinceScroll;
    QTimer beat, scroll;
    beat.setTimerType(Qt::PreciseTimer);
    beat.setInterval(kBeat);
    QObject::connect(&beat, &QTimer::timeout, [&] {
        waits.push_back(std::max(0.0, static_cast<double>(sinceBeat.nsecsElapsed()) / 1e6 - kBeat));
        sinceBeat.start();
    });
    std::mt19937 random(1);
    bool isAwaited = false;
    const auto top = [&] { return std::max(rows->rowAt(0), 0); };
    QObject::connect(&scroll, &QTimer::timeout, [&] {
        if (isAwaited) return;
        auto* const bar = rows->verticalScrollBar();
        bar->setValue(static_cast<int>(random() % static_cast<unsigned>(std::max(bar->maximum(), 1))));
        sinceScroll.start();
        isAwaited = model.Row(top()) == nullptr;
    });
    QObject::connect(&model, &TableModel::Shown, [&] {
        if (!isAwaited || !model.Row(top())) return;
        isAwaited = false;
        awaited.push_back(static_cast<double>(sinceScroll.nsecsElapsed()) / 1e6);
    });
    const QStringList feeds = site.Feeds();
    subscriber.Subscribe(feeds.first(kDownloaded));
    Wait([&] { return std::exchange(isSubscribed, false); });
    Download(host, *rows, *window.findChild<QLineEdit*>(QStringLiteral("Search")));
    subscriber.Subscribe(feeds.sliced(kDownloaded));
    sinceBeat.start();
    beat.start();
    scroll.start(100);
    const QString storage = window.Library().Storage()->ID();
    Wait([&] { return isSubscribed; });
    QElapsedTimer downloading;
    downloading.start();
    Wait([&] { return host.Library().Tasks(storage).empty() || downloading.elapsed() > 20000; });
    beat.stop();
    std::printf(
        "\n| while 200 feeds are merged and downloaded | median, ms | 99 in 100, ms | worst, ms | times |\n"
        "|---|--:|--:|--:|--:|\n");
    Print("the event loop waits", waits);
    Print("rows are awaited after a jump", awaited);
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QElapsedTimer clock;
    clock.start();
    const QApplication application(argc, argv);
    AttachMainThread();
    if (argc < 4) return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const bool isLoaded = argc > 4;
    Host host({folder, QString::fromLocal8Bit(argv[3]), QStringLiteral("English"), {}});
    if (isLoaded)
        host.Config().Write(QStringLiteral("Podcasts\\CacheFileNameTemplate"),
                            folder + QStringLiteral("\\files\\%FeedTitle%\\%EpisodeTitle%"));
    {
        Playback playback(host, QStringLiteral("fakesink"));
        MainWindow window(host, playback);
        window.show();
        window.LoadPlugin(QString::fromLocal8Bit(argv[2]));
        auto& model = static_cast<TableModel&>(*window.findChild<QTableView*>(QStringLiteral("Rows"))->model());
        bool isPainted = false;
        QObject::connect(&model, &TableModel::Shown, &window, [&] { isPainted = isPainted || model.Row(0); });
        Wait([&] { return isPainted || window.Library().IsEmpty(); });
        window.repaint();
        std::printf("painted after %.0f ms\n", static_cast<double>(clock.nsecsElapsed()) / 1e6);
        if (isLoaded) Load(host, window);
        std::printf("peak memory: %.0f MB\n", PeakMegabytes());
    }
    host.UnloadPlugins();
}
