#include "PlaylistFollower.h"

#include "Log.h"
#include "VEXA.Runtime.Threads.h"

#include <QJsonArray>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr qsizetype kMaxNameLength = 100;

QStringList GroupFields(const LibraryStorage& storage) {
    QStringList names = storage.FieldNames(kSchemaPlaylistGroups);
    names.removeIf([&](const QString& name) { return !storage.Field(name)->HasRows(); });
    return names;
}

/// The query for a filter's rows. Its columns are the file, the title (the file again where rows have no title), and
/// the fields that entries are grouped by.
RowQuery QueryFor(const LibraryStorage& storage, const QJsonObject& filter) {
    const LibraryField* file = storage.FileField();
    if (!file) throw LibraryError(QStringLiteral("the storage's rows name no files"));
    const LibraryField* title = storage.FieldOf(IVEXAMLDataField::Title);
    const QStringList groups = GroupFields(storage);
    RowQuery query;
    query.Fields = QStringList{file->Name, title ? title->Name : file->Name} + groups;
    query.Within = filter;
    query.Search = filter[QLatin1String("search")].toString();
    if (!query.Search.isEmpty()) query.Fields += storage.FieldNames(kSchemaSearch);  // a search looks at the columns
    query.Limit = filter[QLatin1String("limit")].toInt();
    query.Offset = filter[QLatin1String("offset")].toInt();
    for (const QJsonValue order : filter[QLatin1String("sort")].toArray())
        query.Sort.push_back({order[QLatin1String("field")].toString(),
                              order[QLatin1String("direction")].toInt() == IVEXAMLSortDirection::Descending
                                  ? IVEXAMLSortDirection::Descending
                                  : IVEXAMLSortDirection::Ascending});
    if (!query.Sort.empty()) return query;
    for (const QString& group : groups) query.Sort.push_back({group});
    if (const LibraryField* date = storage.FieldOf(IVEXAMLDataField::Date))
        query.Sort.push_back({date->Name, IVEXAMLSortDirection::Descending});
    return query;
}

QString TextOf(const QJsonValue& value) {
    if (value.isDouble()) return QString::number(value.toDouble());
    if (const QJsonObject number = value.toObject(); !number.isEmpty())
        return number.begin()->isString() ? number.begin()->toString() : QString::number(number.begin()->toInt());
    return value.toString();
}

/// The values that the filter requires rows to have. Excluded values and conditions inside nested groups are ignored.
QStringList ValuesOf(const QJsonObject& filter, const LibraryStorage& storage) {
    QStringList values;
    if (filter[QLatin1String("operation")].toInt() > IVEXAMLGroupFilter::And) return values;
    for (const QJsonValue child : filter[QLatin1String("children")].toArray()) {
        const LibraryField* field = storage.Field(child[QLatin1String("field")].toString());
        if (!field || field->Is(IVEXAMLDataField::Internal)) continue;
        if (child[QLatin1String("operation")].toInt() != IVEXAMLFieldFilter::Equals) continue;
        QJsonArray all = child[QLatin1String("values")].toArray();
        if (all.isEmpty()) all += child[QLatin1String("value")];
        for (const QJsonValue value : all)
            if (const QString text = field->Shown(TextOf(value)).simplified(); !text.isEmpty()) values += text;
    }
    return values;
}

/// The files of selected or focused entries that are missing among the new `entries`.
QStringList MissingFiles(const Playlist& playlist, const std::vector<PlaylistEntry>& entries) {
    QSet<QString> missing;
    for (const PlaylistEntry& entry : playlist.Entries())
        if (entry.IsSelected) missing.insert(entry.File);
    if (const int focused = playlist.FocusedEntry(); focused >= 0)
        missing.insert(playlist.Entries()[static_cast<std::size_t>(focused)].File);
    for (auto entry = entries.begin(); !missing.isEmpty() && entry != entries.end(); ++entry)
        missing.remove(entry->File);
    return missing.values();
}

}  // namespace

PlaylistFollower::PlaylistFollower(Ref<MusicLibraryService> library, std::shared_ptr<PresentAddresses> addresses)
    : FLibrary(std::move(library)), FAddresses(std::move(addresses)) {
    FLibrary->AddListener(this);
}

PlaylistFollower::~PlaylistFollower() {
    FLinks.Invalidate();
    FLibrary->RemoveListener(this);
}

std::vector<PlaylistFollower::Followed>::iterator PlaylistFollower::Find(const Playlist& playlist) {
    return std::find_if(FFollowed.begin(), FFollowed.end(),
                        [&](const Followed& followed) { return followed.List.Get() == &playlist; });
}

void PlaylistFollower::Follow(const Ref<Playlist>& playlist) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto preimage = playlist->Preimage();
    const QString storageID = preimage ? host::Describe(*preimage).StorageID : QString();
    auto found = Find(*playlist);
    if (found == FFollowed.end()) found = FFollowed.insert(found, Followed{playlist, {}});
    found->StorageID = storageID;
    Read(*found);
}

void PlaylistFollower::Leave(const Playlist& playlist) {
    VEXA_ASSERT_MAIN_THREAD();
    if (const auto found = Find(playlist); found != FFollowed.end()) FFollowed.erase(found);
}

