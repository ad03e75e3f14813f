// Finds the selected feeds and episodes for the commands.

#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.h"
#include "Podcasts.Plugin.Menus.h"

namespace podcasts {

using namespace vexa;

namespace {

/// Whether the library shows the podcasts.
bool IsStorageActive() {
    const auto library = HostService<IVEXAServiceMusicLibrary>();
    Ref<IVEXAPodcastsMLExtension> storage;
    return library && Succeeded(library->GetActiveStorage(IVEXAPodcastsMLExtension::IID, storage.PutVoid())) && storage;
}

}  // namespace

int TVEXAPodcastsFileList::Add(const QString& file) {
    QString episodeKey;
    return TVEXAPodcastsFileManager::ParseURI(file, episodeKey) ? TVEXAFileList::Add(episodeKey) : -1;
}

void TVEXAPodcastsFileList::MarkFocused(const QString& file) {
    QString episodeKey;
    if (TVEXAPodcastsFileManager::ParseURI(file, episodeKey)) TVEXAFileList::MarkFocused(episodeKey);
}

void TVEXAPodcastsGroupingTreeFileList::Clear() {
    TVEXAFileList::Clear();
    Category.clear();
    State = 0;
}

TVEXAPodcastsGroupingTreeMenuItemController::TVEXAPodcastsGroupingTreeMenuItemController()
    : TVEXAUIMusicLibraryBasedMenuItemController(MakeFileList<TVEXAPodcastsGroupingTreeFileList>) {}

bool TVEXAPodcastsGroupingTreeMenuItemController::IsContextAvailable() {
    return IsStorageActive();
}

void TVEXAPodcastsGroupingTreeMenuItemController::PopulateFiles(TVEXAFileList& files) {
    const auto library = HostService<IVEXAServiceMusicLibraryUI>();
    Ref<IVEXAMLDataFilter> filter;
    if (!library || Failed(library->GetGroupingFilter(filter.Put())) || !filter) return;
    TParamExtracter(*filter, dynamic_cast<TVEXAPodcastsGroupingTreeFileList&>(files));
}

TVEXAPodcastsGroupingTreeMenuItemController::TParamExtracter::TParamExtracter(IVEXAMLDataFilter& filter,
                                                                              TVEXAPodcastsGroupingTreeFileList& files)
    : FFiles(files) {
    Build(&filter, nullptr, false);
}

void TVEXAPodcastsGroupingTreeMenuItemController::TParamExtracter::AddNodeCondition(std::uint8_t category,
                                                                                    const QString& value) {
    switch (category) {
        case pscCategory:
            FFiles.Category = value;
            break;
        case pscState:
            FFiles.State = value.toInt();
            break;
        case pscFeed:
            if (value.isEmpty()) break;
            FFiles.Add(value);
            FFiles.FocusIndex = 0;
            break;
        default:
            break;
    }
    TVEXAPodcastsMLDataProviderTableQueryBuilder::AddNodeCondition(category, value);
}

TVEXAPodcastsMLTableMenuItemController::TVEXAPodcastsMLTableMenuItemController()
    : TVEXAUIMusicLibraryBasedMenuItemController(MakeFileList<TVEXAPodcastsFileList>) {}

bool TVEXAPodcastsMLTableMenuItemController::IsContextAvailable() {
    return IsStorageActive();
}

TVEXAPodcastsPlaylistMenuItemController::TVEXAPodcastsPlaylistMenuItemController()
    : TVEXAUIPlaylistBasedMenuItemController(MakeFileList<TVEXAPodcastsFileList>) {}

}  // namespace podcasts
