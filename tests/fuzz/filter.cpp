// Translates a host's filter to a statement, and runs the statement on a database of the real layout.

#include "Filters.h"
#include "Fuzzing.h"
#include "Host.h"
#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.ML.Rows.h"
#include "TempFolder.h"
#include "VEXA.Runtime.Text.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <sqlite3.h>

using namespace podcasts;
using namespace vexa;
using Builder = TVEXAPodcastsMLDataProviderTableQueryBuilder;
using fuzzing::Require;

namespace {

// The depth of nested groups that SQLite's parser accepts for sure; deeper ones may be refused.
constexpr int kSureDepth = 10;
constexpr int kMaxConditions = 60;

constexpr const char* kFields[] = {"ID",         "FileName",    "Title",  "Artist",   "Category",
                                   "Duration",   "PublishDate", "Author", "FeedName", "URLAudioCached",
                                   "FileFormat", "State",       "Node"};

class RandomFilter {
public:
    RandomFilter(const std::uint8_t* data, std::size_t size) : FData(data, size) {
        Filter = CreateHostObject<IVEXAMLDataFilter>();
        Fields = CreateHostObject<IVEXAObjectList>();
        Fields->Add(ToHostString(QStringLiteral("ID")).Get());
        for (int i = FData.ConsumeIntegralInRange(0, 5); i > 0; --i) Fields->Add(ToHostString(Field()).Get());
        if (FData.ConsumeBool()) WritePropertyString(Filter.Get(), IVEXAMLDataFilter::SearchText, Text());
        if (FData.ConsumeBool()) WritePropertyInt32(Filter.Get(), IVEXAMLDataFilter::Limit, Number());
        if (FData.ConsumeBool()) WritePropertyInt32(Filter.Get(), IVEXAMLDataFilter::Offset, Number());
        const auto order = CreateHostObject<IVEXAObjectList>();
        for (int i = FData.ConsumeIntegralInRange(0, 3); i > 0; --i) {
            const auto direction =
                FData.ConsumeBool() ? IVEXAMLSortDirection::Ascending : IVEXAMLSortDirection::Descending;
            order->Add(Ref<IVEXAString>(new host::SortItem(Column(), direction)).Get());
        }
        WritePropertyObject(Filter.Get(), IVEXAMLDataFilter::SortList, order.Get());
        Fill(*Filter, 0);
    }

    Ref<IVEXAMLDataFilter> Filter;
    Ref<IVEXAObjectList> Fields;
    bool IsSure = true;  // the database must accept it

private:
    QString Text() { return FromUtf8(FData.ConsumeRandomLengthString(40)); }
    std::int32_t Number() {
        return FData.ConsumeBool() ? FData.ConsumeIntegralInRange(0, 20) : FData.ConsumeIntegral<std::int32_t>();
    }
    QString Field() {
        if (FData.ConsumeIntegralInRange(0, 15) > 0) return QString::fromLatin1(FData.PickValueInArray(kFields));
        IsSure = false;
        return Text();
    }
    /// A field; notes if it is the one that has no column.
    QString Column() {
        const QString field = Field();
        if (field == kNodeField) IsSure = false;
        return field;
    }
    Variant Value() {
        switch (FData.ConsumeIntegralInRange(0, 4)) {
            case 0:
                return ToVariant(FData.ConsumeIntegral<std::int32_t>());
            case 1:
                return ToVariant(FData.ConsumeIntegral<std::int64_t>());
            case 2:
                return ToVariant(FData.ConsumeFloatingPoint<double>());
            case 3:
                return Variant();
            default:
                return ToVariant(Text());
        }
    }
    void Fill(IVEXAMLGroupFilter& group, int depth) {
        WritePropertyInt32(&group, IVEXAMLGroupFilter::Operation, FData.ConsumeIntegralInRange(0, 3));
        for (int i = FData.ConsumeIntegralInRange(0, 4); i > 0 && FConditions < kMaxConditions; --i, ++FConditions) {
            switch (FData.ConsumeIntegralInRange(0, 3)) {
                case 0: {
                    Ref<IVEXAMLGroupFilter> nested;
                    RaiseIfFailed(group.AddGroup(nested.Put()));
                    if (depth >= kSureDepth) IsSure = false;
                    Fill(*nested, depth + 1);
                    break;
                }
                case 1: {
                    std::vector<Variant> values(FData.ConsumeIntegralInRange<std::size_t>(0, 4));
                    for (Variant& value : values) value = Value();
                    RaiseIfFailed(group.AddArray(ToHostString(Column()).Get(), values.data(),
                                                 static_cast<std::int32_t>(values.size()), nullptr));
                    break;
                }
                default: {
                    const Variant first = Value(), second = Value();
                    const int operation = FData.ConsumeIntegralInRange(0, 9);
                    const QString field = operation < IVEXAMLFieldFilter::Between ? Field() : Column();
                    RaiseIfFailed(group.Add(ToHostString(field).Get(), &first, &second, operation, nullptr));
                }
            }
        }
    }

