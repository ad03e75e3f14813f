#include "RowOptions.h"

#include "Commands.h"
#include "Tree.h"

#include <algorithm>
#include <optional>

namespace vexa::host {

namespace {

struct Operator {
    const char* Text;
    IVEXAMLFieldFilter::Operations Code;
};
constexpr Operator kOperators[] = {
    {"=", IVEXAMLFieldFilter::Equals},          {"<>", IVEXAMLFieldFilter::NotEquals},
    {"between", IVEXAMLFieldFilter::Between},   {"<", IVEXAMLFieldFilter::Less},
    {"<=", IVEXAMLFieldFilter::LessOrEqual},    {">", IVEXAMLFieldFilter::Greater},
    {">=", IVEXAMLFieldFilter::GreaterOrEqual}, {"contains", IVEXAMLFieldFilter::Contains},
    {"begins", IVEXAMLFieldFilter::BeginsWith}, {"ends", IVEXAMLFieldFilter::EndsWith},
};

/// Reads the words of a line one after the other.
class Words {
public:
    explicit Words(const QStringList& words) : FWords(words) {}

    bool HasMore() const { return FNext < FWords.size(); }
    QString Next(const QString& what) {
        if (!HasMore()) throw CommandError(what + u" is missing at the end of the line", E_INVALIDARG);
        return FWords[FNext++];
    }

private:
    const QStringList FWords;
    qsizetype FNext = 0;
};

RowCondition ReadCondition(Words& words) {
    RowCondition condition;
    condition.Field = words.Next(QStringLiteral("the field of --where"));
    const QString name = words.Next(QStringLiteral("the operator of --where"));
    const QString value = words.Next(QStringLiteral("the value of --where"));
    if (name == u"in") {
        for (const QString& text : value.split(u'|')) condition.OneOf.emplace_back(text);
        return condition;
    }
    const auto found = std::find_if(std::begin(kOperators), std::end(kOperators),
                                    [&](const Operator& known) { return name == QLatin1String(known.Text); });
    if (found == std::end(kOperators)) {
        QStringList known{QStringLiteral("in")};
        for (const Operator& each : kOperators) known += QString::fromLatin1(each.Text);
        throw CommandError(u"there is no operator " + name + u": take one of " + known.join(u' '), E_INVALIDARG);
    }
    condition.Operation = found->Code;
    condition.Value1 = value;
    if (found->Code == IVEXAMLFieldFilter::Between)
        condition.Value2 = words.Next(QStringLiteral("the second value of between"));
    return condition;
}

RowOrder ReadOrder(Words& words) {
    QString name = words.Next(QStringLiteral("the field of --sort"));
    const QString suffix = QStringLiteral(":desc");
    if (!name.endsWith(suffix)) return {name};
    name.chop(suffix.size());
    return {name, IVEXAMLSortDirection::Descending};
}

void ReadRange(Words& words, RowQuery& query) {
    const QStringList numbers = words.Next(QStringLiteral("the range")).split(u',');
    bool isOffset = false, isCount = false;
    query.Offset = numbers.value(0).toInt(&isOffset);
    query.Limit = numbers.value(1).toInt(&isCount);
    if (numbers.size() != 2 || !isOffset || !isCount || query.Offset < 0 || query.Limit <= 0)
        throw CommandError(QStringLiteral("a range is OFFSET,COUNT, such as 0,100"), E_INVALIDARG);
}

}  // namespace

Ref<IVEXAMLGroupingTreeDataProvider> FirstTree(const LibraryStorage& storage) {
    const std::vector<GroupingPreset> presets = storage.Presets();
    if (presets.empty()) throw CommandError(QStringLiteral("the storage has no tree"));
    return presets.front().Provider;
}

std::vector<TreePair> FindNode(const LibraryStorage& storage, const QStringList& values) {
    const std::optional<TreePath> path = Tree(FirstTree(storage)).FindByValues(values);
    if (!path) throw CommandError(u"the tree has no node " + values.join(QStringLiteral(" > ")), E_INVALIDARG);
    return PairsOf(*path);
}

RowQuery ReadRowOptions(const LibraryStorage& storage, const QStringList& arguments) {
    RowQuery query;
    QStringList node;
    for (Words words(arguments); words.HasMore();) {
        const QString option = words.Next({});
        if (option == u"--node")
            node += words.Next(QStringLiteral("the value of --node"));
        else if (option == u"--where")
            query.Where.push_back(ReadCondition(words));
        else if (option == u"--search")
            query.Search = words.Next(QStringLiteral("the text of --search"));
        else if (option == u"--sort")
            query.Sort.push_back(ReadOrder(words));
        else if (option == u"--range")
            ReadRange(words, query);
        else if (option == u"--fields")
            query.Fields = words.Next(QStringLiteral("the list of --fields")).split(u',');
        else
            throw CommandError(
                u"there is no option " + option + u": take --node, --where, --search, --sort, --range or --fields",
                E_INVALIDARG);
    }
    if (!node.isEmpty()) {
        query.Tree = FirstTree(storage);
        query.Node = FindNode(storage, node);
    }
    if (query.Fields.isEmpty())
        for (const LibraryField& field : storage.Fields())
            if (field.HasRows()) query.Fields += field.Name;
    return query;
}

}  // namespace vexa::host
