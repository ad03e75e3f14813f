#include "Podcasts.Core.Identity.h"

#include "Podcasts.Core.Identity.Compared.h"
#include "VEXA.Runtime.Text.h"

#include <QHash>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <tuple>
#include <unordered_set>

namespace podcasts {

using identity::Compared;
using identity::ComparedOf;
using identity::Item;
using identity::Key;
using identity::KeyHash;
using identity::RowIndex;
using identity::Trimmed;
using identity::WithoutScheme;
using vexa::EqualsUtf8;
using Row = TPodcastStoredEpisodes::Row;

namespace {

constexpr int kNoRow = -1;

QString URIOf(const TPodcastEpisode& episode, const TPodcastFeed& document) {
    return HasAudio(episode) ? EpisodeURI(episode, document) : QString();
}

/// Matches one document with the stored episodes of its feed.
class Matcher {
public:
    Matcher(const TPodcastFeed& document, const TPodcastStoredEpisodes& stored)
        : FDocument(document), FStored(stored), FRows(stored.Rows()), FTaken(FRows.size(), false) {}

    std::vector<TPodcastEpisodeMatch> Run() {
        ChooseEpisodes();
        FFreeRows = FRows.size();
        FLeft = FMatches.size();
        ApplyRule(&Matcher::SameAddressAndTitle);
        ApplyRule(&Matcher::SameAddressAndGUID);
        ApplyRule(&Matcher::SameGUID);
        ApplyRule(&Matcher::SameTitleAndDate);
        ApplyRule(&Matcher::SameAddressAndAnotherValue);
        ApplyRule(&Matcher::SameTitle);
        KeepStoredAddresses();
        FindTwins();
        return std::move(FMatches);
    }

private:
    const Row& RowAt(int index) const { return FRows[static_cast<std::size_t>(index)]; }
    bool IsFree(int row) const { return !FTaken[static_cast<std::size_t>(row)]; }
    const TPodcastEpisode& Episode(std::size_t match) const { return *FMatches[match].Episode; }

    // ---- The document ----

    /// If several episodes have the same URI, and so the same row, keeps only one of them.
    void ChooseEpisodes() {
        const auto& episodes = FDocument.Episodes();
        FMatches.reserve(episodes.size());
        FOwners.reserve(static_cast<qsizetype>(episodes.size()));
        for (const auto& episode : episodes) {
            const QString uri = URIOf(*episode, FDocument);
            FMatches.push_back({episode.get(), uri, kNoRow, {}});
            FOwners.insert(uri, FMatches.size() - 1);
        }
        FItemOf.resize(FMatches.size());
        for (std::size_t i = 0; i < FItemOf.size(); ++i) FItemOf[i] = i;
        if (FOwners.size() == static_cast<qsizetype>(FMatches.size())) return;
        // Of those with one URI, keep the last that is stored with its address and GUID, else the last of all.
        std::unordered_set<Key, KeyHash> known;
        for (const Row& row : FRows)
            if (const Compared is = ComparedOf(row); !is.Address.empty()) known.insert({is.Address, is.GUID});
        QHash<QString, std::size_t> knownOwners;
        for (std::size_t i = 0; i < FMatches.size(); ++i)
            if (known.contains({ItemAt(i).Is.Address, ItemAt(i).Is.GUID})) knownOwners.insert(FMatches[i].URI, i);
        FOwners.insert(knownOwners);
        std::vector<TPodcastEpisodeMatch> counting;
        FItemOf.clear();
        for (std::size_t i = 0; i < FMatches.size(); ++i) {
            if (FOwners.value(FMatches[i].URI) != i) continue;
            counting.push_back(std::move(FMatches[i]));
            FItemOf.push_back(i);
        }
        FMatches = std::move(counting);
    }

