// The pictures of nodes in tree and table.

#include "Covers.h"
#include "EpisodeStorage.h"
#include "Png.h"

#include <QScopeGuard>
#include <QSignalSpy>

#include <atomic>
#include <cmath>

namespace tests {
namespace {

using namespace vexa::host;

class CoverTest : public HostTest {
protected:
    void SetUp() override {
        Storage->Picture = [this](const QString& value, bool isStored) {
            ++Questions;
            ++Inside;
            const auto leave = qScopeGuard([this] { --Inside; });
            while (value == u"hanging" && !isStored && !IsReleased)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            const TLock lock(Mutex);
            if (value == u"remote" && !isStored) Stored[value] = Png(80, 40, Qt::green);
            return Stored.value(value);
        };
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity()), S_OK);
        Library.emplace(Host.Library());
        Open();
    }
    void TearDown() override {
        Pictures.reset();
        IsReleased = true;
        EXPECT_TRUE(WaitUntil([&] { return Inside == 0; }));
    }
    void Open() {
        Pictures.emplace(Profile.Path(), Host.Library());
        Pictures->SetStorage(&*Library);
    }
    void Store(const QString& value, const QByteArray& bytes) {
        const TLock lock(Mutex);
        Stored[value] = bytes;
    }
    /// The colour at the edge of a node's picture.
    QColor Shown(const QString& value) {
        const QImage image = Pictures->Get("Node", value, "Two words", 28, 2).toImage();
        EXPECT_EQ(image.size(), QSize(56, 56));
        return image.pixelColor(6, 28);
    }
    bool Becomes(const QString& value, const QColor& colour) {
        return WaitUntil([&] { return Shown(value) == colour; }, std::chrono::seconds(20));
    }

    const QColor Initials = ColourOf("Two words");
    TMutex Mutex;
    QHash<QString, QByteArray> Stored VEXA_GUARDED_BY(Mutex);
    std::atomic<bool> IsReleased{false};
    std::atomic<int> Questions{0}, Inside{0};
    Ref<EpisodeStorage> Storage{new EpisodeStorage};
    std::optional<LibraryStorage> Library;
    std::optional<Covers> Pictures;
};

TEST_F(CoverTest, InitialsAreShownUntilAPictureHasArrivedAndASlowServerDelaysNoOther) {
    Store("red", Png(80, 40, Qt::red));
    Store("noise", "no picture");
    QSignalSpy changes(&*Pictures, &Covers::Changed);
    for (const char* value : {"red", "noise", "none", "hanging", "remote"}) EXPECT_EQ(Shown(value), Initials) << value;
    EXPECT_TRUE(Becomes("red", Qt::red));
    EXPECT_TRUE(WaitUntil([&] { return changes.count() > 0; }));
    EXPECT_EQ(Shown("hanging"), Initials);
    IsReleased = true;
    EXPECT_TRUE(Becomes("remote", Qt::green)) << "what is not stored is fetched";
    EXPECT_TRUE(WaitUntil([&] { return Questions >= 12; })) << Questions;
    const int asked = Questions;
    for (const char* value : {"red", "noise", "none", "hanging", "remote"}) Shown(value);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(Questions, asked) << "nothing is asked for twice";
    EXPECT_EQ(Shown("noise"), Initials);

    Store("red", Png(80, 40, Qt::blue));
    EXPECT_EQ(Shown("red"), Qt::red) << "nobody has said that it has changed";
    Storage->Manager->Changed();
    EXPECT_TRUE(Becomes("red", Qt::blue));
}

TEST_F(CoverTest, ScaledCopiesAreReadAtTheNextStartAndDamagedOnesAreMadeAnew) {
    Store("red", Png(80, 40, Qt::red));
    ASSERT_TRUE(Becomes("red", Qt::red));
    const QDir folder(Profile.File("Covers"));
    ASSERT_TRUE(WaitUntil([&] { return folder.entryList(QDir::Files).size() == 1; }));
    const auto questionsOfAStart = [&] {
        Questions = 0;
        Open();
        EXPECT_TRUE(Becomes("red", Qt::red));
        return Questions.load();
    };
    EXPECT_EQ(questionsOfAStart(), 1) << "only the version is asked for";
    WriteWhole(folder.filePath(folder.entryList(QDir::Files)[0]), "half a");
    EXPECT_EQ(questionsOfAStart(), 2);
    EXPECT_EQ(questionsOfAStart(), 1);
    Shown("hanging");
    ASSERT_TRUE(WaitUntil([&] { return Questions >= 4 && Inside == 1; }));
    Pictures.reset();  // does not wait for the server
    EXPECT_EQ(Inside, 1);
}

TEST(CoverInitials, AreOfTheFirstWordsAndLegible) {
    const std::pair<const char*, const char*> cases[] = {
        {"The Keeper's Hour", "TK"}, {"(3) news", "N"},   {"99% Invisible", "I"}, {"", ""}, {"1 2 3", ""},
        {"🎙 Радио — мир", "РМ"},    {"日本 語", "日語"}, {"𐐨 deseret", "𐐀D"}};
    for (const auto& [name, initials] : cases) EXPECT_EQ(InitialsOf(name), initials) << name;
    EXPECT_EQ(ColourOf("(3) News"), ColourOf("News")) << "the number of new episodes changes";
    const auto part = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    for (int i = 0; i < 500; ++i) {
        const QColor colour = ColourOf("name " + QString(i, u'x'));
        const double luminance =
            0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF());
        EXPECT_GE(1.05 / (luminance + 0.05), 4.5) << colour.name().toStdString();
    }
}

}  // namespace
}  // namespace tests
