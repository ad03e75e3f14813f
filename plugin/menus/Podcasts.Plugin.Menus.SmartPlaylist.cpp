// Creates a smart playlist from the selected node.

#include "Podcasts.Plugin.ML.h"
#include "Podcasts.Plugin.Menus.h"

namespace podcasts {

using namespace vexa;

namespace {

void AddEquality(IVEXAMLGroupFilter& filter, const QString& field, const Variant& value) {
    RaiseIfFailed(filter.Add(ToHostString(field).Get(), &value, nullptr, IVEXAMLFieldFilter::Equals, nullptr));
}

template <class Interface, class Object>
Ref<Interface> Required(Object& object, const QString& format) {
    Ref<Interface> result;
    RaiseIfFailed(object.QueryInterface(Interface::IID, result.PutVoid()), format);
    return result;
}

Ref<IVEXAMLPlaylistPreimage> CreatePreimage(IVEXAServicePlaylistManager2& playlists) {
    Ref<IVEXAPlaylistPreimageFactory> factory;
    RaiseIfFailed(playlists.GetPreimageFactoryByID(ToHostString(kStorageID).Get(), factory.Put()),
                  QStringLiteral("Preimage factory is unavalable (%d)"));
    Ref<IVEXAPlaylistPreimage> preimage;
    RaiseIfFailed(factory->CreatePreimage(preimage.Put()), QStringLiteral("Unable to create preimage (%d)"));
    return Required<IVEXAMLPlaylistPreimage>(*preimage, QStringLiteral("Unsupported preimage class (%d)"));
}

}  // namespace

void TVEXAPodcastsCreateSmartPlaylistMenuItem::Run(TPodcastClient& client) {
    const auto playlists = HostService<IVEXAServicePlaylistManager2>();
    if (!playlists) return;
    const auto preimage = CreatePreimage(*playlists);
    Ref<IVEXAMLDataFilter> filter;
    RaiseIfFailed(preimage->GetFilter(filter.Put()), QStringLiteral("Failed to setup preimage filter (%d)"));
    if (Failed(SetupFilter(client, *filter))) return;
    Ref<IVEXAPlaylist> playlist;
    RaiseIfFailed(playlists->CreatePlaylist(nullptr, kTrue, playlist.Put()),
                  QStringLiteral("Unable to create playlist (%d)"));
    const auto properties =
        Required<IVEXAPropertyList>(*playlist, QStringLiteral("Unable to fetch playlist properties (%d)"));
    RaiseIfFailed(properties->SetValueAsObject(IVEXAPlaylist::Preimage, preimage.Get()),
                  QStringLiteral("Failed to set preimage (%d)"));
}

HResult TVEXAPodcastsCreateSmartPlaylistMenuItem::SetupFilter(TPodcastClient& client,
                                                              IVEXAMLGroupFilter& filter) const {
    const auto& files = dynamic_cast<const TVEXAPodcastsGroupingTreeFileList&>(Files());
    if (!files.Category.isEmpty()) AddEquality(filter, QStringLiteral("Category"), ToVariant(files.Category));
    if (files.State != 0) AddEquality(filter, QStringLiteral("State"), ToVariant(files.State));
    if (files.Count() > 1) throw std::invalid_argument("Multiple selection not supported");
    if (files.Count() == 1) {
        if (const auto feed = client.DB().GetFeed(files[0], false))
            AddEquality(filter, QStringLiteral("FeedName"), ToVariant(feed->Fields[pffTitle]));
    }
    if (filter.GetChildCount() > 1) WritePropertyInt32(&filter, IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::And);
    return filter.GetChildCount() > 0 ? S_OK : E_INVALIDARG;
}

}  // namespace podcasts
