#include "Subscriber.h"

#include "ErrorInfo.h"
#include "Guarded.h"
#include "Installation.h"
#include "Library.h"
#include "ObjectList.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <stdexcept>

namespace vexa::host {

namespace {

constexpr qint64 kProbeBytes = 4096;  // read to recognise the type of a document

bool IsSubscriptionList(const QString& fileName) {
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly)) return false;
    return file.read(kProbeBytes).toLower().contains("<opml");
}

}  // namespace

/// Collects the outcomes that a storage reports, and passes them on when all have come. The subscriber may be gone by
/// then.
class Subscriber::Events final : public RefCountedObject<IVEXAMLSubscriptionEvents, IVEXAMLSubscriptionChoices> {
public:
    explicit Events(Link<Subscriber> owner) : FOwner(std::move(owner)) {}

    void OnSubscribed(IVEXAString* address, HResult result, IVEXAString* text) noexcept override {
        Guarded("noting a subscription", [&] {
            FOutcomes.push_back({ToQString(address), result, ToQString(text)});
            return S_OK;
        });
    }
    void OnChoices(IVEXAString* address, IVEXAObjectList* feeds, IVEXAObjectList* titles) noexcept override {
        Guarded("noting what to choose from", [&] {
            const QStringList addresses = ToQStringList(feeds), captions = ToQStringList(titles);
            Outcome outcome{ToQString(address), E_FAIL, {}};
            for (qsizetype i = 0; i < addresses.size(); ++i)
                outcome.Choices.push_back({addresses[i], captions.value(i)});
            FOutcomes.push_back(std::move(outcome));
            return S_OK;
        });
    }
    void OnCompleted() noexcept override {
        Guarded("ending a subscription", [&] {
            if (Subscriber* owner = FOwner.Get()) owner->End(FOutcomes);
            return S_OK;
        });
    }

private:
    const Link<Subscriber> FOwner;
    std::vector<Outcome> FOutcomes;
};

Subscriber::Subscriber(Host& host, QObject* parent) : QObject(parent), FHost(host) {}

Ref<IVEXAMLSubscriptionStorage> Subscriber::Storage() const {
    if (FHost.Library().ActiveStorageID().isEmpty()) return {};
    return LibraryStorage(FHost.Library()).Subscriptions();
}

bool Subscriber::CanSubscribe() const {
    return static_cast<bool>(Storage());
}

Ref<Subscriber::Events> Subscriber::Begin() {
    VEXA_ASSERT_MAIN_THREAD();
    if (FRunning++ == 0) Q_EMIT Started();
    return Ref<Events>(new Events(Link<Subscriber>(FLinks)));
}

void Subscriber::End(const std::vector<Outcome>& outcomes) {
    VEXA_ASSERT_MAIN_THREAD();
    --FRunning;
    Q_EMIT Finished(outcomes);
}

void Subscriber::Subscribe(const QStringList& addresses) {
    const auto storage = Storage();
    if (!storage) return;
    QStringList feeds;
    for (const QString& address : addresses) {
        const QString trimmed = address.trimmed();
        if (!IsSubscriptionList(trimmed)) {
            if (!trimmed.isEmpty()) feeds += trimmed;
            continue;
        }
        try {
            Import(trimmed);
        } catch (const std::exception& error) {
            Begin();
            End({{trimmed, E_FAIL, QString::fromUtf8(error.what())}});
        }
    }
    if (feeds.isEmpty()) return;
    const auto events = Begin();
    const HResult result = storage->Subscribe(MakeStringList(feeds).Get(), events.Get());
    if (Failed(result)) End({{feeds.join(QStringLiteral(", ")), result, {}}});
}

void Subscriber::Fail(const ErrorInfo& error, const char* text, const QString& fileName) const {
    const QString message = error.Message();
    throw std::runtime_error(
        (message.isEmpty() ? WindowTexts(FHost.Language())(text, fileName) : message).toStdString());
}

