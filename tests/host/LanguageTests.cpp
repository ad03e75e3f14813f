// The language files and the service over them.

#include "HostFixture.h"
#include "Language.h"

#include <QLoggingCategory>

using namespace vexa::host;

namespace {

constexpr char kActions[] =
    "RefreshFeeds RefreshFeed Unsubscribe EditSubscription Subscribe CreateSmartPlaylist MarkAs CachedFilesControl "
    "CheckCachedFiles MarkAs.PL CachedFilesControl.PL";

/// What a translation must preserve of a text: the number of parts, and the placeholders in each ("%s", or the places
/// "%1" to "%9" of a reason).
QString Shape(const QStringList& parts) {
    QStringList shapes;
    for (const QString& part : parts) {
        QString shape = QString::number(part.count("%s")) + (part.isEmpty() ? u'-' : u'+');
        for (int place = 1; place <= 9; ++place)
            shape += QString::number(place).repeated(part.count(u'%' + QString::number(place)));
        shapes += shape;
    }
    return shapes.join(u'|');
}

}  // namespace

TEST(Languages, EveryLanguageIsComplete) {
    const auto load = [](const QString& name) {
        return LanguageFile::Load(QStringLiteral(LANGUAGES) + u'/' + name + u".lng");
    };
    const LanguageFile english = load("English");
    const QStringList keys = english.KeyPaths();
    EXPECT_EQ(english.Name(), "English");
    for (const QString& action : QString::fromLatin1(kActions).split(' '))
        EXPECT_TRUE(english.Find("Actions\\VEXA.Podcasts.Actions." + action)) << action.toStdString();
    const Ref<LanguageService> service(new LanguageService(QStringLiteral(LANGUAGES), "English", {}));
    QStringList names = QDir(QStringLiteral(LANGUAGES)).entryList({"*.lng"}, QDir::Files, QDir::Name);
    for (QString& name : names) name.chop(4);
    EXPECT_EQ(service->Languages(), names);
    for (const QString& name : service->Languages()) {
        SCOPED_TRACE(name.toStdString());
        const LanguageFile other = load(name);
        EXPECT_EQ(other.KeyPaths(), keys);
        for (const QString& key : keys)
            EXPECT_EQ(Shape(other.Find(key).value_or(QStringList())), Shape(*english.Find(key))) << key.toStdString();
    }
}

TEST(Languages, InvalidLinesAreSkippedAndNamed) {
    static QStringList warnings;
    QLoggingCategory::setFilterRules("vexa.*=true");
    const auto before = qInstallMessageHandler([](auto, auto&, const QString& text) { warnings += text; });
    const LanguageFile file(
        "Name = X \r\nStray=1\r\n[A B]\r\n; no\r\nk=1\\n2\\|3|\\\\4\\5\r\nno equals\r\n=no key\r\n[open\r\nK=again\r\n"
        "e=\r\n[\r\n[C]\r\nu=a=b",
        "test.lng");
    qInstallMessageHandler(before);
    EXPECT_TRUE(warnings.value(0).startsWith("test.lng, line 2: skipped")) << warnings.value(0).toStdString();
    EXPECT_EQ(file.Name(), "X");
    EXPECT_EQ(file.KeyPaths(), QStringList({"A B\\e", "A B\\k", "C\\u"}));
    EXPECT_EQ(file.Find("a b\\K"), QStringList({"1\n2|3", "\\4\\5"}));
    EXPECT_EQ(file.Find("a b\\E"), QStringList({""}));
    EXPECT_EQ(file.Find("c\\u"), QStringList({"a=b"}));
    EXPECT_FALSE(file.Find("Stray"));
}

TEST_F(HostTest, ALanguageIsSwitchedAndFallsBackToEnglish) {
    tests::TempFolder folder;
    WriteWhole(folder.File("English.lng"), "Name=English\n[A]\nx=one|two\ny=only here\n");
    WriteWhole(folder.File("Other.lng"), "\xEF\xBB\xBFName=Andere\n[A]\nx=eins\n");
    int heard = 0;
    Host.Messages().Handle(kMsgLanguageChanged, [&](std::int32_t, void*) { return ++heard, S_OK; });
    const Ref<LanguageService> service(
        new LanguageService(folder.Path(), "missing", Ref<MessageDispatcher>(&Host.Messages())));
    EXPECT_EQ(service->Language(), "English");
    EXPECT_FALSE(service->Switch("../English"));
    EXPECT_EQ(heard, 0);
    EXPECT_TRUE(service->Switch("other"));
    EXPECT_EQ(heard, 1);

    Ref<IVEXAString> text;
    EXPECT_EQ(service->GetName(text.Put()), S_OK);
    EXPECT_EQ(ToQString(text.Get()), "Andere");
    EXPECT_EQ(service->GetValue(MakeString("a\\Y").Get(), text.Put()), S_OK);
    EXPECT_EQ(ToQString(text.Get()), "only here");
    EXPECT_EQ(service->GetValuePart(MakeString("A\\x").Get(), 0, text.Put()), S_OK);
    EXPECT_EQ(ToQString(text.Get()), "eins");
    for (const int part : {-1, 1}) EXPECT_EQ(service->GetValuePart(MakeString("A\\x").Get(), part, text.Put()), E_FAIL);
    EXPECT_EQ(service->GetValue(MakeString("A\\z").Get(), text.Put()), E_FAIL);
    EXPECT_FALSE(text);
}

TEST_F(HostTest, TheChosenLanguageIsTheNextStartsUnlessThatAsksForAnother) {
    EXPECT_FALSE(Host.ChooseLanguage("Klingon"));
    EXPECT_TRUE(Host.ChooseLanguage("german"));
    EXPECT_NO_THROW(Host.UnloadPlugins());
    HostOptions options = Options(Profile);
    EXPECT_EQ(vexa::host::Host(options).Language().Language(), "English");
    options.Language.clear();
    EXPECT_EQ(vexa::host::Host(options).Language().Language(), "German");
}
