#include "Podcasts.Plugin.ML.DataProvider.Tree.h"

#include "Podcasts.Plugin.FileManager.h"

#include <limits>

namespace podcasts {

using namespace vexa;

namespace {

using NodeData = TVEXAPodcastsMLDataProviderGroupingTreeData;
using Cursor = IVEXAMLGroupingTreeDataProviderSelection;

/// Part 0 of the text is for a count of 0, part 1 for other counts.
QString StateCaption(const QString& key, int count) {
    const QString text = LocalizedTextPart(key, count > 0 ? 1 : 0);
    return count > 0 ? FormatText(text, QString::number(count)) : text;
}

void AddStateGroup(NodeData& nodes, TPodcastEpisodeState state, const QString& key, int count,
                   Cursor::NodeImage image) {
    nodes.push_back({StateCaption(key, count), count > 0, image, true,
                     TVEXAPodcastsGroupingTreeValue::Encode(pscState, QString::number(state))});
}

}  // namespace

// ---- The cursor over nodes ----

TVEXAPodcastsMLDataProviderGroupingTreeSelection::TVEXAPodcastsMLDataProviderGroupingTreeSelection(
    std::unique_ptr<NodeData> data)
    : FData(std::move(data)) {
    if (!FData || FData->empty()) throw std::invalid_argument("No data to process");
    FFieldName = ToHostString(kNodeField);
}

HResult TVEXAPodcastsMLDataProviderGroupingTreeSelection::GetDisplayValue(IVEXAString** text) noexcept {
    if (!ClearOut(text)) return E_POINTER;
    return GuardedCall("reading a node", [&] { *text = ToHostString(Node().DisplayValue).Detach(); });
}

std::uint32_t TVEXAPodcastsMLDataProviderGroupingTreeSelection::GetFlags() noexcept {
    return (Node().HasChildren ? HasChildren : 0u) + (Node().Standalone ? Standalone : 0u);
}

HResult TVEXAPodcastsMLDataProviderGroupingTreeSelection::GetImageIndex(std::int32_t* index) noexcept {
    if (!AreGiven(index)) return E_POINTER;
    *index = Node().ImageIndex;
    return S_OK;
}

HResult TVEXAPodcastsMLDataProviderGroupingTreeSelection::GetValue(IVEXAString** field, Variant* value) noexcept {
    if (!ClearOut(field) || !AreGiven(value)) return E_POINTER;
    return GuardedCall("reading a node", [&] {
        *value = ToVariant(Node().Value);
        *field = Ref(FFieldName).Detach();
    });
}

Bool32 TVEXAPodcastsMLDataProviderGroupingTreeSelection::NextRow() noexcept {
    if (FIndex + 1 >= FData->size()) return kFalse;
    ++FIndex;
    return kTrue;
}

// ---- The path in the tree ----

void TVEXAPodcastsMLGroupingTreeSelection::Add(const QString& field, const Variant& value) {
    FPairs.push_back({ToHostString(field), value});
}

Ref<TVEXAPodcastsMLGroupingTreeSelection> TVEXAPodcastsMLGroupingTreeSelection::ForFeed(const TPodcastFeed& feed) {
    using Value = TVEXAPodcastsGroupingTreeValue;
    auto selection = NewObject<TVEXAPodcastsMLGroupingTreeSelection>();
    selection->Add(kNodeField, ToVariant(Value::Encode(pscSubscriptions, {})));
    selection->Add(kNodeField, ToVariant(Value::Encode(pscFeed, feed.Fields[pffURLFeed])));
    return selection;
}

std::int32_t TVEXAPodcastsMLGroupingTreeSelection::GetCount() noexcept {
    return static_cast<std::int32_t>(FPairs.size());
}

HResult TVEXAPodcastsMLGroupingTreeSelection::GetValue(std::int32_t index, IVEXAString** field,
                                                       Variant* value) noexcept {
    if (!ClearOut(field) || !AreGiven(value)) return E_POINTER;
    *value = {};
    if (index < 0 || index >= GetCount()) return E_INVALIDARG;
    const Pair& pair = FPairs[static_cast<std::size_t>(index)];
    *value = pair.Value;
    *field = Ref(pair.Field).Detach();
    return S_OK;
}

// ---- The tree ----

TVEXAPodcastsMLDataProviderGroupingTree::TVEXAPodcastsMLDataProviderGroupingTree(TPodcastsDB& db)
    : FProcedures{{pscRoot, &TVEXAPodcastsMLDataProviderGroupingTree::PopulateRoot},
                  {pscSubscriptions, &TVEXAPodcastsMLDataProviderGroupingTree::PopulateFeedsInCategory},
                  {pscState, &TVEXAPodcastsMLDataProviderGroupingTree::PopulateFeedsWithState}},
      FDB(&db) {}

HResult TVEXAPodcastsMLDataProviderGroupingTree::AddSelectionConditions(
    IVEXAMLDataFilter* filter, IVEXAMLGroupingTreeSelection* selection) noexcept {
    if (!AreGiven(filter, selection)) return E_POINTER;
    return GuardedCall("adding a node's conditions", [&] {
        struct Update {
            IVEXAMLDataFilter* Filter;
            explicit Update(IVEXAMLDataFilter* target) : Filter(target) { Filter->BeginUpdate(); }
            ~Update() { Filter->EndUpdate(); }
        } const update(filter);
        WritePropertyInt32(filter, IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::And);
        const std::int32_t count = selection->GetCount();
        for (std::int32_t i = 0; i < count; ++i) {
            Ref<IVEXAString> field;
            Variant value;
            if (Failed(selection->GetValue(i, field.Put(), &value))) continue;
            const Variant none{};
            RaiseIfFailed(filter->Add(field.Get(), &value, &none, IVEXAMLFieldFilter::Equals, nullptr));
        }
    });
}

std::uint32_t TVEXAPodcastsMLDataProviderGroupingTree::GetCapabilities() noexcept {
    return HideAllData | DontSort;
}

HResult TVEXAPodcastsMLDataProviderGroupingTree::ListChildren(
    IVEXAMLGroupingTreeSelection* selection, IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept {
    if (!ClearOut(nodes) || !AreGiven(selection)) return E_POINTER;
    const auto list = [&] {
        Ref<IVEXAString> field;
        Variant first;
        if (Failed(selection->GetValue(0, field.Put(), &first)))
            first = {};
        else if (FromHostString(field.Get()).compare(kNodeField, Qt::CaseInsensitive) != 0)
            return E_UNEXPECTED;
        std::uint8_t category = pscRoot;
        QString value;
        TVEXAPodcastsGroupingTreeValue::Decode(VariantToText(first), category, value);
        const auto procedure = FProcedures.find(category);
        const auto client = TPodcastsClientPass::Enter();
        if (procedure == FProcedures.end() || !client || &client->DB() != FDB) return E_FAIL;
        Data data = (this->*procedure->second)(value);
        if (data->empty()) return E_FAIL;  // a node without children: nothing to log
        *nodes = NewObject<TVEXAPodcastsMLDataProviderGroupingTreeSelection>(std::move(data)).Detach();
        return S_OK;
    };
    return GuardedCall("listing the nodes of the tree", list, E_FAIL);
}

HResult TVEXAPodcastsMLDataProviderGroupingTree::GetFieldForAlphabeticIndex(IVEXAString** field) noexcept {
    return ClearOut(field) ? E_NOTIMPL : E_POINTER;
}

auto TVEXAPodcastsMLDataProviderGroupingTree::PopulateRoot(const QString&) -> Data {
    auto nodes = std::make_unique<NodeData>();
    int newCount = 0, postponedCount = 0;
    if (FDB->GetEpisodeCounts(0, newCount, postponedCount)) {
        AddStateGroup(*nodes, pesNew, QStringLiteral("Podcasts\\New"), newCount, Cursor::New);
        AddStateGroup(*nodes, pesPostponed, QStringLiteral("Podcasts\\Postponed"), postponedCount, Cursor::Later);
    }
    nodes->push_back({LocalizedText(QStringLiteral("Podcasts\\Subscriptions")), true, Cursor::Folder, true,
                      TVEXAPodcastsGroupingTreeValue::Encode(pscSubscriptions, {})});
    return nodes;
}

auto TVEXAPodcastsMLDataProviderGroupingTree::PopulateFeedsInCategory(const QString& value) -> Data {
    auto nodes = std::make_unique<NodeData>();
    FDB->EnumFeeds(value, [&](const QString& urlFeed, const QString& name, int) {
        nodes->push_back({name, false, Cursor::Source, true, TVEXAPodcastsGroupingTreeValue::Encode(pscFeed, urlFeed)});
    });
    return nodes;
}

auto TVEXAPodcastsMLDataProviderGroupingTree::PopulateFeedsWithState(const QString& value) -> Data {
    auto nodes = std::make_unique<NodeData>();
    const int state = value.toInt();
    if (state < 0 || state > std::numeric_limits<std::uint8_t>::max()) return nodes;
    FDB->EnumFeedsWithState(
        static_cast<TPodcastEpisodeState>(state), [&](const QString& urlFeed, const QString& name, int count) {
            const QString caption = u'(' + QString::number(count) + u") " + name;
            nodes->push_back(
                {caption, false, Cursor::Source, false, TVEXAPodcastsGroupingTreeValue::Encode(pscFeed, urlFeed)});
        });
    return nodes;
}

}  // namespace podcasts
