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

/// The tree has a node of all stations, and below it a node for each genre. One genre has options.
class Radio final : public RowStorage<Station, IVEXAExtensionFileInfoProvider, IVEXAMLNodeOptions, IVEXAMLFinder> {
public:
    /// `title` is the role of the stations' names.
    Radio(std::vector<Station> stations, IVEXAMLDataField::Roles title)
        : RowStorage("Tests.Radio", "Radio", std::move(stations)), FTitle(title) {}

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (iid == IVEXAMLFinder::IID && !OffersSearch) return *object = nullptr, E_NOINTERFACE;
        return PropertyList::QueryInterface(iid, object);
    }
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
            if (station.Address == host::ToQString(file)) {
                info->SetValueAsObject(IVEXAFileInfo::Album, host::MakeString(station.Genre).Get());
                return info->SetValueAsObject(IVEXAFileInfo::Title, host::MakeString(station.Name).Get());
            }
        return E_FAIL;
    }
    HResult GetOptions(IVEXAString*, const Variant* value, IVEXAObjectList** options) noexcept override {
        *options = nullptr;
        if (host::ToText(host::FromVariant(*value)) != Genre) return E_FAIL;
        const Ref<IVEXAObjectList> list(new host::ObjectList);
        for (const auto& [id, kind, number] : {std::tuple("check", IVEXAMLOption::Check, 1),
                                               {"number", IVEXAMLOption::Number, 3},
                                               {"choice", IVEXAMLOption::Choice, 2},
                                               {"unknown", IVEXAMLOption::Kinds(77), 1}}) {
            const Ref<IVEXAMLOption> option(new host::PropertyList<IVEXAMLOption>);
            option->SetValueAsObject(IVEXAMLOption::ID, host::MakeString(id).Get());
            option->SetValueAsObject(IVEXAMLOption::Caption, host::MakeString(QString(id).prepend("the ")).Get());
            option->SetValueAsInt32(IVEXAMLOption::Kind, kind);
            option->SetValueAsInt32(IVEXAMLOption::Value, number);
            option->SetValueAsObject(IVEXAMLOption::Choices, host::MakeString("as usual|A|B").Get());
            option->SetValueAsObject(IVEXAMLOption::General, host::MakeString("B").Get());
            option->SetValueAsInt32(IVEXAMLOption::Most, 9);
            list->Add(option.Get());
        }
        *options = Ref(list).Detach();
        return S_OK;
    }
    HResult SetOption(IVEXAString* field, const Variant* value, IVEXAString* id, const Variant* to) noexcept override {
        using host::ToText, host::FromVariant, host::ToQString;
        Set += ToQString(field) + u' ' + ToText(FromVariant(*value)) + u' ' + ToQString(id) + u'=' +
               ToText(FromVariant(*to));
        return S_OK;
    }
    HResult GetPresentNode(IVEXAString* field, Variant* value) noexcept override {
        const QString text = host::ToText(host::FromVariant(*value));
        if (host::ToQString(field) == u"Branch") {
            if (text == Genre) return S_FALSE;
            if (text != FormerGenre) return E_FAIL;
        } else if (std::ranges::none_of(Rows, [&](const Station& station) { return station.Address == text; })) {
            return E_FAIL;
        }
        field->SetChars(u"Branch", 6);
        *value = host::ToVariant(host::PropertyValue(Genre));
        return S_OK;
    }

    HResult GetSources(IVEXAObjectList** sources) noexcept override { return *sources = nullptr, E_NOTIMPL; }
    HResult Find(IVEXAString*, std::int32_t, IVEXAMLFinderEvents*, std::int64_t*) noexcept override {
        return E_NOTIMPL;
    }
    HResult CancelSearch(std::int64_t) noexcept override { return S_FALSE; }
    HResult ShowSearchWindow(WindowHandle, IVEXAString* text) noexcept override {
        Windows += host::ToQString(text);
        return S_OK;
    }

    QString Genre = u"Music"_s, FormerGenre = u"Tunes"_s;  // the names of the genre that has options
    QStringList Set;                                       // the options that were set
    bool OffersSearch = false;
    QStringList Windows;  // the texts with which the search window was shown

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