    /// The compared values of an item of the document, including the items dropped by ChooseEpisodes.
    const Item& ItemAt(std::size_t index) {
        if (FItems.empty()) {
            FItems.resize(FDocument.Episodes().size());
            for (std::size_t i = 0; i < FItems.size(); ++i) {
                const TPodcastEpisode& episode = *FDocument.Episodes()[i];
                Item& item = FItems[i];
                item.GUID = vexa::ToUtf8(episode.Fields[pefGUID]);
                item.Title = vexa::ToUtf8(episode.Fields[pefTitle]);
                item.Address = vexa::ToUtf8(episode.Fields[pefURLAudio]);
                item.Is = {WithoutScheme(item.GUID), Trimmed(item.Title), WithoutScheme(item.Address),
                           episode.PublishDate};
            }
        }
        return FItems[index];
    }
    const Compared& Of(std::size_t match) { return ItemAt(FItemOf[match]).Is; }

    /// How often values occur in the document.
    struct Counts {
        std::unordered_map<std::string_view, int> GUIDs, Titles;
        std::unordered_map<Key, int, KeyHash> TitlesAndDates;
        std::unordered_set<std::string_view> Addresses;
    };
    const Counts& DocumentCounts() {
        if (FCounts) return *FCounts;
        Counts& counts = FCounts.emplace();
        for (std::size_t i = 0; i < FDocument.Episodes().size(); ++i) {
            const Compared& is = ItemAt(i).Is;
            ++counts.GUIDs[is.GUID];
            ++counts.Titles[is.Title];
            ++counts.TitlesAndDates[{is.Title, {}, is.Date}];
            if (!is.Address.empty()) counts.Addresses.insert(is.Address);
        }
        return counts;
    }
    /// Whether a GUID occurs exactly once in the document: only then does it identify an episode.
    bool IsUniqueGUID(std::string_view guid) {
        const auto found = DocumentCounts().GUIDs.find(guid);
        return !guid.empty() && found != DocumentCounts().GUIDs.end() && found->second == 1;
    }
    bool OccursInDocument(std::string_view address) { return DocumentCounts().Addresses.contains(address); }

    // ---- The stored rows ----

    const Compared& ComparedRow(int row) {
        if (FComparedRows.empty()) {
            FComparedRows.reserve(FRows.size());
            for (const Row& each : FRows) FComparedRows.push_back(ComparedOf(each));
        }
        return FComparedRows[static_cast<std::size_t>(row)];
    }
    /// An index over the free rows, built on first use. `keyOf` returns no key for a row to be left out.
    template <class KeyOf>
    RowIndex& Index(std::optional<RowIndex>& index, KeyOf keyOf) {
        if (index) return *index;
        index.emplace(FRows.size());
        for (int row = 0; row < static_cast<int>(FRows.size()); ++row)
            if (IsFree(row))
                if (const std::optional<Key> key = keyOf(ComparedRow(row))) index->Add(*key, row);
        return *index;
    }

    /// The row that has the episode's URI, if it is free.
    int RowOfURI(std::size_t match) {
        const int row = FStored.FindURI(vexa::ToUtf8(FMatches[match].URI));
        return row >= 0 && IsFree(row) ? row : kNoRow;
    }

    /// The order in which to prefer rows: first the row whose URI the episode will have, then a row whose address does
    /// not occur in the document, then the row written last.
    auto Preference(int row, std::size_t match) {
        return std::make_tuple(EqualsUtf8(FMatches[match].URI, RowAt(row).Fields[pefURI]),
                               !OccursInDocument(ComparedRow(row).Address), row);
    }

    // ---- The rules ----

    using Rule = int (Matcher::*)(std::size_t match);

    /// Applies a rule to all episodes in order. Matched episodes and rows are not considered again.
    void ApplyRule(Rule rule) {
        if (FLeft == 0 || FFreeRows == 0) return;
        for (std::size_t i = 0; i < FMatches.size(); ++i) {
            if (FMatches[i].Row >= 0) continue;
            const int row = (this->*rule)(i);
            if (row < 0) continue;
            FMatches[i].Row = row;
            FTaken[static_cast<std::size_t>(row)] = true;
            --FLeft;
            --FFreeRows;
        }
    }

