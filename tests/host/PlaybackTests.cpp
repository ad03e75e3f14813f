// Playback of real sound into a fake sink.

#include "Chapters.h"
#include "GstRef.h"
#include "LoopbackServer.h"
#include "ObjectList.h"
#include "Pipelines.h"
#include "PlaybackFixture.h"
#include "Rewinding.h"

#include <QDateTime>
#include <QtEndian>

#include <chapterframe.h>
#include <id3v2tag.h>
#include <textidentificationframe.h>
#include <wavfile.h>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

void Tag(const QString& file, const char* album, const std::vector<Chapter>& chapters = {}) {
    TagLib::RIFF::WAV::File wav(QFile::encodeName(file).constData());
    wav.ID3v2Tag()->setAlbum(album);
    for (const Chapter& chapter : chapters) {
        auto* title = new TagLib::ID3v2::TextIdentificationFrame("TIT2", TagLib::String::UTF8);
        title->setText(TagLib::String(chapter.Title.toStdString(), TagLib::String::UTF8));
        const QByteArray id = chapter.Title.toUtf8();
        auto* frame = new TagLib::ID3v2::ChapterFrame(TagLib::ByteVector(id.constData(), uint(id.size())),
                                                      uint(chapter.Start * 1000), 0, 0xFFFFFFFF, 0xFFFFFFFF);
        frame->addEmbeddedFrame(title);
        wav.ID3v2Tag()->addFrame(frame);
    }
    ASSERT_TRUE(wav.save());
}

/// The next fakesink that gets sound reports a full buffer and then, late, the level before it.
void ReportLate() {
    gst_init(nullptr, nullptr);
    const GstRef<GstElement> any(gst_element_factory_make("fakesink", nullptr));
    const GSignalEmissionHook report = [](GSignalInvocationHint*, guint, const GValue* values, gpointer) -> gboolean {
        auto* sink = GST_ELEMENT(g_value_get_object(values));
        GstMessage* older = gst_message_new_buffering(GST_OBJECT(sink), 5);
        gst_element_post_message(sink, gst_message_new_buffering(GST_OBJECT(sink), 100));
        gst_element_post_message(sink, older);
        return FALSE;  // only once
    };
    const guint firstSound = g_signal_lookup("preroll-handoff", G_OBJECT_TYPE(any.get()));
    g_signal_add_emission_hook(firstSound, 0, report, nullptr, nullptr);
}

/// The loudest of the last samples in a file with 16 bits per sample.
int LoudestIn(const QString& file, qsizetype last) {
    const QByteArray samples = ReadWhole(file).right(2 * last);
    int loudest = 0;
    for (qsizetype at = 0; at + 1 < samples.size(); at += 2)
        loudest = std::max<int>(loudest, qFromLittleEndian<qint16>(samples.constData() + at));
    return loudest;
}

/// The order of a list.
struct ListOrder final : PlayOrder {
    explicit ListOrder(QStringList list) : List(std::move(list)) {}
    QString After(const QString& address) override {
        return List.contains(address) ? List.value(List.indexOf(address) + 1) : QString();
    }
    QString Before(const QString& address) override { return List.value(List.indexOf(address) - 1); }
    const QStringList List;
};

TEST_F(PlaybackTest, AnEpisodeResumesWhereItWasLeftUntilItIsHeard) {
    const QString file = Tone(u"a.wav"_s, 30);
    Player->Play(file);
    Player->Seek(20);
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() > 20.3; }));
    EXPECT_NEAR(Player->Duration(), 30, 0.01);
    int changes = 0;
    QObject::connect(&*Player, &Playback::CurrentChanged, [&] { ++changes; });
    Player->Stop();
    EXPECT_EQ(Player->Current().Address, QString());
    EXPECT_EQ(changes, 1) << "nobody is told that nothing plays";

    Open();
    ASSERT_EQ(Begun(), QStringList{file});
    EXPECT_NEAR(Player->SavedPositions().Begun()[0].Duration, 30, 0.01);
    Player->PlayOrPause();  // starts the file heard last
    EXPECT_GT(Player->Position(), 20.2);
    ASSERT_TRUE(WaitFor(State::Playing));
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() > 20.6; }));
    EXPECT_LT(Player->Position(), 25);
    Player->Pause();
    Player->SkipBack();
    EXPECT_LT(Player->Position(), 10);
    Host.Config().Write(u"Player\\SkipForward"_s, u"24"_s);
    Player->SkipForward();
    EXPECT_GT(Player->Position(), 28);
    Player->Resume();
    ASSERT_TRUE(WaitFor(State::Stopped));
    EXPECT_EQ(Heard, QStringList{file});
    EXPECT_EQ(Begun(), QStringList());
    Player->Play(file);
    EXPECT_EQ(Player->Position(), 0);
    EXPECT_TRUE(Errors.isEmpty());
}

