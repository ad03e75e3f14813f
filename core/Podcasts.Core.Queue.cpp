#include "Podcasts.Core.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Text.h"

#include <algorithm>

namespace podcasts {

using vexa::FoldCase;

void TPodcastClientQueue::Add(const QString& item) {
    const vexa::TLock lock(FMutex);
    const auto [entry, isNew] = FIndex.try_emplace(FoldCase(item));
    if (isNew) entry->second = FItems.insert(FItems.end(), item);
}

void TPodcastClientQueue::Add(const QStringList& items) {
    const vexa::TLock lock(FMutex);
    for (const QString& item : items) Add(item);
}

bool TPodcastClientQueue::Pop(QString& item) {
    const vexa::TLock lock(FMutex);
    item.clear();
    if (FItems.empty()) return false;
    item = std::move(FItems.back());
    FItems.pop_back();
    FIndex.erase(FoldCase(item));
    return true;
}

bool TPodcastClientQueue::Peek(QString& item) const {
    const vexa::TLock lock(FMutex);
    if (FItems.empty()) return false;
    item = FItems.back();
    return true;
}

bool TPodcastClientQueue::Remove(const QString& item) {
    const vexa::TLock lock(FMutex);
    const auto entry = FIndex.find(FoldCase(item));
    if (entry == FIndex.end()) return false;
    FItems.erase(entry->second);
    FIndex.erase(entry);
    return true;
}

void TPodcastClientQueue::Clear() {
    const vexa::TLock lock(FMutex);
    FItems.clear();
    FIndex.clear();
}

QStringList TPodcastClientQueue::Upcoming(qsizetype count) const {
    const vexa::TLock lock(FMutex);
    QStringList items;
    for (auto item = FItems.rbegin(); item != FItems.rend() && items.size() < count; ++item) items += *item;
    return items;
}

bool TPodcastClientQueue::TakeNext(const QString& item) {
    const vexa::TLock lock(FMutex);
    if (FItems.empty() || FItems.back() != item) return false;
    QString taken;
    return Pop(taken);
}

void TPodcastClientQueue::Defer(const QString& item) {
    const vexa::TLock lock(FMutex);
    const auto entry = FIndex.find(FoldCase(item));
    if (entry != FIndex.end()) FItems.splice(FItems.begin(), FItems, entry->second);
}

QStringList TPodcastClientQueue::Items() const {
    const vexa::TLock lock(FMutex);
    return QStringList(FItems.begin(), FItems.end());
}

qsizetype TPodcastClientQueue::Count() const {
    const vexa::TLock lock(FMutex);
    return static_cast<qsizetype>(FItems.size());
}

void TPodcastListenerList::Add(vexa::Ref<vexa::IUnknown> listener) {
    const vexa::TLock lock(FMutex);
    FListeners.push_back(std::move(listener));
}

void TPodcastListenerList::Remove(vexa::IUnknown* listener) {
    const vexa::TLock lock(FMutex);
    std::erase_if(FListeners, [&](const auto& kept) { return kept.Get() == listener; });
}

void TPodcastListenerList::Clear() {
    const vexa::TLock lock(FMutex);
    FListeners.clear();
}

bool TPodcastListenerList::IsNotifying() {
    const vexa::TLock lock(FMutex);
    return FVisits > 0;
}

void TPodcastListenerList::Visit(const std::function<void(vexa::IUnknown*)>& visitor) {
    const vexa::TLock lock(FMutex);
    ++FVisits;
    for (std::size_t position = 0; position < FListeners.size();) {
        const vexa::Ref<vexa::IUnknown> current = FListeners[position];
        try {
            visitor(current.Get());
        } catch (const std::exception& error) {
            qCWarning(vexa::LogRuntime).noquote() << "a listener failed:" << error.what();
        } catch (...) {
            qCWarning(vexa::LogRuntime) << "a listener failed";
        }
        // If the listener has removed itself, its successor is now at its position.
        if (std::find(FListeners.begin(), FListeners.end(), current) != FListeners.end()) ++position;
    }
    --FVisits;
}

}  // namespace podcasts
