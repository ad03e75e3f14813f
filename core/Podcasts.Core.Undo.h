#pragma once
// What the user has done and can undo until the program ends. The client adds the acts (TPodcastUndo::Kept), and undoes
// them (TPodcastClient::Undo). Only what is still as the act left it is changed, whatever this program or another one
// has done since then.

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Reason.h"

#include <QString>
#include <QStringList>

#include <deque>
#include <functional>
#include <optional>

namespace podcasts {

/// Whether an operation can be undone later.
enum class TPodcastUndo : bool { NotKept, Kept };

struct TPodcastAct {
    enum class Kind : std::uint8_t { Marked, FilesDeleted, Unsubscribed };
    Kind What = Kind::Marked;
    TPodcastEpisodeState State = pesListened;  // of Marked
    qsizetype Count = 1;                       // episodes
    QString Title;                             // of the feed, or of the episode if it is only one
    qint64 Number = 0;                         // set by the log; grows with every act
};

/// What has become of an act that was to be undone.
struct TPodcastUndone {
    qsizetype Restored = 0;  // episodes that are as before
    qsizetype Changed = 0;   // episodes that were changed by the act, and again since then: they stay as they are
    vexa::Reason Problem{};  // why not everything else is as before
    QStringList Unheard{};   // keys of the episodes that the act had marked as listened
};

/// The last 20 acts. Any thread may call it.
class TPodcastUndoLog {
public:
    using Procedure = std::function<TPodcastUndone()>;

    void Add(TPodcastAct act, Procedure undo);
    /// The newest act.
    std::optional<TPodcastAct> Last() const;
    bool Has(qint64 number) const;
    /// Undoes an act and forgets it; nothing when the log does not have it. When undoing throws, the act is kept.
    std::optional<TPodcastUndone> Undo(qint64 number);

private:
    struct Entry {
        TPodcastAct Act;
        Procedure Undo;
    };

    mutable vexa::TMutex FMutex;
    std::deque<Entry> FEntries VEXA_GUARDED_BY(FMutex);  // the oldest first
    qint64 FLastNumber VEXA_GUARDED_BY(FMutex) = 0;
};

}  // namespace podcasts
