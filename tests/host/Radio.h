#pragma once
// A storage that has nothing to do with podcasts: internet radio. Its stations are played by their web addresses, and
// its fields have names of their own.

#include "FilterJson.h"
#include "HostFixture.h"
#include "StorageParts.h"

#include <QJsonArray>

#include <algorithm>

namespace tests {

struct Station {
    QString Name, Genre, Address;
    int Kilobits;
};

/// A node of all stations, and below it a node for each genre.
class RadioTree final : public RefCountedObject<IVEXAMLGroupingTreeDataProvider> {
public:
    explicit RadioTree(QStringList genres) : FGenres(std::move(genres)) {}

    HResult AddSelectionConditions(IVEXAMLDataFilter* filter, IVEXAMLGroupingTreeSelection* path) noexcept override {
        for (const host::TreePair& pair : host::ReadSelection(path)) {
            const Variant value = host::ToVariant(pair.Value);
            if (pair.Value != host::PropertyValue(QString()))
                filter->Add(host::MakeString("Genre").Get(), &value, nullptr, IVEXAMLFieldFilter::Equals, nullptr);
        }
        return S_OK;
    }
    std::uint32_t GetCapabilities() noexcept override { return HideAllData; }
    HResult ListChildren(IVEXAMLGroupingTreeSelection* parent,
                         IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept override {
        using Cursor = IVEXAMLGroupingTreeDataProviderSelection;
        std::vector<host::TreeNode> list;
        if (parent->GetCount() == 0)
            list = {{"Stations", Cursor::HasChildren | Cursor::Standalone, Cursor::Folder, {"Branch", QString()}}};
        else if (host::ReadSelection(parent)[0].Value == host::PropertyValue(QString()))
            for (const QString& genre : FGenres) list.push_back({genre, 0, Cursor::Source, {"Branch", genre}});
        *nodes = list.empty() ? nullptr : Ref<FixedNodes>(new FixedNodes(list)).Detach();
        return list.empty() ? E_FAIL : S_OK;
    }
    HResult GetFieldForAlphabeticIndex(IVEXAString**) noexcept override { return E_NOTIMPL; }

private:
    const QStringList FGenres;
};

class Radio final : public host::PropertyList<IVEXAPropertyList2, IVEXAMLExtensionDataStorage, IVEXAMLDataProvider,
                                              IVEXAExtensionFileInfoProvider> {
public:
    /// `title` is the role of the stations' names.
    Radio(std::vector<Station> stations, IVEXAMLDataField::Roles title)
        : FStations(std::move(stations)), FTitle(title) {
        SetValueAsObject(IVEXAMLExtensionDataStorage::ID, host::MakeString("Tests.Radio").Get());
        SetValueAsObject(IVEXAMLExtensionDataStorage::Caption, host::MakeString("Radio").Get());
        SetValueAsInt32(IVEXAMLExtensionDataStorage::Capabilities, Filtering | Grouping | Searching);
    }
    IUnknown* Identity() { return static_cast<IVEXAPropertyList2*>(this); }

    void Finalize() noexcept override {}
    void Initialize(IVEXAMLDataStorageManager*) noexcept override {}
    HResult LoadConfig(IUnknown*) noexcept override { return S_OK; }
    HResult SaveConfig(IUnknown*) noexcept override { return S_OK; }
    void FlushCache() noexcept override {}
    HResult GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept override {
        using Field = IVEXAMLDataField;
        const Ref<IVEXAObjectList> list(new host::ObjectList);
        if (schema == kSchemaAllFields) {
            list->Add(MakeField("Station", Field::Text, Field::Readable | Field::Filterable, FTitle).Get());
            list->Add(MakeField("Genre", Field::Text, Field::Readable | Field::Filterable).Get());
            list->Add(MakeField("Kilobits", Field::Text, Field::Readable).Get());
            list->Add(MakeField("Stream", Field::FileName, Field::Readable | Field::Internal).Get());
        }
        *fields = Ref(list).Detach();
        return S_OK;
    }
    HResult GetGroupingPresets(std::int32_t schema, IVEXAMLGroupingPresets* presets) noexcept override {
        if (schema != kSchemaTree) return S_OK;
        QStringList genres;
        for (const Station& station : FStations)
            if (!genres.contains(station.Genre)) genres += station.Genre;
        const Ref<RadioTree> tree(new RadioTree(genres));
        return presets->Add(host::MakeString("Genres").Get(), nullptr, 0, tree.Get());
    }
    HResult GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept override {
        const QJsonObject asked = host::FilterToJson(*filter);
        std::vector<Station> found = FStations;
        for (const QJsonValue condition : asked["children"_L1].toArray())
            std::erase_if(found, [&](const Station& station) {
                return Value(station, condition["field"_L1].toString()) != condition["value"_L1].toString();
            });
        const QString search = asked["search"_L1].toString();
        std::erase_if(found, [&](const Station& station) { return !station.Name.contains(search); });
        if (const QJsonArray sort = asked["sort"_L1].toArray(); !sort.isEmpty())
            std::stable_sort(found.begin(), found.end(), [&](const Station& a, const Station& b) {
                const QString field = sort[0]["field"_L1].toString();
                const bool isUpward = sort[0]["direction"_L1].toInt() == IVEXAMLSortDirection::Ascending;
                return isUpward ? Value(a, field) < Value(b, field) : Value(b, field) < Value(a, field);
            });
        std::vector<QStringList> rows;
        for (auto i = static_cast<std::size_t>(asked["offset"_L1].toInt()); i < found.size(); ++i) {
            QStringList row;
            for (const QString& name : host::ToQStringList(fields)) row += Value(found[i], name);
            rows.push_back(row);
        }
        *data =
            rows.empty() ? Ref<IUnknown>(new host::ObjectList).Detach() : Ref<IUnknown>(new TextRows(rows)).Detach();
        return S_OK;
    }
    HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept override {
        for (const Station& station : FStations)
            if (station.Address == host::ToQString(file))
                return info->SetValueAsObject(IVEXAFileInfo::Title, host::MakeString(station.Name).Get());
        return E_FAIL;
    }

private:
    static QString Value(const Station& station, const QString& field) {
        if (field == u"Station") return station.Name;
        if (field == u"Genre") return station.Genre;
        return field == u"Stream" ? station.Address : QString::number(station.Kilobits);
    }

    const std::vector<Station> FStations;
    const IVEXAMLDataField::Roles FTitle;
};

}  // namespace tests