    int SameAddressAndTitle(std::size_t match) {
        const TPodcastEpisode& episode = Episode(match);
        const int own = RowOfURI(match);
        if (own >= 0) {
            // Most episodes of most documents are unchanged, so check that first, without building compared values.
            const Row& row = RowAt(own);
            if (EqualsUtf8(episode.Fields[pefURLAudio], row.Fields[pefURLAudio]) &&
                EqualsUtf8(episode.Fields[pefTitle], row.Fields[pefTitle]) &&
                ((episode.PublishDate != 0 && episode.PublishDate == row.PublishDate) ||
                 EqualsUtf8(episode.Fields[pefGUID], row.Fields[pefGUID])))
                return own;
        }
        const Compared& is = Of(match);
        // Two episodes without audio count as having the same address here, since they have the same URI.
        const auto isSame = [&](const Compared& row) {
            return row.Address == is.Address && row.Title == is.Title &&
                   ((is.Date != 0 && row.Date == is.Date) || row.GUID == is.GUID);
        };
        if (own >= 0 && isSame(ComparedRow(own))) return own;
        if (is.Address.empty()) return kNoRow;
        const int byDate =
            is.Date == 0
                ? kNoRow
                : Index(FByAddressTitleDate, [](const Compared& row) {
                      return row.Address.empty() ? std::nullopt : std::optional(Key{row.Address, row.Title, row.Date});
                  }).Last({is.Address, is.Title, is.Date}, FTaken);
        const int byGUID =
            Index(FByAddressTitleGUID, [](const Compared& row) {
                return row.Address.empty() ? std::nullopt : std::optional(Key{row.Address, row.Title, 0, row.GUID});
            }).Last({is.Address, is.Title, 0, is.GUID}, FTaken);
        return std::max(byDate, byGUID);
    }

    RowIndex& ByGUID() {
        return Index(FByGUID, [](const Compared& row) { return std::optional(Key{row.GUID}); });
    }

    int SameAddressAndGUID(std::size_t match) {
        const Compared& is = Of(match);
        if (is.Address.empty() || !IsUniqueGUID(is.GUID)) return kNoRow;
        return BestOf(ByGUID(), {is.GUID}, match, [&](int row) { return ComparedRow(row).Address == is.Address; });
    }

    int SameGUID(std::size_t match) {
        const Compared& is = Of(match);
        if (!IsUniqueGUID(is.GUID)) return kNoRow;
        return BestOf(ByGUID(), {is.GUID}, match, [&](int index) {
            // Some publishers use one GUID for all episodes, so if everything else differs it is a new episode.
            const Compared& row = ComparedRow(index);
            const bool isOtherDate = is.Date != 0 && row.Date != 0 && is.Date != row.Date;
            const bool isOtherAddress = is.Address.empty() || is.Address != row.Address;
            return !(row.Title != is.Title && isOtherDate && isOtherAddress);
        });
    }

    int SameTitleAndDate(std::size_t match) {
        const Compared& is = Of(match);
        if (is.Date == 0 || DocumentCounts().TitlesAndDates.at({is.Title, {}, is.Date}) != 1) return kNoRow;
        RowIndex& index = Index(FByTitleAndDate, [](const Compared& row) {
            return row.Date == 0 ? std::nullopt : std::optional(Key{row.Title, {}, row.Date});
        });
        const auto isEligible = [&](int row) { return !IsUniqueGUID(ComparedRow(row).GUID); };
        // Prefer a row with a file or a mark, which could be lost.
        const auto isKept = [&](int row) {
            return !RowAt(row).Fields[pefURLAudioCached].empty() || RowAt(row).State != pesNew;
        };
        const Key key{is.Title, {}, is.Date};
        const int kept = BestOf(index, key, match, [&](int row) { return isEligible(row) && isKept(row); });
        return kept >= 0 ? kept : BestOf(index, key, match, isEligible);
    }

