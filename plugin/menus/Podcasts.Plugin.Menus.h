#pragma once
// The podcasts' commands in the host's menus: on the library's tree, on its table, and on the playlist.
//
// The table in Podcasts.Plugin.Menus.cpp lists the commands and their IDs. What a command acts on is determined when
// its menu is about to be shown. A command is shown only where it applies; without a client no command is shown or does
// anything. Main thread.

#include "Podcasts.Core.h"
#include "Podcasts.Plugin.ML.DataProvider.h"
#include "apiWrappersMenus.h"

namespace podcasts {

/// Registers all commands; none when the host has no menus. Call it once, after creating the client. Throws as
/// vexa::TVEXAUICustomMenuItem::Register does.
void RegisterMenuCommands(TPodcastClient& client);

// ---- What is selected ----

/// Keys of episodes. Names that are not podcast addresses are not added.
class TVEXAPodcastsFileList : public vexa::TVEXAFileList {
public:
    int Add(const QString& file) override;
    void MarkFocused(const QString& file) override;
};

/// The address of the selected feed, and the category or state if the selected node stands for one.
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

/// Collects the nodes that a filter stands for. The SQL statement that its base builds at the same time is not used.
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

/// Episodes selected in the playlist that is shown.
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
    /// Null once the client is gone. Call it again after a dialog, during which the client may have been destroyed.
    TPodcastClient* Client() const noexcept { return FClient.Get(); }
    /// The controller's files. Throws std::logic_error when the controller has none.
    vexa::TVEXAFileList& Files() const;

private:
    vexa::Link<TPodcastClient> FClient;
};

/// Shown only when something is selected that the command can act on.
class TVEXAPodcastsAbstractFileDependedMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;
    int GetState() override;
};

class TVEXAPodcastsRefreshFeedsMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;
    std::int32_t GetButton() const override { return vexa::IVEXAMenuItem::RefreshButton; }

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

/// Creates a smart playlist of the selected node's episodes.
class TVEXAPodcastsCreateSmartPlaylistMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;
    QString GetGlyphName() const override { return {}; }

protected:
    void Run(TPodcastClient& client) override;

private:
    /// Adds the selected node's conditions. E_INVALIDARG when the node has none. Throws std::invalid_argument for
    /// several feeds.
    vexa::HResult SetupFilter(TPodcastClient& client, vexa::IVEXAMLGroupFilter& filter) const;
};

/// The submenu with the states.
class TVEXAPodcastsMarkAsSubMenuMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;
    void UpdateMenuState(vexa::IVEXAMenuItem& hostItem) override;

protected:
    void Run(TPodcastClient&) override {}
};

/// Marks the selected episodes: an entry of the submenu with the states, or an item with a shortcut in no menu.
class TVEXAPodcastsMarkAsMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    TVEXAPodcastsMarkAsMenuItem(TPodcastClient& client, vexa::Ref<vexa::IVEXAUIMenuItemController> controller,
                                TPodcastEpisodeState state)
        : TVEXAPodcastsAbstractFileDependedMenuItem(client, std::move(controller)), FState(state) {}
    std::int32_t GetButton() const override {
        return FState == pesListened ? vexa::IVEXAMenuItem::DoneButton : vexa::IVEXAMenuItem::NoButton;
    }

protected:
    void Run(TPodcastClient& client) override;

private:
    TPodcastEpisodeState FState;
};

/// Downloads the selected episodes, or deletes their local copies if the focused episode has one.
class TVEXAPodcastsCacheMenuItem : public TVEXAPodcastsAbstractFileDependedMenuItem {
public:
    using TVEXAPodcastsAbstractFileDependedMenuItem::TVEXAPodcastsAbstractFileDependedMenuItem;
    std::int32_t GetButton() const override { return vexa::IVEXAMenuItem::FetchButton; }
    void UpdateMenuState(vexa::IVEXAMenuItem& hostItem) override;

protected:
    void Run(TPodcastClient& client) override;

private:
    bool FIsCached = false;  // as of the last refresh, and as the caption says
};

class TVEXAPodcastsCheckLocalCopiesMenuItem : public TVEXAPodcastsCustomMenuItem {
public:
    using TVEXAPodcastsCustomMenuItem::TVEXAPodcastsCustomMenuItem;

protected:
    void Run(TPodcastClient& client) override;
};

}  // namespace podcasts
