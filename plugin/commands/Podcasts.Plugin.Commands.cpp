#include "Podcasts.Plugin.Commands.h"

#include "Podcasts.Plugin.Dialogs.h"
#include "Podcasts.Plugin.FileManager.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.MessageBox.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"

#include <atomic>
#include <chrono>
#include <deque>

namespace podcasts {

using namespace vexa;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::milliseconds(80);  // of the user, for whom the windows stand still
constexpr auto kPoll = std::chrono::milliseconds(10);
constexpr qsizetype kKeysAtOnce = 250;  // a fraction of a second's work: how far it is shows as often
constexpr qsizetype kMostFilesNamed = 10;
constexpr qsizetype kLongestName = 300;  // letters

/// Works that wait for their turn.
class Works {
public:
    /// True: nobody is at work, so that the caller is to see to it.
    bool Add(TPodcastsCommandWork work) {
        const TLock lock(FMutex);
        FWaiting.push_back(std::move(work));
        return !std::exchange(FIsRunning, true);
    }
    /// The next one; an empty one at the end, after which somebody else is to see to what comes.
    TPodcastsCommandWork Next() {
        const TLock lock(FMutex);
        FIsRunning = !FWaiting.empty();
        if (!FIsRunning) return {};
        TPodcastsCommandWork next = std::move(FWaiting.front());
        FWaiting.pop_front();
        return next;
    }

private:
    TMutex FMutex;
    std::deque<TPodcastsCommandWork> FWaiting VEXA_GUARDED_BY(FMutex);
    bool FIsRunning VEXA_GUARDED_BY(FMutex) = false;
};
Works Waiting;

/// Shows a message that the main thread makes, before the work that it is of has ended: later there may be no host.
template <class MakeText>
void Tell(MakeText makeText) {
    RunInMainThread([&] { ShowErrorBox(HostMainWindow(), QString(), makeText()); }, true);
}

/// Does all that waits, one after the other. Holds the client all the while.
class CommandTask final : public Task {
public:
    explicit CommandTask(TPodcastsClientPass client) : FClient(std::move(client)) {}

    void Execute() override {
        while (const TPodcastsCommandWork work = Waiting.Next()) {
            try {
                work(*FClient.Get());
            } catch (...) {
                LogCaughtException("a menu command");
                const QString reason = CaughtMessage();
                GuardedCall("showing an error", [&] { Tell([&] { return reason; }); });
            }
        }
    }
    void Complete() override { FClient = {}; }

private:
    TPodcastsClientPass FClient;
};

/// Files that were to be deleted and are still there must not be forgotten silently.
void TellOfKeptFiles(const QStringList& files) {
    if (files.isEmpty()) return;
    Tell([&] {
        QString text = FormatText(LocalizedText(QStringLiteral("Podcasts\\MSG15")), QString::number(files.size()));
        text += u'\n';
        for (const QString& file : files.mid(0, kMostFilesNamed)) text += u'\n' + TextForLabel(file, kLongestName);
        if (files.size() > kMostFilesNamed) text += QStringLiteral("\n…");
        return text;
    });
}

}  // namespace

void RunCommand(TPodcastsCommandWork work) {
    VEXA_ASSERT_MAIN_THREAD();
    auto client = TPodcastsClientPass::Enter();
    if (!client) return;
    const auto isDone = std::make_shared<std::atomic<bool>>(false);
    const bool isFirst = Waiting.Add([work = std::move(work), isDone](TPodcastClient& itsClient) {
        struct Ending {
            std::atomic<bool>& IsDone;
            ~Ending() {
                IsDone = true;
                WakeMainThread();
            }
        } const ending{*isDone};
        work(itsClient);
    });
    if (isFirst) WorkerPool::Run(std::make_unique<CommandTask>(std::move(client)));
    client = {};  // what is waited for may end the plug-in
    const auto end = Clock::now() + kPatience;
    DrainMainThreadUntil([&] { return *isDone || Clock::now() >= end; }, kPoll);
}

void DeleteCachedEpisodes(TPodcastClient& client, const QStringList& episodeKeys) {
    QStringList kept;
    for (qsizetype begin = 0; begin < episodeKeys.size(); begin += kKeysAtOnce) {
        kept += client.DeleteCachedEpisodes(episodeKeys.mid(begin, kKeysAtOnce));
        client.NotifyDataChanged();
    }
    TellOfKeptFiles(kept);
}

void MarkListened(TPodcastClient& client, const QString& episodeKey) {
    GuardedCall("marking an episode as listened", [&] {
        for (;;) {
            try {
                return client.UpdateState(episodeKey, pesListened);
            } catch (const SqliteError& error) {
                if (!error.IsBusy() || TPodcastsClientPass::IsClosing()) throw;
            }
        }
    });
}

void Unsubscribe(TPodcastClient& client, const QString& feedURL, bool deleteCachedFiles) {
    TellOfKeptFiles(client.Unsubscribe(feedURL, deleteCachedFiles));
}

}  // namespace podcasts