TEST_F(PlaybackTest, AFileMarkedAsHeardStartsFromTheBeginning) {
    const QString left = Tone(u"left.wav"_s, 30), open = Tone(u"open.wav"_s, 30);
    for (const QString& file : {left, open}) {
        ASSERT_TRUE(Plays(file) && SeeksTo(20));
        Player->Pause();
    }
    ASSERT_EQ(Begun(), QStringList({open, left}));
    Host.Messages().Send(kMsgFilesHeard, 0, MakeStringList({left, open}).Get());
    EXPECT_EQ(Begun(), QStringList());
    EXPECT_NO_THROW(Player->Save());  // must not store the position of the open file again

    Open();
    EXPECT_EQ(Begun(), QStringList());
    Player->Play(open);
    EXPECT_EQ(Player->Position(), 0);
}

TEST_F(PlaybackTest, AnotherSpeedKeepsThePitchAndBelongsToThePodcast) {
    const QString first = Tone(u"first.wav"_s, 4), other = Tone(u"other.wav"_s, 4), second = Tone(u"second.wav"_s, 4);
    Tag(first, "Quick");
    Tag(second, "Quick");
    Tag(other, "Slow");
    const auto play = [this](const QString& file) {
        return Plays(file) && WaitUntil([&] { return !Player->Current().Album.isEmpty(); });
    };
    ASSERT_TRUE(play(first));
    Player->SetSpeed(2);
    ASSERT_TRUE(play(other));
    EXPECT_EQ(Player->Speed(), 1);

    const QString sound = Profile.File(u"sound"_s);
    Open(u"audioconvert ! audio/x-raw,format=S16LE,rate=8000,channels=1 ! filesink sync=true location="_s + sound);
    ASSERT_TRUE(play(second));
    EXPECT_EQ(Player->Speed(), 2);
    ASSERT_TRUE(WaitFor(State::Stopped));
    Player.reset();
    const QByteArray bytes = ReadWhole(sound);
    const auto* samples = reinterpret_cast<const qint16*>(bytes.constData());
    // The last second was played at twice the speed, whenever the new speed took effect.
    const qsizetype end = bytes.size() / 2 - 800, begin = end - 8000;
    ASSERT_GT(begin, 0);
    int ups = 0;
    for (qsizetype i = begin + 1; i < end; ++i) ups += samples[i - 1] < 0 && samples[i] >= 0;
    EXPECT_NEAR(ups, kTone, 15);
    EXPECT_LT(bytes.size() / 2, 8000 * 3);
}

TEST_F(PlaybackTest, PositionsAreOnTheDiskWhileItPlays) {
    const QString file = Tone(u"a.wav"_s, 60);
    Player->Play(file);
    Player->Seek(20);
    EXPECT_TRUE(WaitUntil([&] {
        const Positions positions(Profile.Path());
        const HeardFile* left = positions.Find(file);
        return left && left->Position > 20;
    })) << "a program killed now would lose the position";
    EXPECT_TRUE(Player->IsPlaying());
}

TEST(PositionsFile, HasTheNewestPositionAlthoughAnEarlierOneWasBeingSaved) {
    const tests::TempFolder profile;
    for (int round = 0; round < 50; ++round) {
        {
            Positions positions(profile.Path());
            positions.Leave(u"a"_s, 10 + round, 1000);
            EXPECT_TRUE(positions.SaveInBackground());
            positions.Leave(u"a"_s, 500 + round, 1000);
            positions.Save();
        }
        ASSERT_EQ(Positions(profile.Path()).Find(u"a"_s)->Position, 500 + round);
    }
}

