// The database when the system's file access fails, and when its file is damaged.

#include "ClientTests.h"

#include <array>
#include <random>

namespace podcasts {
namespace {

/// Makes the n-th of SQLite's accesses to files fail: only that one, or all from then on.
class FailingFiles {
public:
    FailingFiles() {
        Current = this;
        Usual = sqlite3_vfs_find(nullptr);
        FVfs = *Usual;
        FVfs.zName = "failing";
        FVfs.xOpen = [](sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* given) {
            if (Current->Fails()) {
                file->pMethods = nullptr;
                return SQLITE_CANTOPEN;
            }
            const int code = Usual->xOpen(Usual, name, file, flags, given);
            if (code == SQLITE_OK) Current->Wrap(file);
            return code;
        };
        sqlite3_vfs_register(&FVfs, 1);
    }
    ~FailingFiles() {
        sqlite3_vfs_unregister(&FVfs);
        sqlite3_vfs_register(Usual, 1);
    }
    FailingFiles(const FailingFiles&) = delete;
    FailingFiles& operator=(const FailingFiles&) = delete;

    void FailAt(int call, bool andAllLater, int writeError) {
        FLater = andAllLater;
        FWriteError = writeError;
        FCalls = 0;
        FCall = call;
    }
    void Recover() { FCall = 0; }
    int Calls() const { return FCalls; }

private:
    bool Fails() {
        const int call = ++FCalls;
        return FCall != 0 && (call == FCall || (FLater && call > FCall));
    }
    /// The file remains one of the system's VFS; only the functions that are to fail are replaced.
    struct Methods : sqlite3_io_methods {
        const sqlite3_io_methods* Usual = nullptr;
    };
    template <auto Method, class... Values>
    static int Call(int error, sqlite3_file* file, Values... values) {
        if (Current->Fails()) return error;
        return (static_cast<const Methods*>(file->pMethods)->Usual->*Method)(file, values...);
    }
    void Wrap(sqlite3_file* file) {
        using IO = sqlite3_io_methods;
        const vexa::TLock lock(FMutex);
        Methods& changed = FMethods[file->pMethods];
        if (!changed.Usual) {
            static_cast<IO&>(changed) = *file->pMethods;
            changed.Usual = file->pMethods;
            changed.xRead = [](sqlite3_file* f, void* bytes, int size, sqlite3_int64 at) {
                return Call<&IO::xRead>(SQLITE_IOERR_READ, f, bytes, size, at);
            };
            changed.xWrite = [](sqlite3_file* f, const void* bytes, int size, sqlite3_int64 at) {
                return Call<&IO::xWrite>(Current->FWriteError, f, bytes, size, at);
            };
            changed.xTruncate = [](sqlite3_file* f, sqlite3_int64 size) {
                return Call<&IO::xTruncate>(SQLITE_IOERR_TRUNCATE, f, size);
            };
            // Nothing is really synchronised: the test loses no power, and would wait for the disk most of the time.
            changed.xSync = [](sqlite3_file*, int) { return Current->Fails() ? SQLITE_IOERR_FSYNC : SQLITE_OK; };
            changed.xShmMap = [](sqlite3_file* f, int page, int size, int extend, void volatile** memory) {
                return Call<&IO::xShmMap>(SQLITE_IOERR_SHMMAP, f, page, size, extend, memory);
            };
        }
        file->pMethods = &changed;
    }

