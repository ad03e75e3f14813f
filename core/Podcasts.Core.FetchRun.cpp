#include "Podcasts.Core.FetchRun.h"

#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Url.h"

#include <algorithm>
#include <utility>

namespace podcasts {

namespace {

// The number of items in the window. Lists often have the feeds of one host side by side, and only a few documents are
// fetched from one host at once, so the window has to reach several hosts.
constexpr qsizetype kWindow = 1024;
constexpr qsizetype kRefill = 64;  // items taken before the window is set again
constexpr auto kSilence = std::chrono::seconds(3);
constexpr auto kSecondTries = std::chrono::seconds(30);
constexpr auto kPoll = std::chrono::milliseconds(20);  // interval of checks for new items and for cancellation

}  // namespace

TPodcastFetchRun::TPodcastFetchRun(IPodcastFetchQueue& queue, Locator locator, NoteReader notes,
                                   vexa::CancelCheck isCancelled)
    : FQueue(queue),
      FLocator(std::move(locator)),
      FNotes(std::move(notes)),
      FIsCancelled(std::move(isCancelled)),
      FFetcher([this] {
          const std::lock_guard lock(FMutex);
          NoteChange();
      }),
      FReader([this] { ReadAhead(); }) {}

TPodcastFetchRun::~TPodcastFetchRun() {
    {
        const std::lock_guard lock(FMutex);
        FIsStopping = true;
    }
    FChanged.notify_all();
    FReader.join();
}

/// Hold the lock.
void TPodcastFetchRun::NoteChange() {
    ++FChanges;
    FChanged.notify_all();
}

std::optional<TPodcastFetchRun::Turn> TPodcastFetchRun::Next() {
    while (!FIsCancelled()) {
        const quint64 changes = Changes();
        const QStringList upcoming = FQueue.Upcoming(kWindow);
        // If two items have the same location, the first may have taken the document of both.
        if (!IsInWindow(upcoming) || !IsComing(FLocator(upcoming.first()))) SetWindow(upcoming);
        if (FSecondTries.empty()) FDeadline.reset();
        if (upcoming.isEmpty()) {
            if (FSecondTries.empty()) return std::nullopt;
            if (auto turn = NextSecondTry()) return turn;
        } else {
            const QString& item = upcoming.first();
            const QString location = FLocator(item);
            const bool isAlone = upcoming.size() == 1 && FSecondTries.empty();
            if (isAlone || IsReady(location)) {
                if (!FQueue.TakeNext(item)) continue;
                std::erase_if(FSecondTries, [&](const SecondTry& attempt) { return attempt.Item == item; });
                FItem = item;
                FLocation = location;
                FFailure = nullptr;
                ++FTakenOfWindow;
                return Turn{item};
            }
            FFetcher.Await(location);
            if (FFetcher.SilenceOf(location) >= kSilence && IsAnyReady(upcoming)) {
                FQueue.Defer(item);
                FDeferred += item;
                continue;
            }
        }
        std::unique_lock lock(FMutex);
        FChanged.wait_for(lock, kPoll, [&] { return FChanges != changes; });
    }
    return std::nullopt;
}

quint64 TPodcastFetchRun::Changes() {
    const std::lock_guard lock(FMutex);
    return FChanges;
}

std::optional<TPodcastFetchRun::Turn> TPodcastFetchRun::NextSecondTry() {
    const auto now = Clock::now();
    if (!FDeadline) FDeadline = now + kSecondTries;
    auto next = std::find_if(FSecondTries.begin(), FSecondTries.end(),
                             [this](const SecondTry& attempt) { return IsReady(attempt.Location); });
    if (next == FSecondTries.end() && now < *FDeadline) return std::nullopt;
    const bool isTooLate = next == FSecondTries.end();
    if (isTooLate) next = FSecondTries.begin();
    FItem = next->Item;
    FLocation = next->Location;
    FFailure = isTooLate ? next->Failure : nullptr;
    FSecondTries.erase(next);
    return Turn{FItem, true};
}

/// Whether the window still has the queue's order, except for items at its end.
bool TPodcastFetchRun::IsInWindow(const QStringList& upcoming) const {
    return !upcoming.isEmpty() && FTakenOfWindow < kRefill && FUpcoming.value(FTakenOfWindow) == upcoming.first() &&
           FUpcoming.size() - FTakenOfWindow <= upcoming.size();
}

/// Sets the fetcher's window to the upcoming items.
void TPodcastFetchRun::SetWindow(const QStringList& upcoming) {
    FUpcoming = upcoming;
    FTakenOfWindow = 0;
    QStringList locations;
    QSet<QString> secondTries;
    for (const QString& item : upcoming) locations += FLocator(item);
    // Keep the transfers of deferred items, even if these are beyond the window.
    if (upcoming.size() < kWindow) FDeferred.clear();
    for (const QString& item : FDeferred) locations += FLocator(item);
    if (FDeadline || upcoming.isEmpty()) {
        for (const SecondTry& attempt : FSecondTries) {
            locations += attempt.Location;
            secondTries.insert(attempt.Location);
        }
    }
    const std::lock_guard lock(FMutex);
    FWindow = locations;
    if (FRead && !FWindow.contains(FRead->Location)) FRead.reset();
    locations.removeIf([this](const QString& location) { return IsHere(location); });
    FFetcher.SetWindow(locations, [&](const QString& location) {
        vexa::HttpFetch fetch = FeedDocumentFetch();
        fetch.IsSecondTry = secondTries.contains(location);
        if (fetch.IsSecondTry) fetch.TotalTimeout = kSecondTries;
        FKnown.remove(location);
        if (const auto known = FNotes ? FNotes(location) : std::nullopt) {
            FKnown.insert(location, *known);
            fetch.Conditions = ConditionsOf(*known);
        }
        return fetch;
    });
    FChanged.notify_all();  // ReadAhead looks for another document to read
}

/// Whether the document is local, or has been taken from the fetcher. Hold the lock.
bool TPodcastFetchRun::IsHere(const QString& location) const {
    return !vexa::IsUrl(location) || location == FReading || (FRead && FRead->Location == location);
}

bool TPodcastFetchRun::IsReady(const QString& location) {
    const std::lock_guard lock(FMutex);
    return IsHere(location) || FFetcher.IsReady(location);
}

bool TPodcastFetchRun::IsComing(const QString& location) {
    const std::lock_guard lock(FMutex);
    return IsHere(location) || FFetcher.IsInWindow(location);
}

bool TPodcastFetchRun::IsAnyReady(const QStringList& items) {
    return std::any_of(items.begin(), items.end(), [this](const QString& item) { return IsReady(FLocator(item)); });
}

TPodcastFeedDocument TPodcastFetchRun::TakeDocument() {
    if (FFailure) std::rethrow_exception(std::exchange(FFailure, nullptr));
    if (!vexa::IsUrl(FLocation)) return LoadFeedDocument(FLocation, FIsCancelled);
    Read read;
    {
        std::unique_lock lock(FMutex);
        FTaken = FLocation;
        FChanged.wait(lock, [this] { return FReading != FLocation; });
        if (FRead && FRead->Location == FLocation) {
            read = std::move(*FRead);
            FRead.reset();
        }
    }
    if (read.Location.isEmpty()) read = ReadNow(FLocation, FFetcher.Take(FLocation, FIsCancelled));
    if (read.NeedsFullLoad) return LoadFeedDocument(FLocation, FIsCancelled);
    if (read.Error) {
        FFailure = read.Error;
        std::rethrow_exception(std::exchange(read.Error, nullptr));
    }
    return std::move(read.Document);
}

void TPodcastFetchRun::TryAgain() {
    FSecondTries.push_back({FItem, FLocation, std::exchange(FFailure, nullptr)});
}

TPodcastFetchRun::Read TPodcastFetchRun::ReadNow(const QString& location, vexa::HttpFetched fetched) {
    std::optional<TPodcastDocumentNote> known;
    {
        const std::lock_guard lock(FMutex);
        if (FKnown.contains(location)) known = FKnown.take(location);
    }
    Read read{location, {}, {}};
    try {
        fetched.Outcome.RaiseIfFailed();
        auto document = ReadFeedDocument(location, std::move(fetched.Document), known);
        read.NeedsFullLoad = !document;
        if (document) read.Document = std::move(*document);
    } catch (...) {
        read.Error = std::current_exception();
    }
    return read;
}

/// Parses the next arrived document while the current one is being stored. Each of the two threads then has about half
/// of the work.
void TPodcastFetchRun::ReadAhead() {
    std::unique_lock lock(FMutex);
    while (!FIsStopping) {
        const auto next =
            FRead ? FWindow.end() : std::find_if(FWindow.begin(), FWindow.end(), [this](const QString& location) {
                return location != FTaken && FFetcher.IsReady(location);
            });
        if (next == FWindow.end()) {
            FChanged.wait(lock);
            continue;
        }
        const QString location = FReading = *next;
        vexa::HttpFetched fetched = FFetcher.Take(location, {});
        lock.unlock();
        Read read = ReadNow(location, std::move(fetched));
        lock.lock();
        FReading.clear();
        FRead = std::move(read);
        NoteChange();
    }
}

}  // namespace podcasts
