// Commands about the active storage's background tasks and subscriptions.

#include "Commands.Functions.h"
#include "Completion.h"
#include "ErrorInfo.h"
#include "Guarded.h"
#include "Library.h"
#include "ObjectList.h"
#include "Properties.h"

#include <QDir>
#include <QJsonArray>

#include <functional>

namespace vexa::host::commands {

namespace {

/// Collects the results of a request and ends the wait for it.
class Outcome final : public RefCountedObject<IVEXAMLSubscriptionEvents, IVEXAMLSubscriptionChoices> {
public:
    void OnSubscribed(IVEXAString* address, HResult result, IVEXAString* text) noexcept override {
        Guarded("noting a subscription", [&] {
            FResults += QJsonObject{{QStringLiteral("address"), ToQString(address)},
                                    {QStringLiteral("code"), ToHex(result)},
                                    {QStringLiteral("text"), ToQString(text)}};
            return S_OK;
        });
    }
    void OnChoices(IVEXAString* address, IVEXAObjectList* feeds, IVEXAObjectList* titles) noexcept override {
        Guarded("noting what to choose from", [&] {
            FResults += QJsonObject{{QStringLiteral("address"), ToQString(address)},
                                    {QStringLiteral("choices"), ChoicesToJson(feeds, titles)}};
            return S_OK;
        });
    }
    void OnCompleted() noexcept override { FCompletion.Complete(); }

    QJsonObject Wait() {
        FCompletion.Wait(QStringLiteral("all is subscribed"));
        return {{QStringLiteral("results"), FResults}};
    }

private:
    QJsonArray FResults;
    Completion FCompletion;
};

Ref<IVEXAMLSubscriptionStorage> Subscriptions(Host& host) {
    auto subscriptions = LibraryStorage(host.Library()).Subscriptions();
    if (!subscriptions) throw CommandError(QStringLiteral("the storage is none of subscriptions"), E_NOINTERFACE);
    return subscriptions;
}

[[noreturn]] void Complain(const ErrorInfo& error, const QString& otherwise, HResult result) {
    const QString message = error.Message();
    throw CommandError(message.isEmpty() ? otherwise : message, result);
}

/// An absolute file name, because a plug-in must not depend on the program's working directory.
Ref<IVEXAString> WholeName(const QString& fileName) {
    return MakeString(QDir::current().absoluteFilePath(fileName));
}

QJsonArray Outcomes(IVEXAMLSubscriptionStorage& storage, std::int32_t taskID) {
    Ref<IVEXAObjectList> outcomes;
    QJsonArray list;
    if (Failed(storage.GetOutcomes(taskID, 0, outcomes.Put())) || !outcomes) return list;
    for (std::int32_t i = 0; i < outcomes->GetCount(); ++i) {
        Ref<IVEXAMLTaskOutcome> outcome;
        if (Failed(outcomes->GetObject(i, IVEXAMLTaskOutcome::IID, outcome.PutVoid()))) continue;
        const auto text = [&](std::int32_t id) { return TextOf(outcome.Get(), id); };
        const auto number = [&](std::int32_t id) { return NumberOf(outcome.Get(), id); };
        list += QJsonObject{{QStringLiteral("item"), text(IVEXAMLTaskOutcome::Item)},
                            {QStringLiteral("caption"), text(IVEXAMLTaskOutcome::Caption)},
                            {QStringLiteral("new"), number(IVEXAMLTaskOutcome::NewCount)},
                            {QStringLiteral("file"), text(IVEXAMLTaskOutcome::FileName)},
                            {QStringLiteral("error"), text(IVEXAMLTaskOutcome::Error)},
                            {QStringLiteral("dropped"), number(IVEXAMLTaskOutcome::Dropped) != 0},
                            {QStringLiteral("moved"), text(IVEXAMLTaskOutcome::MovedTo)},
                            {QStringLiteral("refused"), number(IVEXAMLTaskOutcome::Refused) != 0}};
    }
    return list;
}

}  // namespace

QJsonArray ChoicesToJson(IVEXAObjectList* feeds, IVEXAObjectList* titles) {
    const QStringList addresses = ToQStringList(feeds), captions = ToQStringList(titles);
    QJsonArray choices;
    for (qsizetype i = 0; i < addresses.size(); ++i)
        choices += QJsonObject{{QStringLiteral("address"), addresses[i]}, {QStringLiteral("title"), captions.value(i)}};
    return choices;
}

QJsonObject Tasks(Host& host, const QStringList&) {
    const LibraryStorage storage(host.Library());
    QJsonArray tasks;
    for (const BackgroundTask& task : host.Library().Tasks(storage.ID())) {
        QJsonObject shown{{QStringLiteral("id"), task.ID},
                          {QStringLiteral("caption"), ToQString(task.Caption.Get())},
                          {QStringLiteral("canCancel"), task.CanCancel()}};
        if (const auto progress = task.Progress()) {
            shown.insert(QStringLiteral("item"), progress->Item);
            shown.insert(QStringLiteral("count"), progress->Count);
            shown.insert(QStringLiteral("share"), progress->Share);
        }
        tasks += shown;
    }
    QJsonObject answer{{QStringLiteral("tasks"), tasks}};
    if (const auto subscriptions = storage.Subscriptions()) {
        answer.insert(QStringLiteral("downloads"), Outcomes(*subscriptions, IVEXAMLSubscriptionStorage::Downloads));
        answer.insert(QStringLiteral("refresh"), Outcomes(*subscriptions, IVEXAMLSubscriptionStorage::Refresh));
    }
    return answer;
}

QJsonObject Cancel(Host& host, const QStringList& arguments) {
    for (const BackgroundTask& task : host.Library().Tasks(LibraryStorage(host.Library()).ID())) {
        if (QString::number(task.ID) != arguments[0]) continue;
        if (!task.CanCancel()) throw CommandError(u"the task " + arguments[0] + u" cannot be cancelled", E_NOTIMPL);
        task.Cancel();
        return {};
    }
    throw CommandError(u"there is no task " + arguments[0] + u": tasks lists them", E_INVALIDARG);
}

QJsonObject Subscribe(Host& host, const QStringList& arguments) {
    const auto subscriptions = Subscriptions(host);
    const Ref<IVEXAObjectList> addresses(new ObjectList);
    for (const QString& address : arguments) addresses->Add(MakeString(address).Get());
    const Ref<Outcome> outcome(new Outcome);
    const HResult result = subscriptions->Subscribe(addresses.Get(), outcome.Get());
    if (Failed(result)) throw CommandError(QStringLiteral("the storage does not subscribe"), result);
    return outcome->Wait();
}

QJsonObject Import(Host& host, const QStringList& arguments) {
    const auto subscriptions = Subscriptions(host);
    const Ref<Outcome> outcome(new Outcome);
    const Ref<ErrorInfo> error(new ErrorInfo);
    const HResult result = subscriptions->ImportOPML(WholeName(arguments[0]).Get(), outcome.Get(), error.Get());
    if (Failed(result)) Complain(*error, QString(arguments[0] + u" cannot be read"), result);
    return outcome->Wait();
}

QJsonObject Export(Host& host, const QStringList& arguments) {
    const auto subscriptions = Subscriptions(host);
    const Ref<ErrorInfo> error(new ErrorInfo);
    const HResult result = subscriptions->ExportOPML(WholeName(arguments[0]).Get(), error.Get());
    if (Failed(result)) Complain(*error, QString(arguments[0] + u" cannot be written"), result);
    return {};
}

}  // namespace vexa::host::commands