    static inline FailingFiles* Current;
    static inline sqlite3_vfs* Usual;
    sqlite3_vfs FVfs;
    vexa::TMutex FMutex;
    std::map<const sqlite3_io_methods*, Methods> FMethods VEXA_GUARDED_BY(FMutex);
    std::atomic<int> FCalls = 0, FCall = 0;
    bool FLater = false;
    int FWriteError = 0;
};

class DatabaseFaults : public ClientTest {
protected:
    const QStringList kFiles = {"Podcasts.db", "Podcasts.db-wal", "Podcasts.db-shm"};
    void Keep() {
        Client.reset();
        for (const QString& name : kFiles) QFile::copy(Folder.File(name), Folder.File("kept-" + name));
    }
    void Restore() {
        Client.reset();
        for (const QString& name : kFiles) {
            QFile::remove(Folder.File(name));
            QFile::copy(Folder.File("kept-" + name), Folder.File(name));
        }
    }
    QString RefreshComplaint(const QString& location) {
        Client->RefreshFeeds({location});
        EXPECT_TRUE(WaitForTasks());
        const auto outcomes = Client->RefreshOutcomes().From();
        return outcomes.empty() ? u"no outcome"_s : outcomes[0].Error.English();
    }
};

TEST_F(DatabaseFaults, ARefreshReportsAnyFailedFileAccessAndLosesNothing) {
    const QString feed = Folder.File("feed.xml");
    // In the newer document every address has changed, and episodes 2 and 3 have swapped theirs.
    const auto publish = [&](int count, const QString& title) {
        std::vector<Item> items;
        for (int i = 0; i < count; ++i) {
            const QString audio = title == u"old" || i == 2 || i == 3 ? u"/%1.mp3"_s : u"/%1.mp3?new"_s;
            const int number = title == u"new" && (i == 2 || i == 3) ? 5 - i : i;
            items.push_back({QString::number(i), audio.arg(number), title + QString(900, 'x')});
        }
        WriteWhole(feed, Document("a", items).Body);
    };
    publish(20, "old");
    Client->Subscribe(*TPodcastClient::FetchFeed(feed, {}, true));
    Client->UpdateState(Key("/0.mp3"), pesPostponed);
    Client->DB().SetCachedFile(Key("/1.mp3"), "/somewhere/1.mp3");
    Client->UpdateState(Key("/2.mp3"), pesListened);
    Keep();
    publish(40, "new");
    const QString sums =
        "SELECT Count(*), Sum(Title GLOB 'new*'), Sum(State), Sum(GUID * (URLAudioCached <> '')), Sum(GUID * "
        "(State = 0)), Sum(URI GLOB '*new'), (SELECT Count(*) FROM PodcastEpisodeNames) FROM PodcastEpisodes";
    const QString before = "20|0|20|1|2|0|0", after = "40|40|40|1|2|38|20";
    FailingFiles files;
    int failures = 0;
    for (const auto& [isLasting, writeError] : {std::pair(false, SQLITE_IOERR_WRITE), {true, SQLITE_FULL}}) {
        for (int call = 1; !HasFailure(); ++call) {
            Restore();
            files.FailAt(call, isLasting, writeError);
            QString complaint;
            const QString thrown = ErrorOf([&] { Open(), complaint = RefreshComplaint(feed); });
            if (!thrown.isEmpty()) complaint = thrown;
            Client.reset();
            const bool isReached = files.Calls() >= call;
            files.Recover();
            const QStringList now = Rows(sums);
            // A transaction reported as failed may have reached the disk nevertheless, but only as a whole.
            EXPECT_TRUE(now == QStringList(after) || (!complaint.isEmpty() && now == QStringList(before)))
                << call << ": " << complaint.toStdString() << ", " << now.join(' ').toStdString();
            EXPECT_TRUE(complaint.isEmpty() || complaint.contains(u"/Podcasts.db: ")) << complaint.toStdString();
            EXPECT_EQ(Rows("PRAGMA integrity_check"), QStringList("ok"));
            Open();
            EXPECT_EQ(RefreshComplaint(feed), "");
            EXPECT_EQ(Rows(sums), QStringList(after));
            failures += !complaint.isEmpty();
            if (!isReached) break;
        }
    }
    Client.reset();  // before `files`, which it uses
    EXPECT_GT(failures, 50);
}

TEST_F(DatabaseFaults, ADamagedFileIsNamedAndNeverCrashesTheProgram) {
    std::vector<Item> items;
    for (int i = 0; i < 400; ++i) items.push_back({QString::number(i), u"/%1.mp3"_s.arg(i), u"Title Ж %1"_s.arg(i)});
    Subscribe("a", items);
    Subscribe("b", {{"1", "/b.mp3"}});
    Client->DB().SetFeedLogo(1, QByteArray(20000, 'l').constData(), 20000);
    Keep();
    items.push_back({"more", "/more.mp3"});
    const QByteArray document = Document("a", items).Body;
    WriteWhole(Folder.File("feed.xml"), document);
    // The last transaction is in the log beside the file.
    Open();
    Client->UpdateState({Key("/5.mp3")}, pesListened);
    Client->DB().SetFeedLogo(2, QByteArray(20000, 'm').constData(), 20000);
    QFile::copy(Folder.File("Podcasts.db-wal"), Folder.File("kept-Podcasts.db-wal"));
    const std::array wholes = {ReadWhole(Folder.File("kept-Podcasts.db")),
                               ReadWhole(Folder.File("kept-Podcasts.db-wal"))};
    const int asked = qEnvironmentVariableIntValue("VEXA_TEST_SEEDS"), seeds = asked > 0 ? asked : 120;
    int damaged = 0;
    for (int seed = 0; seed < seeds && !HasFailure(); ++seed) {
        std::mt19937 random(static_cast<unsigned>(seed));
        const bool isLog = seed % 8 == 4;
        QByteArray bytes = wholes[isLog];
        // Damage a few bytes anywhere or in the schema's page, or a whole block; or the same in the log.
        const qsizetype reach = seed % 4 == 1 ? 8192 : bytes.size();
        for (unsigned left = seed % 4 == 2 ? 1 : 1 + random() % 40; left > 0; --left)
            bytes[static_cast<qsizetype>(random() % static_cast<std::size_t>(reach))] = static_cast<char>(random());
        if (seed % 4 == 3) {
            const auto at = static_cast<qsizetype>(random() % static_cast<std::size_t>(bytes.size() - 4096));
            for (qsizetype i = at; i < at + 4096; ++i) bytes[i] = static_cast<char>(random());
        }
        Restore();
        if (!isLog) QFile::remove(Folder.File("Podcasts.db-wal"));
        WriteWhole(Folder.File(isLog ? "Podcasts.db-wal" : "Podcasts.db"), bytes);
        QStringList complaints;
        const auto attempt = [&](const std::function<void()>& work) {
            if (const QString complaint = ErrorOf(work); !complaint.isEmpty()) complaints += complaint;
        };
        attempt([&] { Open(); });
        if (Client) {
            attempt([&] { Client->DB().EnumEpisodes({}, [](auto&, auto&) {}); });
            attempt([&] { Client->DB().EnumEpisodes({0, -1, "Ж 7"}, [](auto&, auto&) {}); });
            attempt([&] { Client->DB().EnumFeedSummaries([](auto...) {}); });
            attempt([&] { Client->DB().GetFeed(1, true); });
            attempt([&] {
                QByteArray logo;
                Client->DB().GetFeedLogo(1, logo);
            });
            attempt([&] { Client->NewEpisodesToDownload(); });
            attempt([&] {
                const auto feed = TPodcastClient::FetchFeed(Folder.File("feed.xml"), {}, true);
                feed->Fields[pffURLFeed] = Server.Url("/a");
                Client->Subscribe(*feed);
            });
            attempt([&] { Client->UpdateState({Key("/1.mp3"), Key("/399.mp3")}, pesListened); });
            attempt([&] { Client->CheckLocalCopies(); });
            attempt([&] { Client->Unsubscribe(Server.Url("/a"), true); });
        }
        for (const QString& complaint : complaints)
            EXPECT_TRUE(complaint.contains(u"/Podcasts.db: ")) << seed << ": " << complaint.toStdString();
        damaged += !complaints.isEmpty();
    }
    EXPECT_GT(damaged, 0);
}

}  // namespace
}  // namespace podcasts
