#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Files.h"

#include <gtest/gtest.h>

namespace vexa {
namespace {

TEST(FileNames, BecomeOneHarmlessComponent) {
    const QString microphone = "\U0001F399";  // four bytes
    const std::pair<QString, QString> rows[] = {
        {"../../etc/passwd", "etcpasswd"},
        {"..\\C:\\a", "Ca"},
        {"/\\:*?\"<>|", ""},
        {" .hidden. ", "hidden"},
        {QString::fromUtf16(u"a\0b\u0085c\nd\u007Fe", 9), "abcde"},
        {QString(QChar(0xD800)) + u"a" + QChar(0xDC00) + microphone, u"a" + microphone},
        {"con", "_con"},
        {"com12", "com12"},
        {QString(1000, u'a') + u".mp3", QString(196, u'a') + u".mp3"},
        {QString(1000, u'a') + u".Z", QString(198, u'a') + u".Z"},
        {QString(1000, u'a') + u".elevenchars", QString(200, u'a')},
        {QString(1000, u'ж') + u".mp3", QString(98, u'ж') + u".mp3"},
        {u"a" + microphone.repeated(100), u"a" + microphone.repeated(49)},
        {QString(199, u'a') + u" b", QString(199, u'a')}};
    for (const auto& [text, component] : rows) {
        EXPECT_EQ(ToFileNameComponent(text), component) << text.toStdString();
        EXPECT_EQ(ToFileNameComponent(component), component) << "converting it again changes nothing";
    }
}

TEST(FileNames, HaveAnExtensionThatNamesTheFormat) {
    const std::tuple<QString, QString, QString> rows[] = {{"http://h/d.x/a.mp3", ".mp3", "MP3"},
                                                          {"C:\\d.x\\a.tar.Gz", ".Gz", "GZ"},
                                                          {"http://h/d.x/a", "", ""},
                                                          {"http://h/a.", "", ""},
                                                          {"http://h/Dr. No", "", ""},
                                                          {"http://h/a.m4a?f=b.ogg#c.wav", ".wav", "M4A"},
                                                          {"http://h.com", ".com", ""}};
    for (const auto& [name, extension, format] : rows) {
        EXPECT_EQ(ExtractFileExt(name), extension) << name.toStdString();
        EXPECT_EQ(FileFormat(name), format) << name.toStdString();
    }
}

TEST(FileTypes, AreRecognisedByTypeExtensionAndFirstBytes) {
    const std::tuple<const char*, const char*, bool> media[] = {{"audio/mpeg", "http://h/a.jpg", true},
                                                                {" Video/MP4 ; x=y", "http://h/a", true},
                                                                {"application/ogg", "http://h/a", true},
                                                                {"image/jpeg", "http://h/a.mp3", false},
                                                                {"", " http://h/a.M4A?x=1 ", true},
                                                                {"mp3", "http://h/a.mp3", true},
                                                                {"application/octet-stream", "http://h/a.mp4", true},
                                                                {"application/octet-stream", "http://h/a.jpg", false},
                                                                {"", "http://h/a", false}};
    for (const auto& [type, address, isMedia] : media) EXPECT_EQ(IsMedia(type, address), isMedia) << type << address;
    for (const char* extension : {".mp3", ".MP4", ".bin", ".jpeg"})
        EXPECT_EQ(KnownExtension(u"a.b" + QString(extension)), extension);
    for (const char* name : {"Chapter 3.141", "Inside example.org", "Dr. No", "a", "mp3"})
        EXPECT_EQ(KnownExtension(name), "") << name;
    for (const QByteArray bytes :
         {"ID3", "\xFF\xFB", "\xFF\xE3", "OggS", "fLaC", "RIFF", "\1\2\3\4ftyp", "\x1A\x45\xDF\xA3"})
        EXPECT_TRUE(BeginsLikeMedia(bytes)) << bytes.toHex().constData();
    for (const QByteArray bytes : {"", "ID", "\xFF", "\xFF\xFE<", "ftyp", "<html>", "sound"})
        EXPECT_FALSE(BeginsLikeMedia(bytes)) << bytes.toHex().constData();
}

TEST(Files, ComeBackFromTheTrashOnceAndReplaceNoOther) {
    const tests::TempFolder folder;
    const QString file = folder.File("show.mp3");
    WriteWhole(file, "sound");
    TrashedFile trashed;
    EXPECT_TRUE(MoveToRecycleBin(file, &trashed));
    WriteWhole(file, "other");
    EXPECT_FALSE(RestoreFromRecycleBin(trashed)) << "another file has its name";
    EXPECT_EQ(ReadWhole(file), "other");
    QDir(folder.Path()).removeRecursively();
    EXPECT_TRUE(RestoreFromRecycleBin(trashed)) << "its folder is gone";
    EXPECT_EQ(ReadWhole(file), "sound");
    EXPECT_FALSE(RestoreFromRecycleBin(trashed)) << "it is not there any more";
}

}  // namespace
}  // namespace vexa
