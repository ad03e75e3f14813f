#pragma once
// A playlist: its entries, which of them are selected, and which one has the focus. Main thread.

#include "AddressMoves.h"
#include "GoneItems.h"
#include "PropertyList.h"
#include "VEXA.SDK.Playlists.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <vector>

namespace vexa::host {

struct PlaylistEntry {
    QString File;   // as it was added
    QString Text;   // the text shown; empty while only the file name is known
    QString Group;  // the caption of the section that the entry belongs to, such as an album's title
    bool IsSelected = false;
    bool IsDescribed = false;  // Text and Group are known

    QString Shown() const { return Text.isEmpty() ? File : Text; }
};

/// What is known about an entry's file.
struct PlaylistDescription {
    QString Text, Group;
};

/// Consecutive entries of the same group, shown below a common heading.
struct PlaylistSection {
    QString Caption;  // empty for entries without a group
    int First = 0, Count = 0;
};

class Playlist;

/// Is told about changes of a playlist.
class PlaylistObserver {
public:
    enum class Change { Name, Entries, Selection, Preimage };
    virtual void OnChanged(Playlist& playlist, Change change) = 0;

protected:
    ~PlaylistObserver() = default;
};

class Playlist final : public PropertyList<IVEXAPropertyList2, IVEXAPlaylist> {
public:
    /// `observer` may be null. Call DetachObserver before destroying it.
    Playlist(const QString& name, PlaylistObserver* observer);
    void Observe(PlaylistObserver* observer) noexcept { FObserver = observer; }
    void DetachObserver() noexcept { FObserver = nullptr; }

    QString Name() const { return Text(IVEXAPlaylist::Name); }
    /// False, with nothing changed, for an empty name.
    bool Rename(const QString& name);
    /// Null for a playlist of files.
    Ref<IVEXAPlaylistPreimage> Preimage() const;
    bool IsSmart() const { return static_cast<bool>(Preimage()); }

    const std::vector<PlaylistEntry>& Entries() const noexcept { return FEntries; }
    int Count() const noexcept { return static_cast<int>(FEntries.size()); }
    /// Replaces all entries. Files that were selected, or had the focus, are selected, or have it, afterwards.
    void SetEntries(std::vector<PlaylistEntry> entries);
    /// Inserts files before the entry `index`, or at the end when there is no such entry.
    void Add(const QStringList& files, int index = -1);
    /// Removes entries by index, in any order; invalid indexes are ignored.
    void Remove(const std::vector<int>& indexes);
    /// Replaces files by their new names. Where entries of different files become entries of the same file, only those
    /// of the file that came first stay.
    void MoveFiles(const AddressMoves& moves);
    /// Takes out the entries of files that are gone, until they are there again.
    void SetGone(const QSet<QString>& gone);
    /// The entries that were taken out.
    const GoneItems<PlaylistEntry>& GoneEntries() const noexcept { return FGone; }
    /// Sets text and group of the entries that have none yet, by file.
    void Describe(const QHash<QString, PlaylistDescription>& files);

    std::vector<PlaylistSection> Sections() const;

    /// −1 when no entry has the focus, as when a heading has it.
    int FocusedEntry() const noexcept;
    void FocusEntry(int index);
    /// Gives the focus to the heading of the section that the entry belongs to.
    void FocusSectionOf(int entry);
    /// Selects exactly these entries; invalid indexes are ignored.
    void Select(const std::vector<int>& indexes);
    void SetSelected(int index, bool isSelected);

    HResult GetValueAsInt32(std::int32_t id, std::int32_t* value) noexcept override;
    HResult GetValueAsObject(std::int32_t id, const Guid& iid, void** value) noexcept override;
    HResult SetValueAsInt32(std::int32_t id, std::int32_t value) noexcept override;
    HResult SetValueAsObject(std::int32_t id, IUnknown* value) noexcept override;

    /// E_INVALIDARG when `flags` is not a FileSelection.
    HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept override;
    /// E_FAIL for a smart playlist, whose files follow from its preimage.
    HResult AddFiles(IVEXAObjectList* files, std::int32_t index) noexcept override;

private:
    bool Has(int index) const noexcept { return index >= 0 && index < Count(); }
    PlaylistSection SectionOf(int entry) const;
    QStringList Files(std::uint32_t flags) const;
    void Notify(PlaylistObserver::Change change);

    PlaylistObserver* FObserver;
    std::vector<PlaylistEntry> FEntries;
    GoneItems<PlaylistEntry> FGone;
    int FFocus = -1;
    bool FIsHeadingFocused = false;  // the heading of FFocus's section has the focus, not the entry
    LinkSource<Playlist> FLinks{this};
};

}  // namespace vexa::host
