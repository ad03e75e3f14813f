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

constexpr auto kPatience = std::chrono::milliseconds(80);  // how long the windows may be blocked
constexpr auto kPoll = std::chrono::milliseconds(10);
constexpr qsizetype kKeysAtOnce = 250;  // takes a fraction of a second; windows show the progress after each group
constexpr qsizetype kMaxFilesNamed = 10;
constexpr qsizetype kMaxNameLength = 300;  // letters

/// Work that waits for its turn.
class CommandQueue {
public:
    /// True when no task is running, so that the caller must start one.
    bool Add(TPodcastsCommandWork work) {
        const TLock lock(FMutex);
        FWaiting.push_back(std::move(work));
        return !std::exchange(FIsRunning, true);
    }
    /// The next work. Returns an empty function when there is none; the task must then end, and the next Add returns
    /// true.
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
CommandQueue WaitingCommands;

/// Shows a message whose text is made on the main thread, and waits for that: once the work has ended there may be no
/// host any more.
template <class MakeText>
void ShowMessage(MakeText makeText) {
    RunInMainThread([&] { ShowErrorBox(HostMainWindow(), QString(), makeText()); }, true);
}

/// Does all waiting work, one piece after another, while holding a pass for the client.
class CommandTask final : public Task {
public:
    explicit CommandTask(TPodcastsClientPass client) : FClient(std::move(client)) {}

    void Execute() override {
        while (const TPodcastsCommandWork work = WaitingCommands.Next()) {
            try {
                work(*FClient.Get());
            } catch (...) {
                LogCaughtException(LogPlugin(), "a menu command");
                const Reason why = CaughtReason();
                GuardedCall("showing an error", [&] { ShowMessage([&] { return LocalizedText(why); }); });
            }
        }
    }
    void Complete() override { FClient = {}; }

private:
    TPodcastsClientPass FClient;
};

/// Tells the user about files that should have been deleted but still exist.
void ReportKeptFiles(const QStringList& files) {
    if (files.isEmpty()) return;
    ShowMessage([&] {
        QString text = FormatText(LocalizedText(QStringLiteral("Podcasts\\MSG15")), QString::number(files.size()));
        text += u'\n';
        for (const QString& file : files.mid(0, kMaxFilesNamed)) text += u'\n' + TextForLabel(file, kMaxNameLength);
        if (files.size() > kMaxFilesNamed) text += QStringLiteral("\n…");
        return text;
    });
}

}  // namespace

void RunCommand(TPodcastsCommandWork work) {
    VEXA_ASSERT_MAIN_THREAD();
    auto client = TPodcastsClientPass::Enter();
    if (!client) return;
    const auto isDone = std::make_shared<std::atomic<bool>>(false);
    const bool isFirst = WaitingCommands.Add([work = std::move(work), isDone](TPodcastClient& itsClient) {
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
    client = {};  // procedures that run during the wait may end the plug-in
    const auto end = Clock::now() + kPatience;
    DrainMainThreadUntil([&] { return *isDone || Clock::now() >= end; }, kPoll);
}

namespace {

/// Tells the host that episodes count as heard, or do so no longer, so that it drops stored playing positions, or
/// brings them back.
void SendToHost(HostMessage message, const QStringList& episodeKeys) {
    RunInMainThread(
        [&] {
            const auto names = CreateHostObject<IVEXAObjectList>();
            for (const QString& episodeKey : episodeKeys) RaiseIfFailed(names->Add(ToHostString(episodeKey).Get()));
            SendHostMessage(message, 0, names.Get());
        },
        true);
}

}  // namespace

void MarkEpisodes(TPodcastClient& client, const QStringList& episodeKeys, TPodcastEpisodeState state) {
    client.UpdateState(episodeKeys, state, TPodcastUndo::Kept);
    if (state == pesListened) SendToHost(kMsgFilesHeard, episodeKeys);
}

void DeleteCachedEpisodes(TPodcastClient& client, const QStringList& episodeKeys) {
    QStringList kept;
    TPodcastDeletedFiles deleted;
    const auto keepForUndo = [&] { client.KeepForUndo(std::exchange(deleted, {})); };
    try {
        for (qsizetype begin = 0; begin < episodeKeys.size(); begin += kKeysAtOnce) {
            kept += client.DeleteCachedEpisodes(episodeKeys.mid(begin, kKeysAtOnce), &deleted);
            if (begin + kKeysAtOnce >= episodeKeys.size()) keepForUndo();
            client.NotifyDataChanged();
        }
    } catch (...) {
        keepForUndo();
        throw;
    }
    ReportKeptFiles(kept);
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
    ReportKeptFiles(client.Unsubscribe(feedURL, deleteCachedFiles, TPodcastUndo::Kept));
}

std::optional<TPodcastUndone> UndoAct(TPodcastClient& client, qint64 number) {
    auto undone = client.Undo(number);
    if (undone && !undone->Unheard.isEmpty()) SendToHost(kMsgFilesUnheard, undone->Unheard);
    return undone;
}

}  // namespace podcasts
