// Commands about the contents of the music library's active storage.

#include "Commands.Functions.h"
#include "ErrorInfo.h"
#include "RowOptions.h"
#include "Rows.h"
#include "Tree.h"
#include "VEXA.Runtime.Dates.h"

#include <QDateTime>
#include <QJsonArray>

namespace vexa::host::commands {

namespace {

QJsonArray ToJson(const std::vector<TreeNode>& nodes) {
    QJsonArray list;
    for (const TreeNode& node : nodes)
        list += QJsonObject{{QStringLiteral("caption"), node.Caption},
                            {QStringLiteral("field"), node.Pair.Field},
                            {QStringLiteral("value"), node.Value()},
                            {QStringLiteral("image"), node.Image},
                            {QStringLiteral("hasChildren"), node.HasChildren()},
                            {QStringLiteral("standalone"), node.IsStandalone()}};
    return list;
}

QJsonValue ToJson(const RowValue& value, const LibraryField& field) {
    if (!field.IsNumber()) return value.Text;
    if (field.Type == IVEXAMLDataField::Duration) return value.Number;
    return DateToJson(value.Number);
}

QJsonObject ToJson(const RowPage& page, const std::vector<RowValue>& row) {
    QJsonObject values, shown;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const LibraryField& field = *page.Columns[i];
        values.insert(field.Name, ToJson(row[i], field));
        if (field.DisplayValues) shown.insert(field.Name, row[i].Shown);
    }
    if (!shown.isEmpty()) values.insert(QStringLiteral("shown"), shown);
    return values;
}

}  // namespace

QJsonValue DateToJson(double date) {
    const QDateTime time = date != 0 ? FromOleDate(date) : QDateTime();
    return time.isValid() ? QJsonValue(time.toString(Qt::ISODateWithMs)) : QJsonValue();
}

QJsonArray RowsToJson(const RowPage& page) {
    if (page.Error) throw CommandError(page.Error.English());
    QJsonArray rows;
    for (const auto& row : page.Rows) rows += ToJson(page, row);
    return rows;
}

QJsonObject Storages(Host& host, const QStringList&) {
    QJsonArray list;
    for (const QString& id : host.Library().StorageIDs()) {
        const LibraryStorage storage(host.Library(), id);
        list += QJsonObject{{QStringLiteral("id"), id},
                            {QStringLiteral("caption"), storage.Caption()},
                            {QStringLiteral("active"), id == host.Library().ActiveStorageID()},
                            {QStringLiteral("changes"), host.Library().ChangeCount(id)},
                            {QStringLiteral("subscriptions"), static_cast<bool>(storage.Subscriptions())}};
    }
    return {{QStringLiteral("storages"), list}};
}

QJsonObject Fields(Host& host, const QStringList& arguments) {
    const LibraryStorage storage(host.Library());
    bool isNumber = true;
    const int schema = arguments.isEmpty() ? int{kSchemaAllFields} : arguments[0].toInt(&isNumber);
    if (!isNumber) throw CommandError(QStringLiteral("a schema is a number, such as 10"), E_INVALIDARG);
    if (schema != kSchemaAllFields)
        return {{QStringLiteral("fields"),
                 QJsonArray::fromStringList(storage.FieldNames(static_cast<LibrarySchema>(schema)))}};
    QJsonArray list;
    for (const LibraryField& field : storage.Fields())
        list += QJsonObject{{QStringLiteral("name"), field.Name},
                            {QStringLiteral("type"), int{field.Type}},
                            {QStringLiteral("flags"), field.Flags},
                            {QStringLiteral("rows"), field.HasRows()}};
    return {{QStringLiteral("fields"), list}};
}

QJsonObject ListTree(Host& host, const QStringList& arguments) {
    const LibraryStorage storage(host.Library());
    const Tree tree(FirstTree(storage));
    const auto path = tree.FindByValues(arguments);
    if (!path) throw CommandError(u"the tree has no node " + arguments.join(QStringLiteral(" > ")), E_INVALIDARG);
    return {{QStringLiteral("nodes"), ToJson(path->empty() ? tree.Children() : tree.Children(path->back()))}};
}

QJsonObject Rows(Host& host, const QStringList& arguments) {
    const LibraryStorage storage(host.Library());
    return {{QStringLiteral("rows"), RowsToJson(RowReader(storage).ReadNow(ReadRowOptions(storage, arguments)))}};
}

QJsonObject Count(Host& host, const QStringList& arguments) {
    const LibraryStorage storage(host.Library());
    const RowCount count = RowReader(storage).CountNow(ReadRowOptions(storage, arguments));
    if (count.Error) throw CommandError(count.Error.English());
    return {{QStringLiteral("count"), static_cast<qint64>(count.Count)}};
}

QJsonObject Find(Host& host, const QStringList& arguments) {
    const LibraryStorage storage(host.Library());
    const auto location = storage.Find(arguments[0]);
    if (!location) throw CommandError(arguments[0] + u" is not in the library");
    QJsonArray node;
    for (const TreePair& pair : location->Node)
        node += QJsonObject{{QStringLiteral("field"), pair.Field}, {QStringLiteral("value"), ToText(pair.Value)}};
    return {{QStringLiteral("node"), node}, {QStringLiteral("filtered"), static_cast<bool>(location->Filter)}};
}

QJsonObject Play(Host& host, const QStringList& arguments) {
    const Ref<ErrorInfo> error(new ErrorInfo);
    const HResult result = host.Player().Play(MakeString(arguments[0]).Get(), error.Get());
    if (Failed(result)) {
        const QString message = error->Message();
        throw CommandError(message.isEmpty() ? QString(arguments[0] + u" cannot be played") : message, result);
    }
    return {{QStringLiteral("file"), host.Player().FileName()}, {QStringLiteral("source"), host.Player().Source()}};
}

}  // namespace vexa::host::commands
