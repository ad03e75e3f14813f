#pragma once
// A folder that is removed with its object.

#include <QFile>
#include <QString>
#include <QTemporaryDir>

namespace tests {

class TempFolder {
public:
    QString Path() const { return FFolder.path(); }
    /// The absolute name of a file in the folder.
    QString File(const QString& name) const { return FFolder.filePath(name); }

private:
    QTemporaryDir FFolder;
};

}  // namespace tests
