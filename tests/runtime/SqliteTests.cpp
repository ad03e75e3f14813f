#include "TempFolder.h"
#include "VEXA.Runtime.SQLite.h"

#include <gtest/gtest.h>

#include <thread>

namespace vexa {
namespace {

TEST(Sqlite, SerialisesItsThreadsAndShowsOthersOnlyCommittedData) {
    struct Database : SqliteDatabase {
        explicit Database(const QString& fileName) { Open(fileName); }
    };
    const tests::TempFolder folder;
    Database db(folder.File("test.db"));
    db.ExecuteSQL("CREATE TABLE T (Value INTEGER); INSERT INTO T VALUES (0)");
    Database reader(db.FileName());
    const auto work = [&] {
        for (int i = 0; i < 100; ++i)
            db.RunInTransaction([&] {
                const int value = db.QueryInteger("SELECT Value FROM T");
                db.ExecuteSQL(SqlBuilder("UPDATE T SET Value = ").Integer(value + 1));
                EXPECT_EQ(reader.QueryInteger("SELECT Value FROM T"), value);
            });
    };
    std::thread a(work), b(work);
    a.join(), b.join();
    EXPECT_EQ(reader.QueryInteger("SELECT Value FROM T"), 200);
}

}  // namespace
}  // namespace vexa
