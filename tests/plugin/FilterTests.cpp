// Translation of the host's filters: the text of the statements, and the rows that they return.

#include "DataFilters.h"
#include "Podcasts.Plugin.ML.Rows.h"

#include <unicode/ucol.h>

#include <random>

namespace podcasts {
namespace {

using namespace vexa;
using Builder = TVEXAPodcastsMLDataProviderTableQueryBuilder;

/// The adapter without the podcasts' own fields.
class PlainAdapter : public TVEXAMLSQLAdapter {};

class FilterTest : public FilterHost {
protected:
    // The first adapter in a process fills the field map for all.
    FilterTest() { Builder(); }
    QString Built(bool isAndNeeded, IVEXAObjectList* fields = nullptr) {
        PlainAdapter adapter;
        adapter.Build(Filter.Get(), fields, isAndNeeded);
        return adapter.ToString();
    }
    Ref<IVEXAMLDataFilter> Filter = CreateHostObject<IVEXAMLDataFilter>();
};

TEST_F(FilterTest, TheHiddenFieldHasNoColumnAndTheAddressIsNotSearched) {
    WritePropertyString(Filter.Get(), IVEXAMLDataFilter::SearchText, "news");
    EXPECT_EQ(Builder::BuildQuery(List({"ID", "Node", "FileName", "", "Title"}).Get(), Filter.Get()),
              "SELECT URI, URI, Title FROM PodcastEpisodes, PodcastFeeds WHERE (PodcastEpisodes.FeedID = "
              "PodcastFeeds.FeedID) AND ((UPPER(Title) LIKE '%NEWS%'));");
}

TEST_F(FilterTest, WhatIsEmptyRestrictsNothing) {
    EXPECT_EQ(Built(false), "(1 = 1)");
    EXPECT_EQ(Built(true), "");
    WritePropertyInt32(Filter.Get(), IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::And);
    Ref<IVEXAMLGroupFilter> empty;
    RaiseIfFailed(Filter->AddGroup(empty.Put()));
    RaiseIfFailed(Filter->AddGroup(empty.Put()));
    WritePropertyInt32(empty.Get(), IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::NotOr);
    EXPECT_EQ(Built(false), "(1 = 1) AND ( NOT 1 = 1)");
    Filter->Clear();
    WritePropertyInt32(Filter.Get(), IVEXAMLDataFilter::Offset, 40);
    SortBy(*Filter, {{"a", 1}, {"b", 2}});
    EXPECT_EQ(Built(true), " ORDER BY a, b DESC") << "the offset needs a limit";
    WritePropertyString(Filter.Get(), IVEXAMLDataFilter::SearchText, "x");
    EXPECT_EQ(Built(true, List({"Node"}).Get()).left(12), " AND (1 = 0)");
}

TEST_F(FilterTest, UnknownColumnNamesNeverReachTheDatabase) {
    Add(*Filter, "", "x");
    EXPECT_THROW(Built(true), std::invalid_argument);
    for (const char* name : {"Title; DROP TABLE PodcastFeeds", "Title)--", "1", "a b", "Titel\"", "é"}) {
        Filter->Clear();
        Add(*Filter, name, "x");
        EXPECT_THROW(Built(true), std::invalid_argument) << name;
        Filter->Clear();
        SortBy(*Filter, {{name, 1}});
        EXPECT_THROW(Built(true), std::invalid_argument) << name;
    }
    EXPECT_THROW(Builder::BuildQuery(List({"1=1--"}).Get(), CreateHostObject<IVEXAMLDataFilter>().Get()),
                 std::invalid_argument);
}

TEST_F(FilterTest, AConditionThatCannotBeReadIsNotLeftOut) {
    struct Unreadable final : host::GroupFilterBase<IVEXAMLDataFilter> {
        HResult Reset() noexcept override { return E_FAIL; }
        HResult GetChild(std::int32_t, const Guid&, void**) noexcept override { return E_FAIL; }
    };
    const Ref<Unreadable> filter(new Unreadable);
    Add(*filter, "Title", "x");
    EXPECT_THROW(Builder::BuildQuery(List({"Title"}).Get(), filter.Get()), EHostError);
}

TEST_F(FilterTest, TheValuesOfAListKeepTheirTypes) {
    const Variant values[] = {ToVariant(-5),        ToVariant(std::int64_t{1} << 40), ToVariant(0.5),
                              ToVariant(-HUGE_VAL), ToVariant(QString("it's")),       Variant()};
    RaiseIfFailed(Filter->AddArray(ToHostString("Duration").Get(), values, 6, nullptr));
    EXPECT_EQ(Built(false), "(Duration IN (-5, 1099511627776, 5.0000000000000000e-01, -9e999, 'it''s', NULL))");
}

TEST_F(FilterTest, RowsAreFoundWithoutTheFeedsAndInTheOrderOfAnIndexWherePossible) {
    const struct {
        const char *Field, *Value;
        std::vector<std::pair<QString, int>> Order;
        bool NeedsFeeds, IsInIndexOrder;
    } cases[] = {
        {"State", "1", {{"State", 2}}, false, true},
        {"Title", "a", {{"PublishDate", 1}}, false, true},
        {"Node", "031", {}, false, true},
        {"Node", "04http://h/", {{"Title", 1}}, false, false},
        {"Node", "02News", {}, true, true},
        {"FeedName", "a", {{"State", 1}, {"PublishDate", 2}}, true, false},
        {"State", "1", {{"FeedName", 1}}, true, false},
    };
    for (const auto& [field, value, order, needsFeeds, isInIndexOrder] : cases) {
        Filter->Clear();
        Add(*Filter, field, value);
        SortBy(*Filter, order);
        const auto request = ReadRowRequest(List({"ID", "FeedName"}).Get(), Filter.Get());
        EXPECT_EQ(request.Rows.contains(kFromEpisodesAndFeeds), needsFeeds) << request.Rows.toStdString();
        EXPECT_EQ(request.IsInIndexOrder, isInIndexOrder) << request.Order.toStdString();
    }
}

TEST_F(FilterTest, NodeValuesAreCategoryAndText) {
    for (const auto& [value, sql] : {std::pair{"02It's", "(Category = 'It''s')"},
                                     {"04http://x/'", "(PodcastFeeds.URLFeed = 'http://x/''')"},
                                     {"03", "(State = '')"},
                                     {"01", "(1 = 1)"},
                                     {"", "(1 = 1)"},
                                     {"0", "(1 = 1)"},
                                     {"zzx", "(1 = 1)"},
                                     {"fFx", "(1 = 1)"},
                                     {"09x", "(1 = 1)"}}) {
        Filter->Clear();
        Add(*Filter, "Node", value);
        const QString built = Builder::BuildQuery(List({"Title"}).Get(), Filter.Get());
        EXPECT_TRUE(built.contains(sql)) << value << ": " << built.toStdString();
    }
}

// ---- Random filters ----

struct Record {
    QString Title, Artist, FeedName, Category, Cached;
    double Duration, Date;
    int State;
};

int Collated(const QString& a, const QString& b) {
    static UCollator* const collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        return ucol_open("root", &status);
    }();
    const auto chars = [](const QString& text) { return reinterpret_cast<const UChar*>(text.utf16()); };
    const int order = ucol_strcoll(collator, chars(a), int(a.size()), chars(b), int(b.size()));
    return order != 0 ? order : a.toUtf8().compare(b.toUtf8());
}

bool Like(QStringView pattern, QStringView text) {
    if (pattern.isEmpty()) return text.isEmpty();
    if (pattern[0] == u'%') {
        for (qsizetype i = 0; i <= text.size(); ++i)
            if (Like(pattern.mid(1), text.mid(i))) return true;
        return false;
    }
    return !text.isEmpty() && (pattern[0] == u'_' || pattern[0] == text[0]) && Like(pattern.mid(1), text.mid(1));
}

QString AsciiLower(QString text) {
    for (QChar& c : text)
        if (c >= u'A' && c <= u'Z') c = QChar(c.unicode() + 32);
    return text;
}

/// A random filter, and a function that evaluates it.
class RandomFilter {
public:
    using Meaning = std::function<bool(const Record&)>;

