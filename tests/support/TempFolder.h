#pragma once
// A folder that goes away with its object.

#include <QFile>
#include <QString>
#include <QTemporaryDir>

namespace tests {

class TempFolder {
public:
    QString Path() const { return FFolder.path(); }
    /// The full name of a file in it.
    QString File(const QString& name) const { return FFolder.filePath(name); }

private:
    QTemporaryDir FFolder;
};

}  // namespace tests
