#pragma once
// A playlist: its entries, which of them are selected, and what has the focus. Main thread.

#include "AddressMoves.h"
#include "PropertyList.h"
#include "VEXA.SDK.Playlists.h"

#include <QHash>
#include <QStringList>

#include <vector>

namespace vexa::host {

struct PlaylistEntry {
    QString File;   // as it was added
    QString Text;   // what is shown; empty while nothing is known but the name
    QString Group;  // what it stands together by, such as an album's title
    bool IsSelected = false;
    bool IsDescribed = false;  // Text and Group are known

    QString Shown() const { return Text.isEmpty() ? File : Text; }
};

/// What is known of an entry's file.
struct PlaylistDescription {
    QString Text, Group;
};

/// Entries in a row that stand together.
struct PlaylistSection {
    QString Caption;  // empty for entries that stand with none
    int First = 0, Count = 0;
};

class Playlist;

/// Hears what happens to a playlist.
class PlaylistObserver {
public:
    enum class Change { Name, Entries, Selection, Preimage };
    virtual void OnChanged(Playlist& playlist, Change change) = 0;

protected:
    ~PlaylistObserver() = default;
};

class Playlist final : public PropertyList<IVEXAPropertyList2, IVEXAPlaylist> {
public:
    /// The observer, which may be null, is cut off before it ends.
    Playlist(const QString& name, PlaylistObserver* observer);
    void Observe(PlaylistObserver* observer) noexcept { FObserver = observer; }
    void CutOff() noexcept { FObserver = nullptr; }

    QString Name() const { return Text(IVEXAPlaylist::Name); }
    /// False, with all as it was, for an empty name.
    bool Rename(const QString& name);
    /// Null for a playlist of files.
    Ref<IVEXAPlaylistPreimage> Preimage() const;
    bool IsSmart() const { return static_cast<bool>(Preimage()); }

    const std::vector<PlaylistEntry>& Entries() const noexcept { return FEntries; }
    int Count() const noexcept { return static_cast<int>(FEntries.size()); }
    /// In place of all there were; what was selected, or had the focus, stays so, by its file.
    void SetEntries(std::vector<PlaylistEntry> entries);
    /// Before `index`, or at the end.
    void Add(const QStringList& files, int index = -1);
    /// Indexes in any order; those that are none are left out.
    void Remove(const std::vector<int>& indexes);
    /// Files are called by other names now. Of entries that were of different files and are of one now the first stays.
    void MoveFiles(const AddressMoves& moves);
    /// What became known of files, by their names.
    void Describe(const QHash<QString, PlaylistDescription>& files);

    std::vector<PlaylistSection> Sections() const;

    /// −1: none, and always when a heading has it.
    int FocusedEntry() const noexcept;
    void FocusEntry(int index);
    /// The heading above an entry gets the focus.
    void FocusSectionOf(int entry);
    /// These and no others; indexes that are none are left out.
    void Select(const std::vector<int>& indexes);
    void SetSelected(int index, bool isSelected);

    HResult GetValueAsInt32(std::int32_t id, std::int32_t* value) noexcept override;
    HResult GetValueAsObject(std::int32_t id, const Guid& iid, void** value) noexcept override;
    HResult SetValueAsInt32(std::int32_t id, std::int32_t value) noexcept override;
    HResult SetValueAsObject(std::int32_t id, IUnknown* value) noexcept override;

    /// E_INVALIDARG for what is no FileSelection.
    HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept override;
    /// E_FAIL for a smart playlist, whose files follow from its preimage.
    HResult AddFiles(IVEXAObjectList* files, std::int32_t index) noexcept override;

private:
    bool Has(int index) const noexcept { return index >= 0 && index < Count(); }
    PlaylistSection SectionOf(int entry) const;
    QStringList Files(std::uint32_t flags) const;
    void Tell(PlaylistObserver::Change change);

    PlaylistObserver* FObserver;
    std::vector<PlaylistEntry> FEntries;
    int FFocus = -1;
    bool FIsHeadingFocused = false;  // the heading above the entry has it
    LinkSource<Playlist> FLinks{this};
};

}  // namespace vexa::host
