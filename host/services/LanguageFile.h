#pragma once
// One language's texts: a *.lng file. docs/language-files.md describes the format.

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

namespace vexa::host {

class LanguageFile {
public:
    LanguageFile() = default;
    /// Parses the text of a file. A line that is not valid is skipped, with a warning that names `fileName`.
    LanguageFile(const QString& text, const QString& fileName);
    /// Throws std::runtime_error when the file cannot be read.
    static LanguageFile Load(const QString& fileName);

    /// The language's own name for itself.
    QString Name() const { return FName; }
    /// The parts of the value of "Section\Key", ignoring letter case; nothing when there is no such key.
    std::optional<QStringList> Find(const QString& keyPath) const;
    /// The key paths, "Section\Key", as written in the file, sorted.
    QStringList KeyPaths() const;

private:
    QString FName;
    QHash<QString, QStringList> FValues;  // by case-folded key path
    QStringList FKeyPaths;
};

}  // namespace vexa::host
