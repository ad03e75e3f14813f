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
constexpr qsizetype kMaxTextLength = 10'000;
constexpr std::size_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();

const QStringList kOwnTexts = {QStringLiteral("Title"), QStringLiteral("URLAudioCached"),
                               QStringLiteral("PublishDate")};
const QStringList kSharedTexts = {QStringLiteral("Artist"),   QStringLiteral("Format"), QStringLiteral("State"),
                                  QStringLiteral("Duration"), QStringLiteral("Name"),   QStringLiteral("Category"),
                                  QStringLiteral("Author")};
// Columns of the episode's feed.
const QStringList kFeedTexts = {QStringLiteral("Name"), QStringLiteral("Category"), QStringLiteral("Author")};

/// The part of a value that LIKE compares, which ends at a zero.
std::string_view Visible(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

}  // namespace

bool TPodcastsRowText::CanSearch(const QString& text, const QStringList& columns) {
    const bool isPlain = std::none_of(text.begin(), text.end(), [](QChar c) {
        return c == u'%' || c == u'_' || c.isNull() || c.isSurrogate() || c == QChar::ReplacementCharacter;
    });
    return isPlain && text.size() <= kMaxTextLength &&
           std::all_of(columns.begin(), columns.end(),
                       [](const QString& c) { return kOwnTexts.contains(c) || kSharedTexts.contains(c); });
}

void TPodcastsRowText::Clear() {
    FRowIDs = {};
    FColumns.clear();
}

void TPodcastsRowText::Load(SqliteReader& reader, const QStringList& columns) {
    QString sql = QStringLiteral("SELECT PodcastEpisodes.rowid");
    for (const QString& column : columns) sql += u", UPPER(" + column + u')';
    sql += u" FROM PodcastEpisodes";
    if (std::any_of(columns.begin(), columns.end(), [](const QString& c) { return kFeedTexts.contains(c); }))
        sql += u" CROSS JOIN PodcastFeeds USING (FeedID)";
    sql += u" ORDER BY PodcastEpisodes.rowid";
    struct Loading {
        Column* To;
        bool IsShared;
        std::unordered_map<std::string, std::uint32_t> Known;
    };
    std::vector<Loading> loading;
    for (const QString& column : columns) loading.push_back({&FColumns[column], kSharedTexts.contains(column), {}});
    const bool isFirst = FRowIDs.empty();
    const auto cursor = reader.Query(ToUtf8(sql));
    if (!cursor) return;
    do {
        if (isFirst) FRowIDs.push_back(static_cast<std::uint32_t>(cursor->Integer64(0)));
        int index = 0;
        for (auto& [to, isShared, known] : loading) {
            const std::string_view text = Visible(cursor->Utf8(++index));
            if (isShared) {
                const auto next = static_cast<std::uint32_t>(to->Begins.size());
                const auto [found, isNew] = known.try_emplace(std::string(text), next);
                to->TextOfRow.push_back(found->second);
                if (!isNew) continue;
            }
            if (to->Texts.size() + text.size() >= kMaxBytes) throw std::bad_alloc();
            to->Begins.push_back(static_cast<std::uint32_t>(to->Texts.size()));
            to->Texts.append(text).push_back('\0');
        }
    } while (cursor->Next());
    for (const Loading& column : loading) column.To->Texts.shrink_to_fit();
}

TPodcastsRowSet TPodcastsRowText::Search(SqliteReader& reader, const QString& text, const QStringList& columns) {
    QStringList missing;
    for (const QString& column : columns)
        if (!FColumns.contains(column) && !missing.contains(column)) missing += column;
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
    for (const QString& name : columns) {
        const Column& column = FColumns[name];
        std::vector<bool> matches(column.TextOfRow.empty() ? 0 : column.Begins.size());
        // Search all texts at once; no match extends across the zero between two texts.
        const char* at = column.Texts.data();
        const char* const end = at + column.Texts.size();
        while (const void* match = memmem(at, static_cast<std::size_t>(end - at), wanted.data(), wanted.size())) {
            const auto offset = static_cast<std::uint32_t>(static_cast<const char*>(match) - column.Texts.data());
            const auto next = std::upper_bound(column.Begins.begin(), column.Begins.end(), offset);
            const auto index = static_cast<std::size_t>(next - column.Begins.begin()) - 1;
            if (matches.empty())
                found[FRowIDs[index]] = true;
            else
                matches[index] = true;
            if (next == column.Begins.end()) break;
            at = column.Texts.data() + *next;
        }
        const bool hasMatch = std::find(matches.begin(), matches.end(), true) != matches.end();
        for (std::size_t row = 0; hasMatch && row < FRowIDs.size(); ++row)
            if (matches[column.TextOfRow[row]]) found[FRowIDs[row]] = true;
    }
    return found;
}

}  // namespace podcasts
