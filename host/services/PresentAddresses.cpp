#include "PresentAddresses.h"

#include "Guarded.h"
#include "HostReasons.h"
#include "ObjectList.h"
#include "VEXA.Runtime.Threads.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <optional>

namespace vexa::host {

namespace {

using Command = IVEXAFileSystemCommandPresentAddress;

const QString kFollowed = QStringLiteral("followed");
const QString kScheme = QStringLiteral("scheme");
const QString kCount = QStringLiteral("count");

// A file system is asked about so many addresses in one call, so that Stop need not wait for all of a large playlist.
constexpr qsizetype kAtOnce = 1000;

/// What file systems have told about addresses.
struct Found {
    AddressMoves Moves;
    QSet<QString> Gone;  // those that name nothing any more
};

/// Nothing when a file system failed to answer, or `isStopped` was set.
std::optional<Found> LookUp(const FileSystemService& fileSystems, const QStringList& addresses,
                            const MoveCounts& followed, const std::atomic<bool>& isStopped) {
    QHash<QString, QStringList> byScheme;
    QSet<QString> seen;
    for (const QString& address : addresses) {
        const QString scheme = FileSystemService::SchemeOf(address);
        if (scheme.isEmpty() || seen.contains(address)) continue;
        seen.insert(address);
        byScheme[scheme] += address;
    }
    Found found;
    for (auto group = byScheme.cbegin(); group != byScheme.cend(); ++group) {
        const auto command = Query<Command>(fileSystems.Find(group.key()).Get());
        const auto count = followed.find(group.key());
        for (qsizetype from = 0; command && from < group->size(); from += kAtOnce) {
            if (isStopped) return {};
            const QStringList asked = group->mid(from, kAtOnce);
            std::vector<Ref<IVEXAString>> texts;
            const Ref<IVEXAObjectList> list(new ObjectList);
            for (const QString& address : asked) list->Add(texts.emplace_back(MakeString(address)).Get());
            const HResult result =
                command->GetPresentAddresses(list.Get(), count == followed.end() ? -1 : count->second);
            if (Failed(result)) return {};
            for (std::size_t i = 0; result == S_OK && i < texts.size(); ++i) {
                const QString& before = asked[static_cast<qsizetype>(i)];
                const QString present = ToQString(texts[i].Get());
                if (present.isEmpty())
                    found.Gone.insert(before);
                else if (present != before)
                    found.Moves.insert(before, present);
            }
        }
    }
    return found;
}

/// Runs `work` on the worker, then `then` on the main thread with its result, or with nothing when it threw.
template <class Work, class Then>
void Run(LatestTask& worker, bool& isBusy, Work work, Then then) {
    isBusy = true;
    worker.Run([&isBusy, work, then](const CancelCheck&) {
        std::optional<decltype(work())> result;
        Guarded("asking for present addresses", [&] {
            result = work();
            return S_OK;
        });
        return [&isBusy, then, result] {
            isBusy = false;
            then(result);
        };
    });
}

}  // namespace

PresentAddresses::PresentAddresses(const QString& profileFolder, Ref<FileSystemService> fileSystems,
                                   Ref<MusicLibraryService> library)
    : FFileSystems(std::move(fileSystems)),
      FLibrary(std::move(library)),
      FFile(QDir(profileFolder).filePath(QStringLiteral("Addresses.json")), HostReason("KeptMoves")) {
    for (const QJsonValue one : FFile.Load(kFollowed)[kFollowed].toArray())
        FFollowed[one[kScheme].toString()] = one[kCount].toInteger();
    FLibrary->AddListener(this);
}

PresentAddresses::~PresentAddresses() {
    FLibrary->RemoveListener(this);
    FLinks.Invalidate();
    Stop();
}

void PresentAddresses::Start() {
    VEXA_ASSERT_MAIN_THREAD();
    FIsStopped = false;
    FCounts.clear();
    FVersions.clear();
    CheckMovesSoon();
}

void PresentAddresses::Stop() {
    VEXA_ASSERT_MAIN_THREAD();
    FIsStopped = true;
    FRequests.clear();
    FChecker.Stop();
    FAnswerer.Stop();
    FIsCheckDue = FIsChecking = FIsAnswering = false;
}

void PresentAddresses::CheckMovesSoon() {
    VEXA_ASSERT_MAIN_THREAD();
    if (FIsStopped || std::exchange(FIsCheckDue, true)) return;
    // Deferred, because whoever reports a change may not have completed it yet.
    RunInMainThread(
        [link = Link<PresentAddresses>(FLinks)] {
            if (PresentAddresses* alive = link.Get()) alive->CheckMoves();
        },
        false);
}

PresentAddresses::Ticket PresentAddresses::Ask(const QStringList& addresses, Then then) {
    VEXA_ASSERT_MAIN_THREAD();
    FRequests.push_back({++FLastTicket, addresses, std::move(then)});
    Answer();
    return FLastTicket;
}

void PresentAddresses::Cancel(Ticket ticket) {
    VEXA_ASSERT_MAIN_THREAD();
    for (Request& request : FRequests)
        if (request.Number == ticket) request.Call = nullptr;
}

QString PresentAddresses::Present(const QString& address) const {
    const Ref<IVEXAString> text = MakeString(address);
    Ref<Command> command;
    if (Failed(FFileSystems->GetFileSystem(text.Get(), Command::IID, command.PutVoid()))) return address;
    if (command->GetPresentAddress(text.Get()) != S_OK) return address;
    const QString present = ToQString(text.Get());
    return present.isEmpty() ? address : present;
}

void PresentAddresses::CheckMoves() {
    if (FIsChecking || !std::exchange(FIsCheckDue, false)) return;
    const auto count = [systems = FFileSystems] {
        std::pair<MoveCounts, MoveCounts> read;
        for (const auto& [scheme, system] : systems->All()) {
            const auto command = Query<Command>(system.Get());
            std::int64_t number = 0;
            if (command && Succeeded(command->GetMoveCount(&number))) read.first.insert_or_assign(scheme, number);
            if (command && Succeeded(command->GetContentVersion(&number))) read.second.insert_or_assign(scheme, number);
        }
        return read;
    };
    Run(FChecker, FIsChecking, count, [this](const auto& read) {
        if (read && (read->first != FCounts || read->second != FVersions))
            AskKept(read->first, read->second);
        else
            CheckMoves();
    });
}

void PresentAddresses::AskKept(const MoveCounts& counts, const MoveCounts& versions) {
    QStringList kept;
    for (const AddressKeeper* keeper : FKeepers) kept += keeper->KeptAddresses();
    const auto find = [this, kept, systems = FFileSystems, followed = FFollowed] {
        return LookUp(*systems, kept, followed, FIsStopped);
    };
    Run(FChecker, FIsChecking, find, [this, counts, versions](const auto& found) {
        // Without an answer, FCounts stays, so that all is asked again after the next change.
        if (found && *found) {
            FCounts = counts;
            FVersions = versions;
            Notify((*found)->Moves);
            ForEachKeeper([&](AddressKeeper& keeper) { keeper.OnAddressesGone((*found)->Gone); });
            if (std::exchange(FFollowed, counts) != counts) SaveFollowed();
        }
        CheckMoves();
    });
}

void PresentAddresses::SaveFollowed() const {
    QJsonArray followed;
    for (const auto& [scheme, count] : FFollowed)
        followed.append(QJsonObject{{kScheme, scheme}, {kCount, qint64(count)}});
    Guarded("keeping the counts of moved addresses", [&] {
        FFile.Save(QJsonDocument(QJsonObject{{kFollowed, followed}}).toJson());
    });
}

void PresentAddresses::Answer() {
    if (FIsAnswering || FRequests.empty()) return;
    const auto find = [this, asked = FRequests.front().Addresses, systems = FFileSystems, followed = FFollowed] {
        return LookUp(*systems, asked, followed, FIsStopped);
    };
    Run(FAnswerer, FIsAnswering, find, [this](const auto& found) {
        const AddressMoves moves = found ? found->value_or(Found()).Moves : AddressMoves();
        const Then call = std::move(FRequests.front().Call);
        FRequests.pop_front();
        if (!moves.isEmpty()) CheckMovesSoon();  // other kept addresses may have moved, too
        Notify(moves);
        if (call) call(moves);
        Answer();
    });
}

void PresentAddresses::Notify(const AddressMoves& moves) {
    if (!moves.isEmpty()) ForEachKeeper([&](AddressKeeper& keeper) { keeper.OnAddressesMoved(moves); });
}

/// A keeper may be removed by what an earlier one does.
void PresentAddresses::ForEachKeeper(const std::function<void(AddressKeeper&)>& visit) {
    for (const auto keepers = FKeepers; AddressKeeper * keeper : keepers)
        if (std::find(FKeepers.begin(), FKeepers.end(), keeper) != FKeepers.end()) visit(*keeper);
}

}  // namespace vexa::host
