#include "ProfileFolder.h"

#include "HostReasons.h"
#include "Log.h"
#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Profile.h"

#include <QDir>
#include <QTemporaryFile>

namespace vexa::host {

void FinishRestoring(const QString& folder) {
    if (FinishReplacement(folder) == ReplacementResult::InUse)
        qCWarning(LogHost).noquote() << "the backup is restored at a later start: another program uses" << folder;
}

void CheckWritable(const QString& folder) {
    // Write a page: neither permissions nor an empty file reveal a full disk.
    QTemporaryFile file(QDir(folder).filePath(QStringLiteral("Probe.XXXXXX")));
    const QByteArray page(4096, ' ');
    if (file.open() && file.write(page) == page.size() && file.flush()) return;
    throw ReasonError(Reason(HostReason("NoFiles"), {folder, FileReason(file)}));
}

}  // namespace vexa::host
