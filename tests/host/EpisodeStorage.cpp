#include "EpisodeStorage.h"

#include <algorithm>

namespace tests {

using namespace host;

namespace {

QString TextOf(IVEXAPropertyList* object, std::int32_t id) {
    Ref<IVEXAString> text;
    object->GetValueAsObject(id, IVEXAString::IID, text.PutVoid());
    return ToQString(text.Get());
}

QString Value(const Episode& episode, const QString& field) {
    if (field == u"Title") return episode.Title;
    if (field == u"State") return QString::number(episode.State);
    if (field == u"Duration") return QString::number(episode.Duration);
    if (field == u"FileName") return "episode://" + episode.ID;
    if (field == u"Show") return episode.Show;
    return episode.ID;
}

bool Meets(const Episode& episode, const QString& field, const QString& value) {
    if (field != u"Node") return Value(episode, field) == value;
    if (value.startsWith(u"show ")) return episode.Show == value.mid(5);
    return value == u"shows" || value == QString(u"state " + QString::number(episode.State));
}

}  // namespace

HResult EpisodeStorage::GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept {
    const Ref<IVEXAObjectList> list(new ObjectList);
    if (schema == kSchemaTable)
        for (const QString& name : {u"Title"_s, u"Unlisted"_s, u"State"_s}) list->Add(MakeString(name).Get());
    if (schema == kSchemaPlaylistGroups && OffersFiles) list->Add(MakeString("Show").Get());
    const auto add = [&](auto... of) {
        const auto field = MakeField(of...);
        list->Add(field.Get());
        return field;
    };
    if (schema == kSchemaAllFields) {
        add("ID", IVEXAMLDataField::Text, 6);
        add("Title", IVEXAMLDataField::Text, 3, IVEXAMLDataField::Title);
        add("Duration", IVEXAMLDataField::Duration, 2, IVEXAMLDataField::Length);
        const Ref<StateWords> words(new StateWords);
        add("State", IVEXAMLDataField::Text, 3, IVEXAMLDataField::State)
            ->SetValueAsObject(IVEXAMLDataField::DisplayValue, words.Get());
        if (OffersFiles) {
            add("FileName", IVEXAMLDataField::FileName, 2);
            add("Show", IVEXAMLDataField::Text, 3, IVEXAMLDataField::Container);
        }
        add("Node", IVEXAMLDataField::Text, 6)->SetValueAsInt32(IVEXAMLDataField::GroupingImage, 3);
    }
    *fields = Ref(list).Detach();
    return S_OK;
}

std::optional<std::vector<Episode>> EpisodeStorage::Select(IVEXAMLDataFilter* filter, QStringList* conditions) {
    std::vector<Episode> found = Episodes;
    for (std::int32_t i = 0; i < filter->GetChildCount(); ++i) {
        Ref<IVEXAMLFieldFilter> child;
        if (Failed(filter->GetChild(i, IVEXAMLFieldFilter::IID, child.PutVoid()))) return {};
        const QString field = TextOf(child.Get(), IVEXAMLFieldFilter::Field);
        const QString value = TextOf(child.Get(), IVEXAMLFieldFilter::Value1);
        *conditions += QString(field + u'=' + value);
        std::erase_if(found, [&](const Episode& episode) { return !Meets(episode, field, value); });
    }
    return found;
}

HResult EpisodeStorage::GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept {
    *data = nullptr;
    QStringList names, conditions;
    for (std::int32_t i = 0; i < fields->GetCount(); ++i) {
        Ref<IVEXAString> name;
        fields->GetObject(i, IVEXAString::IID, name.PutVoid());
        names += ToQString(name.Get());
    }
    const auto selected = Select(filter, &conditions);
    if (!selected) return E_FAIL;
    std::vector<Episode> found = *selected;
    QStringList order;
    Ref<IVEXAObjectList> sort;
    filter->GetValueAsObject(IVEXAMLDataFilter::SortList, IVEXAObjectList::IID, sort.PutVoid());
    for (std::int32_t i = sort ? sort->GetCount() : 0; i-- > 0;) {
        Ref<IVEXAString> name;
        Ref<IVEXAMLSortDirection> direction;
        sort->GetObject(i, IVEXAString::IID, name.PutVoid());
        sort->GetObject(i, IVEXAMLSortDirection::IID, direction.PutVoid());
        const QString field = ToQString(name.Get());
        std::int32_t value = 0;
        direction->GetValue(&value);
        std::stable_sort(found.begin(), found.end(), [&](const Episode& a, const Episode& b) {
            return value == IVEXAMLSortDirection::Descending ? Value(b, field) < Value(a, field)
                                                             : Value(a, field) < Value(b, field);
        });
        order.prepend(QString(field + u':' + QString::number(value)));
    }
    std::int32_t offset = 0, limit = 0;
    filter->GetValueAsInt32(IVEXAMLDataFilter::Offset, &offset);
    filter->GetValueAsInt32(IVEXAMLDataFilter::Limit, &limit);
    {
        std::unique_lock lock(FMutex);
        FAsked += QStringList{names.join(u' '), conditions.join(u' '), order.join(u' '),
                              QString(QString::number(offset) + u',' + QString::number(limit))}
                      .join(u';');
        FChanged.notify_all();
        FChanged.wait(lock, [this] { return !FIsHolding; });
    }
    std::vector<QStringList> rows;
    for (std::size_t i = limit > 0 ? static_cast<std::size_t>(offset) : 0; i < found.size(); ++i) {
        if (limit > 0 && rows.size() == static_cast<std::size_t>(limit)) break;
        QStringList row;
        for (const QString& name : names) row += Value(found[i], name);
        rows.push_back(row);
    }
    Ref<IUnknown> result(new ObjectList);
    if (!rows.empty()) result = Ref<IUnknown>(new TextRows(rows));
    *data = result.Detach();
    return S_OK;
}

HResult EpisodeStorage::Find(IVEXAFileInfo* info, IVEXAMLDataFilter** filter,
                             IVEXAMLGroupingTreeSelection** selection) noexcept {
    *filter = nullptr;
    *selection = nullptr;
    const QString file = TextOf(info, IVEXAFileInfo::FileName);
    for (const Episode& episode : Episodes) {
        if (file != QString(u"episode://" + episode.ID)) continue;
        std::vector<TreePair> path{{"Node", u"shows"_s}, {"Node", QString(u"show " + episode.Show)}};
        *selection = Ref<IVEXAMLGroupingTreeSelection>(new TreeSelection(path)).Detach();
        return S_OK;
    }
    return E_NOINTERFACE;
}

HResult EpisodeStorage::GetRowCount(IVEXAObjectList*, IVEXAMLDataFilter* filter, std::int64_t* count) noexcept {
    QStringList conditions;
    const auto selected = Select(filter, &conditions);
    if (!selected) return E_FAIL;
    *count = static_cast<std::int64_t>(selected->size());
    return S_OK;
}

HResult EpisodeStorage::Subscribe(IVEXAObjectList* addresses, IVEXAMLSubscriptionEvents* events) noexcept {
    RunInMainThread(
        [addresses = Ref<IVEXAObjectList>(addresses), events = Ref<IVEXAMLSubscriptionEvents>(events)] {
            for (std::int32_t i = 0; i < addresses->GetCount(); ++i) {
                Ref<IVEXAString> address;
                addresses->GetObject(i, IVEXAString::IID, address.PutVoid());
                const QString text = ToQString(address.Get());
                const auto choices = Query<IVEXAMLSubscriptionChoices>(events.Get());
                if (choices && text.endsWith(u"several")) {
                    choices->OnChoices(address.Get(), MakeStringList({"http://x", "http://y"}).Get(),
                                       MakeStringList({"X", ""}).Get());
                    continue;
                }
                const HResult result = !text.startsWith(u"http") ? E_INVALIDARG
                                       : text.endsWith(u"known") ? E_ABORT
                                                                 : S_OK;
                events->OnSubscribed(address.Get(), result, MakeString("said").Get());
            }
            events->OnCompleted();
        },
        false);
    return S_OK;
}

HResult EpisodeStorage::ImportOPML(IVEXAString* fileName, IVEXAMLSubscriptionEvents* events,
                                   IVEXAErrorInfo* error) noexcept {
    if (!ToQString(fileName).endsWith(u"/empty.opml")) {
        SetError(error, E_FAIL, "no such file");
        return E_FAIL;
    }
    events->OnCompleted();  // nothing to fetch, so it completes before this returns
    return S_OK;
}

HResult EpisodeStorage::ExportOPML(IVEXAString*, IVEXAErrorInfo*) noexcept {
    return E_FAIL;
}

HResult EpisodeStorage::GetOutcomes(std::int32_t taskID, std::int32_t, IVEXAObjectList** outcomes) noexcept {
    const Ref<IVEXAObjectList> list(new ObjectList);
    const Ref<IVEXAMLTaskOutcome> outcome(new PropertyList<IVEXAMLTaskOutcome>);
    outcome->SetValueAsObject(IVEXAMLTaskOutcome::Item, MakeString("http://feed").Get());
    outcome->SetValueAsInt32(IVEXAMLTaskOutcome::NewCount, 3);
    if (taskID == Refresh) list->Add(outcome.Get());
    *outcomes = Ref(list).Detach();
    return S_OK;
}

}  // namespace tests
