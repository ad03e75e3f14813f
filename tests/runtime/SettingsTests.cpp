#include "Printing.h"
#include "TempFolder.h"
#include "VEXA.Runtime.Settings.h"

#include <gtest/gtest.h>

namespace vexa {
namespace {

class Settings : public testing::Test {
protected:
    tests::TempFolder Folder;
    QString FileName = Folder.File(QStringLiteral("new/Settings.ini"));
};

TEST_F(Settings, KeepCommentsOrderAndUnknownKeys) {
    tests::WriteFile(
        FileName,
        "; mine\r\nLoose=1\r\n\r\n[Other]\r\nKey = old \r\n# end\r\n[Podcasts]\r\nA=1\r\n\r\n[Last]\r\nZ=26\r\n");
    SettingsFile settings(FileName);
    EXPECT_EQ(settings.Read(QStringLiteral("Other\\Key"), {}), QStringLiteral("old"));
    EXPECT_EQ(settings.Read(QStringLiteral("Other\\key"), QStringLiteral("default")), QStringLiteral("default"));
    settings.Write(QStringLiteral("Podcasts\\A"), QStringLiteral("2"));
    settings.Write(QStringLiteral("Podcasts\\B"), QStringLiteral("3"));
    settings.Write(QStringLiteral("Made\\C"), QStringLiteral("4"));
    settings.Save();
    EXPECT_EQ(tests::ReadFile(FileName),
              QByteArray("; mine\nLoose=1\n\n[Other]\nKey = old \n# end\n[Podcasts]\nA=2\nB=3\n\n"
                         "[Last]\nZ=26\n\n[Made]\nC=4\n"));
}

TEST_F(Settings, KeepWhatAnotherProcessChangedMeanwhile) {
    const QString changed = QStringLiteral("P\\Changed"), untouched = QStringLiteral("P\\Untouched");
    tests::WriteFile(FileName, "[P]\nChanged=1\nUntouched=1\n");
    const QString missing = QStringLiteral("P\\Missing");
    SettingsFile mine(FileName), theirs(FileName);
    mine.Read(missing, QStringLiteral("default"));
    theirs.Write(untouched, QStringLiteral("theirs"));
    theirs.Write(missing, QStringLiteral("theirs"));
    theirs.Save();
    mine.Write(untouched, QStringLiteral("1"));  // as it was read
    mine.Write(missing, QStringLiteral("default"));
    mine.Write(changed, QStringLiteral("mine"));
    mine.Save();
    SettingsFile after(FileName);
    EXPECT_EQ(after.Read(untouched, {}), QStringLiteral("theirs"));
    EXPECT_EQ(after.Read(changed, {}), QStringLiteral("mine"));
    EXPECT_EQ(after.Read(missing, {}), QStringLiteral("theirs"));
}

TEST_F(Settings, GiveBackOddValuesAsTheyWere) {
    const QString rows[] = {{},
                            QStringLiteral(" blanks around "),
                            QStringLiteral("\"quoted\""),
                            QStringLiteral("\""),
                            QStringLiteral(" ends in \\"),
                            QStringLiteral("/music/%FeedTitle%\\%EpisodeFileName%\\new"),
                            QStringLiteral("a=b;c#d [e]"),
                            QStringLiteral("[section]"),
                            QStringLiteral("line\r\nnext\ttab\\n"),
                            QString::fromUtf16(u"nul\0 \u0085 \u2028", 9),
                            QString(QChar(0xD800)) + u"\U0001F399é"};
    SettingsFile settings(FileName);
    for (int i = 0; const QString& value : rows) settings.Write(QStringLiteral("P\\%1").arg(i++), value);
    settings.Save();
    SettingsFile again(FileName);
    for (int i = 0; const QString& value : rows) EXPECT_EQ(again.Read(QStringLiteral("P\\%1").arg(i++), QStringLiteral("missing")), value);
}

}  // namespace
}  // namespace vexa