TEST(PositionsFile, IsRenamedWhenDamagedAndKeepsTheOrderOfListening) {
    for (const QByteArray damaged : {"", "{", "[]", "{\"begun\": 1}"}) {
        const tests::TempFolder profile;
        const QString name = profile.File(u"Positions.json"_s);
        WriteWhole(name, damaged);
        Positions positions(profile.Path());
        EXPECT_EQ(ReadWhole(name + u".damaged"), damaged);
        for (const QString& address : {u"a"_s, u"b"_s, u"c"_s, u"a"_s}) positions.Leave(address, 50, 100);
        positions.Leave(u"c"_s, 99.5, 100);
        positions.Leave(u"d"_s, 5, 0);
        EXPECT_TRUE(positions.SaveInBackground());
        positions.SetUpNext({u"x"_s});
        ASSERT_TRUE(WaitUntil([&] { return positions.SaveInBackground(); })) << "the first save has not ended";
        positions.SetUpNext({u"x"_s, u"x"_s});
        EXPECT_NO_THROW(positions.Save());

        // The order does not depend on the times.
        QByteArray json = ReadWhole(name);
        WriteWhole(name, json.replace("\"when\": 1", "\"when\": -9"));
        const Positions again(profile.Path());
        QStringList begun;
        for (const HeardFile& one : again.Begun()) begun += one.Address;
        EXPECT_EQ(begun, (QStringList{u"d"_s, u"a"_s, u"b"_s}));
        EXPECT_EQ(again.UpNext().size(), 2);
        QFile::remove(name);
        positions.Save();
        EXPECT_FALSE(QFile::exists(name)) << "nothing has changed";
    }
}

TEST_F(PlaybackTest, FilesUpNextComeBeforeTheOrderAndTheSleepTimerEndsPlayback) {
    QStringList files;
    for (const char* name : {"a", "b", "c", "d", "e"}) files += Tone(QString::fromLatin1(name), 0.3);
    ListOrder order({files[0], files[1]});
    Player->SetOrder(&order);
    Player->PlayLast({files[2], files[3]});
    Player->PlayNext({files[4]});
    Player->Play(files[0]);
    ASSERT_TRUE(WaitFor(State::Stopped));
    EXPECT_EQ(Heard, (QStringList{files[0], files[4], files[2], files[3]}));  // files[4] is not part of the order
    EXPECT_EQ(Started, 4);
    Heard.clear();
    Player->Play(files[0]);
    ASSERT_TRUE(WaitUntil([&] { return Heard.size() == 1; }));
    Player->Sleep().SetAtEnd();
    ASSERT_TRUE(WaitFor(State::Stopped));
    EXPECT_EQ(Heard, order.List);

    ASSERT_TRUE(Plays(Tone(u"long"_s, 60)));
    Player->Sleep().SetTime(std::chrono::milliseconds(50));
    EXPECT_TRUE(WaitFor(State::Paused));
    EXPECT_EQ(Player->Sleep().CurrentMode(), SleepTimer::Mode::Off);
    Player->SetOrder(nullptr);
}

TEST_F(PlaybackTest, GoingToThePreviousFileKeepsThePositionInThisOne) {
    const QStringList files{Tone(u"first"_s, 60), Tone(u"second"_s, 60)};
    ListOrder order(files);
    Player->SetOrder(&order);
    ASSERT_TRUE(Plays(files[1]));
    ASSERT_TRUE(SeeksTo(30));
    ASSERT_TRUE(Player->HasPrevious());
    Player->Previous();
    EXPECT_EQ(Player->Current().Address, files[0]);
    ASSERT_TRUE(Player->SavedPositions().Find(files[1]));
    EXPECT_NEAR(Player->SavedPositions().Find(files[1])->Position, 30, 5);
    ASSERT_TRUE(WaitFor(State::Playing));
    ASSERT_TRUE(SeeksTo(20));
    EXPECT_FALSE(Player->HasPrevious());
    Player->Previous();
    EXPECT_GE(Player->Position(), 20) << "there is none: nothing happens";
    Player->SetOrder(nullptr);
}

TEST_F(PlaybackTest, ABrokenStreamIsReportedAndCanBeResumed) {
    tests::LoopbackServer server;
    const auto stream = tests::Response::Of(MakeTone(10, 192000, 8), "audio/x-wav");
    server.Serve(u"/a.wav"_s, stream.With(tests::Fault::Close, 20'000'000));
    const QString address = server.Url(u"/a.wav"_s);
    Player->Play(address);
    ASSERT_TRUE(WaitFor(State::Failed));
    ASSERT_EQ(Errors.size(), 1);
    EXPECT_TRUE(Errors[0].contains(Host.Language().Text(u"Player\\Problem"_s, 4))) << Errors[0].toStdString();
    const double died = Player->Position();
    EXPECT_GT(died, 0.5);
    EXPECT_EQ(Player->Current().Address, address);

    server.Serve(u"/a.wav"_s, stream.WithRanges());
    Player->Resume();
    EXPECT_EQ(Player->Position(), died);
    ASSERT_TRUE(WaitUntil([&] { return Player->CurrentState() == State::Playing && Player->Position() > died + 0.3; }));
    EXPECT_LT(Player->Position(), died + 3);
    EXPECT_EQ(Started, 1) << "resuming is not a new start";
}

