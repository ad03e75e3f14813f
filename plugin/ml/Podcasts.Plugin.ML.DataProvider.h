#pragma once
// The podcasts as a table of the host's music library: its fields, and the SQL statements for the host's requests.

#include "apiWrappers.SQL.h"

#include <QString>

#include <cstdint>

namespace podcasts {

/// What a node of the grouping tree stands for.
enum TVEXAPodcastsMLDataStorageCategory : std::uint8_t {
    pscRoot = 0,
    pscSubscriptions = 1,
    pscCategory = 2,  // value: the category's name
    pscState = 3,     // value: the state's number
    pscFeed = 4,      // value: the feed's address
};

/// The field in the conditions of a selected node; rows have no value for it.
inline const QString kNodeField = QStringLiteral("Node");

/// The tables of episodes and feeds, with the condition that joins them.
inline const QString kFromEpisodesAndFeeds =
    QStringLiteral(" FROM PodcastEpisodes, PodcastFeeds WHERE (PodcastEpisodes.FeedID = PodcastFeeds.FeedID)");

/// The value of the field "Node": the category as two hexadecimal digits, then the node's value.
class TVEXAPodcastsGroupingTreeValue {
public:
    TVEXAPodcastsGroupingTreeValue() = delete;
    static QString Encode(std::uint8_t category, const QString& value);
    /// A text that is too short or does not begin with two hexadecimal digits is the root.
    static void Decode(const QString& text, std::uint8_t& category, QString& value);
};

/// Shows a listening state by its name.
class TVEXAPodcastsStateFieldDisplayValue
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAMLDataFieldDisplayValue> {
public:
    const char16_t* GetDisplayValue(const vexa::Variant* value, std::int32_t* length) noexcept override;

private:
    QString FText;  // the text returned last, which must stay valid
};

class TVEXAPodcastsMLDataStorage {
public:
    TVEXAPodcastsMLDataStorage() = delete;
    /// The fields, or the names of fields, for a LibrarySchema; an empty list for an unknown one. Throws
    /// vexa::EHostError.
    static vexa::Ref<vexa::IVEXAObjectList> BuildFieldList(std::int32_t schema);
};

/// Turns requests for episodes into statements.
class TVEXAPodcastsMLDataProviderTableQueryBuilder : public vexa::TVEXAMLSQLAdapter {
public:
    TVEXAPodcastsMLDataProviderTableQueryBuilder() : TVEXAMLSQLAdapter(InitializeFieldMap) {}

    /// Throws as TVEXAMLSQLAdapter::Build does.
    static QString BuildQuery(vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter);
    /// Appends the statement up to its first condition, which joins an episode with its feed.
    void AddSelect(vexa::IVEXAObjectList* fields);

protected:
    bool IsFieldExcludedFromSearch(const QString& field) const override;
    static void InitializeFieldMap(FieldMap& map);
    void AddComparison(const QString& field, const QString& value, std::int32_t operation) override;
    /// Appends the condition that a node stands for.
    virtual void AddNodeCondition(std::uint8_t category, const QString& value);
};

}  // namespace podcasts
