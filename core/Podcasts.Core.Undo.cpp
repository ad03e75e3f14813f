#include "Podcasts.Core.Undo.h"

#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Threads.h"

#include <QSet>

#include <algorithm>

namespace podcasts {

// ---- The log ----

namespace {

constexpr std::size_t kMaxActs = 20;

}  // namespace

void TPodcastUndoLog::Add(TPodcastAct act, Procedure undo) {
    std::optional<Entry> oldest;  // destroyed without the lock, because that may write to the database
    const vexa::TLock lock(FMutex);
    act.Number = ++FLastNumber;
    FEntries.push_back({std::move(act), std::move(undo)});
    if (FEntries.size() <= kMaxActs) return;
    oldest = std::move(FEntries.front());
    FEntries.pop_front();
}

std::optional<TPodcastAct> TPodcastUndoLog::Last() const {
    const vexa::TLock lock(FMutex);
    return FEntries.empty() ? std::nullopt : std::optional(FEntries.back().Act);
}

bool TPodcastUndoLog::Has(qint64 number) const {
    const vexa::TLock lock(FMutex);
    return std::any_of(FEntries.begin(), FEntries.end(), [&](const Entry& each) { return each.Act.Number == number; });
}

std::optional<TPodcastUndone> TPodcastUndoLog::Undo(qint64 number) {
    std::optional<Entry> entry;
    {
        const vexa::TLock lock(FMutex);
        const auto found = std::find_if(FEntries.begin(), FEntries.end(),
                                        [&](const Entry& each) { return each.Act.Number == number; });
        if (found == FEntries.end()) return std::nullopt;
        entry = std::move(*found);
        FEntries.erase(found);
    }
    try {
        return entry->Undo();
    } catch (...) {
        const vexa::TLock lock(FMutex);
        const auto place =
            std::find_if(FEntries.begin(), FEntries.end(), [&](const Entry& each) { return each.Act.Number > number; });
        FEntries.insert(place, std::move(*entry));
        throw;
    }
}

// ---- The client's acts ----

namespace {

/// Files moved back from the trash. Unless they are kept, they return there.
class RestoredFiles {
public:
    explicit RestoredFiles(std::vector<vexa::TrashedFile>& files) : FFiles(files) {
        for (const vexa::TrashedFile& file : files)
            if (vexa::RestoreFromRecycleBin(file)) FNames.insert(file.FileName);
    }
    ~RestoredFiles() {
        for (vexa::TrashedFile& file : FFiles)
            if (FNames.contains(file.FileName)) static_cast<void>(vexa::MoveToRecycleBin(file.FileName, &file));
    }
    RestoredFiles(const RestoredFiles&) = delete;
    RestoredFiles& operator=(const RestoredFiles&) = delete;

    bool Contains(const QString& name) const { return FNames.contains(name); }
    void Keep(const QString& name) { FNames.remove(name); }
    void KeepAll() { FNames.clear(); }

private:
    std::vector<vexa::TrashedFile>& FFiles;
    QSet<QString> FNames;
};

TPodcastUndone RestoreDeletedFiles(TPodcastsDB& db, TPodcastDeletedFiles& deleted) {
    RestoredFiles restored(deleted.InTrash);
    std::vector<QString> recorded;
    db.RunInTransaction([&] {
        recorded.clear();
        for (const TPodcastFormerFile& row : deleted.Rows) {
            const bool isThere = restored.Contains(row.FileName) ||
                                 (deleted.NotDeleted.contains(row.FileName) && vexa::FileExists(row.FileName));
            if (isThere && db.RestoreFile(row)) recorded.push_back(row.FileName);
        }
    });
    for (const QString& name : recorded) restored.Keep(name);
    const auto count = static_cast<qsizetype>(recorded.size());
    return {count, static_cast<qsizetype>(deleted.Rows.size()) - count};
}

}  // namespace

void TPodcastClient::KeepForUndo(TPodcastDeletedFiles deleted) {
    if (deleted.Rows.empty()) return;
    TPodcastAct act;
    act.What = TPodcastAct::Kind::FilesDeleted;
    act.Count = static_cast<qsizetype>(deleted.Rows.size());
    if (act.Count == 1) act.Title = FDB->TitleOf(deleted.Rows.front().Row);
    FUndoLog->Add(std::move(act),
                  [this, deleted = std::move(deleted)]() mutable { return RestoreDeletedFiles(*FDB, deleted); });
}

void TPodcastClient::KeepForUndo(std::vector<TPodcastFormerState> former, TPodcastEpisodeState state,
                                 const QStringList& episodeKeys) {
    if (former.empty()) return;
    TPodcastAct act;
    act.State = state;
    act.Count = static_cast<qsizetype>(former.size());
    if (act.Count == 1) act.Title = FDB->TitleOf(former.front().Row);
    const QStringList heard = state == pesListened ? episodeKeys : QStringList();
    FUndoLog->Add(std::move(act), [this, former = std::move(former), state, heard] {
        const qsizetype restored = FDB->RestoreStates(former, state);
        return TPodcastUndone{restored, static_cast<qsizetype>(former.size()) - restored, {}, heard};
    });
}

void TPodcastClient::KeepForUndo(std::shared_ptr<TPodcastRemovedFeed> removed, const QString& title, qsizetype count,
                                 std::vector<vexa::TrashedFile> inTrash, const QStringList& queued) {
    const auto putBack = [this, removed = std::move(removed), count, inTrash = std::move(inTrash), queued]() mutable {
        RestoredFiles restored(inTrash);
        QStringList missing;
        for (const vexa::TrashedFile& file : inTrash)
            if (!restored.Contains(file.FileName)) missing += file.FileName;
        if (FDB->PutBack(*removed, missing) == 0)
            return TPodcastUndone{0, 0, vexa::Reason(CoreReason("SubscribedAgain"))};
        restored.KeepAll();
        if (!queued.isEmpty()) vexa::RunInMainThread([&] { DownloadEpisodes(queued); }, true);
        TPodcastUndone undone{count, 0};
        if (!missing.isEmpty())
            undone.Problem = vexa::Reason(CoreReason("FilesNotInTrash"), {QString::number(missing.size())});
        return undone;
    };
    FUndoLog->Add({TPodcastAct::Kind::Unsubscribed, pesListened, count, title}, putBack);
}

std::optional<TPodcastUndone> TPodcastClient::Undo(qint64 number) {
    const auto undone = FUndoLog->Undo(number);
    if (undone) NotifyDataChanged();
    return undone;
}

}  // namespace podcasts