    RandomFilter(FilterHost& host, unsigned seed) : FHost(host), FRandom(seed) {}

    Meaning Fill(IVEXAMLGroupFilter& group, int depth) {
        const int operation = Below(4);
        WritePropertyInt32(&group, IVEXAMLGroupFilter::Operation, operation);
        std::vector<Meaning> parts;
        const int children = 1 + Below(3);
        for (int i = 0; i < children; ++i) {
            if (i == 0 && depth > 0) {
                Ref<IVEXAMLGroupFilter> nested;
                RaiseIfFailed(group.AddGroup(nested.Put()));
                parts.push_back(Fill(*nested, depth - 1));
            } else {
                parts.push_back(Below(4) == 0 ? AddArray(group) : AddCondition(group));
            }
        }
        return [=](const Record& record) {
            const auto holds = [&](const Meaning& part) { return part(record); };
            const bool all = operation == 1 || operation == 3;
            const bool result =
                all ? std::all_of(parts.begin(), parts.end(), holds) : std::any_of(parts.begin(), parts.end(), holds);
            return operation >= 2 ? !result : result;
        };
    }
    int Below(int bound) { return int(FRandom() % unsigned(bound)); }
    QString Word() {
        static const QString words[] = {"News", "news", "It's", "100%", "a_b", "Привет", "привет", "", "ÄÖ", "é", "e",
                                        "o'brien \"x\"", "1", "2", "日本", "zz", "New", "ß",
                                        // parts of statements
                                        "(PodcastFeeds.URLFeed = '')", "(State = '1' COLLATE NOCASE )"};
        return words[Below(int(std::size(words)))];
    }

private:
    struct Text {
        const char* Field;
        QString Record::*Member;
    };
    Text TextField() {
        static const Text fields[] = {{"Title", &Record::Title},
                                      {"Artist", &Record::Artist},
                                      {"FeedName", &Record::FeedName},
                                      {"Category", &Record::Category},
                                      {"URLAudioCached", &Record::Cached}};
        return fields[Below(int(std::size(fields)))];
    }

