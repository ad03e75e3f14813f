#pragma once
// The tree beside the table: new and postponed episodes by feed, and all subscriptions.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.ML.DataProvider.h"

#include <map>
#include <memory>
#include <vector>

namespace podcasts {

/// One node, as it is returned to the host.
struct TVEXAPodcastsMLDataProviderGroupingTreeNode {
    QString DisplayValue;  // the caption
    bool HasChildren = false;
    std::int32_t ImageIndex = 0;
    bool Standalone = false;
    QString Value;  // of the field "Node"
};

/// Nodes in the order in which the host shows them.
using TVEXAPodcastsMLDataProviderGroupingTreeData = std::vector<TVEXAPodcastsMLDataProviderGroupingTreeNode>;

/// A cursor over nodes. One thread at a time.
class TVEXAPodcastsMLDataProviderGroupingTreeSelection
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAMLGroupingTreeDataProviderSelection> {
public:
    /// Throws std::invalid_argument "No data to process" without a node.
    explicit TVEXAPodcastsMLDataProviderGroupingTreeSelection(
        std::unique_ptr<TVEXAPodcastsMLDataProviderGroupingTreeData> data);

    vexa::HResult GetDisplayValue(vexa::IVEXAString** text) noexcept override;
    std::uint32_t GetFlags() noexcept override;
    vexa::HResult GetImageIndex(std::int32_t* index) noexcept override;
    vexa::HResult GetValue(vexa::IVEXAString** field, vexa::Variant* value) noexcept override;
    vexa::Bool32 NextRow() noexcept override;

private:
    const TVEXAPodcastsMLDataProviderGroupingTreeNode& Node() const { return (*FData)[FIndex]; }

    std::unique_ptr<TVEXAPodcastsMLDataProviderGroupingTreeData> FData;
    vexa::Ref<vexa::IVEXAString> FFieldName;
    std::size_t FIndex = 0;
};

/// A path in the tree: pairs of field and value.
class TVEXAPodcastsMLGroupingTreeSelection
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAMLGroupingTreeSelection> {
public:
    void Add(const QString& field, const vexa::Variant& value);
    /// The path to a feed under "Subscriptions".
    static vexa::Ref<TVEXAPodcastsMLGroupingTreeSelection> ForFeed(const TPodcastFeed& feed);

    std::int32_t GetCount() noexcept override;
    vexa::HResult GetValue(std::int32_t index, vexa::IVEXAString** field, vexa::Variant* value) noexcept override;

private:
    struct Pair {
        vexa::Ref<vexa::IVEXAString> Field;
        vexa::Variant Value;
    };
    std::vector<Pair> FPairs;
};

/// Builds the nodes from the database at every request. Any thread. The host may keep the object longer than the
/// plug-in keeps its client; its operations then fail.
class TVEXAPodcastsMLDataProviderGroupingTree
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAMLGroupingTreeDataProvider> {
public:
    /// `db` is the database of the registered client, which owns it.
    explicit TVEXAPodcastsMLDataProviderGroupingTree(TPodcastsDB& db);

    vexa::HResult AddSelectionConditions(vexa::IVEXAMLDataFilter* filter,
                                         vexa::IVEXAMLGroupingTreeSelection* selection) noexcept override;
    std::uint32_t GetCapabilities() noexcept override;
    vexa::HResult ListChildren(vexa::IVEXAMLGroupingTreeSelection* selection,
                               vexa::IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept override;
    vexa::HResult GetFieldForAlphabeticIndex(vexa::IVEXAString** field) noexcept override;

private:
    using Data = std::unique_ptr<TVEXAPodcastsMLDataProviderGroupingTreeData>;
    using TPopulateDataProc = Data (TVEXAPodcastsMLDataProviderGroupingTree::*)(const QString& value);

    Data PopulateRoot(const QString& value);
    Data PopulateFeedsInCategory(const QString& value);
    Data PopulateFeedsWithState(const QString& value);

    std::map<std::uint8_t, TPopulateDataProc> FProcedures;  // by category
    TPodcastsDB* FDB;
};

}  // namespace podcasts
