#pragma once
// What the addresses that the player keeps are called now. An address can move while what it names stays, as when a
// publisher renames a file; file systems that offer IVEXAFileSystemCommandPresentAddress know. This is the one place
// that asks them, on a worker thread, and it tells all who keep addresses: playlists, positions, what plays, the table.
// Main thread.
//
//     host.Addresses().AddKeeper(&positions);              // from now on told of what has moved
//     host.Addresses().Ask(files, [](const auto& moves) { … });    // about some, such as those of rows not found
//
// All that is kept is asked about when a plug-in has come; then again when a storage's data changed or one of its tasks
// began or ended, if a file system has counted more moves since. What is not known any more stays as it is.
//
// An address may name something else by now, as where a publisher puts whatever is newest at one address. So the count
// of moves up to which all that is kept has followed is kept, too, in the profile's Addresses.json.

#include "AddressMoves.h"
#include "FileSystem.h"
#include "JsonFile.h"
#include "LatestTask.h"
#include "MusicLibrary.h"

#include <QStringList>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace vexa::host {

/// Keeps addresses, and follows them.
class AddressKeeper {
public:
    /// Any number of times each, in any order.
    virtual QStringList KeptAddresses() const = 0;
    /// Addresses have moved, other keepers' among them.
    virtual void OnAddressesMoved(const AddressMoves& moves) = 0;

protected:
    ~AddressKeeper() = default;
};

/// Counts of moves, by the file systems' schemes.
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

    /// Keepers are told in the order added. One is removed before it ends.
    void AddKeeper(AddressKeeper* keeper) { FKeepers.push_back(keeper); }
    void RemoveKeeper(AddressKeeper* keeper) { std::erase(FKeepers, keeper); }

    /// A plug-in has come: all that is kept is asked about.
    void Start();
    /// Nothing is asked any more until Start. Drops all requests, and waits for what a file system is being asked.
    void Stop();

    /// Asks about these addresses. The keepers are told of those that have moved, then `then` is called with them:
    /// once, later, unless the request is cancelled or Stop drops it.
    Ticket Ask(const QStringList& addresses, Then then);
    void Cancel(Ticket ticket);
    /// Asks about one, and waits: for what the user opens. The address itself when it has not moved, or is not known.
    QString Present(const QString& address) const;

    /// Whether keepers may be about to be told something.
    bool IsBusy() const noexcept { return FIsToLook || FIsLooking || FIsAnswering; }

private:
    struct Request {
        Ticket Number;
        QStringList Addresses;
        Then Call;
    };

    void OnDataChanged(const QString&) override { LookSoon(); }
    void OnTasksChanged(const QString&) override { LookSoon(); }

    void LookSoon();
    void Look();
    void AskKept(const MoveCounts& counts);
    void SaveFollowed() const;
    void Answer();
    void Tell(const AddressMoves& moves);

    const Ref<FileSystemService> FFileSystems;
    const Ref<MusicLibraryService> FLibrary;
    std::vector<AddressKeeper*> FKeepers;
    std::atomic<bool> FIsStopped{true};  // read by the workers, too, which then ask no more
    bool FIsToLook = false;              // whether there are new moves
    MoveCounts FCounts;                  // as they were before all that is kept was asked about
    MoveCounts FFollowed;                // the same, also from the program's last run
    JsonFile FFile;                      // keeps FFollowed
    std::deque<Request> FRequests;
    Ticket FLastTicket = 0;
    // Two, so that a request need not wait for all that is kept. Each does one thing at a time: answers come in order.
    LatestTask FLooker, FAnswerer;
    bool FIsLooking = false, FIsAnswering = false;
    LinkSource<PresentAddresses> FLinks{this};
};

}  // namespace vexa::host
