#include "Playlist.h"

#include "Guarded.h"
#include "ObjectList.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.SDK.Files.h"

#include <QSet>

#include <algorithm>
#include <optional>

namespace vexa::host {

namespace {

constexpr PropertyRule kItemRules[] = {
    {IVEXAPlaylistItem::DisplayText},
    {IVEXAPlaylistItem::FileName},
    {IVEXAPlaylistItem::Selected},
};
constexpr PropertyRule kPlaylistRules[] = {
    {IVEXAPlaylist::Name},
    {IVEXAPlaylist::Preimage, &IVEXAPlaylistPreimage::IID},
};

/// An entry as plug-ins see it, made on demand, because a playlist may have hundreds of thousands. It is a copy of the
/// entry at that time; selecting it selects the entry, as long as the same file is still at the same index.
class Item final : public PropertyList<IVEXAPlaylistItem> {
public:
    Item(const PlaylistEntry& entry, int index, Link<Playlist> owner)
        : PropertyList(kItemRules), FIndex(index), FFile(entry.File) {
        Set(DisplayText, entry.Shown());
        Set(FileName, entry.File);
        Set(Selected, std::int32_t{entry.IsSelected});
        FOwner = std::move(owner);  // last: from here on a change of the item changes the playlist, too
    }

protected:
    void PropertiesChanged() noexcept override {
        Guarded("selecting a playlist's entry", [this] {
            Playlist* owner = FOwner.Get();
            std::int32_t isSelected = 0;
            GetValueAsInt32(Selected, &isSelected);
            if (owner && FIndex < owner->Count() && owner->Entries()[static_cast<std::size_t>(FIndex)].File == FFile)
                owner->SetSelected(FIndex, isSelected != 0);
            return S_OK;
        });
    }

private:
    const int FIndex;
    const QString FFile;
    Link<Playlist> FOwner;
};

class Group final : public RefCountedObject<IVEXAPlaylistGroup> {
public:
    explicit Group(std::vector<Ref<IVEXAPlaylistItem>> items) : FItems(std::move(items)) {}

