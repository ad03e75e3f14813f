#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.SQLite.h"

#include <gtest/gtest.h>

#include <thread>

namespace vexa {
namespace {

class Sqlite : public testing::Test {
protected:
    struct Database : SqliteDatabase {
        explicit Database(const QString& fileName) { Open(fileName); }
    };

    Sqlite() { DB.ExecuteSQL("CREATE TABLE T (Value INTEGER)"); }

    tests::TempFolder Folder;
    Database DB{Folder.File("test.db")};
};

TEST_F(Sqlite, RollsBackOnlyAFailedNestedTransaction) {
    const auto insert = [&](int value) { DB.ExecuteSQL(SqlBuilder("INSERT INTO T VALUES (").Integer(value).Raw(")")); };
    const auto fail = [&](int first) {
        insert(first);
        DB.RunInTransaction([&] { insert(first + 1); });
        DB.ExecuteSQL("INSERT INTO NoSuchTable VALUES (1)");
    };
    DB.RunInTransaction([&] {
        insert(1);
        EXPECT_THROW(DB.RunInTransaction([&] { fail(2); }), SqliteError);
        insert(4);
    });
    EXPECT_THROW(DB.RunInTransaction([&] { fail(5); }), SqliteError);
    DB.RunInTransaction([&] { insert(7); });
    EXPECT_EQ(DB.Query("SELECT GROUP_CONCAT(Value) FROM T")->Text(0), "1,4,7");
}

TEST_F(Sqlite, SerialisesItsThreadsAndShowsOthersOnlyCommittedData) {
    DB.ExecuteSQL("INSERT INTO T VALUES (0)");
    Database reader(DB.FileName());
    const auto work = [&] {
        for (int i = 0; i < 100; ++i)
            DB.RunInTransaction([&] {
                const int value = DB.QueryInteger("SELECT Value FROM T");
                DB.ExecuteSQL(SqlBuilder("UPDATE T SET Value = ").Integer(value + 1));
                EXPECT_EQ(reader.QueryInteger("SELECT Value FROM T"), value);
            });
    };
    std::thread a(work), b(work);
    a.join(), b.join();
    EXPECT_EQ(reader.QueryInteger("SELECT Value FROM T"), 200);
}

}  // namespace
}  // namespace vexa
