// Translation of the host's filters: the text of the statements, and the rows that they return.

#include "Feeds.h"
#include "Filters.h"
#include "Host.h"
#include "Podcasts.Plugin.ML.Rows.h"
#include "TempFolder.h"
#include "Texts.h"
#include "apiWrappers.h"

#include <gtest/gtest.h>

#include <random>

namespace podcasts {
namespace {

using namespace vexa;
using Builder = TVEXAPodcastsMLDataProviderTableQueryBuilder;

/// A host that makes filters, and short functions to fill them.
class FilterHost : public testing::Test {
protected:
    FilterHost() { TVEXAAPIWrappers::Initialize(&Host.PluginCore()); }
    ~FilterHost() override { TVEXAAPIWrappers::Finalize(); }
    static void Add(IVEXAMLGroupFilter& group, const QString& field, const QString& value, int operation = 0,
                    const QString& value2 = {}) {
        const auto first = ToVariant(value), second = ToVariant(value2);
        RaiseIfFailed(group.Add(ToHostString(field).Get(), &first, &second, operation, nullptr));
    }
    static void SortBy(IVEXAMLDataFilter& filter, const std::vector<std::pair<QString, int>>& order) {
        const auto list = CreateHostObject<IVEXAObjectList>();
        for (const auto& [field, direction] : order)
            list->Add(Ref<IVEXAString>(new host::SortItem(field, IVEXAMLSortDirection::Direction(direction))).Get());
        WritePropertyObject(&filter, IVEXAMLDataFilter::SortList, list.Get());
    }
    static Ref<IVEXAObjectList> List(const QStringList& names) {
        const auto list = CreateHostObject<IVEXAObjectList>();
        for (const QString& name : names) list->Add(ToHostString(name).Get());
        return list;
    }