    int SameAddressAndAnotherValue(std::size_t match) {
        // An address alone is not enough, because some publishers always put the newest episode at the same address.
        const Compared& is = Of(match);
        if (is.Address.empty()) return kNoRow;
        if (const int own = RowOfURI(match); own >= 0) {
            const Compared& row = ComparedRow(own);
            const bool isSame = row.Address == is.Address &&
                                ((!is.GUID.empty() && row.GUID == is.GUID) ||
                                 (!is.Title.empty() && row.Title == is.Title) || (is.Date != 0 && row.Date == is.Date));
            if (isSame && !IsUniqueGUID(row.GUID)) return own;
        }
        const auto key = [this](bool hasValue, const Compared& row, const Key& candidate) {
            return hasValue && !row.Address.empty() && !IsUniqueGUID(row.GUID) ? std::optional<Key>(candidate)
                                                                               : std::nullopt;
        };
        RowIndex& byGUID = Index(FByAddressAndGUID, [&](const Compared& row) {
            return key(!row.GUID.empty(), row, {row.Address, {}, 0, row.GUID});
        });
        RowIndex& byTitle = Index(FByAddressAndTitle, [&](const Compared& row) {
            return key(!row.Title.empty(), row, {row.Address, row.Title});
        });
        RowIndex& byDate = Index(FByAddressAndDate, [&](const Compared& row) {
            return key(row.Date != 0, row, {row.Address, {}, row.Date});
        });
        return std::max({byGUID.Last({is.Address, {}, 0, is.GUID}, FTaken),
                         byTitle.Last({is.Address, is.Title}, FTaken),
                         is.Date == 0 ? kNoRow : byDate.Last({is.Address, {}, is.Date}, FTaken)});
    }

    int SameTitle(std::size_t match) {
        // Short lists without dates may have new episodes with the same titles every day.
        constexpr std::size_t kMinItems = 5;
        const Compared& is = Of(match);
        if (FDocument.Episodes().size() < kMinItems || is.Title.empty()) return kNoRow;
        if (DocumentCounts().Titles.at(is.Title) != 1) return kNoRow;
        if (FRowsOfTitle.empty()) {
            for (int row = 0; row < static_cast<int>(FRows.size()); ++row) {
                auto& [count, last] = FRowsOfTitle[ComparedRow(row).Title];
                ++count;
                last = row;
            }
        }
        const auto found = FRowsOfTitle.find(is.Title);
        if (found == FRowsOfTitle.end() || found->second.first != 1) return kNoRow;
        const int row = found->second.second;
        const bool isUndated = is.Date == 0 || ComparedRow(row).Date == 0;
        return IsFree(row) && isUndated && !IsUniqueGUID(ComparedRow(row).GUID) ? row : kNoRow;
    }

    template <class Accepts>
    int BestOf(RowIndex& index, const Key& key, std::size_t match, Accepts accepts) {
        int best = kNoRow;
        for (int row = index.Last(key, FTaken); row >= 0; row = index.Next(row))
            if (IsFree(row) && accepts(row) && (best < 0 || Preference(row, match) > Preference(best, match)))
                best = row;
        return best;
    }

    // ---- After the rules ----

    /// Keeps the stored address of an episode that has no audio now, which is often so for an hour only.
    void KeepStoredAddresses() {
        for (TPodcastEpisodeMatch& match : FMatches) {
            if (match.Row < 0 || HasAudio(*match.Episode)) continue;
            match.URI = vexa::FromUtf8(RowAt(match.Row).Fields[pefURI]);
            // Another episode of the document may have the address now. Then this one gets a URI made from its GUID.
            if (match.URI.isEmpty() || !FOwners.contains(match.URI)) continue;
            match.URI = StandInURI(*match.Episode, FDocument);
            if (FOwners.contains(match.URI) || FStored.FindURI(vexa::ToUtf8(match.URI)) >= 0)
                match.URI += u'#' + QString::number(RowAt(match.Row).RowID);
        }
    }

