#pragma once
// Finding podcasts for the host and for the plug-in's own window: IVEXAMLFinder over the engine's directories.

#include "Podcasts.Find.h"
#include "apiWrappers.h"

#include <QPointer>
#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace podcasts {

class TfrmPodcastFind;

/// The searches of one storage, several at a time. Main thread.
class TPodcastsMLFinder {
public:
    /// `onLoad` brings the options up to date before they are read; `onSave` stores them when a directory has asked to
    /// be left alone.
    TPodcastsMLFinder(std::shared_ptr<TPodcastFindOptions> options, std::function<void()> onLoad,
                      std::function<void()> onSave);
    /// Ends all searches and the window.
    ~TPodcastsMLFinder();

    vexa::Ref<vexa::IVEXAObjectList> GetSources();
    std::int64_t Find(const QString& words, int limit, vexa::Ref<vexa::IVEXAMLFinderEvents> events);
    /// False for a search that has ended.
    bool Cancel(std::int64_t search);
    /// Opens the window, or brings it to the front; it works with the interfaces of `storage`. False in a program
    /// without windows.
    bool ShowWindow(vexa::WindowHandle owner, vexa::IUnknown* storage, const QString& text);
    /// Ends all searches and the window; the searches' events are told so.
    void Close();

private:
    struct Search {
        vexa::Ref<vexa::IVEXAMLFinderEvents> Told;
        std::unique_ptr<TPodcastFinder> Finder;
    };
    void TellFound(Search& search, std::size_t row);
    void TellDone(Search& search, const TPodcastDirectoryOutcome& outcome);
    /// Ends the search, whose finder may be used again.
    void End(std::int64_t search);

    const std::shared_ptr<TPodcastFindOptions> FOptions;
    const std::function<void()> FOnLoad, FOnSave;
    std::map<std::int64_t, Search> FSearches;
    /// Of ended searches: a finder that ends waits for its transfers, which would be felt while the user types.
    std::vector<std::unique_ptr<TPodcastFinder>> FIdle;
    std::int64_t FLastSearch = 0;
    QPointer<TfrmPodcastFind> FWindow;
    vexa::LinkSource<TPodcastsMLFinder> FLinks{this};
};

}  // namespace podcasts