void Subscriber::Import(const QString& fileName) {
    const auto storage = Storage();
    const Ref<ErrorInfo> error(new ErrorInfo);
    if (!storage) Fail(*error, "CannotRead", fileName);
    const auto events = Begin();
    if (Succeeded(storage->ImportOPML(MakeString(fileName).Get(), events.Get(), error.Get()))) return;
    End({});
    Fail(*error, "CannotRead", fileName);
}

void Subscriber::Export(const QString& fileName) {
    const auto storage = Storage();
    const Ref<ErrorInfo> error(new ErrorInfo);
    if (!storage || Failed(storage->ExportOPML(MakeString(fileName).Get(), error.Get())))
        Fail(*error, "CannotWrite", fileName);
}

QString SubscriptionProblem(const Subscriber::Outcome& outcome, const WindowTexts& texts) {
    if (outcome.Code == E_ABORT)
        return texts("SubscribedAlready", outcome.Text.isEmpty() ? MaskedUrl(outcome.Address) : outcome.Text);
    if (Succeeded(outcome.Code)) return {};
    if (!outcome.Choices.empty()) return texts("SeveralFeeds", QString::number(outcome.Choices.size()));
    return outcome.Code == E_INVALIDARG || outcome.Text.isEmpty() ? texts("NoFeed") : outcome.Text;
}

QString SubscriptionReport(const std::vector<Subscriber::Outcome>& outcomes, const WindowTexts& texts,
                           bool onlyProblems) {
    QStringList lines;
    for (const Subscriber::Outcome& outcome : outcomes) {
        if (!outcome.Choices.empty()) continue;  // the user will be asked
        if (outcome.Code == S_FALSE) continue;   // the user has cancelled it
        const QString problem = SubscriptionProblem(outcome, texts);
        if (Failed(outcome.Code) && outcome.Code != E_ABORT)
            lines += QString(MaskedUrl(outcome.Address) + u": " + problem);
        else if (!problem.isEmpty())
            lines += problem;
        else if (!onlyProblems)
            lines += texts("Subscribed", outcome.Text.isEmpty() ? MaskedUrl(outcome.Address) : outcome.Text);
    }
    return lines.join(u'\n');
}

bool IsAddress(const QString& text) {
    static const QRegularExpression address(QString(u"^(" + OpenedSchemes().join(u'|') + u"):\\S+$"),
                                            QRegularExpression::CaseInsensitiveOption);
    return address.match(text).hasMatch() || IsUrlWithoutScheme(text);
}

EnteredText ReadEntered(const QString& text) {
    const QString entered = text.trimmed();
    if (entered.isEmpty()) return {};
    // The storage, which knows more schemes, says whether the address is one of a feed.
    const bool hasScheme = entered.contains(u"://") || (IsAddress(entered) && !IsUrlWithoutScheme(entered));
    if (hasScheme || QFileInfo(entered).isAbsolute()) return {.IsAddress = true};
    const bool hasBlank = std::any_of(entered.begin(), entered.end(), [](QChar c) { return c.isSpace(); });
    const bool hasPath = entered.contains(u'/');
    if (hasBlank || (!hasPath && !IsUrlWithoutScheme(entered))) return {.IsWords = true};
    // A host's name alone may be a podcast's, and so may a text with a stroke that does not begin with a host.
    const QString host = QUrl(u"https://" + entered).host();
    const bool isHostName = entered.compare(host, Qt::CaseInsensitive) == 0 && entered.back().isLetter();
    return {.IsAddress = true, .IsWords = isHostName || !IsUrlWithoutScheme(entered)};
}

QStringList AddressesIn(const QMimeData& data) {
    QStringList addresses;
    for (const QUrl& url : data.urls())
        addresses += url.isLocalFile() ? url.toLocalFile() : QString::fromUtf8(url.toEncoded());
    if (addresses.isEmpty() && data.hasText())
        for (const QString& line : data.text().split(u'\n', Qt::SkipEmptyParts))
            if (const QString trimmed = line.trimmed();
                trimmed.contains(u"://") || trimmed.startsWith(u'/') || IsAddress(trimmed))
                addresses += trimmed;
    return addresses;
}

}  // namespace vexa::host
