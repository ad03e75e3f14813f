#include "LanguageFile.h"

#include "Log.h"
#include "VEXA.Runtime.Text.h"

#include <QFile>

#include <stdexcept>

namespace vexa::host {

namespace {

/// Cuts a value at "|" and undoes "\n", "\|" and "\\"; any other back slash stands for itself.
QStringList SplitParts(const QString& written) {
    QStringList parts{QString()};
    for (qsizetype i = 0; i < written.size(); ++i) {
        const QChar next = i + 1 < written.size() ? written[i + 1] : QChar();
        if (written[i] == u'|') {
            parts += QString();
        } else if (written[i] == u'\\' && (next == u'n' || next == u'|' || next == u'\\')) {
            parts.last() += next == u'n' ? QChar(u'\n') : next;
            ++i;
        } else {
            parts.last() += written[i];
        }
    }
    return parts;
}

}  // namespace

LanguageFile::LanguageFile(const QString& text, const QString& fileName) {
    QString section;
    int number = 0;
    const auto skip = [&](const char* why) {
        qCWarning(LogHost).noquote() << QString(fileName + u", line " + QString::number(number) + u": skipped,") << why;
    };
    for (const QString& raw : text.split(u'\n')) {
        ++number;
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(u';')) continue;
        if (line.startsWith(u'[')) {
            if (line.size() > 2 && line.endsWith(u']'))
                section = line.sliced(1, line.size() - 2).trimmed();
            else
                skip("a section is written [Name]");
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        const QString key = line.first(std::max<qsizetype>(equals, 0)).trimmed();
        const QString value = line.sliced(equals + 1).trimmed();
        if (key.isEmpty()) {
            skip("a text is written Key=text");
        } else if (section.isEmpty()) {
            if (FoldCase(key) == u"name")
                FName = value;
            else
                skip("only Name stands before the first section");
        } else {
            const QString keyPath = section + u'\\' + key;
            const QString folded = FoldCase(keyPath);
            if (FValues.contains(folded)) {
                skip("the key stands in the file already");
                continue;
            }
            FValues.insert(folded, SplitParts(value));
            FKeyPaths += keyPath;
        }
    }
    FKeyPaths.sort();
}

LanguageFile LanguageFile::Load(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(
            QString(u"cannot read the language file " + fileName + u": " + file.errorString()).toStdString());
    return LanguageFile(QString::fromUtf8(file.readAll()), fileName);  // without a mark at the beginning
}

std::optional<QStringList> LanguageFile::Find(const QString& keyPath) const {
    const auto found = FValues.constFind(FoldCase(keyPath));
    if (found == FValues.cend()) return std::nullopt;
    return *found;
}

QStringList LanguageFile::KeyPaths() const {
    return FKeyPaths;
}

}  // namespace vexa::host