    Meaning AddCondition(IVEXAMLGroupFilter& group) {
        const int operation = Below(10);
        if (operation < 7 && Below(3) == 0) return AddNumber(group, operation);
        const Text field = TextField();
        const QString a = Word(), b = Word();
        FHost.Add(group, field.Field, a, operation, b);
        // Downloaded files are compared by bytes, texts for users by the collation.
        const bool isExact = field.Member == &Record::Cached;
        const auto order = [isExact](const QString& x, const QString& y) {
            return isExact ? x.toUtf8().compare(y.toUtf8()) : Collated(x, y);
        };
        return [=](const Record& record) {
            const QString value = record.*field.Member;
            const bool isEqual = AsciiLower(value) == AsciiLower(a);
            if (operation < 2) return isEqual == (operation == 0);
            if (operation < 7) return Holds(operation, order(value, a), order(value, b));
            const QString before = operation == 8 ? "" : "%", after = operation == 9 ? "" : "%";
            return Like(QString(before + a.toUpper() + after), value.toUpper());
        };
    }
    /// Whether a comparison holds of a value that is less than (-1), equal to (0) or greater than (1) its operands.
    static bool Holds(int operation, int toFirst, int toSecond) {
        const bool results[] = {toFirst == 0, toFirst != 0, toFirst >= 0 && toSecond <= 0,
                                toFirst<0, toFirst <= 0, toFirst> 0, toFirst >= 0};
        return results[operation];
    }
    Meaning AddNumber(IVEXAMLGroupFilter& group, int operation) {
        const int which = Below(3);
        const double a = which == 0 ? Below(4) : 40000 + Below(8), b = a + Below(3);
        FHost.Add(group,
                  which == 0   ? "State"
                  : which == 1 ? "PublishDate"
                               : "Duration",
                  QString::number(a), operation, QString::number(b));
        return [=](const Record& record) {
            const double value = which == 0 ? record.State : which == 1 ? record.Date : record.Duration;
            const auto compared = [value](double to) { return int(value > to) - int(value < to); };
            return Holds(operation, compared(a), compared(b));
        };
    }
    Meaning AddArray(IVEXAMLGroupFilter& group) {
        std::vector<QString> words(std::size_t(Below(4)));
        for (QString& word : words) word = Word();
        const Text field = TextField();
        FHost.AddArray(group, field.Field, words);
        return [=](const Record& record) {
            return std::find(words.begin(), words.end(), record.*field.Member) != words.end();
        };
    }

