#include "NodeInfo.h"

#include "Properties.h"
#include "PropertyList.h"
#include "Strings.h"

namespace vexa::host {

namespace {

class InfoList final : public PropertyList<IVEXAPropertyList2> {};

}  // namespace

std::optional<NodeInfo> ReadNodeInfo(IVEXAMLNodeInfo& storage, const TreePair& node) {
    using Property = IVEXAMLNodeInfo::Property;
    const Ref<InfoList> list(new InfoList);
    const Variant value = ToVariant(node.Value);
    if (Failed(storage.GetInfo(MakeString(node.Field).Get(), &value, list.Get()))) return std::nullopt;
    NodeInfo info{.Title = TextOf(list.Get(), Property::Title),
                  .Author = TextOf(list.Get(), Property::Author),
                  .Description = TextOf(list.Get(), Property::Description),
                  .WebAddress = TextOf(list.Get(), Property::WebAddress)};
    list->GetValueAsInt64(Property::RowCount, &info.Rows);
    list->GetValueAsInt64(Property::UntouchedCount, &info.Untouched);
    list->GetValueAsFloat(Property::Newest, &info.Newest);
    return info;
}

}  // namespace vexa::host
