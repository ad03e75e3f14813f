#pragma once
// What the host is told of podcasts that are not subscribed to. Main thread, unless stated otherwise.

#include "Podcasts.Core.Locating.h"
#include "apiWrappers.h"

#include <QString>

#include <vector>

namespace podcasts {

/// A podcast as the host gets it. Set the members before the object is handed over; then any thread may read it.
class TPodcastFoundInfo : public vexa::TVEXAPropertyListAs<vexa::IVEXAMLFound> {
public:
    QString AddressText, TitleText, AuthorText, DescriptionText, PictureText, SourceID;
    std::int64_t Rows = 0;
    double NewestDate = 0;  // an OLE Automation date in UTC
    bool IsStored = false;

protected:
    void DoGetValueAsVariant(std::int32_t propertyID, vexa::Variant& value, vexa::HResult& result) override;
};

/// Tells the host to which feeds an address leads. Throws vexa::EHostError.
void TellChoices(vexa::IVEXAMLSubscriptionChoices& choices, const QString& address,
                 const std::vector<TPodcastFeedLink>& feeds);

}  // namespace podcasts
