#include "JsonFile.h"

#include "HostReasons.h"
#include "Log.h"
#include "VEXA.Runtime.FileReason.h"

#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

namespace vexa::host {

JsonFile::JsonFile(const QString& fileName, const ReasonText& contents) : FFileName(fileName), FContents(contents) {}

QJsonObject JsonFile::Load(const QString& key) {
    QFile file(FFileName);
    if (!file.exists()) return {};
    if (!file.open(QIODevice::ReadOnly)) return MoveAside(file.errorString()), QJsonObject();
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (error.error != QJsonParseError::NoError) return MoveAside(error.errorString()), QJsonObject();
    if (!json[key].isArray()) return MoveAside(u"it holds no " + key), QJsonObject();
    return json.object();
}

void JsonFile::MoveAside(const QString& reason) {
    const QString first = FFileName + u".damaged";
    QString target = first;
    for (int number = 2; QFile::exists(target); ++number) target = first + QString::number(number);
    FMayWrite = QFile::rename(FFileName, target);
    qCWarning(LogHost).noquote() << FContents.English() << "in" << FFileName << "cannot be read:" << reason
                                 << (FMayWrite ? "- the file is now" : "- none will be kept, for it cannot become")
                                 << target;
}

void JsonFile::Save(const QByteArray& json) const {
    if (!FMayWrite) return;  // MoveAside has logged why
    QSaveFile file(FFileName);
    if (file.open(QIODevice::WriteOnly) && file.write(json) == json.size() && file.commit()) return;
    throw ReasonError(Reason(HostReason("NotKept"), {FContents, FFileName, FileReason(file)}));
}

}  // namespace vexa::host
