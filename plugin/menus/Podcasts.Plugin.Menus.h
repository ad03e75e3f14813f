#pragma once
// The podcasts' commands in the host's menus: on the library's tree, on its table, and on the playlist.
//
// Which commands there are, under which IDs, the table in Podcasts.Plugin.Menus.cpp says. A command finds out what it
// acts on when its menu is about to be shown, and acts on that. It shows only where it applies, and without a client it
// shows nowhere and does nothing. Main thread.

#include "Podcasts.Core.h"
#include "Podcasts.Plugin.ML.DataProvider.h"
#include "apiWrappersMenus.h"

namespace podcasts {

/// Registers all commands; none when the host has no menus. Once, after the client was made. Throws as
/// vexa::TVEXAUICustomMenuItem::Register does.
void RegisterMenuCommands(TPodcastClient& client);

// ---- What is selected ----

/// Keys of episodes. What is no podcast's address is not taken.
class TVEXAPodcastsFileList : public vexa::TVEXAFileList {
public:
    int Add(const QString& file) override;
    void MarkFocused(const QString& file) override;
};

/// The address of the selected feed; beside it what else the selected node means.
class TVEXAPodcastsGroupingTreeFileList : public vexa::TVEXAFileList {
public:
    void Clear() override;

    QString Category;
    std::int32_t State = 0;  // 0: none
};

/// The node selected in the library's tree, while the library shows the podcasts.
class TVEXAPodcastsGroupingTreeMenuItemController : public vexa::TVEXAUIMusicLibraryBasedMenuItemController {
public:
    TVEXAPodcastsGroupingTreeMenuItemController();

protected:
    class TParamExtracter;

    bool IsContextAvailable() override;
    void PopulateFiles(vexa::TVEXAFileList& files) override;
};

/// Writes down the nodes that a filter means; the statement that comes out as well is nobody's.
class TVEXAPodcastsGroupingTreeMenuItemController::TParamExtracter final
    : public TVEXAPodcastsMLDataProviderTableQueryBuilder {
public:
    /// Throws as Build does.
    TParamExtracter(vexa::IVEXAMLDataFilter& filter, TVEXAPodcastsGroupingTreeFileList& files);

protected:
    void AddNodeCondition(std::uint8_t category, const QString& value) override;

private:
    TVEXAPodcastsGroupingTreeFileList& FFiles;
};

/// Episodes selected in the library's table, while the library shows the podcasts.
class TVEXAPodcastsMLTableMenuItemController : public vexa::TVEXAUIMusicLibraryBasedMenuItemController {
public:
    TVEXAPodcastsMLTableMenuItemController();

protected:
    bool IsContextAvailable() override;
};

/// Episodes selected in the playlist that shows.
class TVEXAPodcastsPlaylistMenuItemController : public vexa::TVEXAUIPlaylistBasedMenuItemController {
public:
    TVEXAPodcastsPlaylistMenuItemController();
};

// ---- Commands ----

class TVEXAPodcastsCustomMenuItem : public vexa::TVEXAUICustomMenuItem {
public:
    TVEXAPodcastsCustomMenuItem(TPodcastClient& client, vexa::Ref<vexa::IVEXAUIMenuItemController> controller)
        : TVEXAUICustomMenuItem(std::move(controller)), FClient(client.Links()) {}

    QString GetGlyphName() const override;
    int GetState() override;
    void Execute(vexa::IUnknown* data) final;

protected:
    /// The command itself; not called once the client is gone.
    virtual void Run(TPodcastClient& client) = 0;
    /// Null once the client is gone. To be asked again after a dialog, during which it may have gone.
    TPodcastClient* Client() const noexcept { return FClient.Get(); }
    /// Throws std::logic_error under a controller without files.
    vexa::TVEXAFileList& Files() const;

private:
    vexa::Link<TPodcastClient> FClient;
};

/// Shows when anything is selected that it can act on.
class TVEXAPodcastsAbstractFileDependedMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;
    int GetState() override;
};

class TVEXAPodcastsRefreshFeedsMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

class TVEXAPodcastsRefreshFeedMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

class TVEXAPodcastsSubscribeMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

class TVEXAPodcastsEditSubscriptionMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

class TVEXAPodcastsUnsubcribeMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

/// A smart playlist of what the selected node holds.
class TVEXAPodcastsCreateSmartPlaylistMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;
    QString GetGlyphName() const override { return {}; }

protected:
    void Run(TPodcastClient& client) override;

private:
    /// Adds the selected node's conditions. E_INVALIDARG when that makes none. Throws std::invalid_argument for several
    /// feeds.
    vexa::HResult SetupFilter(TPodcastClient& client, vexa::IVEXAMLGroupFilter& filter) const;
};

/// A submenu of the states.
class TVEXAPodcastsMarkAsSubMenuMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;
    void UpdateMenuState(vexa::IVEXAMenuItem& hostItem) override;

protected:
    void Run(TPodcastClient&) override {}
};

/// An entry of that submenu.
class TVEXAPodcastsMarkAsMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    TVEXAPodcastsMarkAsMenuItem(TPodcastClient& client, vexa::Ref<vexa::IVEXAUIMenuItemController> controller,
                                TPodcastEpisodeState state)
        : TVEXAPodcastsCustomMenuItem(client, std::move(controller)), FState(state) {}

protected:
    void Run(TPodcastClient& client) override;

private:
    TPodcastEpisodeState FState;
};

/// Downloads the episodes, or deletes their local copies when the focused one has one.
class TVEXAPodcastsCacheMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;
    void UpdateMenuState(vexa::IVEXAMenuItem& hostItem) override;

protected:
    void Run(TPodcastClient& client) override;

private:
    bool FIsCached = false;  // as of the last refresh: what the caption says
};

class TVEXAPodcastsCheckLocalCopiesMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

}  // namespace podcasts
