#pragma once
// The podcasts as a table of the host's music library: its fields, and the statement that a request of the host's is.

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

/// The field by which nodes become conditions; rows do not have it.
inline const QString kNodeField = QStringLiteral("Node");

/// What episodes and their feeds are read from, up to the condition that joins them.
inline const QString kFromEpisodesAndFeeds =
    QStringLiteral(" FROM PodcastEpisodes, PodcastFeeds WHERE (PodcastEpisodes.FeedID = PodcastFeeds.FeedID)");

/// The value of the field "Node": the category as two hexadecimal digits, then the node's value.
class TVEXAPodcastsGroupingTreeValue {
public:
    TVEXAPodcastsGroupingTreeValue() = delete;
    static QString Encode(std::uint8_t category, const QString& value);
    /// A text shorter than two characters, or that begins with other characters, is the root.
    static void Decode(const QString& text, std::uint8_t& category, QString& value);
};

/// Shows a listening state by its name.
class TVEXAPodcastsStateFieldDisplayValue
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAMLDataFieldDisplayValue> {
public:
    const char16_t* GetDisplayValue(const vexa::Variant* value, std::int32_t* length) noexcept override;

private:
    QString FText;  // keeps alive what was handed out last
};

class TVEXAPodcastsMLDataStorage {
public:
    TVEXAPodcastsMLDataStorage() = delete;
    /// The fields, or names of fields, that the storage has for a LibrarySchema; an empty list for an unknown one.
    /// Throws vexa::EHostError.
    static vexa::Ref<vexa::IVEXAObjectList> BuildFieldList(std::int32_t schema);
};

/// Turns requests for episodes into statements.
class TVEXAPodcastsMLDataProviderTableQueryBuilder : public vexa::TVEXAMLSQLAdapter {
public:
    TVEXAPodcastsMLDataProviderTableQueryBuilder() : TVEXAMLSQLAdapter(InitializeFieldMap) {}

    /// Throws as TVEXAMLSQLAdapter::Build does.
    static QString BuildQuery(vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter);
    /// Appends the statement up to its first condition, the one that joins an episode with its feed.
    void AddSelect(vexa::IVEXAObjectList* fields);

protected:
    bool IsFieldExcludedFromSearch(const QString& field) const override;
    static void InitializeFieldMap(FieldMap& map);
    void AddComparison(const QString& field, const QString& value, std::int32_t operation) override;
    /// Writes the condition that a node means.
    virtual void AddNodeCondition(std::uint8_t category, const QString& value);
};

}  // namespace podcasts
