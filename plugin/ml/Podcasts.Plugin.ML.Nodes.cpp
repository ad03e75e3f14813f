// The storage's optional interfaces for its nodes: podcasts' logos, and what is known of podcasts.

#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.Logos.h"
#include "Podcasts.Plugin.ML.DataProvider.h"
#include "Podcasts.Plugin.ML.h"

namespace podcasts {

using namespace vexa;

namespace {

/// The feed of a node, or of a row's file; null for anything else.
std::unique_ptr<TPodcastFeed> FeedOf(TPodcastClient& client, const QString& field, const QString& value) {
    if (field.compare(u"FileName", Qt::CaseInsensitive) == 0) {
        const auto episode = client.DB().GetEpisode(value);
        return episode ? client.DB().GetFeed(episode->FeedID, false) : nullptr;
    }
    std::uint8_t category = pscRoot;
    QString address;
    if (field.compare(kNodeField, Qt::CaseInsensitive) == 0)
        TVEXAPodcastsGroupingTreeValue::Decode(value, category, address);
    return category == pscFeed ? client.DB().GetFeed(address, false) : nullptr;
}

/// Calls `use` with the feed of a node. E_FAIL when there is none.
template <class Use>
HResult WithFeedOf(const char* what, IVEXAString* field, const Variant* value, Use use) noexcept {
    return GuardedCall(
        what,
        [&] {
            const auto client = TPodcastsClientPass::Enter();
            const auto feed = client ? FeedOf(*client.Get(), FromHostString(field), VariantToText(*value)) : nullptr;
            return feed ? use(*client.Get(), *feed) : E_FAIL;
        },
        E_FAIL);
}

}  // namespace

HResult TVEXAPodcastsMLExtension::GetVersion(IVEXAString* field, const Variant* value, IVEXAString** version) noexcept {
    if (!ClearOut(version) || !AreGiven(field, value)) return E_POINTER;
    return WithFeedOf("asking for a podcast's logo", field, value, [&](TPodcastClient& client, const auto& feed) {
        const QString found = client.DB().GetFeedLogoVersion(feed.ID);
        if (found.isEmpty()) return E_FAIL;
        *version = ToHostString(found).Detach();
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::GetImage(IVEXAString* field, const Variant* value, std::uint32_t flags,
                                           IVEXAImageContainer** image) noexcept {
    if (!ClearOut(image) || !AreGiven(field, value)) return E_POINTER;
    return WithFeedOf("reading a podcast's logo", field, value, [&](TPodcastClient& client, const auto& feed) {
        auto logo = (flags & LocalOnly) != 0 ? StoredFeedLogo(client, feed) : FeedLogo(client, feed);
        *image = logo.Detach();
        return *image ? S_OK : E_FAIL;
    });
}

HResult TVEXAPodcastsMLExtension::GetInfo(IVEXAString* field, const Variant* value, IVEXAPropertyList* info) noexcept {
    if (!AreGiven(field, value, info)) return E_POINTER;
    return WithFeedOf("telling what is known of a podcast", field, value,
                      [&](TPodcastClient& client, const auto& feed) {
                          using Info = IVEXAMLNodeInfo;
                          for (const auto& [property, known] : {std::pair(Info::Title, pffTitle),
                                                                {Info::Author, pffAuthor},
                                                                {Info::Description, pffDescription},
                                                                {Info::WebAddress, pffURL}})
                              WritePropertyString(info, property, feed.Fields[known]);
                          const TPodcastFeedNumbers numbers = client.DB().GetFeedNumbers(feed.ID);
                          RaiseIfFailed(info->SetValueAsInt64(Info::RowCount, numbers.Episodes));
                          RaiseIfFailed(info->SetValueAsInt64(Info::UntouchedCount, numbers.New));
                          RaiseIfFailed(info->SetValueAsFloat(Info::Newest, numbers.Newest));
                          return S_OK;
                      });
}

}  // namespace podcasts
