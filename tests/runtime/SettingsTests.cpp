#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.Settings.h"

#include <gtest/gtest.h>

#include <thread>

namespace vexa {
namespace {

class Settings : public testing::Test {
protected:
    tests::TempFolder Folder;
    QString FileName = Folder.File("new/Settings.ini");
};

TEST_F(Settings, KeepCommentsOrderAndUnknownKeys) {
    WriteWhole(
        FileName,
        "; mine\r\nLoose=1\r\n\r\n[Other]\r\nKey = old \r\n# end\r\n[Podcasts]\r\nA=1\r\n\r\n[Last]\r\nZ=26\r\n");
    WriteWhole(FileName + ".new", QByteArray(1000, 'x'));  // left over from a program that was killed
    SettingsFile settings(FileName);
    EXPECT_EQ(settings.Read("Other\\Key", {}), "old");
    EXPECT_EQ(settings.Read("Other\\key", "default"), "default");
    settings.Write("Podcasts\\A", "2");
    settings.Write("Podcasts\\B", "3");
    settings.Write("Made\\C", "4");
    settings.Save();
    EXPECT_EQ(ReadWhole(FileName),
              "; mine\nLoose=1\n\n[Other]\nKey = old \n# end\n[Podcasts]\nA=2\nB=3\n\n[Last]\nZ=26\n\n[Made]\nC=4\n");
    EXPECT_FALSE(QFile::exists(FileName + ".new"));
    settings.Write("Made\\C", "5");
    QFile::remove(FileName);
    QDir().mkpath(FileName + "/x");
    EXPECT_NE(ErrorOf([&] { settings.Save(); }), "");
    EXPECT_FALSE(QFile::exists(FileName + ".new")) << "left over after a failure";
}

TEST_F(Settings, WriteAValueWhereItIsReadFrom) {
    WriteWhole(FileName, "[A]\nk=1\nk=2\n[A\\B]\nC=3\n[A]\nB\\C=4\n[B]\nk=5\n[A]\nk=6\n");
    SettingsFile settings(FileName);
    settings.Write("A\\k", "new");
    settings.Write("A\\B\\C", "new");
    settings.Save();
    EXPECT_EQ(ReadWhole(FileName), "[A]\nk=1\nk=2\n[A\\B]\nC=3\n[A]\nB\\C=new\n[B]\nk=5\n[A]\nk=new\n");
}

TEST_F(Settings, KeepWhatAnotherProcessChangedMeanwhile) {
    WriteWhole(FileName, "[P]\nChanged=1\nUntouched=1\n");
    SettingsFile mine(FileName), theirs(FileName);
    mine.Read("P\\Missing", "default");
    theirs.Write("P\\Untouched", "theirs");
    theirs.Write("P\\Missing", "theirs");
    theirs.Save();
    mine.Write("P\\Untouched", "1");  // the value that was read
    mine.Write("P\\Missing", "default");
    mine.Write("P\\Changed", "mine");
    mine.Save();
    EXPECT_EQ(ReadWhole(FileName), "[P]\nChanged=mine\nUntouched=theirs\nMissing=theirs\n");
    for (const char* key : {"P\\Untouched", "P\\Missing"}) mine.Insist(key);
    mine.Save();
    EXPECT_EQ(ReadWhole(FileName), "[P]\nChanged=mine\nUntouched=1\nMissing=default\n");
}

TEST_F(Settings, LoseNothingWhenManySaveAtOnce) {
    std::vector<std::thread> savers;
    for (const QString& name : QStringList{"A", "B", "C", "D"}) {
        savers.emplace_back([this, name] {
            for (int i = 1; i <= 50; ++i) {
                SettingsFile file(FileName);
                EXPECT_EQ(file.Read("P\\" + name, "0"), QString::number(i - 1));
                file.Write("P\\" + name, QString::number(i));
                file.Save();
            }
        });
    }
    for (std::thread& saver : savers) saver.join();
}

TEST_F(Settings, TakeOverWhatACopyHasSavedAndKeepWhatWasSetMeanwhile) {
    WriteWhole(FileName, "[P]\nSet=1\nTwice=1\nBack=1\n");
    SettingsFile file(FileName);
    EXPECT_FALSE(file.Find("P\\Missing"));
    for (const char* key : {"P\\Set", "P\\Twice", "P\\Back", "P\\Missing"}) file.Write(key, "2");
    const SettingsFile copied = file;
    SettingsFile saved = copied;
    WriteWhole(FileName, ReadWhole(FileName) + "Missing=theirs\n");
    saved.Save();
    file.Write("P\\Twice", "3");
    file.Write("P\\Back", "1");
    file.TakeSaved(copied, saved);
    EXPECT_TRUE(file.HasChanges());
    EXPECT_EQ(file.Find("P\\Missing"), "theirs");
    WriteWhole(FileName, ReadWhole(FileName).replace("Set=2", "Set=theirs"));
    file.Save();
    EXPECT_EQ(ReadWhole(FileName), "[P]\nSet=theirs\nTwice=3\nBack=1\nMissing=theirs\n");
}

TEST_F(Settings, ReturnOddValuesUnchanged) {
    const QString values[] = {"",
                              " blanks around ",
                              "\"",
                              " ends in \\",
                              "/music/%FeedTitle%\\%EpisodeFileName%\\new",
                              "a=b;c#d [e]",
                              "line\r\nnext\ttab\\n",
                              QString::fromUtf16(u"nul\0x\u0085 \u2028", 9),
                              QString(QChar(0xD800)) + u"\U0001F399é"};
    SettingsFile settings(FileName);
    for (int i = 0; const QString& value : values) settings.Write(QString("P\\%1").arg(i++), value);
    settings.Save();
    SettingsFile again(FileName);
    for (int i = 0; const QString& value : values) EXPECT_EQ(again.Read(QString("P\\%1").arg(i++), "missing"), value);
}

}  // namespace
}  // namespace vexa
