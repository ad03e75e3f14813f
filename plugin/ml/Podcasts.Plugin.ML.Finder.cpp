#include "Podcasts.Plugin.ML.Finder.h"

#include "Podcasts.Plugin.Dialogs.Find.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.Found.h"
#include "Podcasts.Plugin.ML.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Threads.h"

#include <bit>
#include <utility>

namespace podcasts {

using namespace vexa;

namespace {

constexpr int kUsualLimit = 50;

QString IDOf(std::size_t directory) {
    return QString::fromLatin1(PodcastDirectories()[directory].ID);
}

/// A directory, as the host gets it.
class FindSource : public TVEXAPropertyListAs<IVEXAMLFindSource> {
public:
    FindSource(std::size_t directory, bool isAsked) : FDirectory(directory), FIsAsked(isAsked) {}

protected:
    void DoGetValueAsVariant(std::int32_t propertyID, Variant& value, HResult& result) override {
        const TPodcastDirectory& directory = PodcastDirectories()[FDirectory];
        switch (propertyID) {
            case ID:
                value = ToVariant(IDOf(FDirectory));
                break;
            case Caption:
                value = ToVariant(QString::fromLatin1(directory.Name));
                break;
            case IsAsked:
                value = ToVariant(FIsAsked ? 1 : 0);
                break;
            case Learns:
                value = ToVariant(LocalizedText(Reason(directory.Learns)));
                break;
            default:
                TVEXAPropertyListAs::DoGetValueAsVariant(propertyID, value, result);
        }
    }

private:
    const std::size_t FDirectory;
    const bool FIsAsked;
};

/// On a worker thread.
QStringList Subscriptions() {
    QStringList addresses;
    if (const auto client = TPodcastsClientPass::Enter())
        client->DB().EnumFeedAddresses([&](const QString& address) { addresses += address; });
    return addresses;
}

Ref<TPodcastFoundInfo> ToFound(const TPodcastFindRow& row) {
    auto found = NewObject<TPodcastFoundInfo>();
    found->AddressText = row.Address;
    found->TitleText = row.Title;
    found->AuthorText = row.Author;
    found->DescriptionText = row.Description;
    found->PictureText = row.Picture;
    found->Rows = row.EpisodeCount;
    found->NewestDate = row.Newest.isValid() ? ToOleDate(row.Newest) : 0;
    found->IsStored = row.IsSubscribed;
    found->SourceID = IDOf(row.FirstDirectory);
    return found;
}

}  // namespace

TPodcastsMLFinder::TPodcastsMLFinder(std::shared_ptr<TPodcastFindOptions> options, std::function<void()> onLoad,
                                     std::function<void()> onSave)
    : FOptions(std::move(options)), FOnLoad(std::move(onLoad)), FOnSave(std::move(onSave)) {}

TPodcastsMLFinder::~TPodcastsMLFinder() {
    FLinks.Invalidate();
    Close();
}

void TPodcastsMLFinder::Close() {
    delete FWindow.data();
    while (!FSearches.empty()) {
        const Ref<IVEXAMLFinderEvents> told = FSearches.begin()->second.Told;
        FSearches.erase(FSearches.begin());
        told->OnCompleted();
    }
    FIdle.clear();
}

Ref<IVEXAObjectList> TPodcastsMLFinder::GetSources() {
    if (FOnLoad) FOnLoad();
    auto sources = CreateHostObject<IVEXAObjectList>();
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        const auto source = NewObject<FindSource>(i, FOptions->TakesPart(i));
        RaiseIfFailed(sources->Add(static_cast<TInterfacedObjectEx*>(source.Get())));
    }
    return sources;
}

