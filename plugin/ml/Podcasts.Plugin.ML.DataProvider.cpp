#include "Podcasts.Plugin.ML.DataProvider.h"

#include "Podcasts.Core.Classes.h"

#include <iterator>

namespace podcasts {

using namespace vexa;

namespace {

using Field = IVEXAMLDataField;

struct FieldDefinition {
    const char16_t* Name;
    std::int32_t Type;
    std::int32_t Flags;
    std::int32_t Role = Field::None;
};

// In the order in which the host gets them.
constexpr FieldDefinition kFields[] = {
    {u"ID", Field::Text, Field::Internal},
    {u"FileName", Field::FileName, Field::Internal},
    {u"Title", Field::Text, Field::Filterable, Field::Title},
    {u"Artist", Field::Text, Field::Filterable, Field::Performer},
    {u"Category", Field::Text, Field::Filterable},
    {u"Duration", Field::Duration, 0, Field::Length},
    {u"PublishDate", Field::DateTime, Field::Filterable, Field::Date},
    {u"Author", Field::Text, Field::Filterable},
    {u"FeedName", Field::Text, Field::Filterable, Field::Container},
    {u"URLAudioCached", Field::Text, 0, Field::LocalFile},
    {u"FileFormat", Field::Text, 0},
    {u"State", Field::Text, Field::Filterable, Field::State},
    {u"Node", Field::Text, Field::Internal},
};

constexpr const char16_t* kGroupFields[] = {u"FeedName"};
constexpr const char16_t* kTableFields[] = {u"Title", u"Artist",      u"Duration",
                                            u"State", u"PublishDate", u"URLAudioCached"};

Ref<IVEXAMLDataField> NewField(const FieldDefinition& definition) {
    const QString name = QString::fromUtf16(definition.Name);
    auto field = CreateHostObject<IVEXAMLDataField>();
    WritePropertyInt32(field.Get(), Field::Type, definition.Type);
    WritePropertyString(field.Get(), Field::Name, name);
    WritePropertyInt32(field.Get(), Field::FlagBits, definition.Flags | Field::Readable);
    // A host that does not know these properties still shows the field.
    if (definition.Role != Field::None) field->SetValueAsInt32(Field::Role, definition.Role);
    if (name == u"State") {
        const auto display = NewObject<TVEXAPodcastsStateFieldDisplayValue>();
        field->SetValueAsObject(Field::DisplayValue, static_cast<TInterfacedObjectEx*>(display.Get()));
        field->SetValueAsObject(Field::UntouchedValue, ToHostString(QString::number(pesNew)).Get());
        field->SetValueAsObject(Field::DoneValue, ToHostString(QString::number(pesListened)).Get());
    }
    if (name == kNodeField)
        field->SetValueAsInt32(Field::GroupingImage, IVEXAMLGroupingTreeDataProviderSelection::Source);
    return field;
}

template <class Names>
void AddNames(IVEXAObjectList& list, const Names& names) {
    for (const char16_t* name : names) RaiseIfFailed(list.Add(ToHostString(QString::fromUtf16(name)).Get()));
}

}  // namespace

QString TVEXAPodcastsGroupingTreeValue::Encode(std::uint8_t category, const QString& value) {
    return QStringLiteral("%1").arg(category, 2, 16, QChar(u'0')).toUpper() + value;
}

void TVEXAPodcastsGroupingTreeValue::Decode(const QString& text, std::uint8_t& category, QString& value) {
    bool isCategory = false;
    category = static_cast<std::uint8_t>(QStringView(text).left(2).toUInt(&isCategory, 16));
    if (text.size() < 2 || !isCategory) category = pscRoot;
    value = text.mid(2);
}

const char16_t* TVEXAPodcastsStateFieldDisplayValue::GetDisplayValue(const Variant* value,
                                                                     std::int32_t* length) noexcept {
    const char16_t* result = nullptr;
    if (length) *length = 0;
    if (!AreGiven(value, length)) return result;
    GuardedCall("showing a state", [&] {
        FText = LocalizedTextPart(QStringLiteral("Podcasts\\MSG7"), VariantToInt32(*value));
        *length = static_cast<std::int32_t>(FText.size());
        result = reinterpret_cast<const char16_t*>(FText.utf16());
    });
    return result;
}

Ref<IVEXAObjectList> TVEXAPodcastsMLDataStorage::BuildFieldList(std::int32_t schema) {
    auto list = CreateHostObject<IVEXAObjectList>();
    switch (schema) {
        case kSchemaAllFields:
            for (const FieldDefinition& definition : kFields) RaiseIfFailed(list->Add(NewField(definition).Get()));
            break;
        case kSchemaPlaylistGroups:
        case kSchemaTableGroups:
            AddNames(*list, kGroupFields);
            break;
        case kSchemaTable:
        case kSchemaTableAlbums:
        case kSchemaSearch:
            AddNames(*list, kTableFields);
            break;
        default:
            break;
    }
    return list;
}

QString TVEXAPodcastsMLDataProviderTableQueryBuilder::BuildQuery(IVEXAObjectList* fields, IVEXAMLDataFilter* filter) {
    TVEXAPodcastsMLDataProviderTableQueryBuilder builder;
    builder.AddSelect(fields);
    builder.Build(filter, fields, true);
    return builder.ToString() + u';';
}

void TVEXAPodcastsMLDataProviderTableQueryBuilder::AddSelect(IVEXAObjectList* fields) {
    Append(QStringLiteral("SELECT "));
    const qsizetype columns = ToString().size();
    AddSelectList(fields);
    // A request without any column still returns rows, but SQL needs a column.
    if (ToString().size() == columns) Append(QStringLiteral("NULL"));
    Append(kFromEpisodesAndFeeds);
}

bool TVEXAPodcastsMLDataProviderTableQueryBuilder::IsFieldExcludedFromSearch(const QString& field) const {
    return field.compare(u"ID", Qt::CaseInsensitive) == 0 || field.compare(u"FileName", Qt::CaseInsensitive) == 0;
}

void TVEXAPodcastsMLDataProviderTableQueryBuilder::InitializeFieldMap(FieldMap& map) {
    map.insert(kNodeField, QString());
    map.insert(QStringLiteral("FeedName"), QStringLiteral("Name"));
    map.insert(QStringLiteral("FileFormat"), QStringLiteral("Format"));
    map.insert(QStringLiteral("FileName"), QStringLiteral("URI"));
    map.insert(QStringLiteral("ID"), QStringLiteral("URI"));
}

void TVEXAPodcastsMLDataProviderTableQueryBuilder::AddComparison(const QString& field, const QString& value,
                                                                 std::int32_t operation) {
    if (field != kNodeField) return TVEXAMLSQLAdapter::AddComparison(field, value, operation);
    std::uint8_t category = pscRoot;
    QString nodeValue;
    TVEXAPodcastsGroupingTreeValue::Decode(value, category, nodeValue);
    AddNodeCondition(category, nodeValue);
}

void TVEXAPodcastsMLDataProviderTableQueryBuilder::AddNodeCondition(std::uint8_t category, const QString& value) {
    switch (category) {
        case pscCategory:
            return Append(u"Category = " + Literal(value));
        case pscState:
            return Append(u"State = " + Literal(value));
        case pscFeed:
            return Append(u"PodcastFeeds.URLFeed = " + Literal(value));
        default:
            return Append(QStringLiteral("1 = 1"));
    }
}

}  // namespace podcasts
