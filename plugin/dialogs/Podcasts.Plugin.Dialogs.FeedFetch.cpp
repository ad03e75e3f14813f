#include "Podcasts.Plugin.Dialogs.FeedFetch.h"

#include "VEXA.Runtime.Url.h"

#include <memory>
#include <utility>

namespace podcasts {

using namespace vexa;

class TPodcastFeedFetch::FetchTask final : public Task {
public:
    FetchTask(TPodcastFeedFetch& owner, const QString& text) : FOwner(owner.FLinks), FText(text) {}

    void Execute() override {
        const auto found = std::make_shared<TPodcastFoundFeed>();
        try {
            *found = FindFeed(
                FText, 0,
                [this](const QString& address) { return LoadFeedDocument(address, [this] { return IsCancelled(); }); },
                [](const QString&) { return false; });
        } catch (const std::exception& error) {
            found->Error = ReasonOf(error);
        }
        RunInMainThread(
            [owner = FOwner, found] {
                TPodcastFeedFetch* const present = owner.Get();
                if (!present) return;
                const Done done = present->FDone;  // it may destroy the owner
                done(*found);
            },
            false);
    }
    QString Caption() const override { return MaskedUrl(FText); }

private:
    const Link<TPodcastFeedFetch> FOwner;  // used only on the main thread
    const QString FText;
};

TPodcastFeedFetch::TPodcastFeedFetch(const QString& text, Done done) : FDone(std::move(done)) {
    FTask = WorkerPool::Run(std::make_unique<FetchTask>(*this, text));
}

TPodcastFeedFetch::~TPodcastFeedFetch() {
    // While the main thread waits it runs queued procedures, which may include the end of the fetch.
    FLinks.Invalidate();
    WorkerPool::Cancel(FTask, true);
}

void TPodcastFeedFetch::Abandon() {
    FLinks.Invalidate();
    WorkerPool::Cancel(std::exchange(FTask, 0), false);
}

}  // namespace podcasts
