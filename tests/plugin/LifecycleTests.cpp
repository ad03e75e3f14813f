// Loading and unloading of the plug-in by a host.

#include "Feeds.h"
#include "FileInfo.h"
#include "HostFixture.h"
#include "LoopbackServer.h"
#include "VEXA.Runtime.Settings.h"

#include <QDateTime>

namespace tests {
namespace {

class Lifecycle : public testing::Test {
protected:
    std::unique_ptr<host::Host> NewHost(const QSet<QString>& missing = {}) {
        return std::make_unique<host::Host>(
            host::HostOptions{Profile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), missing});
    }
    static HResult Load(host::Host& host) {
        try {
            host.LoadPlugin(QStringLiteral(PLUGIN));
            return S_OK;
        } catch (const host::PluginError& error) {
            return error.Code();
        }
    }
    QString Setting(const QString& key) {
        return SettingsFile(SettingsFileName(Profile.Path())).Read(u"Podcasts\\" + key, u"missing"_s);
    }
    void WriteSettings(const QByteArray& text) { ::WriteWhole(SettingsFileName(Profile.Path()), text); }

    TempFolder Profile;
};

TEST_F(Lifecycle, ThePluginDescribesItselfAndRefusesASecondStart) {
    const auto host = NewHost();
    const host::Plugin plugin(QStringLiteral(PLUGIN)), other(QStringLiteral(PLUGIN));
    EXPECT_EQ(*plugin.Object()->GetInformation(3), u'\0');
    EXPECT_EQ(plugin.Categories(), 1u);
    EXPECT_NE(plugin.Object(), other.Object());

    EXPECT_EQ(plugin.Object()->Initialize(&host->PluginCore()), S_OK);
    EXPECT_EQ(plugin.Object()->Initialize(&host->PluginCore()), E_UNEXPECTED);
    EXPECT_EQ(other.Object()->Initialize(&host->PluginCore()), E_UNEXPECTED);
    other.Object()->Finalize();  // does nothing, because it was never initialised
    EXPECT_EQ(host->Library().StorageIDs(), QStringList("VEXA.Podcasts.ML.Storage"));
    plugin.Object()->Finalize();
    plugin.Object()->Finalize();
}

TEST_F(Lifecycle, AHostThatLacksAServiceGetsAnErrorAndKeepsItsSettings) {
    const QByteArray kSettings = "[Podcasts]\nCheckUpdates=0\nCheckUpdatesLastDate=2024-08-30T10:00:00Z\n";
    const struct {
        QSet<QString> Missing;
        HResult Result;
        bool HasDatabase;
    } cases[] = {
        {{"library"}, E_NOTIMPL, false}, {{"config"}, E_UNEXPECTED, true},
        {{"language"}, S_OK, true},      {{"http"}, S_OK, true},
        {{"messages"}, S_OK, true},      {{"player", "decoder"}, S_OK, true},
        {{"menus"}, S_OK, true},         {{"options", "playlists"}, S_OK, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Missing.values().join(u' ').toStdString());
        QFile::remove(Profile.File("Podcasts.db"));
        WriteSettings(kSettings);
        {
            const auto host = NewHost(c.Missing);
            EXPECT_EQ(Load(*host), c.Result);
        }
        EXPECT_EQ(QFile::exists(Profile.File("Podcasts.db")), c.HasDatabase);
        EXPECT_EQ(Setting("CheckUpdates"), "0");
        EXPECT_EQ(Setting("CheckUpdatesLastDate"), "2024-08-30T10:00:00Z");
        // Options that were never loaded are not saved.
        EXPECT_EQ(Setting("ShowNotifications"), c.Result == S_OK ? "1" : "missing");
    }
}

TEST_F(Lifecycle, SettingsThatCannotBeWrittenAreReportedAndEverythingElseEnds) {
    const auto host = NewHost();
    ASSERT_EQ(Load(*host), S_OK);
    // A folder in place of the file, so that not even root can write it.
    ASSERT_TRUE(QDir().mkpath(SettingsFileName(Profile.Path()) + u"/x"));
    EXPECT_THROW(host->UnloadPlugins(), std::runtime_error);
    EXPECT_EQ(host->Library().StorageIDs(), QStringList());
    EXPECT_EQ(Load(*host), S_OK);  // the first one has ended completely
}

TEST_F(Lifecycle, CanEndDuringTheRefreshAtStartWhileHostThreadsAskAndALogoNeverArrives) {
    LoopbackServer server;
    server.Serve("/logo", Response::Of(QByteArray(100, 'x'), "image/png").With(Fault::Wait, 10));
    server.Serve("/feed", Response::Of("<rss/>").With(Fault::Wait));
    podcasts::TPodcastFeed feed = MakeFeed(server.Url("/feed"), 50);
    feed.Fields[podcasts::pffURLLogo] = server.Url("/logo");
    podcasts::TPodcastsDB(Profile.File("Podcasts.db")).AddOrUpdate(feed);
    WriteSettings("[Podcasts]\nCheckUpdatesOnStartup=1\n");
    const auto host = NewHost();
    ASSERT_EQ(Load(*host), S_OK);
    std::atomic<bool> stop{false};
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; !stop; i = (i + 1) % 50) {
                const auto address = host::MakeString(QString("podcast://h/%1.mp3").arg(i));
                if (t == 0) {
                    Ref<IVEXAImageContainer> image;
                    host->AlbumArt().GetAlbumArt(address.Get(), nullptr, nullptr, nullptr, image.Put());
                } else if (t == 1) {
                    Ref<IVEXAAudioDecoder> decoder;
                    host->Decoders().CreateDecoder(address.Get(), 0, nullptr, decoder.Put());
                } else {
                    const Ref<host::FileInfo> info(new host::FileInfo);
                    if (host->FileInfos().GetFileInfo(address.Get(), 0, info.Get()) == S_OK) ++found;
                }
            }
        });
    }
    EXPECT_TRUE(WaitUntil([&] { return found > 20 && server.Count("/logo") > 0 && server.Count("/feed") > 0; }))
        << found << " found, requests: " << server.Paths().join(' ').toStdString();
    // The library's storage is gone, but the threads go on asking and must find nothing.
    const auto plugin = host->Plugins().at(0).Object();
    plugin->Finalize();
    stop = true;
    for (auto& thread : threads) thread.join();
    const Ref<host::FileInfo> info(new host::FileInfo);
    EXPECT_EQ(host->FileInfos().GetFileInfo(host::MakeString("podcast://h/1.mp3").Get(), 0, info.Get()), E_FAIL);
    EXPECT_NO_THROW(host->UnloadPlugins());
    const QDateTime noted = QDateTime::fromString(Setting("CheckUpdatesLastDate"), Qt::ISODate);
    EXPECT_LT(std::abs(noted.secsTo(QDateTime::currentDateTimeUtc())), 3600);
}

}  // namespace
}  // namespace tests
