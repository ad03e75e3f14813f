#include "Podcasts.Core.ProfileFiles.h"

#include "VEXA.Runtime.FileReason.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <map>
#include <stdexcept>

namespace podcasts {

namespace {

struct ProfileFile {
    const char16_t* Name;
    const char16_t* List;     // its member with the entries
    const char16_t* Keys[3];  // the members of an entry that together name it
    const char16_t* When;     // the member that says when an entry was written; null when none does
};
constexpr ProfileFile kFiles[] = {
    {u"Positions.json", u"begun", {u"address"}, u"when"},
    {u"Nodes.json", u"nodes", {u"storage", u"field", u"value"}, nullptr},
    {u"Playlists.json", u"playlists", {u"name"}, nullptr},
};

constexpr qint64 kMostBytes = 256 << 20;

QString Text(const char16_t* chars) {
    return QString::fromUtf16(chars);
}

[[noreturn]] void Fail(const char* what, const QString& fileName, const QString& why) {
    throw std::runtime_error(what + fileName.toStdString() + ": " + why.toStdString());
}

/// Empty when there is no such file.
QJsonObject Load(const QString& fileName) {
    QFile file(fileName);
    if (!file.exists()) return {};
    if (!file.open(QIODevice::ReadOnly)) Fail("cannot read ", fileName, vexa::FileReason(file).English());
    if (file.size() > kMostBytes) Fail("cannot read ", fileName, QStringLiteral("it is too large"));
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError) Fail("cannot read ", fileName, error.errorString());
    if (!json.isObject()) Fail("cannot read ", fileName, QStringLiteral("it holds no JSON object"));
    return json.object();
}

void Save(const QString& fileName, const QJsonObject& json) {
    QSaveFile file(fileName);
    const QByteArray bytes = QJsonDocument(json).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        Fail("cannot write ", fileName, vexa::FileReason(file).English());
}

QStringList NameOf(const QJsonValue& entry, const ProfileFile& file) {
    QStringList name;
    for (const char16_t* key : file.Keys)
        if (key) name += entry[Text(key)].toString();
    return name;
}

/// Joins the entries of the lists.
QJsonArray JoinEntries(const QJsonArray& present, const QJsonArray& taken, const ProfileFile& file,
                       TPodcastJoinedFile& joined) {
    QJsonArray entries = present;
    std::map<QStringList, qsizetype> places;
    for (qsizetype i = 0; i < present.size(); ++i) places.emplace(NameOf(present[i], file), i);
    for (const QJsonValue entry : taken) {
        if (!entry.isObject()) continue;
        const auto [place, isMissing] = places.emplace(NameOf(entry, file), entries.size());
        if (isMissing) {
            entries += entry;
            ++joined.Added;
        } else if (file.When) {
            const QString when = Text(file.When);
            if (entry[when].toDouble() <= entries[place->second][when].toDouble()) continue;
            entries[place->second] = entry;
            ++joined.Replaced;
        }
    }
    return entries;
}

QJsonObject JoinFile(const QJsonObject& present, const QJsonObject& taken, const ProfileFile& file,
                     TPodcastJoinedFile& joined) {
    QJsonObject json = present;
    const QString list = Text(file.List);
    json[list] = JoinEntries(present[list].toArray(), taken[list].toArray(), file, joined);
    // Of the other members those are taken that are missing or empty, and of objects the members that are missing.
    for (auto each = taken.begin(); each != taken.end(); ++each) {
        if (each.key() == list) continue;
        const QJsonValue own = present[each.key()];
        if (own.isUndefined() || (own.isArray() && own.toArray().isEmpty())) {
            json[each.key()] = each.value();
        } else if (own.isObject()) {
            QJsonObject members = each.value().toObject();
            const QJsonObject kept = own.toObject();
            for (auto member = kept.begin(); member != kept.end(); ++member) members[member.key()] = member.value();
            json[each.key()] = members;
        }
    }
    return json;
}

/// Replaces the texts in a value, at any depth, that `moved` knows.
QJsonValue Moved(const QJsonValue& value, const std::function<QString(const QString&)>& moved, int& count) {
    if (value.isString()) {
        const QString name = moved(value.toString());
        if (name.isEmpty()) return value;
        ++count;
        return name;
    }
    if (value.isArray()) {
        QJsonArray array = value.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) array[i] = Moved(array[i], moved, count);
        return array;
    }
    if (value.isObject()) {
        QJsonObject object = value.toObject();
        for (auto each = object.begin(); each != object.end(); ++each) each.value() = Moved(each.value(), moved, count);
        return object;
    }
    return value;
}

}  // namespace

QJsonObject ReadProfileFiles(const QString& profileFolder) {
    QJsonObject files;
    for (const ProfileFile& file : kFiles) {
        const QString name = Text(file.Name);
        if (const QJsonObject json = Load(QDir(profileFolder).filePath(name)); !json.isEmpty()) files[name] = json;
    }
    return files;
}

std::vector<TPodcastJoinedFile> JoinProfileFiles(const QString& profileFolder, const QJsonObject& taken) {
    std::vector<TPodcastJoinedFile> result;
    for (const ProfileFile& file : kFiles) {
        TPodcastJoinedFile joined{.Name = Text(file.Name)};
        const QJsonValue given = taken[joined.Name];
        if (!given.isObject()) continue;
        const QString fileName = QDir(profileFolder).filePath(joined.Name);
        const QJsonObject present = Load(fileName), json = JoinFile(present, given.toObject(), file, joined);
        if (json == present) continue;
        Save(fileName, json);
        result.push_back(joined);
    }
    return result;
}

int MoveProfileFileNames(const QString& profileFolder, const std::function<QString(const QString&)>& moved,
                         bool isDryRun) {
    int count = 0;
    for (const ProfileFile& file : kFiles) {
        const QString fileName = QDir(profileFolder).filePath(Text(file.Name));
        const QJsonObject present = Load(fileName), json = Moved(present, moved, count).toObject();
        if (json != present && !isDryRun) Save(fileName, json);
    }
    return count;
}

}  // namespace podcasts
