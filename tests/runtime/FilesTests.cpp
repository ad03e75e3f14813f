#include "Printing.h"
#include "TempFolder.h"
#include "VEXA.Runtime.Files.h"

#include <gtest/gtest.h>

namespace vexa {
namespace {

TEST(FileNames, AreMadeOneHarmlessComponent) {
    const QString microphone = QStringLiteral("\U0001F399");  // four bytes
    const struct {
        QString Text, Component;
    } rows[] = {
        {QStringLiteral("show-12.mp3"), QStringLiteral("show-12.mp3")},
        {QStringLiteral("../../etc/passwd"), QStringLiteral("etcpasswd")},
        {QStringLiteral("..\\C:\\a"), QStringLiteral("Ca")},
        {QStringLiteral("."), {}},
        {QStringLiteral(" .. . "), {}},
        {QStringLiteral("/\\:*?\"<>|"), {}},
        {QStringLiteral(" .hidden. "), QStringLiteral("hidden")},
        {QString::fromUtf16(u"a\0b\u0085c\nd\u007Fe", 9), QStringLiteral("abcde")},
        {QString(QChar(0xD800)) + u"a" + QChar(0xDC00) + microphone, u"a" + microphone},
        {QStringLiteral("con"), QStringLiteral("_con")},
        {QStringLiteral("Nul.tar.gz"), QStringLiteral("_Nul.tar.gz")},
        {QStringLiteral("com1 .mp3"), QStringLiteral("_com1 .mp3")},
        {QStringLiteral("LPT:9"), QStringLiteral("_LPT9")},
        {QStringLiteral("console"), QStringLiteral("console")},
        {QStringLiteral("com12"), QStringLiteral("com12")},
        {QString(1000, u'a'), QString(200, u'a')},
        {QString(1000, u'a') + u".mp3", QString(196, u'a') + u".mp3"},
        {QString(1000, u'a') + u".a very long end", QString(200, u'a')},
        {QString(1000, u'ж') + u".mp3", QString(98, u'ж') + u".mp3"},
        {u"a" + microphone.repeated(100), u"a" + microphone.repeated(49)},
        {QString(199, u'a') + u" b", QString(199, u'a')},
    };
    for (const auto& [text, component] : rows) {
        EXPECT_EQ(ToFileNameComponent(text), component) << text.toStdString();
        EXPECT_EQ(ToFileNameComponent(component), component) << "made once, it stays";
    }
}

TEST(FileNames, AreTakenApartAtEitherDelimiter) {
    const struct {
        const char *Path, *Name, *Extension;
    } rows[] = {
        {"http://host/dir/show.mp3", "show.mp3", ".mp3"},
        {"C:\\a.b\\show", "show", ""},
        {"a/b\\c.tar.gz", "c.tar.gz", ".gz"},
        {"plain", "plain", ""},
        {"dir/", "", ""},
        {"ends.", "ends.", ""},
        {".mp3", ".mp3", ".mp3"},
        {"", "", ""},
    };
    for (const auto& [path, name, extension] : rows) {
        EXPECT_EQ(ExtractFileName(QString::fromUtf8(path)), QString::fromUtf8(name)) << path;
        EXPECT_EQ(ExtractFileExt(QString::fromUtf8(path)), QString::fromUtf8(extension)) << path;
    }
}

TEST(FileNames, TellTheFormat) {
    const struct {
        const char *Address, *Format;
    } rows[] = {
        {"http://h/a.mp3", "MP3"},
        {"http://h/a.Ogg?x=b.zip", "OGG"},
        {"http://h/a.mp3#t=1/2.x", "MP3"},
        {"http://h/a?file=b.mp3", ""},
        {"http://example.com", ""},
        {"http://example.com?x=/a.mp3", ""},
        {"http://example.com/", ""},
        {"/home/a#b.mp3", "MP3"},
        {"C:\\what?.m4a", "M4A"},
        {"http://h/a.mp3/download", ""},
        {"", ""},
    };
    for (const auto& [address, format] : rows)
        EXPECT_EQ(FileFormat(QString::fromUtf8(address)), QString::fromUtf8(format)) << address;
}

TEST(FileNames, GetTheExtensionOfAMediaType) {
    const struct {
        const char *Type, *Extension;
    } rows[] = {
        {"audio/mpeg", ".mp3"},
        {"Audio/MPEG; charset=x", ".mp3"},
        {"audio/mp4", ".m4a"},
        {"audio/x-m4a", ".m4a"},
        {"audio/ogg", ".ogg"},
        {"audio/opus", ".opus"},
        {"audio/aacp", ".aac"},
        {"audio/wave", ".wav"},
        {"audio/flac", ".flac"},
        {"video/mp4", ".mp4"},
        {"application/pdf", ".pdf"},
        {"application/x-unheard-of", ""},
        {"application/octet-stream", ""},
        {"", ""},
        {"nonsense", ""},
    };
    for (const auto& [type, extension] : rows)
        EXPECT_EQ(ExtensionOfMimeType(QString::fromUtf8(type)), QString::fromUtf8(extension)) << type;
}

TEST(Files, MatchMasksInAnyLetterCase) {
    const QString masks = QStringLiteral("*.xml;*.rss;");
    for (const char* name : {"a.xml", "/dir/A.XML", ".xml", "C:\\b.rss"})
        EXPECT_TRUE(MatchesFileMask(QString::fromUtf8(name), masks)) << name;
    for (const char* name : {"a.xml.gz", "axml", "", "/x.xml/a"})
        EXPECT_FALSE(MatchesFileMask(QString::fromUtf8(name), masks)) << name;
}

TEST(Files, GoToTheTrashAndAMissingOneIsNoError) {
    const tests::TempFolder folder;
    const QString file = folder.File(QStringLiteral("show.mp3"));
    tests::WriteFile(file, "sound");
    EXPECT_TRUE(FileExists(file));
    EXPECT_FALSE(FileExists(folder.Path())) << "a folder is no file";
    EXPECT_TRUE(MoveToRecycleBin(file));
    EXPECT_FALSE(FileExists(file));
    const QString trashed = qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/show.mp3";
    EXPECT_EQ(tests::ReadFile(trashed), QByteArray("sound"));
    EXPECT_TRUE(MoveToRecycleBin(file));
}

}  // namespace
}  // namespace vexa