TEST_F(PlaybackTest, AnOggStreamStartsWhereItWasLeftAndAtItsSpeed) {
    tests::LoopbackServer server;
    const QString file = Profile.File(u"a.ogg"_s);
    tests::RunPipeline(
        "audiotestsrc num-buffers=2584 ! audio/x-raw,rate=44100 ! audioconvert ! vorbisenc ! oggmux ! filesink "
        "location=" +
        QFile::encodeName(file));
    server.Serve(u"/a.ogg"_s, tests::Response::Of(ReadWhole(file), "audio/ogg").WithRanges());
    for (const double speed : {1.0, 1.5})
        for (const double left : {0.0, 40.0}) {
            SCOPED_TRACE(testing::Message() << "from " << left << " at " << speed);
            Player->Play(server.Url(u"/a.ogg"_s));
            Player->SetSpeed(speed);
            Player->Seek(left);
            ASSERT_TRUE(WaitUntil([&] { return Player->Position() > left + 0.3; }))
                << "state " << static_cast<int>(Player->CurrentState()) << " at " << Player->Position() << " of "
                << Player->Duration() << ": " << (Errors + Warnings).join(u"; "_s).toStdString();
            EXPECT_LT(Player->Position(), left + 5);
            EXPECT_NEAR(Player->Duration(), 60, 1);
            Player->Stop();
        }
    EXPECT_TRUE(Errors.isEmpty());
    EXPECT_TRUE(Warnings.isEmpty());
    EXPECT_TRUE(Heard.isEmpty());
}

TEST_F(PlaybackTest, TheVolumeGrowsByItsCube) {
    const QString heard = Profile.File(u"heard"_s);
    Open(u"capsfilter caps=audio/x-raw,format=S16LE ! filesink location=" + heard);
    Player->SetVolume(0.5);
    Player->Play(Tone(u"a.wav"_s, 0.2));
    ASSERT_TRUE(WaitUntil([&] { return !Heard.isEmpty(); })) << Errors.join(' ').toStdString();
    EXPECT_NEAR(LoudestIn(heard, 1600), kLoudest / 8.0, 10);
}

TEST_F(PlaybackTest, AfterALongPauseItGoesBackUnlessSomebodyHasJumped) {
    using namespace std::chrono;
    for (const auto& [pause, back] :
         {std::pair<milliseconds, double>(59s, 0), {60s, 5}, {1h, 19.07}, {24h, 30}, {900h, 30}})
        EXPECT_NEAR(RewindAfter(pause), back, 0.01) << pause.count() << " ms";
    const auto clockAhead = [&](milliseconds ahead) {
        Player->SetClock([ahead] { return QDateTime::currentMSecsSinceEpoch() + ahead.count(); });
    };
    const auto pauseAt = [&](double position) {
        Player->Pause();
        Player->Seek(position);
        EXPECT_NO_THROW(Player->Save());
    };
    const QString file = Tone(u"a.wav"_s, 150);
    ASSERT_TRUE(Plays(file));
    pauseAt(100);
    clockAhead(1h);
    Player->Resume();
    EXPECT_NEAR(Player->Position(), 100 - 19, 1);
    pauseAt(100);
    Player->Seek(90);
    Player->Resume();
    EXPECT_NEAR(Player->Position(), 90, 1) << "somebody has jumped";
    pauseAt(10);
    clockAhead(24h);
    Player->Resume();
    EXPECT_NEAR(Player->Position(), 0, 1);

    for (const bool goesBack : {true, false}) {
        pauseAt(100);
        const qint64 left = Player->SavedPositions().Begun().at(0).LeftAt;
        std::this_thread::sleep_for(2ms);
        Open();
        EXPECT_EQ(Player->SavedPositions().Begun().at(0).LeftAt, left) << "the end of the program counts as the pause";
        clockAhead(1h);
        Host.Config().Write(u"Player\\RewindAfterPause"_s, goesBack ? u"1"_s : u"0"_s);
        Player->Play(file);
        EXPECT_NEAR(Player->Position(), goesBack ? 100 - 19 : 100, 1);
    }
}