std::int64_t TPodcastsMLFinder::Find(const QString& words, int limit, Ref<IVEXAMLFinderEvents> events) {
    if (FOnLoad) FOnLoad();
    const std::int64_t number = ++FLastSearch;
    Search& search = FSearches[number];
    search.Told = std::move(events);
    if (FIdle.empty()) FIdle.push_back(std::make_unique<TPodcastFinder>(Subscriptions));
    search.Finder = std::move(FIdle.back());
    FIdle.pop_back();
    // Each event may end the search, or this object.
    const auto with = [this, number](auto act) {
        return [this, number, act](const auto&... arguments) {
            if (const auto found = FSearches.find(number); found != FSearches.end())
                (this->*act)(found->second, arguments...);
        };
    };
    const auto completed = [link = Link<TPodcastsMLFinder>(FLinks), number] {
        if (auto* const self = link.Get()) self->End(number);
    };
    try {
        search.Finder->Find(words, limit > 0 ? limit : kUsualLimit, *FOptions,
                            {.Found = with(&TPodcastsMLFinder::TellFound),
                             .DirectoryDone = with(&TPodcastsMLFinder::TellDone),
                             .Completed = completed});
    } catch (const ReasonError& error) {
        // There is nobody to ask. The events are told so after the search has begun, like everything else.
        RunInMainThread(
            [told = search.Told, why = error.Why(), completed] {
                told->OnSourceDone(ToHostString({}).Get(), E_FAIL, ToHostString(LocalizedText(why)).Get());
                completed();
            },
            false);
    }
    return number;
}

void TPodcastsMLFinder::TellFound(Search& search, std::size_t row) {
    const auto found = ToFound(search.Finder->Rows()[row]);
    const Ref<IVEXAMLFinderEvents> told = search.Told;
    told->OnFound(found.Get());
}

void TPodcastsMLFinder::TellDone(Search& search, const TPodcastDirectoryOutcome& outcome) {
    const Ref<IVEXAMLFinderEvents> told = search.Told;
    if (outcome.RestsUntil.isValid()) {
        FOptions->Directories[outcome.Directory].RestsUntil = outcome.RestsUntil;
        if (FOnSave) FOnSave();
    }
    const HResult result = !outcome.Error ? S_OK : outcome.WasAsked ? E_FAIL : S_FALSE;
    told->OnSourceDone(ToHostString(IDOf(outcome.Directory)).Get(), result,
                       ToHostString(LocalizedText(outcome.Error)).Get());
}

void TPodcastsMLFinder::End(std::int64_t search) {
    const auto found = FSearches.find(search);
    if (found == FSearches.end()) return;
    const Ref<IVEXAMLFinderEvents> told = found->second.Told;
    found->second.Finder->Cancel();
    FIdle.push_back(std::move(found->second.Finder));
    FSearches.erase(found);
    told->OnCompleted();
}

bool TPodcastsMLFinder::Cancel(std::int64_t search) {
    if (!FSearches.contains(search)) return false;
    // The finder may be on the stack. It ends here and now; who asked is told afterwards.
    FSearches.at(search).Finder->Cancel();
    RunInMainThread(
        [link = Link<TPodcastsMLFinder>(FLinks), search] {
            if (auto* const self = link.Get()) self->End(search);
        },
        false);
    return true;
}

bool TPodcastsMLFinder::ShowWindow(WindowHandle owner, IUnknown* storage, const QString& text) {
    if (!CanShowWindows("searching for podcasts")) return false;
    if (!FWindow) FWindow = new TfrmPodcastFind(owner, Ref<IUnknown>(storage));
    FWindow->Open(text);
    return true;
}

// ---- The storage's interface ----

HResult TVEXAPodcastsMLExtension::GetSources(IVEXAObjectList** sources) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!ClearOut(sources)) return E_POINTER;
    return GuardedCall("listing the directories of podcasts", [&] {
        if (!FClient.Get()) return E_FAIL;
        *sources = FFinder.GetSources().Detach();
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::Find(IVEXAString* text, std::int32_t limit, IVEXAMLFinderEvents* events,
                                       std::int64_t* search) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(events, search)) return E_POINTER;
    *search = 0;
    return GuardedCall("searching for podcasts", [&] {
        if (!FClient.Get()) return E_FAIL;
        *search = FFinder.Find(FromHostString(text), limit, Ref<IVEXAMLFinderEvents>(events));
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::CancelSearch(std::int64_t search) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return GuardedCall("ending a search for podcasts", [&] { return FFinder.Cancel(search) ? S_OK : S_FALSE; });
}

HResult TVEXAPodcastsMLExtension::ShowSearchWindow(WindowHandle owner, IVEXAString* text) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return GuardedCall("opening the search for podcasts", [&] {
        auto* const self = static_cast<TInterfacedObjectEx*>(this);
        return FClient.Get() && FFinder.ShowWindow(owner, self, FromHostString(text)) ? S_OK : E_FAIL;
    });
}

}  // namespace podcasts
