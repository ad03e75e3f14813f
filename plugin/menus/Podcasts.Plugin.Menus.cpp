#include "Podcasts.Plugin.Menus.h"

#include "Podcasts.Plugin.Commands.h"
#include "Podcasts.Plugin.Dialogs.DeleteConfirmation.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"

namespace podcasts {

using namespace vexa;

// ---- The base of the commands ----

QString TVEXAPodcastsCustomMenuItem::GetGlyphName() const {
    return QStringLiteral("MENUGLYPH");
}

int TVEXAPodcastsCustomMenuItem::GetState() {
    return Client() ? TVEXAUICustomMenuItem::GetState() : Disabled;
}

void TVEXAPodcastsCustomMenuItem::Execute(IUnknown*) {
    if (TPodcastClient* const client = Client()) Run(*client);
}

TVEXAFileList& TVEXAPodcastsCustomMenuItem::Files() const {
    const auto controller = Query<IVEXAUIFileBasedMenuItemController>(Controller().Get());
    if (!controller) throw std::logic_error("the controller has no files");
    return controller->GetFiles();
}

int TVEXAPodcastsAbstractFileDependedMenuItem::GetState() {
    return Client() && Files().Count() > 0 ? Enabled | Visible : Disabled;
}

// ---- Feeds ----

void TVEXAPodcastsRefreshFeedsMenuItem::Run(TPodcastClient& client) {
    client.RefreshFeeds();
}

void TVEXAPodcastsRefreshFeedMenuItem::Run(TPodcastClient& client) {
    client.RefreshFeeds(Files().Files());
}

void TVEXAPodcastsSubscribeMenuItem::Run(TPodcastClient& client) {
    TfrmPodcastFeed::Subscribe(HostMainWindow(), client);
}

void TVEXAPodcastsEditSubscriptionMenuItem::Run(TPodcastClient& client) {
    const QString feedURL = Files().GetFocused();
    if (!feedURL.isEmpty()) TfrmPodcastFeed::Edit(HostMainWindow(), client, feedURL);
}

void TVEXAPodcastsUnsubcribeMenuItem::Run(TPodcastClient& client) {
    const auto feed = client.DB().GetFeed(Files().GetFocused(), false);
    if (!feed) return;
    bool deleteCachedFiles = false;
    if (!TfrmPodcastDeleteConfirmation::Execute(HostMainWindow(), feed->Fields[pffTitle], deleteCachedFiles)) return;
    if (!Client()) return;
    RunCommand([feedURL = feed->Fields[pffURLFeed], deleteCachedFiles](TPodcastClient& present) {
        Unsubscribe(present, feedURL, deleteCachedFiles);
    });
}

// ---- Episodes ----

void TVEXAPodcastsMarkAsSubMenuMenuItem::UpdateMenuState(IVEXAMenuItem& hostItem) {
    TVEXAPodcastsAbstractFileDependedMenuItem::UpdateMenuState(hostItem);
    hostItem.DeleteChildren();
    TPodcastClient* const client = Client();
    if (!client) return;
    for (const TPodcastEpisodeState state : {pesListened, pesNew, pesPostponed}) {
        const auto entry = NewObject<TVEXAPodcastsMarkAsMenuItem>(*client, Controller(), state);
        CreateSubItem(hostItem, LocalizedTextPart(QStringLiteral("Podcasts\\MSG7"), state), *entry);
    }
}

void TVEXAPodcastsMarkAsMenuItem::Run(TPodcastClient&) {
    RunCommand([keys = Files().Files(), state = FState](TPodcastClient& client) { MarkEpisodes(client, keys, state); });
}

namespace {

/// Looks up the episode by its key, because the list has keys, not all of which are addresses.
bool HasLocalCopy(TPodcastClient& client, const QString& episodeKey) {
    QString fileName;
    const auto episode = client.DB().GetEpisode(episodeKey);
    const auto feed = episode ? client.DB().GetFeed(episode->FeedID, false) : nullptr;
    return feed && client.GetLocalFileName(*episode, *feed, fileName);
}

}  // namespace

void TVEXAPodcastsCacheMenuItem::UpdateMenuState(IVEXAMenuItem& hostItem) {
    TPodcastClient* const client = Client();
    const TVEXAFileList& files = Files();
    FIsCached = client && files.FocusIndex >= 0 && HasLocalCopy(*client, files.GetFocused());
    const QString caption = LocalizedTextPart(QStringLiteral("Podcasts\\MSG11"), FIsCached ? 1 : 0);
    hostItem.SetValueAsObject(IVEXAMenuItem::Caption, ToHostString(caption).Get());
    TVEXAPodcastsAbstractFileDependedMenuItem::UpdateMenuState(hostItem);
}

void TVEXAPodcastsCacheMenuItem::Run(TPodcastClient&) {
    RunCommand([keys = Files().Files(), isCached = FIsCached](TPodcastClient& client) {
        if (isCached)
            DeleteCachedEpisodes(client, keys);
        else
            RunInMainThread([&] { client.DownloadEpisodes(keys); }, true);
    });
}

void TVEXAPodcastsCheckLocalCopiesMenuItem::Run(TPodcastClient&) {
    RunCommand([](TPodcastClient& client) { client.CheckLocalCopies(); });
}

// ---- The table of commands ----

namespace {

/// Registers commands that share a controller.
class Block {
public:
    Block(TPodcastClient& client, Ref<IVEXAUIMenuItemController> controller, Variant menu)
        : FClient(client), FController(std::move(controller)), FMenu(std::move(menu)) {}