TEST_F(PlaybackTest, TheSleepTimerFadesTheSoundAndLeavesTheVolume) {
    const QString heard = Profile.File(u"heard"_s);
    Open(u"capsfilter caps=audio/x-raw,format=S16LE ! filesink sync=true buffer-mode=unbuffered location="_s + heard);
    const auto isLoud = [&] { return LoudestIn(heard, 800) > 0.9 * kLoudest; };
    const auto isQuiet = [&] { return LoudestIn(heard, 800) < 0.5 * kLoudest; };
    ASSERT_TRUE(Plays(Tone(u"a.wav"_s, 100)));
    SleepTimer& timer = Player->Sleep();
    timer.SetTime(SleepTimer::kFade + std::chrono::hours(1));
    ASSERT_TRUE(WaitUntil(isLoud));
    timer.SetTime(std::chrono::seconds(4));
    ASSERT_TRUE(WaitUntil(isQuiet));
    EXPECT_EQ(Player->Volume(), 1);
    timer.SetTime(std::chrono::hours(1));
    ASSERT_TRUE(WaitUntil(isLoud)) << "the timer was prolonged";
    timer.SetTime(std::chrono::seconds(4));
    ASSERT_TRUE(WaitUntil(isQuiet));
    timer.Cancel();
    ASSERT_TRUE(WaitUntil(isLoud)) << "the timer was ended";
    timer.SetTime(std::chrono::milliseconds(500));
    ASSERT_TRUE(WaitFor(State::Paused));
    EXPECT_EQ(Host.Config().Find(u"Player\\Volume"_s), std::nullopt);
    Player->Resume();
    EXPECT_TRUE(WaitUntil(isLoud)) << "the faded volume stays";
}

TEST_F(PlaybackTest, AReportOfTheBufferThatComesLateStopsNothing) {
    Open(u"fakesink sync=true signal-handoffs=true"_s);
    ReportLate();
    Player->Play(Tone(u"tone"_s, 60));
    EXPECT_TRUE(WaitUntil([&] { return Player->Position() > 0.3; })) << "it waits for a buffer that is full";
}

TEST_F(PlaybackTest, AServerWithoutRangeRequestsIsPlayedFromTheBeginning) {
    tests::LoopbackServer server;
    server.Serve(u"/whole"_s, tests::Response::Of(MakeTone(600), "audio/x-wav"));
    Player->Play(server.Url(u"/whole"_s));
    Player->Seek(500);
    EXPECT_EQ(Player->Position(), 500);
    ASSERT_TRUE(WaitUntil([&] { return !Warnings.isEmpty(); }));
    EXPECT_EQ(Warnings, QStringList{Host.Language().Text(u"Player\\Problem"_s, 7)});
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() > 0.3; }));
    EXPECT_LT(Player->Position(), 100);
    EXPECT_TRUE(Errors.isEmpty());
}

TEST_F(PlaybackTest, AFileThatCannotBePlayedGivesTheReason) {
    tests::LoopbackServer server;
    server.Serve(u"/text"_s, tests::Response::Of("a feed, and no audio at all", "text/plain"));
    WriteWhole(Profile.File(u"text.mp3"_s), QByteArray(5000, 'x'));
    ASSERT_TRUE(Host.ChooseLanguage(u"German"_s));
    const std::tuple<QString, int, QString> cases[] = {
        // the address, the number of the problem, and its details
        {Profile.File(u"missing.mp3"_s), 0, u"gibt es nicht"_s},
        {u"/dev/zero"_s, 0, u"gibt es nicht"_s},
        {u"ftp://127.0.0.1/a"_s, 3, u"(weder eine Datei noch eine Internetadresse: "_s},
        {server.Url(u"/missing"_s), 3, u"(der Server antwortete mit 404 (nicht gefunden))"_s},
        {u"http://127.0.0.1:1/a"_s, 3, u"(der Server ist nicht erreichbar "_s},
        {server.Url(u"/text"_s), 2, {}},
        {Profile.File(u"text.mp3"_s), 2, {}},
    };
    for (const auto& [address, problem, details] : cases) {
        SCOPED_TRACE(address.toStdString());
        Errors.clear();
        Player->Play(address);
        ASSERT_TRUE(WaitUntil([&] { return !Errors.isEmpty(); }));
        const QString text = Host.Language().Text(u"Player\\Problem"_s, problem);
        EXPECT_TRUE(Errors[0].contains(text) && Errors[0].contains(details)) << Errors[0].toStdString();
        EXPECT_FALSE(Player->IsPlaying());
    }
    EXPECT_EQ(Started, 0) << "a file never heard must not count as listened";
}

