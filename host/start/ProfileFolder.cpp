#include "ProfileFolder.h"

#include "HostReasons.h"
#include "VEXA.Runtime.FileReason.h"

#include <QDir>
#include <QTemporaryFile>

namespace vexa::host {

void CheckWritable(const QString& folder) {
    // Write a page: neither permissions nor an empty file reveal a full disk.
    QTemporaryFile file(QDir(folder).filePath(QStringLiteral("Probe.XXXXXX")));
    const QByteArray page(4096, ' ');
    if (file.open() && file.write(page) == page.size() && file.flush()) return;
    throw ReasonError(Reason(HostReason("NoFiles"), {folder, FileReason(file)}));
}

}  // namespace vexa::host
