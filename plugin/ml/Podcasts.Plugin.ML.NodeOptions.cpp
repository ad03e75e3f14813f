// The storage's optional interface for the options of its nodes: feeds' own options.

#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.DataProvider.h"
#include "Podcasts.Plugin.ML.h"

#include <algorithm>

namespace podcasts {

using namespace vexa;

namespace {

using Kind = TPodcastFeedOption::Kind;

const QString kFileField = QStringLiteral("FileName");

QString Text(const QString& key) {
    return LocalizedText(u"Podcasts.FeedOptions\\" + key);
}

/// One option of one feed, as a copy.
class FeedOption : public TVEXAPropertyListAs<IVEXAMLOption> {
public:
    FeedOption(const TPodcastFeedOption& option, const TPodcastFeedOptions& values,
               const TPodcastClientOptions& general)
        : FOption(option), FValues(values) {
        if (option.General)
            FGeneral =
                LocalizedTextPart(QStringLiteral("Podcasts.FeedOptions\\V2"), (general.*option.General)() ? 1 : 0);
    }

protected:
    void DoGetValueAsVariant(std::int32_t propertyID, Variant& value, HResult& result) override {
        const bool isChoice = FOption.Type == TPodcastFeedOption::Kind::Choice;
        switch (propertyID) {
            case ID:
                value = ToVariant(FOption.Name());
                break;
            case Caption:
                value = ToVariant(Text(FOption.Name()));
                break;
            case Kind:
                value = ToVariant(isChoice ? Choice : Number);
                break;
            case Value:
                value =
                    ToVariant(isChoice ? static_cast<std::int32_t>(FValues.*FOption.Choice) : FValues.*FOption.Number);
                break;
            case Choices:
                value = ToVariant(isChoice ? Text(QStringLiteral("V1")) : QString());
                break;
            case Least:
                value = ToVariant(0);
                break;
            case Most:
                value = ToVariant(FOption.Most);
                break;
            case General:
                value = ToVariant(FGeneral);
                break;
            default:
                TVEXAPropertyListAs::DoGetValueAsVariant(propertyID, value, result);
        }
    }

private:
    const TPodcastFeedOption& FOption;  // of the engine's table
    const TPodcastFeedOptions FValues;
    QString FGeneral;
};

/// The present address of a node's feed, or of the feed of a row's file; empty for anything else.
QString FeedURLOf(TPodcastsDB& db, const QString& field, const QString& value) {
    if (field.compare(kFileField, Qt::CaseInsensitive) == 0) {
        QString key;
        const auto episode = TVEXAPodcastsFileManager::ParseURI(value, key) ? db.GetEpisode(key) : nullptr;
        const auto feed = episode ? db.GetFeed(episode->FeedID, false) : nullptr;
        return feed ? feed->Fields[pffURLFeed] : QString();
    }
    std::uint8_t category = pscRoot;
    QString address;
    if (field.compare(kNodeField, Qt::CaseInsensitive) == 0)
        TVEXAPodcastsGroupingTreeValue::Decode(value, category, address);
    return category == pscFeed ? db.GetPresentFeedURL(address) : QString();
}

}  // namespace

HResult TVEXAPodcastsMLExtension::GetOptions(IVEXAString* field, const Variant* value,
                                             IVEXAObjectList** options) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!ClearOut(options) || !AreGiven(field, value)) return E_POINTER;
    const auto read = [&] {
        TPodcastClient* const client = FClient.Get();
        if (!client) return E_FAIL;
        const QString feedURL = FeedURLOf(client->DB(), FromHostString(field), VariantToText(*value));
        if (feedURL.isEmpty()) return E_FAIL;
        if (FOnLoad) FOnLoad();
        const auto all = client->DB().GetFeedOptions();
        const auto own = all.find(client->DB().GetFeedID(feedURL));
        const TPodcastFeedOptions values = own == all.end() ? TPodcastFeedOptions() : own->second;
        auto list = CreateHostObject<IVEXAObjectList>();
        for (const TPodcastFeedOption& option : PodcastFeedOptions())
            RaiseIfFailed(list->Add(
                static_cast<TInterfacedObjectEx*>(NewObject<FeedOption>(option, values, client->Options()).Get())));
        *options = list.Detach();
        return S_OK;
    };
    return GuardedCall("listing a podcast's options", read, E_FAIL);
}

HResult TVEXAPodcastsMLExtension::SetOption(IVEXAString* field, const Variant* value, IVEXAString* id,
                                            const Variant* optionValue) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(field, value, id, optionValue)) return E_POINTER;
    const auto set = [&] {
        TPodcastClient* const client = FClient.Get();
        if (!client) return E_FAIL;
        const QString feedURL = FeedURLOf(client->DB(), FromHostString(field), VariantToText(*value));
        if (feedURL.isEmpty()) return E_FAIL;
        const auto options = PodcastFeedOptions();
        const QString name = FromHostString(id);
        const auto option =
            std::find_if(options.begin(), options.end(), [&](auto& each) { return each.Name() == name; });
        if (option == options.end()) return E_INVALIDARG;
        const std::int32_t number = VariantToInt32(*optionValue);
        if (number < 0 || number > option->Most) return E_INVALIDARG;
        TPodcastFeedOptions values;
        if (option->Type == Kind::Choice)
            values.*option->Choice = static_cast<TPodcastFeedChoice>(number);
        else
            values.*option->Number = number;
        const int feedID = client->DB().GetFeedID(feedURL);
        return client->SetFeedOption(feedID, *option, option->ValueIn(values)) ? S_OK : E_FAIL;
    };
    return GuardedCall("setting a podcast's option", set, E_FAIL);
}

HResult TVEXAPodcastsMLExtension::GetPresentNode(IVEXAString* field, Variant* value) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(field, value)) return E_POINTER;
    const auto look = [&] {
        TPodcastClient* const client = FClient.Get();
        if (!client) return E_FAIL;
        const QString former = VariantToText(*value);
        const QString feedURL = FeedURLOf(client->DB(), FromHostString(field), former);
        if (feedURL.isEmpty()) return E_FAIL;
        const QString present = TVEXAPodcastsGroupingTreeValue::Encode(pscFeed, feedURL);
        if (present == former) return S_FALSE;
        const QString node = kNodeField;
        RaiseIfFailed(
            field->SetChars(reinterpret_cast<const char16_t*>(node.utf16()), static_cast<std::int32_t>(node.size())));
        *value = ToVariant(present);
        return S_OK;
    };
    return GuardedCall("looking up a podcast's node", look, E_FAIL);
}

}  // namespace podcasts
