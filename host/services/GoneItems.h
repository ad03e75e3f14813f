#pragma once
// Items of a list that were taken out because their addresses name nothing any more, as after the user has unsubscribed
// from a podcast. While the program runs they return to their places when the addresses name something again, as after
// that was undone.

#include <QSet>
#include <QString>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace vexa::host {

template <class Item>
class GoneItems {
public:
    struct Entry {
        qsizetype Place;  // in the list from which it was taken
        Item Taken;
    };

    void Add(qsizetype place, Item item) { FEntries.push_back({place, std::move(item)}); }
    /// Removes and returns the items that are not gone any more. Insert them in this order, each at its place or at the
    /// list's end.
    template <class AddressOf>
    std::vector<Entry> TakeReturned(const QSet<QString>& gone, AddressOf addressOf) {
        const auto returned = std::stable_partition(FEntries.begin(), FEntries.end(), [&](const Entry& entry) {
            return gone.contains(addressOf(entry.Taken));
        });
        std::vector<Entry> taken(std::make_move_iterator(returned), std::make_move_iterator(FEntries.end()));
        FEntries.erase(returned, FEntries.end());
        std::stable_sort(taken.begin(), taken.end(), [](const Entry& a, const Entry& b) { return a.Place < b.Place; });
        return taken;
    }
    void Clear() { FEntries.clear(); }

    const std::vector<Entry>& Entries() const noexcept { return FEntries; }

private:
    std::vector<Entry> FEntries;
};

}  // namespace vexa::host