    /// Finds the twins: several rows that earlier versions of the program stored for one episode whose address changed.
    void FindTwins() {
        if (FFreeRows == 0) return;
        std::unordered_set<std::string_view> found;
        for (const TPodcastEpisodeMatch& match : FMatches)
            if (match.Row >= 0) found.insert(WithoutScheme(RowAt(match.Row).Fields[pefGUID]));
        Owners owners;
        for (int row = 0; row < static_cast<int>(FRows.size()); ++row) {
            if (!IsFree(row)) continue;
            const std::string_view guid = WithoutScheme(RowAt(row).Fields[pefGUID]);
            if (!found.contains(guid) || !IsUniqueGUID(guid)) continue;
            if (owners.empty()) owners = OwnersOfTwins();
            const Compared& twin = ComparedRow(row);
            const std::string_view address = OccursInDocument(twin.Address) ? twin.Address : std::string_view();
            auto owner = owners.find({guid, twin.Title, 0, address});
            const auto byDate = twin.Date == 0 ? owners.end() : owners.find({guid, {}, twin.Date, address});
            if (owner == owners.end() || (byDate != owners.end() && byDate->second < owner->second)) owner = byDate;
            if (owner != owners.end()) FMatches[owner->second].Twins.push_back(row);
        }
    }

    /// Matches by the values that a twin shares with its match: the GUID of the matched row; the title or the date of
    /// that row or of the episode; and the episode's address, if the twin's address occurs in the document.
    using Owners = std::unordered_map<Key, std::size_t, KeyHash>;

    /// If several matches have the same values, the first in the document is the owner.
    Owners OwnersOfTwins() {
        Owners owners;
        for (std::size_t i = 0; i < FMatches.size(); ++i) {
            if (FMatches[i].Row < 0) continue;
            const std::string_view guid = WithoutScheme(RowAt(FMatches[i].Row).Fields[pefGUID]);
            if (!IsUniqueGUID(guid)) continue;
            const Compared &is = Of(i), &kept = ComparedRow(FMatches[i].Row);
            for (const std::string_view address : {std::string_view(), is.Address}) {
                for (const std::string_view title : {is.Title, kept.Title})
                    owners.try_emplace({guid, title, 0, address}, i);
                for (const double date : {is.Date, kept.Date})
                    if (date != 0) owners.try_emplace({guid, {}, date, address}, i);
            }
        }
        return owners;
    }

    const TPodcastFeed& FDocument;
    const TPodcastStoredEpisodes& FStored;
    const std::span<const Row> FRows;
    std::vector<bool> FTaken;  // by row
    std::size_t FFreeRows = 0;
    std::vector<TPodcastEpisodeMatch> FMatches;
    std::size_t FLeft = 0;                // matches without a row
    std::vector<std::size_t> FItemOf;     // by match: the index of its item in the document
    QHash<QString, std::size_t> FOwners;  // by URI: the item that ChooseEpisodes has kept

    // Built on first use; an unchanged document needs none of these.
    std::vector<Item> FItems;
    std::optional<Counts> FCounts;
    std::vector<Compared> FComparedRows;
    std::unordered_map<std::string_view, std::pair<int, int>> FRowsOfTitle;  // the number of rows, and the last one
    std::optional<RowIndex> FByAddressTitleDate, FByAddressTitleGUID, FByGUID, FByTitleAndDate, FByAddressAndGUID,
        FByAddressAndTitle, FByAddressAndDate;
};

}  // namespace

std::vector<TPodcastEpisodeMatch> MatchEpisodes(const TPodcastFeed& document, const TPodcastStoredEpisodes& stored) {
    return Matcher(document, stored).Run();
}

std::vector<TPodcastEpisodeMatch> MatchEpisodesByURI(const TPodcastFeed& document,
                                                     const TPodcastStoredEpisodes& stored) {
    std::vector<TPodcastEpisodeMatch> matches;
    matches.reserve(document.Episodes().size());
    QHash<QString, std::size_t> last;
    for (const auto& episode : document.Episodes()) {
        const QString uri = URIOf(*episode, document);
        matches.push_back({episode.get(), uri, stored.FindURI(vexa::ToUtf8(uri)), {}});
        last.insert(uri, matches.size() - 1);
    }
    std::size_t index = 0;
    std::erase_if(matches, [&](const TPodcastEpisodeMatch& match) { return last.value(match.URI) != index++; });
    return matches;
}

bool HasAudio(const TPodcastEpisode& episode) {
    const QString& address = episode.Fields[pefURLAudio];
    return std::any_of(address.begin(), address.end(), [](QChar c) { return !c.isSpace(); });
}

}  // namespace podcasts