    HResult GetItem(std::int32_t index, const Guid& iid, void** item) noexcept override {
        if (!item) return E_POINTER;
        *item = nullptr;
        if (index < 0 || index >= GetItemCount()) return E_INVALIDARG;
        return FItems[static_cast<std::size_t>(index)]->QueryInterface(iid, item);
    }
    std::int32_t GetItemCount() noexcept override { return static_cast<std::int32_t>(FItems.size()); }

private:
    const std::vector<Ref<IVEXAPlaylistItem>> FItems;
};

}  // namespace

Playlist::Playlist(const QString& name, PlaylistObserver* observer)
    : PropertyList(kPlaylistRules), FObserver(observer) {
    Set(IVEXAPlaylist::Name, name);
}

void Playlist::Notify(PlaylistObserver::Change change) {
    VEXA_ASSERT_MAIN_THREAD();
    if (FObserver) FObserver->OnChanged(*this, change);
}

bool Playlist::Rename(const QString& name) {
    const QString plain = name.simplified();
    if (plain.isEmpty()) return false;
    if (plain == Name()) return true;
    Set(IVEXAPlaylist::Name, plain);
    Notify(PlaylistObserver::Change::Name);
    return true;
}

Ref<IVEXAPlaylistPreimage> Playlist::Preimage() const {
    const auto* kept = std::get_if<Ref<IUnknown>>(&Properties().Find(IVEXAPlaylist::Preimage));
    return kept ? Query<IVEXAPlaylistPreimage>(kept->Get()) : Ref<IVEXAPlaylistPreimage>();
}

void Playlist::SetEntries(std::vector<PlaylistEntry> entries) {
    QSet<QString> selected;
    for (const PlaylistEntry& entry : FEntries)
        if (entry.IsSelected) selected.insert(entry.File);
    const std::optional<QString> focused =
        Has(FFocus) ? std::optional(FEntries[static_cast<std::size_t>(FFocus)].File) : std::nullopt;
    for (PlaylistEntry& entry : entries) entry.IsSelected = selected.contains(entry.File);
    FEntries = std::move(entries);
    const auto found = !focused ? FEntries.end()
                                : std::find_if(FEntries.begin(), FEntries.end(),
                                               [&](const auto& entry) { return entry.File == focused; });
    FFocus = found != FEntries.end() ? static_cast<int>(found - FEntries.begin()) : -1;
    Notify(PlaylistObserver::Change::Entries);
}

void Playlist::Add(const QStringList& files, int index) {
    std::vector<PlaylistEntry> added(static_cast<std::size_t>(files.size()));
    std::transform(files.begin(), files.end(), added.begin(), [](const QString& file) {
        PlaylistEntry entry;
        entry.File = file;
        return entry;
    });
    const int place = index >= 0 && index <= Count() ? index : Count();
    if (FFocus >= place) FFocus += static_cast<int>(files.size());
    FEntries.insert(FEntries.begin() + place, std::make_move_iterator(added.begin()),
                    std::make_move_iterator(added.end()));
    Notify(PlaylistObserver::Change::Entries);
}

void Playlist::Remove(const std::vector<int>& indexes) {
    const QSet<int> removed(indexes.begin(), indexes.end());
    std::vector<PlaylistEntry> remaining;
    int focus = -1;
    for (int i = 0; i < Count(); ++i) {
        if (i == FFocus) focus = static_cast<int>(remaining.size());  // if it is removed, the next entry gets the focus
        if (!removed.contains(i)) remaining.push_back(std::move(FEntries[static_cast<std::size_t>(i)]));
    }
    FEntries = std::move(remaining);
    FFocus = std::min(focus, Count() - 1);
    Notify(PlaylistObserver::Change::Entries);
}

void Playlist::SetGone(const QSet<QString>& gone) {
    std::vector<int> indexes;
    for (int i = 0; i < Count(); ++i) {
        if (!gone.contains(FEntries[static_cast<std::size_t>(i)].File)) continue;
        FGone.Add(i, FEntries[static_cast<std::size_t>(i)]);
        indexes.push_back(i);
    }
    if (!indexes.empty()) Remove(indexes);
    auto returned = FGone.TakeReturned(gone, [](const PlaylistEntry& entry) { return entry.File; });
    for (auto& [wanted, entry] : returned) {
        const int place = std::min(static_cast<int>(wanted), Count());
        if (FFocus >= place) ++FFocus;
        FEntries.insert(FEntries.begin() + place, std::move(entry));
    }
    if (!returned.empty()) Notify(PlaylistObserver::Change::Entries);
}

void Playlist::MoveFiles(const AddressMoves& moves) {
    if (std::none_of(FEntries.begin(), FEntries.end(), [&](const auto& entry) { return moves.contains(entry.File); }))
        return;
    AddressMover mover(moves);
    std::vector<PlaylistEntry> remaining;
    remaining.reserve(FEntries.size());
    int focus = -1;
    // Selection and focus of the entries that are removed.
    QSet<QString> selected;
    std::optional<QString> focused;
    for (int i = 0; i < Count(); ++i) {
        PlaylistEntry& entry = FEntries[static_cast<std::size_t>(i)];
        if (mover.Move(entry.File)) {
            if (i == FFocus) focus = static_cast<int>(remaining.size());
            remaining.push_back(std::move(entry));
            continue;
        }
        if (i == FFocus) focused = entry.File;
        if (entry.IsSelected) selected.insert(entry.File);
    }
    FEntries = std::move(remaining);
    FFocus = focus;
    for (int i = 0; i < Count() && (focused || !selected.isEmpty()); ++i) {
        PlaylistEntry& entry = FEntries[static_cast<std::size_t>(i)];
        if (selected.contains(entry.File)) entry.IsSelected = true;
        if (focused == entry.File) FFocus = i;
    }
    Notify(PlaylistObserver::Change::Entries);
}

void Playlist::Describe(const QHash<QString, PlaylistDescription>& files) {
    bool isChanged = false;
    for (PlaylistEntry& entry : FEntries) {
        const auto found = files.find(entry.File);
        if (found == files.end() || entry.IsDescribed) continue;
        entry.Text = found->Text;
        entry.Group = found->Group;
        entry.IsDescribed = isChanged = true;
    }
    if (isChanged) Notify(PlaylistObserver::Change::Entries);
}

std::vector<PlaylistSection> Playlist::Sections() const {
    std::vector<PlaylistSection> sections;
    for (int i = 0; i < Count(); ++i) {
        const QString& group = FEntries[static_cast<std::size_t>(i)].Group;
        if (sections.empty() || sections.back().Caption != group) sections.push_back({group, i, 0});
        ++sections.back().Count;
    }
    return sections;
}

PlaylistSection Playlist::SectionOf(int entry) const {
    const QString& group = FEntries[static_cast<std::size_t>(entry)].Group;
    const auto isOther = [&](const PlaylistEntry& other) { return other.Group != group; };
    const auto place = FEntries.begin() + entry;
    const auto end = std::find_if(place, FEntries.end(), isOther);
    const auto begin = std::find_if(std::make_reverse_iterator(place), FEntries.rend(), isOther).base();
    return {group, static_cast<int>(begin - FEntries.begin()), static_cast<int>(end - begin)};
}

int Playlist::FocusedEntry() const noexcept {
    return Has(FFocus) && !FIsHeadingFocused ? FFocus : -1;
}

void Playlist::FocusEntry(int index) {
    FFocus = Has(index) ? index : -1;
    FIsHeadingFocused = false;
    Notify(PlaylistObserver::Change::Selection);
}

void Playlist::FocusSectionOf(int entry) {
    FFocus = Has(entry) ? SectionOf(entry).First : -1;
    FIsHeadingFocused = Has(entry);
    Notify(PlaylistObserver::Change::Selection);
}

void Playlist::Select(const std::vector<int>& indexes) {
    for (PlaylistEntry& entry : FEntries) entry.IsSelected = false;
    for (const int index : indexes)
        if (Has(index)) FEntries[static_cast<std::size_t>(index)].IsSelected = true;
    Notify(PlaylistObserver::Change::Selection);
}

void Playlist::SetSelected(int index, bool isSelected) {
    if (!Has(index) || std::exchange(FEntries[static_cast<std::size_t>(index)].IsSelected, isSelected) == isSelected)
        return;
    Notify(PlaylistObserver::Change::Selection);
}

HResult Playlist::GetValueAsInt32(std::int32_t id, std::int32_t* value) noexcept {
    if (id != FocusIndex) return PropertyList::GetValueAsInt32(id, value);
    if (!value) return E_POINTER;
    *value = FocusedEntry();
    return S_OK;
}

HResult Playlist::GetValueAsObject(std::int32_t id, const Guid& iid, void** value) noexcept {
    if (id != FocusObject) return PropertyList::GetValueAsObject(id, iid, value);
    if (!value) return E_POINTER;
    *value = nullptr;
    return Guarded("giving what has the focus", [&] {
        if (!Has(FFocus)) return E_FAIL;
        const auto item = [this](int index) {
            return Ref<IVEXAPlaylistItem>(
                new Item(FEntries[static_cast<std::size_t>(index)], index, Link<Playlist>(FLinks)));
        };
        if (!FIsHeadingFocused) return item(FFocus)->QueryInterface(iid, value);
        std::vector<Ref<IVEXAPlaylistItem>> items;
        const PlaylistSection section = SectionOf(FFocus);
        items.reserve(static_cast<std::size_t>(section.Count));
        for (int i = 0; i < section.Count; ++i) items.push_back(item(section.First + i));
        return Ref<Group>(new Group(std::move(items)))->QueryInterface(iid, value);
    });
}

HResult Playlist::SetValueAsInt32(std::int32_t id, std::int32_t value) noexcept {
    if (id != FocusIndex) return PropertyList::SetValueAsInt32(id, value);
    if (value != -1 && !Has(value)) return E_INVALIDARG;
    return Guarded("setting the focus", [&] {
        FocusEntry(value);
        return S_OK;
    });
}

HResult Playlist::SetValueAsObject(std::int32_t id, IUnknown* value) noexcept {
    return Guarded("changing a playlist", [&] {
        if (id == IVEXAPlaylist::Name) {
            const auto text = Query<IVEXAString>(value);
            return text && Rename(ToQString(text.Get())) ? S_OK : E_INVALIDARG;
        }
        const HResult result = PropertyList::SetValueAsObject(id, value);
        if (Succeeded(result) && id == IVEXAPlaylist::Preimage) Notify(PlaylistObserver::Change::Preimage);
        return result;
    });
}

QStringList Playlist::Files(std::uint32_t flags) const {
    QStringList files;
    if (flags == kFilesFocused) {
        if (Has(FFocus)) files += FEntries[static_cast<std::size_t>(FFocus)].File;
        return files;
    }
    for (const PlaylistEntry& entry : FEntries)
        if (flags == kFilesAll || entry.IsSelected) files += entry.File;
    return files;
}

HResult Playlist::GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!files) return E_POINTER;
    *files = nullptr;
    if (flags > kFilesFocused) return E_INVALIDARG;
    return Guarded("giving a playlist's files", [&] {
        *files = MakeStringList(Files(flags)).Detach();
        return S_OK;
    });
}

HResult Playlist::AddFiles(IVEXAObjectList* files, std::int32_t index) noexcept {
    if (!files || index > Count()) return E_INVALIDARG;
    return Guarded("adding to a playlist", [&] {
        if (IsSmart()) return E_FAIL;
        Add(ToQStringList(files), index);
        return S_OK;
    });
}

}  // namespace vexa::host
