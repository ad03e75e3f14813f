#include "Podcasts.Plugin.ML.Found.h"

namespace podcasts {

using namespace vexa;

void TPodcastFoundInfo::DoGetValueAsVariant(std::int32_t propertyID, Variant& value, HResult& result) {
    switch (propertyID) {
        case Address:
            value = ToVariant(AddressText);
            break;
        case Title:
            value = ToVariant(TitleText);
            break;
        case Author:
            value = ToVariant(AuthorText);
            break;
        case Description:
            value = ToVariant(DescriptionText);
            break;
        case PictureAddress:
            value = ToVariant(PictureText);
            break;
        case RowCount:
            value = ToVariant(Rows);
            break;
        case Newest:
            value = ToVariant(NewestDate);
            break;
        case IsSubscribed:
            value = ToVariant(IsStored ? 1 : 0);
            break;
        case Source:
            value = ToVariant(SourceID);
            break;
        default:
            TVEXAPropertyListAs::DoGetValueAsVariant(propertyID, value, result);
    }
}

void TellChoices(IVEXAMLSubscriptionChoices& choices, const QString& address,
                 const std::vector<TPodcastFeedLink>& feeds) {
    const auto addresses = CreateHostObject<IVEXAObjectList>(), titles = CreateHostObject<IVEXAObjectList>();
    for (const TPodcastFeedLink& feed : feeds) {
        RaiseIfFailed(addresses->Add(ToHostString(feed.Address).Get()));
        RaiseIfFailed(titles->Add(ToHostString(feed.Title).Get()));
    }
    choices.OnChoices(ToHostString(address).Get(), addresses.Get(), titles.Get());
}

}  // namespace podcasts
