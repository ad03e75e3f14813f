#pragma once
// The values that the rules of identity compare, and indexes over them. Only for Podcasts.Core.Identity.cpp.

#include "Podcasts.Core.StoredEpisodes.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace podcasts::identity {

inline bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// An address or a GUID in the form in which it is compared: without blanks around it and without the scheme, which
/// publishers change from http to https. "://" is kept, so that an address never equals a text that is not an address.
inline std::string_view WithoutScheme(std::string_view text) {
    text = Trimmed(text);
    const std::size_t delimiter = text.find("://");
    if (delimiter == std::string_view::npos || delimiter == 0) return text;
    // RFC 3986, section 3.1.
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const bool isScheme =
        isLetter(text[0]) && std::all_of(text.begin(), text.begin() + std::ptrdiff_t(delimiter), [&](char c) {
            return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
        });
    return isScheme ? text.substr(delimiter) : text;
}

/// The values of an episode, be it of the document or of a stored row, that the rules compare.
struct Compared {
    std::string_view GUID, Title, Address;
    double Date = 0;
};

inline Compared ComparedOf(const TPodcastStoredEpisodes::Row& row) {
    return {WithoutScheme(row.Fields[pefGUID]), Trimmed(row.Fields[pefTitle]), WithoutScheme(row.Fields[pefURLAudio]),
            row.PublishDate};
}

/// The same values of an item of the document, together with the texts to which `Is` refers.
struct Item {
    std::string GUID, Title, Address;
    Compared Is;
};

/// Several values that must all be equal.
struct Key {
    std::string_view A, B = {};
    double Date = 0;
    std::string_view C = {};
    bool operator==(const Key&) const = default;
};

struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept {
        std::size_t hash = std::hash<std::string_view>()(key.A);
        for (const std::size_t part : {std::hash<std::string_view>()(key.B), std::hash<std::string_view>()(key.C),
                                       std::hash<double>()(key.Date)})
            hash = (hash ^ part) * 0x9E3779B97F4A7C15u;
        return hash;
    }
};

/// Rows by their keys; rows of one key in the opposite order of their ids, so that the row written last comes first.
class RowIndex {
public:
    explicit RowIndex(std::size_t rows) : FNext(rows, -1) { FFirst.reserve(rows); }

    /// Rows must be added in the order of their ids.
    void Add(const Key& key, int row) {
        const auto [found, isNew] = FFirst.try_emplace(key, row);
        if (isNew) return;
        FNext[static_cast<std::size_t>(row)] = found->second;
        found->second = row;
    }
    /// The last written row that is not taken; −1 when there is none. Forgets the taken rows before it.
    int Last(const Key& key, const std::vector<bool>& taken) {
        const auto found = FFirst.find(key);
        if (found == FFirst.end()) return -1;
        while (found->second >= 0 && taken[static_cast<std::size_t>(found->second)])
            found->second = Next(found->second);
        return found->second;
    }
    int Next(int row) const { return FNext[static_cast<std::size_t>(row)]; }

private:
    std::unordered_map<Key, int, KeyHash> FFirst;
    std::vector<int> FNext;
};

}  // namespace podcasts::identity
