#include "VEXA.Runtime.Notifications.h"

#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Threads.h"

#include <cstdint>
#include <exception>
#include <utility>

namespace vexa {

struct NotificationIcon::Impl {
    QByteArray Icon;
    std::function<void()> OnClick;
};

namespace {

/// The presenters, shared by all icons, and the one notification that they show or are asked to show.
class Chain {
public:
    static Chain& Instance() {
        static auto* chain = new Chain;  // never destroyed: a tray icon must not outlive the application object
        return *chain;
    }

    void SetWays(std::vector<std::unique_ptr<NotificationPresenter>> ways) {
        Hide();
        std::vector<std::shared_ptr<NotificationPresenter>> shared;
        for (auto& way : ways) shared.emplace_back(std::move(way));
        FWays = std::move(shared);
    }

    void Show(const void* owner, Notification notification) {
        // A way further down the chain may get nothing this time, so what it shows goes; the first one replaces.
        if (FOwner && FAt > 0) Hide();
        const std::uint64_t turn = ++FTurn;
        // Queued, so that a handler may hide or destroy the icon, or put other presenters in, and may throw.
        notification.OnClick = [turn, onClick = std::move(notification.OnClick)] {
            RunInMainThread([turn, onClick] { Instance().Click(turn, onClick); }, false);
        };
        FOwner = owner;
        FShown = std::move(notification);
        FAt = 0;
        Try();
    }

    void HideOf(const void* owner) {
        if (FOwner == owner) Hide();
    }

private:
    void Hide() {
        const bool isShown = FOwner && FAt < FWays.size();
        ++FTurn;
        FOwner = nullptr;
        FShown = {};
        if (!isShown) return;
        const auto way = FWays[FAt];
        way->Hide();
    }

    void Try() {
        if (FAt == FWays.size()) {
            qCWarning(LogRuntime).noquote() << "nothing shows notifications:" << FShown.Title << "-" << FShown.Text;
            return;
        }
        const auto refused = [this, turn = FTurn, at = FAt] {
            if (turn != FTurn || at != FAt) return;
            ++FAt;
            Try();
        };
        const auto way = FWays[FAt];  // it and the notification live through the call, whatever is called back
        const Notification shown = FShown;
        try {
            way->Show(shown, refused);
        } catch (const std::exception& error) {
            qCWarning(LogRuntime) << "a way of showing notifications failed:" << error.what();
            refused();
        }
    }

    void Click(std::uint64_t turn, const std::function<void()>& onClick) const {
        if (turn == FTurn && onClick) onClick();
    }

    static std::vector<std::shared_ptr<NotificationPresenter>> DefaultWays() {
        return {MakeServicePresenter(), MakeTrayPresenter()};
    }

    std::vector<std::shared_ptr<NotificationPresenter>> FWays = DefaultWays();
    const void* FOwner = nullptr;  // the icon whose notification it is; null when nothing is to be shown
    Notification FShown;
    std::size_t FAt = 0;      // which way has it
    std::uint64_t FTurn = 0;  // tells this notification's answers and clicks from those of earlier ones
};

}  // namespace

NotificationPresenter::~NotificationPresenter() = default;

void SetNotificationPresenters(std::vector<std::unique_ptr<NotificationPresenter>> presenters) {
    VEXA_ASSERT_MAIN_THREAD();
    Chain::Instance().SetWays(std::move(presenters));
}

NotificationIcon::NotificationIcon() : FImpl(std::make_shared<Impl>()) {}

NotificationIcon::~NotificationIcon() {
    SetVisible(false);
}

void NotificationIcon::SetIcon(const QByteArray& png) {
    FImpl->Icon = png;
}

void NotificationIcon::SetOnClick(std::function<void()> onClick) {
    FImpl->OnClick = std::move(onClick);
}

void NotificationIcon::SetVisible(bool visible) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!visible) Chain::Instance().HideOf(FImpl.get());
}

void NotificationIcon::ShowBalloon(const QString& title, const QString& text, BalloonKind kind) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto click = [weak = std::weak_ptr<Impl>(FImpl)] {
        const auto icon = weak.lock();
        // A copy: the handler may set another.
        if (const auto onClick = icon ? icon->OnClick : nullptr) onClick();
    };
    Chain::Instance().Show(FImpl.get(), {title, text, kind, FImpl->Icon, click});
}

}  // namespace vexa
