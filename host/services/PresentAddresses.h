#pragma once
// Keeps the addresses that the player stores up to date. An address can move while the file that it names stays the
// same, as when a publisher renames a file; file systems that offer IVEXAFileSystemCommandPresentAddress know the
// present address. Only this class asks them, on a worker thread; it tells all keepers of addresses about the moves:
// the playlists, the positions, the player, the table. Main thread.
//
//     host.Addresses().AddKeeper(&positions);              // told about all moves from now on
//     host.Addresses().Ask(files, [](const auto& moves) { … });    // asks about some, such as those of rows not found
//
// All kept addresses are asked about after a plug-in was loaded, and again when a storage's data changed or one of its
// tasks began or ended, if a file system's count of moves has grown since, or its files may have gone. Addresses of
// schemes that no file system has stay as they are.
//
// A kept address may meanwhile name something else, as where a publisher always puts the newest file at one address. So
// the counts of moves up to which the kept addresses are up to date are stored, too, in the profile's Addresses.json,
// and file systems are asked only about later moves.

#include "AddressMoves.h"
#include "FileSystem.h"
#include "JsonFile.h"
#include "LatestTask.h"
#include "MusicLibrary.h"

#include <QSet>
#include <QStringList>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace vexa::host {

/// Keeps addresses, and replaces those that move.
class AddressKeeper {
public:
    /// All addresses kept, in any order; an address may occur several times.
    virtual QStringList KeptAddresses() const = 0;
    /// Addresses have moved; `moves` may contain addresses that only other keepers keep.
    virtual void OnAddressesMoved(const AddressMoves& moves) = 0;
    /// All kept addresses were asked about; `gone` are those that name nothing any more, of this keeper and others.
    virtual void OnAddressesGone([[maybe_unused]] const QSet<QString>& gone) {}

protected:
    ~AddressKeeper() = default;
};

/// Counts of moves, or versions of the content, by the file system's scheme.
using MoveCounts = std::map<QString, std::int64_t>;

class PresentAddresses final : private MusicLibraryListener {
public:
    using Ticket = std::uint64_t;
    using Then = std::function<void(const AddressMoves&)>;

    PresentAddresses(const QString& profileFolder, Ref<FileSystemService> fileSystems,
                     Ref<MusicLibraryService> library);
    ~PresentAddresses();
    PresentAddresses(const PresentAddresses&) = delete;
    PresentAddresses& operator=(const PresentAddresses&) = delete;

    /// Keepers are told in the order added. Remove a keeper before destroying it.
    void AddKeeper(AddressKeeper* keeper) { FKeepers.push_back(keeper); }
    void RemoveKeeper(AddressKeeper* keeper) { std::erase(FKeepers, keeper); }

    /// Called when a plug-in was loaded: asks about all kept addresses.
    void Start();
    /// Drops all requests and asks nothing until the next Start. Waits for the calls of file systems that are under
    /// way.
    void Stop();

    /// Asks about `addresses`. The keepers are told about the moves, then `then` is called with them, once and never
    /// before Ask has returned, unless the request is cancelled or dropped by Stop.
    Ticket Ask(const QStringList& addresses, Then then);
    void Cancel(Ticket ticket);
    /// Asks about one address and waits for the answer; for files that the user opens. Returns `address` itself when it
    /// has not moved or no file system knows it.
    QString Present(const QString& address) const;

    /// Whether an answer is awaited after which keepers may be told about moves.
    bool IsBusy() const noexcept { return FIsCheckDue || FIsChecking || FIsAnswering; }

private:
    struct Request {
        Ticket Number;
        QStringList Addresses;
        Then Call;
    };

    void OnDataChanged(const QString&) override { CheckMovesSoon(); }
    void OnTasksChanged(const QString&) override { CheckMovesSoon(); }

    void CheckMovesSoon();
    void CheckMoves();
    void AskKept(const MoveCounts& counts, const MoveCounts& versions);
    void SaveFollowed() const;
    void Answer();
    void Notify(const AddressMoves& moves);
    void ForEachKeeper(const std::function<void(AddressKeeper&)>& visit);

    const Ref<FileSystemService> FFileSystems;
    const Ref<MusicLibraryService> FLibrary;
    std::vector<AddressKeeper*> FKeepers;
    std::atomic<bool> FIsStopped{true};  // the workers read it, too, and stop asking
    bool FIsCheckDue = false;            // the counts of moves are to be asked for
    MoveCounts FCounts, FVersions;       // as read before the kept addresses were last asked about; empty after Start
    MoveCounts FFollowed;                // up to which the kept addresses are up to date; survives in FFile
    JsonFile FFile;                      // stores FFollowed
    std::deque<Request> FRequests;
    Ticket FLastTicket = 0;
    // Two workers, so that a request need not wait until all kept addresses were asked about. Each does one thing at a
    // time, so that answers come in order.
    LatestTask FChecker, FAnswerer;
    bool FIsChecking = false, FIsAnswering = false;
    LinkSource<PresentAddresses> FLinks{this};
};

}  // namespace vexa::host