    FilterHost& FHost;
    std::mt19937 FRandom;
};

class RandomFilterTest : public FilterHost {
protected:
    std::vector<Record> Fill(RandomFilter& random) {
        std::vector<Record> records;
        for (int f = 0; f < 5; ++f) {
            TPodcastFeed feed;
            feed.Fields[pffTitle] = random.Word();
            feed.Fields[pffCategory] = random.Word();
            feed.Fields[pffURLFeed] = QString("http://host/%1").arg(f);
            for (int e = 0; e < 60; ++e) {
                auto& episode = feed.NewEpisode();
                episode.Fields[pefGUID] = QString::number((e * 37) % 60);
                episode.Fields[pefTitle] = random.Word() + random.Word();
                episode.Fields[pefArtist] = random.Word();
                episode.Fields[pefURLAudio] = QString("http://host/%1/%2.mp3").arg(f).arg(e);
                episode.Fields[pefURLAudioCached] = random.Below(3) == 0 ? random.Word() : QString();
                episode.Duration = float(40000 + random.Below(6));
                episode.PublishDate = 40000 + random.Below(8);  // from few values, so that many are equal
                episode.State = TPodcastEpisodeState(random.Below(3));
                records.push_back({episode.Fields[pefTitle], episode.Fields[pefArtist], feed.Fields[pffTitle],
                                   feed.Fields[pffCategory], episode.Fields[pefURLAudioCached], episode.Duration,
                                   episode.PublishDate, episode.State});
                URIs.push_back(QString("podcast://host/%1/%2.mp3").arg(f).arg(e));
            }
            DB.AddOrUpdate(feed);
        }
        return records;
    }
    static QStringList Texts(SqliteRows* rows) {
        QStringList texts;
        if (rows) do {
                QString row;
                for (int i = 0; i < rows->ColumnCount(); ++i) row += rows->Text(i) + u'|';
                texts += row;
            } while (rows->Next());
        return texts;
    }

