#pragma once
// A storage that has nothing to do with podcasts: internet radio. Its stations are played by their web addresses, and
// its fields have names of their own.

#include "HostFixture.h"
#include "StorageParts.h"

namespace tests {

struct Station {
    QString Name, Genre, Address;
    int Kilobits;
};

/// The tree has a node of all stations, and below it a node for each genre.
class Radio final : public RowStorage<Station, IVEXAExtensionFileInfoProvider> {
public:
    /// `title` is the role of the stations' names.
    Radio(std::vector<Station> stations, IVEXAMLDataField::Roles title)
        : RowStorage("Tests.Radio", "Radio", std::move(stations)), FTitle(title) {}

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
    HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept override {
        for (const Station& station : Rows)
            if (station.Address == host::ToQString(file))
                return info->SetValueAsObject(IVEXAFileInfo::Title, host::MakeString(station.Name).Get());
        return E_FAIL;
    }

private:
    QString Value(const Station& station, const QString& field) const override {
        if (field == u"Station") return station.Name;
        if (field == u"Genre") return station.Genre;
        return field == u"Stream" ? station.Address : QString::number(station.Kilobits);
    }
    bool Meets(const Station& station, const QString& field, const QString& value) const override {
        return field == u"Branch" ? value == u"all" || value == station.Genre : Value(station, field) == value;
    }
    bool Contains(const Station& station, const QString& search) const override {
        return station.Name.contains(search);
    }
    std::vector<host::TreeNode> NodesBelow(const QString& value) const override {
        using Node = IVEXAMLGroupingTreeDataProviderSelection;
        if (value.isEmpty())
            return {{"Stations", Node::HasChildren | Node::Standalone, Node::Folder, {"Branch", u"all"_s}}};
        std::vector<host::TreeNode> genres;
        for (const QString& genre : {u"Music"_s, u"Talk"_s})
            if (value == u"all") genres.push_back({genre, 0, Node::Source, {"Branch", genre}});
        return genres;
    }

    const IVEXAMLDataField::Roles FTitle;
};

}  // namespace tests
