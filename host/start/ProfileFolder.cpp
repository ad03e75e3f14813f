#include "ProfileFolder.h"

#include <QDir>
#include <QTemporaryFile>

#include <stdexcept>

namespace vexa::host {

void CheckWritable(const QString& folder) {
    // Write a page: neither permissions nor an empty file reveal a full disk.
    QTemporaryFile file(QDir(folder).filePath(QStringLiteral("Probe.XXXXXX")));
    const QByteArray page(4096, ' ');
    if (file.open() && file.write(page) == page.size() && file.flush()) return;
    throw std::runtime_error(
        QString(u"no files can be written in " + folder + u": " + file.errorString()).toStdString());
}

}  // namespace vexa::host