TEST_F(PlaybackTest, WhatCannotBePlayedIsSkippedAndNothingIsLostWhereNothingCanBe) {
    tests::LoopbackServer server;
    const QString gone = server.Url(u"/gone.mp3"_s), none = Profile.File(u"none.wav"_s);
    const QString first = Tone(u"first.wav"_s, 0.3), last = Tone(u"last.wav"_s, 0.3);
    Player->PlayLast({gone, none, last});
    Player->Play(first);
    ASSERT_TRUE(WaitUntil([&] { return Heard.size() == 2; }));
    ASSERT_TRUE(WaitFor(State::Stopped));
    EXPECT_EQ(Heard, (QStringList{first, last}));
    ASSERT_TRUE(WaitUntil([&] { return Skipped.size() == 2; }));
    EXPECT_TRUE(Skipped[0].startsWith(u"gone.mp3: "_s)) << Skipped[0].toStdString();
    EXPECT_TRUE(Skipped[1].startsWith(u"none.wav: "_s)) << Skipped[1].toStdString();
    EXPECT_TRUE(Errors.isEmpty());

    const QStringList five{gone, gone, none, gone, last};
    Player->PlayLast(five);
    Player->Next();
    ASSERT_TRUE(WaitUntil([&] { return !Errors.isEmpty(); }));
    EXPECT_TRUE(Errors[0].startsWith(u"gone.mp3: "_s)) << Errors[0].toStdString();
    EXPECT_EQ(Player->UpNext(), five) << "a time without a network must not empty it";
    EXPECT_EQ(Started, 2);
}

TEST_F(PlaybackTest, ChaptersAreReadInTheirOrder) {
    const QString file = Tone(u"a.wav"_s, 2);
    Tag(file, "Chapters", {{1.5, u"Später"_s}, {0.25, u"First"_s}});
    Player->Play(file);
    ASSERT_TRUE(WaitUntil([&] { return Player->Current().Chapters.size() == 2; }));
    EXPECT_EQ(Player->Current().Chapters[0].Title, u"First"_s);
    EXPECT_EQ(Player->Current().Chapters[1].Start, 1.5);
    EXPECT_EQ(Player->Current().Chapters[1].Title, u"Später"_s);
    EXPECT_TRUE(ReadChapters(u"/dev/zero"_s).empty());
}

}  // namespace

TEST_F(PlaybackTest, APreviewLeavesNoTraceAndNothingFollowsIt) {
    tests::LoopbackServer server;
    server.Serve("/preview.wav", tests::Response::Of(MakeTone(60), "audio/x-wav").WithRanges());
    const QString before = Tone("before.wav", 60), waiting = Tone("waiting.wav", 60),
                  address = server.Url("/preview.wav");
    ASSERT_TRUE(Plays(before) && SeeksTo(20)) << Errors.join('\n').toStdString();
    Player->PlayLast({waiting});
    const auto playPreview = [&](const QString& file) {
        const Ref<FileInfo> info(new FileInfo);
        info->SetValueAsObject(IVEXAFileInfo::FileName, MakeString(file).Get());
        info->SetValueAsObject(IVEXAFileInfo::Title, MakeString("A taste").Get());
        info->SetValueAsObject(IVEXAFileInfo::Album, MakeString("A show").Get());
        return Query<IVEXAPlayerPreview>(&Host.Player())->PlayPreview(info.Get(), nullptr);
    };
    EXPECT_EQ(playPreview(before), E_INVALIDARG) << "a local file";
    ASSERT_EQ(playPreview(address), S_OK);
    ASSERT_TRUE(WaitFor(State::Playing)) << Errors.join('\n').toStdString();
    EXPECT_EQ(Player->Current().Title, "A taste");
    ASSERT_TRUE(SeeksTo(30));
    Player->SetSpeed(1.5);
    Player->Pause();
    ASSERT_TRUE(WaitFor(State::Paused));
    Player->Save();
    EXPECT_EQ(Begun(), QStringList{before}) << "only what was played before";
    EXPECT_EQ(Player->SavedPositions().Speed("A show"), 1);
    EXPECT_FALSE(ReadWhole(Profile.File("Positions.json")).contains("preview.wav"));

    Player->Resume();
    ASSERT_TRUE(WaitFor(State::Playing));
    Player->Seek(59);
    ASSERT_TRUE(WaitFor(State::Stopped));
    EXPECT_EQ(Heard, QStringList());
    EXPECT_EQ(Player->UpNext(), QStringList(waiting));
    EXPECT_EQ(Errors, QStringList());
}
