// The storage's optional interface for undoing what the user did with its commands.

#include "Podcasts.Plugin.Commands.h"
#include "Podcasts.Plugin.ML.h"
#include "VEXA.Runtime.Threads.h"

#include <QLocale>

namespace podcasts {

using namespace vexa;

namespace {

QString Described(const TPodcastAct& act) {
    const bool isOne = act.Count == 1;
    const auto format = [&](std::int32_t part) {
        return LocalizedTextPart(
            isOne ? QStringLiteral("Podcasts\\ActOnOne") : QStringLiteral("Podcasts\\ActOnSeveral"), part);
    };
    const QString what = isOne ? act.Title.simplified() : QLocale().toString(act.Count);
    constexpr std::int32_t filesDeleted = 3;  // after the states
    switch (act.What) {
        case TPodcastAct::Kind::Marked:
            return FormatText(format(act.State), what);
        case TPodcastAct::Kind::FilesDeleted:
            return FormatText(format(filesDeleted), what);
        case TPodcastAct::Kind::Unsubscribed:
            break;
    }
    return FormatText(LocalizedText(QStringLiteral("Podcasts\\ActUnsubscribed")), act.Title.simplified());
}

/// What is not as before the act; empty when everything is.
QString Described(const TPodcastUndone& undone) {
    if (undone.Problem) return LocalizedText(undone.Problem);
    if (undone.Changed == 0) return {};
    const QString format =
        FormatText(LocalizedText(QStringLiteral("Podcasts\\UndonePartly")), QLocale().toString(undone.Restored));
    return FormatText(format, QLocale().toString(undone.Restored + undone.Changed));
}

}  // namespace

HResult TVEXAPodcastsMLExtension::Describe(std::int64_t* act, IVEXAString** text) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(act) || !ClearOut(text)) return E_POINTER;
    *act = 0;
    return GuardedCall("describing what can be undone", [&] {
        const TPodcastClient* const client = FClient.Get();
        const auto last = client ? client->UndoLog().Last() : std::nullopt;
        if (!last) return S_FALSE;
        *text = ToHostString(Described(*last)).Detach();
        *act = last->Number;
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::Undo(std::int64_t act, IVEXAMLUndoEvents* events) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return GuardedCall("undoing", [&] {
        const TPodcastClient* const present = FClient.Get();
        if (!present || !present->UndoLog().Has(act)) return E_FAIL;
        RunCommand([act, told = Ref<IVEXAMLUndoEvents>(events)](TPodcastClient& client) {
            // The text is made on the main thread: it is in the user's language.
            const auto tell = [&](HResult result, const std::function<QString()>& text) {
                if (told) RunInMainThread([&] { told->OnUndone(result, ToHostString(text()).Get()); }, true);
            };
            try {
                // Another request may have undone the act meanwhile; then everything is as it was before it.
                const TPodcastUndone undone = UndoAct(client, act).value_or(TPodcastUndone{});
                tell(undone.Problem || undone.Changed > 0 ? S_FALSE : S_OK, [&] { return Described(undone); });
            } catch (...) {
                LogCaughtException(LogPlugin(), "undoing");
                const Reason why = CaughtReason();
                tell(E_FAIL, [&] { return LocalizedText(why); });
            }
        });
        return S_OK;
    });
}

}  // namespace podcasts
