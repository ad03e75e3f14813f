#include "EpisodeStorage.h"

namespace tests {

using namespace host;

QString EpisodeStorage::Value(const Episode& episode, const QString& field) const {
    if (field == u"Title") return episode.Title;
    if (field == u"State") return QString::number(episode.State);
    if (field == u"Duration") return QString::number(episode.Duration);
    if (field == u"FileName") return "episode://" + episode.ID;
    if (field == u"Show") return episode.Show;
    return episode.ID;
}

bool EpisodeStorage::Meets(const Episode& episode, const QString& field, const QString& value) const {
    if (field != u"Node") return Value(episode, field) == value;
    if (value.startsWith(u"show ")) return episode.Show == value.mid(5);
    return value == u"shows" || value == QString(u"state " + QString::number(episode.State));
}

std::vector<TreeNode> EpisodeStorage::NodesBelow(const QString& value) const {
    if (value.startsWith(u"show ")) return {};
    if (value.isEmpty()) return {{"new (2)", 3, 4, {"Node", u"state 1"_s}}, {"shows", 1, 0, {"Node", u"shows"_s}}};
    return {{value == u"shows" ? u"A"_s : u"(1) A"_s, 2, 3, {"Node", u"show A"_s}}, {"B", 2, 3, {"Node", u"show B"_s}}};
}

void EpisodeStorage::OnAsked(const QString& asked) {
    TLock lock(FMutex);
    FAsked += asked;
    FChanged.NotifyAll();
    FChanged.Wait(lock, [this]() VEXA_REQUIRES(FMutex) { return !FIsHolding; });
}

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

HResult EpisodeStorage::Find(IVEXAFileInfo* info, IVEXAMLDataFilter** filter,
                             IVEXAMLGroupingTreeSelection** selection) noexcept {
    *filter = nullptr;
    *selection = nullptr;
    const QString file = TextOf(info, IVEXAFileInfo::FileName);
    for (const Episode& episode : Rows) {
        if (file != QString(u"episode://" + episode.ID)) continue;
        std::vector<TreePair> path{{"Node", u"shows"_s}, {"Node", QString(u"show " + episode.Show)}};
        *selection = Ref<IVEXAMLGroupingTreeSelection>(new TreeSelection(path)).Detach();
        return S_OK;
    }
    return E_NOINTERFACE;
}

HResult EpisodeStorage::GetRowCount(IVEXAObjectList*, IVEXAMLDataFilter* filter, std::int64_t* count) noexcept {
    const auto selected = Select(filter);
    if (!selected) return E_FAIL;
    *count = static_cast<std::int64_t>(selected->size());
    return S_OK;
}

}  // namespace tests
