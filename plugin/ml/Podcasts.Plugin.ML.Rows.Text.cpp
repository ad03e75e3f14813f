#include "Podcasts.Plugin.ML.Rows.Text.h"

#include "VEXA.Runtime.Text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>
#include <unordered_map>

namespace podcasts {

using namespace vexa;

namespace {

// SQLite refuses longer patterns.
constexpr qsizetype kLongestText = 10'000;
constexpr std::size_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

const QStringList kOwnTexts = {QStringLiteral("Title"), QStringLiteral("URLAudioCached"),
                               QStringLiteral("PublishDate")};
const QStringList kSharedTexts = {QStringLiteral("Artist"),   QStringLiteral("Format"), QStringLiteral("State"),
                                  QStringLiteral("Duration"), QStringLiteral("Name"),   QStringLiteral("Category"),
                                  QStringLiteral("Author")};
// Of the episode's feed.
const QStringList kFeedTexts = {QStringLiteral("Name"), QStringLiteral("Category"), QStringLiteral("Author")};

/// What LIKE sees of a value: up to a zero.
std::string_view Visible(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

bool Contains(std::string_view text, std::string_view wanted) {
    return memmem(text.data(), text.size(), wanted.data(), wanted.size()) != nullptr;
}

}  // namespace

bool TPodcastsRowText::CanSearch(const QString& text, const QStringList& columns) {
    const bool isPlain = std::none_of(text.begin(), text.end(), [](QChar c) {
        return c == u'%' || c == u'_' || c.isNull() || c.isSurrogate() || c == QChar::ReplacementCharacter;
    });
    return isPlain && text.size() <= kLongestText && std::all_of(columns.begin(), columns.end(), [](const QString& c) {
               return kOwnTexts.contains(c) || kSharedTexts.contains(c);
           });
}

void TPodcastsRowText::Clear() {
    FRowIDs = {};
    FTexts.clear();
    FShared.clear();
}

void TPodcastsRowText::Load(SqliteReader& reader, const QStringList& columns) {
    QString sql = QStringLiteral("SELECT PodcastEpisodes.rowid");
    for (const QString& column : columns) sql += u", UPPER(" + column + u')';
    sql += u" FROM PodcastEpisodes";
    if (std::any_of(columns.begin(), columns.end(), [](const QString& c) { return kFeedTexts.contains(c); }))
        sql += u" CROSS JOIN PodcastFeeds USING (FeedID)";
    sql += u" ORDER BY PodcastEpisodes.rowid";
    struct Loading {
        Texts* Own;
        SharedTexts* Shared;
        std::unordered_map<std::string, std::uint32_t> Codes;
    };
    std::vector<Loading> loading;
    for (const QString& column : columns) {
        if (kOwnTexts.contains(column))
            loading.push_back({&FTexts[column], nullptr, {}});
        else
            loading.push_back({nullptr, &FShared[column], {}});
    }
    const bool isFirst = FRowIDs.empty();
    const auto cursor = reader.Query(ToUtf8(sql));
    if (!cursor) return;
    do {
        if (isFirst) FRowIDs.push_back(static_cast<std::uint32_t>(cursor->Integer64(0)));
        for (std::size_t i = 0; i < loading.size(); ++i) {
            const std::string_view text = Visible(cursor->Utf8(static_cast<int>(i) + 1));
            if (Texts* own = loading[i].Own) {
                if (own->Bytes.size() + text.size() >= kMostBytes) throw std::bad_alloc();
                own->Begins.push_back(static_cast<std::uint32_t>(own->Bytes.size()));
                own->Bytes.append(text).push_back('\0');
            } else {
                SharedTexts& shared = *loading[i].Shared;
                const auto [found, isNew] =
                    loading[i].Codes.try_emplace(std::string(text), static_cast<std::uint32_t>(shared.Values.size()));
                if (isNew) shared.Values.emplace_back(text);
                shared.Codes.push_back(found->second);
            }
        }
    } while (cursor->Next());
    for (Loading& column : loading)
        if (column.Own) column.Own->Bytes.shrink_to_fit();
}

TPodcastsRowSet TPodcastsRowText::Search(SqliteReader& reader, const QString& text, const QStringList& columns) {
    QStringList missing;
    for (const QString& column : columns)
        if (!FTexts.contains(column) && !FShared.contains(column) && !missing.contains(column)) missing += column;
    if (!missing.isEmpty()) {
        try {
            Load(reader, missing);
        } catch (...) {
            Clear();
            throw;
        }
    }
    TPodcastsRowSet found(FRowIDs.empty() ? 0 : FRowIDs.back() + std::size_t{1});
    const std::string wanted = ToUtf8(text.toUpper());
    for (const QString& column : columns) {
        if (const auto own = FTexts.find(column); own != FTexts.end()) {
            const auto& [bytes, begins] = own->second;
            // One walk over all texts; no match reaches across the zero between two.
            const char* at = bytes.data();
            const char* const end = at + bytes.size();
            while (const void* match = memmem(at, static_cast<std::size_t>(end - at), wanted.data(), wanted.size())) {
                const auto offset = static_cast<std::uint32_t>(static_cast<const char*>(match) - bytes.data());
                const auto next = std::upper_bound(begins.begin(), begins.end(), offset);
                found[FRowIDs[static_cast<std::size_t>(next - begins.begin()) - 1]] = true;
                if (next == begins.end()) break;
                at = bytes.data() + *next;
            }
        } else {
            const SharedTexts& shared = FShared[column];
            std::vector<bool> matches(shared.Values.size());
            bool hasMatch = false;
            for (std::size_t i = 0; i < matches.size(); ++i)
                if (Contains(shared.Values[i], wanted)) matches[i] = hasMatch = true;
            for (std::size_t row = 0; hasMatch && row < FRowIDs.size(); ++row)
                if (matches[shared.Codes[row]]) found[FRowIDs[row]] = true;
        }
    }
    return found;
}

}  // namespace podcasts
