#include "Printing.h"
#include "TempFolder.h"
#include "VEXA.Runtime.SQLite.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <thread>

namespace vexa {
namespace {

struct Database : SqliteDatabase {
    explicit Database(const QString& fileName) { Open(fileName); }
};

class Sqlite : public testing::Test {
protected:
    tests::TempFolder Folder;
    Database DB{Folder.File(QStringLiteral("test.db"))};
};

TEST_F(Sqlite, KeepsEveryTextAsItWas) {
    const QString rows[] = {
        {},
        QStringLiteral("it's ''quoted'' \"twice\"; DROP TABLE T; --"),
        QStringLiteral("%_\\?:a@b$c"),
        QString::fromUtf16(u"nul\0in the 'middle'\0", 20),
        QString(QChar(0xD800)) + u"lone" + QChar(0xDC00),
        QStringLiteral("\U0001F399\u0416"),
        QStringLiteral("\uFEFFmark\uFFFD"),
        QString(10'000'000, u'\u0416') + u"'",
    };
    DB.ExecuteSQL("CREATE TABLE T (Value TEXT)");
    for (const QString& text : rows) {
        DB.ExecuteSQL("DELETE FROM T");
        DB.ExecuteSQL(SqlBuilder("INSERT INTO T VALUES (").Text(text).Raw(")"));
        EXPECT_TRUE(DB.Query("SELECT Value FROM T")->Text(0) == text) << text.left(50).toStdString();
        const SqlBuilder count = SqlBuilder("SELECT COUNT(*) FROM T WHERE Value = ").Text(text);
        EXPECT_EQ(DB.QueryInteger(count), 1) << text.left(50).toStdString();
    }
}

TEST_F(Sqlite, KeepsEveryDoubleBitForBit) {
    std::vector<double> values = {0, 0.1, 45429.378472222219, 1e300, -1e-280, std::numeric_limits<double>::infinity()};
    std::mt19937_64 random(1);
    while (values.size() < 20'000) {
        const auto value = std::bit_cast<double>(random());
        if (std::isfinite(value) && std::abs(value) > 1e-280) values.push_back(value);
        values.push_back(std::ldexp(static_cast<double>(random() >> 11), -37));  // dates
    }
    for (const double value : values)
        ASSERT_EQ(DB.Query(SqlBuilder("SELECT ").Double(value))->Double(0), value) << std::hexfloat << value;
    EXPECT_TRUE(DB.Query(SqlBuilder("SELECT ").Double(std::nan("")))->IsNull(0));
}

TEST_F(Sqlite, UndoesAFailedNestedTransactionAlone) {
    DB.ExecuteSQL("CREATE TABLE T (Value INTEGER)");
    auto insert = [&](int value) { DB.ExecuteSQL(SqlBuilder("INSERT INTO T VALUES (").Integer(value).Raw(")")); };
    DB.RunInTransaction([&] {
        insert(1);
        EXPECT_THROW(DB.RunInTransaction([&] {
            insert(2);
            DB.RunInTransaction([&] { insert(3); });
            throw std::runtime_error("no");
        }),
                     std::runtime_error);
        insert(4);
    });
    EXPECT_THROW(DB.RunInTransaction([&] {
        insert(5);
        DB.RunInTransaction([&] { insert(6); });
        DB.ExecuteSQL("INSERT INTO NoSuchTable VALUES (1)");
    }),
                 SqliteError);
    DB.RunInTransaction([&] { insert(7); });
    EXPECT_EQ(DB.Query("SELECT GROUP_CONCAT(Value) FROM T")->Text(0), QStringLiteral("1,4,7"));
}

TEST_F(Sqlite, AnswersMinusOneWhereThereIsNoRow) {
    DB.ExecuteSQL("CREATE TABLE T (Value INTEGER)");
    EXPECT_EQ(DB.QueryInteger("SELECT Value FROM T"), -1);
    EXPECT_EQ(DB.Query("SELECT Value FROM T"), nullptr);
    EXPECT_EQ(DB.QueryInteger("SELECT NULL"), 0);
}

TEST_F(Sqlite, KnowsLetterCaseAndOrderOfEveryScript) {
    EXPECT_EQ(DB.Query("SELECT UPPER('привет, été')")->Text(0), QStringLiteral("ПРИВЕТ, ÉTÉ"));
    EXPECT_TRUE(DB.Query("SELECT UPPER(NULL)")->IsNull(0));
    EXPECT_EQ(DB.QueryInteger("SELECT UPPER('Подкаст про кино') LIKE '%ПРО К%'"), 1);
    DB.ExecuteSQL(
        "CREATE TABLE T (Name TEXT COLLATE UNICODE);"
        "INSERT INTO T VALUES ('я'), ('Zoo'), ('éclair'), ('Ёлка'), ('apple'), ('Foo'), ('жук')");
    EXPECT_EQ(DB.Query("SELECT GROUP_CONCAT(Name) FROM (SELECT Name FROM T ORDER BY Name)")->Text(0),
              QStringLiteral("apple,éclair,Foo,Zoo,Ёлка,жук,я"));
    EXPECT_EQ(DB.QueryInteger("SELECT COUNT(*) FROM T WHERE Name = 'foo'"), 0) << "equality is exact";
}

TEST_F(Sqlite, KeepsBlobsWithZeroBytes) {
    const QByteArray blob("\0\xFF\0png'", 7);
    DB.ExecuteSQL("CREATE TABLE T (Value BLOB)");
    DB.ExecuteWithBlob("INSERT INTO T VALUES (?)", blob.data(), static_cast<std::size_t>(blob.size()));
    EXPECT_EQ(DB.Query("SELECT Value FROM T")->Blob("Value"), blob);
}

TEST_F(Sqlite, SerialisesTheThreadsThatUseIt) {
    DB.ExecuteSQL("CREATE TABLE T (Value INTEGER); INSERT INTO T VALUES (0)");
    auto work = [&] {
        for (int i = 0; i < 100; ++i)
            DB.RunInTransaction([&] {
                const int value = DB.QueryInteger("SELECT Value FROM T");
                DB.ExecuteSQL(SqlBuilder("UPDATE T SET Value = ").Integer(value + 1));
            });
    };
    std::thread a(work), b(work);
    a.join(), b.join();
    EXPECT_EQ(DB.QueryInteger("SELECT Value FROM T"), 200);
}

TEST_F(Sqlite, SaysWhatIsWrongWithAFileAndWhatToDo) {
    auto message = [](auto call) {
        try {
            call();
        } catch (const SqliteError& error) {
            return std::string(error.what());
        }
        return std::string("nothing");
    };
    auto expect = [](const std::string& text, const QString& fileName, const char* advice) {
        EXPECT_NE(text.find(fileName.toStdString()), std::string::npos) << text;
        EXPECT_NE(text.find(advice), std::string::npos) << text;
    };
    const QString other = Folder.File(QStringLiteral("other.db"));
    tests::WriteFile(other, QByteArray("This is a letter, and no database at all.\n").repeated(50));
    expect(message([&] { Database database(other); }), other, "file is not a database; move the file away");
    EXPECT_TRUE(tests::ReadFile(other).startsWith("This is a letter"));
    const QString nowhere = Folder.File(QStringLiteral("no such folder/test.db"));
    expect(message([&] { Database database(nowhere); }), nowhere, "check that its folder exists");

    Database second(DB.FileName());
    DB.RunInTransaction([&] {
        expect(message([&] { second.ExecuteSQL("CREATE TABLE T (Value INTEGER)"); }), DB.FileName(),
               "another program is using it: try again");
    });
}

TEST_F(Sqlite, ShowsAReaderTheLastCommittedStateWhileAnotherWrites) {
    DB.ExecuteSQL("CREATE TABLE T (Value INTEGER); INSERT INTO T VALUES (1)");
    Database reader(DB.FileName());
    DB.RunInTransaction([&] {
        DB.ExecuteSQL("UPDATE T SET Value = 2");
        EXPECT_EQ(reader.QueryInteger("SELECT Value FROM T"), 1);
    });
    EXPECT_EQ(reader.QueryInteger("SELECT Value FROM T"), 2);
}

}  // namespace
}  // namespace vexa
