#pragma once
// A storage over a list in memory, such as a plug-in provides: rows, and a tree of states and shows.

#include "HostFixture.h"
#include "Images.h"
#include "Library.h"
#include "StorageParts.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"

namespace tests {

using namespace vexa;

struct Episode {
    QString ID, Title, Show;
    int State;
    double Duration;
};

/// Texts for the states 0 to 2.
class StateWords final : public RefCountedObject<IVEXAMLDataFieldDisplayValue> {
public:
    const char16_t* GetDisplayValue(const Variant* value, std::int32_t* length) noexcept override {
        EXPECT_TRUE(IsMainThread());
        const auto state = host::Converted<std::int32_t>(host::FromVariant(*value));
        if (!state) return nullptr;
        FText = QStringList{u"heard"_s, u"new"_s, u"later"_s}.value(*state);
        *length = static_cast<std::int32_t>(FText.size());
        return reinterpret_cast<const char16_t*>(FText.constData());
    }

private:
    QString FText;
};

/// The tree has "new" and "shows", with the shows below each of them; its values are "state 1", "shows", "show NAME".
class EpisodeStorage : public RowStorage<Episode, IVEXAMLTaskProgress, IVEXAMLSubscriptionStorage, IVEXAMLNodeImage> {
public:
    explicit EpisodeStorage(const QString& id = u"Tests.Episodes"_s)
        : RowStorage(id, "Episodes",
                     {{"e1", "Tide", "A", 1, 60},
                      {"e2", "Bell", "B", 1, 90.5},
                      {"e3", "Fog", "A", 0, 30},
                      {"e4", "Storm", "A", 2, 45}}) {}

    host::BackgroundTask::Position Progress{};  // of every task; unknown while Count is 0
    std::vector<std::int32_t> CancelledTasks;
    bool OffersSubscriptions = false;
    bool OffersFiles = false;  // rows have files, "episode://e1", and the shows by which playlists group them

    /// The picture of a node, as bytes; empty if there is none. Any thread.
    std::function<QByteArray(const QString& value, bool isStored)> Picture;

    /// From now on requests wait inside the storage until LetThrough.
    void Hold() { SetHolding(true); }
    void LetThrough() { SetHolding(false); }
    /// The requests so far, as OnAsked gets them.
    QStringList Asked() {
        const TLock lock(FMutex);
        return FAsked;
    }
    void WaitUntilAsked(int count) {
        TLock lock(FMutex);
        FChanged.Wait(lock, [&]() VEXA_REQUIRES(FMutex) { return FAsked.size() >= count; });
    }

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (iid == IVEXAMLSubscriptionStorage::IID && !OffersSubscriptions) return *object = nullptr, E_NOINTERFACE;
        if (iid == IVEXAMLNodeImage::IID && !Picture) return *object = nullptr, E_NOINTERFACE;
        return PropertyList::QueryInterface(iid, object);
    }
    HResult GetVersion(IVEXAString*, const Variant* value, IVEXAString** version) noexcept override {
        const QByteArray bytes = Picture(NodeOf(value), true);
        *version = host::MakeString(QString::fromLatin1(bytes.toBase64())).Detach();
        return bytes.isEmpty() ? E_FAIL : S_OK;
    }
    HResult GetImage(IVEXAString*, const Variant* value, std::uint32_t flags,
                     IVEXAImageContainer** image) noexcept override {
        *image = host::MakeImageContainer(Picture(NodeOf(value), (flags & LocalOnly) != 0)).Detach();
        return S_OK;
    }
    HResult GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept override {
        using host::MakeString;
        const Ref<IVEXAObjectList> list(new host::ObjectList);
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

    HResult GetProgress(std::int32_t, std::int32_t* item, std::int32_t* count, double* share) noexcept override {
        *item = Progress.Item;
        *count = Progress.Count;
        *share = Progress.Share;
        return Progress.Count > 0 ? S_OK : S_FALSE;
    }
    HResult Cancel(std::int32_t taskID) noexcept override { return CancelledTasks.push_back(taskID), S_OK; }

    HResult GetRowCount(IVEXAObjectList*, IVEXAMLDataFilter* filter, std::int64_t* count) noexcept override {
        const auto selected = Select(filter);
        if (!selected) return E_FAIL;
        *count = static_cast<std::int64_t>(selected->size());
        return S_OK;
    }
    HResult Subscribe(IVEXAObjectList*, IVEXAMLSubscriptionEvents*) noexcept override { return E_NOTIMPL; }
    HResult ImportOPML(IVEXAString*, IVEXAMLSubscriptionEvents*, IVEXAErrorInfo*) noexcept override {
        return E_NOTIMPL;
    }
    HResult ExportOPML(IVEXAString*, IVEXAErrorInfo*) noexcept override { return E_NOTIMPL; }
    HResult GetOutcomes(std::int32_t, std::int32_t, IVEXAObjectList**) noexcept override { return E_NOTIMPL; }

private:
    static QString NodeOf(const Variant* value) {
        return host::Converted<QString>(host::FromVariant(*value)).value_or(QString());
    }
    QString Value(const Episode& episode, const QString& field) const override {
        if (field == u"Title") return episode.Title;
        if (field == u"State") return QString::number(episode.State);
        if (field == u"Duration") return QString::number(episode.Duration);
        if (field == u"FileName") return "episode://" + episode.ID;
        if (field == u"Show") return episode.Show;
        return episode.ID;
    }
    bool Meets(const Episode& episode, const QString& field, const QString& value) const override {
        if (field != u"Node") return Value(episode, field) == value;
        if (value.startsWith(u"show ")) return episode.Show == value.mid(5);
        return value == u"shows" || value == QString(u"state " + QString::number(episode.State));
    }
    bool Contains(const Episode& episode, const QString& search) const override {
        return episode.Title.contains(search);
    }
    std::vector<host::TreeNode> NodesBelow(const QString& value) const override {
        if (value.startsWith(u"show ")) return {};
        if (value.isEmpty()) return {{"new (2)", 3, 4, {"Node", u"state 1"_s}}, {"shows", 1, 0, {"Node", u"shows"_s}}};
        const QString first = value == u"shows" ? u"A"_s : u"(1) A"_s;
        return {{first, 2, 3, {"Node", u"show A"_s}}, {"B", 2, 3, {"Node", u"show B"_s}}};
    }
    void OnAsked(const QString& asked) override {
        TLock lock(FMutex);
        FAsked += asked;
        FChanged.NotifyAll();
        FChanged.Wait(lock, [this]() VEXA_REQUIRES(FMutex) { return !FIsHolding; });
    }
    void SetHolding(bool isHolding) {
        const TLock lock(FMutex);
        FIsHolding = isHolding;
        FChanged.NotifyAll();
    }

    TMutex FMutex;
    TCondition FChanged;
    QStringList FAsked VEXA_GUARDED_BY(FMutex);
    bool FIsHolding VEXA_GUARDED_BY(FMutex) = false;
};

}  // namespace tests
