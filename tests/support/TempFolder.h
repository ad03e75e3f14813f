#pragma once
// A folder that goes away with its object.

#include <QFile>
#include <QTemporaryDir>

#include <stdexcept>

class TempFolder {
public:
    TempFolder() {
        if (!FFolder.isValid()) throw std::runtime_error("cannot create a temporary folder");
    }

    QString Path() const { return FFolder.path(); }
    /// The full name of a file in the folder.
    QString File(const QString& name) const { return FFolder.filePath(name); }

private:
    QTemporaryDir FFolder;
};
