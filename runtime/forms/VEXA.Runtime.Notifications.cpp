#include "VEXA.Runtime.Notifications.h"

#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Threads.h"

#include <cstdint>
#include <exception>
#include <iterator>
#include <utility>

namespace vexa {

struct NotificationIcon::Impl {
    QByteArray Icon;
    std::function<void()> OnClick;
    QString Button;
    std::function<void()> OnButton;
};

namespace {

/// The presenters, shared by all icons, and the one notification that is shown or about to be shown.
class Chain {
public:
    static Chain& Instance() {
        static auto* chain = new Chain;  // never destroyed: a tray icon must not outlive the application object
        return *chain;
    }

    void SetPresenters(std::vector<std::unique_ptr<NotificationPresenter>> presenters) {
        Hide();
        FPresenters.assign(std::make_move_iterator(presenters.begin()), std::make_move_iterator(presenters.end()));
    }

    void Show(const void* owner, Notification notification) {
        // Hide the notification of a later presenter, which may not be tried this time. The first presenter replaces
        // its own.
        if (FOwner && FAt > 0) Hide();
        const std::uint64_t turn = ++FTurn;
        // Queued, so that a handler may hide or destroy the icon, or replace the presenters, and may throw.
        for (auto* click : {&notification.OnClick, &notification.OnButton})
            if (*click)
                *click = [turn, onClick = std::move(*click)] {
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
        const bool isShown = FOwner && FAt < FPresenters.size();
        ++FTurn;
        FOwner = nullptr;
        FShown = {};
        if (!isShown) return;
        const auto presenter = FPresenters[FAt];
        presenter->Hide();
    }

    void Try() {
        if (FAt == FPresenters.size()) {
            qCWarning(LogRuntime).noquote() << "nothing shows notifications:" << FShown.Title << "-" << FShown.Text;
            return;
        }
        const auto refused = [this, turn = FTurn, at = FAt] {
            if (turn != FTurn || at != FAt) return;
            ++FAt;
            Try();
        };
        const auto presenter =
            FPresenters[FAt];  // copies keep the presenter and the notification alive during the call
        const Notification shown = FShown;
        try {
            presenter->Show(shown, refused);
        } catch (const std::exception& error) {
            qCWarning(LogRuntime) << "a way of showing notifications failed:" << error.what();
            refused();
        }
    }

    void Click(std::uint64_t turn, const std::function<void()>& onClick) const {
        if (turn == FTurn && onClick) onClick();
    }

    static std::vector<std::shared_ptr<NotificationPresenter>> DefaultPresenters() {
        return {MakeServicePresenter(), MakeTrayPresenter()};
    }

    std::vector<std::shared_ptr<NotificationPresenter>> FPresenters = DefaultPresenters();
    const void* FOwner = nullptr;  // the icon of the notification; null when none is shown
    Notification FShown;
    std::size_t FAt = 0;      // the index of the presenter that has the notification
    std::uint64_t FTurn = 0;  // distinguishes refusals and clicks of this notification from those of earlier ones
};

}  // namespace

NotificationPresenter::~NotificationPresenter() = default;

void SetNotificationPresenters(std::vector<std::unique_ptr<NotificationPresenter>> presenters) {
    VEXA_ASSERT_MAIN_THREAD();
    Chain::Instance().SetPresenters(std::move(presenters));
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

void NotificationIcon::SetButton(const QString& text, std::function<void()> onClick) {
    FImpl->Button = text;
    FImpl->OnButton = std::move(onClick);
}

void NotificationIcon::SetVisible(bool visible) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!visible) Chain::Instance().HideOf(FImpl.get());
}

void NotificationIcon::ShowBalloon(const QString& title, const QString& text, BalloonKind kind) {
    VEXA_ASSERT_MAIN_THREAD();
    // Calls a copy, because the handler may set another one.
    const auto handler = [this](std::function<void()> Impl::*which) {
        return [weak = std::weak_ptr<Impl>(FImpl), which] {
            const auto icon = weak.lock();
            if (const auto onClick = icon ? (*icon).*which : nullptr) onClick();
        };
    };
    Notification notification{title, text, kind, FImpl->Icon, handler(&Impl::OnClick), {}, {}};
    if (FImpl->OnButton) {
        notification.Button = FImpl->Button;
        notification.OnButton = handler(&Impl::OnButton);
    }
    Chain::Instance().Show(FImpl.get(), std::move(notification));
}

}  // namespace vexa
