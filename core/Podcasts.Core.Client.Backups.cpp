// The client's backups: those that its actions make first, and those of every day.

#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Repair.h"
#include "Podcasts.Core.h"
#include "VEXA.Runtime.Guard.h"
#include "VEXA.Runtime.Log.h"

namespace podcasts {

namespace {

constexpr qsizetype kManyFeeds = 10;
constexpr auto kBackupInterval = std::chrono::minutes(30);  // how often it is looked whether one is due

}  // namespace

qint64 TPodcastClient::BackupLimit() const {
    return FOptions->BackupSizeLimit * kBytesPerBackupUnit;
}

void TPodcastClient::BackUpOrAsk(std::optional<qint64> limit) {
    try {
        MakeBackup(FProfileFolder, FClocks.Calendar(), limit);
    } catch (const std::exception& error) {
        const vexa::Reason why(CoreReason("BackupFailed"), {vexa::ReasonOf(error)});
        if (!FGoOnWithoutBackup || !FGoOnWithoutBackup(why)) throw vexa::ReasonError(why);
        qCWarning(vexa::LogDatabase).noquote() << "going on, although" << why.English();
    }
}

void TPodcastClient::BackUpBeforeUnsubscribing(qsizetype feeds) {
    if (feeds > kManyFeeds) BackUpOrAsk(BackupLimit());
}

/// Waited for by the client's destruction.
class TPodcastClient::BackupTask final : public vexa::Task {
public:
    /// Without `completed` a backup is made only if one is due.
    BackupTask(TPodcastClient& client, BackupCompleted completed)
        : FClient(client), FCompleted(std::move(completed)), FLimit(client.BackupLimit()) {}

    void Execute() override {
        const auto isCancelled = [this] { return IsCancelled(); };
        vexa::Reason problem;
        if (FCompleted) {
            try {
                MakeBackup(FClient.FProfileFolder, FClient.Now(), FLimit, isCancelled);
            } catch (const vexa::SqliteError& error) {
                problem = error.Why();
                if (error.IsOfDamage()) TakeDamage(FClient, problem);
            } catch (const std::exception& error) {
                problem = vexa::ReasonOf(error);
            }
        } else {
            FClient.BackUpIfDue(FLimit, isCancelled);
        }
        FClient.RunCompletion([&] {
            FClient.FIsBackingUp = false;
            if (FCompleted) FCompleted(problem);
        });
    }

    /// Has nothing be written to the database any more, and the next start look for the damage.
    static void TakeDamage(TPodcastClient& client, const vexa::Reason& damage) {
        qCWarning(vexa::LogDatabase).noquote() << damage.English();
        client.FDB->StopWriting();
        NoteDamage(client.FProfileFolder);
        client.RunCompletion([&] {
            if (client.FDamageFound) client.FDamageFound(vexa::Reason(CoreReason("DamageFound")));
        });
    }

private:
    TPodcastClient& FClient;
    const BackupCompleted FCompleted;
    const qint64 FLimit;
};

void TPodcastClient::StartBackups(std::function<void(const vexa::Reason& damage)> damageFound) {
    VEXA_ASSERT_MAIN_THREAD();
    FDamageFound = std::move(damageFound);
    const auto start = [this] {
        if (!FIsBackingUp) RunBackupTask({});
    };
    FBackupTimer = std::make_unique<vexa::Timer>(kBackupInterval, start);
    FBackupTimer->SetEnabled(true);
    start();
}

void TPodcastClient::RunBackupTask(BackupCompleted completed) {
    FIsBackingUp = true;
    FBackupTask = vexa::WorkerPool::Run(std::make_unique<BackupTask>(*this, std::move(completed)));
}

void TPodcastClient::BackUpInBackground(BackupCompleted completed) {
    VEXA_ASSERT_MAIN_THREAD();
    if (FIsBackingUp) return completed(vexa::Reason(CoreReason("BackupBusy")));
    RunBackupTask(std::move(completed));
}

void TPodcastClient::BackUpIfDue(qint64 limit, const vexa::CancelCheck& isCancelled) noexcept {
    vexa::GuardedCall(
        vexa::LogDatabase(), "backing up",
        [&] {
            try {
                if (IsBackupDue(FProfileFolder, Now())) {
                    MakeBackup(FProfileFolder, Now(), limit, isCancelled);
                } else if (IsCheckDue(FProfileFolder, Now())) {
                    const QStringList damage = FindDatabaseDamage(FProfileFolder, isCancelled);
                    if (damage.isEmpty()) return NoteCheck(FProfileFolder, Now());
                    BackupTask::TakeDamage(
                        *this, vexa::Reason(CoreReason("DatabaseDamage"), {FDB->FileName(), damage.first()}));
                }
            } catch (const vexa::SqliteError& error) {
                if (isCancelled && isCancelled()) return;
                if (error.IsOfDamage()) BackupTask::TakeDamage(*this, error.Why());
                throw;
            }
        },
        vexa::E_FAIL);
}

}  // namespace podcasts