bool PlaylistFollower::IsReading(const Playlist& playlist) const {
    return std::any_of(FFollowed.begin(), FFollowed.end(), [&](const Followed& followed) {
        return followed.List.Get() == &playlist && (followed.IsAwaited || followed.IsReading);
    });
}

PlaylistFollower::Source& PlaylistFollower::Open(const QString& storageID) {
    auto& source = FSources[storageID];
    if (!source) source = std::make_unique<Source>(*FLibrary, storageID);
    return *source;
}

void PlaylistFollower::Read(Followed& followed) {
    if (followed.IsReading) {
        followed.IsStale = true;
        return;
    }
    if (followed.IsAwaited || FEnding.contains(followed.StorageID)) return;
    if (!FLibrary->StorageIDs().contains(followed.StorageID)) return;
    try {
        const auto preimage = followed.List->Preimage();
        if (!preimage) return;
        Source& source = Open(followed.StorageID);
        const RowQuery query = QueryFor(source.Storage, host::Describe(*preimage).Filter);
        source.Reader.Read(
            query, [this, list = followed.List.Get()](const RowPage& page) { OnRead(*list, page); },
            RowReader::Urgency::Ahead);
        followed.IsReading = true;
    } catch (const LibraryError& error) {
        qCWarning(LogHost).noquote() << "the playlist" << followed.List->Name()
                                     << "cannot follow its filter:" << error.Why().English();
    }
}

void PlaylistFollower::OnRead(const Playlist& playlist, const RowPage& page) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto found = Find(playlist);
    if (found == FFollowed.end()) return;  // no longer followed; `playlist` may be gone and is only compared by address
    const Ref<Playlist> list = found->List;
    const LibraryStorage& storage = Open(found->StorageID).Storage;
    if (page.Error) {
        EndReading(*found);
        qCWarning(LogHost).noquote() << "the playlist" << list->Name() << "could not be read:" << page.Error.English();
        return;
    }
    const std::size_t groups = static_cast<std::size_t>(GroupFields(storage).size());
    const bool hasTitles = storage.FieldOf(IVEXAMLDataField::Title) != nullptr;
    std::vector<PlaylistEntry> entries;
    entries.reserve(page.Rows.size());
    for (const auto& row : page.Rows) {
        if (row[0].Text.isEmpty()) continue;
        PlaylistEntry entry;
        entry.File = row[0].Text;
        entry.Text = row[1].Text;
        entry.IsDescribed = hasTitles;  // without a title the entry is described from the file's own information
        QStringList group;
        for (std::size_t i = 0; i < groups; ++i) {
            const RowValue& value = row[2 + i];
            if (const QString& text = value.Shown.isEmpty() ? value.Text : value.Shown; !text.isEmpty()) group += text;
        }
        entry.Group = group.join(QStringLiteral(" – "));
        entries.push_back(std::move(entry));
    }
    const QStringList missing = MissingFiles(*list, entries);
    if (missing.isEmpty()) return Replace(list, std::move(entries));
    // The missing files may be among the new entries under other names; Ask tells the playlist about those first.
    FAddresses->Ask(missing, [link = Link<PlaylistFollower>(FLinks), list, entries](const AddressMoves&) {
        if (PlaylistFollower* alive = link.Get()) alive->Replace(list, entries);
    });
}

void PlaylistFollower::Replace(const Ref<Playlist>& list, std::vector<PlaylistEntry> entries) {
    const auto found = Find(*list);
    if (found == FFollowed.end()) return;
    EndReading(*found);
    list->SetEntries(std::move(entries));
}

void PlaylistFollower::EndReading(Followed& followed) {
    followed.IsReading = false;
    if (std::exchange(followed.IsStale, false)) Read(followed);
}

QString PlaylistFollower::NameFor(const PreimageDescription& preimage) const {
    if (!FLibrary->StorageIDs().contains(preimage.StorageID)) return {};
    try {
        const LibraryStorage storage(*FLibrary, preimage.StorageID);
        QString name = ValuesOf(preimage.Filter, storage).join(QStringLiteral(", "));
        return name.size() > kMaxNameLength ? QString(name.left(kMaxNameLength - 1) + u'…') : name;
    } catch (const LibraryError&) {
        return {};
    }
}

void PlaylistFollower::OnDataChanged(const QString& storageID) {
    for (Followed& followed : FFollowed)
        if (followed.StorageID == storageID) Read(followed);
}

void PlaylistFollower::OnStorageAdded(const QString& storageID) {
    FEnding.remove(storageID);
    for (Followed& followed : FFollowed) followed.IsAwaited = followed.IsAwaited || followed.StorageID == storageID;
    RunInMainThread(
        [link = Link<PlaylistFollower>(FLinks), storageID] {
            PlaylistFollower* alive = link.Get();
            if (!alive) return;
            for (Followed& followed : alive->FFollowed)
                if (followed.StorageID == storageID && std::exchange(followed.IsAwaited, false)) alive->Read(followed);
        },
        false);
}

void PlaylistFollower::OnStorageEnding(const QString& storageID) {
    FEnding.insert(storageID);
    FSources.erase(storageID);  // waits for the call of the storage that is under way
    for (Followed& followed : FFollowed)
        if (followed.StorageID == storageID) followed.IsAwaited = followed.IsReading = followed.IsStale = false;
}

}  // namespace vexa::host
