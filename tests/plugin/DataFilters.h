#pragma once
// A host that makes filters, and short functions to fill them.

#include "Filters.h"
#include "Host.h"
#include "TempFolder.h"
#include "Texts.h"
#include "apiWrappers.h"

#include <gtest/gtest.h>

namespace podcasts {

class FilterHost : public testing::Test {
public:
    void Add(vexa::IVEXAMLGroupFilter& group, const QString& field, const QString& value, int operation = 0,
             const QString& value2 = {}) {
        const auto first = vexa::ToVariant(value), second = vexa::ToVariant(value2);
        vexa::RaiseIfFailed(group.Add(vexa::ToHostString(field).Get(), &first, &second, operation, nullptr));
    }
    void AddArray(vexa::IVEXAMLGroupFilter& group, const QString& field, const std::vector<QString>& values) {
        std::vector<vexa::Variant> variants;
        for (const QString& value : values) variants.push_back(vexa::ToVariant(value));
        vexa::RaiseIfFailed(
            group.AddArray(vexa::ToHostString(field).Get(), variants.data(), int(variants.size()), nullptr));
    }
    void SortBy(vexa::IVEXAMLDataFilter& filter, const std::vector<std::pair<QString, int>>& order) {
        const auto list = vexa::CreateHostObject<vexa::IVEXAObjectList>();
        for (const auto& [field, direction] : order) {
            const vexa::Ref<vexa::IVEXAString> item(
                new vexa::host::SortItem(field, vexa::IVEXAMLSortDirection::Direction(direction)));
            list->Add(item.Get());
        }
        vexa::WritePropertyObject(&filter, vexa::IVEXAMLDataFilter::SortList, list.Get());
    }
    vexa::Ref<vexa::IVEXAObjectList> List(const QStringList& names) {
        const auto list = vexa::CreateHostObject<vexa::IVEXAObjectList>();
        for (const QString& name : names) list->Add(vexa::ToHostString(name).Get());
        return list;
    }

protected:
    FilterHost() { vexa::TVEXAAPIWrappers::Initialize(&FHost.PluginCore()); }
    ~FilterHost() override { vexa::TVEXAAPIWrappers::Finalize(); }

private:
    tests::TempFolder FProfile;
    vexa::host::Host FHost{{FProfile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}}};
};

}  // namespace podcasts
