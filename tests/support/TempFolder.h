#pragma once
// A folder that goes away with its object.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTemporaryDir>

#include <stdexcept>

namespace tests {

class TempFolder {
public:
    TempFolder() {
        if (!FFolder.isValid()) throw std::runtime_error(FFolder.errorString().toStdString());
    }

    QString Path() const { return FFolder.path(); }
    /// The full name of a file in it.
    QString File(const QString& name) const { return FFolder.filePath(name); }

private:
    QTemporaryDir FFolder;
};

inline void WriteFile(const QString& fileName, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(fileName).path());
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error(file.errorString().toStdString());
}

inline QByteArray ReadFile(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error(file.errorString().toStdString());
    return file.readAll();
}

}  // namespace tests
