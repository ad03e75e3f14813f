#include "Podcasts.Core.MovedFiles.h"

#include "VEXA.Runtime.Files.h"

#include <QDir>

namespace podcasts {

namespace {

bool IsIn(const QString& fileName, const QString& folder) {
    return fileName.startsWith(vexa::WithTrailingDelimiter(folder));
}

}  // namespace

QString NameInMovedFolder(const QString& fileName, const QString& oldFolder, const QString& newFolder) {
    const QString name = QDir::cleanPath(fileName);
    if (!IsIn(name, oldFolder) || (IsIn(newFolder, oldFolder) && IsIn(name, newFolder))) return {};
    return vexa::WithTrailingDelimiter(newFolder) + name.sliced(vexa::WithTrailingDelimiter(oldFolder).size());
}

TPodcastMovedFiles FindMovedFiles(TPodcastsDB& db, const QString& oldFolder, const QString& newFolder) {
    TPodcastMovedFiles moved;
    for (const TPodcastStoredFile& file : db.GetStoredFiles()) {
        const QString name = NameInMovedFolder(file.FileName, oldFolder, newFolder);
        if (name.isEmpty() || moved.Names.contains(file.FileName)) continue;
        if (!vexa::FileExists(name))
            moved.Missing += file.FileName;
        else if (db.IsFileRecorded(name))
            moved.Taken += file.FileName;
        else
            moved.Names.emplace(file.FileName, name);
    }
    moved.Missing.removeDuplicates();
    moved.Taken.removeDuplicates();
    return moved;
}

void RecordMovedFiles(TPodcastsDB& db, const std::map<QString, QString>& names) {
    if (names.empty()) return;
    db.RunInTransaction([&] {
        vexa::SqliteStatement record(db,
                                     "UPDATE PodcastEpisodes SET URLAudioCached = ? WHERE URLAudioCached IS NOT '' AND "
                                     "URLAudioCached = ?");
        vexa::SqliteStatement note(db, "UPDATE PodcastListenedFiles SET FileName = ? WHERE FileName = ?");
        for (const auto& [before, now] : names) {
            record.Text(now).Text(before).Run();
            note.Text(now).Text(before).Run();
        }
    });
}

}  // namespace podcasts