    template <class Command, class... Arguments>
    Block& Add(QStringView id, const char* shortcut = "", Arguments... arguments) {
        NewObject<Command>(FClient, FController, arguments...)
            ->Register(id.toString(), FMenu, QString::fromLatin1(shortcut));
        return *this;
    }

private:
    TPodcastClient& FClient;
    Ref<IVEXAUIMenuItemController> FController;
    Variant FMenu;
};

template <class Controller>
Block BlockOf(TPodcastClient& client, BuiltInMenu menu) {
    return Block(client, Ref<IVEXAUIMenuItemController>(NewObject<Controller>()), ToVariant(std::int32_t{menu}));
}

/// Commands that only their shortcuts run.
template <class Controller>
Block BlockWithoutMenu(TPodcastClient& client) {
    return Block(client, Ref<IVEXAUIMenuItemController>(NewObject<Controller>()), Variant());
}

}  // namespace

void RegisterMenuCommands(TPodcastClient& client) {
    BlockOf<TVEXAPodcastsGroupingTreeMenuItemController>(client, kMenuLibraryTree)
        .Add<TVEXAPodcastsRefreshFeedsMenuItem>(u"VEXA.Podcasts.Actions.RefreshFeeds", "F5; Ctrl+R")
        .Add<TVEXAPodcastsRefreshFeedMenuItem>(u"VEXA.Podcasts.Actions.RefreshFeed")
        .Add<TVEXAPodcastsUnsubcribeMenuItem>(u"VEXA.Podcasts.Actions.Unsubscribe", "Del")
        .Add<TVEXAPodcastsEditSubscriptionMenuItem>(u"VEXA.Podcasts.Actions.EditSubscription")
        .Add<TVEXAPodcastsSubscribeMenuItem>(u"VEXA.Podcasts.Actions.Subscribe")
        .Add<TVEXAPodcastsCreateSmartPlaylistMenuItem>(u"VEXA.Podcasts.Actions.CreateSmartPlaylist");
    BlockOf<TVEXAPodcastsMLTableMenuItemController>(client, kMenuLibraryTable)
        .Add<TVEXAPodcastsMarkAsSubMenuMenuItem>(u"VEXA.Podcasts.Actions.MarkAs")
        .Add<TVEXAPodcastsCacheMenuItem>(u"VEXA.Podcasts.Actions.CachedFilesControl", "D");
    using MarkAs = TVEXAPodcastsMarkAsMenuItem;
    BlockWithoutMenu<TVEXAPodcastsMLTableMenuItemController>(client)
        .Add<MarkAs>(u"VEXA.Podcasts.Actions.MarkAsListened", "L", pesListened)
        .Add<MarkAs>(u"VEXA.Podcasts.Actions.MarkAsNew", "N", pesNew)
        .Add<MarkAs>(u"VEXA.Podcasts.Actions.MarkAsPostponed", "P", pesPostponed);
    BlockOf<TVEXAPodcastsMLTableMenuItemController>(client, kMenuLibrary)
        .Add<TVEXAPodcastsCheckLocalCopiesMenuItem>(u"VEXA.Podcasts.Actions.CheckCachedFiles");
    BlockOf<TVEXAPodcastsPlaylistMenuItemController>(client, kMenuPlaylistItem)
        .Add<TVEXAPodcastsMarkAsSubMenuMenuItem>(u"VEXA.Podcasts.Actions.MarkAs.PL")
        .Add<TVEXAPodcastsCacheMenuItem>(u"VEXA.Podcasts.Actions.CachedFilesControl.PL");
}

}  // namespace podcasts