    tests::TempFolder Folder;
    TPodcastsDB DB{Folder.Path() + "/Podcasts.db"};
    std::vector<QString> URIs;
};

TEST_F(RandomFilterTest, SelectTheRowsThatTheyDescribe) {
    const unsigned first = std::random_device{}();
    RandomFilter words(*this, first);
    const auto records = Fill(words);
    for (unsigned seed = first; seed < first + 300; ++seed) {
        RandomFilter random(*this, seed);
        const auto filter = CreateHostObject<IVEXAMLDataFilter>();
        const auto meaning = random.Fill(*filter, random.Below(16));
        const QString sql = Builder::BuildQuery(List({"ID"}).Get(), filter.Get());
        QStringList expected;
        for (std::size_t i = 0; i < records.size(); ++i)
            if (meaning(records[i])) expected += URIs[i] + u'|';
        QStringList found = Texts(DB.Read(sql.toStdString()).get());
        found.sort();
        expected.sort();
        ASSERT_EQ(found, expected) << "seed " << seed << ": " << sql.toStdString();
    }
}

TEST_F(RandomFilterTest, PagesFollowEachOtherInThePromisedOrder) {
    const unsigned first = std::random_device{}();
    RandomFilter words(*this, first);
    Fill(words);
    TPodcastsRows rows;
    static const std::pair<const char*, const char*> fields[] = {
        {"PublishDate", "PublishDate"}, {"State", "State"},       {"Title", "Title"},
        {"FeedName", "Name"},           {"Duration", "Duration"}, {"FileName", "URI"}};
    for (unsigned seed = first; seed < first + 400; ++seed) {
        RandomFilter random(*this, seed);
        const auto filter = CreateHostObject<IVEXAMLDataFilter>();
        WritePropertyInt32(filter.Get(), IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::And);
        if (random.Below(3) == 0) Add(*filter, "Node", QString("03%1").arg(random.Below(3)));
        if (random.Below(3) == 0) Add(*filter, "Node", QString("04http://host/%1").arg(random.Below(5)));
        if (random.Below(6) == 0) Add(*filter, "Node", QString("02" + random.Word()));
        if (random.Below(4) == 0) Add(*filter, "State", QString::number(random.Below(3)), random.Below(2));
        if (random.Below(4) == 0) Add(*filter, "PublishDate", QString::number(40000 + random.Below(8)));
        if (random.Below(3) == 0) Add(*filter, "Title", random.Word(), random.Below(10), random.Word());
        if (random.Below(6) == 0) Add(*filter, "FeedName", random.Word(), random.Below(10), random.Word());
        if (random.Below(2) == 0) WritePropertyString(filter.Get(), IVEXAMLDataFilter::SearchText, random.Word());
        const auto columns = List({"ID", "Title", "FeedName", "PublishDate", "State"});
        QString sql = Builder::BuildQuery(columns.Get(), filter.Get());
        sql.chop(1);
        const QString counting = "SELECT Count(*) FROM (" + sql + ")";
        std::vector<std::pair<QString, int>> order;
        QString direction;
        sql += " ORDER BY ";
        for (int i = random.Below(3); i > 0; --i) {
            const auto& [field, column] = fields[random.Below(6)];
            order.push_back({field, 1 + random.Below(2)});
            direction = order.back().second == IVEXAMLSortDirection::Descending ? " DESC" : "";
            sql += column + direction + ", ";
        }
        if (!order.empty()) sql += "PublishDate" + direction + ", ";
        sql += "PodcastEpisodes.rowid" + direction;
        SortBy(*filter, order);
        // An episode whose feed is missing does not occur in the join.
        if (seed == first + 200) DB.ExecuteSQL("DELETE FROM PodcastFeeds WHERE FeedID = 3");
        if (seed == first + 250) DB.UpdateState({URIs[7]}, pesPostponed);
        const QStringList expected = Texts(DB.Read(sql.toStdString()).get());
        const auto read = [&](int offset, int limit) {
            WritePropertyInt32(filter.Get(), IVEXAMLDataFilter::Limit, limit);
            WritePropertyInt32(filter.Get(), IVEXAMLDataFilter::Offset, offset);
            const auto request = ReadRowRequest(columns.Get(), filter.Get());
            EXPECT_EQ(rows.Count(DB, request), DB.ReadInteger(counting.toStdString()));
            return Texts(rows.Read(DB, request).get());
        };
        SCOPED_TRACE(QString("seed %1: %2").arg(seed).arg(sql).toStdString());
        for (int offset = random.Below(2) * random.Below(320), page = 0; page < 5; ++page) {
            const int limit = 1 + random.Below(40);
            ASSERT_EQ(read(offset, limit), expected.mid(offset, limit)) << offset << ", " << limit;
            offset += limit;
        }
        ASSERT_EQ(read(0, 0), expected);
        ASSERT_EQ(read(-9, 3), expected.first(std::min<qsizetype>(expected.size(), 3)));
        ASSERT_EQ(read(5, std::numeric_limits<std::int32_t>::max()), expected.mid(5));
    }
}

TEST_F(RandomFilterTest, FiltersBeyondTheLimitsAreRefused) {
    RandomFilter words(*this, 1);
    Fill(words);
    TPodcastsRows rows;
    const auto isRefused = [&](IVEXAMLDataFilter& filter) {
        WritePropertyInt32(&filter, IVEXAMLDataFilter::Limit, 10);
        SortBy(filter, {{"FeedName", 2}});
        const auto request = ReadRowRequest(List({"ID"}).Get(), &filter);
        EXPECT_THROW(rows.Count(DB, request), SqliteError);
        try {
            rows.Read(DB, request);
        } catch (const SqliteError& error) {
            return error.IsOfStatement();
        }
        return false;
    };
    const auto wordy = CreateHostObject<IVEXAMLDataFilter>();
    Add(*wordy, "Title", QString(60'000, QChar(u'\u4e00')), IVEXAMLFieldFilter::Contains);
    EXPECT_TRUE(isRefused(*wordy)) << "60 000 letters";
    for (const int depth : {60, 200}) {
        const auto nested = CreateHostObject<IVEXAMLDataFilter>();
        Ref<IVEXAMLGroupFilter> group = nested;
        for (int i = 0; i < depth; ++i) {
            Add(*group, "Node", "04http://host/3");
            WritePropertyInt32(group.Get(), IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::NotOr);
            Ref<IVEXAMLGroupFilter> inner;
            RaiseIfFailed(group->AddGroup(inner.Put()));
            group = inner;
        }
        if (depth < 100)
            EXPECT_TRUE(isRefused(*nested)) << depth << " groups";
        else
            EXPECT_THROW(ReadRowRequest(List({"ID"}).Get(), nested.Get()), std::invalid_argument);
    }
}

}  // namespace
}  // namespace podcasts
