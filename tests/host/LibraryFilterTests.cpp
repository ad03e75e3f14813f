// Filters, sort items and fields, as a storage reads them.

#include "FilterJson.h"
#include "Filters.h"
#include "HostFixture.h"
#include "ObjectList.h"
#include "Properties.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace vexa::host;

namespace {

template <class Interface>
Ref<Interface> Make(Host& host) {
    Ref<Interface> made;
    EXPECT_EQ(host.PluginCore().CreateObject(Interface::IID, made.PutVoid()), S_OK);
    return made;
}

/// The conditions of a filter, as a storage reads them.
std::string Words(IVEXAMLDataFilter& filter) {
    const QJsonObject json = FilterToJson(filter);
    return QJsonDocument(json["children"_L1].toArray()).toJson(QJsonDocument::Compact).toStdString();
}

}  // namespace

using LibraryFilters = HostTest;

TEST_F(LibraryFilters, AFilterHoldsConditionsArraysAndNestedGroups) {
    const auto filter = Make<IVEXAMLDataFilter>(Host);
    const Ref<IVEXAString> name = MakeString("State");
    const Variant one = ToVariant(std::int32_t{1}), real = ToVariant(2.5), text = ToVariant(u"it's"_s);
    ASSERT_EQ(filter->Add(name.Get(), &one, nullptr, IVEXAMLFieldFilter::Equals, nullptr), S_OK);
    Ref<IVEXAMLGroupFilter> group, inner;
    ASSERT_EQ(filter->AddGroup(group.Put()), S_OK);
    group->SetValueAsInt32(IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::NotAnd);
    Ref<IVEXAMLFieldFilter> between;
    ASSERT_EQ(group->Add(name.Get(), &one, &real, IVEXAMLFieldFilter::Between, between.Put()), S_OK);
    ASSERT_EQ(group->AddGroup(inner.Put()), S_OK);
    const Variant values[] = {one, text};
    ASSERT_EQ(inner->AddArray(name.Get(), values, 2, nullptr), S_OK);
    name->SetChars(u"Other", 5);
    text.Text->SetChars(u"other", 5);
    const std::string equals = R"({"field":"State","operation":0,"value":{"int32":1}})",
                      range = R"({"field":"State","operation":2,"value":{"int32":1},"value2":2.5})",
                      list = R"({"children":[{"field":"State","values":[{"int32":1},"it's"]}],"operation":0})";
    EXPECT_EQ(Words(*filter), "[" + equals + R"(,{"children":[)" + range + "," + list + R"(],"operation":3}])");

    EXPECT_EQ(group->Delete(2), E_INVALIDARG);
    EXPECT_EQ(group->Delete(-1), E_INVALIDARG);
    EXPECT_EQ(group->Delete(0), S_OK);
    EXPECT_EQ(TextOf(between.Get(), IVEXAMLFieldFilter::Value2), "2.5");  // a reference to it stays valid
    EXPECT_EQ(Words(*filter), "[" + equals + R"(,{"children":[)" + list + R"(],"operation":3}])");
    Ref<IVEXAMLFieldFilter> child;
    EXPECT_EQ(filter->GetChild(1, IVEXAMLFieldFilter::IID, child.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(filter->GetChild(2, IVEXAMLFieldFilter::IID, child.PutVoid()), E_INVALIDARG);
    EXPECT_EQ(filter->Clear(), S_OK);
    EXPECT_EQ(filter->GetChildCount(), 0);
    EXPECT_EQ(filter->Add(name.Get(), &one, nullptr, 10, nullptr), E_INVALIDARG);
    EXPECT_EQ(filter->GetChildCount(), 0);
}

TEST_F(LibraryFilters, AnArrayReturnsItsCountAndAsManyValuesAsFit) {
    const Ref<ArrayFieldFilter> array(new ArrayFieldFilter);
    std::vector<Variant> values;
    for (std::int32_t i = 0; i < 3; ++i) values.push_back(ToVariant(i));
    ASSERT_EQ(array->SetData(values.data(), 3), S_OK);
    const std::pair<std::int32_t, std::int32_t> rooms[] = {{5, 3}, {3, 3}, {2, 2}, {0, 0}, {-1, 0}};
    for (const auto& [room, filled] : rooms) {
        std::vector<Variant> out(5);
        std::int32_t count = room;
        EXPECT_EQ(array->GetData(out.data(), &count), S_OK);
        EXPECT_EQ(count, filled) << room;
        for (std::int32_t i = 0; i < 5; ++i)
            EXPECT_EQ(out[static_cast<std::size_t>(i)].Type, i < filled ? VariantType::Int32 : VariantType::Empty);
    }
    EXPECT_EQ(array->SetData(nullptr, 1), E_POINTER);
    EXPECT_EQ(array->SetData(nullptr, 0), S_OK);
    std::int32_t count = -1;
    EXPECT_EQ(array->GetData(nullptr, &count), S_OK);
    EXPECT_EQ(count, 0);
}

TEST_F(LibraryFilters, AnInvalidOrderIsRefusedAndResetForgetsEverything) {
    const auto filter = Make<IVEXAMLDataFilter>(Host);
    const Ref<SortItem> item(new SortItem(u"Title"_s, IVEXAMLSortDirection::Descending));
    EXPECT_EQ(item->SetValue(0), E_INVALIDARG);
    const Ref<IVEXAObjectList> order(new ObjectList);
    order->Add(Ref<IVEXAString>(item).Get());
    EXPECT_EQ(filter->SetValueAsObject(IVEXAMLDataFilter::SortList, order.Get()), S_OK);
    EXPECT_EQ(filter->SetValueAsObject(IVEXAMLDataFilter::SortList, MakeString("Title").Get()), E_INVALIDARG);
    EXPECT_EQ(filter->SetValueAsObject(IVEXAMLDataFilter::SortList, filter.Get()), E_INVALIDARG);
    Ref<IVEXAObjectList> read;
    ASSERT_EQ(filter->GetValueAsObject(IVEXAMLDataFilter::SortList, IVEXAObjectList::IID, read.PutVoid()), S_OK);
    EXPECT_EQ(read.Get(), order.Get());
    filter->SetValueAsObject(IVEXAMLDataFilter::SearchText, MakeString("news").Get());
    filter->AddArray(MakeString("Title").Get(), nullptr, 0, nullptr);

    EXPECT_EQ(filter->Reset(), S_OK);
    EXPECT_EQ(filter->GetChildCount(), 0);
    EXPECT_EQ(TextOf(filter.Get(), IVEXAMLDataFilter::SearchText), "");
    EXPECT_EQ(filter->GetValueAsObject(IVEXAMLDataFilter::SortList, IVEXAObjectList::IID, read.PutVoid()),
              E_INVALIDARG);
}
