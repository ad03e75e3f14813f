// Reads a settings file, writes values into it, and reads it again. Parts: the file, then key paths and values in turn.

#include "Config.h"
#include "Fuzzing.h"
#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.Settings.h"
#include "VEXA.Runtime.Text.h"

#include <QMap>
#include <QSet>

using fuzzing::Require;

namespace {

/// All possible key paths of the file: every text in brackets with every text before an equals sign.
QSet<QString> KeyPathsIn(const QString& text) {
    constexpr int kMost = 16;
    QSet<QString> sections{QString()}, keys, paths;
    for (const QString& raw : text.split(u'\n')) {
        const QString line = raw.trimmed();
        if (line.startsWith(u'[') && line.endsWith(u']') && sections.size() < kMost)
            sections += line.sliced(1, line.size() - 2);
        if (line.contains(u'=') && keys.size() < kMost) keys += line.section(u'=', 0, 0).trimmed();
    }
    for (const QString& section : sections)
        for (const QString& key : keys) paths += section.isEmpty() ? key : QString(section + u'\\' + key);
    return paths;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tests::TempFolder folder;
    const QString fileName = vexa::SettingsFileName(folder.Path());
    const QList<QByteArray> parts = fuzzing::Parts(data, size, 1);
    WriteWhole(fileName, parts[0]);
    vexa::SettingsFile before(fileName);
    QMap<QString, QString> written;
    // The service checks which texts can be keys.
    vexa::host::ConfigService config(folder.Path());
    for (qsizetype i = 1; i + 1 < parts.size(); i += 2) {
        const QString key = vexa::FromUtf8(parts[i].toStdString()), value = vexa::FromUtf8(parts[i + 1].toStdString());
        if (config.Write(key, value)) written.insert(key, value);
    }
    config.Save();
    vexa::SettingsFile after(fileName);
    for (auto at = written.cbegin(); at != written.cend(); ++at)
        Require(after.Find(at.key()) == at.value(), "a value is read as it was written", at.key());
    for (const QString& key : KeyPathsIn(vexa::FromUtf8(parts[0].toStdString())))
        if (!written.contains(key)) Require(after.Find(key) == before.Find(key), "other values stay", key);
    return 0;
}
