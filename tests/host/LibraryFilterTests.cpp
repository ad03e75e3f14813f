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

QJsonObject Json(const QByteArray& text) {
    return QJsonDocument::fromJson(text).object();
}

std::string Words(const QJsonObject& json) {
    return QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

}  // namespace

TEST(LibraryFilters, ConditionsArraysAndNestedGroupsAreWrittenReadAndDeleted) {
    QJsonObject json =
        Json(R"({"operation":1,"limit":5,"offset":2,"search":"x","sort":[{"direction":2,"field":"Title"}],"children":[)"
             R"({"field":"a","operation":2,"value":{"int32":-1},"value2":{"int64":"9007199254740993"}},)"
             R"({"field":"b","values":["x",1.5,null,{"int32":0}]},)"
             R"({"operation":3,"children":[{"field":"c","operation":7,"value":"t"},{"operation":0,"children":[]}]}]})");
    const Ref<IVEXAMLDataFilter> filter(new DataFilter);
    ASSERT_TRUE(AddJsonToFilter(json, *filter));
    EXPECT_EQ(Words(FilterToJson(*filter)), Words(json));
    EXPECT_EQ(FieldsOfFilter(json), QStringList({"a", "b", "c"}));

    Ref<IVEXAMLFieldFilter> child, other;
    ASSERT_EQ(filter->GetChild(0, IVEXAMLFieldFilter::IID, child.PutVoid()), S_OK);
    EXPECT_EQ(filter->GetChild(2, IVEXAMLFieldFilter::IID, other.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(filter->GetChild(3, IVEXAMLFieldFilter::IID, other.PutVoid()), E_INVALIDARG);
    for (const int wrong : {-1, 3}) EXPECT_EQ(filter->Delete(wrong), E_INVALIDARG);
    EXPECT_EQ(filter->Delete(0), S_OK);
    EXPECT_EQ(TextOf(child.Get(), IVEXAMLFieldFilter::Value1), "-1") << "a reference to it stays valid";
    QJsonArray left = json["children"_L1].toArray();
    left.removeFirst();
    json["children"_L1] = left;
    EXPECT_EQ(Words(FilterToJson(*filter)), Words(json));
    EXPECT_EQ(filter->Clear(), S_OK);
    EXPECT_EQ(filter->GetChildCount(), 0);
}

TEST(LibraryFilters, AConditionIsACopyAndAnInvalidOneIsRefused) {
    const Ref<IVEXAMLDataFilter> filter(new DataFilter);
    const Ref<IVEXAString> name = MakeString("State");
    const Variant text = ToVariant(u"it's"_s);
    EXPECT_EQ(filter->Add(name.Get(), &text, nullptr, 10, nullptr), E_INVALIDARG);
    ASSERT_EQ(filter->Add(name.Get(), &text, nullptr, IVEXAMLFieldFilter::Equals, nullptr), S_OK);
    ASSERT_EQ(filter->AddArray(name.Get(), &text, 1, nullptr), S_OK);
    name->SetChars(u"Other", 5);
    text.Text->SetChars(u"other", 5);
    EXPECT_EQ(Words(FilterToJson(*filter)),
              R"({"children":[{"field":"State","operation":0,"value":"it's"},{"field":"State","values":["it's"]}],)"
              R"("operation":0})");
    for (const char* odd : {R"({"children":[7]})", R"({"children":[{"field":"a","operation":99}]})",
                            R"({"children":[{"field":"a","value":[]}]})", R"({"children":[{"field":"a","value":"x"}]})",
                            R"({"operation":8})"}) {
        const Ref<DataFilter> left(new DataFilter);
        EXPECT_FALSE(AddJsonToFilter(Json(odd), *left)) << odd;
        EXPECT_EQ(left->GetChildCount(), 0) << odd;
    }
}

TEST(LibraryFilters, AnArrayReturnsItsCountAndAsManyValuesAsFit) {
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

TEST(LibraryFilters, AnInvalidOrderIsRefusedAndResetForgetsEverything) {
    const Ref<IVEXAMLDataFilter> filter(new DataFilter);
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