    tests::TempFolder Profile;
    host::Host Host{{Profile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}}};
};

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
    const Ref<IVEXAMLDataFilter> unordered(new Unreadable);
    WritePropertyObject(unordered.Get(), IVEXAMLDataFilter::SortList, List({"Title"}).Get());
    EXPECT_FALSE(Builder::BuildQuery(List({"Title"}).Get(), unordered.Get()).contains("ORDER"))
        << "it has no direction";
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

// ---- The rows of a database ----

/// Episodes named by letters, a to d of the feed "News", the others of another feed.
class FilterRows : public FilterHost {
protected:
    FilterRows() {
        const std::tuple<const char*, const char*, const char*, float, double, TPodcastEpisodeState> rows[] = {
            // title, artist, downloaded file, duration, date, state
            {"News", "\u00E9", "B", 60, 40001, pesNew},         {"news", "e", "b", 90, 40002, pesListened},
            {"100% It's", "", "", 90.5, 40002.5, pesPostponed}, {"a_b", "\u65E5\u672C", "\u00E9", 0, 40003, pesNew},
            {"\u041F\u0440\u0438", "\u00DF", "", 7, 0, pesNew}, {"\u00C4\u00D6", "E", "a", 8, 40001, pesListened},
            {"", "o'brien \"x\"", "", 9, 40004, pesPostponed}};
        TPodcastFeed feeds[2];
        feeds[0].Fields[pffTitle] = "News";
        feeds[0].Fields[pffCategory] = "It's";
        for (char letter = 'a'; const auto& [title, artist, cached, duration, date, state] : rows) {
            auto& episode = feeds[letter > 'd'].NewEpisode();
            episode.Fields[pefGUID] = QChar(letter);
            episode.Fields[pefTitle] = title;
            episode.Fields[pefArtist] = artist;
            episode.Fields[pefURLAudio] = "http://h/" + QString(QChar(letter++));
            episode.Fields[pefURLAudioCached] = cached;
            episode.Duration = duration;
            episode.PublishDate = date;
            episode.State = state;
        }
        for (TPodcastFeed& feed : feeds) {
            feed.Fields[pffURLFeed] = "http://h/" + feed.Fields[pffTitle];
            DB.AddOrUpdate(feed);
        }
    }
    /// The letters of the episodes that the filter selects.
    QString Selected(IVEXAMLDataFilter& filter) {
        const QString sql = Builder::BuildQuery(List({"ID"}).Get(), &filter);
        QString letters;
        for (const QString& uri : Texts(DB.Read(sql.toStdString()).get())) letters += uri.at(uri.size() - 2);
        std::sort(letters.begin(), letters.end());
        return letters;
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

    TPodcastsDB DB{Profile.File("Podcasts.db")};
};

TEST_F(FilterRows, ConditionsSelectWhatTheyDescribe) {
    using enum IVEXAMLFieldFilter::Operations;
    const std::tuple<const char*, int, QString, QString> cases[] = {
        {"Title", Equals, "NEWS", "ab"},  // only letters of ASCII are equal in either case
        {"Title", Equals, "\u00E4\u00F6", ""},    {"Title", Equals, "", "g"},
        {"Title", NotEquals, "news", "cdefg"},    {"Title", Between, "a|news", "bdf"},  // in the order of the collation
        {"Title", Less, "news", "cdfg"},          {"Title", LessOrEqual, "news", "bcdfg"},
        {"Title", Greater, "news", "ae"},         {"Title", GreaterOrEqual, "news", "abe"},
        {"Title", Contains, "ew", "ab"},          {"Title", Contains, "\u043F\u0420", "e"},
        {"Title", Contains, "100% it's", "c"},    {"Title", Contains, "_", "abcdef"},
        {"Title", BeginsWith, "ne", "ab"},        {"Title", BeginsWith, "ew", ""},
        {"Title", EndsWith, "s", "abc"},          {"Title", EndsWith, "new", ""},
        {"Artist", Equals, "o'brien \"x\"", "g"}, {"Artist", Less, "\u00E9", "bcf"},
        {"FeedName", Equals, "news", "abcd"},     {"Category", NotEquals, "it's", "efg"},
        {"URLAudioCached", Equals, "b", "ab"},    {"URLAudioCached", Less, "a", "aceg"},  // by bytes
        {"URLAudioCached", Greater, "b", "d"},    {"State", Equals, "1", "ade"},
        {"State", GreaterOrEqual, "1", "acdeg"},  {"PublishDate", Between, "40001|40002", "abf"},
        {"PublishDate", Equals, "40002.5", "c"},  {"Duration", Less, "60", "defg"},
        {"Duration", GreaterOrEqual, "90", "bc"},
    };
    for (const auto& [field, operation, value, letters] : cases) {
        const auto filter = CreateHostObject<IVEXAMLDataFilter>();
        Add(*filter, field, value.section(u'|', 0, 0), operation, value.section(u'|', 1));
        EXPECT_EQ(Selected(*filter), letters) << field << ' ' << operation << ' ' << value.toStdString();
    }
    const std::pair<std::vector<Variant>, QString> lists[] = {
        {{ToVariant(QString("News")), ToVariant(QString("a_b")), ToVariant(QString("x"))}, "ad"},
        {{ToVariant(QString()), ToVariant(QString("news"))}, "bg"},
        {{}, ""}};
    for (const auto& [values, letters] : lists) {
        const auto filter = CreateHostObject<IVEXAMLDataFilter>();
        RaiseIfFailed(filter->AddArray(ToHostString("Title").Get(), values.data(), int(values.size()), nullptr));
        EXPECT_EQ(Selected(*filter), letters);
    }
}

TEST_F(FilterRows, GroupsCombineTheirConditions) {
    const auto combined = [](int operation, const QString& one, const QString& other) {
        const bool isAnd = operation == IVEXAMLGroupFilter::And || operation == IVEXAMLGroupFilter::NotAnd;
        const bool isNegated = operation == IVEXAMLGroupFilter::NotOr || operation == IVEXAMLGroupFilter::NotAnd;
        QString letters = "abcdefg";
        return letters.removeIf([&](QChar c) {
            const bool isIn = isAnd ? one.contains(c) && other.contains(c) : one.contains(c) || other.contains(c);
            return isIn == isNegated;
        });
    };
    for (int outer = 0; outer < 4; ++outer) {
        for (int inner = 0; inner < 4; ++inner) {
            const auto filter = CreateHostObject<IVEXAMLDataFilter>();
            WritePropertyInt32(filter.Get(), IVEXAMLGroupFilter::Operation, outer);
            Add(*filter, "Title", "S", IVEXAMLFieldFilter::EndsWith);
            Ref<IVEXAMLGroupFilter> group;
            RaiseIfFailed(filter->AddGroup(group.Put()));
            WritePropertyInt32(group.Get(), IVEXAMLGroupFilter::Operation, inner);
            Add(*group, "State", "1");
            Add(*group, "FeedName", "news");
            EXPECT_EQ(Selected(*filter), combined(outer, "abc", combined(inner, "ade", "abcd"))) << outer << inner;
        }
    }
}

// ---- Random filters ----

/// Random numbers and words.
class RandomWords {
public:
    explicit RandomWords(unsigned seed) : FRandom(seed) {}
    int Below(int bound) { return int(FRandom() % unsigned(bound)); }
    QString Word() {
        static const QString words[] = {"News", "news", "It's", "100%", "a_b", "Привет", "привет", "", "ÄÖ", "é", "e",
                                        "o'brien \"x\"", "1", "2", "日本", "zz", "New", "ß",
                                        // parts of statements
                                        "(PodcastFeeds.URLFeed = '')", "(State = '1' COLLATE NOCASE )"};
        return words[Below(int(std::size(words)))];
    }

private:
    std::mt19937 FRandom;
};

class RandomFilterTest : public FilterRows {
protected:
    void Fill(RandomWords& random) {
        for (int f = 0; f < 5; ++f) {
            const QString address = QString("http://host/%1").arg(f);
            TPodcastFeed feed = tests::MakeFeed(address, 60, address + u'/');
            feed.Fields[pffTitle] = random.Word();
            feed.Fields[pffCategory] = random.Word();
            for (const auto& episode : feed.Episodes()) {
                episode->Fields[pefTitle] = random.Word() + random.Word();
                episode->Duration = float(40000 + random.Below(6));
                episode->PublishDate = 40000 + random.Below(8);  // from few values, so that many are equal
                episode->State = TPodcastEpisodeState(random.Below(3));
            }
            DB.AddOrUpdate(feed);
        }
    }
};

TEST_F(RandomFilterTest, PagesFollowEachOtherInThePromisedOrder) {
    const unsigned first = std::random_device{}();
    RandomWords words(first);
    Fill(words);
    TPodcastsRows rows;
    static const std::pair<const char*, const char*> fields[] = {
        {"PublishDate", "PublishDate"}, {"State", "State"},       {"Title", "Title"},
        {"FeedName", "Name"},           {"Duration", "Duration"}, {"FileName", "URI"}};
    for (unsigned seed = first; seed < first + 200; ++seed) {
        RandomWords random(seed);
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
        if (seed == first + 100) DB.ExecuteSQL("DELETE FROM PodcastFeeds WHERE FeedID = 3");
        if (seed == first + 150) DB.UpdateState({"podcast://host/0/7.mp3"}, pesPostponed);
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

}  // namespace
}  // namespace podcasts
