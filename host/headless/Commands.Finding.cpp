// Commands about what the active storage could add: finding it, and looking at it before it is added.

#include "Commands.Functions.h"
#include "Completion.h"
#include "Guarded.h"
#include "Properties.h"
#include "RowOptions.h"

namespace vexa::host::commands {

namespace {

QJsonObject ToJson(IVEXAMLFound* found) {
    QJsonObject shown;
    for (const auto& [name, property] : {std::pair("address", IVEXAMLFound::Address),
                                         {"title", IVEXAMLFound::Title},
                                         {"author", IVEXAMLFound::Author},
                                         {"description", IVEXAMLFound::Description},
                                         {"picture", IVEXAMLFound::PictureAddress},
                                         {"source", IVEXAMLFound::Source}})
        shown.insert(QLatin1String(name), TextOf(found, property));
    double newest = 0;
    found->GetValueAsFloat(IVEXAMLFound::Newest, &newest);
    shown.insert(QStringLiteral("rows"), NumberOf(found, IVEXAMLFound::RowCount));
    shown.insert(QStringLiteral("newest"), DateToJson(newest));
    shown.insert(QStringLiteral("subscribed"), NumberOf(found, IVEXAMLFound::IsSubscribed) != 0);
    return shown;
}

/// The interface of the active storage; throws CommandError when it does not offer it.
template <class Interface>
Ref<Interface> Offered(const LibraryStorage& storage, const char* what) {
    auto offered = storage.Offered<Interface>();
    if (!offered) throw CommandError(u"the storage cannot " + QString::fromLatin1(what), E_NOINTERFACE);
    return offered;
}

/// Collects what a search finds.
class Findings final : public RefCountedObject<IVEXAMLFinderEvents> {
public:
    void OnFound(IVEXAMLFound* found) noexcept override {
        Guarded("noting what was found", [&] {
            const QJsonObject shown = ToJson(found);
            const QString address = shown[QStringLiteral("address")].toString();
            const qsizetype place = FAddresses.indexOf(address);
            if (place >= 0) {
                FFound[place] = shown;
                return S_OK;
            }
            FAddresses += address;
            FFound += shown;
            return S_OK;
        });
    }
    void OnSourceDone(IVEXAString* source, HResult result, IVEXAString* text) noexcept override {
        Guarded("noting that a source has answered", [&] {
            FSources += QJsonObject{{QStringLiteral("id"), ToQString(source)},
                                    {QStringLiteral("code"), ToHex(result)},
                                    {QStringLiteral("text"), ToQString(text)}};
            return S_OK;
        });
    }
    void OnCompleted() noexcept override { FCompletion.Complete(); }

    QJsonObject Wait() {
        FCompletion.Wait(QStringLiteral("all sources have answered"));
        return {{QStringLiteral("found"), FFound}, {QStringLiteral("sources"), FSources}};
    }

private:
    QStringList FAddresses;  // of FFound
    QJsonArray FFound, FSources;
    Completion FCompletion;
};

/// Receives what an address leads to.
class Opened final : public RefCountedObject<IVEXAMLPreviewEvents, IVEXAMLSubscriptionChoices> {
public:
    void OnOpened(HResult result, IVEXAMLDataProvider* rows, IVEXAMLFound* info, IVEXAString* text) noexcept override {
        Guarded("noting what an address leads to", [&] {
            Result = result;
            Rows = Ref<IVEXAMLDataProvider>(rows);
            if (info) Info = ToJson(info);
            Text = ToQString(text);
            return S_OK;
        });
        FCompletion.Complete();
    }
    void OnChoices(IVEXAString*, IVEXAObjectList* feeds, IVEXAObjectList* titles) noexcept override {
        Guarded("noting what to choose from", [&] { return Choices = ChoicesToJson(feeds, titles), S_OK; });
    }
    void Wait() { FCompletion.Wait(QStringLiteral("the address has been read")); }

    HResult Result = E_FAIL;
    Ref<IVEXAMLDataProvider> Rows;
    QJsonObject Info;
    QJsonArray Choices;
    QString Text;

private:
    Completion FCompletion;
};

}  // namespace

QJsonObject Search(Host& host, const QStringList& arguments) {
    const auto finder = Offered<IVEXAMLFinder>(LibraryStorage(host.Library()), "search");
    QStringList words = arguments;
    std::int32_t limit = 0;
    if (const qsizetype option = words.indexOf(QStringLiteral("--limit")); option >= 0) {
        bool isNumber = false;
        limit = words.value(option + 1).toInt(&isNumber);
        if (!isNumber || limit < 1)
            throw CommandError(QStringLiteral("--limit takes a number of results, such as 20"), E_INVALIDARG);
        words.remove(option, 2);
    }
    const Ref<Findings> findings(new Findings);
    std::int64_t search = 0;
    const HResult result = finder->Find(MakeString(words.join(u' ')).Get(), limit, findings.Get(), &search);
    if (Failed(result)) throw CommandError(QStringLiteral("the storage does not search"), result);
    return findings->Wait();
}

QJsonObject Preview(Host& host, const QStringList& arguments) {
    const LibraryStorage storage(host.Library());
    const RowQuery query = ReadRowOptions(storage, arguments.sliced(1));
    const Ref<Opened> opened(new Opened);
    std::int64_t opening = 0;
    const HResult result = Offered<IVEXAMLPreview>(storage, "show a preview")
                               ->Open(MakeString(arguments[0]).Get(), opened.Get(), &opening);
    if (Failed(result)) throw CommandError(QStringLiteral("the storage does not open it"), result);
    opened->Wait();
    if (!opened->Choices.isEmpty()) return {{QStringLiteral("choices"), opened->Choices}};
    if (opened->Result != S_OK || !opened->Rows)
        throw CommandError(opened->Text.isEmpty() ? QString(arguments[0] + u" cannot be opened") : opened->Text,
                           Failed(opened->Result) ? opened->Result : E_FAIL);
    const LibraryStorage previewed = storage.WithRows(opened->Rows);
    return {{QStringLiteral("info"), opened->Info},
            {QStringLiteral("rows"), RowsToJson(RowReader(previewed).ReadNow(query))}};
}

}  // namespace vexa::host::commands
