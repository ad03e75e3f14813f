// Reads a language file.

#include "Fuzzing.h"
#include "LanguageFile.h"
#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.Text.h"

using fuzzing::Require;
using vexa::host::LanguageFile;

namespace {

QString Written(const QStringList& parts) {
    QStringList written = parts;
    for (QString& part : written) {
        part.replace(u'\\', QLatin1String("\\\\"));
        part.replace(u'\n', QLatin1String("\\n")).replace(u'|', QLatin1String("\\|"));
    }
    return written.join(u'|');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tests::TempFolder folder;
    const QString fileName = folder.File(QStringLiteral("X.lng"));
    WriteWhole(fileName, QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    const LanguageFile file = LanguageFile::Load(fileName);
    const QStringList keys = file.KeyPaths();
    QString text = u"Name=" + file.Name() + u'\n';
    for (const QString& key : keys) {
        const auto parts = file.Find(key);
        Require(parts && !parts->isEmpty(), "a key has a text", key);
        Require(file.Find(vexa::FoldCase(key)) == parts, "letter case does not matter", key);
        const qsizetype delimiter = key.lastIndexOf(u'\\');
        text += u'[' + key.first(delimiter) + u"]\n" + key.sliced(delimiter + 1) + u'=' + Written(*parts) + u'\n';
    }
    const LanguageFile again(text, fileName);
    Require(again.Name() == file.Name(), "a name is read as it was written", file.Name());
    for (const QString& key : keys) {
        // With a backslash in the key, the section may be taken to end there.
        if (key.count(u'\\') == 1) Require(again.Find(key) == file.Find(key), "a text is read as it was written", key);
    }
    return 0;
}