    FuzzedDataProvider FData;
    int FConditions = 0;
};

/// The database, which checks statements before it runs them.
class Library {
public:
    Library() {
        TVEXAAPIWrappers::Initialize(&FHost.PluginCore());
        const char* words[] = {"News", "It's", "100%", "a_b", "ÄÖ", "", "1", "zz"};
        for (int f = 0; f < 3; ++f) {
            TPodcastFeed feed;
            feed.Fields[pffTitle] = QString::fromUtf8(words[f]);
            feed.Fields[pffURLFeed] = QStringLiteral("http://host/%1").arg(f);
            for (int e = 0; e < 12; ++e) {
                TPodcastEpisode& episode = feed.NewEpisode();
                episode.Fields[pefGUID] = QString::number(e);
                episode.Fields[pefTitle] = QString::fromUtf8(words[(e + f) % 8]);
                episode.Fields[pefURLAudio] = QStringLiteral("http://host/%1/%2.mp3").arg(f).arg(e);
                const int day = e / 3;
                episode.PublishDate = 40000.0 + day;
                episode.Duration = static_cast<float>(e);
                episode.State = static_cast<TPodcastEpisodeState>(e % 3);
            }
            DB.AddOrUpdate(feed);
        }
        sqlite3_open(qPrintable(DB.FileName()), &FPlain);
        sqlite3_create_collation(FPlain, "UNICODE", SQLITE_UTF8, nullptr,
                                 [](void*, int, const void*, int, const void*) { return 0; });
    }

    /// The text must be exactly one statement, which only reads.
    void CheckSelect(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        const char* rest = nullptr;
        const int code = sqlite3_prepare_v2(FPlain, sql.c_str(), -1, &statement, &rest);
        const QString text = QString::fromStdString(sql);
        if (code == SQLITE_OK) {
            Require(statement && sqlite3_stmt_readonly(statement) && text.startsWith(u"SELECT "), "it reads", text);
            Require(*rest == '\0', "it is one statement", text);
        }
        sqlite3_finalize(statement);
    }

private:
    tests::TempFolder FProfile;
    host::Host FHost{{FProfile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}}};
    sqlite3* FPlain = nullptr;

public:
    TPodcastsDB DB{FProfile.File(QStringLiteral("Podcasts.db"))};
    TPodcastsRows Rows;
};

QStringList Texts(SqliteRows* rows) {
    QStringList texts;
    if (rows) do {
            QString row;
            for (int i = 0; i < rows->ColumnCount(); ++i) row += rows->Text(i) + u'|';
            texts += row;
        } while (rows->Next());
    return texts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Library& library = *new Library;  // never destroyed
    const RandomFilter random(data, size);
    TPodcastsRowRequest request;
    try {
        request = ReadRowRequest(random.Fields.Get(), random.Filter.Get());
    } catch (const std::invalid_argument& error) {
        Require(!random.IsSure, "a filter of known fields has a statement", QString::fromUtf8(error.what()));
        return 0;
    }
    const QString statement = request.Statement + request.Range;
    const std::string sql = ToUtf8(statement);
    library.CheckSelect(sql);
    QStringList plain;
    try {
        plain = Texts(library.DB.Read(sql).get());
    } catch (const SqliteError& error) {
        Require(!random.IsSure, "the database takes the statement", QString::fromUtf8(error.what()) + u" " + statement);
        return 0;
    }
    Require(Texts(library.Rows.Read(library.DB, request).get()) == plain, "a page is that of the statement", statement);
    const qint64 count = library.Rows.Count(library.DB, request);
    if (request.Count == 0) Require(count == plain.size(), "rows are counted as they are read", statement);
    return 0;
}
